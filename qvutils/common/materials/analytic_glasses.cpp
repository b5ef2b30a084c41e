// Glasses and crystals that are transparent over the range of their models.

#include "qvutils/common/materials/analyticmodel.h"

namespace qvanalytic {

namespace {

/// strength lambda^2 / (lambda^2 - pole), L = lambda^2.
template <class S>
S term(const S& L, double strength, double pole) {
    return strength * L / (L - pole);
}

constexpr double square(double x) {
    return x * x;
}

// G. Ghosh, M. Endo, T. Iwasaki, "Temperature-dependent Sellmeier coefficients and chromatic
// dispersions for some optical fiber glasses", J. Lightwave Technol. 12, 1338 (1994). At 20 C it
// lies 1e-4 above Malitson's index, so only differences between temperatures are taken from it.
// They are some 14 % larger than D. B. Leviton, B. J. Frey, Proc. SPIE 6273, 62732K (2006)
// measured.
class GhoshSilica {
public:
    explicit GhoshSilica(double T) {
        const double t = T - celsius;
        A_ = 1.31552 + 6.90754e-6 * t;
        B_ = 0.788404 + 2.35835e-5 * t;
        C_ = 1.10199e-2 + 5.84758e-7 * t;
        D_ = 0.91316 + 5.48368e-7 * t;
    }
    template <class S>
    S index(const S& L) const {
        return sqrt(A_ + term(L, B_, C_) + term(L, D_, 100));
    }

private:
    double A_, B_, C_, D_;
};

/// The change of silica's index from 20 C to T.
class SilicaShift {
public:
    explicit SilicaShift(double T) : warm_(T) {}
    template <class S>
    S index(const S& L) const {
        return warm_.index(L) - cool().index(L);
    }

private:
    static GhoshSilica cool() { return GhoshSilica(293.15); }

