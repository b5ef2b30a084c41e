#include "qvutils/common/formula/formulamath.h"

namespace qvformula {

void refuseDivision() {
    qvThrowError("division by zero");
}

void refuseComplex(const char* function) {
    qvThrowError("cannot pass complex number to function \"%s\"\n", function);
}

namespace {

bool isInteger(double x) {
    return std::floor(x) == x && std::isfinite(x);
}

bool isOdd(double integer) {
    return std::fmod(integer, 2) != 0;
}

/// By repeated squaring: no logarithm, so (-2)**2 has no imaginary part.
Complex integerPower(Complex base, int exponent) {
    Complex result = 1;
    for (unsigned left = static_cast<unsigned>(std::abs(exponent)); left; left >>= 1) {
        if (left & 1) result *= base;
        if (left > 1) base *= base;
    }
    return exponent < 0 ? 1.0 / result : result;
}

constexpr double mostMultipliedOut = 1024;

}  // namespace

double pow(double base, double exponent) {
    if (base > 0) return std::pow(base, exponent);
    if (!isInteger(exponent)) {
        if (base < 0 && std::isfinite(exponent))
            qvThrowError("negative argument in non-integer power\n");
        return std::pow(base, exponent);
    }
    const bool odd = isOdd(exponent);
    if (base == 0 && odd) return 0;
    const double power = std::pow(std::fabs(base), exponent);
    return base < 0 && odd ? -power : power;
}

Complex pow(Complex base, Complex exponent) {
    if (!isReal(exponent)) {
        if (base == 0.0 && exponent.real() > 0) return 0;
        return std::exp(exponent * ln(base));
    }
    const double n = exponent.real();
    if (isReal(base) && (base.real() >= 0 || isInteger(n))) return pow(base.real(), n);
    if (isInteger(n) && std::fabs(n) <= mostMultipliedOut) {
        return integerPower(base, static_cast<int>(n));
    }
    return std::exp(n * ln(base));
}

Complex sqrt(Complex z) {
    if (!isReal(z)) return std::sqrt(z);
    return z.real() < 0 ? Complex(0, std::sqrt(-z.real())) : Complex(std::sqrt(z.real()));
}

double sign(double x) {
    return (x > 0) - (x < 0);
}
Complex sign(Complex z) {
    return sign(realOnly(z, "sign"));
}

double exp(double x) {
    return x < -100 ? 0 : std::exp(x);
}
Complex exp(Complex z) {
    return isReal(z) ? std::exp(z.real()) : std::exp(z);
}

double ln(double x) {
    if (x <= 0) qvThrowError("DOMAIN error in function \"ln\"\n");
    return std::log(x);
}
Complex ln(Complex z) {
    return isReal(z) && z.real() > 0 ? std::log(z.real()) : std::log(aboveCut(z));
}

double log10(double x) {
    if (x <= 0) qvThrowError("DOMAIN error in function \"log10\"\n");
    return std::log10(x);
}
Complex log10(Complex z) {
    return isReal(z) && z.real() > 0 ? std::log10(z.real()) : std::log10(aboveCut(z));
}

double asin(double x) {
    if (std::fabs(x) > 1) qvThrowError("DOMAIN error in function \"asin\"\n");
    return std::asin(x);
}
Complex asin(Complex z) {
    return isReal(z) && std::fabs(z.real()) <= 1 ? std::asin(z.real()) : std::asin(aboveCut(z));
}

double acos(double x) {
    if (std::fabs(x) > 1) qvThrowError("DOMAIN error in function \"acos\"\n");
    return std::acos(x);
}
Complex acos(Complex z) {
    return isReal(z) && std::fabs(z.real()) <= 1 ? std::acos(z.real()) : std::acos(aboveCut(z));
}

double atan(double x) {
    return std::atan(x);
}
Complex atan(Complex z) {
    return isReal(z) ? std::atan(z.real()) : std::atan(z);
}
double sin(double x) {
    return std::sin(x);
}
Complex sin(Complex z) {
    return isReal(z) ? std::sin(z.real()) : std::sin(z);
}
double cos(double x) {
    return std::cos(x);
}
Complex cos(Complex z) {
    return isReal(z) ? std::cos(z.real()) : std::cos(z);
}
double tan(double x) {
    return std::tan(x);
}
Complex tan(Complex z) {
    return isReal(z) ? std::tan(z.real()) : std::tan(z);
}
double sinh(double x) {
    return std::sinh(x);
}
Complex sinh(Complex z) {
    return isReal(z) ? std::sinh(z.real()) : std::sinh(z);
}
double cosh(double x) {
    return std::cosh(x);
}
Complex cosh(Complex z) {
    return isReal(z) ? std::cosh(z.real()) : std::cosh(z);
}
double tanh(double x) {
    return std::tanh(x);
}
Complex tanh(Complex z) {
    return isReal(z) ? std::tanh(z.real()) : std::tanh(z);
}
Complex real(Complex z) {
    return z.real();
}
Complex imag(Complex z) {
    return z.imag();
}
Complex arg(Complex z) {
    return std::arg(aboveCut(z));
}

}  // namespace qvformula
