#pragma once
#include <cmath>
#include <span>
#include <vector>

#include "qvutils/common/containers/geometry.h"
#include "qvutils/common/shapes/qvshape.h"

/// Measures of points and polygons of the plane. Points that are not finite are left out.

using QVPoints = std::vector<PointT<double>>;

/// The same sign as qvSide, where rounding leaves it in doubt.
double qvSideExactly(const PointT<double>& a, const PointT<double>& b, const PointT<double>& p);

/// Positive when p lies to the left of the line from a to b, negative to the right, 0 exactly when
/// the three are in line, whatever rounding does; not a number when a coordinate is not finite.
/// The bound is that of J. R. Shewchuk, Adaptive Precision Floating-Point Arithmetic, 1997.
inline double qvSide(const PointT<double>& a, const PointT<double>& b, const PointT<double>& p) {
    constexpr double bound = 3.3306690738754716e-16;
    constexpr double underflow = 1e-290;  // near it products lose digits
    const double left = (b.x - a.x) * (p.y - a.y);
    const double right = (b.y - a.y) * (p.x - a.x);
    const double side = left - right;
    // The bound is not a number, or infinite, where products overflow.
    const bool sure = std::fabs(side) > bound * (std::fabs(left) + std::fabs(right)) + underflow;
    return sure ? side : qvSideExactly(a, b, p);
}

/// Half the sum of the cross products: positive for a polygon that runs counter-clockwise.
double qvSignedArea(std::span<const PointT<double>> vertices);
/// All 0 without points.
RectT<double> qvBoundingRect(std::span<const PointT<double>> points);
/// The corners of the convex hull, counter-clockwise, none of them on a line between others
/// (A. M. Andrew, 1979).
QVPoints qvConvexHull(QVPoints points);
/// The smallest circle around all (E. Welzl, Smallest enclosing disks, 1991); n log n steps.
QVCircle qvEnclosingCircle(const QVPoints& points);
/// The smallest distance of parallel lines with all points between them; n log n steps.
double qvSmallestWidth(const QVPoints& points);
double qvDistanceToSegment(const PointT<double>& a, const PointT<double>& b,
                           const PointT<double>& p);
/// The distance from the edges of a polygon.
double qvDistanceToEdges(std::span<const PointT<double>> vertices, const PointT<double>& p);
