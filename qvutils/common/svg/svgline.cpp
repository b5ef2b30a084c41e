#include "qvutils/common/svg/svgline.h"

#include <algorithm>
#include <cmath>

namespace qvsvg {

namespace {

// Shortens the line from a to b to what lies in the frame (Liang and Barsky, 1984); false when
// nothing does.
bool cutLine(Point& a, Point& b, const Frame& frame) {
    const Point d = {b.x - a.x, b.y - a.y};
    const double direction[] = {-d.x, d.x, -d.y, d.y};
    const double room[] = {a.x - frame.left, frame.right - a.x, a.y - frame.top,
                           frame.bottom - a.y};
    double from = 0;
    double to = 1;
    for (int edge = 0; edge < 4; ++edge) {
        const double t = room[edge] / direction[edge];
        if (direction[edge] == 0) {
            if (room[edge] < 0) return false;
        } else if (direction[edge] < 0) {
            from = std::max(from, t);
        } else {
            to = std::min(to, t);
        }
    }
    if (from > to) return false;
    if (to < 1) b = {a.x + to * d.x, a.y + to * d.y};
    if (from > 0) a = {a.x + from * d.x, a.y + from * d.y};
    return true;
}

}  // namespace

void LineWriter::add(Point p) {
    const double column = std::floor(p.x * 2);
    if (inColumn_ > 0 && column != column_) thin();
    if (inColumn_ == 0) {
        draw(p);
        column_ = column;
        lowest_ = highest_ = p;
        lowestAt_ = highestAt_ = 0;
    }
    if (p.y < lowest_.y) {
        lowest_ = p;
        lowestAt_ = inColumn_;
    }
    if (p.y > highest_.y) {
        highest_ = p;
        highestAt_ = inColumn_;
    }
    last_ = p;
    ++inColumn_;
}

// Draws what is left of a column after its first point.
void LineWriter::thin() {
    const bool lowestFirst = lowestAt_ < highestAt_;
    const long long first = std::min(lowestAt_, highestAt_);
    const long long second = std::max(lowestAt_, highestAt_);
    const long long end = inColumn_ - 1;
    if (first > 0 && first < end) draw(lowestFirst ? lowest_ : highest_);
    if (second > 0 && second < end && second != first) draw(lowestFirst ? highest_ : lowest_);
    if (end > 0) draw(last_);
    inColumn_ = 0;
}

void LineWriter::draw(Point p) {
    if (drawn_++ == 0) {
        end_ = p;
        return;
    }
    Point from = end_;
    Point to = p;
    end_ = p;
    if (!cutLine(from, to, frame_)) {
        connected_ = false;
        return;
    }
    if (!connected_) path_.moveTo(from.x, from.y);
    path_.lineTo(to.x, to.y);
    connected_ = frame_.contains(p);
}

// A point without neighbours becomes a line without length, which shows as a dot.
void LineWriter::finish() {
    thin();
    if (drawn_ == 1 && frame_.contains(end_)) {
        path_.moveTo(end_.x, end_.y);
        path_.lineTo(end_.x, end_.y);
    }
    drawn_ = 0;
    connected_ = false;
}

// Edge by edge (I. Sutherland and G. Hodgman, 1974).
std::vector<Point> cutPolygon(std::vector<Point> polygon, const Frame& frame) {
    for (int edge = 0; edge < 4; ++edge) {
        const auto inside = [&](Point p) {
            return edge == 0   ? p.x - frame.left
                   : edge == 1 ? frame.right - p.x
                   : edge == 2 ? p.y - frame.top
                               : frame.bottom - p.y;
        };
        std::vector<Point> kept;
        for (std::size_t i = 0; i < polygon.size(); ++i) {
            const Point a = polygon[i];
            const Point b = polygon[(i + 1) % polygon.size()];
            const double da = inside(a);
            const double db = inside(b);
            if (da >= 0) kept.push_back(a);
            if ((da >= 0) != (db >= 0)) {
                const double t = da / (da - db);
                kept.push_back({a.x + t * (b.x - a.x), a.y + t * (b.y - a.y)});
            }
        }
        polygon = std::move(kept);
    }
    return polygon;
}

}  // namespace qvsvg