    GhoshSilica warm_;
};

struct Sellmeier3 {
    double strength[3];
    double pole[3];  ///< wavelengths
};

// I. H. Malitson, "Interspecimen comparison of the refractive index of fused silica", J. Opt. Soc.
// Am. 55, 1205 (1965); C. Z. Tan, J. Non-Cryst. Solids 223, 158 (1998) confirms it up to 6.7 um.
constexpr Sellmeier3 malitson{{0.6961663, 0.4079426, 0.8974794}, {0.0684043, 0.1162414, 9.896161}};

// J. W. Fleming, "Dispersion in GeO2-SiO2 glasses", Appl. Opt. 23, 4486 (1984).
constexpr Sellmeier3 germania{{0.80686642, 0.71815848, 0.85416831},
                              {0.068972606, 0.15396605, 11.841931}};

/// Strengths and pole wavelengths between those of silica and of germania.
class SiO2GeO2A {
public:
    SiO2GeO2A(double x, double T, qvAxis) : shift_(T) {
        for (int i = 0; i < 3; i++) {
            strength_[i] = malitson.strength[i] + x * (germania.strength[i] - malitson.strength[i]);
            pole_[i] = square(malitson.pole[i] + x * (germania.pole[i] - malitson.pole[i]));
        }
    }
    template <class S>
    S index(const S& lambda) const {
        const S L = lambda * lambda;
        return sqrt(1.0 + term(L, strength_[0], pole_[0]) + term(L, strength_[1], pole_[1]) +
                    term(L, strength_[2], pole_[2])) +
               shift_.index(L);
    }

private:
    double strength_[3], pole_[3];
    SilicaShift shift_;
};

class Silica1 : public SiO2GeO2A {
public:
    Silica1(double, double T, qvAxis axis) : SiO2GeO2A(0, T, axis) {}
};

// H. R. D. Sunak, S. P. Bastien, "Refractive index and material dispersion interpolation of doped
// silica in the 0.6-1.8 um wavelength region", IEEE Photon. Technol. Lett. 1, 142 (1989): the
// polarisabilities of Clausius and Mossotti are linear in the fraction. The third B stands with a
// digit less (-0.164179581) in one copy: it would change the index by less than 5e-4.
class SiO2GeO2B {
public:
    SiO2GeO2B(double x, double T, qvAxis)
        : strength_{0.2045154578 - 0.1011783769 * x, 0.06451676258 + 0.1778934999 * x,
                    0.1311583151 - 0.1064179581 * x},
          shift_(T) {}
    template <class S>
    S index(const S& lambda) const {
        const S L = lambda * lambda;
        const S s = term(L, strength_[0], square(0.06130807320)) +
                    term(L, strength_[1], square(0.1108859848)) +
                    term(L, strength_[2], square(8.964441861));
        return sqrt((1.0 + 2.0 * s) / (1.0 - s)) + shift_.index(L);
    }

private:
    double strength_[3];
    SilicaShift shift_;
};

// H. H. Li, "Refractive index of silicon and germanium and its wavelength and temperature
// derivatives", J. Phys. Chem. Ref. Data 9, 561 (1980). The two branches of the expansion differ by
// 4e-6 at 293 K; the index jumps by less than 2e-6 there.
class Silicon2 {
public:
    Silicon2(double, double T, qvAxis) {
        const double expansion = T < 293
                                     ? -2.1e-4 + T * (-4.149e-7 + T * (-4.620e-10 + T * 1.482e-11))
                                     : -7.1e-4 + T * (1.887e-6 + T * (1.934e-9 + T * -4.544e-13));
        eps_ = 11.4445 + T * (2.7739e-4 + T * (1.7050e-6 + T * -8.1347e-10));
        slope_ = std::exp(-3 * expansion) * (0.8948 + T * (4.3977e-4 + T * 7.3835e-8));
    }
    template <class S>
    S index(const S& lambda) const {
        return sqrt(eps_ + slope_ / (lambda * lambda));
    }

private:
    double eps_, slope_;
};

// C. D. Salzberg, J. J. Villa, J. Opt. Soc. Am. 47, 244 (1957), as fitted by B. Tatian, "Fitting
// refractive-index data with the Sellmeier dispersion formula", Appl. Opt. 23, 4477 (1984), at 26
// C. Other temperatures by Li's differences.
class Silicon1 {
public:
    Silicon1(double mx, double T, qvAxis axis)
        : warm_(mx, T, axis), cool_(mx, referenceTemperature, axis) {}
    template <class S>
    S index(const S& lambda) const {
        const S L = lambda * lambda;
        const S n =
            sqrt(1.0 + term(L, 10.6684293, square(0.301516485)) +
                 term(L, 0.0030434748, square(1.13475115)) + term(L, 1.54133408, square(1104)));
        return n + warm_.index(lambda) - cool_.index(lambda);
    }
    static constexpr double referenceTemperature = 299.15;

private:
    Silicon2 warm_, cool_;
};

// C. D. Thurmond, J. Electrochem. Soc. 122, 1133 (1975): the indirect gap.
double gapSilicon(double, double T) {
    return 1.17 - 0.473e-3 * T * T / (T + 636);
}

// G. J. Edwards, M. Lawrence, "A temperature-dependent dispersion equation for congruently grown
// lithium niobate", Opt. Quantum Electron. 16, 373 (1984).
class LiNbO3 {
public:
    LiNbO3(double, double T, qvAxis axis) {
        const Ray& ray = axis == qvAxis::Ordinary ? ordinary : extraordinary;
        const double t = T - celsius;
        const double F = (t - 24.5) * (t + 570.5);
        constant_ = ray.A1 + ray.B3 * F;
        strength_ = ray.A2 + ray.B1 * F;
        pole_ = square(ray.A3 + ray.B2 * F);
        slope_ = ray.A4;
    }
    template <class S>
    S index(const S& lambda) const {
        const S L = lambda * lambda;
        return sqrt(constant_ + strength_ / (L - pole_) - slope_ * L);
    }

private:
    struct Ray {
        double A1, A2, A3, A4, B1, B2, B3;
    };
    static constexpr Ray ordinary{4.9048,    0.11775,    0.21802,  0.027153,
                                  2.2314e-8, -2.9671e-8, 2.1429e-8};
    static constexpr Ray extraordinary{4.5820,    0.09921,    0.21090,  0.021940,
                                       5.2716e-8, -4.9143e-8, 2.2971e-7};

