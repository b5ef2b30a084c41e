#include "qvutils/common/shapes/qvpolygonalshape.h"

#include <algorithm>

#include "qvutils/common/shapes/planegeometry.h"
#include "qvutils/common/shapes/polygoncontainment.h"
#include "qvutils/common/shapes/polygonoffset.h"
#include "qvutils/common/shapes/preparedpolygon.h"
#include "qvutils/common/shapes/qvpolygon.h"

bool QVPolygonalShape::Contains(const PointT<double>& point) const {
    return qvPolygonContains(getVertices(), point);
}

void QVPolygonalShape::ContainsAll(std::span<const PointT<double>> points,
                                   std::span<bool> inside) const {
    constexpr std::size_t fewPoints = 32;  // for so few it does not pay to prepare anything
    QVPoints vertices = getVertices();
    if (points.size() < fewPoints) {
        for (std::size_t i = 0; i < points.size(); ++i)
            inside[i] = qvPolygonContains(vertices, points[i]);
        return;
    }
    const PreparedPolygon prepared(std::move(vertices));
    for (std::size_t i = 0; i < points.size(); ++i) inside[i] = prepared.contains(points[i]);
}

QVCircle QVPolygonalShape::getBoundingCircle() const {
    return qvEnclosingCircle(getVertices());
}

double QVPolygonalShape::GetMinLinearDimension() const {
    return qvSmallestWidth(getVertices());
}

double QVPolygonalShape::getArea() const {
    return std::fabs(qvSignedArea(getVertices()));
}

double QVPolygonalShape::getDistanceToEdge(const PointT<double>& point) const {
    return qvDistanceToEdges(getVertices(), point);
}

std::vector<PointT<double>> QVPolygonalShape::getOutline(double) const {
    return getVertices();
}

RectT<double> QVPolygonalShape::getTurnedBoundingRect(const QVRotation& turn) const {
    QVPoints vertices = getVertices();
    std::transform(vertices.begin(), vertices.end(), vertices.begin(), turn);
    return qvBoundingRect(vertices);
}

std::unique_ptr<QVShape> QVPolygonalShape::CreateExpandedShape(double distance) const {
    if (!Check()) return nullptr;
    QVPoints vertices = getVertices();
    if (!checkExpanded(distance)) return nullptr;
    if (const char* flaw = qvOffsetPolygon(vertices, distance)) {
        refuseToExpand(distance, flaw);
        return nullptr;
    }
    return makeFrom(vertices);
}

std::unique_ptr<QVShape> QVPolygonalShape::CreateRotatedShape(double angle) const {
    if (!Check() || !checkAngle(angle)) return nullptr;
    const QVRotation turn(angle);
    if (turn.sin() == 0 && turn.cos() > 0) return newCopy(nameSpace());
    QVPoints vertices = getVertices();
    std::transform(vertices.begin(), vertices.end(), vertices.begin(), turn);
    return std::make_unique<QVPolygon>(vertices, nameSpace());
}
