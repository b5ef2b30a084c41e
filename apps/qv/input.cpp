#include "apps/qv/input.h"

#include <algorithm>
#include <cerrno>

#include "qvutils/common/platform/files.h"

bool readLine(FILE* file, std::string& line) {
    line.clear();
    int c;
    while ((c = std::getc(file)) != EOF && c != '\n') line += static_cast<char>(c);
    if (c == EOF && line.empty()) return false;
    if (!line.empty() && line.back() == '\r') line.pop_back();
    return true;
}

bool readCommandFile(const std::string& path, std::string& text, std::string& error) {
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
