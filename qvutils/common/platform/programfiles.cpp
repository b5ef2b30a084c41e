#include "qvutils/common/platform/programfiles.h"

#include "qvutils/common/platform/files.h"
#include "qvutils/common/platform/process.h"

namespace qvplatform {

namespace {

/// Without the last name and the separators before it; empty at the top.
std::string directoryAbove(std::string path) {
    while (!path.empty() && !isPathSeparator(path.back())) path.pop_back();
    while (!path.empty() && isPathSeparator(path.back())) path.pop_back();
    return path;
}

}  // namespace

std::string programDirectory(const std::string& name) {
    for (std::string above = directoryAbove(executablePath()); !above.empty();
         above = directoryAbove(above)) {
        const std::string path = joinPath(joinPath(joinPath(above, "share"), "qvcore"), name);
        if (fileSystem().status(path).isDirectory()) return path;
    }
    return {};
}

}  // namespace qvplatform
