#pragma once
#include <array>
#include <complex>
#include <cstddef>
#include <memory>
#include <optional>
#include <variant>
#include <vector>

#include "qvutils/common/formula/qvfnparserComm.h"
#include "qvutils/common/platform/qvexport.h"
#include "qvutils/common/text/qvstring.h"
#include "qvutils/qvnr/func2d.h"

struct qvAnalyticMaterial;

/// What the keywords of a material's definition say, one structure per property.
///
/// Units: wavelengths in micrometres, temperatures in kelvin, loss in 1/cm of power, photon
/// energies in eV, carrier densities N in 1e18 per cubic centimetre. Fields vary in time with
/// exp(-i w t), so a lossy medium has positive imaginary permittivity.
namespace qvmaterial {

/// c[0] + c[1] x + c[2] x^2 + ...; nothing when there are no coefficients.
template <class T>
struct Polynomial {
    std::vector<T> c;

    bool defined() const { return !c.empty(); }
    template <class X>
    auto value(const X& x) const {
        using Value = decltype(T() * x);
        const T* const first = c.data();
        const T* next = first + c.size();
        if (next == first) return Value{};
        Value sum = *--next;
        while (next != first) sum = sum * x + Value(*--next);
        return sum;
    }
};

/// One model for all directions, or one for each of xx, yy, zz.
template <class Model>
struct PerAxis {
    std::array<Model, 3> axis;
    bool isotropic = true;

    const Model& operator[](int i) const { return axis[isotropic ? 0U : static_cast<unsigned>(i)]; }
};

/// The sum of polynomials in mx, lambda - LAMBDA_REF and T - TEMP_REF (..._POLYX, _POLYL, _POLYT);
/// each may be undefined.
template <class T>
struct Polynomials {
    PerAxis<Polynomial<T>> x;
    PerAxis<Polynomial<T>> l;
    PerAxis<Polynomial<T>> t;

    bool defined() const {
        return x.axis[0].defined() || l.axis[0].defined() || t.axis[0].defined();
    }
    bool isotropic() const { return x.isotropic && l.isotropic && t.isotropic; }
};

/// RIX_SELLMEIER: n^2 = 1 + sum strength lambda^2 / (lambda^2 - pole); poles in square micrometres.
struct SellmeierTerms {
    static constexpr int maxTerms = 10;
    int count = 0;
    std::array<double, maxTerms> strength{};
    std::array<double, maxTerms> pole{};
};
struct SellmeierModel {
    PerAxis<SellmeierTerms> terms;
};

/// RIX_A1L: n^2 = c0 + c1 / (lambda^2 - c2) - c3 lambda^2.
struct OnePoleModel {
    static constexpr int size = 4;
    PerAxis<std::array<double, size>> c;
};

/// RIX_A2L: n^2 = c0 + c1 lambda^2 / (lambda^2 - c2) + c3 lambda^2 / (lambda^2 - c4)
///                - c5 lambda^2.
struct TwoPoleModel {
    static constexpr int size = 6;
    PerAxis<std::array<double, size>> c;
};

/// A compiled formula of the parameters lambda, mxFrac, myFrac and T (1 to 4 in this order).
template <class T>
struct ExpressionModel {
    PerAxis<QVExpression<T>> formula;
};
enum ExpressionParameter { paramLambda = 1, paramMx, paramMy, paramT };

/// A function of (mx, my) from a data block. Copies of a material share it; it never changes.
struct FuncXYModel {
    QVString blockName;
    std::shared_ptr<const PolyOrSplineFunc2DBase> function;
};

/// One of the built-in dispersion models.
struct AnalyticModel {
    const qvAnalyticMaterial* row = nullptr;
};

/// infinity + sum strength / (1 - i w tau); tau in picoseconds.
struct DebyeModel {
    struct Term {
        double strength;
        double tau;
    };
    double infinity = 1;
    std::vector<Term> terms;
};

/// infinity + sum plasma^2 / (resonance^2 - E^2 - i E damping), all in eV; a term whose resonance
/// is 0 is one of free carriers (Drude).
struct DrudeLorentzModel {
    struct Term {
        double plasma;
        double resonance;
        double damping;
    };
    double infinity = 1;
    std::vector<Term> terms;
};

/// A number, or a formula in its place.
struct Constant {
    std::variant<double, QVExpressionR> value = 0.0;
};

/// Angles in degrees, each a number or taken from a composition fraction.
struct Angle {
    enum Source { fixed, useMx, useMy };
    Source source = fixed;
    double degrees = 0;
};

using Matrix3 = std::array<std::array<double, 3>, 3>;

/// The refractive index. `model` is empty for an index of polynomials alone. Where there is one:
/// the polynomials in lambda and T add to FuncXYModel, the one in T adds to Sellmeier and pole
/// models; none adds to formulas and built-in models.
struct RefractiveIndex {
    std::variant<std::monostate, SellmeierModel, OnePoleModel, TwoPoleModel,
                 ExpressionModel<double>, FuncXYModel, AnalyticModel>
        model;
    Polynomials<double> poly;
    /// Added to the diagonal: RIX_ANISOTROPIC, and RIX_ANISOPOLYX in mx.
    std::array<double, 3> dn{};
    std::array<Polynomial<double>, 3> dnPolyX;
    bool hasDn = false;
    bool hasDnPolyX = false;
    /// RIX_DC: the static index and what its elements differ by.
    struct Static {
        double n = 1;
        std::array<double, 3> dn{};
    };
    std::optional<Static> dc;

