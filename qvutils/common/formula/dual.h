#pragma once
#include <complex>

/// A value together with its derivative with respect to one chosen parameter.
///
/// Calculating with such pairs by the rules of differentiation carries the derivative through a
/// formula exactly: R. E. Wengert, "A simple automatic derivative evaluation program",
/// Commun. ACM 7 (1964) 463.
template <class T>
struct QVDual {
    T value{};
    T slope{};

    QVDual() = default;
    QVDual(const T& v) : value(v) {}
    QVDual(const T& v, const T& s) : value(v), slope(s) {}
};

/// slope * factor, where a slope of 0 stays 0 whatever the factor: what does not depend on the
/// parameter has no derivative even where the factor is infinite.
template <class T>
T qvChain(const T& slope, const T& factor) {
    return slope == T(0) ? T(0) : slope * factor;
}

template <class T>
QVDual<T> operator+(const QVDual<T>& a, const QVDual<T>& b) {
    return {a.value + b.value, a.slope + b.slope};
}
template <class T>
QVDual<T> operator-(const QVDual<T>& a, const QVDual<T>& b) {
    return {a.value - b.value, a.slope - b.slope};
}
template <class T>
QVDual<T> operator*(const QVDual<T>& a, const QVDual<T>& b) {
    return {a.value * b.value, qvChain(a.slope, b.value) + qvChain(b.slope, a.value)};
}
template <class T>
QVDual<T> operator/(const QVDual<T>& a, const QVDual<T>& b) {
    const T quotient = a.value / b.value;
    return {quotient, (a.slope - qvChain(b.slope, quotient)) / b.value};
}
