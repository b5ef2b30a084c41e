#pragma once
#include "qvutils/common/shapes/qvshape.h"

/// What is the same for the shapes that are given by a width and a height about the origin, the
/// rectangle and the ellipse.
class QVCORE_API QVBoxedShape : public QVShape {
public:
    qvParameter<double> width;   ///< in micrometres
    qvParameter<double> height;  ///< in micrometres

    using QVShape::Contains;
    bool Contains(const PointT<double>& point) const override;
    void getSize(double& w, double& h) const override;
    bool setSize(double w, double h) override;
    double GetMinLinearDimension() const override;
    std::unique_ptr<QVShape> CreateExpandedShape(double distance) const override;

protected:
    /// 1 by 1.
    QVBoxedShape() : width(1), height(1) {}

    void forEachDimension(const std::function<void(const QVDimension&)>& visit) override;
};
