#pragma once
#include <complex>
#include <concepts>
#include <type_traits>

#include "qvutils/common/platform/qvexport.h"
#include "qvutils/common/text/checksum.h"
#include "qvutils/common/text/qvnumber.h"
#include "qvutils/common/text/qvstring.h"
#include "qvutils/common/variables/qvnamedvariable.h"

class qvNameSpace;

/// A numeric setting: a value, or an expression over the variables of a namespace, or nothing yet,
/// in which case it reads as its parent does, or 0 without one. T is int, float, double or
/// std::complex<double>; an expression's complex value is converted by qvComplexToNumber.
///
/// The parent is not owned: it must live as long as this one refers to it. When the namespace of an
/// expression is destroyed, the parameter keeps the expression's text and its last value.
///
/// Threads: several may read one parameter while others change the variables that it uses, as
/// qvNamedVariable says; changing the parameter itself is for one thread alone.
template <class T>
class qvParameter {
public:
    /// Undefined.
    qvParameter() = default;
    qvParameter(const T& value) : undefined_(false), value_(value) {}
    /// Copies the definition, and the parent.
    qvParameter(const qvParameter& other);
    qvParameter(qvNameSpace* space, const qvParameter& other) { CopyFrom(space, other); }
    ~qvParameter() { delete variable_; }

    qvParameter& operator=(const T& value) {
        SetValue(value);
        return *this;
    }
    /// Copies the definition; each keeps its parent.
    qvParameter& operator=(const qvParameter& other);
    /// Copies the definition. An expression is evaluated in `space` from then on; without one the
    /// parameter becomes undefined.
    void CopyFrom(qvNameSpace* space, const qvParameter& other);

    void SetValue(const T& value);
    template <class V>
    requires std::is_arithmetic_v<V>
    void SetValue(V value) { SetValue(static_cast<const T&>(T(value))); }
    /// False, and nothing changes, when the text is not a number.
    bool SetValue(const QVString& text);
    /// With an empty text or no namespace the parameter becomes undefined; a text lost that way
    /// gives false. One with a double quote is refused: an error is posted, nothing changes and the
    /// result is false. Any other text is accepted; what is wrong with it is told, as a warning,
    /// when the value is read.
    bool SetExpression(qvNameSpace* space, const QVString& text);
    /// A number sets the value, any other text the expression.
    bool SetValueOrExpression(qvNameSpace* space, const QVString& text);

    /// The value now. What cannot be evaluated is 0, with a warning.
    T GetValue() const {
        if (!variable_ && !undefined_) [[likely]]
            return value_;
        const qvParameter& origin = getOrigin();
        return origin.variable_ ? convert(origin.variable_->GetValue()) : origin.value_;
    }
    operator T() const { return GetValue(); }
    /// Why the value now is none, as qvNamedVariable::GetFlaw has it; empty when it is one.
    QVString GetFlaw() const {
        const qvParameter& origin = getOrigin();
        return origin.variable_ ? origin.variable_->GetFlaw() : QVString();
    }
    /// The value now with the fewest digits that read back the same, complex as "(re,im)".
    QVString GetValueString() const { return qvShortestText(GetValue()); }
    /// The text of the expression or of the value, empty when undefined: of the parameter that the
    /// value comes from, and of this one itself.
    QVString GetExpression() const { return getOrigin().GetMyExpression(); }
    QVString GetMyExpression() const;
    /// What evaluates the expression; null when this one has none.
    qvNamedVariable* GetVariable() const { return variable_; }

    bool IsValue() const { return !variable_; }
    bool IsUndefined() const { return undefined_; }
    const qvParameter* GetParent() const { return parent_; }
    /// False, with an error posted and nothing changed, when `parent` is this one or inherits from
    /// it.
    bool SetParent(const qvParameter* parent);

    bool ValueEquals(const qvParameter& other) const { return GetValue() == other.GetValue(); }
    bool ExpressionEquals(const qvParameter& other) const {
        return GetExpression() == other.GetExpression();
    }
    /// Two expressions in one namespace are equal when their texts are; else the values count.
    bool operator==(const qvParameter& other) const;
    template <class V>
    requires(std::is_arithmetic_v<V> || std::same_as<V, T>) bool operator==(const V& value) const {
        if constexpr (std::is_arithmetic_v<T>)
            return GetValue() == value;
        else
            return GetValue() == T(value);
    }

    /// The result becomes the value. An int that would leave its range takes the nearest limit;
    /// dividing one by 0 posts an error and changes nothing.
    qvParameter& operator+=(const T& value);
    qvParameter& operator-=(const T& value);
    qvParameter& operator*=(const T& value);
    qvParameter& operator/=(const T& value);

    /// Adds the definition; `withValue` also the value now, so that the sum changes with the
    /// variables and with the parent.
    void AppendCheckSum(CheckSum& sum, bool withValue = false) const;

    /// The saved form: "" in double quotes when undefined, an expression in double quotes, or a
    /// number with the fewest digits that read back the same.
    QVString Write() const;
    /// Takes the first word off the text: a number, or text in double quotes, in which a number
    /// sets the value and any other text the expression. False for any other word; the parameter
    /// then stays as it is. False also for an expression without a namespace.
    bool Read(qvNameSpace* space, QVString& text);
    /// Takes the first word off the text, which must be a number.
    static bool Read(T& value, QVString& text);

private:
    static T convert(const std::complex<double>& value) {
        if constexpr (std::is_same_v<T, double>) return value.real();
        T result;
        qvComplexToNumber<T>(value, result);
        return result;
    }
    /// The first defined one up the chain of parents, or the last one.
    const qvParameter& getOrigin() const {
        const qvParameter* p = this;
        while (p->undefined_ && p->parent_) p = p->parent_;
        return *p;
    }
    void dropVariable();
    void makeUndefined();

    qvNamedVariable* variable_ = nullptr;  ///< owned; null unless this is an expression
    const qvParameter* parent_ = nullptr;
    bool undefined_ = true;
    T value_ = T();
};

extern template class QVCORE_API qvParameter<int>;
extern template class QVCORE_API qvParameter<float>;
extern template class QVCORE_API qvParameter<double>;
extern template class QVCORE_API qvParameter<std::complex<double>>;
