#include "qvutils/ui/scripting/qvcommandfile.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>

#include "qvutils/common/platform/files.h"

bool qvReadCommandFile(const std::string& path, std::string& text, std::string& error) {
    if (!qvplatform::readWholeFile(path, text)) {
        error = path + ": " + qvplatform::errorText(errno);
        return false;
    }
    text.resize(qvplatform::translateLineEnds(text.data(), text.size()));
    if (text.compare(0, 3, "\xEF\xBB\xBF") == 0) text.erase(0, 3);
    const size_t nul = text.find('\0');
    if (nul != std::string::npos) {
        const auto end = text.begin() + static_cast<std::ptrdiff_t>(nul);
        const auto line = 1 + std::count(text.begin(), end, '\n');
        error = path + ":" + std::to_string(line) + ": not a command file: it holds a NUL byte";
        return false;
    }
    return true;
}
