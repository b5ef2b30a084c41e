// Alloys of III-V semiconductors. All of them hold below the band gap.

#include "qvutils/common/materials/analyticmodel.h"

namespace qvanalytic {

namespace {

constexpr qvRange fractions{0, 1};

/// a + b x + c x^2 + ...
template <class... Rest>
constexpr double polynomial(double x, double a, Rest... rest) {
    if constexpr (sizeof...(rest) == 0)
        return a;
    else
        return a + x * polynomial(x, rest...);
}

// S. Gehrsitz, F. K. Reinhart, C. Gourgon, N. Herres, A. Vonlanthen, H. Sigg, "The refractive index
// of AlxGa1-xAs below the band gap: accurate determination and empirical modeling", J. Appl. Phys.
// 87, 7825 (2000). Energies are in wave numbers of 1/um. One circulating program has 7.717e-4 in A:
// only 7.178e-4 gives the paper's own table.
constexpr double gehrsitzPhotonEnergy = 1.239856;

double gapAlGaAs(double x, double T) {
    constexpr double kB = 8.61708e-5;
    // 1 - coth(E / (2 kB T)) is minus twice the mean number of phonons of the energy E.
    const auto phonons = [T](double energy) { return 2 / std::expm1(energy / (kB * T)); };
    const double gaAs = 1.5192 - 1.8 * 0.0159 * phonons(0.0159) - 1.1 * 0.0336 * phonons(0.0336);
    return gaAs + gehrsitzPhotonEnergy * x * (1.1308 + 0.1436 * x);
}

class AlGaAs {
public:
    AlGaAs(double x, double T, qvAxis)
        : x_(x),
          A_(polynomial(T, 5.9613, 7.178e-4, -0.953e-6) +
             x * polynomial(x, -16.159, 43.511, -71.317, 57.535, -17.451)),
          C0_(1 / polynomial(x, 50.535, -150.7, -62.209, 797.16, -1125, 503.79)),
          C1_(polynomial(x, 21.5647, 113.74, -122.5, 108.401, -47.318)),
          E1_(polynomial(T, 4.7171, -3.237e-4, -1.358e-6) + x * (11.006 - 3.08 * x)) {
        const double E0 = gapAlGaAs(x, T) / gehrsitzPhotonEnergy;
        E0_ = E0 * E0;
    }
    template <class S>
    S index(const S& lambda) const {
        const S e = 1.0 / (lambda * lambda);
        const S phonons = (1 - x_) * 1.55e-3 / (0.724e-3 - e) + x_ * 2.61e-3 / (1.331e-3 - e);
        return sqrt(A_ + C0_ / (E0_ - e) + C1_ / (E1_ - e) + phonons);
    }

private:
    double x_, A_, C0_, C1_, E1_, E0_;
};

// How the gaps of InP and of the alloys on it move with the temperature, from 300 K: the one of
// InP, I. Vurgaftman, J. R. Meyer, L. R. Ram-Mohan, J. Appl. Phys. 89, 5815 (2001). The models of
// these alloys were published for room temperature only. Here the index at another temperature is
// that of the composition that has the gap at 300 K: moving the gap alone would move the index 150
// times too little. For InP this gives dn/dT = 1.4e-4/K at 1.55 um where 1.9e-4/K was measured (E.
// Gini, H. Melchior, J. Appl. Phys. 79, 4335 (1996)).
double gapShift(double T) {
    const auto varshni = [](double t) { return -0.363e-3 * t * t / (t + 162); };
    return varshni(T) - varshni(300);
}

// R. E. Nahory, M. A. Pollack, W. D. Johnston, R. L. Barns, Appl. Phys. Lett. 33, 659 (1978).
double gapInGaAsP(double y, double T) {
    return polynomial(y, 1.35, -0.72, 0.12) + gapShift(T);
}

// F. Fiedler, A. Schlachetzki, "Optical parameters of InP-based waveguides", Solid-State Electron.
// 30, 73 (1987): a single oscillator and an edge at the gap.
class InGaAsP1 {
public:
    InGaAsP1(double y, double T, qvAxis) {
        const double gap = gapInGaAsP(y, T);
        const double y300 = (0.72 - std::sqrt(0.72 * 0.72 - 4 * 0.12 * (1.35 - gap))) / (2 * 0.12);
        const double Ed = polynomial(y300, 28.91, -9.278, 5.626);
        const double E0 = polynomial(y300, 3.391, -1.652, 0.863, -0.123);
        gap_ = gap * gap;
        edge_ = 2 * E0 * E0 - gap_;
        constant_ = 1 + Ed / E0;
        square_ = Ed / (E0 * E0 * E0);
        fourth_ = square_ / (2 * (E0 * E0 - gap_));
    }
    template <class S>
    S index(const S& lambda) const {
        const S E = photonEnergy / lambda;
        const S e = E * E;
        return sqrt(constant_ + e * (square_ + fourth_ * e * log((edge_ - e) / (gap_ - e))));
    }

private:
    double gap_, edge_, constant_, square_, fourth_;
};

// C. H. Henry, L. F. Johnson, R. A. Logan, D. P. Clarke, "Determination of the refractive index of
// InGaAsP epitaxial layers by mode line luminescence spectroscopy", IEEE J. Quantum Electron. 21,
// 1887 (1985): two oscillators placed by the peak of the photoluminescence, taken to be at the gap.
class InGaAsP2 {
public:
    InGaAsP2(double y, double T, qvAxis) {
        const double peak = gapInGaAsP(y, T);
        strength1_ = polynomial(peak, 13.3510, -5.4554, 1.2332);
        strength2_ = 0.7140 - 0.3606 * peak;
        pole1_ = (peak + 2.5048) * (peak + 2.5048);
        pole2_ = (peak + 0.1638) * (peak + 0.1638);
    }
    template <class S>
    S index(const S& lambda) const {
        const S E = photonEnergy / lambda;
        const S e = E * E;
        return sqrt(1.0 + strength1_ * pole1_ / (pole1_ - e) + strength2_ * pole2_ / (pole2_ - e));
    }

private:
    double strength1_, strength2_, pole1_, pole2_;
};

// D. Olego, T. Y. Chang, E. Silberg, E. A. Caridi, A. Pinczuk, Appl. Phys. Lett. 41, 476 (1982).
double gapInGaAlAs(double z, double T) {
    return polynomial(z, 0.76, 0.49, 0.20) + gapShift(T);
}

// M. J. Mondry, D. I. Babic, J. E. Bowers, L. A. Coldren, "Refractive indexes of (Al,Ga,In)As
// epilayers on InP for optoelectronic applications", IEEE Photon. Technol. Lett. 4, 627 (1992).
class InGaAlAs1 {
public:
    InGaAlAs1(double z, double T, qvAxis) {
        const double gap = gapInGaAlAs(z, T);
        const double z300 = (-0.49 + std::sqrt(0.49 * 0.49 - 4 * 0.20 * (0.76 - gap))) / (2 * 0.20);
        const double C = polynomial(z300, 1.1024, -0.7020, 0.3304);
        A_ = 9.689 - 1.012 * z300;
        B_ = 1.590 - 0.376 * z300;
        C_ = C * C;
    }
    template <class S>
    S index(const S& lambda) const {
        const S L = lambda * lambda;
        return sqrt(A_ + B_ * L / (L - C_));
    }

private:
    double A_, B_, C_;
};

constexpr const char* temperatureOfInP =
    "The temperature is an addition: the index of the composition that has the gap at 300 K.";

}  // namespace

constinit const qvAnalyticMaterial algaas{
    .keyword = "ANAL_ALGAAS",
    .name = "AlGaAs",
    .model = "Gehrsitz et al. 2000",
    .reference = "S. Gehrsitz et al., J. Appl. Phys. 87, 7825 (2000)",
    .note = "Above mx = 0.45 the gap is indirect; the limit is the direct gap all the same.",
    .mxLabel = "mx:Al-frac",
    .lambda = {0.4, 3},
    .mx = fractions,
    .temperature = {103, 313},
    .reach = {0.3, 25},
    .referenceTemperature = 300,
    .photonEnergy = gehrsitzPhotonEnergy,
    .gapLimits = true,
    .gapMargin = 0.03,
    .gapMessage = "Photon energy was above bandgap of %s(%.16g)",
    .gap = gapAlGaAs,
    .functions = functionsOf<AlGaAs>()};

constinit const qvAnalyticMaterial ingaasp1{
    .keyword = "ANAL_INGAASP1",
    .name = "InGaAsP",
    .model = "Fiedler & Schlachetzki 1987",
    .reference = "F. Fiedler, A. Schlachetzki, Solid-State Electron. 30, 73 (1987)",
    .note = temperatureOfInP,
    .mxLabel = "mx:As-frac",
    .lambda = {0.85, 5},
    .mx = fractions,
    .temperature = {250, 400},
    .reach = {0.5, 30},
    .referenceTemperature = 300,
    .gapLimits = true,
    .gapMargin = 0.03,
    .gap = gapInGaAsP,
    .functions = functionsOf<InGaAsP1>()};

constinit const qvAnalyticMaterial ingaasp2{
    .keyword = "ANAL_INGAASP2",
    .name = "InGaAsP",
    .model = "Henry et al. 1985",
    .reference = "C. H. Henry et al., IEEE J. Quantum Electron. 21, 1887 (1985)",
    .note = temperatureOfInP,
    .mxLabel = "mx:As-frac",
    .lambda = {0.85, 5},
    .mx = fractions,
    .temperature = {250, 400},
    .reach = {0.5, 30},
    .referenceTemperature = 300,
    .gapLimits = true,
    .gap = gapInGaAsP,
    .functions = functionsOf<InGaAsP2>()};

constinit const qvAnalyticMaterial ingaalas1{
    .keyword = "ANAL_INGAALAS1",
    .name = "InGaAlAs",
    .model = "Mondry et al. 1992",
    .reference = "M. J. Mondry et al., IEEE Photon. Technol. Lett. 4, 627 (1992)",
    .note = temperatureOfInP,
    .mxLabel = "mx:Al-frac/0.48",
    .lambda = {1.0, 2.0},
    .mx = {0.3, 1},
    .temperature = {250, 400},
    .reach = {0.5, 30},
    .referenceTemperature = 300,
    .gapLimits = true,
    .gap = gapInGaAlAs,
    .functions = functionsOf<InGaAlAs1>()};

}  // namespace qvanalytic
