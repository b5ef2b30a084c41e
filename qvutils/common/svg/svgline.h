#pragma once
#include <vector>

#include "qvutils/common/svg/svgdocument.h"

/// Lines as a page shows them: cut off at the edges of a frame, without points that no eye can
/// tell apart.
namespace qvsvg {

struct Point {
    double x;
    double y;
};

struct Frame {
    double left;
    double top;
    double right;
    double bottom;

    bool contains(Point p) const {
        return p.x >= left && p.x <= right && p.y >= top && p.y <= bottom;
    }
};

/// Writes a line of any number of points into a path. Of the points that follow one another within
/// half a pixel's width it keeps the first, the last, the highest and the lowest.
class LineWriter {
public:
    explicit LineWriter(const Frame& frame) : frame_(frame) {}

    void add(Point p);
    /// The next point begins a new line. To be called at the end as well.
    void finish();
    const qvSvgPath& path() const { return path_; }

private:
    void thin();
    void draw(Point p);

    const Frame& frame_;
    qvSvgPath path_;
    /// The points seen in the present column, and which of them are lowest and highest.
    double column_ = 0;
    long long inColumn_ = 0;
    Point last_{};
    Point lowest_{};
    Point highest_{};
    long long lowestAt_ = 0;
    long long highestAt_ = 0;
    /// The end of the line drawn so far, before cutting.
    Point end_{};
    long long drawn_ = 0;
    bool connected_ = false;
};

/// The part of a polygon that lies in the frame.
std::vector<Point> cutPolygon(std::vector<Point> polygon, const Frame& frame);

}  // namespace qvsvg
