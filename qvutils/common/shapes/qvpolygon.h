#pragma once
#include "qvutils/common/containers/list.h"
#include "qvutils/common/shapes/qvpolygonalshape.h"

class QVPolygon;

/// A vertex of a polygon, published as an object with the coordinates `x` and `y`.
class QVCORE_API QVPolygonPoint : public QVObject {
public:
    QV_CLASS_INFO(QVPolygonPoint)

    QVPolygonPoint() : x(0), y(0) {}
    /// The polygon is not copied.
    QVPolygonPoint(const QVPolygonPoint& other) : QVObject(other), x(other.x), y(other.y) {}
    QVPolygonPoint& operator=(const QVPolygonPoint& other) {
        QVObject::operator=(other);
        x = other.x;
        y = other.y;
        return *this;
    }

    qvParameter<double> x;  ///< in micrometres
    qvParameter<double> y;  ///< in micrometres

    QVObject* Clone() const override { return new QVPolygonPoint(*this); }
    void OnPublish() override;
    /// See QVShape::SetParam.
    void SetParam(QVCommandElt& element, const char* value, const char* name) override;
    /// Before commands reach it: the polygon that is to hear of changes.
    void setPolygon(QVPolygon& polygon);

private:
    QVPolygon* polygon_ = nullptr;
};

/// POLYGON(point1x, point1y, point2x, point2y, ...): straight edges between the vertices in their
/// order, and from the last to the first. At least three.
class QVCORE_API QVPolygon : public QVPolygonalShape {
public:
    QV_CLASS_INFO(QVPolygon)

    /// The most vertices that a text form may have.
    static constexpr int maxPoints = 10'000'000;

    /// A square of side 1 about the origin.
    QVPolygon();
    QVPolygon(const std::vector<PointT<double>>& vertices, qvNameSpace* space);

    List<QVPolygonPoint> plist;  ///< positions from 1; a wrong one ends the program

    int npoints() const { return plist.size(); }
    /// Inserts a vertex, which gets number `idx`, from 1 to npoints() + 1. Coordinates are numbers
    /// or formulas. False, with an error posted, when there can be no such vertex.
    bool insertPoint(int idx, const QVString& x, const QVString& y);
    /// False, with an error posted, when there is no such vertex or only three are left.
    bool removePoint(int idx);

    static const QVShapeKind kind;
    const QVShapeKind& getKind() const override { return kind; }
    std::vector<PointT<double>> getVertices() const override;
    using QVPolygonalShape::Contains;
    bool Contains(const PointT<double>& point) const override;
    void getSize(double& w, double& h) const override;
    bool setSize(double w, double h) override;
    bool ParseString(const char* text) override;
    bool Check() const override;
    void OnPublish() override;

protected:
    void forEachDimension(const std::function<void(const QVDimension&)>& visit) override;
    void makeRoomFor(const QVShape& other) override;
    std::unique_ptr<QVShape> makeFrom(const std::vector<PointT<double>>& vertices) const override;

private:
    void setVertices(const std::vector<PointT<double>>& vertices);

    int publishedCount_ = 0;  ///< npoints() when it was last published
};
