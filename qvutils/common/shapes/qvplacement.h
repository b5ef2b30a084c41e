#pragma once
#include "qvutils/common/containers/geometry.h"
#include "qvutils/common/platform/qvexport.h"

/// A turn about the origin by an angle in degrees, counter-clockwise. A multiple of 90 degrees
/// turns exactly: no coordinate changes by more than its sign and place.
class QVCORE_API QVRotation {
public:
    explicit QVRotation(double degrees = 0);

    PointT<double> operator()(const PointT<double>& p) const {
        return {cos_ * p.x - sin_ * p.y, sin_ * p.x + cos_ * p.y};
    }
    double cos() const { return cos_; }
    double sin() const { return sin_; }

private:
    double cos_;
    double sin_;
};

/// Where a shape stands in a structure: it is turned about its origin, which is then moved.
struct QVPlacement {
    PointT<double> position;  ///< of the shape's origin, in micrometres
    double rotation = 0;      ///< in degrees, counter-clockwise

    PointT<double> toStructure(const PointT<double>& object) const {
        const PointT<double> turned = QVRotation(rotation)(object);
        return {turned.x + position.x, turned.y + position.y};
    }
    PointT<double> toObject(const PointT<double>& structure) const {
        return QVRotation(-rotation)({structure.x - position.x, structure.y - position.y});
    }
};
