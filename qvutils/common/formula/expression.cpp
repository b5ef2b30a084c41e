// Expressions, all but their evaluation.
#include <string>

#include "qvutils/common/diagnostics/diagnostics.h"
#include "qvutils/common/formula/formularesolver.h"
#include "qvutils/common/formula/program.h"
#include "qvutils/common/formula/qvfnparserComm.h"
#include "qvutils/common/text/qvnearest.h"

template <class T>
int QVArguments<T>::place(int parameter, const int* index) const {
    if (parameter < 1 || parameter > count()) {
        exitfn("There is no parameter number %d in a formula with %d of them", parameter, count());
    }
    const Shape& shape = shapes_[static_cast<std::size_t>(parameter - 1)];
    const int at = index ? *index : shape.lo;
    if (at < shape.lo || at > std::max(shape.lo, shape.hi)) {
        exitfn("Index %d of parameter number %d of a formula is out of bounds (%d,%d)", at,
               parameter, shape.lo, shape.hi);
    }
    return shape.offset + (at - shape.lo);
}

template <class T>
QVExpression<T>::QVExpression() : registry_(&QVFuncParser<T>::TheFuncParser) {}

template <class T>
QVExpression<T>::QVExpression(const QVExpression& other)
    : text_(other.text_), registry_(other.registry_), parameters_(other.parameters_),
      names_(other.names_), boundsCheck_(other.boundsCheck_), program_(other.program_),
      fault_(other.fault_), unknown_(other.unknown_),
      unknownIsFunction_(other.unknownIsFunction_) {
    bindScalars();
}

template <class T>
QVExpression<T>& QVExpression<T>::operator=(const QVExpression& other) {
    if (this == &other) return *this;
    text_ = other.text_;
    registry_ = other.registry_;
    parameters_ = other.parameters_;
    names_ = other.names_;
    boundsCheck_ = other.boundsCheck_;
    program_ = other.program_;
    fault_ = other.fault_;
    unknown_ = other.unknown_;
    unknownIsFunction_ = other.unknownIsFunction_;
    bindScalars();
    return *this;
}

/// Looks the parameters of the program up in this expression's own list.
template <class T>
void QVExpression<T>::bindScalars() {
    scalars_.clear();
    if (!program_) return;
    scalars_.reserve(program_->scalars.size());
    for (const int number : program_->scalars) scalars_.push_back(&parameters_[number + 1]);
}

template <class T>
QVExpression<T>::~QVExpression() = default;

template <class T>
void QVExpression<T>::setExpression(QVText text) {
    text_ = text;
    Reset();
}

template <class T>
void QVExpression<T>::setFuncParser(const QVFuncParser<T>& registry) {
    registry_ = &registry;
    Reset();
}

template <class T>
void QVExpression<T>::setNameSpace(const List<QVParameterOf<T>>& parameters, int first, int last) {
    List<QVParameterOf<T>> chosen;
    int position = 0;
    for (const auto& parameter : parameters) {
        ++position;
        if (position >= first && (last < first || position <= last)) chosen.append(parameter);
    }
    parameters_.swap(chosen);
    names_ = nullptr;
    Reset();
}

template <class T>
void QVExpression<T>::setNameSpace(QVNameSource* names) {
    names_ = names;
    Reset();
}

template <class T>
void QVExpression<T>::DeclareParam(QVText name, QVText description, int lo, int hi) {
    parameters_.append(QVParameterOf<T>(name, description, lo, hi));
    Reset();
}

template <class T>
int QVExpression<T>::findParam(QVText name) const {
    int position = 0;
    for (const auto& parameter : parameters_) {
        ++position;
        if (parameter.name.view() == name.view()) return position;
    }
    return 0;
}

template <class T>
void QVExpression<T>::Reset() {
    program_.reset();
    fault_ = {};
    unknown_ = "";
}

template <class T>
bool QVExpression<T>::Compile(Error& error) {
    Reset();
    try {
        CompileB();
    } catch (const Error& failure) {
        error = failure;
    }
    return IsOk();
}

template <class T>
void QVExpression<T>::CompileB() {
    QVFormulaParser parser(text_.view());
    QVFormulaResolver<T> resolver(parser, *registry_, parameters_, names_);
    QVCompiledList<T> list;
    try {
        const std::vector<QVParsedElement>& parsed = parser.parse();
        resolver.resolve(parsed, list);
    } catch (const Error&) {
        fault_ = parser.fault().column >= 0 ? parser.fault() : resolver.fault();
        unknown_ = QVText(resolver.unknown().name);
        unknownIsFunction_ = resolver.unknown().isFunction;
        throw;
    }
    program_ = std::make_shared<const QVProgram<T>>(list);
    bindScalars();
}

template <class T>
const QVFormulaFault& QVExpression<T>::getFault() {
    if (unknown_.Empty()) return fault_;
    QVNearestNames nearest(unknown_.view());
    if (unknownIsFunction_) {
        for (const auto& f : registry_->getFunctions()) nearest.offer(f.name.view());
        for (const char* loop : {"sum", "prod"}) nearest.offer(loop);
    } else {
        for (const auto& parameter : parameters_) nearest.offer(parameter.name.view());
        for (const auto& constant : registry_->getConstants()) nearest.offer(constant.name.view());
        std::vector<QVString> outside;
        if (names_) names_->listNames(outside);
        for (const QVString& name : outside) nearest.offer(name.view());
    }
    for (const std::string& name : nearest.names())
        fault_.nearest.push_back(QVString(name.c_str()));
    unknown_ = "";
    return fault_;
}

template <class T>
QVArguments<T> QVExpression<T>::makeArguments() const {
    QVArguments<T> arguments;
    for (const auto& parameter : parameters_) {
        const int offset = static_cast<int>(arguments.values_.size());
        arguments.shapes_.push_back({parameter.lo, parameter.hi, offset});
        for (const T& value : parameter.value) arguments.values_.push_back(value);
    }
    return arguments;
}

template class QVArguments<double>;
template class QVArguments<std::complex<double>>;
template class QVExpression<double>;
template class QVExpression<std::complex<double>>;
