#pragma once
#include <functional>
#include <memory>
#include <string_view>

#include "qvutils/common/object/qvobject.h"
#include "qvutils/common/shapes/weighttype.h"

class qvWeightParams;
struct qvWeighting;

/// A weighting function: maps a position t to the weights with which one shape is blended into
/// another, 0 for the first and 1 for the second. Its text form:
///
///     definition: { [ "X" | "Y" | "ANGLE" ] function | "RANGE" start end }
///     function:   "FORMULA" '"' formula '"' { name "=" value } | "FILE" name | "SFUNC" [ value ]
///                 | "POWER" value | "FLAT" value
///     value:      number | '"' formula over the variables of the namespace '"'
///
/// There are three functions, for the size along x, the size along y and the angle. One that
/// nothing is said before is the third; those that are not defined take the value of the third,
/// which is 1 unless it is defined.
///
/// u is how far t is on its way: 0 at the start of the range and before it, 1 at its end and
/// beyond; the range is 0 to 1 unless it is given.
///     FLAT a      a everywhere
///     POWER p     u to the power p
///     SFUNC p     u^p / (u^p + (1 - u)^p), a smooth step with the slope p in its middle; p at
///                 least 1, 2 unless it is given
///     FORMULA     of t and of its parameters, which all formulas share
///     FILE        a spline through the rows of a file: t, weight
/// Outside a given range FORMULA and FILE have the value of its nearer end.
///
/// What depends on variables or on files is worked out by ParseString, by UpdateParamValues and
/// when a parameter is set by command; in between any number of threads may call WeightVal.
class QVCORE_API WeightFunc : public QVObject {
public:
    QV_CLASS_INFO(WeightFunc)

    static constexpr int mostParams = 100;
    static constexpr std::size_t longestText = 1u << 16;

    /// 1 everywhere. Formulas of values are those of the namespace, which is referred to.
    explicit WeightFunc(qvNameSpace* space = nullptr);
    /// Copies the definition; in the same namespace.
    WeightFunc(const WeightFunc& other);
    WeightFunc& operator=(const WeightFunc& other);
    ~WeightFunc() override;
    QVObject* Clone() const override { return new WeightFunc(*this); }

    /// Copies the definition. Its formulas are those of `space` from then on.
    void CopyFrom(qvNameSpace* space, const WeightFunc& other);
    bool EqualsTo(const QVObject& other) const override;
    bool operator==(const WeightFunc& other) const { return EqualsTo(other); }

    /// False, after a SyntaxErr, for a text that is no definition; nothing changes then. A formula
    /// that is wrong or a file that cannot be read are told as a warning and kept: WeightVal posts
    /// an error as long as nothing is done about them. An unusable range is a warning and ignored.
    bool ParseString(std::string_view text);
    /// The text form; empty when nothing is defined.
    QVString getDefString() const;

    /// The weights at t. Where one has no value an error is posted and all are 0.
    WeightType WeightVal(double t) const;
    /// To be called when variables have changed that the values depend on.
    void UpdateParamValues();

    void OnPublish() override;
    void SetParam(QVCommandElt& element, const char* value, const char* name) override;

    /// Called when a command has changed the definition.
    std::function<void()> onChange;

private:
    friend class qvWeightParams;

    /// A value set by a command; false when the element is none. See setDefinition.
    bool setValue(QVCommandElt& element, const char* value, const char* name);
    /// By a command: what cannot be evaluated, or a file that cannot be read, is refused here.
    void setDefinition(const QVString& text);
    QVString valueText(double t);

    std::unique_ptr<qvWeighting> data_;
    std::unique_ptr<qvWeightParams> params_;
};
