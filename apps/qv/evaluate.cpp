#include "apps/qv/evaluate.h"

#include <complex>
#include <cstdio>
#include <deque>

#include "apps/qv/calculator.h"
#include "apps/qv/evaloptions.h"
#include "apps/qv/formulasheet.h"
#include "apps/qv/numberchart.h"
#include "apps/qv/numbertable.h"

namespace {

constexpr int wrongUsage = 2;

/// The formulas of one run with their values.
template <class T>
class Evaluation {
public:
    explicit Evaluation(const EvalOptions& options) : options_(options) {}

    bool run() {
        for (const EvalOptions::Named& definition : options_.definitions) {
            if (!sheet_.enter(definition.name, definition.formula)) return false;
        }
        if (options_.hasSweep && !sweep()) return false;
        if (!sheet_.evaluateAll()) return false;
        if (options_.fromInput) return Calculator<T>(sheet_).run();
        if (!options_.hasSweep && !options_.hasFormat) return printValues();

        bool well = true;
        addColumn(options_.sweepName, sweepValues_);
        for (const std::string& formula : options_.formulas) {
            results_.emplace_back();
            well = sheet_.evaluate(formula, results_.back()) && well;
            addColumn(formula, results_.back());
        }
        const std::size_t rows = options_.hasSweep ? sweepValues_.size() : 1;
        const bool drawn = options_.plot.empty() || drawColumns(options_.plot, columns_, rows);
        const bool isAsked = options_.plot.empty() || options_.hasFormat;
        if (isAsked && !columns_.empty()) writeTable(options_.format, columns_, rows);
        return well && drawn && !sheet_.hasGaps();
    }

private:
    bool sweep() {
        return sheet_.evaluateSweep(options_.sweep, sweepValues_) &&
               sheet_.setSweep(options_.sweepName, sweepValues_);
    }

    bool printValues() {
        bool well = true;
        for (const std::string& formula : options_.formulas) {
            std::vector<T> values;
            if (sheet_.evaluate(formula, values)) {
                std::printf("%s\n", valueText(values[0]).Chars());
            } else {
                well = false;
            }
        }
        return well;
    }

    template <class Value>
    void addColumn(const std::string& name, const std::vector<Value>& values) {
        if (!values.empty()) columns_.push_back(tableColumn(name, values));
    }

    const EvalOptions& options_;
    FormulaSheet<T> sheet_;
    std::vector<double> sweepValues_;
    std::deque<std::vector<T>> results_;
    std::vector<TableColumn> columns_;
};

}  // namespace

int runEval(const std::vector<std::string>& arguments) {
    EvalOptions options;
    std::string error;
    if (!parseEvalOptions(arguments, options, error)) {
        std::fprintf(stderr, "qv eval: %s\n\n%s", error.c_str(), evalUsage().c_str());
        return wrongUsage;
    }
    if (options.help) {
        std::fputs(evalUsage().c_str(), stdout);
        return 0;
    }
    const bool well = options.complex ? Evaluation<std::complex<double>>(options).run()
                                      : Evaluation<double>(options).run();
    return well ? 0 : 1;
}
