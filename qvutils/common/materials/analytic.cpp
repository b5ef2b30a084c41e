#include "qvutils/common/materials/analytic.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "qvutils/common/materials/analyticmodel.h"
#include "qvutils/common/platform/format.h"

namespace {

using qvplatform::formatText;

constexpr const qvAnalyticMaterial* rows[] = {
    &qvanalytic::algaas,     &qvanalytic::ingaasp1,  &qvanalytic::ingaasp2, &qvanalytic::sio2geo2a,
    &qvanalytic::sio2geo2b,  &qvanalytic::ingaalas1, &qvanalytic::silicon1, &qvanalytic::silicon2,
    &qvanalytic::silica1,    &qvanalytic::linbo3,    &qvanalytic::sin1,     &qvanalytic::aluminium,
    &qvanalytic::aluminium2, &qvanalytic::gold,      &qvanalytic::platinum, &qvanalytic::silver,
    &qvanalytic::tungsten,   &qvanalytic::nickel};

bool finite(const std::complex<double>& n) {
    return std::isfinite(n.real()) && std::isfinite(n.imag());
}

/// Of photons with this energy; infinite for energies that photons cannot have.
double wavelengthOf(double energy, double photonEnergy) {
    return energy > 0 ? photonEnergy / energy : std::numeric_limits<double>::infinity();
}

/// "mx 1.2 is outside of 0 to 1".
std::string outside(const char* what, double value, const qvRange& range, const char* unit) {
    return formatText("%s %g%s is outside of %g to %g%s", what, value, unit, range.low, range.high,
                      unit);
}

}  // namespace

std::span<const qvAnalyticMaterial* const> qvAnalyticMaterials() {
    return rows;
}

const qvAnalyticMaterial* qvFindAnalytic(QVText keyword) {
    const QVString wanted(keyword.view());
    for (const qvAnalyticMaterial* row : rows)
        if (wanted.CompareTo(row->keyword, QVString::ignoreCase) == 0) return row;
    return nullptr;
}

double qvAnalyticMaterial::gapWavelength(double mxValue, double T) const {
    return gapLimits ? wavelengthOf(gap(mxValue, T), photonEnergy) : 0;
}

qvRange qvAnalyticMaterial::publishedLambda(double mxValue, double T) const {
    if (!gapLimits) return lambda;
    return {std::max(lambda.low, wavelengthOf(gap(mxValue, T) - gapMargin, photonEnergy)),
            lambda.high};
}

qvAnalyticVerdict qvAnalyticMaterial::check(double mxValue, double myValue, double wavelength,
                                            double T) const {
    using Verdict = qvAnalyticVerdict;
    Verdict v;
    v.lambda = wavelength;
    const auto be = [&v](Verdict::Kind kind) {
        v.kind = kind;
        return v;
    };
    if (!std::isfinite(wavelength) || !std::isfinite(T) || (usesMx() && !std::isfinite(mxValue)))
        return be(Verdict::NotANumber);
    if (wavelength <= 0) return be(Verdict::WavelengthNotPositive);
    if (T < 0) return be(Verdict::TemperatureNegative);
    double start = lambda.low;
    if (gapLimits) {
        const double energy = gap(mxValue, T);
        if (wavelength <= wavelengthOf(energy, photonEnergy)) return be(Verdict::AboveGap);
        start = std::max(start, wavelengthOf(energy - gapMargin, photonEnergy));
    }
    if (!reach.holds(wavelength)) return be(Verdict::Beyond);
    v.lambdaOutside = !qvRange{start, lambda.high}.holds(wavelength);
    v.mxOutside = usesMx() && !mx.holds(mxValue);
    v.temperatureOutside = !temperature.holds(T);
    if (!v.lambdaOutside && !v.mxOutside && !v.temperatureOutside) return v;
    for (const qvAxis axis : {qvAxis::Ordinary, qvAxis::Extraordinary})
        if (!finite(index(mxValue, myValue, wavelength, T, axis))) return be(Verdict::Beyond);
    return be(Verdict::Extrapolated);
}

qvAnalyticVerdict qvAnalyticMaterial::check(double mxValue, double myValue,
                                            std::span<const double> wavelengths, double T) const {
    if (wavelengths.empty()) return {};
    double low = wavelengths[0], high = wavelengths[0];
    double sum = 0;  // becomes not a number when one of them is
    for (const double one : wavelengths) {
        low = std::min(low, one);
        high = std::max(high, one);
        sum += one * 0;
    }
    if (sum != 0) {
        const auto bad = std::find_if(wavelengths.begin(), wavelengths.end(),
                                      [](double one) { return !std::isfinite(one); });
        return check(mxValue, myValue, *bad, T);
    }
    const qvAnalyticVerdict first = check(mxValue, myValue, low, T);
    const qvAnalyticVerdict last = check(mxValue, myValue, high, T);
    return last.kind > first.kind ? last : first;
}

QVString qvAnalyticMaterial::describe(const qvAnalyticVerdict& verdict, double mxValue,
                                      double T) const {
    std::string text = formatText("%s (%s): ", keyword, model);
    switch (verdict.kind) {
        case qvAnalyticVerdict::Inside:
            return "";
        case qvAnalyticVerdict::AboveGap:
            text = formatText(gapMessage, name, mxValue) +
                   formatText("\nphoton energy %.6g eV, band gap %.6g eV at %g K",
                              photonEnergy / verdict.lambda, gap(mxValue, T), T);
            break;
        case qvAnalyticVerdict::WavelengthNotPositive:
            text = formatText("Request of bandgap wavelength <= zero in %s(%.16g)", name, mxValue) +
                   formatText("\nwavelength %g um", verdict.lambda);
            break;
        case qvAnalyticVerdict::TemperatureNegative:
            text += formatText("temperature %g K is below zero", T);
            break;
        case qvAnalyticVerdict::NotANumber:
            text += formatText(
                "no index at wavelength %g um, composition %g, temperature %g K: "
                "not a finite number",
                verdict.lambda, mxValue, T);
            break;
        case qvAnalyticVerdict::Beyond:
            text += formatText(
                "no index at wavelength %g um, composition %g, temperature %g K: "
                "too far from the published range of %g to %g um",
                verdict.lambda, mxValue, T, lambda.low, lambda.high);
            break;
        case qvAnalyticVerdict::Extrapolated: {
            const char* separator = "";
            const auto add = [&](const std::string& part) {
                text += separator + part;
                separator = "; ";
            };
            if (verdict.lambdaOutside)
                add(outside("wavelength", verdict.lambda, publishedLambda(mxValue, T), " um"));
            if (verdict.mxOutside) add(outside("mx", mxValue, mx, ""));
            if (verdict.temperatureOutside) add(outside("temperature", T, temperature, " K"));
            text += "; extrapolated";
            break;
        }
    }
    return QVString(text);
}
