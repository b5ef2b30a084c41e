#include "qvutils/ui/project/filenames.h"

#include "qvutils/common/platform/files.h"
#include "qvutils/common/platform/process.h"

std::string fullPath(const char* path) {
    const bool hasDrive = path[0] && path[1] == ':' && qvplatform::isPathSeparator('\\');
    if (!*path || qvplatform::isPathSeparator(*path) || hasDrive) return path;
    return qvplatform::joinPath(qvplatform::currentDirectory(), path);
}

std::string fileNameOf(const std::string& path) {
    const std::size_t separator = path.find_last_of("/\\");
    return separator == path.npos ? path : path.substr(separator + 1);
}
