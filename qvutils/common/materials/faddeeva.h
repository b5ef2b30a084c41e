#pragma once
#include <array>
#include <cmath>
#include <complex>
#include <numbers>

#include "qvutils/common/materials/dualmath.h"

/// The Faddeeva function w(z) = exp(-z^2) erfc(-i z) of the upper half of the complex plane, for a
/// complex number or a QVDual of one. Relative accuracy better than 1e-12.
namespace qvfaddeeva {

using Complex = std::complex<double>;

/// J. A. C. Weideman, "Computation of the complex error function", SIAM J. Numer. Anal. 31, 1497
/// (1994): an expansion in rational functions.
struct Expansion {
    static constexpr int order = 40;
    double width = std::sqrt(order / std::numbers::sqrt2);
    std::array<double, order> coefficient;

    Expansion() {
        constexpr int half = 2 * order;
        for (int n = 1; n <= order; n++) {
            double sum = width * width;
            for (int k = 1; k < half; k++) {
                const double angle = k * std::numbers::pi / half;
                const double t = width * std::tan(angle / 2);
                sum += 2 * (width * width + t * t) * std::exp(-t * t) * std::cos(n * angle);
            }
            coefficient[static_cast<std::size_t>(n - 1)] = sum / (2 * half);
        }
    }
};

inline const Expansion& expansion() {
    static const Expansion made;
    return made;
}

template <class C>
C w(const C& z) {
    constexpr double rootPi = 1.0 / std::numbers::inv_sqrtpi;
    constexpr Complex i(0, 1);
    if (std::norm(qvValue(z)) > 64) {
        // Far out Laplace's continued fraction has all digits after a few terms.
        C rest = z;
        for (int k = 11; k >= 1; k--) rest = z - Complex(0.5 * k) / rest;
        return i / rootPi / rest;
    }
    const Expansion& e = expansion();
    const C denominator = Complex(e.width) - i * z;
    const C Z = (Complex(e.width) + i * z) / denominator;
    C sum(Complex(e.coefficient.back()));
    for (int n = Expansion::order - 2; n >= 0; n--)
        sum = sum * Z + Complex(e.coefficient[static_cast<std::size_t>(n)]);
    return (Complex(2) * sum / denominator + Complex(1 / rootPi)) / denominator;
}

}  // namespace qvfaddeeva
