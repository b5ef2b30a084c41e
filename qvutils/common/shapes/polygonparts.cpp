// Boost.Geometry finds out what becomes of a polygon that falls apart. It does no more than that
// here, for its result is less exact than moved edges are, and has vertices of its own. It was
// chosen because it works on doubles, where others round to a grid of integers, for its licence,
// and because headers are all that a build for another system needs.
#include "qvutils/common/shapes/polygonparts.h"

// The library's points are filled before they are read, in a way that the compiler cannot follow.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif

#include <algorithm>
#include <boost/geometry.hpp>
#include <boost/geometry/geometries/multi_polygon.hpp>
#include <boost/geometry/geometries/point_xy.hpp>
#include <boost/geometry/geometries/polygon.hpp>
#include <exception>

#include "qvutils/common/shapes/simplepolygon.h"

namespace {

namespace bg = boost::geometry;

using Point = PointT<double>;
using BoostPoint = bg::model::d2::point_xy<double>;
constexpr bool clockwise = false;
constexpr bool closed = false;
using Polygon = bg::model::polygon<BoostPoint, clockwise, closed>;
using Polygons = bg::model::multi_polygon<Polygon>;

Polygon toBoost(const QVPoints& vertices) {
    Polygon polygon;
    for (const Point& p : vertices) polygon.outer().emplace_back(p.x, p.y);
    return polygon;
}

Polygons buffered(const QVPoints& vertices, double distance) {
    namespace strategy = bg::strategy::buffer;
    constexpr double sharpest = 1e6;  // a tip this many distances long is not cut off
    Polygons parts;
    bg::buffer(toBoost(vertices), parts, strategy::distance_symmetric<double>(distance),
               strategy::side_straight(), strategy::join_miter(sharpest), strategy::end_flat(),
               strategy::point_square());
    return parts;
}

double sizeOf(const QVPoints& vertices) {
    const RectT<double> rect = qvBoundingRect(vertices);
    return std::max(rect.right - rect.left, rect.top - rect.bottom);
}

/// Without the vertices at which the outline goes straight on.
QVPoints withoutStraightVertices(const QVPoints& vertices) {
    const double rounding = 1e-10 * sizeOf(vertices);
    QVPoints kept;
    const std::size_t n = vertices.size();
    for (std::size_t i = 0; i < n; ++i) {
        const Point& before = kept.empty() ? vertices[n - 1] : kept.back();
        const Point& after = vertices[(i + 1) % n];
        if (qvDistanceToSegment(before, after, vertices[i]) > rounding) kept.push_back(vertices[i]);
    }
    return kept;
}

}  // namespace

const char* qvOffsetInParts(QVPoints& vertices, double distance) {
    constexpr const char* unclear = "what it becomes cannot be made out";
    // The steps are up to the square of the number of vertices.
    constexpr std::size_t mostVertices = 1000;
    if (vertices.size() > mostVertices) return "it would fall into parts or have a hole";
    Polygons parts;
    try {
        parts = buffered(vertices, distance);
    } catch (const std::exception&) {
        return unclear;
    }
    if (parts.empty()) return "nothing would be left";
    if (parts.size() > 1) return "it would fall into parts";
    if (!parts[0].inners().empty()) return "it would have a hole";
    QVPoints outline;
    for (const BoostPoint& p : parts[0].outer()) outline.push_back({p.x(), p.y()});
    outline = withoutStraightVertices(outline);
    const double least = std::fabs(distance) - 1e-6 * sizeOf(vertices);
    const bool good = outline.size() >= 3 && qvIsSimplePolygon(outline) &&
                      std::all_of(outline.begin(), outline.end(), [&](const Point& p) {
                          return qvDistanceToEdges(vertices, p) >= least;
                      });
    if (!good) return unclear;
    vertices = std::move(outline);
    return nullptr;
}
