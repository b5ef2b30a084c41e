#include "apps/qv/evaluate.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstdio>
#include <deque>
#include <type_traits>
#include <utility>

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
        for (std::size_t i = 0; i < options_.formulas.size(); ++i) {
            std::vector<T> values;
            well = sheet_.evaluate(options_.formulas[i], values) && well;
            if (values.empty()) continue;
            results_.emplace_back(i, std::move(values));
            addResult(options_.formulas[i], results_.back().second);
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

    bool draw() {
        qvSvgChart chart;
        chart.xAxis.title = options_.sweep.name.c_str();
        std::vector<qvSvgCurve*> curves;
        int place = 0;
        for (const auto& [formula, values] : results_) {
            const std::string& name = options_.formulas[formula];
            const std::vector<double> real = overSweep(values, [](T v) { return std::real(v); });
            const std::vector<double> imag = overSweep(values, [](T v) { return std::imag(v); });
            const bool isReal = std::all_of(imag.begin(), imag.end(),
                                            [](double y) { return y == 0 || std::isnan(y); });
            const auto add = [&](const std::string& label, const std::vector<double>& y) {
                curves.push_back(&chart.addCurve(label.c_str(), sweepValues_, y));
                if (!std::is_same_v<T, double>) curves.back()->colour = qvSvgColour(place);
            };
            add(isReal ? name : "re(" + name + ")", real);
            if (!isReal) add("im(" + name + ")", imag);
            if (!isReal) curves.back()->dash = "7 4";
            ++place;
        }
        // A curve that is alone gives its name to the axis.
        if (curves.size() == 1) std::swap(chart.yAxis.title, curves[0]->name);
        if (chart.save(options_.plot.c_str())) return true;
        tellError(qverr().chars_and_reset());
        return false;
    }

    // One value for each of the sweep, also when all are the same.
    std::vector<double> overSweep(const std::vector<T>& values, double (*part)(T)) {
        std::vector<double> all(sweepValues_.size());
        for (std::size_t row = 0; row < all.size(); ++row)
            all[row] = part(values[values.size() > 1 ? row : 0]);
        return all;
    }

    const EvalOptions& options_;
    FormulaSheet<T> sheet_;
    std::vector<double> sweepValues_;
    /// Which formula, and its values.
    std::deque<std::pair<std::size_t, std::vector<T>>> results_;
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
