#include "qvutils/common/shapes/qvshapecontainer.h"

#include <utility>

#include "qvutils/common/error/qverror.h"

const qvClassInfo QVShapeContainer::cinfo_QVShapeContainer("QVShapeContainer",
                                                           QVObject::getStaticClassInfo(), nullptr,
                                                           qvCreateObject<QVShapeContainer>);

namespace {

std::unique_ptr<QVShape> copyOf(QVShape* shape) {
    return shape ? shape->newCopy(shape->GetNameSpace()) : nullptr;
}

}  // namespace

QVShapeContainer::QVShapeContainer(const QVShapeContainer& other) : QVObject(other) {
    setShape(copyOf(other.shape_.get()));
}

QVShapeContainer& QVShapeContainer::operator=(const QVShapeContainer& other) {
    if (this == &other) return *this;
    QVObject::operator=(other);
    setShape(copyOf(other.shape_.get()));
    return *this;
}

void QVShapeContainer::CopyFrom(qvNameSpace* space, const QVShapeContainer& other) {
    SetNameSpace(space);
    setShape(other.shape_ ? other.shape_->newCopy(space) : nullptr);
}

bool QVShapeContainer::EqualsTo(const QVObject& other) const {
    const auto* container = dynamic_cast<const QVShapeContainer*>(&other);
    if (!container) return false;
    const QVShape* shape = container->getShape();
    return shape_ && shape ? *shape_ == *shape : !shape_ && !shape;
}

void QVShapeContainer::setShape(std::unique_ptr<QVShape> shape) {
    shape_ = std::move(shape);
    if (!shape_) return;
    shape_->onChange = [this] {
        if (onChange) onChange();
    };
}

bool QVShapeContainer::ReadShape(const QVString& text) {
    std::unique_ptr<QVShape> shape = QVShape::ReadShape(GetNameSpace(), text);
    if (!shape) return false;
    setShape(std::move(shape));
    return true;
}

bool QVShapeContainer::hasShape() const {
    if (!shape_) qverr().set("there is no shape here\n");
    return shape_ != nullptr;
}

bool QVShapeContainer::take(std::unique_ptr<QVShape> shape) {
    if (!shape || !shape->Check()) return false;
    setShape(std::move(shape));
    return true;
}

bool QVShapeContainer::Expand(double distance) {
    return hasShape() && take(shape_->CreateExpandedShape(distance));
}

bool QVShapeContainer::Rotate(double angle) {
    return hasShape() && take(shape_->CreateRotatedShape(angle));
}

bool QVShapeContainer::SetToWeighted(const QVShape& a, const QVShape& b, const WeightType& weight) {
    std::unique_ptr<QVShape> blend = a.getKind().create();
    blend->SetNameSpace(GetNameSpace());
    return blend->SetToWeighted(a, b, weight) && take(std::move(blend));
}

bool QVShapeContainer::Check() const {
    return hasShape() && shape_->Check();
}
