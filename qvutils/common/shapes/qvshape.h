#pragma once
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <variant>
#include <vector>

#include "qvutils/common/containers/geometry.h"
#include "qvutils/common/object/qvobject.h"
#include "qvutils/common/parameters/qvparameter.h"
#include "qvutils/common/shapes/qvplacement.h"
#include "qvutils/common/shapes/weighttype.h"
#include "qvutils/common/text/checksum.h"

class QVShape;

/// A parameter of a shape, and what its values must be.
struct QVCORE_API QVDimension {
    enum Need { finite, positive, vertexCount };
    /// Neither a value nor what 1 is divided by it is greater, so that squares do not overflow.
    static constexpr double most = 1e100;

    std::variant<qvParameter<double>*, qvParameter<int>*> parameter;
    const char* name;
    /// Which weight a blend takes for it; null when two shapes are blended only with equal ones.
    double WeightType::*weight = nullptr;
    Need need = positive;
    bool optional =
        false;  ///< the last one, which the text form leaves out when it is the number 0

    /// Calls `function` with the parameter, a qvParameter<T>*.
    template <class F>
    auto with(F function) const {
        return std::visit([&](auto* p) { return function(p); }, parameter);
    }
    /// Null for a value that will do, else what is wrong: "must be a positive number".
    const char* flawOf(double value) const;
    /// What is wrong with the value now: "is -1\n   it must be a positive number", or "has no
    /// value" and why its formula could not be evaluated. Empty when nothing is.
    std::string flawNow() const;
    bool isLeftOut() const;
};

struct QVCircle {
    PointT<double> centre;
    double radius = 0;
};

/// What all shapes of one kind have in common.
struct QVShapeKind {
    const char* keyword;      ///< of the text form, with its bracket: "RECTANGLE("
    const char* parameters;   ///< the names of the parameters in their order: "width, height"
    const char* name;         ///< "Rectangle"
    const char* lowerName;    ///< "rectangle", as in the middle of a message
    const char* cannotBlend;  ///< the message when two shapes do not fit together
    std::unique_ptr<QVShape> (*create)();
};

/// A shape of the plane, in its own coordinates: lengths in micrometres, x to the right and y
/// upwards, angles in degrees counter-clockwise. Each dimension is a number or a formula over the
/// variables of the shape's namespace, read anew by every question. The text form is a keyword with
/// the parameters in brackets: RECTANGLE(w1, 2*h).
///
/// A formula may give what no shape can have: a size that is negative, zero or not a number. The
/// shape then answers without complaint, as the numbers have it; Check() tells.
///
/// Threads: several may ask one shape, as qvParameter says; changing it is for one thread alone.
class QVCORE_API QVShape : public QVObject {
public:
    QV_CLASS_INFO(QVShape)

    virtual const QVShapeKind& getKind() const = 0;
    /// "Rectangle", "Ellipse", "Polygon" or "Regular Polygon".
    virtual const char* getName() const { return getKind().name; }

    /// Whether a point lies inside. The edge belongs to rectangles and ellipses. Of a polygon it
    /// does too, except where it touches the right or the upper side of the polygon's bounding box;
    /// where a polygon crosses itself, a point is inside when the edges wind around it.
    virtual bool Contains(const PointT<double>& point) const = 0;
    /// The same, or within `tolerance` of the edge.
    virtual bool Contains(const PointT<double>& point, double tolerance) const;
    /// `onEdge` tells whether the edge is within `tolerance`.
    virtual bool Contains(const PointT<double>& point, double tolerance, bool& onEdge) const;
    /// Contains(point) for many points; the results go to `inside`, which has the same size. The
    /// parameters are read once.
    virtual void ContainsAll(std::span<const PointT<double>> points,
                             std::span<bool> inside) const = 0;

    /// Of a polygon those of its bounding box.
    virtual void getSize(double& w, double& h) const = 0;
    /// The sizes become plain values; a polygon's vertices are moved in proportion. A size that is
    /// not a positive number posts an error and changes nothing.
    virtual bool setSize(double w, double h) = 0;
    /// left and bottom are the lower limits.
    virtual RectT<double> getBoundingRect() const { return getTurnedBoundingRect(QVRotation()); }
    virtual RectT<double> getBoundingRectWithPlacement(const QVPlacement& placement) const;
    /// The smallest circle around the shape.
    virtual QVCircle getBoundingCircle() const = 0;
    /// The smallest distance between two parallel lines that have the shape between them.
    virtual double GetMinLinearDimension() const = 0;
    /// Of a polygon that crosses itself, the sum of what each loop encloses, clockwise loops
    /// counted negative, without its sign.
    virtual double getArea() const = 0;
    /// The distance of a point from the nearest point of the edge.
    virtual double getDistanceToEdge(const PointT<double>& point) const = 0;
    /// The vertices; of a curve as many as keep the chords within `tolerance` of it.
    virtual std::vector<PointT<double>> getOutline(double tolerance) const = 0;

