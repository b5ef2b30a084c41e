#include "qvutils/common/object/qvpublishedparameters.h"

#include <algorithm>

#include "qvutils/common/error/qverror.h"
#include "qvutils/common/object/qvobject.h"
#include "qvutils/common/parameters/qvparameter.h"
#include "qvutils/common/text/qvnumber.h"
#include "qvutils/common/variables/qvnamespace.h"

/// What can be done with a parameter when its type is known by its kind alone.
struct qvParameterRow {
    qvNamedVariable* (*variable)(void*);
    QVString (*expression)(void*);
    QVString (*explain)(void*, const QVString& name);
    QVString (*write)(void*);
    bool (*read)(void*, qvNameSpace*, QVString& text);
};

namespace {

using Complex = std::complex<double>;

template <class T>
qvParameter<T>& at(void* parameter) {
    return *static_cast<qvParameter<T>*>(parameter);
}

template <class T>
qvNamedVariable* variable(void* parameter) {
    return at<T>(parameter).GetVariable();
}

template <class T>
QVString expression(void* parameter) {
    return at<T>(parameter).GetMyExpression();
}

template <class T>
QVString explain(void* parameter, const QVString& name) {
    const qvParameter<T>* origin = &at<T>(parameter);
    QVString text;
    if (origin->IsUndefined()) {
        text = name + " is not set";
        if (!origin->GetParent()) return text + ", so it is " + origin->GetValueString() + "\n";
        text += " and inherits\n";
        while (origin->IsUndefined() && origin->GetParent()) origin = origin->GetParent();
    }
    text += name + " = ";
    qvNamedVariable* formula = origin->GetVariable();
    return text + (formula ? formula->Explain() : origin->GetValueString() + "\n");
}

template <class T>
QVString write(void* parameter) {
    return at<T>(parameter).Write();
}

template <class T>
bool read(void* parameter, qvNameSpace* space, QVString& text) {
    return at<T>(parameter).Read(space, text);
}

template <class T>
constexpr qvParameterRow row{variable<T>, expression<T>, explain<T>, write<T>, read<T>};

// In the order of the kinds.
constexpr const qvParameterRow* rows[] = {&row<int>, &row<float>, &row<double>, &row<Complex>};

constexpr std::string_view blanks = " \t\r\n";

std::string_view trimmed(std::string_view text) {
    text.remove_prefix(std::min(text.find_first_not_of(blanks), text.size()));
    return text.substr(0, text.find_last_not_of(blanks) + 1);
}

/// The length of the saved form of a parameter at the start of a text.
std::size_t savedLength(std::string_view text) {
    if (text.starts_with('"')) return std::min(text.find('"', 1), text.size() - 1) + 1;
    return std::min({text.find_first_of(blanks), text.find("//"), text.size()});
}

}  // namespace

qvPublishedParameter::qvPublishedParameter(const QVCommandElt& element)
    : row_(rows[element.getKind() - qvKindParameterInt]),
      parameter_(element.getScalarPtr()),
      parent_(element.getParent()) {}

qvNamedVariable* qvPublishedParameter::getVariable() const {
    return row_->variable(parameter_);
}

QVString qvPublishedParameter::getExpression() const {
    return row_->expression(parameter_);
}

QVString qvPublishedParameter::Explain(const QVString& name) const {
    return row_->explain(parameter_, name);
}

QVString qvPublishedParameter::Write() const {
    return row_->write(parameter_);
}

bool qvPublishedParameter::Read(QVString& text) const {
    return row_->read(parameter_, parent_ ? parent_->GetNameSpace() : nullptr, text);
}

void qvPublishedParameter::TellFlaws() const {
    if (qvNamedVariable* formula = getVariable()) formula->GetValue();
}

qvPublishedParameters::qvPublishedParameters(QVObject& object) {
    List<QVCommandElt> published;
    object.getChildList(published);
    for (const QVCommandElt& element : published) {
        if (qvIsParameterKind(element.getKind())) addEntries(element);
    }
}

void qvPublishedParameters::addEntries(const QVCommandElt& element) {
    using Range = PublishContainer::Range;
    const int ndims = element.getNdims();
    const Range lines = ndims > 0 ? element.getRange(1) : Range{0, 0};
    const Range columns = ndims > 1 ? element.getRange(2) : Range{0, 0};
    for (int i = lines.first; i <= lines.last; ++i) {
        for (int j = columns.first; j <= columns.last; ++j) {
            QVString name = element.getName();
            if (ndims > 0) name += "[" + numtoA(i) + "]";
            if (ndims > 1) name += "[" + numtoA(j) + "]";
            add(element.entryElt(i, j), name);
        }
    }
}

/// When a name is published twice the first counts.
void qvPublishedParameters::add(const QVCommandElt& element, const QVString& name) {
    if (!element.getScalarPtr() || find(name.view())) return;
    all_.push_back({name, qvPublishedParameter(element)});
    indices_.emplace(all_.back().name.view(), all_.size() - 1);
}

const qvPublishedParameter* qvPublishedParameters::find(std::string_view name) const {
    const auto found = indices_.find(name);
    return found == indices_.end() ? nullptr : &all_[found->second].parameter;
}

bool qvPublishedParameters::readLine(std::string_view line) const {
    const std::size_t equals = std::min(line.find('='), line.size());
    const qvPublishedParameter* parameter = find(trimmed(line.substr(0, equals)));
    if (!parameter || equals == line.size()) return false;
    const std::string_view rest = trimmed(line.substr(equals + 1));
    const std::size_t end = savedLength(rest);
    const std::string_view comment = trimmed(rest.substr(end));
    if (!comment.empty() && !comment.starts_with("//")) return false;
    QVString saved(rest.substr(0, end));
    return parameter->Read(saved);
}

QVString qvExplainParameter(QVObject& object, const QVString& name) {
    QVString text;
    for (const auto& [label, parameter] : qvPublishedParameters(object)) {
        if (label == name || label.Before('[') == name) text += parameter.Explain(label);
    }
    if (!text.Empty()) return text;
    qvNameSpace* space = object.GetNameSpace();
    if (space && space->Find(name)) return space->Explain(name);
    qverr().setf("could not find item \"%s\"\n", name.Chars());
    return text;
}

QVString qvParametersThatUse(QVObject& object, const QVString& variable) {
    qvNameSpace* space = object.GetNameSpace();
    if (!space || !space->Find(variable)) {
        qverr().setf("Variable %s not found\n", variable.Chars());
        return QVString();
    }
    std::unordered_map<const qvNamedVariable*, bool> direct;
    for (const qvNameSpace::Use& use : space->UsersOf(variable)) {
        direct.emplace(use.variable, use.direct);
    }
    QVString text;
    for (const auto& [label, parameter] : qvPublishedParameters(object)) {
        const auto use = direct.find(parameter.getVariable());
        if (use == direct.end()) continue;
        text += label + " = " + parameter.getExpression();
        text += use->second ? "\n" : "  (indirectly)\n";
    }
    return text.Empty() ? "nothing uses " + variable + "\n" : text;
}
