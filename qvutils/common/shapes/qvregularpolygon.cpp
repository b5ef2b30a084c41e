#include "qvutils/common/shapes/qvregularpolygon.h"

#include <algorithm>
#include <cmath>

#include "qvutils/common/error/qverror.h"
#include "qvutils/common/shapes/planegeometry.h"
#include "qvutils/common/shapes/qvpolygon.h"

const qvClassInfo QVRegularPolygon::cinfo_QVRegularPolygon("QVRegularPolygon",
                                                           QVShape::getStaticClassInfo(), nullptr,
                                                           qvCreateObject<QVRegularPolygon>);

const QVShapeKind QVRegularPolygon::kind{
    "REGPOLY(",
    "numvertices, angle, width, height",
    "Regular Polygon",
    "regular polygon",
    "Cannot create weighted shape  - incompatible geometry\n",
    [] { return std::unique_ptr<QVShape>(new QVRegularPolygon); }};

void QVRegularPolygon::forEachDimension(const std::function<void(const QVDimension&)>& visit) {
    visit({&numvertices, "numvertices", nullptr, QVDimension::vertexCount});
    visit({&angle, "angle", &WeightType::angle, QVDimension::finite});
    visit({&width, "width", &WeightType::x});
    visit({&height, "height", &WeightType::y});
}

std::vector<PointT<double>> QVRegularPolygon::getVertices() const {
    const int n = numvertices;
    const double start = std::remainder(angle.GetValue(), 360);
    if (n < minVertices || n > maxVertices || !std::isfinite(start)) return {};
    QVPoints vertices;
    vertices.reserve(static_cast<std::size_t>(n));
    for (int i = 0; i < n; ++i) {
        const QVRotation turn(start + 360.0 * i / n);
        vertices.push_back({turn.cos(), turn.sin()});
    }
    const RectT<double> unit = qvBoundingRect(vertices);
    const double x = width / (unit.right - unit.left);
    const double y = height / (unit.top - unit.bottom);
    for (PointT<double>& vertex : vertices) vertex = {vertex.x * x, vertex.y * y};
    return vertices;
}

void QVRegularPolygon::getSize(double& w, double& h) const {
    w = width;
    h = height;
}

bool QVRegularPolygon::setSize(double w, double h) {
    if (!checkSize(w, h)) return false;
    width = w;
    height = h;
    return true;
}

bool QVRegularPolygon::setNumVertices(int n) {
    const QVDimension dimension{&numvertices, "numvertices", nullptr, QVDimension::vertexCount};
    if (const char* flaw = dimension.flawOf(n)) {
        qverr().setf("cannot set the number of vertices to %d: it %s\n", n, flaw);
        return false;
    }
    numvertices = n;
    return true;
}

/// The vertices fit when a regular polygon with as many, from the same angle on, has them where
/// they are but for rounding.
std::unique_ptr<QVShape> QVRegularPolygon::makeFrom(const QVPoints& vertices) const {
    return makeFrom(vertices, angle);
}

std::unique_ptr<QVShape> QVRegularPolygon::makeFrom(const QVPoints& vertices,
                                                    double firstAngle) const {
    const RectT<double> rect = qvBoundingRect(vertices);
    const double w = rect.right - rect.left;
    const double h = rect.top - rect.bottom;
    auto regular = std::make_unique<QVRegularPolygon>();
    regular->SetNameSpace(nameSpace());
    regular->numvertices.CopyFrom(nameSpace(), numvertices);
    regular->angle.CopyFrom(nameSpace(), angle);
    if (firstAngle != angle) regular->angle = firstAngle;
    regular->width = w;
    regular->height = h;
    const QVPoints candidate = regular->getVertices();
    const double rounding = 1e-12 * std::max(w, h);
    const bool fits =
        std::equal(vertices.begin(), vertices.end(), candidate.begin(), candidate.end(),
                   [&](const PointT<double>& a, const PointT<double>& b) {
                       return std::hypot(a.x - b.x, a.y - b.y) <= rounding;
                   });
    if (fits) return regular;
    return std::make_unique<QVPolygon>(vertices, nameSpace());
}

std::unique_ptr<QVShape> QVRegularPolygon::CreateRotatedShape(double turned) const {
    if (!Check() || !checkAngle(turned)) return nullptr;
    const QVRotation turn(turned);
    if (turn.sin() == 0 && turn.cos() > 0) return newCopy(nameSpace());
    QVPoints vertices = getVertices();
    std::transform(vertices.begin(), vertices.end(), vertices.begin(), turn);
    return makeFrom(vertices, std::remainder(angle + std::remainder(turned, 360), 360));
}
