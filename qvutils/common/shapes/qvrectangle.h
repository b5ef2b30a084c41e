#pragma once
#include "qvutils/common/shapes/qvboxedshape.h"

/// RECTANGLE(width, height): centred on the origin, its sides along x and y.
class QVCORE_API QVRectangle : public QVBoxedShape {
public:
    QV_CLASS_INFO(QVRectangle)

    static const QVShapeKind kind;
    const QVShapeKind& getKind() const override { return kind; }
    void ContainsAll(std::span<const PointT<double>> points, std::span<bool> inside) const override;
    QVCircle getBoundingCircle() const override;
    double getArea() const override;
    double getDistanceToEdge(const PointT<double>& point) const override;
    std::vector<PointT<double>> getOutline(double tolerance = 0) const override;
    std::unique_ptr<QVShape> CreateRotatedShape(double angle) const override;
    void OnPublish() override;

protected:
    RectT<double> getTurnedBoundingRect(const QVRotation& turn) const override;
};
