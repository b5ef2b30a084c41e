#include "qvutils/common/shapes/polygonoffset.h"

#include <algorithm>
#include <cmath>
#include <queue>
#include <vector>

#include "qvutils/common/shapes/polygonparts.h"
#include "qvutils/common/shapes/simplepolygon.h"

namespace {

using Point = PointT<double>;

constexpr const char* nothingLeft = "nothing would be left";

/// The edges of a polygon that runs counter-clockwise, moving outwards or inwards together. A
/// vertex runs along the line on which its two edges meet. An edge that has shrunk to a point goes,
/// and its neighbours meet from then on (O. Aichholzer et al., A Novel Type of Skeleton for
/// Polygons, 1995). Edges that run into others than their neighbours are not noticed here: they
/// leave an outline that crosses itself.
class MovingEdges {
public:
    MovingEdges(const QVPoints& vertices, bool outwards);

    /// False when nothing is left.
    bool moveTo(double distance);
    /// Where the vertices are now.
    QVPoints outline() const;

private:
    struct Edge {
        // Its first vertex: where that was at some distance, and how it moves with the distance.
        Point anchor;
        double anchorDistance = 0;
        Point velocity;
        Point direction;  ///< of the edge, a unit vector
        std::size_t previous = 0;
        std::size_t next = 0;
        int changes = 0;
        bool alive = true;
    };
    /// An edge will have shrunk to a point, unless it or its ends have changed by then.
    struct Vanishing {
        double distance;
        std::size_t edge;
        int changes;
        bool operator<(const Vanishing& other) const { return distance > other.distance; }
    };

    Point vertexAt(std::size_t edge, double distance) const {
        const Edge& e = edges_[edge];
        const double way = distance - e.anchorDistance;
        return {e.anchor.x + way * e.velocity.x, e.anchor.y + way * e.velocity.y};
    }
    double lengthAt(std::size_t edge, double distance) const;
    bool setVelocity(std::size_t edge);
    void expect(std::size_t edge);
    void remove(std::size_t edge, const Point& place);
    void removeAndJoin(std::size_t edge);

