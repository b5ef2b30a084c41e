#include "plugins/slabguide/slaboutput.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <utility>

#include "qvutils/common/svg/svgchart.h"

namespace slab {

namespace {

constexpr int samples = 1001;
constexpr double nothing = std::numeric_limits<double>::quiet_NaN();

/// Comma-separated values, line by line.
class Table {
public:
    Table& text(std::string_view field) {
        begin();
        const bool quoted = field.find_first_of(",\"\r\n") != field.npos;
        if (quoted) text_ += '"';
        for (const char c : field) text_.append(c == '"' ? 2 : 1, c);
        if (quoted) text_ += '"';
        return *this;
    }
    Table& number(double value) {
        begin();
        char digits[32];
        text_.append(digits, std::to_chars(digits, digits + sizeof digits, value).ptr);
        return *this;
    }
    Table& gap() {
        begin();
        return *this;
    }
    void end() {
        text_ += '\n';
        first_ = true;
    }
    std::string take() { return std::move(text_); }

private:
    void begin() {
        if (!first_) text_ += ',';
        first_ = false;
    }
    std::string text_;
    bool first_ = true;
};

std::string modeName(bool tm, int number) {
    return (tm ? "TM" : "TE") + std::to_string(number);
}

bool isMagnetic(const Stack& stack) {
    return stack.polarisation == Polarisation::TM;
}

Complex indexAt(const Stack& stack, double x) {
    std::size_t i = 0;
    for (double top = 0; i + 1 < stack.layers.size() && x >= top;) {
        ++i;
        top += stack.layers[i].thickness;
    }
    return std::sqrt(stack.layers[i].eps);
}

/// The index as a line with steps: x, and its two parts there.
struct IndexProfile {
    std::vector<double> x, n, k;
};
IndexProfile indexProfile(const Stack& stack, const Window& window) {
    std::vector<double> x = {window.from}, n, k;
    double top = 0;
    for (std::size_t i = 0; i < stack.layers.size(); ++i) {
        if (i > 0) top += i + 1 < stack.layers.size() ? stack.layers[i].thickness : 0;
        const bool isLast = i + 1 == stack.layers.size();
        n.insert(n.end(), 2, std::sqrt(stack.layers[i].eps).real());
        k.insert(k.end(), 2, std::sqrt(stack.layers[i].eps).imag());
        x.insert(x.end(), isLast ? 1 : 2, isLast ? window.to : top);
    }
    return {x, n, k};
}

/// Evenly over the window, and the interfaces, where fields of metals have their peaks.
std::vector<double> places(const Stack& stack, const Window& window) {
    std::vector<double> x;
    for (int i = 0; i < samples; ++i)
        x.push_back(window.from + (window.to - window.from) * i / (samples - 1));
    double top = 0;
    for (std::size_t i = 1; i < stack.layers.size(); ++i) {
        x.push_back(top);
        top += stack.layers[i].thickness;
    }
    std::sort(x.begin(), x.end());
    x.erase(std::unique(x.begin(), x.end()), x.end());
    return x;
}

std::string picturesNumber(double value) {
    char digits[32];
    const auto end =
        std::to_chars(digits, digits + sizeof digits, value, std::chars_format::general, 6);
    return {digits, end.ptr};
}

constexpr double chartHeight = 320;

/// More fields would not be told apart; more lines would be a grey area.
constexpr std::size_t mostFields = 8;
constexpr int mostLines = 100;

QVString titleOf(std::size_t shown, std::size_t all) {
    if (shown >= all) return "";
    return ("the first " + std::to_string(shown) + " of " + std::to_string(all) + " modes").c_str();
}

qvSvgChart chartOf(const char* x, const char* xUnit, const char* y, const char* yUnit) {
    qvSvgChart chart;
    chart.height = chartHeight;
    chart.xAxis.title = x;
    chart.xAxis.unit = xUnit;
    chart.yAxis.title = y;
    chart.yAxis.unit = yUnit;
    return chart;
}

}  // namespace

Window windowOf(const Stack& stack, const Solution& solution) {
    double height = 0;
    for (std::size_t i = 1; i + 1 < stack.layers.size(); ++i) height += stack.layers[i].thickness;
    double below = 0.2 * height, above = 0.2 * height;
    constexpr double fades = 4.6;  // ln 100
    const double k0 = stack.wavenumber();
    const double most = std::max(2 * height, 4 * stack.wavelength);
    const auto reach = [&](const Mode& mode, const Layer& layer) {
        const Complex w = mode.neff() * mode.neff();
        return std::min(most, fades / (k0 * std::sqrt(w - layer.eps).real()));
    };
    for (const Mode& mode : solution.modes) {
        below = std::max(below, reach(mode, stack.layers.front()));
        above = std::max(above, reach(mode, stack.layers.back()));
    }
    if (below == 0) below = above = stack.wavelength;
    return {-below, height + above};
}

std::string modesTable(const Stack& stack, const Solution& solution) {
    Table table;
    table.text("mode").text("re(neff)").text("im(neff)").text("loss dB/cm").text("ngroup");
    for (std::size_t i = 1; i <= stack.layers.size(); ++i)
        table.text("confinement " + std::to_string(i));
    table.end();
    int number = 0;
    for (const Mode& mode : solution.modes) {
        table.text(modeName(isMagnetic(stack), number++));
        table.number(mode.neff().real()).number(mode.neff().imag());
        table.number(mode.loss()).number(mode.groupIndex());
        for (std::size_t i = 0; i < mode.layers(); ++i) table.number(mode.confinement(i));
        table.end();
    }
    return table.take();
}

std::string profileTable(const Stack& stack, const Solution& solution) {
    Table table;
    table.text("x um").text("re(index)").text("im(index)");
    for (std::size_t i = 0; i < solution.modes.size(); ++i) {
        const std::string name = modeName(isMagnetic(stack), static_cast<int>(i));
        table.text("re(" + name + ")").text("im(" + name + ")");
    }
    table.end();
    for (const double x : places(stack, windowOf(stack, solution))) {
        const Complex index = indexAt(stack, x);
        table.number(x).number(index.real()).number(index.imag());
        for (const Mode& mode : solution.modes) {
            const Complex field = mode.field(x);
            table.number(field.real()).number(field.imag());
        }
        table.end();
    }
    return table.take();
}

std::string scanTable(const SlabScan& scan) {
    Table table;
    const int most = scan.mostModes();
    table.text(scan.variable().view()).text("modes");
    for (int i = 0; i < most; ++i) {
        const std::string name = modeName(scan.isMagnetic(), i);
        table.text("re(neff " + name + ")").text("im(neff " + name + ")");
        table.text("loss " + name + " dB/cm").text("ngroup " + name);
    }
    table.end();
    for (int point = 0; point < scan.size(); ++point) {
        table.number(scan.value(point)).number(scan.modes(point));
        for (int i = 0; i < scan.modes(point); ++i) {
            const SlabScan::Mode& mode = scan.mode(point, i);
            table.number(mode.re).number(mode.im).number(mode.loss).number(mode.groupIndex);
        }
        for (int i = 4 * scan.modes(point); i < 4 * most; ++i) table.gap();
        table.end();
    }
    return table.take();
}

qvSvgDocument profilePicture(const Stack& stack, const Solution& solution) {
    const bool tm = isMagnetic(stack);
    const Window window = windowOf(stack, solution);
    const std::vector<double> x = places(stack, window);
    qvSvgChart fields = chartOf("x", "µm", tm ? "Re Hy" : "Re Ey", "1/√µm");
    const std::size_t shown = std::min(solution.modes.size(), mostFields);
    fields.title = titleOf(shown, solution.modes.size());
    for (std::size_t i = 0; i < shown; ++i) {
        const Mode& mode = solution.modes[i];
        std::vector<double> y;
        for (const double at : x) y.push_back(mode.field(at).real());
        const std::string name =
            modeName(tm, static_cast<int>(i)) + "  " + picturesNumber(mode.neff().real());
        fields.addCurve(name.c_str(), x, y);
    }
    qvSvgChart index = chartOf("x", "µm", "refractive index", "");
    const auto isLossy = [](const Layer& layer) { return std::sqrt(layer.eps).imag() != 0; };
    const bool lossy = std::any_of(stack.layers.begin(), stack.layers.end(), isLossy);
    const IndexProfile profile = indexProfile(stack, window);
    index.addCurve(lossy ? "real part" : "", profile.x, profile.n).colour = "#444444";
    if (lossy) {
        qvSvgCurve& imaginary = index.addCurve("imaginary part", profile.x, profile.k);
        imaginary.colour = "#444444";
        imaginary.dash = "7 4";
    }
    // With nothing guided the index is all there is to see.
    std::vector<qvSvgChart> charts;
    if (!solution.modes.empty()) charts.push_back(fields);
    charts.push_back(index);
    return qvSvgStacked(charts);
}

qvSvgDocument scanPicture(const SlabScan& scan) {
    std::vector<double> x;
    for (int point = 0; point < scan.size(); ++point) x.push_back(scan.value(point));
    const int most = scan.mostModes(), shown = std::min(most, mostLines);
    const bool crowded = shown > 2 * qvSvgColours;
    std::vector<qvSvgChart> charts;
    const auto add = [&](const char* title, const char* unit, double SlabScan::Mode::*quantity) {
        const bool isFirst = charts.empty();  // what the colours mean is told once
        qvSvgChart& chart = charts.emplace_back(chartOf(scan.variable(), "", title, unit));
        if (isFirst)
            chart.title = titleOf(static_cast<std::size_t>(shown), static_cast<std::size_t>(most));
        for (int i = 0; i < shown; ++i) {
            std::vector<double> y;
            for (int point = 0; point < scan.size(); ++point)
                y.push_back(i < scan.modes(point) ? scan.mode(point, i).*quantity : nothing);
            const bool isNamed = isFirst && (!crowded || i < qvSvgColours);
            const std::string name = isNamed ? modeName(scan.isMagnetic(), i) : "";
            qvSvgCurve& curve = chart.addCurve(name.c_str(), x, y);
            curve.dots = scan.size() == 1;
            if (!crowded) continue;
            curve.colour = qvSvgColour(i);
            curve.width = 1;
        }
    };
    bool lossy = false;
    for (int point = 0; point < scan.size(); ++point) {
        for (int i = 0; i < scan.modes(point); ++i) lossy |= scan.mode(point, i).loss != 0;
    }
    add("effective index", "", &SlabScan::Mode::re);
    add("group index", "", &SlabScan::Mode::groupIndex);
    if (lossy) add("loss", "dB/cm", &SlabScan::Mode::loss);
    return qvSvgStacked(std::move(charts));
}

}  // namespace slab
