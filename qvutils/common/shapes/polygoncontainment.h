#pragma once
#include <limits>

#include "qvutils/common/shapes/planegeometry.h"

/// Whether a point lies in a polygon whose vertices are told one after the other. The sum of the
/// angles that the edges subtend at the point is 2 pi times the number of turns that they make
/// around it. The turns are counted here where edges cross the line from the point to the right (D.
/// Sunday, Inclusion of a Point in a Polygon, 2001): no angle is taken, and the sign of the side on
/// which an edge passes is exact. A point on an edge is inside. Outside is, before all that, what
/// is not within the half-open bounding box: left <= x < right, bottom <= y < top.
class QVWindingCount {
public:
    /// The first vertex is told again at the end.
    QVWindingCount(const PointT<double>& point, const PointT<double>& first)
        : point_(point), last_(first), below_(first.y <= point.y) {}

    void add(const PointT<double>& vertex) {
        left_ = vertex.x < left_ ? vertex.x : left_;
        right_ = vertex.x > right_ ? vertex.x : right_;
        bottom_ = vertex.y < bottom_ ? vertex.y : bottom_;
        top_ = vertex.y > top_ ? vertex.y : top_;
        const bool below = vertex.y <= point_.y;
        if (below != below_) {
            cross(vertex);
        } else if (vertex.y == point_.y) {
            touch(vertex);
        }
        last_ = vertex;
        below_ = below;
    }
    bool inside() const {
        return (onEdge_ || turns_ != 0) && left_ <= point_.x && point_.x < right_ &&
               bottom_ <= point_.y && point_.y < top_;
    }

private:
    /// The edge to the vertex crosses the horizontal through the point.
    void cross(const PointT<double>& vertex) {
        if (vertex.x < point_.x && last_.x < point_.x) return;
        const int direction = below_ ? 1 : -1;
        if (vertex.x > point_.x && last_.x > point_.x) {
            turns_ += direction;
            return;
        }
        const double side = below_ ? qvSide(last_, vertex, point_) : qvSide(vertex, last_, point_);
        if (side == 0) onEdge_ = true;
        if (side > 0) turns_ += direction;
    }
    /// The vertex is as high as the point.
    void touch(const PointT<double>& vertex) {
        if (vertex.x == point_.x) onEdge_ = true;
        if (last_.y == point_.y && (vertex.x < point_.x) != (last_.x < point_.x)) onEdge_ = true;
    }

    PointT<double> point_;
    PointT<double> last_;
    bool below_;
    bool onEdge_ = false;
    int turns_ = 0;
    double left_ = std::numeric_limits<double>::infinity();
    double right_ = -std::numeric_limits<double>::infinity();
    double bottom_ = std::numeric_limits<double>::infinity();
    double top_ = -std::numeric_limits<double>::infinity();
};

inline bool qvPolygonContains(std::span<const PointT<double>> vertices,
                              const PointT<double>& point) {
    if (vertices.empty()) return false;
    QVWindingCount count(point, vertices.back());
    for (const PointT<double>& vertex : vertices) count.add(vertex);
    return count.inside();
}
