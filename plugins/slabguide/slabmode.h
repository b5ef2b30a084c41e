#pragma once
#include <functional>
#include <string>
#include <vector>

#include "plugins/slabguide/slabstack.h"

namespace slab {

/// A guided mode. Its field is Ey for TE and Hy for TM, with x = 0 at the edge of the substrate. It
/// is normalised so that the integral of |field|^2 over x in micrometres is 1, and real and
/// positive where it leaves the substrate.
class Mode {
public:
    /// `w` is the square of the effective index, as found for the stack. Of several modes with the
    /// same one, each in a guide of its own within the stack, `rank` says which (from 0).
    Mode(const Stack& stack, const Complex& w, int rank = 0);

    /// The sign is such that power flows towards +z: Re N is negative where the phase runs the
    /// other way, as it may beside metals.
    const Complex& neff() const { return neff_; }
    /// Loss of power in dB/cm, negative for gain: (20 / ln 10) k0 Im N.
    double loss() const { return loss_; }
    /// d(beta)/d(k0), exact, dispersion of the materials included: its real part. By first-order
    /// perturbation theory, e.g. H. Kogelnik in Guided-Wave Optoelectronics, ch. 2 (1988), with
    /// integrals of the field squared, not of its modulus, so that it holds for lossy guides too.
    double groupIndex() const { return groupIndex_; }
    /// The part of the power that flows along z within a layer (from 0): the integral of
    /// Re(E x H*)_z there over that everywhere. In a metal it may be negative.
    double confinement(std::size_t layer) const { return sections_[layer].confinement; }
    std::size_t layers() const { return sections_.size(); }
    Complex field(double x) const;

private:
    Complex complexField(double x) const;

    /// A layer with the field in it, u counted from its lower edge in units of 1/k0.
    struct Section {
        Complex q, p, q2;
        double start = 0;        ///< x of the lower edge in micrometres
        double t = 0;            ///< 0 for the outer ones
        Complex psi, phi, next;  ///< at the lower edge; psi at the upper one
        /// Far from q t = 0: psi = falling exp(-q u) + rising exp(-q (t - u)).
        Complex falling, rising;
        bool exponential = false;
        double confinement = 0;

        void split();
        Complex at(double u) const;
        struct Integrals {
            Complex square;       ///< of psi^2
            Complex slopeSquare;  ///< of psi'^2
            double norm;          ///< of |psi|^2
        };
        Integrals integrals() const;
        Integrals sampledIntegrals() const;
    };

    void shoot(const Media<Complex>& media, const Complex& w, int rank);
    void integrate(const Stack& stack, const Media<Complex>& media, const Complex& w);

    Complex neff_;
    double k0_ = 0;
    double loss_ = 0;
    double groupIndex_ = 0;
    bool real_ = false;  ///< the field is
    std::vector<Section> sections_;
};

struct Solution {
    std::vector<Mode> modes;  ///< the largest Re N first
    std::string error;        ///< why there are none; empty when there are none to be found
    bool stopped = false;     ///< there are none because the search was stopped
};

/// Finds all guided modes of a stack. `stop` is asked every few milliseconds whether to give up.
Solution solve(const Stack& stack, std::function<bool()> stop = {});

}  // namespace slab
