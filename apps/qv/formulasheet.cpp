#include "apps/qv/formulasheet.h"

#include <algorithm>
#include <cstdio>
#include <limits>
#include <set>

#include "qvutils/common/text/qvnumber.h"

namespace {

constexpr std::size_t mostDepth = 1000;

std::string withoutLineEnd(std::string text) {
    while (!text.empty() && text.back() == '\n') text.pop_back();
    return text;
}

std::string where(const std::string& place) {
    return place.empty() ? "" : place + ": ";
}

void tellFault(const std::string& place, const std::string& message, const std::string& formula,
               const QVFormulaFault& fault) {
    tellError(where(place) + message);
    std::fputs(qvShowFault(formula.c_str(), fault).Chars(), stderr);
}

std::set<std::string> namesIn(const std::string& formula) {
    std::set<std::string> names;
    qvForEachName(std::string_view(formula),
                  [&](QVText name, int, int) { names.emplace(name.view()); });
    return names;
}

}  // namespace

void tellError(const std::string& message) {
    std::fflush(stdout);
    std::fprintf(stderr, "qv: %s\n", withoutLineEnd(message).c_str());
}

template <class T>
void FormulaSheet<T>::listNames(std::vector<QVString>& names) {
    for (const auto& [name, definition] : definitions_) names.emplace_back(name.c_str());
}

template <class T>
std::vector<std::string> FormulaSheet<T>::names() const {
    std::vector<std::string> names;
    for (const auto& [name, definition] : definitions_) names.push_back(name);
    return names;
}

// Numbers and constants go before names: a definition of one would never be read.
template <class T>
bool FormulaSheet<T>::isFit(const std::string& name) {
    const bool isConstant = QVFuncParser<T>::TheFuncParser.IsConstantRegistered(name.c_str());
    if (!isConstant && namesIn(name).count(name) == 1) return true;
    tellError("\"" + name + "\" is a " + (isConstant ? "constant" : "number") +
              " and cannot be defined");
    return false;
}

template <class T>
bool FormulaSheet<T>::enter(const std::string& name, const std::string& formula) {
    if (!isFit(name)) return false;
    if (definitions_.count(name) != 0) {
        tellError("\"" + name + "\" is defined twice");
        return false;
    }
    definitions_[name].formula = formula;
    return true;
}

template <class T>
bool FormulaSheet<T>::setSweep(const std::string& name, const std::vector<double>& values) {
    if (!enter(name, "")) return false;
    Definition& definition = definitions_[name];
    definition.values.assign(values.begin(), values.end());
    definition.state = State::done;
    sweepName_ = name;
    return true;
}

template <class T>
bool FormulaSheet<T>::evaluateAll() {
    bool well = true;
    for (auto& [name, definition] : definitions_) well = valuesOf(name, definition) && well;
    return well;
}

template <class T>
bool FormulaSheet<T>::hasGaps() const {
    return std::any_of(definitions_.begin(), definitions_.end(),
                       [](const auto& named) { return !named.second.gaps.empty(); });
}

template <class T>
void FormulaSheet<T>::forgetValues() {
    for (auto& [name, definition] : definitions_) definition.state = State::entered;
}

template <class T>
bool FormulaSheet<T>::define(const std::string& name, const std::string& formula) {
    if (!isFit(name)) return false;
    const auto known = definitions_.find(name);
    if (known == definitions_.end()) {
        Definition& definition = definitions_[name];
        definition.formula = formula;
        if (valuesOf(name, definition)) return true;
        definitions_.erase(name);
        return false;
    }
    const std::string before = known->second.formula;
    known->second.formula = formula;
    forgetValues();
    if (evaluateAll()) return true;
    known->second.formula = before;
    forgetValues();
    return false;
}

// The names on the way from the first use of `name` back to it.
template <class T>
void FormulaSheet<T>::tellCircle(const std::string& name) {
    std::string circle;
    for (auto at = std::find(path_.begin(), path_.end(), name); at != path_.end(); ++at)
        circle += *at + " -> ";
    tellError("circular definition: " + circle + name);
}

/// Null when the name has no value; the cause has been told.
template <class T>
const std::vector<T>* FormulaSheet<T>::valuesOf(const std::string& name, Definition& definition) {
    if (definition.state == State::running) {
        tellCircle(name);
        definition.state = State::failed;
    } else if (definition.state == State::entered && path_.size() == mostDepth) {
        tellError("more than " + std::to_string(mostDepth) + " definitions use one another");
        definition.state = State::failed;
    } else if (definition.state == State::entered) {
        definition.state = State::running;
        path_.push_back(name);
        const bool well = compute(definition.formula, name, definition.values, definition.gaps);
        path_.pop_back();
        const Gaps& gaps = definition.gaps;
        const bool isPartial = std::find(gaps.begin(), gaps.end(), false) != gaps.end();
        definition.state = well || isPartial ? State::done : State::failed;
    }
    return definition.state == State::done ? &definition.values : nullptr;
}

