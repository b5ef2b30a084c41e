#pragma once
#include "qvutils/common/shapes/qvboxedshape.h"

/// ELLIPSE(width, height) or ELLIPSE(width, height, angle): centred on the origin, with full axes
/// `width` and `height`, the first of which is turned by `angle` from the x-axis. The text form
/// leaves out an angle of 0.
class QVCORE_API QVEllipse : public QVBoxedShape {
public:
    QV_CLASS_INFO(QVEllipse)

    /// A circle of diameter 1.
    QVEllipse() : angle(0) {}

    qvParameter<double> angle;  ///< in degrees

    static const QVShapeKind kind;
    const QVShapeKind& getKind() const override { return kind; }
    void ContainsAll(std::span<const PointT<double>> points, std::span<bool> inside) const override;
    QVCircle getBoundingCircle() const override;
    double getArea() const override;
    double getDistanceToEdge(const PointT<double>& point) const override;
    std::vector<PointT<double>> getOutline(double tolerance) const override;
    std::unique_ptr<QVShape> CreateRotatedShape(double angle) const override;
    void OnPublish() override;

protected:
    void forEachDimension(const std::function<void(const QVDimension&)>& visit) override;
    RectT<double> getTurnedBoundingRect(const QVRotation& turn) const override;
};
