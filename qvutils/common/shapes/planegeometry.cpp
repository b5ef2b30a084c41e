#include "qvutils/common/shapes/planegeometry.h"

#include <algorithm>
#include <boost/geometry/geometries/point_xy.hpp>
#include <boost/geometry/strategy/cartesian/side_robust.hpp>
#include <limits>
#include <random>

namespace {

using Point = PointT<double>;

bool isFinite(const Point& p) {
    return std::isfinite(p.x) && std::isfinite(p.y);
}

double distance(const Point& a, const Point& b) {
    return std::hypot(a.x - b.x, a.y - b.y);
}

/// The largest of three is about 2 to this power.
int exponentOf(double a, double b, double c) {
    const double largest = std::max({std::fabs(a), std::fabs(b), std::fabs(c)});
    return largest > 0 ? std::ilogb(largest) : 0;
}

bool covers(const QVCircle& circle, const Point& p) {
    constexpr double rounding = 1 + 1e-14;
    return distance(circle.centre, p) <= circle.radius * rounding;
}

QVCircle circleThrough(const Point& a, const Point& b) {
    const Point centre{a.x + (b.x - a.x) / 2, a.y + (b.y - a.y) / 2};
    return {centre, std::max(distance(centre, a), distance(centre, b))};
}

QVCircle circleThrough(const Point& a, const Point& b, const Point& c) {
    const Point u{b.x - a.x, b.y - a.y};
    const Point v{c.x - a.x, c.y - a.y};
    const double d = 2 * (u.x * v.y - u.y * v.x);
    const double uu = u.x * u.x + u.y * u.y;
    const double vv = v.x * v.x + v.y * v.y;
    const Point centre{a.x + (v.y * uu - u.y * vv) / d, a.y + (u.x * vv - v.x * uu) / d};
    return {centre, std::max({distance(centre, a), distance(centre, b), distance(centre, c)})};
}

/// The smallest circle around points [0, n) that goes through two given points.
QVCircle circleWith(const QVPoints& points, std::size_t n, const Point& a, const Point& b) {
    QVCircle circle = circleThrough(a, b);
    for (std::size_t i = 0; i < n; ++i) {
        if (covers(circle, points[i])) continue;
        const QVCircle wider = circleThrough(a, b, points[i]);
        if (isFinite(wider.centre)) circle = wider;
    }
    return circle;
}

QVCircle circleWith(const QVPoints& points, std::size_t n, const Point& a) {
    QVCircle circle{a, 0};
    for (std::size_t i = 0; i < n; ++i) {
        if (!covers(circle, points[i])) circle = circleWith(points, i, a, points[i]);
    }
    return circle;
}

}  // namespace

double qvSideExactly(const Point& a, const Point& b, const Point& p) {
    using BoostPoint = boost::geometry::model::d2::point_xy<double>;
    using Side = boost::geometry::strategy::side::side_robust<double>;
    if (!isFinite(a) || !isFinite(b) || !isFinite(p))
        return std::numeric_limits<double>::quiet_NaN();
    // The side stays the same when x and y are scaled, each by itself; then nothing overflows.
    const int x = exponentOf(a.x, b.x, p.x);
    const int y = exponentOf(a.y, b.y, p.y);
    const auto scaled = [&](const Point& q) {
        return BoostPoint(std::ldexp(q.x, -x), std::ldexp(q.y, -y));
    };
    return Side::apply(scaled(a), scaled(b), scaled(p));
}

double qvSignedArea(std::span<const Point> vertices) {
    double twice = 0;
    for (std::size_t i = 2; i < vertices.size(); ++i) {
        const Point &o = vertices[0], &a = vertices[i - 1], &b = vertices[i];
        twice += (a.x - o.x) * (b.y - o.y) - (a.y - o.y) * (b.x - o.x);
    }
    return twice / 2;
}

