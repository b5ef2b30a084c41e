#include "qvutils/common/formula/formulaparser.h"

#include <algorithm>
#include <array>

#include "qvutils/common/error/qverror.h"

namespace {

const char* const parseError = "parse error\n";

enum Class : unsigned {
    equalSign = 1,
    exclamation = 2,
    lessSign = 4,
    greaterSign = 8,
    plusMinus = 16,
    timesOver = 32,
    closing = 64,
    opening = 128,
    unmatched = 256,
    listMark = 512  // separates the parts of an argument list
};
constexpr unsigned anyComparison = equalSign | exclamation | lessSign | greaterSign;

constexpr auto classTable = [] {
    std::array<unsigned short, 256> table{};
    table['='] = equalSign;
    table['!'] = exclamation;
    table['<'] = lessSign;
    table['>'] = greaterSign;
    table['+'] = table['-'] = plusMinus;
    table['*'] = table['/'] = timesOver;
    table[')'] = table[']'] = closing;
    table['('] = table['['] = opening;
    table[','] = table[':'] = listMark;
    return table;
}();

unsigned classOf(char c) {
    return classTable[static_cast<unsigned char>(c)];
}

/// The comparisons in the order in which a text is split at them. The second character of one with
/// a single character is the one that may not follow it.
struct Comparison {
    QVOp op;
    unsigned has;
    char first;
    char second;
};
constexpr Comparison comparisons[] = {
    {QVOp::equal, equalSign, '=', '='},   {QVOp::notEqual, exclamation, '!', '='},
    {QVOp::less, lessSign, '<', 0},       {QVOp::lessEqual, lessSign, '<', '='},
    {QVOp::greater, greaterSign, '>', 0}, {QVOp::greaterEqual, greaterSign, '>', '='},
};

bool isDigitOrPoint(char c) {
    return (c >= '0' && c <= '9') || c == '.';
}

}  // namespace

QVFormulaParser::QVFormulaParser(std::string_view formula) : text_(formula) {}

const std::vector<QVParsedElement>& QVFormulaParser::parse() {
    const auto room = static_cast<std::size_t>(std::min(text_.size(), 2 * qvMostOperations));
    elements_.reserve(room / 2 + 1);
    parts_.reserve(room / 4 + 16);
    pushWhole(0, text_.size());
    while (!parts_.empty()) {
        const Part part = parts_.back();
        parts_.pop_back();
        if (part.level == done) {
            add(part.element);
        } else {
            takeApart(part.level, part.has, part.element.begin, part.element.end);
        }
    }
    return elements_;
}

/// From the given level on. The right parts wait, the leftmost goes on to the next level.
void QVFormulaParser::takeApart(int level, unsigned has, int begin, int end) {
    if (begin == end) fail(parseError, begin, end);
    if (level == comparison) has = classesIn(begin, end);
    if (has & anyComparison) {
        for (; level < sum; ++level) {
            end = splitComparisons(level, has, begin, end);
            if (begin == end) fail(parseError, begin, end);
        }
    }
    if (level <= sum && (has & (plusMinus | unmatched))) end = splitSums(has, begin, end);
    if (level <= term && (has & timesOver)) end = splitTerms(has, begin, end);
    if (level <= factor && (classOf(text_[begin]) & plusMinus)) {
        if (text_[begin] == '-') pushDone(QVOp::negate, begin, begin + 1);
        ++begin;
    }
    if (level <= power && (has & timesOver)) end = splitPower(has, begin, end);
    takeApartPrimary(begin, end);
}

/// What stands in a range outside brackets. Nothing before a bracket without a partner counts.
unsigned QVFormulaParser::classesIn(int begin, int end) const {
    unsigned has = 0;
    for (int i = end - 1; i >= begin; --i) {
        const unsigned c = classOf(text_[i]);
        has |= c;
        if (!(c & (opening | closing))) continue;
        i = text_.partner(i);
        if (i < 0) return has | unmatched;
    }
    return has;
}

