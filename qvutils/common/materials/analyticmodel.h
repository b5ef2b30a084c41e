#pragma once
#include <cmath>

#include "qvutils/common/materials/analytic.h"
#include "qvutils/common/materials/dualmath.h"

/// How the rows of the built-in models are made.
///
/// A model is a class whose constructor (mx, T, axis) works out all that does not depend on the
/// wavelength, and whose template `index(lambda)` gives the index for a double or for a QVDual: a
/// real number, or Parts of a complex one. A row is built from the class; no call in its loops goes
/// through a pointer.
namespace qvanalytic {

using std::log;
using std::sqrt;
using Complex = std::complex<double>;
using Dual = QVDual<double>;

inline constexpr double photonEnergy = 1.239841984;  ///< h c in eV um
inline constexpr double celsius = 273.15;

/// A complex number of two numbers, plain or with derivatives.
template <class S>
struct Parts {
    S re;
    S im;
};

/// n + i k, the square root of a permittivity with an imaginary part >= 0.
template <class S>
Parts<S> indexOf(const S& re, const S& im) {
    // Of the two parts the larger one comes from the root, the other from their product: no
    // cancellation on either side.
    const bool negative = qvValue(re) < 0;
    const S size = negative ? 0.0 - re : re;
    const S larger = sqrt((sqrt(re * re + im * im) + size) * 0.5);
    const S smaller = im / (larger * 2.0);
    return {negative ? smaller : larger, negative ? larger : smaller};
}

inline Complex complexOf(double n) {
    return n;
}
inline Complex complexOf(const Parts<double>& n) {
    return {n.re, n.im};
}
inline double realOf(double n) {
    return n;
}
inline double realOf(const Parts<double>& n) {
    return n.re;
}
inline qvIndexSlope slopeOf(const Dual& n) {
    return {n.value, n.slope};
}
inline qvIndexSlope slopeOf(const Parts<Dual>& n) {
    return {{n.re.value, n.im.value}, {n.re.slope, n.im.slope}};
}

template <class Model>
constexpr qvAnalyticMaterial::Functions functionsOf() {
    return {
        [](double mx, double T, double lambda, qvAxis axis) {
            return complexOf(Model(mx, T, axis).index(lambda));
        },
        [](double mx, double T, double lambda, qvAxis axis) {
            return slopeOf(Model(mx, T, axis).index(Dual(lambda, 1)));
        },
        [](double mx, double T, qvAxis axis, const double* lambda, std::size_t count, Complex* n) {
            const Model model(mx, T, axis);
            for (std::size_t i = 0; i < count; i++) n[i] = complexOf(model.index(lambda[i]));
        },
        [](double mx, double T, qvAxis axis, const double* lambda, std::size_t count, double* n) {
            const Model model(mx, T, axis);
            for (std::size_t i = 0; i < count; i++) n[i] = realOf(model.index(lambda[i]));
        }};
}

extern const qvAnalyticMaterial algaas, ingaasp1, ingaasp2, ingaalas1;
extern const qvAnalyticMaterial sio2geo2a, sio2geo2b, silica1, silicon1, silicon2, linbo3, sin1;
extern const qvAnalyticMaterial aluminium, aluminium2, gold, platinum, silver, tungsten, nickel;

}  // namespace qvanalytic
