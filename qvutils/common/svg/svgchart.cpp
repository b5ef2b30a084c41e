#include "qvutils/common/svg/svgchart.h"

#include <algorithm>

#include "qvutils/common/svg/svgchartlayout.h"
#include "qvutils/common/svg/svgline.h"

namespace {

using namespace qvsvg;

constexpr const char* ink = "#222222";
constexpr const char* frameColour = "#555555";
constexpr const char* gridColour = "#e3e3e3";

qvSvgStyle lineStyle(const char* colour, double width) {
    qvSvgStyle style;
    style.stroke = colour;
    style.strokeWidth = width;
    return style;
}

QVString colourOf(const qvSvgCurve& curve, int place) {
    return curve.colour.Empty() ? QVString(qvSvgColour(place)) : curve.colour;
}

// Colours come again after their number of curves, then dashed, then dotted.
QVString dashOf(const qvSvgCurve& curve, int place) {
    static const char* const dashes[] = {"", "7 4", "2 4", "10 4 2 4"};
    if (!curve.dash.Empty() || !curve.colour.Empty()) return curve.dash;
    return dashes[place / qvSvgColours % 4];
}

qvSvgStyle curveStyle(const qvSvgCurve& curve, int place) {
    qvSvgStyle style;
    style.stroke = colourOf(curve, place);
    style.strokeWidth = curve.width;
    style.dash = dashOf(curve, place);
    return style;
}

class Drawing {
public:
    Drawing(const qvSvgChart& chart, const ChartLayout& layout)
        : chart_(chart),
          layout_(layout),
          frame_(layout.frame),
          document_(layout.width, layout.height, chart.title) {}

    qvSvgDocument finished() {
        qvSvgStyle paper;
        paper.fill = "#ffffff";
        document_.rectangle(0, 0, layout_.width, layout_.height, paper);
        drawGrid();
        int place = 0;
        for (const qvSvgCurve& curve : chart_.curves()) drawCurve(curve, place++);
        drawFrame();
        drawTitles();
        drawLegend();
        return document_;
    }

private:
    void drawGrid() {
        const qvSvgStyle style = lineStyle(gridColour, 0.8);
        for (const Tick& tick : layout_.xTicks.marks) {
            const double x = layout_.x(tick.value);
            if (chart_.xAxis.grid && !tick.label.empty())
                document_.line(x, frame_.top, x, frame_.bottom, style);
        }
        for (const Tick& tick : layout_.yTicks.marks) {
            const double y = layout_.y(tick.value);
            if (chart_.yAxis.grid && !tick.label.empty())
                document_.line(frame_.left, y, frame_.right, y, style);
        }
    }

    void drawFrame() {
        const qvSvgStyle style = lineStyle(frameColour, 1);
        qvSvgFont font;
        font.size = labelSize;
        font.anchor = qvSvgFont::middle;
        for (const Tick& tick : layout_.xTicks.marks) {
            const double x = layout_.x(tick.value);
            const double length = tick.label.empty() ? tickLength / 2 : tickLength;
            document_.line(x, frame_.bottom, x, frame_.bottom + length, style);
            if (!tick.label.empty())
                document_.text(x, frame_.bottom + labelGap + labelSize, tick.label.c_str(), font);
        }
        font.anchor = qvSvgFont::end;
        for (const Tick& tick : layout_.yTicks.marks) {
            const double y = layout_.y(tick.value);
            const double length = tick.label.empty() ? tickLength / 2 : tickLength;
            document_.line(frame_.left - length, y, frame_.left, y, style);
            if (!tick.label.empty())
                document_.text(frame_.left - labelGap, y + labelSize * 0.35, tick.label.c_str(),
                               font);
        }
        document_.rectangle(frame_.left, frame_.top, frame_.right - frame_.left,
                            frame_.bottom - frame_.top, style);
    }

