#pragma once
#include <deque>
#include <limits>
#include <span>
#include <string>
#include <vector>

#include "qvutils/common/platform/qvexport.h"
#include "qvutils/common/svg/svgdocument.h"
#include "qvutils/common/text/qvstring.h"

struct qvSvgAxis {
    QVString title = "";
    /// Shown in brackets after the title; may stand alone.
    QVString unit = "";
    bool logarithmic = false;
    bool grid = true;
    /// The range shown; a limit that is not a number is taken from the curves.
    double lo = std::numeric_limits<double>::quiet_NaN();
    double hi = std::numeric_limits<double>::quiet_NaN();
};

/// A line through points. It breaks at points that are not finite, and on a logarithmic axis at
/// those that are not positive.
struct qvSvgCurve {
    std::vector<double> x;
    std::vector<double> y;
    /// Shown in the legend when not empty.
    QVString name = "";
    /// Empty: the next of the chart's colours.
    QVString colour = "";
    double width = 1.8;
    QVString dash = "";
    /// A dot at each point; without a line when the width is 0.
    bool dots = false;
    /// The last point is joined to the first, and the inside is tinted: an outline.
    bool closed = false;
};

/// Curves over a pair of axes with ticks, labels, titles and a legend.
class QVCORE_API qvSvgChart {
public:
    QVString title = "";
    qvSvgAxis xAxis;
    qvSvgAxis yAxis;
    /// The size in pixels, from 160 by 120 to 20,000 by 20,000.
    double width = 720;
    double height = 480;
    /// One unit is as long along x as along y: for outlines. Not with logarithmic axes.
    bool sameScale = false;
    /// The frame keeps at least so many pixels away from the left edge, and from the right one.
    double leftMargin = 0;
    double rightMargin = 0;

    /// Adds a curve; when one has more values than the other, the rest is left out. The curve may
    /// be changed until the chart is drawn.
    qvSvgCurve& addCurve(QVText name, std::span<const double> x, std::span<const double> y);

    /// The chart as an SVG document.
    std::string text() const { return draw().text(); }
    /// Replaces the file whole or leaves it as it was; on failure posts to qverr() and returns
    /// false.
    bool save(QVText path) const { return draw().save(path); }
    qvSvgDocument draw() const;

    const std::deque<qvSvgCurve>& curves() const { return curves_; }

private:
    std::deque<qvSvgCurve> curves_;
};

/// Charts one below the other, the sides of their frames in line.
QVCORE_API qvSvgDocument qvSvgStacked(std::vector<qvSvgChart> charts);