template <class T>
bool FormulaSheet<T>::evaluate(const std::string& formula, std::vector<T>& values) {
    Gaps gaps;
    return compute(formula, "", values, gaps);
}

template <class T>
bool FormulaSheet<T>::evaluateReal(const std::string& formula, double& value) {
    std::vector<T> values;
    if (!evaluate(formula, values)) return false;
    value = std::real(values[0]);
    if (std::imag(values[0]) == 0) return true;
    tellError("the limits and the step of a sweep must be real");
    return false;
}

template <class T>
bool FormulaSheet<T>::evaluateSweep(const SweepText& sweep, std::vector<double>& values) {
    double lo;
    double hi;
    double step;
    if (!evaluateReal(sweep.lo, lo) || !evaluateReal(sweep.hi, hi) ||
        !evaluateReal(sweep.step, step)) {
        return false;
    }
    std::string error;
    if (sweepValues(lo, hi, step, values, error)) return true;
    tellError(error);
    return false;
}

template <class T>
bool FormulaSheet<T>::compute(const std::string& formula, const std::string& place,
                              std::vector<T>& values, Gaps& gaps) {
    values.clear();
    gaps.clear();
    QVExpression<T> expression;
    expression.setExpression(std::string_view(formula));
    expression.setNameSpace(this);
    std::vector<QVArraySource<T>> sources;
    for (const std::string& name : namesIn(formula)) {
        const auto known = definitions_.find(name);
        if (known == definitions_.end()) continue;
        const std::vector<T>* inputs = valuesOf(name, known->second);
        if (!inputs) return false;
        expression.DeclareParam(name.c_str(), "");
        const int parameter = expression.findParam(name.c_str());
        expression.getNameSpace()[parameter].value[0] = inputs->front();
        if (inputs->size() > 1) sources.push_back({parameter, *inputs});
        const Gaps& missing = known->second.gaps;
        gaps.resize(std::max(gaps.size(), missing.size()));
        for (std::size_t row = 0; row < missing.size(); ++row)
            if (missing[row]) gaps[row] = true;
    }
    Error error;
    if (expression.Compile(error)) return run(expression, sources, place, values, gaps);
    gaps.clear();
    tellFault(place, error.chars(), formula, expression.getFault());
    return false;
}

// After the first row that fails the others are tried one by one.
template <class T>
bool FormulaSheet<T>::run(QVExpression<T>& expression, std::vector<QVArraySource<T>>& sources,
                          const std::string& place, std::vector<T>& values, Gaps& gaps) {
    const std::size_t rows = sources.empty() ? 1 : sources[0].values.size();
    values.resize(rows);
    std::size_t failures = 0;
    std::size_t firstFailure = 0;
    std::string message;
    QVFormulaFault fault;
    for (std::size_t row = 0; row < rows;) {
        if (!gaps.empty() && gaps[row]) {
            values[row++] = std::numeric_limits<double>::quiet_NaN();
            continue;
        }
        std::size_t count = failures == 0 ? rows - row : 1;
        if (!gaps.empty()) {
            const auto from = gaps.begin() + static_cast<std::ptrdiff_t>(row);
            count = static_cast<std::size_t>(
                std::find(from, from + static_cast<std::ptrdiff_t>(count), true) - from);
        }
        std::vector<QVArraySource<T>> part = sources;
        for (QVArraySource<T>& source : part) source.values = source.values.subspan(row, count);
        Error error;
        std::size_t failed = 0;
        if (expression.EvaluateArray(part, std::span(values).subspan(row, count), error, &failed)) {
            row += count;
            continue;
        }
        row += failed;
        if (failures++ == 0) {
            message = withoutLineEnd(error.chars());
            fault = expression.getFault();
            firstFailure = row;
        }
        gaps.resize(rows);
        gaps[row] = true;
        values[row++] = std::numeric_limits<double>::quiet_NaN();
    }
    if (failures == 0) return true;
    if (rows > 1) {
        const T& at = definitions_[sweepName_].values[firstFailure];
        message += ", at " + sweepName_ + " = " + qvShortestText(std::real(at)).Chars();
        if (failures > 1) message += " and " + std::to_string(failures - 1) + " more";
    }
    tellFault(place, message, expression.getExpression().Chars(), fault);
    return false;
}

template class FormulaSheet<double>;
template class FormulaSheet<std::complex<double>>;
