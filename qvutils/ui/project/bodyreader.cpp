#include "qvutils/ui/project/bodyreader.h"

#include <algorithm>

#include "qvutils/common/error/qverror.h"

bool startsWithWord(std::string_view line, std::string_view word) {
    if (line.size() < word.size()) return false;
    const bool same = std::equal(word.begin(), word.end(), line.begin(), [](char want, char have) {
        return want == (have >= 'A' && have <= 'Z' ? have + ('a' - 'A') : have);
    });
    return same && (line.size() == word.size() ||
                    std::string_view(" \t\r\n\v\f").find(line[word.size()]) != line.npos);
}

BodyReader::BodyReader(FBuff& source, Lines lines) : source_(source), lines_(lines) {
    const std::string_view before = source.text().substr(0, source.getPosn());
    const std::size_t last = before.find_last_not_of(" \t");
    if (last == before.npos) {
        source.setPosn(0);
    } else if (before[last] == '\n') {
        source.setPosn(static_cast<unsigned>(last + 1));
    }
}

bool BodyReader::next(TextBlock& block) {
    lead_.clear();
    for (;;) {
        const unsigned start = source_.getPosn();
        const std::string_view line = source_.nextLine();
        const std::size_t indent = std::min(line.find_first_not_of(" \t\r\n\v\f"), line.size());
        const std::string_view content = line.substr(indent);
        if (line.empty() || startsWithWord(content, "end")) {
            source_.setPosn(start);
            return false;
        }
        if (startsWithWord(content, "begin")) {
            indent_ = line.substr(0, indent);
            const unsigned begin = start + static_cast<unsigned>(indent);
            source_.setPosn(begin);
            if (!block.LoadBlock(source_)) return false;
            // The comments that LoadBlock stepped over lead the next block.
            source_.setPosn(begin + block.getLen());
            return true;
        }
        if (content.empty()) continue;
        if (content.substr(0, 2) != "//") {
            if (lines_ == stopAtBadLine) {
                source_.setPosn(start);
                return false;
            }
            SyntaxErr("Line outside of any block: %s\n",
                      std::string(content.substr(0, content.find_last_not_of("\r\n") + 1)).c_str());
        }
        lead_ += line;
        if (line.back() != '\n') lead_ += '\n';
    }
}
