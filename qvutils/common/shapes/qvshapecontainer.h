#pragma once
#include <functional>
#include <memory>

#include "qvutils/common/object/qvobject.h"
#include "qvutils/common/shapes/qvshape.h"

/// Holds one shape, or none, of any kind, and publishes what the shape publishes. The operations
/// that may change the kind of the shape are here.
class QVCORE_API QVShapeContainer : public QVObject {
public:
    QV_CLASS_INFO(QVShapeContainer)

    QVShapeContainer() = default;
    /// Formulas stay those of the other one's namespace.
    QVShapeContainer(const QVShapeContainer& other);
    QVShapeContainer& operator=(const QVShapeContainer& other);

    QVObject* Clone() const override { return new QVShapeContainer(*this); }
    bool EqualsTo(const QVObject& other) const override;
    void OnPublish() override;

    /// The namespace becomes `space`, in which the formulas of the copy are evaluated. The other
    /// one may be this one.
    void CopyFrom(qvNameSpace* space, const QVShapeContainer& other);

    /// Null when there is none.
    QVShape* getShape() { return shape_.get(); }
    const QVShape* getShape() const { return shape_.get(); }
    void setShape(std::unique_ptr<QVShape> shape);

    /// Makes the shape that a text form describes, such as RECTANGLE(w1, 2*h), with formulas in
    /// this object's namespace. False after SyntaxErr; the shape then stays.
    bool ReadShape(const QVString& text);
    /// The text form; empty without a shape.
    QVString getDefString() const { return shape_ ? shape_->getDefString() : QVString(); }

    // These post an error and change nothing when they fail or there is no shape.

    /// See QVShape::CreateExpandedShape and QVShape::CreateRotatedShape.
    bool Expand(double distance);
    bool Contract(double distance) { return Expand(-distance); }
    bool Rotate(double angle);
    /// Makes this a blend of two shapes of one kind.
    bool SetToWeighted(const QVShape& a, const QVShape& b, const WeightType& weight);
    /// Whether there is a shape whose dimensions make one; see QVShape::Check.
    bool Check() const;

    /// Called after a command has changed a dimension or the points of the shape, not after what
    /// this class does.
    std::function<void()> onChange;

private:
    bool hasShape() const;
    bool take(std::unique_ptr<QVShape> shape);

    std::unique_ptr<QVShape> shape_;
};
