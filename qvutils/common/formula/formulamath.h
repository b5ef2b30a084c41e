#pragma once
#include <cmath>
#include <complex>
#include <limits>

#include "qvutils/common/formula/funcparser.h"

/// The arithmetic of formulas, for real and for complex values. What a formula may not do throws an
/// Error; the public entry points of expressions catch it.
///
/// A complex value without an imaginary part is treated as the real number it is wherever that has
/// an answer, so both families agree on real numbers; -0 counts as 0 in the imaginary part, so that
/// a real number never lies below a branch cut: sqrt(-4) is 2i however the -4 came about.
namespace qvformula {

using Complex = std::complex<double>;

inline constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();

[[noreturn]] void refuseDivision();
[[noreturn]] void refuseComplex(const char* function);

inline bool isReal(double) {
    return true;
}
inline bool isReal(const Complex& z) {
    return z.imag() == 0;
}
inline double realPart(double x) {
    return x;
}
inline double realPart(const Complex& z) {
    return z.real();
}
/// The value of an argument that has to be real, named by what it is handed to.
inline double realOnly(double x, const char*) {
    return x;
}
inline double realOnly(const Complex& z, const char* function) {
    if (!isReal(z)) refuseComplex(function);
    return z.real();
}

inline double negate(double x) {
    return -x;
}
inline Complex negate(const Complex& z) {
    return {-z.real(), 0 - z.imag()};
}
/// On the upper side of a branch cut along the real axis.
inline Complex aboveCut(const Complex& z) {
    return {z.real(), z.imag() + 0.0};
}

template <class T>
T divide(const T& a, const T& b) {
    if (b == T(0)) [[unlikely]]
        refuseDivision();
    return a / b;
}

double pow(double base, double exponent);
Complex pow(Complex base, Complex exponent);
/// The powers that are multiplied out: x*x is correctly rounded, the others are within 1.5 units in
/// the last place.
template <class T>
T square(const T& x) {
    return x * x;
}
inline Complex square(const Complex& z) {
    return isReal(z) ? z.real() * z.real() : z * z;
}
template <class T>
T cube(const T& x) {
    return x * x * x;
}
template <class T>
T fourth(const T& x) {
    const T xx = x * x;
    return xx * xx;
}

inline double sqrt(double x) {
    if (x < 0) [[unlikely]]
        qvThrowError("negative argument in sqrt\n");
    return std::sqrt(x);
}
Complex sqrt(Complex z);
inline double abs(double x) {
    return std::fabs(x);
}
inline Complex abs(Complex z) {
    return isReal(z) ? std::fabs(z.real()) : std::abs(z);
}
double sign(double x);
Complex sign(Complex z);
double exp(double x);
Complex exp(Complex z);
double ln(double x);
Complex ln(Complex z);
double log10(double x);
Complex log10(Complex z);
double asin(double x);
Complex asin(Complex z);
double acos(double x);
Complex acos(Complex z);
double atan(double x);
Complex atan(Complex z);
double sin(double x);
Complex sin(Complex z);
double cos(double x);
Complex cos(Complex z);
double tan(double x);
Complex tan(Complex z);
double sinh(double x);
Complex sinh(Complex z);
double cosh(double x);
Complex cosh(Complex z);
double tanh(double x);
Complex tanh(Complex z);
Complex real(Complex z);
Complex imag(Complex z);
Complex arg(Complex z);

}  // namespace qvformula
