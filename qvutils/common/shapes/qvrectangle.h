#pragma once
#include "qvutils/common/shapes/qvshape.h"

/// RECTANGLE(width, height): centred on the origin, its sides along x and y.
class QVCORE_API QVRectangle : public QVShape {
public:
    QV_CLASS_INFO(QVRectangle)

    /// 1 by 1.
    QVRectangle() : width(1), height(1) {}

    qvParameter<double> width;   ///< in micrometres
    qvParameter<double> height;  ///< in micrometres

    static const QVShapeKind kind;
    const QVShapeKind& getKind() const override { return kind; }
    using QVShape::Contains;
    bool Contains(const PointT<double>& point) const override;
    void ContainsAll(std::span<const PointT<double>> points, std::span<bool> inside) const override;
    void getSize(double& w, double& h) const override;
    bool setSize(double w, double h) override;
    QVCircle getBoundingCircle() const override;
    double GetMinLinearDimension() const override;
    double getArea() const override;
    double getDistanceToEdge(const PointT<double>& point) const override;
    std::vector<PointT<double>> getOutline(double tolerance = 0) const override;
    std::unique_ptr<QVShape> CreateExpandedShape(double distance) const override;
    std::unique_ptr<QVShape> CreateRotatedShape(double angle) const override;
    bool SetToWeighted(const QVShape& a, const QVShape& b, const WeightType& weight) override;
    void OnPublish() override;

protected:
    void forEachDimension(const std::function<void(const QVDimension&)>& visit) override;
    RectT<double> getTurnedBoundingRect(const QVRotation& turn) const override;
};
