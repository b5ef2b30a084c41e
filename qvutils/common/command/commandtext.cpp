#include "qvutils/common/command/commandtext.h"

#include <array>

#include "qvutils/common/object/qvquotes.h"

namespace {

bool isBlank(char c) {
    return c == ' ' || c == '\t';
}

bool isLineEnd(char c) {
    return c == '\r' || c == '\n';
}

/// Whether a character can neither end a statement nor change what ends one.
constexpr std::array<bool, 256> plainCharacters = [] {
    std::array<bool, 256> plain{};
    for (int c = 0; c < 256; ++c) plain[c] = std::string_view("\"\\;/\r\n").find(char(c)) > 5;
    return plain;
}();

bool isPlain(char c) {
    return plainCharacters[static_cast<unsigned char>(c)];
}

std::size_t findLineEnd(std::string_view text, std::size_t from) {
    while (from < text.size() && !isLineEnd(text[from])) ++from;
    return from;
}

}  // namespace

std::string_view qvTrimmed(std::string_view text) {
    while (!text.empty() && isBlank(text.front())) text.remove_prefix(1);
    while (!text.empty() && isBlank(text.back())) text.remove_suffix(1);
    return text;
}

bool qvStatementReader::next(qvStatement& statement) {
    while (!rest_.empty()) {
        statement = cut();
        if (!statement.text.empty() || !statement.comment.empty()) return true;
    }
    return false;
}

/// statement := { character } [ "//" { character } ] ( ";" | line end | end of text )
qvStatement qvStatementReader::cut() {
    qvStatement statement;
    statement.line = line_;
    qvQuotes quotes;
    std::size_t end = 0;
    for (; end < rest_.size(); ++end) {
        if (isPlain(rest_[end])) {
            quotes.passPlain();
            continue;
        }
        if (isLineEnd(rest_[end])) break;
        if (!quotes.outside(rest_[end])) continue;
        if (rest_[end] == ';') break;
        if (rest_[end] == '/' && rest_.substr(end, 2) == "//") break;
    }
    statement.text = qvTrimmed(rest_.substr(0, end));
    if (end < rest_.size() && rest_[end] == '/') {
        const std::size_t comment = end;
        end = findLineEnd(rest_, end);
        statement.comment = rest_.substr(comment, end - comment);
    }
    if (end < rest_.size() && isLineEnd(rest_[end])) {
        ++line_;
        if (rest_.substr(end, 2) == "\r\n") ++end;
    }
    rest_.remove_prefix(end < rest_.size() ? end + 1 : end);
    return statement;
}

std::size_t qvFindAssignment(std::string_view statement) {
    std::size_t i = statement.find('=');
    if (i == statement.npos) return i;
    qvQuotes quotes;
    int depth = 0;
    for (i = 0; i < statement.size(); ++i) {
        const char c = statement[i];
        if (!quotes.outside(c)) continue;
        if (c == '(' || c == '[') ++depth;
        if (c == ')' || c == ']') --depth;
        if (c != '=') continue;
        const std::size_t end = statement.find_first_not_of('=', i);
        if (depth == 0 && (end == i + 1 || (end == statement.npos && i + 1 == statement.size()))) {
            return i;
        }
        i = (end == statement.npos ? statement.size() : end) - 1;
    }
    return statement.npos;
}

std::string_view qvTakeWord(std::string_view& text) {
    const std::string_view word = text.substr(0, text.find(' '));
    text.remove_prefix(word.size());
    text = qvTrimmed(text);
    return word;
}