/// comparison: text, operator, text. Returns the end of the leftmost part, as do the next three.
int QVFormulaParser::splitComparisons(int level, unsigned has, int begin, int end) {
    const Comparison& wanted = comparisons[level];
    if (!(has & wanted.has)) return end;
    const int width = wanted.second ? 2 : 1;
    for (int i = end - 1; i >= begin; --i) {
        if (classOf(text_[i]) & (opening | closing)) {
            i = text_.partner(i);
            if (i < 0) break;
            continue;
        }
        const int first = i - width + 1;
        if (first < begin || text_[first] != wanted.first) continue;
        const bool found =
            wanted.second ? text_[i] == wanted.second : i + 1 == end || text_[i + 1] != '=';
        if (!found) continue;
        pushDone(wanted.op, first, i + 1);
        pushRange(level + 1, has, i + 1, end);
        end = i = first;
    }
    return end;
}

/// sum: text, + or -, text. Every sign is checked, also that of an exponent.
int QVFormulaParser::splitSums(unsigned has, int begin, int end) {
    for (int i = end - 1; i >= begin; --i) {
        const unsigned c = classOf(text_[i]);
        if (c & (opening | closing)) {
            const int bracket = i;
            i = text_.partner(i);
            if (i < 0) failAtBracket(bracket);
        }
        if (!(c & plusMinus)) continue;
        const char sign = text_[i];
        const char before = i > begin ? text_[i - 1] : 'a';
        const bool wrong = i + 1 == end || (classOf(before) & timesOver) ||
                           before == (sign == '+' ? '-' : '+') ||
                           (classOf(text_[i + 1]) & (timesOver | plusMinus));
        if (wrong) fail(parseError, i, i + 1);
        if (i == begin || isExponentSign(begin, i)) continue;
        pushDone(sign == '+' ? QVOp::add : QVOp::subtract, i, i + 1);
        pushRange(term, has, i + 1, end);
        end = i;
    }
    return end;
}

/// Is it the sign in 1e-3? "e" or "E" comes before it, before that digits and points only, back to
/// the beginning or to a sign, another operator or a bracket.
bool QVFormulaParser::isExponentSign(int begin, int i) const {
    if (i - 2 < begin || (text_[i - 1] != 'e' && text_[i - 1] != 'E')) return false;
    int j = i - 2;
    if (!isDigitOrPoint(text_[j])) return false;
    while (j >= begin && isDigitOrPoint(text_[j])) --j;
    return j < begin || text_[j] == '(' || (classOf(text_[j]) & (plusMinus | timesOver));
}

/// term: text, * or /, text. A * beside a * is half of the power operator.
int QVFormulaParser::splitTerms(unsigned has, int begin, int end) {
    for (int i = end - 1; i >= begin; --i) {
        const unsigned c = classOf(text_[i]);
        if (c & closing) i = text_.partner(i);
        if (!(c & timesOver)) continue;
        if (i == begin || i + 1 == end) fail(parseError, i, i + 1);
        const char before = text_[i - 1];
        const char after = text_[i + 1];
        const bool times = text_[i] == '*';
        if (before == '/' || after == '/' || (!times && (before == '*' || after == '*'))) {
            fail(parseError, i, i + 1);
        }
        if (before == '*' || after == '*') continue;
        pushDone(times ? QVOp::multiply : QVOp::divide, i, i + 1);
        pushRange(factor, has, i + 1, end);
        end = i;
    }
    return end;
}

/// power: text, **, text.
int QVFormulaParser::splitPower(unsigned has, int begin, int end) {
    const int star = forward('*', begin, end);
    if (star == end) return end;
    if (star + 2 < end && text_[star + 2] == '*') fail(parseError, star, star + 3);
    pushDone(QVOp::call, star, star + 2, 2);
    pushRange(power, has, star + 2, end);
    return star;
}

/// primary: "(" text ")"; name "(" arguments ")"; name "[" text "]"; token.
void QVFormulaParser::takeApartPrimary(int begin, int end) {
    int bracket = begin;
    while (bracket < end && !(classOf(text_[bracket]) & (opening | closing))) ++bracket;
    if (begin == end) fail(parseError, begin, end);
    if (bracket == end) return add({QVOp::variable, QVLoopKind::none, begin, end, 0});

    const bool round = text_[bracket] == '(';
    const int close = text_.partner(bracket);
    if (text_[close] != (round ? ')' : ']')) failAtBracket(bracket);
    if (close + 1 != end) {
        // A text after "]" other than a further index or call reads as a "]" that is missing.
        if (!round && !(classOf(text_[end - 1]) & closing)) failAtBracket(bracket);
        fail(parseError, close + 1, end);
    }
    if (round && bracket > begin) return takeApartCall(begin, bracket, end);
    if (!round) {
        if (bracket == begin) fail(parseError, begin, end);
        pushDone(QVOp::index, begin, bracket, end);
    }
    pushWhole(bracket + 1, close);
}

