#include "qvutils/ui/nodes/definitionlines.h"

#include <algorithm>

#include "qvutils/common/blocks/textblock.h"
#include "qvutils/common/error/qverror.h"
#include "qvutils/ui/project/bodyreader.h"

namespace {

constexpr std::string_view blanks = " \t\r\n\v\f";

std::string_view withoutBlanks(std::string_view text) {
    text.remove_prefix(std::min(text.find_first_not_of(blanks), text.size()));
    return text.substr(0, text.find_last_not_of(blanks) + 1);
}

void readDefinition(DefinitionLine& line, std::string_view content) {
    const std::string_view statement = content.substr(0, content.find("//"));
    const std::size_t commentStart = statement.find_last_not_of(blanks) + 1;
    line.comment =
        content.substr(commentStart, content.find_last_not_of(blanks) + 1 - commentStart);
    const std::size_t equals = statement.find('=');
    if (equals == statement.npos) {
        line.kind = DefinitionLine::noEquals;
        return;
    }
    line.kind = DefinitionLine::assignment;
    line.left = withoutBlanks(statement.substr(0, equals));
    line.definition = withoutBlanks(statement.substr(equals + 1));
    std::replace(line.definition.begin(), line.definition.end(), '\r', ' ');
}

}  // namespace

std::string withLineEnd(std::string_view line) {
    std::string text(line);
    if (text.empty() || text.back() != '\n') text += '\n';
    return text;
}

std::string DefinitionLine::told() const {
    return withLineEnd(whole.substr(std::min(whole.find_first_not_of(blanks), whole.size())));
}

void forEachDefinitionLine(const TextBlock& block,
                           const std::function<void(const DefinitionLine&)>& tell) {
    std::string_view rest = block.body();
    for (int depth = 0; !rest.empty();) {
        DefinitionLine line{};
        line.whole = rest.substr(0, std::min(rest.find('\n'), rest.size() - 1) + 1);
        rest.remove_prefix(line.whole.size());
        const std::string_view content = withoutBlanks(line.whole);
        if (startsWithWord(content, "begin")) ++depth;
        if (depth > 0 || content.starts_with("//")) {
            line.kind = DefinitionLine::other;
            if (startsWithWord(content, "end")) --depth;
        } else if (content.empty()) {
            continue;
        } else {
            readDefinition(line, content);
        }
        tell(line);
    }
}

std::string definitionLineText(std::string_view left, std::string_view definition,
                               std::string_view comment) {
    std::string line = "  ";
    line += left;
    // As a word of its own in the first place "begin" or "end" would count as a keyword.
    const bool isKeyword = startsWithWord(left, "begin") || startsWithWord(left, "end");
    line += isKeyword ? "=" : " =";
    // Without a definition the blanks before the comment are all there are.
    if (!definition.empty() || comment.empty()) line += ' ';
    line += definition;
    line += comment;
    std::replace(line.begin(), line.end(), '\n', ' ');
    std::replace(line.begin(), line.end(), '\r', ' ');
    line += '\n';
    return line;
}

bool refuseComment(std::string_view formula) {
    if (formula.find("//") == formula.npos) return false;
    qverr().set("a formula cannot have \"//\", which begins a comment in the project file\n");
    return true;
}
