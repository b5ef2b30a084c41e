#pragma once
#include <cmath>
#include <complex>

#include "plugins/slabguide/slabstack.h"

namespace slab {

/// The transfer through a layer of thickness t, multiplied by exp(-growth) so that nothing
/// overflows however thick it is:
///     C = cosh(q t),  S = sinh(q t) / q      and their derivatives with respect to q^2.
/// Both are even in q: no branch of the root is chosen here. The matrix [[C, p S], [q^2 S / p, C]]
/// takes (psi, phi) through the layer: J. Chilwell and I. Hodgkinson, J. Opt. Soc. Am. A 1, 742
/// (1984), in a form that holds for every sign of q^2.
template <class T>
struct Transfer {
    T C, S, dC, dS;
    double growth;
};

/// For |q t| below the limit the series are good to rounding and free of cancellation.
template <class T>
Transfer<T> thinTransfer(const T& q2, double t) {
    const T z = q2 * (t * t);
    const T C = 1. + z / 2. * (1. + z / 12. * (1. + z / 30. * (1. + z / 56.)));
    const T S = t * (1. + z / 6. * (1. + z / 20. * (1. + z / 42. * (1. + z / 72.))));
    const T dS = t * t * t / 6. * (1. + z / 10. * (1. + z / 28. * (1. + z / 54.)));
    return {C, S, t * S / 2., dS, 0};
}
inline constexpr double thin = 1e-3;  ///< limit of |q t|^2

template <class T>
void addDerivatives(Transfer<T>& m, const T& q2, double t) {
    m.dC = t * m.S / 2.;
    m.dS = (t * m.C - m.S) / (2. * q2);
}

inline Transfer<double> transferOf(double q2, double t) {
    if (std::abs(q2) * t * t < thin) return thinTransfer(q2, t);
    Transfer<double> m{};
    const double q = std::sqrt(std::abs(q2));
    if (q2 > 0) {
        m.growth = q * t;
        const double lost = std::expm1(-2 * m.growth);
        m.C = 1 + lost / 2;
        m.S = -lost / (2 * q);
    } else {
        m.C = std::cos(q * t);
        m.S = std::sin(q * t) / q;
    }
    addDerivatives(m, q2, t);
    return m;
}

/// The root with a real part that is not negative: fields die away from the guide.
inline Complex decay(const Complex& q2) {
    const Complex q = std::sqrt(q2);
    return q.real() < 0 ? -q : q;
}

inline Transfer<Complex> transferOf(const Complex& q2, double t) {
    if (std::abs(q2) * t * t < thin) return thinTransfer(q2, t);
    Transfer<Complex> m{};
    const Complex q = decay(q2);
    m.growth = q.real() * t;
    const double angle = q.imag() * t;
    const Complex grown(std::cos(angle), std::sin(angle));
    const Complex decayed = std::exp(-2 * m.growth) * std::conj(grown);
    m.C = (grown + decayed) / 2.;
    m.S = (grown - decayed) / (2. * q);
    addDerivatives(m, q2, t);
    return m;
}

/// The root with a real part that is not negative: fields die away from the guide.
inline double decay(double q2) {
    return std::sqrt(q2);
}
/// exp(q t) without its growth.
inline double turned(double, double) {
    return 1;
}
inline Complex turned(const Complex& q, double t) {
    return {std::cos(q.imag() * t), std::sin(q.imag() * t)};
}
inline double realPart(double value) {
    return value;
}
inline double realPart(const Complex& value) {
    return value.real();
}

/// psi and phi at an interface, and their derivatives with respect to w.
template <class T>
struct State {
    T psi, phi, dpsi, dphi;

    /// At the edge of the substrate, where all decays away from the guide.
    static State start(const Medium<T>& substrate, const T& q) {
        return {T(1), q / substrate.p, T(0), substrate.s / (2. * q * substrate.p)};
    }

    /// Goes through a layer; answers the logarithm of the factor that was taken out.
    double cross(const Medium<T>& m, const T& q2) {
        double growth = 0;
        if (realPart(q2) > 0) {
            const T q = decay(q2);
            growth = realPart(q) * m.t;
            if (growth > 1) {
                growBy(m, q);
                return growth + normalise();
            }
        }
        const Transfer<T> f = transferOf(q2, m.t);
        crossBy(m, f, q2);
        return f.growth + normalise();
    }

private:
    void crossBy(const Medium<T>& m, const Transfer<T>& f, const T& q2) {
        const T back = q2 * f.S / m.p;
        const T dBack = m.s * (f.S + q2 * f.dS) / m.p;
        const T dC = m.s * f.dC;
        const State in = *this;
        psi = f.C * in.psi + m.p * f.S * in.phi;
        phi = back * in.psi + f.C * in.phi;
        dpsi = f.C * in.dpsi + m.p * f.S * in.dphi + dC * in.psi + m.p * m.s * f.dS * in.phi;
        dphi = back * in.dpsi + f.C * in.dphi + dBack * in.psi + dC * in.phi;
    }
    /// As the sum of a part that grows and one that falls: beyond a thick layer the first is nearly
    /// all there is, and by the matrix it would be a difference that rounding leaves nothing of.
    /// Guides that hardly know of each other would become one.
    void growBy(const Medium<T>& m, const T& q) {
        const T dq = m.s / (2. * q), slope = m.p / q;
        const T dSlope = -slope * dq / q;
        const T wave = turned(q, m.t);
        const T rest = std::exp(-2 * realPart(q) * m.t) / wave;
        const T rising = wave * (psi + slope * phi) / 2., falling = rest * (psi - slope * phi) / 2.;
        const T change = slope * dphi + dSlope * phi, along = m.t * dq;
        const T dRising = wave * (dpsi + change) / 2. + along * rising;
        const T dFalling = rest * (dpsi - change) / 2. - along * falling;
        psi = rising + falling;
        phi = (rising - falling) / slope;
        dpsi = dRising + dFalling;
        dphi = (dRising - dFalling - dSlope * phi) / slope;
    }
    /// Keeps the numbers from vanishing over thousands of layers.
    double normalise() {
        const double size = std::abs(psi) + std::abs(phi);
        if (size > 1e-60 && size < 1e60) return 0;
        if (!(size > 0) || !std::isfinite(size)) return 0;
        for (T* part : {&psi, &phi, &dpsi, &dphi}) *part *= 1 / size;
        return std::log(size);
    }
};

}  // namespace slab
