#include "qvutils/common/error/qverror.h"
#include "qvutils/common/shapes/qvellipse.h"
#include "qvutils/common/shapes/qvpolygon.h"
#include "qvutils/common/shapes/qvrectangle.h"
#include "qvutils/common/shapes/qvregularpolygon.h"
#include "qvutils/common/shapes/qvshapecontainer.h"
#include "qvutils/common/shapes/shapetext.h"

namespace {

/// The vertices of a polygon as a list of objects.
class PublishedPoints final : public PublishContainer {
public:
    explicit PublishedPoints(QVPolygon& polygon) : polygon_(&polygon) {}

    int getNdims() const override { return 1; }
    Range getRange(int) const override { return {1, polygon_->npoints()}; }
    int getEntryKind() const override { return qvKindObject; }
    const qvClassInfo* getEntryClass() const override {
        return QVPolygonPoint::getStaticClassInfo();
    }
    void* getEntry(int i, int) const override {
        QVPolygonPoint& point = polygon_->plist[i];
        point.setPolygon(*polygon_);
        return static_cast<QVObject*>(&point);
    }
    PublishContainer* copyTo(void* storage, std::size_t capacity) const override {
        return copyInto(*this, storage, capacity);
    }

private:
    QVPolygon* polygon_;
};

}  // namespace

void QVShape::OnPublish() {
    typeName_ = getName();
    PublishVar("type", typeName_, "type of shape", true);
    PublishFn(
        "setSize",
        [](QVShape& self, double width, double height) {
            if (self.setSize(width, height)) self.tellChange();
        },
        "( width, height ): set width and height");
}

void QVShape::tellChange() const {
    if (onChange && !qverr()) onChange();
}

void QVShape::SetParam(QVCommandElt& element, const char* value, const char* name) {
    for (const QVDimension& dimension : dimensions()) {
        const void* parameter = dimension.with([](void* p) { return p; });
        if (parameter != element.getScalarPtr()) continue;
        qvAssignDimension(dimension, element, value, name);
        return tellChange();
    }
    QVObject::SetParam(element, value, name);
}

void QVRectangle::OnPublish() {
    PublishVar("width", width, "width of rectangle in um");
    PublishVar("height", height, "height of rectangle in um");
    QVShape::OnPublish();
}

void QVEllipse::OnPublish() {
    PublishVar("width", width, "width of ellipse in um");
    PublishVar("height", height, "height of ellipse in um");
    PublishVar("angle", angle,
               "angle of width of ellipse from positive object-coordinates x-axis in degrees");
    QVShape::OnPublish();
}

void QVRegularPolygon::OnPublish() {
    PublishVar("numvertices", numvertices, "number of vertices in regular polygon");
    PublishVar("angle", angle,
               "angle of first vertex of regular polygon from positive object-coordinates x-axis "
               "in degrees");
    PublishVar("width", width, "width of regular polygon in um");
    PublishVar("height", height, "height of regular polygon in um");
    PublishFn(
        "setnumvertices",
        [](QVRegularPolygon& self, int n) {
            if (self.setNumVertices(n)) self.tellChange();
        },
        "( n ): set the number of vertices");
    QVShape::OnPublish();
}

void QVPolygon::OnPublish() {
    publishedCount_ = npoints();
    PublishVar("npoints", publishedCount_, "number of vertices", true);
    PublishedPoints points(*this);
    PublishObj("plist", points, "list of vertex coords", true, nullptr, nullptr, qvKindObject);
    PublishFn(
        "insertpoint",
        [](QVPolygon& self, int idx, const QVString& x, const QVString& y) {
            if (self.insertPoint(idx, x, y)) self.tellChange();
        },
        "(idx, x, y): insert point into the polygon at place idx in point list, with offset "
        "(x,y)");
    PublishFn(
        "removepoint",
        [](QVPolygon& self, int idx) {
            if (self.removePoint(idx)) self.tellChange();
        },
        "(idx): remove point from the polygon at place idx in point list");
    QVShape::OnPublish();
}

void QVPolygonPoint::setPolygon(QVPolygon& polygon) {
    polygon_ = &polygon;
    SetNameSpace(polygon.GetNameSpace());
}

void QVPolygonPoint::OnPublish() {
    PublishVar("x", x, "x of vertex in um");
    PublishVar("y", y, "y of vertex in um");
}

void QVPolygonPoint::SetParam(QVCommandElt& element, const char* value, const char* name) {
    qvParameter<double>* parameter = element.getScalarPtr() == &x ? &x : &y;
    qvAssignDimension({parameter, "coordinate", nullptr, QVDimension::finite}, element, value,
                      name);
    if (polygon_) polygon_->tellChange();
}

void QVShapeContainer::OnPublish() {
    if (shape_) PublishAll(*shape_);
}
