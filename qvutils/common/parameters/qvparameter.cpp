#include "qvutils/common/parameters/qvparameter.h"

#include <algorithm>
#include <limits>
#include <memory>
#include <string_view>

#include "qvutils/common/error/qverror.h"

namespace {

constexpr std::string_view blanks = " \t";

/// How much of the text is blank before its first word, and where that word ends.
struct FirstWord {
    explicit FirstWord(std::string_view text)
        : begin(std::min(text.find_first_not_of(blanks), text.size())),
          end(std::min(text.find_first_of(blanks, begin), text.size())) {}
    std::size_t begin;
    std::size_t end;
};

/// Drops what has been read, and the blanks after it.
void dropUpTo(QVString& text, std::size_t end) {
    const std::size_t next =
        std::min(text.view().find_first_not_of(blanks, end), text.view().size());
    text.Del(0, static_cast<int>(next));
}

/// What the arithmetic is done in, and the way back from there.
template <class T>
struct Arithmetic {
    using Type = T;
    static T back(const T& value) { return value; }
};

template <>
struct Arithmetic<int> {
    using Type = long long;
    static int back(long long value) {
        using Limits = std::numeric_limits<int>;
        return static_cast<int>(std::clamp<long long>(value, Limits::min(), Limits::max()));
    }
};

}  // namespace

template <class T>
qvParameter<T>::qvParameter(const qvParameter& other) : parent_(other.parent_) {
    *this = other;
}

template <class T>
qvParameter<T>& qvParameter<T>::operator=(const qvParameter& other) {
    if (this == &other) return *this;
    qvNameSpace* space = other.variable_ ? other.variable_->GetNameSpace() : nullptr;
    if (other.variable_ && !space)
        SetValue(other.GetValue());
    else
        CopyFrom(space, other);
    return *this;
}

template <class T>
void qvParameter<T>::CopyFrom(qvNameSpace* space, const qvParameter& other) {
    if (other.variable_)
        SetExpression(space, other.variable_->GetExpression());
    else if (other.undefined_)
        makeUndefined();
    else
        SetValue(T(other.value_));
}

template <class T>
void qvParameter<T>::dropVariable() {
    delete variable_;
    variable_ = nullptr;
}

template <class T>
void qvParameter<T>::makeUndefined() {
    dropVariable();
    undefined_ = true;
    value_ = T();
}

template <class T>
void qvParameter<T>::SetValue(const T& value) {
    dropVariable();
    undefined_ = false;
    value_ = value;
}

template <class T>
bool qvParameter<T>::SetValue(const QVString& text) {
    T value;
    if (!qvStringToNumber<T>(text, value)) return false;
    SetValue(value);
    return true;
}

template <class T>
bool qvParameter<T>::SetExpression(qvNameSpace* space, const QVString& text) {
    if (text.Empty() || !space) {
        makeUndefined();
        return text.Empty();
    }
    if (variable_ && variable_->GetNameSpace() == space) return variable_->SetExpression(text);
    auto variable = std::make_unique<qvNamedVariable>(space, qvNamedVariable::temporary, -1);
    if (!variable->SetExpression(text)) return false;
    delete variable_;
    variable_ = variable.release();
    undefined_ = false;
    return true;
}

template <class T>
bool qvParameter<T>::SetValueOrExpression(qvNameSpace* space, const QVString& text) {
    return SetValue(text) || SetExpression(space, text);
}

template <class T>
QVString qvParameter<T>::GetMyExpression() const {
    if (undefined_) return QVString();
    return variable_ ? variable_->GetExpression() : qvShortestText(value_);
}

template <class T>
bool qvParameter<T>::SetParent(const qvParameter* parent) {
    for (const qvParameter* p = parent; p; p = p->parent_) {
        if (p != this) continue;
        qverr().set("a parameter cannot inherit from itself\n");
        return false;
    }
    parent_ = parent;
    return true;
}

template <class T>
bool qvParameter<T>::operator==(const qvParameter& other) const {
    const qvParameter &a = getOrigin(), &b = other.getOrigin();
    if (!a.variable_ || !b.variable_ || !a.variable_->GetNameSpace() ||
        a.variable_->GetNameSpace() != b.variable_->GetNameSpace())
        return ValueEquals(other);
    return a.variable_->GetExpression() == b.variable_->GetExpression();
}

template <class T>
void qvParameter<T>::AppendCheckSum(CheckSum& sum, bool withValue) const {
    sum.Append(undefined_ ? 0 : variable_ ? 1 : 2);
    if (variable_)
        sum.Append(variable_->GetExpression());
    else if (!undefined_)
        sum.Append(std::complex<double>(value_));
    if (withValue) sum.Append(std::complex<double>(GetValue()));
}

template <class T>
QVString qvParameter<T>::Write() const {
    if (undefined_) return "\"\"";
    return variable_ ? "\"" + variable_->GetExpression() + "\"" : qvShortestText(value_);
}

template <class T>
bool qvParameter<T>::Read(qvNameSpace* space, QVString& text) {
    const FirstWord word(text.view());
    if (word.begin == word.end || text[word.begin] != '"') {
        T value;
        if (!Read(value, text)) return false;
        SetValue(value);
        return true;
    }
    const std::size_t begin = word.begin + 1;
    const std::size_t end = text.view().find('"', begin);
    if (end == std::string_view::npos) {
        text = "";
        return false;
    }
    const QVString quoted(text.view().substr(begin, end - begin));
    dropUpTo(text, end + 1);
    return SetValueOrExpression(space, quoted);
}

template <class T>
bool qvParameter<T>::Read(T& value, QVString& text) {
    const FirstWord word(text.view());
    const QVString number(text.view().substr(word.begin, word.end - word.begin));
    dropUpTo(text, word.end);
    return qvReadShortest<T>(number, value);
}

template <class T>
qvParameter<T>& qvParameter<T>::operator+=(const T& value) {
    using A = Arithmetic<T>;
    return *this = A::back(typename A::Type(GetValue()) + value);
}

template <class T>
qvParameter<T>& qvParameter<T>::operator-=(const T& value) {
    using A = Arithmetic<T>;
    return *this = A::back(typename A::Type(GetValue()) - value);
}

template <class T>
qvParameter<T>& qvParameter<T>::operator*=(const T& value) {
    using A = Arithmetic<T>;
    return *this = A::back(typename A::Type(GetValue()) * value);
}

template <class T>
qvParameter<T>& qvParameter<T>::operator/=(const T& value) {
    if constexpr (std::is_integral_v<T>) {
        if (value == 0) {
            qverr().set("division by zero");
            return *this;
        }
    }
    using A = Arithmetic<T>;
    return *this = A::back(typename A::Type(GetValue()) / value);
}

template class qvParameter<int>;
template class qvParameter<float>;
template class qvParameter<double>;
template class qvParameter<std::complex<double>>;
