#pragma once
#include <cmath>
#include <complex>
#include <type_traits>

#include "qvutils/common/formula/dual.h"

/// What formulas of optics need of pairs of value and derivative beyond the four operations.

template <class T>
QVDual<T> operator+(const QVDual<T>& a, const std::type_identity_t<T>& b) {
    return {a.value + b, a.slope};
}
template <class T>
QVDual<T> operator+(const std::type_identity_t<T>& a, const QVDual<T>& b) {
    return {a + b.value, b.slope};
}
template <class T>
QVDual<T> operator-(const QVDual<T>& a, const std::type_identity_t<T>& b) {
    return {a.value - b, a.slope};
}
template <class T>
QVDual<T> operator-(const std::type_identity_t<T>& a, const QVDual<T>& b) {
    return {a - b.value, -b.slope};
}
template <class T>
QVDual<T> operator*(const QVDual<T>& a, const std::type_identity_t<T>& b) {
    return {a.value * b, a.slope * b};
}
template <class T>
QVDual<T> operator*(const std::type_identity_t<T>& a, const QVDual<T>& b) {
    return {a * b.value, a * b.slope};
}
template <class T>
QVDual<T> operator/(const QVDual<T>& a, const std::type_identity_t<T>& b) {
    return {a.value / b, a.slope / b};
}
template <class T>
QVDual<T> operator/(const std::type_identity_t<T>& a, const QVDual<T>& b) {
    const T quotient = a / b.value;
    return {quotient, -(quotient * b.slope) / b.value};
}
template <class T>
QVDual<T> sqrt(const QVDual<T>& a) {
    using std::sqrt;
    const T root = sqrt(a.value);
    return {root, a.slope / (T(2) * root)};
}
template <class T>
QVDual<T> log(const QVDual<T>& a) {
    using std::log;
    return {log(a.value), a.slope / a.value};
}

/// The plain value of a number or a pair.
inline double qvValue(double x) {
    return x;
}
inline std::complex<double> qvValue(const std::complex<double>& z) {
    return z;
}
template <class T>
T qvValue(const QVDual<T>& a) {
    return a.value;
}
