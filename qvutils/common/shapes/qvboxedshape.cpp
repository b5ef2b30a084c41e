#include "qvutils/common/shapes/qvboxedshape.h"

#include <algorithm>
#include <cmath>

void QVBoxedShape::forEachDimension(const std::function<void(const QVDimension&)>& visit) {
    visit({&width, "width", &WeightType::x});
    visit({&height, "height", &WeightType::y});
}

bool QVBoxedShape::Contains(const PointT<double>& point) const {
    bool inside = false;
    ContainsAll({&point, 1}, {&inside, 1});
    return inside;
}

void QVBoxedShape::getSize(double& w, double& h) const {
    w = width;
    h = height;
}

bool QVBoxedShape::setSize(double w, double h) {
    if (!checkSize(w, h)) return false;
    width = w;
    height = h;
    return true;
}

double QVBoxedShape::GetMinLinearDimension() const {
    return std::min(width.GetValue(), height.GetValue());
}

std::unique_ptr<QVShape> QVBoxedShape::CreateExpandedShape(double distance) const {
    if (!Check()) return nullptr;
    const double w = width + 2 * distance;
    const double h = height + 2 * distance;
    if (!checkExpanded(distance, w, h)) return nullptr;
    auto expanded = newCopy(nameSpace());
    expanded->setSize(w, h);
    return expanded;
}
