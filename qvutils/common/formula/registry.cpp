#include <cstdarg>

#include "qvutils/common/error/qverror.h"
#include "qvutils/common/formula/builtins.h"
#include "qvutils/common/formula/funcparser.h"
#include "qvutils/common/platform/format.h"

void qvThrowError(const char* fmt, ...) {
    va_list args;
    va_start(args, fmt);
    const std::string message = qvplatform::vformatText(fmt, args);
    va_end(args);
    Error error;
    error.set(message.c_str());
    throw error;
}

template <class T>
QVFuncParser<T>::QVFuncParser() {
    for (const QVBuiltin<T>& row : qvBuiltins<T>()) {
        RegisterFunction(row.function, row.name, row.arity, &row.facts);
    }
    RegisterConstant("_PI", T(3.141592653589793), "");
}

template <class T>
QVFuncParser<T>::QVFuncParser(const QVFuncParser& other)
    : functions_(other.functions_), constants_(other.constants_) {
    index();
}

template <class T>
QVFuncParser<T>& QVFuncParser<T>::operator=(const QVFuncParser& other) {
    if (this == &other) return *this;
    functions_ = other.functions_;
    constants_ = other.constants_;
    index();
    return *this;
}

template <class T>
void QVFuncParser<T>::index() {
    functionIndex_.clear();
    constantIndex_.clear();
    for (const auto& f : functions_) functionIndex_.add(f.name.view(), &f);
    for (const auto& c : constants_) constantIndex_.add(c.name.view(), &c);
}

template <class T>
bool QVFuncParser<T>::RegisterFunction(QVFormulaFunction<T> function, QVText name, int arity,
                                       const QVFunctionFacts<T>* facts) {
    if (IsFunctionRegistered(name)) return false;
    functions_.append({function, QVString(name.view()), arity, facts});
    const auto& added = functions_.last_cpt();
    return functionIndex_.add(added.name.view(), &added);
}

template <class T>
bool QVFuncParser<T>::RegisterConstant(QVText name, const T& value, QVText description) {
    if (IsConstantRegistered(name)) return false;
    constants_.append({QVString(name.view()), value, QVString(description.view())});
    const auto& added = constants_.last_cpt();
    return constantIndex_.add(added.name.view(), &added);
}

template <class T>
bool QVFuncParser<T>::RemoveFunction(QVText name) {
    for (int i = 1; i <= functions_.size(); ++i) {
        if (functions_[i].name.view() != name.view()) continue;
        functions_.erase(i);
        index();
        return true;
    }
    return false;
}

template <class T>
const FuncDataElt<T>* QVFuncParser<T>::findFunction(std::string_view name) const {
    const auto* found = functionIndex_.find(name);
    return found ? *found : nullptr;
}

template <class T>
const QVFormulaConstant<T>* QVFuncParser<T>::findConstant(std::string_view name) const {
    const auto* found = constantIndex_.find(name);
    return found ? *found : nullptr;
}

template <class T>
QVFuncParser<T> QVFuncParser<T>::TheFuncParser;

template class QVFuncParser<double>;
template class QVFuncParser<std::complex<double>>;
