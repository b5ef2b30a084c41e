#pragma once
#include "qvutils/common/shapes/qvpolygonalshape.h"

/// REGPOLY(numvertices, angle, width, height): vertices at equal angles on the unit circle, the
/// first at `angle` from the x-axis, scaled along x and y so that their bounding box is
/// width x height. The centre of the circle is the origin.
class QVCORE_API QVRegularPolygon : public QVPolygonalShape {
public:
    QV_CLASS_INFO(QVRegularPolygon)

    static constexpr int minVertices = 3;
    static constexpr int maxVertices = 1'000'000;

    /// A square of side 1.
    QVRegularPolygon() : numvertices(4), angle(45), width(1), height(1) {}

    qvParameter<int> numvertices;
    qvParameter<double> angle;   ///< in degrees
    qvParameter<double> width;   ///< in micrometres
    qvParameter<double> height;  ///< in micrometres

    /// False, with an error posted, when it is not from minVertices to maxVertices.
    bool setNumVertices(int n);

    static const QVShapeKind kind;
    const QVShapeKind& getKind() const override { return kind; }
    /// None when their number is out of range.
    std::vector<PointT<double>> getVertices() const override;
    void getSize(double& w, double& h) const override;
    bool setSize(double w, double h) override;
    std::unique_ptr<QVShape> CreateRotatedShape(double angle) const override;
    void OnPublish() override;

protected:
    void forEachDimension(const std::function<void(const QVDimension&)>& visit) override;
    std::unique_ptr<QVShape> makeFrom(const std::vector<PointT<double>>& vertices) const override;

private:
    std::unique_ptr<QVShape> makeFrom(const std::vector<PointT<double>>& vertices,
                                      double firstAngle) const;
};
