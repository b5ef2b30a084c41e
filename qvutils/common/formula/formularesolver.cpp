#include "qvutils/common/formula/formularesolver.h"

#include <utility>

#include "qvutils/common/error/qverror.h"

namespace {

constexpr int fewParameters = 8;

}  // namespace

template <class T>
QVFormulaResolver<T>::QVFormulaResolver(const QVFormulaParser& parser,
                                        const QVFuncParser<T>& registry,
                                        const List<QVParameterOf<T>>& parameters,
                                        QVNameSource* names)
    : text_(parser.text()), registry_(registry), parameters_(parameters), source_(names) {
    if (parameters.size() <= fewParameters) return;
    int number = 0;
    for (const auto& p : parameters) declared_.add(p.name.view(), {&p, number++});
}

template <class T>
void QVFormulaResolver<T>::resolve(const std::vector<QVParsedElement>& parsed,
                                   QVCompiledList<T>& list) {
    const bool fits = parsed.size() <= qvMostOperations;
    if (fits) list.elements.reserve(parsed.size());
    for (const QVParsedElement& p : parsed) {
        Element element;
        element.op = p.op;
        element.kind = p.kind;
        element.position = text_.typed(p.begin);
        element.length = text_.typed(p.end - 1) - element.position + 1;
        resolveOne(p, element);
        if (!fits) continue;  // the names are looked up nevertheless
        list.elements.push_back(element);
        closeJump(p.op, list, static_cast<int>(list.elements.size()) - 1);
        if (p.op == QVOp::loopBegin) {
            list.loopSlots = std::max(list.loopSlots, static_cast<int>(loops_.size()));
        }
    }
    if (!fits) {
        fault_ = text_.faultAt(0, text_.size());
        Error error;
        error.set("expression too complicated\n");
        throw error;
    }
    list.names = std::move(handles_);
}

template <class T>
void QVFormulaResolver<T>::resolveOne(const QVParsedElement& parsed, Element& element) {
    switch (parsed.op) {
        case QVOp::variable:
            return resolveName(parsed, element);
        case QVOp::index:
            return resolveIndex(parsed, element);
        case QVOp::call:
            return resolveCall(parsed, element);
        case QVOp::loopBegin:
            loops_.push_back(nameOf(parsed));
            break;
        case QVOp::loopEnd:
            break;
        default:
            return;
    }
    element.position = text_.typed(parsed.extra);
    element.length = text_.typed(parsed.begin - 2) - element.position + 1;
    element.arguments = static_cast<int>(loops_.size()) - 1;
    if (parsed.op == QVOp::loopEnd) loops_.pop_back();
}

/// Jumps end where their partner stands: a conditional one behind the jump that follows, that one
/// at the end mark; the two ends of a loop refer to each other.
template <class T>
void QVFormulaResolver<T>::closeJump(QVOp op, QVCompiledList<T>& list, int here) {
    const bool closes = op == QVOp::jump || op == QVOp::endIf || op == QVOp::loopEnd;
    if (closes) {
        const int from = open_.back();
        open_.pop_back();
        list.elements[static_cast<std::size_t>(from)].target = op == QVOp::jump ? here + 1 : here;
        if (op == QVOp::loopEnd) list.elements[static_cast<std::size_t>(here)].target = from;
    }
    if (op == QVOp::jumpIfZero || op == QVOp::jump || op == QVOp::loopBegin) open_.push_back(here);
}

template <class T>
void QVFormulaResolver<T>::resolveName(const QVParsedElement& parsed, Element& element) {
    const std::string_view name = nameOf(parsed);
    double number = 0;
    if (qvReadFormulaNumber(name, number)) {
        element.op = QVOp::number;
        element.value = number;
    } else if (const int slot = loopSlot(name); slot >= 0) {
        element.op = QVOp::loopVariable;
        element.target = slot;
    } else if (const auto* constant = registry_.findConstant(name)) {
        element.op = QVOp::number;
        element.value = constant->value;
    } else if (const Declared declared = findDeclared(name); declared.parameter) {
        if (declared.parameter->isVector()) {
            fail(parsed, "variable \"%s\" is a vector and needs an index\n", name);
        }
        element.op = QVOp::parameter;
        element.target = declared.number;
    } else if (!findOutside(name, element.target)) {
        failUnknown(parsed, "undefined variable \"%s\"\n", false);
    }
}

template <class T>
void QVFormulaResolver<T>::resolveIndex(const QVParsedElement& parsed, Element& element) {
    const std::string_view name = nameOf(parsed);
    const Declared declared = findDeclared(name);
    double number = 0;
    const bool scalar = qvReadFormulaNumber(name, number) || loopSlot(name) >= 0 ||
                        registry_.findConstant(name) ||
                        (declared.parameter && !declared.parameter->isVector());
    if (!scalar && declared.parameter) {
        element.target = declared.number;
        element.length = text_.typed(parsed.extra - 1) - element.position + 1;
        return;
    }
    if (!scalar && !findOutside(name, element.target)) {
        failUnknown(parsed, "undefined variable \"%s\"\n", false);
    }
    fail(parsed, "variable \"%s\" is not a vector\n", name);
}

template <class T>
void QVFormulaResolver<T>::resolveCall(const QVParsedElement& parsed, Element& element) {
    element.arguments = parsed.extra;
    element.function = registry_.findFunction(nameOf(parsed));
    if (!element.function) failUnknown(parsed, "undefined function \"%s\"\n", true);
    if (element.function->arity != -1 && element.function->arity != parsed.extra) {
        fail(parsed, "wrong number of arguments in function \"%s\"\n", nameOf(parsed));
    }
}

template <class T>
int QVFormulaResolver<T>::loopSlot(std::string_view name) const {
    int slot = static_cast<int>(loops_.size()) - 1;
    while (slot >= 0 && loops_[static_cast<std::size_t>(slot)] != name) --slot;
    return slot;
}

template <class T>
auto QVFormulaResolver<T>::findDeclared(std::string_view name) const -> Declared {
    if (parameters_.size() > fewParameters) {
        const Declared* found = declared_.find(name);
        return found ? *found : Declared();
    }
    int number = 0;
    for (const auto& p : parameters_) {
        if (p.name.view() == name) return {&p, number};
        ++number;
    }
    return {};
}

/// A name of the namespace gets one handle however often the formula uses it.
template <class T>
bool QVFormulaResolver<T>::findOutside(std::string_view name, int& number) {
    if (!source_) return false;
    if (const int* known = outside_.find(name)) {
        number = *known;
        return true;
    }
    QVNameHandle handle;
    if (!source_->findName(name, handle)) return false;
    number = static_cast<int>(handles_.size());
    handles_.push_back(handle);
    outside_.add(name, number);
    return true;
}

template <class T>
std::string_view QVFormulaResolver<T>::nameOf(const QVParsedElement& parsed) const {
    return text_.view(parsed.begin, parsed.end);
}

template <class T>
void QVFormulaResolver<T>::fail(const QVParsedElement& at, const char* format,
                                std::string_view name) {
    fault_ = text_.faultAt(at.begin, at.end);
    qvThrowError(format, std::string(name).c_str());
}

template <class T>
void QVFormulaResolver<T>::failUnknown(const QVParsedElement& at, const char* format,
                                       bool isFunction) {
    unknown_ = {nameOf(at), isFunction};
    fail(at, format, nameOf(at));
}

template class QVFormulaResolver<double>;
template class QVFormulaResolver<std::complex<double>>;
