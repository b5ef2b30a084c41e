#pragma once
#include <complex>
#include <string>
#include <vector>

/// Guided modes of planar multilayer waveguides. Nothing in here knows projects or materials.
///
/// Layers are stacked along x, from the substrate (x < 0) to the cover; modes travel along z as
/// exp(i k0 N z - i w t) with the effective index N. A lossy layer has a permittivity with a
/// positive imaginary part, and so has N of a mode that loses power. Lengths are in micrometres.
namespace slab {

using Complex = std::complex<double>;

enum class Polarisation { TE, TM };

/// A layer of a material whose tensor of permittivity is diagonal in the axes of the stack.
struct Layer {
    double thickness = 0;  ///< not used for the first layer and the last
    /// The permittivity that the electric field across the guide meets: that along y for TE, that
    /// along x for TM.
    Complex eps = 1;
    /// That along z, which TM modes meet as well.
    Complex epsAlong = 1;
    /// k0 d(eps)/d(k0) of the two.
    Complex dispersion = 0;
    Complex dispersionAlong = 0;

    bool operator==(const Layer&) const = default;
};

struct Stack {
    double wavelength = 0;
    Polarisation polarisation = Polarisation::TE;
    std::vector<Layer> layers;

    bool operator==(const Stack&) const = default;

    double wavenumber() const;
    /// Why no modes can be looked for, naming the layer (from 1) and the value; empty for nothing.
    std::string flaw() const;
};

/// What a search is limited to.
inline constexpr int maxLayers = 10000;
inline constexpr int maxModes = 1000;
inline constexpr std::size_t maxFields = 1'000'000;  ///< modes times layers

/// The waveguide in units of 1/k0. In each layer psi (Ey of TE, Hy of TM) and phi obey
///     psi' = p phi,   phi' = q^2 / p psi,   q^2 = s (w - eps),   w = N^2
/// and are continuous across the interfaces.
template <class T>
struct Medium {
    T eps;
    T p;  ///< 1 for TE, the permittivity along z for TM
    T s;  ///< 1 unless TM modes meet two permittivities
    double t;

    T q2(const T& w) const { return s * (w - eps); }
};
template <class T>
using Media = std::vector<Medium<T>>;

Media<Complex> mediaOf(const Stack& stack);

}  // namespace slab