    double constant_, strength_, pole_, slope_;
};

// K. Luke, Y. Okawachi, M. R. E. Lamont, A. L. Gaeta, M. Lipson, "Broadband mid-infrared frequency
// comb generation in a Si3N4 microresonator", Opt. Lett. 40, 4823 (2015); dn/dT at 1.55 um of A.
// Arbabi, L. L. Goddard, Opt. Lett. 38, 3878 (2013). Films differ by more than 0.02 among each
// other.
class SiN1 {
public:
    SiN1(double, double T, qvAxis) : shift_(2.45e-5 * (T - 298.15)) {}
    template <class S>
    S index(const S& lambda) const {
        const S L = lambda * lambda;
        return sqrt(1.0 + term(L, 3.0249, square(0.1353406)) + term(L, 40314, square(1239.842))) +
               shift_;
    }

private:
    double shift_;
};

constexpr const char* silicaShift =
    "The temperature is an addition: the change of silica's index, "
    "G. Ghosh et al., J. Lightwave Technol. 12, 1338 (1994).";

}  // namespace

constinit const qvAnalyticMaterial sio2geo2a{
    .keyword = "ANAL_SIO2GEO2A",
    .name = "SiO2-GeO2",
    .model = "Fleming 1984",
    .reference = "J. W. Fleming, Appl. Opt. 23, 4486 (1984)",
    .note = silicaShift,
    .mxLabel = "mx:GeO2-frac",
    .lambda = {0.36, 4.3},
    .mx = {0, 1},
    .temperature = {273, 400},
    .reach = {0.16, 9.5},
    .referenceTemperature = 293.15,
    .functions = functionsOf<SiO2GeO2A>()};

constinit const qvAnalyticMaterial sio2geo2b{
    .keyword = "ANAL_SIO2GEO2B",
    .name = "SiO2-GeO2",
    .model = "Sunak & Bastien 1989",
    .reference = "H. R. D. Sunak, S. P. Bastien, IEEE Photon. Technol. Lett. 1, 142 (1989)",
    .note = silicaShift,
    .mxLabel = "mx:GeO2-frac",
    .lambda = {0.6, 1.8},
    .mx = {0, 0.2},
    .temperature = {273, 400},
    .reach = {0.16, 8.5},
    .referenceTemperature = 293.15,
    .functions = functionsOf<SiO2GeO2B>()};

constinit const qvAnalyticMaterial silica1{
    .keyword = "ANAL_SILICA1",
    .name = "SiO2",
    .model = "Malitson 1965",
    .reference = "I. H. Malitson, J. Opt. Soc. Am. 55, 1205 (1965)",
    .note = silicaShift,
    .lambda = {0.21, 6.7},
    .temperature = {273, 400},
    .reach = {0.14, 9.5},
    .referenceTemperature = 293.15,
    .functions = functionsOf<Silica1>()};

constinit const qvAnalyticMaterial silicon1{
    .keyword = "ANAL_SILICON1",
    .name = "Si",
    .model = "Salzberg & Villa 1957",
    .reference =
        "C. D. Salzberg, J. J. Villa, J. Opt. Soc. Am. 47, 244 (1957); B. Tatian, "
        "Appl. Opt. 23, 4477 (1984)",
    .note = "The temperature is an addition: differences of Li 1980.",
    .lambda = {1.357, 11.04},
    .temperature = {200, 700},
    .reach = {1.14, 100},
    .referenceTemperature = Silicon1::referenceTemperature,
    .gap = gapSilicon,
    .functions = functionsOf<Silicon1>()};

constinit const qvAnalyticMaterial silicon2{
    .keyword = "ANAL_SILICON2",
    .name = "Si",
    .model = "Li 1980",
    .reference = "H. H. Li, J. Phys. Chem. Ref. Data 9, 561 (1980)",
    .lambda = {1.2, 14},
    .temperature = {100, 750},
    .reach = {1, 1000},
    .referenceTemperature = 293,
    .gap = gapSilicon,
    .functions = functionsOf<Silicon2>()};

constinit const qvAnalyticMaterial linbo3{
    .keyword = "ANAL_LINBO3",
    .name = "LiNbO3",
    .model = "Edwards & Lawrence 1984",
    .reference = "G. J. Edwards, M. Lawrence, Opt. Quantum Electron. 16, 373 (1984)",
    .note = "Congruent crystal, optic axis z: n is the ordinary index along x and y.",
    .lambda = {0.4, 3.1},
    .temperature = {290, 500},
    .reach = {0.25, 12},
    .referenceTemperature = 297.65,
    .uniaxial = true,
    .functions = functionsOf<LiNbO3>()};

constinit const qvAnalyticMaterial sin1{
    .keyword = "ANAL_SIN1",
    .name = "Si3N4",
    .model = "Luke et al. 2015",
    .reference = "K. Luke et al., Opt. Lett. 40, 4823 (2015)",
    .note =
        "LPCVD film. The temperature is an addition: A. Arbabi, L. L. Goddard, Opt. Lett. 38, "
        "3878 (2013).",
    .lambda = {0.31, 5.504},
    .temperature = {273, 423},
    .reach = {0.15, 12},
    .referenceTemperature = 298.15,
    .functions = functionsOf<SiN1>()};

}  // namespace qvanalytic