    /// Moves every edge outwards by a distance, neighbours meeting where they cross (mitre joins),
    /// and makes the dimensions plain values. An ellipse stays one: it grows by the distance along
    /// its axes and by a little less between them. False, with an error posted and nothing changed,
    /// when nothing would be left, the result has more than one part or a hole, the edges cross, or
    /// the shape would no longer be of its kind (see CreateExpandedShape).
    virtual bool Expand(double distance);
    virtual bool Contract(double distance) { return Expand(-distance); }
    /// What Expand makes, as a new shape, perhaps of another kind: a regular polygon that is
    /// stretched becomes a polygon. Null with an error posted.
    virtual std::unique_ptr<QVShape> CreateExpandedShape(double distance) const = 0;
    /// The shape turned about the origin. What has no such form any more becomes a polygon; an
    /// ellipse keeps its kind. Formulas are kept where the turn is a multiple of 90 degrees and the
    /// shape a rectangle or an ellipse, or where it is a multiple of 360; else they become values.
    /// Null with an error posted when the shape cannot be turned.
    virtual std::unique_ptr<QVShape> CreateRotatedShape(double angle) const = 0;

    /// A copy whose formulas are those of another namespace.
    virtual std::unique_ptr<QVShape> newCopy(qvNameSpace* space) const;
    QVObject* Clone() const override { return newCopy(nameSpace()).release(); }

    /// Changes with the kind, the definition and the values of the parameters.
    virtual CheckSum GetCheckSum() const;
    /// Reads what stands between the brackets of the text form, cut at each comma outside brackets.
    /// False after SyntaxErr; the shape then keeps its parameters.
    virtual bool ParseString(const char* text);
    /// The text form, of which ParseString reads the inner part.
    virtual QVString getDefString() const;
    virtual const char* getDefStringComment() const { return getKind().parameters; }
    /// The text form becomes the contents of `text`.
    static void WriteShape(QVShape& shape, QVString& text) { text = shape.getDefString(); }
    /// A new shape from its text form. Null after SyntaxErr.
    static std::unique_ptr<QVShape> ReadShape(qvNameSpace* space, const QVString& text);

    /// Makes this shape a blend of two of its own kind; the dimensions become plain values. False,
    /// with an error posted and nothing changed, when they do not fit or the result is no shape.
    virtual bool SetToWeighted(const QVShape& a, const QVShape& b, const WeightType& weight);
    virtual bool AreAllParametersValues() const;
    /// The same kind with equal parameters; see qvParameter.
    virtual bool operator==(const QVShape& other) const;
    bool EqualsTo(const QVObject& other) const override;

    /// Whether the dimensions, as they are now, make a shape. When not, an error says which does
    /// not: "the width of RECTANGLE(w1, 2) is -1\n   it must be a positive number\n". See
    /// QVDimension::flawNow.
    virtual bool Check() const;
    /// Makes the formulas those of another namespace; without one they stay what they are.
    void ChangeNameSpace(qvNameSpace* space);

    void OnPublish() override;
    /// What Check would refuse is refused here, and the parameter keeps its value.
    void SetParam(QVCommandElt& element, const char* value, const char* name) override;

    /// Called when a command has changed a dimension or the points. Copies begin without it.
    std::function<void()> onChange;
    /// For what is done at the order of a command, which may have failed.
    void tellChange() const;

protected:
    QVShape() = default;
    QVShape(const QVShape& other) : QVObject(other) {}
    QVShape& operator=(const QVShape& other) {
        QVObject::operator=(other);
        return *this;
    }

    /// Calls `visit` with each parameter, in the order of the text form.
    virtual void forEachDimension(const std::function<void(const QVDimension&)>& visit) = 0;
    virtual RectT<double> getTurnedBoundingRect(const QVRotation& turn) const = 0;
    /// Before the dimensions of another shape of this kind are taken.
    virtual void makeRoomFor(const QVShape& /*other*/) {}

    void forEachDimension(const std::function<void(const QVDimension&)>& visit) const {
        const_cast<QVShape*>(this)->forEachDimension(visit);
    }
    std::vector<QVDimension> dimensions() const;
    /// Takes the dimensions of a shape of the same kind.
    void takeDimensions(const QVShape& other);
    qvNameSpace* nameSpace() const { return const_cast<QVShape*>(this)->GetNameSpace(); }
    /// These post an error that says which number will not do.
    bool checkSize(double w, double h) const;
    bool checkAngle(double angle) const;
    /// The sizes are those after an expansion by `distance`.
    bool checkExpanded(double distance, double w = 1, double h = 1) const;
    /// Posts "cannot <verb> <definition>: <reason>\n", with the beginning of a long definition.
    void refuse(const char* verb, const char* reason) const;
    void refuseToExpand(double distance, const char* reason) const;
    QVString shortDefinition() const;

private:
    QVString typeName_;  ///< as published
};
