#include "qvutils/common/shapes/qvpolygon.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "qvutils/common/error/qverror.h"
#include "qvutils/common/shapes/planegeometry.h"
#include "qvutils/common/shapes/polygoncontainment.h"
#include "qvutils/common/shapes/shapetext.h"
#include "qvutils/common/text/qvnumber.h"

const qvClassInfo QVPolygonPoint::cinfo_QVPolygonPoint("QVPolygonPoint",
                                                       QVObject::getStaticClassInfo(), nullptr,
                                                       qvCreateObject<QVPolygonPoint>);
const qvClassInfo QVPolygon::cinfo_QVPolygon("QVPolygon", QVShape::getStaticClassInfo(), nullptr,
                                             qvCreateObject<QVPolygon>);

const QVShapeKind QVPolygon::kind{"POLYGON(",
                                  "point1x, point1y, point2x, point2y, ...",
                                  "Polygon",
                                  "polygon",
                                  "Cannot create weighted shape  - incompatible geometry\n",
                                  [] { return std::unique_ptr<QVShape>(new QVPolygon); }};

QVPolygon::QVPolygon() {
    setVertices({{-0.5, -0.5}, {0.5, -0.5}, {0.5, 0.5}, {-0.5, 0.5}});
}

QVPolygon::QVPolygon(const QVPoints& vertices, qvNameSpace* space) {
    SetNameSpace(space);
    setVertices(vertices);
}

void QVPolygon::forEachDimension(const std::function<void(const QVDimension&)>& visit) {
    for (QVPolygonPoint& point : plist) {
        visit({&point.x, "x coordinate of a vertex", &WeightType::x, QVDimension::finite});
        visit({&point.y, "y coordinate of a vertex", &WeightType::y, QVDimension::finite});
    }
}

void QVPolygon::setVertices(const QVPoints& vertices) {
    List<QVPolygonPoint> points;
    for (const PointT<double>& vertex : vertices) {
        points.append(QVPolygonPoint());
        points.last_cpt().x = vertex.x;
        points.last_cpt().y = vertex.y;
    }
    plist.swap(points);
}

void QVPolygon::makeRoomFor(const QVShape& other) {
    setVertices(QVPoints(static_cast<std::size_t>(static_cast<const QVPolygon&>(other).npoints())));
}

std::unique_ptr<QVShape> QVPolygon::makeFrom(const QVPoints& vertices) const {
    return std::make_unique<QVPolygon>(vertices, nameSpace());
}

std::vector<PointT<double>> QVPolygon::getVertices() const {
    QVPoints vertices;
    vertices.reserve(static_cast<std::size_t>(npoints()));
    for (const QVPolygonPoint& point : plist) vertices.push_back({point.x, point.y});
    return vertices;
}

bool QVPolygon::Contains(const PointT<double>& p) const {
    if (plist.empty()) return false;
    const QVPolygonPoint& last = plist.last_cpt();
    QVWindingCount count(p, {last.x, last.y});
    for (const QVPolygonPoint& point : plist) count.add({point.x, point.y});
    return count.inside();
}

void QVPolygon::getSize(double& w, double& h) const {
    const RectT<double> rect = getBoundingRect();
    w = rect.right - rect.left;
    h = rect.top - rect.bottom;
}

bool QVPolygon::setSize(double w, double h) {
    if (!checkSize(w, h) || !Check()) return false;
    double oldWidth = 0, oldHeight = 0;
    getSize(oldWidth, oldHeight);
    if (!(oldWidth > 0 && oldHeight > 0)) {
        refuse("resize", "its vertices are all in line");
        return false;
    }
    QVPoints vertices = getVertices();
    for (PointT<double>& vertex : vertices)
        vertex = {vertex.x / oldWidth * w, vertex.y / oldHeight * h};
    auto vertex = vertices.begin();
    for (QVPolygonPoint& point : plist) {
        point.x = vertex->x;
        point.y = vertex->y;
        ++vertex;
    }
    return true;
}

bool QVPolygon::ParseString(const char* text) {
    if (!text) text = "";
    const std::vector<std::string_view> pieces = qvSplitShapeParameters(text);
    std::string flaw;
    for (const std::string_view piece : pieces) {
        qvParameter<double> coordinate;
        flaw = qvFlawOfDimension({&coordinate, "a coordinate", nullptr, QVDimension::finite}, piece,
                                 nameSpace());
        if (!flaw.empty()) break;
    }
    const bool missing =
        pieces.size() % 2 != 0 || std::any_of(pieces.begin(), pieces.end(),
                                              [](std::string_view piece) { return piece.empty(); });
    if (missing) flaw = std::string("required format: ") + getDefStringComment();
    if (flaw.empty() && pieces.size() < 6) flaw = "polygons must have at least three points";
    if (flaw.empty() && pieces.size() / 2 > maxPoints)
        flaw = "polygons must have at most " + std::to_string(maxPoints) + " points";
    if (!flaw.empty()) {
        SyntaxErr("Invalid polygon parameters: %s\n   %s\n", text, flaw.c_str());
        return false;
    }
    List<QVPolygonPoint> points;
    for (std::size_t i = 0; i < pieces.size(); i += 2) {
        points.append(QVPolygonPoint());
        points.last_cpt().x.SetValueOrExpression(nameSpace(), QVString(pieces[i]));
        points.last_cpt().y.SetValueOrExpression(nameSpace(), QVString(pieces[i + 1]));
    }
    plist.swap(points);
    return true;
}

bool QVPolygon::insertPoint(int idx, const QVString& x, const QVString& y) {
    if (idx < 1 || idx > npoints() + 1) {
        qverr().setf("cannot insert a point at place %d: there are %d points\n", idx, npoints());
        return false;
    }
    if (npoints() >= maxPoints) {
        refuse("insert a point into", "it has as many as it can have");
        return false;
    }
    QVPolygonPoint point;
    for (auto [parameter, name, text] : {std::tuple(&point.x, "x", &x), {&point.y, "y", &y}}) {
        const QVDimension coordinate{parameter, name, nullptr, QVDimension::finite};
        std::string flaw = qvFlawOfDimension(coordinate, text->view(), nameSpace());
        if (flaw.empty()) {
            parameter->SetValueOrExpression(nameSpace(), *text);
            flaw = coordinate.flawNow();
            if (!flaw.empty()) flaw = std::string(name) + " " + flaw;
        }
        if (flaw.empty()) continue;
        if (!flaw.ends_with('\n')) flaw += '\n';
        qverr().setf("cannot insert the point (%s, %s): %s", x.Chars(), y.Chars(), flaw.c_str());
        return false;
    }
    plist.insert(idx, point);
    return true;
}

bool QVPolygon::removePoint(int idx) {
    if (idx < 1 || idx > npoints()) {
        qverr().setf("cannot remove point %d: there are %d points\n", idx, npoints());
    } else if (npoints() <= 3) {
        refuse("remove a point from", "polygons must have at least three points");
    } else {
        plist.erase(idx);
        return true;
    }
    return false;
}

bool QVPolygon::Check() const {
    if (npoints() >= 3) return QVShape::Check();
    qverr().setf("%s has %d points\n   polygons must have at least three points\n",
                 shortDefinition().Chars(), npoints());
    return false;
}
