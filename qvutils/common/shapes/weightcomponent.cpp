#include "qvutils/common/shapes/weightcomponent.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "qvutils/common/error/qverror.h"
#include "qvutils/common/platform/files.h"
#include "qvutils/common/text/qvnumber.h"

namespace {

/// A message about a formula and the place in it.
std::string told(const Error& error, const QVString& formula, const QVFormulaFault& fault) {
    std::string text = error.chars();
    if (!text.ends_with('\n')) text += '\n';
    text += qvShowFault(formula, fault).view();
    return text;
}

void prepareNumber(WeightComponent& component, const std::vector<WeightParam>&) {
    component.current = component.number.GetValue();
    component.refuse(component.kind->keyword, component.number);
}

void prepareFormula(WeightComponent& component, const std::vector<WeightParam>& params) {
    QVExpressionR& formula = component.formula;
    if (!formula.IsOk()) {
        formula = QVExpressionR();
        formula.setExpression(component.text);
        formula.DeclareParam("t", "position");
        for (const WeightParam& param : params) formula.DeclareParam(param.name, "");
        Error error;
        if (!formula.Compile(error)) {
            component.flaw =
                "weighting formula: " + told(error, component.text, formula.getFault());
            return;
        }
    }
    int position = 1;
    for (const WeightParam& param : params) {
        formula.getNameSpace()[++position].value[0] = param.value.GetValue();
        component.refuse(param.name.Chars(), param.value);
    }
    component.arguments.put(nullptr);
}

/// Reads the file when it has changed since it was read.
void prepareTable(WeightComponent& component, const std::vector<WeightParam>&) {
    const std::string path(component.text.view());
    const qvplatform::FileStatus status = qvplatform::fileSystem().status(path);
    const bool same = component.tableTime == status.modified && component.tableSize == status.size;
    if (component.table && same) return;
    component.table = WeightTable::read(path, component.flaw);
    component.tableTime = status.modified;
    component.tableSize = status.size;
}

double constant(const WeightComponent& component, double, const WeightRange&) {
    return component.current;
}

double power(const WeightComponent& component, double t, const WeightRange& range) {
    return std::pow(range.progress(t), component.current);
}

/// u^p / (u^p + (1 - u)^p): from 0 to 1, of slope p in the middle and 0 at the ends.
double sCurve(const WeightComponent& component, double t, const WeightRange& range) {
    const double steepness = component.current;
    if (!(steepness >= 1)) {
        qverr().setf("weighting function SFUNC: a steepness of %s is not possible: at least 1\n",
                     qvShortestText(steepness).Chars());
        return 0;
    }
    const double u = range.progress(t);
    return u > 0 ? 1 / (1 + std::pow((1 - u) / u, steepness)) : 0;
}

double formulaValue(const WeightComponent& component, double t, const WeightRange& range) {
    auto arguments = component.arguments.take(component.formula);
    arguments->value(1) = range.given ? range.clamped(t) : t;
    Error error;
    const double value = component.formula.Evaluate(*arguments, error);
    if (error) {
        qverr().setf("weighting formula at t = %s: %s", qvShortestText(t).Chars(),
                     told(error, component.text, arguments->getFault()).c_str());
    }
    component.arguments.put(std::move(arguments));
    return value;
}

double tableValue(const WeightComponent& component, double t, const WeightRange& range) {
    return component.table->value(range.given ? range.clamped(t) : t);
}

using K = WeightKind;
constexpr std::array kinds{
    K{"FORMULA", K::formula, 0, "FORMULA \"formula in t\" name=value ...", "formula in t",
      prepareFormula, formulaValue},
    K{"FILE", K::word, 0, "FILE name", "file with the columns t and weight", prepareTable,
      tableValue},
    K{"SFUNC", K::numberOrNone, 2, "SFUNC steepness", "steepness of the s-curve, at least 1",
      prepareNumber, sCurve},
    K{"POWER", K::number, 0, "POWER exponent", "power to which t is raised", prepareNumber, power},
    K{"FLAT", K::number, 0, "FLAT weight", "weight everywhere", prepareNumber, constant},
};

}  // namespace

const WeightKind* WeightKind::find(std::string_view keyword) {
    const auto* const row = std::find_if(kinds.begin(), kinds.end(), [&](const WeightKind& kind) {
        return kind.keyword == keyword;
    });
    return row == kinds.end() ? nullptr : row;
}

bool WeightRange::isUsable(double start, double end) {
    return start < end && std::isfinite(end - start);
}

double WeightRange::clamped(double t) const {
    return std::clamp(t, start, end);
}

double WeightRange::progress(double t) const {
    return (clamped(t) - start) / (end - start);
}

void WeightComponent::refuse(const char* what, const qvParameter<double>& value) {
    const QVString cause = value.GetFlaw();
    if (cause.Empty() || !flaw.empty()) return;
    flaw = std::string("weighting function: ") + what + " has no value\n" + cause.Chars();
    isTold = true;
}

void WeightComponent::prepare(const std::vector<WeightParam>& params) {
    flaw.clear();
    isTold = false;
    kind->prepare(*this, params);
}

double WeightComponent::value(double t, const WeightRange& range) const {
    if (!flaw.empty()) {
        qverr().set(flaw.c_str());
        return 0;
    }
    const double weight = kind->value(*this, t, range);
    if (std::isfinite(weight)) [[likely]]
        return weight;
    if (qverr()) return 0;
    qverr().setf("weighting function %s: no finite weight at t = %s\n", kind->keyword,
                 qvShortestText(t).Chars());
    return 0;
}
