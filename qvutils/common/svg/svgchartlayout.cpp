#include "qvutils/common/svg/svgchartlayout.h"

#include <algorithm>
#include <cmath>
#include <string>

namespace qvsvg {

namespace {

constexpr double legendRow = 18;

bool isUsable(const qvSvgAxis& axis, double value) {
    return std::abs(value) <= largest && (!axis.logarithmic || value >= 1 / largest);
}

/// The range of the values seen; lo > hi when there are none.
struct Seen {
    Range range{largest, -largest};

    void add(double value) {
        range.lo = std::min(range.lo, value);
        range.hi = std::max(range.hi, value);
    }
};

void setGivenLimits(const qvSvgAxis& axis, Range& range) {
    if (isUsable(axis, axis.lo)) range.lo = axis.lo;
    if (isUsable(axis, axis.hi)) range.hi = axis.hi;
    if (range.lo > range.hi) std::swap(range.lo, range.hi);
}

// Room on both sides of what is shown; with `fromZero` none below zero for values that have none
// there.
void pad(const qvSvgAxis& axis, Range& range, bool fromZero) {
    constexpr double part = 0.04;
    if (axis.logarithmic) {
        const double factor = std::pow(range.hi / range.lo, part);
        if (!isUsable(axis, axis.lo)) range.lo /= factor;
        if (!isUsable(axis, axis.hi)) range.hi *= factor;
        return;
    }
    const double room = (range.hi - range.lo) * part;
    if (!isUsable(axis, axis.lo))
        range.lo = fromZero && range.lo >= 0 && range.lo < 3 * room ? 0 : range.lo - room;
    if (!isUsable(axis, axis.hi)) range.hi += room;
}

// A range that holds but one value is opened to both sides.
void widen(const qvSvgAxis& axis, Range& range) {
    if (range.isWide()) return;
    if (axis.logarithmic) {
        range = {range.lo / 2, range.hi * 2};
    } else {
        const double size = std::max(std::abs(range.lo), std::abs(range.hi));
        const double room = size > smallest * 1e3 ? size * 0.05 : 1;
        range = {range.lo - room, range.hi + room};
    }
}

Range rangeOf(const qvSvgAxis& axis, const Seen& seen, bool padded, bool fromZero) {
    Range range = seen.range;
    const bool none = range.lo > range.hi;
    if (none) range = axis.logarithmic ? Range{1, 10} : Range{0, 1};
    setGivenLimits(axis, range);
    if (!range.isWide()) {
        widen(axis, range);
    } else if (padded && !none) {
        pad(axis, range, fromZero);
    }
    range.lo = std::clamp(range.lo, axis.logarithmic ? 1 / largest : -largest, largest);
    range.hi = std::clamp(range.hi, -largest, largest);
    return range;
}

Ticks ticksOf(const qvSvgAxis& axis, Range range, int most) {
    return axis.logarithmic ? logTicks(range, most) : linearTicks(range, most);
}

double widestLabel(const Ticks& ticks) {
    double width = 0;
    for (const Tick& tick : ticks.marks)
        width = std::max(width, qvSvgTextWidth(tick.label.c_str(), labelSize));
    return width;
}

// As many ticks as have room for their labels side by side.
Ticks ticksAcross(const qvSvgAxis& axis, Range range, double width) {
    constexpr double between = 20;
    int most = 12;
    Ticks ticks = ticksOf(axis, range, most);
    while (most > 2 && most * (widestLabel(ticks) + between) > width)
        ticks = ticksOf(axis, range, --most);
    return ticks;
}

double pageSize(double wanted, double least) {
    constexpr double most = 20000;
    return wanted >= least ? std::min(wanted, most) : least;
}

// "title (unit)", with the power of ten that the labels leave out.
QVString fullTitle(const qvSvgAxis& axis, int exponent) {
    QVString unit = axis.unit;
    if (exponent != 0) {
        const QVString power(powerOfTen(exponent).c_str());
        unit = unit.Empty() ? "\u00d7" + power : power + " " + unit;
    }
    if (unit.Empty()) return axis.title;
    return axis.title.Empty() ? "(" + unit + ")" : axis.title + " (" + unit + ")";
}

}  // namespace

std::size_t pointCount(const qvSvgCurve& curve) {
    return std::min(curve.x.size(), curve.y.size());
}

Scale::Scale(Range range, bool logarithmic, double from, double to)
    : logarithmic_(logarithmic), from_(from) {
    lo_ = along(range.lo);
    perUnit_ = (to - from) / (along(range.hi) - lo_);
}

double Scale::along(double value) const {
    return logarithmic_ ? std::log10(value) : value;
}

ChartLayout::ChartLayout(const qvSvgChart& chart)
    : width(pageSize(chart.width, 160)), height(pageSize(chart.height, 120)), chart_(chart) {
    findRanges();
    arrange();
    arrange();  // now that the left edge of the frame is known, under which the legend begins
    if (chart.sameScale && !chart.xAxis.logarithmic && !chart.yAxis.logarithmic) {
        equaliseScales();
        arrange();
        equaliseScales();
        makeScales();
    }
}

bool ChartLayout::place(double xValue, double yValue, Point& p) const {
    if (!isUsable(chart_.xAxis, xValue) || !isUsable(chart_.yAxis, yValue)) return false;
    // Far outside of the page a line's direction matters, not its length.
    constexpr double far = 1e9;
    p = {std::clamp(x(xValue), -far, far), std::clamp(y(yValue), -far, far)};
    return true;
}

void ChartLayout::findRanges() {
    const auto isShown = [](const qvSvgAxis& axis, double value) {
        return isUsable(axis, value) && !(value < axis.lo) && !(value > axis.hi);
    };
    Seen xSeen;
    Seen ySeen;
    bool padX = chart_.sameScale;
    for (const qvSvgCurve& curve : chart_.curves()) {
        padX = padX || curve.dots || curve.closed;
        for (std::size_t i = 0; i < pointCount(curve); ++i) {
            if (!isUsable(chart_.xAxis, curve.x[i])) continue;
            xSeen.add(curve.x[i]);
            if (isShown(chart_.xAxis, curve.x[i]) && isUsable(chart_.yAxis, curve.y[i]))
                ySeen.add(curve.y[i]);
        }
    }
    xRange_ = rangeOf(chart_.xAxis, xSeen, padX, !chart_.sameScale);
    yRange_ = rangeOf(chart_.yAxis, ySeen, true, !chart_.sameScale);
}

// From the outside in: what stands above and below decides the height, the labels on the left the
// width.
void ChartLayout::arrange() {
    const double titleHeight = chart_.title.Empty() ? 0 : titleSize + labelGap;
    frame.top = placeLegend(margin + titleHeight);
    xTitle = fullTitle(chart_.xAxis, ticksOf(chart_.xAxis, xRange_, 10).exponent);
    frame.bottom = height - margin - labelGap - labelSize - 2;
    if (!xTitle.Empty()) frame.bottom -= axisTitleSize + labelGap;
    frame.bottom = std::max(frame.bottom, frame.top + 20);

    constexpr double betweenLines = 42;
    yTicks = ticksOf(chart_.yAxis, yRange_,
                     std::max(2, static_cast<int>((frame.bottom - frame.top) / betweenLines)));
    yTitle = fullTitle(chart_.yAxis, yTicks.exponent);
    frame.left = margin + labelGap + widestLabel(yTicks);
    if (!yTitle.Empty()) frame.left += axisTitleSize + labelGap;
    frame.left = std::max(frame.left, chart_.leftMargin);
    frame.right = width - std::max(margin + 8, chart_.rightMargin);
    xTicks = ticksAcross(chart_.xAxis, xRange_, frame.right - frame.left);
    xTitle = fullTitle(chart_.xAxis, xTicks.exponent);
    const double beside = std::max(margin + 8, widestLabel(xTicks) / 2 + 4);
    frame.right = std::max(width - std::max(beside, chart_.rightMargin), frame.left + 20);
    makeScales();
}

void ChartLayout::makeScales() {
    x = Scale(xRange_, chart_.xAxis.logarithmic, frame.left, frame.right);
    y = Scale(yRange_, chart_.yAxis.logarithmic, frame.bottom, frame.top);
}

// Shows more along the axis that has room to spare.
void ChartLayout::equaliseScales() {
    const auto open = [](Range& range, double length) {
        const double more = (length - (range.hi - range.lo)) / 2;
        range = {std::max(range.lo - more, -largest), std::min(range.hi + more, largest)};
    };
    const double xLength = frame.right - frame.left;
    const double yLength = frame.bottom - frame.top;
    const double unit =
        std::max((xRange_.hi - xRange_.lo) / xLength, (yRange_.hi - yRange_.lo) / yLength);
    open(xRange_, unit * xLength);
    open(yRange_, unit * yLength);
}

// In rows above the frame. Returns where the frame may begin.
double ChartLayout::placeLegend(double top) {
    legend.clear();
    const int rows = std::clamp(static_cast<int>(height / 4 / legendRow), 1, 6);
    const double begin = std::clamp(frame.left, margin, width / 3);
    const double right = width - margin;
    double left = begin;
    int row = 0;
    int place = 0;
    int leftOut = 0;
    for (const qvSvgCurve& curve : chart_.curves()) {
        const int thisPlace = place++;
        if (curve.name.Empty()) continue;
        const double sample = sampleLength + labelGap;
        const QVString name = qvSvgFitted(curve.name, labelSize, right - begin - sample);
        const double entryWidth = sample + qvSvgTextWidth(name, labelSize);
        if (left > begin && left + entryWidth > right) {
            left = begin;
            ++row;
        }
        if (row >= rows) {
            ++leftOut;
            continue;
        }
        legend.push_back({&curve, thisPlace, name, left, top + row * legendRow + labelSize});
        left += entryWidth + 18;
    }
    if (leftOut > 0) {
        const std::string text = "and " + std::to_string(leftOut) + " more";
        legend.push_back({nullptr, 0, text.c_str(), begin, top + rows * legendRow + labelSize});
    }
    const double last = legend.empty() ? top - labelSize : legend.back().y;
    return last + (legend.empty() ? labelSize : labelGap);
}

}  // namespace qvsvg
