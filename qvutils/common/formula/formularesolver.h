#pragma once
#include <string_view>
#include <vector>

#include "qvutils/common/formula/formulaparser.h"
#include "qvutils/common/formula/nameindex.h"
#include "qvutils/common/formula/qvfnparserComm.h"

/// The number that a whole token is, by the rules of C's strtod in the C locale: decimal or
/// hexadecimal, infinity, not a number; too large a number is infinite. False for any other token.
bool qvReadFormulaNumber(std::string_view token, double& value);

/// A name that a formula uses and nobody knows.
struct QVUnknownName {
    std::string_view name;
    bool isFunction = false;
};

/// Looks up the names and calls of a parsed formula, in the order of the list. Numbers go first,
/// then loop variables from the innermost outwards, constants, declared parameters, and the names
/// of the namespace.
template <class T>
class QVFormulaResolver {
public:
    QVFormulaResolver(const QVFormulaParser& parser, const QVFuncParser<T>& registry,
                      const List<QVParameterOf<T>>& parameters, QVNameSource* names);

    /// Throws an Error with the message; fault() is then where, unknown() which name.
    void resolve(const std::vector<QVParsedElement>& parsed, QVCompiledList<T>& list);
    const QVFormulaFault& fault() const { return fault_; }
    const QVUnknownName& unknown() const { return unknown_; }

private:
    using Element = QVCompiledElement<T>;
    struct Declared {
        const QVParameterOf<T>* parameter = nullptr;
        int number = -1;
    };

    void resolveOne(const QVParsedElement& parsed, Element& element);
    void resolveName(const QVParsedElement& parsed, Element& element);
    void resolveIndex(const QVParsedElement& parsed, Element& element);
    void resolveCall(const QVParsedElement& parsed, Element& element);
    void closeJump(QVOp op, QVCompiledList<T>& list, int here);
    int loopSlot(std::string_view name) const;
    Declared findDeclared(std::string_view name) const;
    bool findOutside(std::string_view name, int& number);
    std::string_view nameOf(const QVParsedElement& parsed) const;
    [[noreturn]] void fail(const QVParsedElement& at, const char* format, std::string_view name);
    [[noreturn]] void failUnknown(const QVParsedElement& at, const char* format, bool isFunction);

    const QVFormulaText& text_;
    const QVFuncParser<T>& registry_;
    const List<QVParameterOf<T>>& parameters_;
    QVNameSource* source_;
    QVNameIndex<Declared> declared_;  // when there are many
    QVNameIndex<int> outside_;
    std::vector<QVNameHandle> handles_;
    std::vector<std::string_view> loops_;
    std::vector<int> open_;  // jumps and loops that wait for their target
    QVFormulaFault fault_;
    QVUnknownName unknown_;
};
