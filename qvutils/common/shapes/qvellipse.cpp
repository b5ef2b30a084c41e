#include "qvutils/common/shapes/qvellipse.h"

#include <algorithm>
#include <cmath>
#include <numbers>

const qvClassInfo QVEllipse::cinfo_QVEllipse("QVEllipse", QVBoxedShape::getStaticClassInfo(),
                                             nullptr, qvCreateObject<QVEllipse>);

const QVShapeKind QVEllipse::kind{"ELLIPSE(",
                                  "width, height",
                                  "Ellipse",
                                  "ellipse",
                                  "Cannot created weighted shape  - incompatible geometry\n",
                                  [] { return std::unique_ptr<QVShape>(new QVEllipse); }};

namespace {

/// The distance of (x, y) from the ellipse with half axes a >= b > 0, for x, y >= 0. The nearest
/// point is (a^2 x / (b^2 (t - 1) + a^2), y / t) for the one root t > 0 of a function that falls
/// (D. Eberly, Distance from a Point to an Ellipse, an Ellipsoid, or a Hyperellipsoid, 2013).
double distanceInQuadrant(double a, double b, double x, double y) {
    const double focal = (a - b) * (a + b);
    if (y > 0) {
        const double u = x / a;
        const double v = y / b;
        const double ratio = (a / b) * (a / b);
        const double excess = focal / b / b;
        double low = v;
        double high = std::hypot(ratio * u, v);
        if (u * u + v * v < 1)
            high = std::min(high, 1.0);
        else
            low = std::max(low, 1.0);
        double t = low;
        for (double next = (low + high) / 2; next > low && next < high; next = (low + high) / 2) {
            t = next;
            const double p = ratio * u / (t + excess);
            const double q = v / t;
            (p * p + q * q > 1 ? low : high) = t;
        }
        return std::hypot(ratio * x / (t + excess) - x, y / t - y);
    }
    // On the long axis the nearest point lies off it when (x, 0) is within the centre of curvature.
    if (a * x < focal) {
        const double c = a * x / focal;
        return std::hypot(a * c - x, b * std::sqrt((1 - c) * (1 + c)));
    }
    return std::fabs(x - a);
}

}  // namespace

void QVEllipse::forEachDimension(const std::function<void(const QVDimension&)>& visit) {
    QVBoxedShape::forEachDimension(visit);
    visit({&angle, "angle", &WeightType::angle, QVDimension::finite, true});
}

void QVEllipse::ContainsAll(std::span<const PointT<double>> points, std::span<bool> inside) const {
    const double a = width / 2;
    const double b = height / 2;
    const QVRotation back(-angle);
    const bool some = a > 0 && b > 0;
    for (std::size_t i = 0; i < points.size(); ++i) {
        const PointT<double> p = back(points[i]);
        const double u = p.x / a;
        const double v = p.y / b;
        inside[i] = some && u * u + v * v <= 1;
    }
}

QVCircle QVEllipse::getBoundingCircle() const {
    return {{0, 0}, std::max(width.GetValue(), height.GetValue()) / 2};
}

double QVEllipse::getArea() const {
    return std::numbers::pi / 4 * width * height;
}

double QVEllipse::getDistanceToEdge(const PointT<double>& point) const {
    const PointT<double> p = QVRotation(-angle)(point);
    const double a = width / 2;
    const double b = height / 2;
    const double x = std::fabs(p.x);
    const double y = std::fabs(p.y);
    if (!(a > 0 && b > 0)) return std::hypot(x, y);
    return a >= b ? distanceInQuadrant(a, b, x, y) : distanceInQuadrant(b, a, y, x);
}

/// A chord over the angle 2 h of the circle around the ellipse is r (1 - cos h) away from it; none
/// of the ellipse is further.
std::vector<PointT<double>> QVEllipse::getOutline(double tolerance) const {
    constexpr double least = 16, most = 100'000;
    const double a = width / 2;
    const double b = height / 2;
    const double cosine = 1 - tolerance / std::max(a, b);
    const double wanted = cosine < 1 ? std::numbers::pi / std::acos(std::max(cosine, -1.0)) : most;
    const int n = static_cast<int>(std::ceil(std::clamp(wanted, least, most) / 4)) * 4;
    const QVRotation turn(angle);
    std::vector<PointT<double>> points;
    points.reserve(static_cast<std::size_t>(n));
    for (int i = 0; i < n; ++i) {
        const QVRotation at(360.0 * i / n);
        points.push_back(turn({a * at.cos(), b * at.sin()}));
    }
    return points;
}

RectT<double> QVEllipse::getTurnedBoundingRect(const QVRotation& turn) const {
    const PointT<double> axis = turn(QVRotation(angle)({1, 0}));
    const double x = std::hypot(axis.x * width, axis.y * height) / 2;
    const double y = std::hypot(axis.y * width, axis.x * height) / 2;
    return {-x, y, x, -y};
}

std::unique_ptr<QVShape> QVEllipse::CreateRotatedShape(double turned) const {
    if (!Check() || !checkAngle(turned)) return nullptr;
    auto result = std::make_unique<QVEllipse>();
    result->SetNameSpace(nameSpace());
    result->takeDimensions(*this);
    const QVRotation turn(turned);
    if (turn.sin() == 0) return result;
    if (turn.cos() == 0) {
        result->width.CopyFrom(nameSpace(), height);
        result->height.CopyFrom(nameSpace(), width);
    } else {
        result->angle = std::remainder(angle + std::remainder(turned, 180), 180);
    }
    return result;
}
