#include "qvutils/common/command/commandpath.h"

#include <charconv>
#include <limits>
#include <system_error>

#include "qvutils/common/command/commandtext.h"
#include "qvutils/common/error/qverror.h"
#include "qvutils/common/object/qvquotes.h"

namespace {

bool endsName(char c) {
    switch (c) {
        case '.':
        case '[':
        case ']':
        case '(':
        case ')':
            return true;
        default:
            return false;
    }
}

}  // namespace

qvPath::qvPath(std::string_view text) : text_(text), rest_(text) {
    while (!rest_.empty()) {
        if (step(steps_.append())) continue;
        steps_.clear();
        return;
    }
}

bool qvPath::step(qvPathStep& step) {
    if (!name(step)) return false;
    while (take('[')) {
        if (!index(step)) return false;
    }
    if (take('(') && !arguments(step)) return false;
    return endOfStep();
}

/// name := one or more characters other than . [ ] ( ), blanks around them left out
bool qvPath::name(qvPathStep& step) {
    std::size_t end = 0;
    while (end < rest_.size() && !endsName(rest_[end])) ++end;
    step.name = qvTrimmed(rest_.substr(0, end));
    rest_.remove_prefix(end);
    return !step.name.empty() || fail("parse error\n");
}

/// "[" integer "]", the opening bracket already taken
bool qvPath::index(qvPathStep& step) {
    const std::string_view opening = text_.substr(text_.size() - rest_.size() - 1);
    if (step.nIndices == 2) return fail("parse error: too many indices!\n", opening);
    skipBlanks();
    const std::size_t close = rest_.find(']');
    if (close == rest_.npos) return fail("parse error: ']' missing?\n", opening);
    const std::string_view text = qvTrimmed(rest_.substr(0, close));
    int value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error == std::errc::result_out_of_range) {
        value = text[0] == '-' ? std::numeric_limits<int>::min() : std::numeric_limits<int>::max();
    } else if (error != std::errc()) {
        return fail("parse error: index not a number?\n");
    }
    if (end != text.data() + text.size()) return fail("parse error: index not a number?\n");
    rest_.remove_prefix(close + 1);
    step.indices[step.nIndices++] = value;
    return true;
}

/// "(" arguments ")", the opening bracket already taken
bool qvPath::arguments(qvPathStep& step) {
    qvQuotes quotes;
    int depth = 1;
    for (std::size_t i = 0; i < rest_.size(); ++i) {
        if (!quotes.outside(rest_[i])) continue;
        if (rest_[i] == '(') ++depth;
        if (rest_[i] == ')' && --depth == 0) {
            step.hasArgs = true;
            step.args = rest_.substr(0, i);
            rest_.remove_prefix(i + 1);
            return true;
        }
    }
    // The path looks closed at its end, so the bracket is missing further in.
    const bool closedAtEnd = text_.back() == ')';
    return fail(closedAtEnd ? "parse error: ')' missing?\n" : "parse error: missing ')' ?\n",
                text_.substr(text_.size() - rest_.size() - 1));
}

/// ( "." step | end of the path )
bool qvPath::endOfStep() {
    skipBlanks();
    if (rest_.empty()) return true;
    if (take('.')) {
        skipBlanks();
        return !rest_.empty() || fail("parse error\n");
    }
    if (rest_ == ")") return fail("parse error: missing '(' ?\n");
    return fail(rest_[0] == ')' ? "parse error: '(' missing?\n" : "parse error\n");
}

void qvPath::skipBlanks() {
    while (!rest_.empty() && (rest_[0] == ' ' || rest_[0] == '\t')) rest_.remove_prefix(1);
}

bool qvPath::take(char c) {
    skipBlanks();
    if (rest_.empty() || rest_[0] != c) return false;
    rest_.remove_prefix(1);
    return true;
}

bool qvPath::fail(const char* message, std::string_view fault) {
    qverr().set(message);
    fault_ = fault;
    return false;
}
