#pragma once
#include <vector>

#include "qvutils/common/svg/svgchart.h"
#include "qvutils/common/svg/svgline.h"
#include "qvutils/common/svg/svgticks.h"

/// Where everything in a chart stands.
namespace qvsvg {

// Sizes in pixels.
inline constexpr double labelSize = 12;
inline constexpr double axisTitleSize = 13;
inline constexpr double titleSize = 15;
/// How much wider bold text runs.
inline constexpr double boldWidth = 1.08;
inline constexpr double margin = 12;
inline constexpr double tickLength = 5;
inline constexpr double labelGap = 8;
inline constexpr double sampleLength = 24;
inline constexpr double dotRadius = 2.6;

/// How many points a curve has both coordinates of.
std::size_t pointCount(const qvSvgCurve& curve);

/// From the values of an axis to pixels.
class Scale {
public:
    Scale() = default;
    Scale(Range range, bool logarithmic, double from, double to);

    double operator()(double value) const { return from_ + (along(value) - lo_) * perUnit_; }

private:
    double along(double value) const;

    bool logarithmic_ = false;
    double lo_ = 0;
    double from_ = 0;
    double perUnit_ = 1;
};

struct LegendEntry {
    /// None for the entry that counts those left out.
    const qvSvgCurve* curve;
    int place;
    QVString text;
    double x;
    /// The base line of the text.
    double y;
};

struct ChartLayout {
    explicit ChartLayout(const qvSvgChart& chart);

    /// Where a point stands; false when it has no place on the axes.
    bool place(double xValue, double yValue, Point& p) const;

    double width;
    double height;
    Frame frame{};
    Scale x;
    Scale y;
    Ticks xTicks;
    Ticks yTicks;
    QVString xTitle;
    QVString yTitle;
    std::vector<LegendEntry> legend;

private:
    void findRanges();
    void arrange();
    void makeScales();
    void equaliseScales();
    double placeLegend(double top);

    const qvSvgChart& chart_;
    Range xRange_{};
    Range yRange_{};
};

}  // namespace qvsvg