    void drawTitles() {
        qvSvgFont font;
        font.anchor = qvSvgFont::middle;
        font.colour = ink;
        font.size = axisTitleSize;
        const double middle = (frame_.left + frame_.right) / 2;
        const double frameWidth = frame_.right - frame_.left;
        const double frameHeight = frame_.bottom - frame_.top;
        if (!layout_.xTitle.Empty())
            document_.text(middle, layout_.height - margin,
                           qvSvgFitted(layout_.xTitle, font.size, frameWidth), font);
        font.angle = -90;
        if (!layout_.yTitle.Empty())
            document_.text(margin + axisTitleSize * 0.75, (frame_.top + frame_.bottom) / 2,
                           qvSvgFitted(layout_.yTitle, font.size, frameHeight), font);
        font.angle = 0;
        font.size = titleSize;
        font.bold = true;
        const double room = (layout_.width - 2 * margin) / boldWidth;
        if (!chart_.title.Empty())
            document_.text(layout_.width / 2, margin + titleSize * 0.9,
                           qvSvgFitted(chart_.title, font.size, room), font);
    }

    void drawCurve(const qvSvgCurve& curve, int place) {
        const qvSvgStyle style = curveStyle(curve, place);
        if (curve.closed) fill(curve, style.stroke);
        LineWriter line(frame_);
        Point last = {-1, -1};
        const std::size_t count = pointCount(curve);
        for (std::size_t i = 0; i < count; ++i) {
            Point p;
            if (!layout_.place(curve.x[i], curve.y[i], p)) {
                line.finish();
                continue;
            }
            line.add(p);
            const bool apart = std::abs(p.x - last.x) + std::abs(p.y - last.y) > 0.5;
            if (curve.dots && apart && frame_.contains(p)) {
                drawDot(p, style.stroke);
                last = p;
            }
        }
        Point first;
        if (curve.closed && count > 0 && layout_.place(curve.x[0], curve.y[0], first))
            line.add(first);
        line.finish();
        if (curve.width > 0) document_.path(line.path(), style);
    }

    void drawDot(Point p, const QVString& colour) {
        qvSvgStyle style;
        style.fill = colour;
        document_.circle(p.x, p.y, dotRadius, style);
    }

    void fill(const qvSvgCurve& curve, const QVString& colour) {
        std::vector<Point> polygon;
        for (std::size_t i = 0; i < pointCount(curve); ++i) {
            Point p;
            if (layout_.place(curve.x[i], curve.y[i], p)) polygon.push_back(p);
        }
        qvSvgPath path;
        for (Point p : cutPolygon(std::move(polygon), frame_)) path.lineTo(p.x, p.y);
        path.close();
        qvSvgStyle style;
        style.fill = colour;
        style.opacity = 0.15;
        document_.path(path, style);
    }

    void drawLegend() {
        qvSvgFont font;
        font.size = labelSize;
        font.colour = ink;
        for (const LegendEntry& entry : layout_.legend) {
            const double y = entry.y - labelSize * 0.35;
            const double end = entry.x + sampleLength;
            if (entry.curve) {
                const qvSvgStyle style = curveStyle(*entry.curve, entry.place);
                if (entry.curve->width > 0) document_.line(entry.x, y, end, y, style);
                if (entry.curve->dots) drawDot({(entry.x + end) / 2, y}, style.stroke);
            }
            document_.text(entry.curve ? end + labelGap : entry.x, entry.y, entry.text, font);
        }
    }

    const qvSvgChart& chart_;
    const ChartLayout& layout_;
    const Frame& frame_;
    qvSvgDocument document_;
};

}  // namespace

qvSvgCurve& qvSvgChart::addCurve(QVText name, std::span<const double> x,
                                 std::span<const double> y) {
    qvSvgCurve& curve = curves_.emplace_back();
    curve.x.assign(x.begin(), x.end());
    curve.y.assign(y.begin(), y.end());
    curve.name = name;
    return curve;
}

qvSvgDocument qvSvgChart::draw() const {
    const ChartLayout layout(*this);
    return Drawing(*this, layout).finished();
}

qvSvgDocument qvSvgStacked(std::vector<qvSvgChart> charts) {
    double width = 0, height = 0, left = 0, right = 0;
    for (const qvSvgChart& chart : charts) {
        const ChartLayout layout(chart);
        width = std::max(width, layout.width);
        height += layout.height;
        left = std::max(left, layout.frame.left);
        right = std::max(right, layout.width - layout.frame.right);
    }
    qvSvgDocument all(width, height);
    double top = 0;
    for (qvSvgChart& chart : charts) {
        chart.width = width;
        chart.leftMargin = left;
        chart.rightMargin = right;
        all.add(chart.draw(), 0, top);
        top += ChartLayout(chart).height;
    }
    return all;
}
