#include "qvutils/common/containers/numberfile.h"

#include "qvutils/common/platform/files.h"

bool qvReadWord(FILE* file, std::string& word) {
    constexpr std::size_t longest = 1024;
    word.clear();
    char c = 0;
    while (qvplatform::fileSystem().read(file, &c, 1) == 1) {
        const bool blank = c == ' ' || (c >= '\t' && c <= '\r');
        if (blank && !word.empty()) return true;
        if (!blank && word.size() < longest) word += c;
    }
    return !word.empty();
}
