#pragma once
#include <complex>
#include <cstddef>
#include <limits>
#include <span>

#include "qvutils/common/platform/qvexport.h"
#include "qvutils/common/text/qvstring.h"

/// The built-in dispersion models (ANAL_...): alloys, glasses, crystals and metals as they were
/// published. Each is one row of a table.
///
/// Wavelengths are in micrometres, temperatures in kelvin, photon energies in eV. Fields vary in
/// time with exp(-i w t): a lossy medium has k > 0 in n + i k.

/// low <= value <= high; infinite limits where nothing limits.
struct qvRange {
    double low = -std::numeric_limits<double>::infinity();
    double high = std::numeric_limits<double>::infinity();

    bool holds(double value) const { return low <= value && value <= high; }
};

/// The index along which crystal axis; the same where the material is not uniaxial.
enum class qvAxis { Ordinary, Extraordinary };

/// An index with its derivative with respect to the wavelength, in 1/um.
struct qvIndexSlope {
    std::complex<double> value;
    std::complex<double> slope;
};

/// What can be said about a wavelength, composition and temperature before the model is evaluated.
struct qvAnalyticVerdict {
    enum Kind {
        Inside,        ///< within what was published
        Extrapolated,  ///< outside of it, where the model goes on smoothly; see the flags
        Beyond,        ///< the model has no meaningful value there
        AboveGap,      ///< the photons have at least the energy of the band gap
        WavelengthNotPositive,
        TemperatureNegative,
        NotANumber  ///< not a number, or infinite
    };
    Kind kind = Inside;
    bool lambdaOutside = false;
    bool mxOutside = false;
    bool temperatureOutside = false;
    double lambda = 0;  ///< of several wavelengths the one that the verdict is about

    bool usable() const { return kind <= Extrapolated; }
};

struct qvAnalyticMaterial {
    const char* keyword;       ///< of the material file
    const char* name;          ///< of the material in messages
    const char* model;         ///< short: authors and year
    const char* reference;     ///< the paper that the coefficients come from
    const char* note = "";     ///< what adds to the paper or departs from it
    const char* mxLabel = "";  ///< "" when the composition plays no part
    const char* myLabel = "";
    qvRange lambda;  ///< published; with a gap, its wavelength limits it further
    qvRange mx = {};
    qvRange temperature;
    /// Between the poles around the published range: outside of this the model means nothing.
    qvRange reach;
    double referenceTemperature;
    double photonEnergy = 1.239841984;  ///< h c in eV um, as the paper had it
    bool lossy = false;                 ///< has an imaginary part
    bool uniaxial = false;              ///< optic axis z
    bool gapLimits = false;             ///< the model has values below the gap only
    double gapMargin = 0;               ///< eV below the gap from which on the model is good
    /// For a photon energy above the gap: printf text that takes name and mx.
    const char* gapMessage = "Photon energy was above bandgap in %s(%.16g)";
    /// Band gap in eV; null when the model knows none.
    double (*gap)(double mx, double T) = nullptr;

    struct Functions {
        std::complex<double> (*index)(double mx, double T, double lambda, qvAxis axis);
        qvIndexSlope (*slope)(double mx, double T, double lambda, qvAxis axis);
        void (*indices)(double mx, double T, qvAxis axis, const double* lambda, std::size_t count,
                        std::complex<double>* n);
        void (*realIndices)(double mx, double T, qvAxis axis, const double* lambda,
                            std::size_t count, double* n);
    } functions;

    /// The index wherever the formula has a value, not a number elsewhere: whether that means
    /// anything is for check() to say. `my` plays no part in any of these models.
    std::complex<double> index(double mx, [[maybe_unused]] double my, double lambda, double T,
                               qvAxis axis = qvAxis::Ordinary) const {
        return functions.index(mx, T, lambda, axis);
    }
    /// The same with the exact derivative.
    qvIndexSlope indexSlope(double mx, [[maybe_unused]] double my, double lambda, double T,
                            qvAxis axis = qvAxis::Ordinary) const {
        return functions.slope(mx, T, lambda, axis);
    }
    /// n - lambda dn/dlambda of the real part.
    double groupIndex(double mx, double my, double lambda, double T,
                      qvAxis axis = qvAxis::Ordinary) const {
        const qvIndexSlope n = indexSlope(mx, my, lambda, T, axis);
        return n.value.real() - lambda * n.slope.real();
    }
    /// Many wavelengths at once: what depends on mx and T is worked out once. Both spans have the
    /// same length.
    void indices(double mx, [[maybe_unused]] double my, double T, std::span<const double> lambda,
                 std::span<std::complex<double>> n, qvAxis axis = qvAxis::Ordinary) const {
        functions.indices(mx, T, axis, lambda.data(), lambda.size(), n.data());
    }
    /// The real part alone.
    void realIndices(double mx, [[maybe_unused]] double my, double T,
                     std::span<const double> lambda, std::span<double> n,
                     qvAxis axis = qvAxis::Ordinary) const {
        functions.realIndices(mx, T, axis, lambda.data(), lambda.size(), n.data());
    }

    bool usesMx() const { return mxLabel[0] != '\0'; }
    /// The wavelength of the band gap in micrometres where it limits the model, else 0. Photons
    /// need a longer one.
    QVCORE_API double gapWavelength(double mx, double T) const;
    /// The published range of wavelengths for this composition and temperature.
    QVCORE_API qvRange publishedLambda(double mx, double T) const;

    QVCORE_API qvAnalyticVerdict check(double mx, double my, double lambda, double T) const;
    /// The worst verdict on any of the wavelengths.
    QVCORE_API qvAnalyticVerdict check(double mx, double my, std::span<const double> lambda,
                                       double T) const;
    /// The message for a verdict: an error when it is not usable, a warning when it is outside of
    /// a published range (model, range and value named), empty when all is well.
    QVCORE_API QVString describe(const qvAnalyticVerdict& verdict, double mx, double T) const;
};

/// All built-in models, in the order of the keywords.
QVCORE_API std::span<const qvAnalyticMaterial* const> qvAnalyticMaterials();
/// The model of a keyword such as ANAL_GOLD (in any letter case), or null.
QVCORE_API const qvAnalyticMaterial* qvFindAnalytic(QVText keyword);
