#include "apps/qv/evaluate.h"

#include <complex>
#include <cstdio>
#include <deque>
#include <type_traits>

#include "apps/qv/calculator.h"
#include "apps/qv/evaloptions.h"
#include "apps/qv/evaltable.h"
#include "apps/qv/formulasheet.h"
#include "apps/qv/sweepvalues.h"
#include "qvutils/common/error/qverror.h"
#include "qvutils/common/svg/svgchart.h"
#include "qvutils/common/text/qvnumber.h"

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
        addColumn(options_.sweep.name, sweepValues_);
        for (const std::string& formula : options_.formulas) {
            std::vector<T>& values = values_.emplace_back();
            well = sheet_.evaluate(formula, values) && well;
            if (!values.empty()) addResult(formula, values);
        }
        const bool drawn = options_.plot.empty() || draw();
        const std::size_t rows = options_.hasSweep ? sweepValues_.size() : 1;
        const bool isAsked = options_.plot.empty() || options_.hasFormat;
        if (isAsked && !columns_.empty()) writeTable(options_.format, columns_, rows);
        return well && drawn;
    }

private:
    bool sweep() {
        double lo;
        double hi;
        double step;
        const EvalOptions::Sweep& wanted = options_.sweep;
        if (!sheet_.evaluateReal(wanted.lo, lo) || !sheet_.evaluateReal(wanted.hi, hi) ||
            !sheet_.evaluateReal(wanted.step, step)) {
            return false;
        }
        std::string error;
        if (sweepValues(lo, hi, step, sweepValues_, error))
            return sheet_.setSweep(wanted.name, sweepValues_);
        tellError(error);
        return false;
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

    void addColumn(const std::string& name, const std::vector<double>& values) {
        const std::size_t stride = values.size() > 1 ? 1 : 0;
        if (!values.empty()) columns_.push_back({name, values.data(), stride});
    }

    void addResult(const std::string& formula, const std::vector<double>& values) {
        addColumn(formula, values);
    }

    void addResult(const std::string& formula, const std::vector<std::complex<double>>& values) {
        const auto* parts = reinterpret_cast<const double*>(values.data());
        const std::size_t stride = values.size() > 1 ? 2 : 0;
        columns_.push_back({"re(" + formula + ")", parts, stride});
        columns_.push_back({"im(" + formula + ")", parts + 1, stride});
    }

    // Real and imaginary part of a formula share a colour; an imaginary part that is 0 throughout
    // is left out.
    bool draw() {
        constexpr int parts = std::is_same_v<T, double> ? 1 : 2;
        qvSvgChart chart;
        chart.xAxis.title = options_.sweep.name.c_str();
        std::vector<double> y(sweepValues_.size());
        for (std::size_t i = 1; i < columns_.size(); ++i) {
            const bool isImaginary = parts == 2 && i % 2 == 0;
            bool isZero = true;
            for (std::size_t row = 0; row < y.size(); ++row) {
                y[row] = columns_[i][row];
                isZero = isZero && y[row] == 0;
            }
            if (isImaginary && isZero) continue;
            const int place = static_cast<int>(i - 1) / parts;
            const bool isOnly = columns_.size() == 2;
            const char* name = columns_[i].name.c_str();
            if (isOnly) chart.yAxis.title = name;
            qvSvgCurve& curve = chart.addCurve(isOnly ? "" : name, sweepValues_, y);
            if (parts == 2) curve.colour = qvSvgColour(place);
            if (isImaginary) curve.dash = "7 4";
        }
        if (chart.save(options_.plot.c_str())) return true;
        tellError(qverr().chars_and_reset());
        return false;
    }

    const EvalOptions& options_;
    FormulaSheet<T> sheet_;
    std::vector<double> sweepValues_;
    std::deque<std::vector<T>> values_;
    std::vector<EvalColumn> columns_;
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
