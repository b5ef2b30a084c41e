#pragma once
#include <string_view>
#include <vector>

#include "qvutils/common/formula/compiledelement.h"
#include "qvutils/common/formula/formulatext.h"

/// One entry of the postfix list as parsed, its names not yet looked up: op `variable` is any token
/// that is no operator. All positions are those of the text without blanks.
struct QVParsedElement {
    QVOp op = QVOp::variable;
    QVLoopKind kind = QVLoopKind::none;
    /// The token, the operator, the name of the function called or vector indexed, the loop
    /// variable.
    int begin = 0;
    int end = 0;
    /// The number of arguments of a call; where the text of an index ends; where the word "sum" or
    /// "prod" begins.
    int extra = 0;
};

/// Takes a formula apart. The language is defined by splitting: a text is split at its operator of
/// lowest precedence outside brackets, the left part is taken apart, then the right one, then the
/// operator follows. From the lowest level to the highest:
///
///     1  ==, then !=, then <, then <=, then >, then >=    at the last one
///     2  binary + and -, not the sign of an exponent      at the last one
///     3  binary * and /                                   at the last one
///     4  a leading + or -
///     5  **                                               at the first one
///     6  ( ... ), name( ... ), name[ ... ]
///     7  a token: whatever is left
///
/// Here a level's splits of one text are all found in one walk from its end to its beginning. Parts
/// wait on a stack of their own instead of being entered by recursion, in the order in which
/// splitting would come to them; so mistakes are met in that order too, the time is linear in the
/// length, and depth costs nothing.
class QVFormulaParser {
public:
    explicit QVFormulaParser(std::string_view formula);

    /// Throws an Error with the message; fault() is then where.
    const std::vector<QVParsedElement>& parse();
    const QVFormulaText& text() const { return text_; }
    const QVFormulaFault& fault() const { return fault_; }

private:
    enum Level { comparison = 0, sum = 6, term, factor, power, done };
    struct Part {
        int level;     // done: the element goes to the list as it is
        unsigned has;  // what may occur outside brackets in it, from classesIn
        QVParsedElement element;
    };

    void takeApart(int level, unsigned has, int begin, int end);
    int splitComparisons(int level, unsigned has, int begin, int end);
    int splitSums(unsigned has, int begin, int end);
    int splitTerms(unsigned has, int begin, int end);
    int splitPower(unsigned has, int begin, int end);
    void takeApartPrimary(int begin, int end);
    void takeApartCall(int begin, int bracket, int end);
    void takeApartIf(int begin, int bracket, int end);
    void takeApartLoop(QVLoopKind kind, int begin, int bracket, int end);

    unsigned classesIn(int begin, int end) const;
    bool isExponentSign(int begin, int i) const;
    int forward(char c, int begin, int end) const;
    void add(const QVParsedElement& element);
    void pushDone(QVOp op, int begin, int end, int extra = 0, QVLoopKind kind = QVLoopKind::none);
    void pushRange(int level, unsigned has, int begin, int end);
    void pushWhole(int begin, int end) { pushRange(comparison, 0, begin, end); }
    [[noreturn]] void fail(const char* message, int begin, int end);
    [[noreturn]] void failAtBracket(int i);

    QVFormulaText text_;
    QVFormulaFault fault_;
    std::vector<Part> parts_;
    std::vector<QVParsedElement> elements_;
    int loops_ = 0;
};