    bool defined() const { return model.index() != 0 || poly.defined(); }
};

struct GroupIndex {
    Polynomial<double> polyL;  ///< in lambda - LAMBDA_REF
    std::optional<ExpressionModel<double>> expression;

    bool defined() const { return polyL.defined() || expression; }
};

/// The loss beside that of a complex index or permittivity: it adds to it. Built up as the index
/// is: the polynomials in lambda and T add to FuncXYModel, none to a formula.
struct Loss {
    std::variant<std::monostate, ExpressionModel<double>, FuncXYModel> model;
    Polynomials<double> poly;
    /// MATLOSS_ANISOTROPIC: added to the diagonal.
    std::array<double, 3> da{};
    bool hasDa = false;
    /// MATLOSS_EYFRAC: the loss that Ey meets, as a fraction of the one above.
    double eyFraction = 1;

    bool defined() const { return model.index() != 0 || poly.defined() || hasDa; }
};

/// Permittivity or permeability (which has no Debye model). `model` is empty for polynomials alone.
struct Permittivity {
    std::variant<std::monostate, ExpressionModel<std::complex<double>>, DebyeModel,
                 DrudeLorentzModel>
        model;
    Polynomials<std::complex<double>> poly;
    /// PERMITT_ANI_TENSOR, PERMEAB_ANI_TENSOR: elements [row][column] that are given. A diagonal
    /// element that is not given is what model, polynomials or index say, or 1; another one is 0.
    /// An element given on one side of the diagonal only is on the other side too.
    std::array<std::array<std::optional<std::complex<double>>, 3>, 3> tensor;
    bool hasTensor = false;
    /// PERMITT_IMAG_OFFDIAG: the tensor g with eps[i][j] = i g[i][j]; antisymmetric, so that it
    /// brings no loss.
    Matrix3 imagOffDiagonal{};
    bool hasImagOffDiagonal = false;

