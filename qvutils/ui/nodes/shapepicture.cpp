#include "qvutils/ui/nodes/shapepicture.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "qvutils/ui/nodes/qvshapenode.h"

ShapePicture::ShapePicture(const QVString& title) {
    chart_.title = title;
    chart_.sameScale = true;
    for (qvSvgAxis* axis : {&chart_.xAxis, &chart_.yAxis}) axis->unit = "µm";
    chart_.xAxis.title = "x";
    chart_.yAxis.title = "y";
}

bool ShapePicture::add(const qvShapeNode& node) {
    constexpr double finest = 1e-4;  // of the size: well below what the eye can tell
    const QVShape* const shape = node.checkedShape();
    if (!shape) return false;
    const RectT<double> box = shape->getBoundingRect();
    const double size = std::max(box.right - box.left, box.top - box.bottom);
    qvSvgCurve& curve = chart_.addCurve(node.getName(), {}, {});
    curve.closed = true;
    PointT<double> last{std::numeric_limits<double>::infinity(), 0};
    for (const PointT<double>& point : shape->getOutline(finest * size)) {
        if (std::hypot(point.x - last.x, point.y - last.y) < finest * size) continue;
        last = point;
        curve.x.push_back(point.x);
        curve.y.push_back(point.y);
    }
    return true;
}
