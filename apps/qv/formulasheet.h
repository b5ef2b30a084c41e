#pragma once
#include <complex>
#include <map>
#include <string>
#include <vector>

#include "apps/qv/sweepvalues.h"
#include "qvutils/common/formula/qvfnparserComm.h"

/// Named formulas that may use one another in any order, over a variable that runs through values.
/// All mistakes are told on standard error, each once, with the place in the formula.
template <class T>
class FormulaSheet : private QVNameSource {
public:
    /// A name may be defined anew: what uses it follows. A formula that fails is not taken.
    bool define(const std::string& name, const std::string& formula);
    /// The same without evaluating it yet, for formulas that use what is defined later.
    bool enter(const std::string& name, const std::string& formula);
    /// Evaluates what has been entered. True although a formula fails for some of the values.
    bool evaluateAll();
    /// Whether one has: what uses it then has no value there either.
    bool hasGaps() const;
    /// The variable that runs through values.
    bool setSweep(const std::string& name, const std::vector<double>& values);

    /// A formula's value, or one for each value of the running variable when it depends on that.
    /// Where it fails for some of them the value is not a number, and the result is false.
    bool evaluate(const std::string& formula, std::vector<T>& values);
    /// For a formula that must not depend on the running variable and must be real.
    bool evaluateReal(const std::string& formula, double& value);
    /// The values of a sweep whose limits and step are formulas of this kind.
    bool evaluateSweep(const SweepText& sweep, std::vector<double>& values);

    std::vector<std::string> names() const;

private:
    enum class State { entered, running, done, failed };
    /// Which of the values are missing; empty when none is.
    using Gaps = std::vector<bool>;
    struct Definition {
        std::string formula;
        State state = State::entered;
        std::vector<T> values;
        Gaps gaps;
    };

    bool findName(QVText, QVNameHandle&) override { return false; }
    bool readName(const QVNameHandle&, std::complex<double>&) override { return false; }
    void listNames(std::vector<QVString>& names) override;

    bool isFit(const std::string& name);
    void forgetValues();
    const std::vector<T>* valuesOf(const std::string& name, Definition& definition);
    void tellCircle(const std::string& name);
    bool compute(const std::string& formula, const std::string& place, std::vector<T>& values,
                 Gaps& gaps);
    bool run(QVExpression<T>& expression, std::vector<QVArraySource<T>>& sources,
             const std::string& place, std::vector<T>& values, Gaps& gaps);

    std::map<std::string, Definition> definitions_;
    std::string sweepName_;
    /// The names being evaluated, each for the one before it.
    std::vector<std::string> path_;
};

extern template class FormulaSheet<double>;
extern template class FormulaSheet<std::complex<double>>;

/// Prints "qv: " and the message on standard error, after what went to standard output.
void tellError(const std::string& message);