/// call: name "(" text { "," text } ")"
void QVFormulaParser::takeApartCall(int begin, int bracket, int end) {
    const int close = end - 1;
    if (bracket + 1 == close) fail(parseError, bracket, end);
    const std::string_view name = text_.view(begin, bracket);
    if (name == "if") return takeApartIf(begin, bracket, end);
    if (name == "sum") return takeApartLoop(QVLoopKind::sum, begin, bracket, end);
    if (name == "prod") return takeApartLoop(QVLoopKind::product, begin, bracket, end);

    const std::size_t call = parts_.size();
    pushDone(QVOp::call, begin, bracket);
    int arguments = 1;
    int last = close;
    for (int i = close - 1; i > bracket; --i) {
        if (classOf(text_[i]) & closing) {
            i = text_.partner(i);
        } else if (text_[i] == ',') {
            pushWhole(i + 1, last);
            last = i;
            ++arguments;
        }
    }
    pushWhole(bracket + 1, last);
    parts_[call].element.extra = arguments;
}

/// if: "if(" condition "," text when not zero "," text when zero ")"
void QVFormulaParser::takeApartIf(int begin, int bracket, int end) {
    const int close = end - 1;
    const int first = forward(',', bracket + 1, close);
    const int second = first == close ? close : forward(',', first + 1, close);
    if (second == close || forward(',', second + 1, close) != close) {
        fail("too many arguments to if function\n", begin, end);
    }
    pushDone(QVOp::endIf, begin, bracket);
    pushWhole(second + 1, close);
    pushDone(QVOp::jump, begin, bracket);
    pushWhole(first + 1, second);
    pushDone(QVOp::jumpIfZero, begin, bracket);
    pushWhole(bracket + 1, first);
}

/// loop: "sum(" or "prod(", name "=" lower bound ":" upper bound "," body ")"
void QVFormulaParser::takeApartLoop(QVLoopKind kind, int begin, int bracket, int end) {
    const int close = end - 1;
    const int equals = forward('=', bracket + 1, close);
    if (equals == close || equals == bracket + 1) fail(parseError, bracket + 1, close);
    for (int i = bracket + 1; i < equals; ++i) {
        if (classOf(text_[i])) fail(parseError, bracket + 1, equals);
    }
    const int colon = forward(':', equals + 1, close);
    const int comma = forward(',', equals + 1, close);
    if (colon > comma || comma == close) fail(parseError, equals, close);
    pushDone(QVOp::loopEnd, bracket + 1, equals, begin, kind);
    pushWhole(comma + 1, close);
    pushDone(QVOp::loopBegin, bracket + 1, equals, begin, kind);
    pushWhole(colon + 1, comma);
    pushWhole(equals + 1, colon);
}

/// The first such character outside brackets, `end` when there is none. The brackets match.
int QVFormulaParser::forward(char c, int begin, int end) const {
    for (int i = begin; i < end; ++i) {
        if (text_[i] == c) return i;
        if (classOf(text_[i]) & opening) i = text_.partner(i);
    }
    return end;
}

void QVFormulaParser::add(const QVParsedElement& element) {
    if (element.op == QVOp::loopBegin && ++loops_ > qvDeepestLoop) {
        fail("sums and products are nested too deeply\n", element.extra, element.begin - 1);
    }
    if (element.op == QVOp::loopEnd) --loops_;
    elements_.push_back(element);
}

void QVFormulaParser::pushDone(QVOp op, int begin, int end, int extra, QVLoopKind kind) {
    parts_.push_back({done, 0, {op, kind, begin, end, extra}});
}

void QVFormulaParser::pushRange(int level, unsigned has, int begin, int end) {
    parts_.push_back({level, has, {QVOp::variable, QVLoopKind::none, begin, end, 0}});
}

void QVFormulaParser::fail(const char* message, int begin, int end) {
    fault_ = text_.faultAt(begin, end);
    Error error;
    error.set(message);
    throw error;
}

void QVFormulaParser::failAtBracket(int i) {
    const bool round = text_[i] == '(' || text_[i] == ')';
    fail(round ? "missing bracket\n" : "missing square bracket\n", i, i + 1);
}
