#pragma once
#include <cmath>
#include <cstdint>
#include <limits>

#include "qvutils/common/materials/materb.h"
#include "qvutils/common/materials/materlock.h"
#include "qvutils/common/materials/materoptics.h"

/// What every query begins with: it holds the contents, sees whether the arguments can be used, and
/// warns, once per material and kind, when they are outside of what was published.
class qvMaterialQuery {
public:
    enum Kind : unsigned {
        index,
        groupIndex,
        loss,
        permittivity,
        permeability,
        staticIndex,
        bandGap,
        gainPerLength,
        gainPerTime,
        recombination,
        diffusion,
        chi2,
        chi3,
        thermalExpansion,
        heatConductivity,
        poissonRatio,
        youngsModulus,
        electroOptic,
        photoElastic
    };

    qvMaterialQuery(const MaterB& asked, Kind what, double mx, double my, double wavelength,
                    double T)
        : material(asked),
          m(asked.data()),
          kind(what),
          point(pointOf(m, mx, my, T)),
          lambda(wavelength),
          ok_(plain(mx, my) || check(mx, my)) {}

    /// Numbers that any query takes.
    static bool plainArguments(double mx, double my, double lambda, double T) {
        return lambda > 0 && lambda <= largest && T >= 0 && T <= largest &&
               std::abs(mx) <= largest && std::abs(my) <= largest;
    }
    static qvmaterial::Point pointOf(const qvmaterial::MaterialData& m, double mx, double my,
                                     double T) {
        return {m.mx.scale * mx + m.mx.offset, m.my.scale * my + m.my.offset, T};
    }

    /// The query can be answered.
    explicit operator bool() const { return ok_; }

    /// Index and permittivity depend on the wavelength alone in ways that the keywords state.
    bool optical() const { return kind <= permeability || kind >= electroOptic; }
    /// Some wavelengths may be outside of what was published.
    bool caresForLambda() const {
        return m.lambdaRange || m.index.model.index() == analyticModel;
    }
    /// Looks at one more wavelength of the same query.
    bool checkLambda(double wavelength) {
        lambda = wavelength;
        return checkModel();
    }

    /// Posts that the query has no answer, unless an error is pending. Always false.
    bool fail(const char* why) const;
    /// Posts "WHAT undefined in material "NAME"". Always false.
    bool undefined(const char* what) const;
    void warnOutside(const char* what, double value, const std::array<double, 2>& range,
                     const char* unit) const;
    /// A value that is a number as it is, otherwise `neutral` with an error.
    double answer(double value, double neutral, bool failed = false) const {
        if (!failed && std::isfinite(value)) return value;
        return noAnswer(neutral, failed);
    }

private:
    // First, so that the contents are held before they are read.
    qvmaterial::Reading reading_;

public:
    const MaterB& material;
    const qvmaterial::MaterialData& m;
    const Kind kind;
    const qvmaterial::Point point;
    double lambda;

private:
    /// Nothing has to be looked at closer: the usual case.
    bool plain(double mx, double my) const {
        return m.plainIndex && plainArguments(mx, my, lambda, point.T);
    }
    bool check(double mx, double my);
    bool checkModel();
    double noAnswer(double neutral, bool failed) const;
    void warn(const char* text) const;

    static constexpr double largest = std::numeric_limits<double>::max();
    static constexpr std::size_t analyticModel = 6;

    bool ok_;
};