RectT<double> qvBoundingRect(std::span<const Point> points) {
    constexpr double infinity = std::numeric_limits<double>::infinity();
    RectT<double> rect{infinity, -infinity, -infinity, infinity};
    for (const Point& p : points) {
        if (!isFinite(p)) continue;
        rect.left = std::min(rect.left, p.x);
        rect.right = std::max(rect.right, p.x);
        rect.bottom = std::min(rect.bottom, p.y);
        rect.top = std::max(rect.top, p.y);
    }
    return rect.left > rect.right ? RectT<double>{} : rect;
}

QVPoints qvConvexHull(QVPoints points) {
    std::erase_if(points, [](const Point& p) { return !isFinite(p); });
    std::sort(points.begin(), points.end(),
              [](const Point& a, const Point& b) { return a.x != b.x ? a.x < b.x : a.y < b.y; });
    points.erase(std::unique(points.begin(), points.end()), points.end());
    if (points.size() < 3) return points;
    QVPoints hull;
    const auto add = [&](const Point& p, std::size_t least) {
        while (hull.size() > least && qvSide(hull.end()[-2], hull.end()[-1], p) <= 0)
            hull.pop_back();
        hull.push_back(p);
    };
    for (const Point& p : points) add(p, 1);
    const std::size_t lower = hull.size();
    for (auto p = points.rbegin() + 1; p != points.rend(); ++p) add(*p, lower);
    hull.pop_back();
    return hull;
}

QVCircle qvEnclosingCircle(const QVPoints& points) {
    QVPoints hull = qvConvexHull(points);
    if (hull.empty()) return {};
    // In a random order the expected number of steps is linear; the same one each time, so that the
    // answer is the same too.
    std::minstd_rand generator(1);
    for (std::size_t i = hull.size() - 1; i > 0; --i)
        std::swap(hull[i], hull[generator() % (i + 1)]);
    QVCircle circle{hull[0], 0};
    for (std::size_t i = 1; i < hull.size(); ++i) {
        if (!covers(circle, hull[i])) circle = circleWith(hull, i, hull[i]);
    }
    return circle;
}

double qvSmallestWidth(const QVPoints& points) {
    const QVPoints hull = qvConvexHull(points);
    const std::size_t n = hull.size();
    if (n < 3) return 0;
    // One of the two lines lies along an edge; the corner farthest from it moves on with the edge.
    double smallest = std::numeric_limits<double>::infinity();
    std::size_t far = 1;
    for (std::size_t i = 0; i < n; ++i) {
        const Point &a = hull[i], &b = hull[(i + 1) % n];
        const auto height = [&](std::size_t k) {
            const Point& p = hull[k % n];
            return (b.x - a.x) * (p.y - a.y) - (b.y - a.y) * (p.x - a.x);
        };
        far = std::max(far, i + 1);
        while (far + 1 < i + n && height(far + 1) >= height(far)) ++far;
        smallest = std::min(smallest, height(far) / distance(a, b));
    }
    return smallest;
}

double qvDistanceToSegment(const Point& a, const Point& b, const Point& p) {
    const Point d{b.x - a.x, b.y - a.y};
    const Point q{p.x - a.x, p.y - a.y};
    const double length = std::hypot(d.x, d.y);
    if (!(length > 0)) return distance(a, p);
    const double along = (q.x * d.x + q.y * d.y) / length;
    if (along <= 0) return distance(a, p);
    if (along >= length) return distance(b, p);
    return std::fabs(d.x * q.y - d.y * q.x) / length;
}

double qvDistanceToEdges(std::span<const Point> vertices, const Point& p) {
    double nearest = std::numeric_limits<double>::infinity();
    for (std::size_t i = 0; i < vertices.size(); ++i) {
        const Point& a = vertices[i ? i - 1 : vertices.size() - 1];
        nearest = std::min(nearest, qvDistanceToSegment(a, vertices[i], p));
    }
    return nearest;
}
