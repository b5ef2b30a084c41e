#include "qvutils/common/shapes/qvrectangle.h"

#include <algorithm>
#include <cmath>

#include "qvutils/common/shapes/qvpolygon.h"

const qvClassInfo QVRectangle::cinfo_QVRectangle("QVRectangle", QVBoxedShape::getStaticClassInfo(),
                                                 nullptr, qvCreateObject<QVRectangle>);

const QVShapeKind QVRectangle::kind{"RECTANGLE(",
                                    "width, height",
                                    "Rectangle",
                                    "rectangle",
                                    "Cannot created weighted shape  - incompatible geometry\n",
                                    [] { return std::unique_ptr<QVShape>(new QVRectangle); }};

void QVRectangle::ContainsAll(std::span<const PointT<double>> points,
                              std::span<bool> inside) const {
    const double x = width / 2;
    const double y = height / 2;
    for (std::size_t i = 0; i < points.size(); ++i)
        inside[i] = std::fabs(points[i].x) <= x && std::fabs(points[i].y) <= y;
}

QVCircle QVRectangle::getBoundingCircle() const {
    return {{0, 0}, std::hypot(width / 2, height / 2)};
}

double QVRectangle::getArea() const {
    return width * height;
}

double QVRectangle::getDistanceToEdge(const PointT<double>& p) const {
    const double dx = std::fabs(p.x) - width / 2;
    const double dy = std::fabs(p.y) - height / 2;
    if (dx <= 0 && dy <= 0) return -std::max(dx, dy);
    return std::hypot(std::max(dx, 0.0), std::max(dy, 0.0));
}

std::vector<PointT<double>> QVRectangle::getOutline(double) const {
    const double x = width / 2;
    const double y = height / 2;
    return {{-x, -y}, {x, -y}, {x, y}, {-x, y}};
}

RectT<double> QVRectangle::getTurnedBoundingRect(const QVRotation& turn) const {
    const double c = std::fabs(turn.cos()) / 2;
    const double s = std::fabs(turn.sin()) / 2;
    const double x = c * width + s * height;
    const double y = s * width + c * height;
    return {-x, y, x, -y};
}

std::unique_ptr<QVShape> QVRectangle::CreateRotatedShape(double angle) const {
    if (!Check() || !checkAngle(angle)) return nullptr;
    const QVRotation turn(angle);
    if (turn.sin() == 0) return newCopy(nameSpace());
    if (turn.cos() == 0) {
        auto turned = std::make_unique<QVRectangle>();
        turned->SetNameSpace(nameSpace());
        turned->width.CopyFrom(nameSpace(), height);
        turned->height.CopyFrom(nameSpace(), width);
        return turned;
    }
    std::vector<PointT<double>> corners = getOutline();
    for (PointT<double>& corner : corners) corner = turn(corner);
    return std::make_unique<QVPolygon>(corners, nameSpace());
}
