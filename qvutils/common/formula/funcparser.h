#pragma once
#include <complex>
#include <string_view>

#include "qvutils/common/containers/list.h"
#include "qvutils/common/formula/nameindex.h"
#include "qvutils/common/platform/qvexport.h"
#include "qvutils/common/text/qvstring.h"

/// The arguments handed to a function, in the order written.
template <class T>
struct ParList {
    int count = 0;
    const T* values = nullptr;

    const T& operator[](int i) const { return values[i]; }
};
using ParListR = ParList<double>;
using ParListC = ParList<std::complex<double>>;

/// A function that formulas may call. It reports a failure by throwing an `Error` by value, best
/// through qvThrowError; the evaluation then ends with that message.
template <class T>
using QVFormulaFunction = T (*)(const ParList<T>& arguments);

/// Ends the evaluation of a formula with a printf-style message.
[[noreturn]] QVCORE_API void qvThrowError(const char* fmt, ...) QV_PRINTF_LIKE(1, 2);

/// What the evaluator knows of a built-in function beyond its value: its derivative, a form for
/// arrays. See builtins.h.
template <class T>
struct QVFunctionFacts;

/// One registered function. Arity -1 takes any number of arguments: the function checks it.
template <class T>
struct FuncDataElt {
    QVFormulaFunction<T> function = nullptr;
    QVString name;
    int arity = 0;
    const QVFunctionFacts<T>* facts = nullptr;
};
using FuncDataEltR = FuncDataElt<double>;
using FuncDataEltC = FuncDataElt<std::complex<double>>;

template <class T>
struct QVFormulaConstant {
    QVString name;
    T value{};
    QVString description;
};

/// The functions and constants that formulas may use. A name registered twice keeps its first
/// meaning. Expressions refer to their registry, which therefore outlives them; registering more is
/// not safe while another thread compiles.
template <class T>
class QVFuncParser {
public:
    /// Filled with the built-in functions and constants.
    QVFuncParser();
    QVFuncParser(const QVFuncParser& other);
    QVFuncParser& operator=(const QVFuncParser& other);

    /// The registry that expressions use unless they are given another.
    static QVFuncParser TheFuncParser;

    /// False, with nothing changed, when the name is registered already.
    bool RegisterFunction(QVFormulaFunction<T> function, QVText name, int arity,
                          const QVFunctionFacts<T>* facts = nullptr);
    bool RegisterConstant(QVText name, const T& value, QVText description);
    /// Takes a registration back; expressions that use the function must be gone. False when there
    /// is no function of that name.
    bool RemoveFunction(QVText name);
    bool IsFunctionRegistered(QVText name) const { return findFunction(name.view()) != nullptr; }
    bool IsConstantRegistered(QVText name) const { return findConstant(name.view()) != nullptr; }

    /// Null when there is none of that name; else it stays where it is while the registry lives.
    const FuncDataElt<T>* findFunction(std::string_view name) const;
    const QVFormulaConstant<T>* findConstant(std::string_view name) const;

    const List<FuncDataElt<T>>& getFunctions() const { return functions_; }
    const List<QVFormulaConstant<T>>& getConstants() const { return constants_; }

private:
    void index();

    List<FuncDataElt<T>> functions_;
    List<QVFormulaConstant<T>> constants_;
    QVNameIndex<const FuncDataElt<T>*> functionIndex_;
    QVNameIndex<const QVFormulaConstant<T>*> constantIndex_;
};
using QVFuncParserR = QVFuncParser<double>;
using QVFuncParserC = QVFuncParser<std::complex<double>>;

extern template class QVCORE_API QVFuncParser<double>;
extern template class QVCORE_API QVFuncParser<std::complex<double>>;
