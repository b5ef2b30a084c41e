#pragma once
#include "qvutils/common/shapes/qvshape.h"

/// What is the same for all shapes with straight edges between vertices: the answers follow from
/// the vertices alone.
class QVCORE_API QVPolygonalShape : public QVShape {
public:
    /// As the parameters have them now.
    virtual std::vector<PointT<double>> getVertices() const = 0;

    using QVShape::Contains;
    bool Contains(const PointT<double>& point) const override;
    void ContainsAll(std::span<const PointT<double>> points, std::span<bool> inside) const override;
    QVCircle getBoundingCircle() const override;
    double GetMinLinearDimension() const override;
    double getArea() const override;
    double getDistanceToEdge(const PointT<double>& point) const override;
    std::vector<PointT<double>> getOutline(double tolerance = 0) const override;
    std::unique_ptr<QVShape> CreateExpandedShape(double distance) const override;
    std::unique_ptr<QVShape> CreateRotatedShape(double angle) const override;

protected:
    RectT<double> getTurnedBoundingRect(const QVRotation& turn) const override;
    /// A shape with these vertices: of this shape's own kind where it has such a form, else a
    /// polygon. Null with an error posted when there are too few.
    virtual std::unique_ptr<QVShape> makeFrom(
        const std::vector<PointT<double>>& vertices) const = 0;
};