    bool hasModel() const { return model.index() != 0 || poly.defined(); }
    bool defined() const { return hasModel() || hasTensor || hasImagOffDiagonal; }
};

/// Gain as a function of the carrier density.
struct GainModel {
    enum Kind { none, polynomial, logarithmic };
    Kind kind = none;
    /// polynomial: sum c[k] N^k
    /// logarithmic: c[0] ln((N + c[2]) / (c[1] + c[2])), always three
    std::vector<double> c;
};

/// Gain for any, TE and TM polarisation; the one for any stands in where TE or TM is not given.
struct Gain {
    enum Polarisation { any, te, tm };
    std::array<GainModel, 3> of;
};

struct Diffusion {
    std::variant<std::monostate, Constant, FuncXYModel> model;  ///< cm^2/s
    /// These add to it.
    Polynomial<double> polyN;
    Polynomial<double> polyT;  ///< in T - TEMP_REF

    bool defined() const { return model.index() != 0 || polyN.defined() || polyT.defined(); }
};

/// MXPARM, MYPARM: what a composition fraction is called and how the models' one follows from the
/// one asked for: scale * asked + offset.
struct Composition {
    QVString label;
    double scale = 1;
    double offset = 0;
    /// Of the fraction as asked for.
    std::optional<std::array<double, 2>> range;
    bool given = false;
};

enum class Cut { none, x, y, z, matrix };

/// All that a material's definition says.
struct MaterialData {
    RefractiveIndex index;
    GroupIndex groupIndex;
    Loss loss;
    Permittivity permittivity;
    Permittivity permeability;
    /// The permittivity is the primary quantity: index and loss follow from it.
    bool permittivityFirst = false;

    /// 0 when there is none: polynomials are then in lambda itself.
    double lambdaRef = 0;
    double tempRef = 300;
    std::optional<std::array<double, 2>> lambdaRange;
    std::optional<std::array<double, 2>> tempRange;
    Composition mx;
    Composition my;

    /// RIX_ANIROTATION: turned about the fixed axes x, then y, then z.
    std::array<Angle, 3> rotation{};
    bool hasRotation = false;
    /// Rows: the waveguide's axes x, y, z in crystal coordinates, so that a tensor in the
    /// waveguide's axes is R t R^T. A proper rotation.
    Matrix3 orientation{{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}};
    Cut cut = Cut::none;

    std::optional<Constant> egap;      ///< eV
    Gain gainPerTime;                  ///< GAIN_..., 1/ns
    Gain gainPerLength;                ///< GAINL_..., 1/cm
    std::optional<Constant> gainEps;   ///< GAIN_EPS: g / (1 + eps S), in 1e-18 cm^3
    std::optional<Constant> tEps;      ///< T_EPS: the same for the gain per time
    /// Recombination rates in 1e18 cm^-3 / ns: polynomials in N.
    Polynomial<double> radiative;
    Polynomial<double> nonRadiative;
    Diffusion diffusion;

    std::optional<Constant> chi2;              ///< pm/V
    std::optional<Constant> chi3;              ///< m^2/V^2
    std::optional<Constant> heatConductivity;  ///< W/(m K)
    std::optional<Constant> youngsModulus;     ///< GPa
    std::optional<Constant> poissonRatio;
    std::optional<Constant> thermalExpansion;  ///< 1/K

    /// RIX_EOCOEF in pm/V, [i][j] with i = xx, yy, zz, yz, xz, xy.
    std::optional<std::array<std::array<double, 3>, 6>> electroOptic;
    /// RIX_PHOTOELCOEF, [i][j] with i and j = xx, yy, zz, yz, xz, xy (shear strains twice the
    /// tensor's elements).
    std::optional<std::array<std::array<double, 6>, 6>> photoElastic;

    /// Set when all has been read: along each axis the index is what its own model and polynomials
    /// give, a real number, and no range has to be looked at. Most queries take this short way.
    bool plainIndex = false;
    void prepare() {
        const bool builtIn = std::holds_alternative<AnalyticModel>(index.model);
        plainIndex = index.defined() && !builtIn && !permittivity.defined() && !hasRotation &&
                     cut == Cut::none && !index.hasDn && !index.hasDnPolyX && !lambdaRange && !tempRange && !mx.range && !my.range;
    }
};

}  // namespace qvmaterial
