// Metals: A. D. Rakic, A. B. Djurisic, J. M. Elazar, M. L. Majewski, "Optical properties of
// metallic films for vertical-cavity optoelectronic devices", Appl. Opt. 37, 5271 (1998). Films of
// different make differ from the models and from each other by 5 to 20 % of the index.

#include "qvutils/common/materials/analyticmodel.h"
#include "qvutils/common/materials/faddeeva.h"

namespace qvanalytic {

namespace {

/// Energies in eV, as in the paper's tables.
struct Resonance {
    double strength, damping, energy;
    double spread = 0;  ///< of the Brendel-Bormann model
};

struct Metal {
    double plasma;
    Resonance free;  ///< the free electrons: no energy
    Resonance bound[5];
    int count;
};

// The Lorentz-Drude model.
constexpr Metal aluminiumLd{
    14.98,
    {0.523, 0.047, 0},
    {{0.227, 0.333, 0.162}, {0.050, 0.312, 1.544}, {0.166, 1.351, 1.808}, {0.030, 3.382, 3.473}},
    4};
constexpr Metal goldLd{9.03,
                       {0.760, 0.053, 0},
                       {{0.024, 0.241, 0.415},
                        {0.010, 0.345, 0.830},
                        {0.071, 0.870, 2.969},
                        {0.601, 2.494, 4.304},
                        {4.384, 2.214, 13.32}},
                       5};
constexpr Metal platinumLd{
    9.59,
    {0.333, 0.080, 0},
    {{0.191, 0.517, 0.780}, {0.659, 1.838, 1.314}, {0.547, 3.668, 3.141}, {3.576, 8.517, 9.249}},
    4};
constexpr Metal silverLd{9.01,
                         {0.845, 0.048, 0},
                         {{0.065, 3.886, 0.816},
                          {0.124, 0.452, 4.481},
                          {0.011, 0.065, 8.185},
                          {0.840, 0.916, 9.083},
                          {5.646, 2.419, 20.29}},
                         5};
constexpr Metal tungstenLd{
    13.22,
    {0.206, 0.064, 0},
    {{0.054, 0.530, 1.004}, {0.166, 1.281, 1.917}, {0.706, 3.332, 3.580}, {2.590, 5.836, 7.498}},
    4};
constexpr Metal nickelLd{
    15.92,
    {0.096, 0.048, 0},
    {{0.100, 4.511, 0.174}, {0.135, 1.334, 0.582}, {0.106, 2.178, 1.597}, {0.729, 6.292, 6.089}},
    4};

// The Brendel-Bormann model: resonances with a normal distribution of energies. R. Brendel, D.
// Bormann, J. Appl. Phys. 71, 1 (1992).
constexpr Metal aluminiumBb{14.98,
                            {0.526, 0.047, 0},
                            {{0.213, 0.312, 0.163, 0.013},
                             {0.060, 0.315, 1.561, 0.042},
                             {0.182, 1.587, 1.827, 0.256},
                             {0.014, 2.145, 4.495, 1.735}},
                            4};

/// 1 - strength plasma^2 / (E (E + i damping)) of the free electrons.
template <const Metal& metal, class S>
Parts<S> freeElectrons(const S& E) {
    constexpr double strength = metal.free.strength * metal.plasma * metal.plasma;
    const S part = strength / (E * E + metal.free.damping * metal.free.damping);
    return {1.0 - part, part * metal.free.damping / E};
}

template <const Metal& metal>
class LorentzDrude {
public:
    LorentzDrude(double, double, qvAxis) {}
    template <class S>
    Parts<S> index(const S& lambda) const {
        const S E = photonEnergy / lambda;
        const S e = E * E;
        Parts<S> eps = freeElectrons<metal>(E);
        for (int j = 0; j < metal.count; j++) {
            const Resonance& r = metal.bound[j];
            const S distance = r.energy * r.energy - e;
            const S damping = E * r.damping;
            const S part = r.strength * metal.plasma * metal.plasma /
                           (distance * distance + damping * damping);
            eps.re = eps.re + part * distance;
            eps.im = eps.im + part * damping;
        }
        return indexOf(eps.re, eps.im);
    }
};

inline Complex complexNumber(double x) {
    return x;
}
inline QVDual<Complex> complexNumber(const Dual& x) {
    return {x.value, x.slope};
}
inline Parts<double> partsOf(const Complex& z) {
    return {z.real(), z.imag()};
}
inline Parts<Dual> partsOf(const QVDual<Complex>& z) {
    return {{z.value.real(), z.slope.real()}, {z.value.imag(), z.slope.imag()}};
}

template <const Metal& metal>
class BrendelBormann {
public:
    BrendelBormann(double, double, qvAxis) {}
    template <class S>
    Parts<S> index(const S& lambda) const {
        const S E = photonEnergy / lambda;
        Parts<S> eps = freeElectrons<metal>(E);
        for (int j = 0; j < metal.count; j++) {
            const Parts<S> part = partsOf(bound(complexNumber(E), metal.bound[j]));
            eps.re = eps.re + part.re;
            eps.im = eps.im + part.im;
        }
        return indexOf(eps.re, eps.im);
    }

private:
    /// C is Complex or a QVDual of it.
    template <class C>
    static C bound(const C& E, const Resonance& r) {
        constexpr double sqrtPiBy8 = 0.62665706865775012560;
        const C a = sqrt(E * E + Complex(0, r.damping) * E);
        const Complex scale = 1 / (std::numbers::sqrt2 * r.spread);
        const C sum = qvfaddeeva::w((a - Complex(r.energy)) * scale) +
                      qvfaddeeva::w((a + Complex(r.energy)) * scale);
        const Complex strength(0, sqrtPiBy8 * r.strength * metal.plasma * metal.plasma / r.spread);
        return strength * sum / a;
    }
};

/// A metal at room temperature; the range of photon energies is the one of the fit, in eV.
template <class Model>
constexpr qvAnalyticMaterial metalRow(const char* keyword, const char* name, const char* model,
                                      qvRange energy) {
    return {.keyword = keyword,
            .name = name,
            .model = model,
            .reference = "A. D. Rakic et al., Appl. Opt. 37, 5271 (1998)",
            .note = "Evaporated film at room temperature; the temperature plays no part.",
            .lambda = {photonEnergy / energy.high, photonEnergy / energy.low},
            .temperature = {270, 330},
            .reach = {1e-3, 1e5},
            .referenceTemperature = 300,
            .lossy = true,
            .functions = functionsOf<Model>()};
}

constexpr const char* lorentzDrude = "Rakic et al. 1998, Lorentz-Drude";

}  // namespace

constinit const qvAnalyticMaterial aluminium =
    metalRow<LorentzDrude<aluminiumLd>>("ANAL_ALUMINIUM", "Al", lorentzDrude, {0.0062, 20});
constinit const qvAnalyticMaterial aluminium2 = metalRow<BrendelBormann<aluminiumBb>>(
    "ANAL_ALUMINIUM2", "Al", "Rakic et al. 1998, Brendel-Bormann", {0.0062, 20});
constinit const qvAnalyticMaterial gold =
    metalRow<LorentzDrude<goldLd>>("ANAL_GOLD", "Au", lorentzDrude, {0.125, 6});
constinit const qvAnalyticMaterial platinum =
    metalRow<LorentzDrude<platinumLd>>("ANAL_PLATINUM", "Pt", lorentzDrude, {0.1, 5});
constinit const qvAnalyticMaterial silver =
    metalRow<LorentzDrude<silverLd>>("ANAL_SILVER", "Ag", lorentzDrude, {0.1, 6});
constinit const qvAnalyticMaterial tungsten =
    metalRow<LorentzDrude<tungstenLd>>("ANAL_TUNGSTEN", "W", lorentzDrude, {0.1, 5});
constinit const qvAnalyticMaterial nickel =
    metalRow<LorentzDrude<nickelLd>>("ANAL_NICKEL", "Ni", lorentzDrude, {0.2, 5});

}  // namespace qvanalytic