    std::vector<Edge> edges_;
    std::priority_queue<Vanishing> queue_;
    std::size_t alive_;
    double sign_;  ///< 1 when the edges move outwards, else -1
    double distance_ = 0;
};

MovingEdges::MovingEdges(const QVPoints& vertices, bool outwards)
    : edges_(vertices.size()), alive_(vertices.size()), sign_(outwards ? 1 : -1) {
    const std::size_t n = vertices.size();
    for (std::size_t i = 0; i < n; ++i) {
        const Point &a = vertices[i], &b = vertices[(i + 1) % n];
        const double length = std::hypot(b.x - a.x, b.y - a.y);
        edges_[i].anchor = a;
        edges_[i].direction = {(b.x - a.x) / length, (b.y - a.y) / length};
        edges_[i].previous = i ? i - 1 : n - 1;
        edges_[i].next = (i + 1) % n;
    }
    for (std::size_t i = 0; i < n; ++i) setVelocity(i);
    for (std::size_t i = 0; i < n; ++i) expect(i);
}

/// With outward normals n and m of the two edges the vertex moves by (n + m) / (1 + n m) for each
/// unit of distance. False when the edges run back upon each other.
bool MovingEdges::setVelocity(std::size_t edge) {
    const Point& u = edges_[edges_[edge].previous].direction;
    const Point& v = edges_[edge].direction;
    const double denominator = 1 + u.x * v.x + u.y * v.y;
    constexpr double parallel = 1e-14;
    if (!(denominator > parallel)) return false;
    edges_[edge].velocity = {sign_ * (u.y + v.y) / denominator, -sign_ * (u.x + v.x) / denominator};
    return true;
}

double MovingEdges::lengthAt(std::size_t edge, double distance) const {
    const Point a = vertexAt(edge, distance);
    const Point b = vertexAt(edges_[edge].next, distance);
    const Point& u = edges_[edge].direction;
    return (b.x - a.x) * u.x + (b.y - a.y) * u.y;
}

void MovingEdges::expect(std::size_t edge) {
    Edge& e = edges_[edge];
    ++e.changes;
    const Edge& next = edges_[e.next];
    const double growth = (next.velocity.x - e.velocity.x) * e.direction.x +
                          (next.velocity.y - e.velocity.y) * e.direction.y;
    const double length = lengthAt(edge, distance_);
    if (length <= 0)
        queue_.push({distance_, edge, e.changes});
    else if (growth < 0)
        queue_.push({distance_ - length / growth, edge, e.changes});
}

/// The edges beside one that goes meet at `place`.
void MovingEdges::remove(std::size_t edge, const Point& place) {
    Edge& e = edges_[edge];
    e.alive = false;
    --alive_;
    edges_[e.previous].next = e.next;
    edges_[e.next].previous = e.previous;
    edges_[e.next].anchor = place;
    edges_[e.next].anchorDistance = distance_;
}

/// Where the neighbours of an edge that goes lie upon each other, as at the end of a finger of even
/// width, the shorter of them goes with it, and so on.
void MovingEdges::removeAndJoin(std::size_t edge) {
    std::size_t next = edges_[edge].next;
    remove(edge, vertexAt(edge, distance_));
    while (alive_ >= 3 && !setVelocity(next)) {
        const std::size_t previous = edges_[next].previous;
        const std::size_t after = edges_[next].next;
        if (lengthAt(previous, distance_) < lengthAt(next, distance_)) {
            remove(previous, vertexAt(previous, distance_));
        } else {
            remove(next, vertexAt(after, distance_));
            next = after;
        }
    }
    if (alive_ < 3) return;
    const std::size_t previous = edges_[next].previous;
    expect(previous);
    expect(next);
}

bool MovingEdges::moveTo(double distance) {
    constexpr double rounding = 1 + 1e-13;
    while (alive_ >= 3 && !queue_.empty() && queue_.top().distance <= distance * rounding) {
        const Vanishing vanishing = queue_.top();
        queue_.pop();
        const Edge& edge = edges_[vanishing.edge];
        if (!edge.alive || edge.changes != vanishing.changes) continue;
        distance_ = std::max(distance_, vanishing.distance);
        removeAndJoin(vanishing.edge);
    }
    distance_ = distance;
    return alive_ >= 3;
}

QVPoints MovingEdges::outline() const {
    QVPoints points;
    for (std::size_t i = 0; i < edges_.size(); ++i) {
        if (edges_[i].alive) points.push_back(vertexAt(i, distance_));
    }
    return points;
}

/// Without vertices that are as good as their neighbours.
void dropRepeated(QVPoints& vertices, double rounding) {
    const auto same = [&](const Point& a, const Point& b) {
        return std::hypot(a.x - b.x, a.y - b.y) <= rounding;
    };
    vertices.erase(std::unique(vertices.begin(), vertices.end(), same), vertices.end());
    while (vertices.size() > 1 && same(vertices.front(), vertices.back())) vertices.pop_back();
}

/// Whether a tip of the moved outline, which runs faster than the edges, has run through another
/// edge of the polygon and out on the other side; it should have stopped there.
bool runsThrough(const QVPoints& vertices, const QVPoints& moved, double distance) {
    const std::size_t n = vertices.size(), count = moved.size();
    for (std::size_t i = 0; i < count; ++i) {
        const Point &before = moved[i ? i - 1 : count - 1], &tip = moved[i];
        const Point& after = moved[(i + 1) % count];
        if (!(qvSide(before, tip, after) * distance > 0)) continue;
        const double in = std::hypot(tip.x - before.x, tip.y - before.y);
        const double out = std::hypot(after.x - tip.x, after.y - tip.y);
        const Point u{(tip.x - before.x) / in, (tip.y - before.y) / in};
        const Point v{(after.x - tip.x) / out, (after.y - tip.y) / out};
        const double part = distance / (1 + u.x * v.x + u.y * v.y);
        // Where the tip came from, and the way to it without its end.
        const Point from{tip.x - part * (u.y + v.y), tip.y + part * (u.x + v.x)};
        const Point start{from.x + 1e-6 * (tip.x - from.x), from.y + 1e-6 * (tip.y - from.y)};
        const auto [left, right] = std::minmax(start.x, tip.x);
        const auto [low, high] = std::minmax(start.y, tip.y);
        for (std::size_t k = 0; k < n; ++k) {
            const Point &a = vertices[k], &b = vertices[(k + 1) % n];
            if (std::max(a.x, b.x) < left || std::min(a.x, b.x) > right ||
                std::max(a.y, b.y) < low || std::min(a.y, b.y) > high)
                continue;
            if ((qvSide(a, b, start) > 0) != (qvSide(a, b, tip) > 0) &&
                (qvSide(start, tip, a) > 0) != (qvSide(start, tip, b) > 0))
                return true;
        }
    }
    return false;
}

const char* offsetCounterClockwise(QVPoints& vertices, double distance) {
    MovingEdges edges(vertices, distance > 0);
    if (!edges.moveTo(std::fabs(distance))) return nothingLeft;
    QVPoints moved = edges.outline();
    const RectT<double> rect = qvBoundingRect(vertices);
    const double size = rect.right - rect.left + rect.top - rect.bottom;
    dropRepeated(moved, 1e-14 * size);
    if (moved.size() < 3) return nothingLeft;
    if (!(qvSignedArea(moved) > 0) || !qvIsSimplePolygon(moved)) {
        if (const char* flaw = qvOutlineOf(moved, size + std::fabs(distance))) return flaw;
        if (runsThrough(vertices, moved, distance)) return "its edges would run through each other";
    }
    vertices = std::move(moved);
    return nullptr;
}

}  // namespace

const char* qvOffsetPolygon(QVPoints& vertices, double distance) {
    if (!std::isfinite(distance)) return "the distance is not a finite number";
    QVPoints points = vertices;
    dropRepeated(points, 0);
    if (points.size() < 3 || !qvIsSimplePolygon(points))
        return "its edges cross or touch each other";
    if (distance == 0) return nullptr;
    const bool clockwise = qvSignedArea(points) < 0;
    // The first vertex stays the first one.
    if (clockwise) std::reverse(points.begin() + 1, points.end());
    if (const char* flaw = offsetCounterClockwise(points, distance)) return flaw;
    if (clockwise) std::reverse(points.begin() + 1, points.end());
    vertices = std::move(points);
    return nullptr;
}
