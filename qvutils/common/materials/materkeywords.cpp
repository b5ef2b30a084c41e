#include "qvutils/common/materials/materkeywords.h"

#include <algorithm>

#include "qvutils/common/materials/analytic.h"
#include "qvutils/common/materials/materdefinition.h"
#include "qvutils/common/materials/materentries.h"

namespace qvmaterial {

namespace {

using Complex = std::complex<double>;

// Readers of values that several keywords have in common. Their parameters say where the values go.

/// [xx] count c0 c1 ...
template <auto part>
bool readIndexPoly(Definition& d) {
    return d.perAxis(d.m.index.poly.*part, [&](auto& p) { return d.polynomial(p); });
}
template <auto part>
bool readLossPoly(Definition& d) {
    return d.perAxis(d.m.loss.poly.*part, [&](auto& p) { return d.polynomial(p); });
}
template <Permittivity MaterialData::*property, auto part>
bool readTensorPoly(Definition& d) {
    return d.perAxis((d.m.*property).poly.*part, [&](auto& p) { return d.polynomial(p); });
}

/// count c0 c1 ...
template <Polynomial<double> MaterialData::*member>
bool readPolynomial(Definition& d) {
    return d.polynomial(d.m.*member);
}
template <Polynomial<double> Diffusion::*member>
bool readDiffusionPoly(Definition& d) {
    return d.polynomial(d.m.diffusion.*member);
}

/// [xx] "formula"
template <class T, class Property>
bool readFormula(Definition& d, Property& property) {
    ExpressionModel<T> model;
    if (!d.perAxis(model.formula, [&](auto& f) { return d.quotedFormula(f); })) return false;
    property.model = std::move(model);
    return true;
}
template <Permittivity MaterialData::*property>
bool readTensorFormula(Definition& d) {
    return readFormula<Complex>(d, d.m.*property);
}

/// POLY2D name, SPLINE2D name
template <class Property>
bool readFunction(Definition& d, Property& property) {
    FuncXYModel model;
    if (!d.function(model)) return false;
    property.model = std::move(model);
    return true;
}

/// number, or "formula"
template <std::optional<Constant> MaterialData::*member>
bool readConstant(Definition& d) {
    return d.constant(d.m.*member);
}

template <auto member>
bool readRange(Definition& d) {
    return d.range(d.m.*member);
}

template <double MaterialData::*member>
bool readPositive(Definition& d) {
    return d.positive(d.m.*member);
}

bool readSellmeier(Definition& d) {
    SellmeierModel model;
    const bool read = d.perAxis(model.terms, [&](SellmeierTerms& terms) {
        if (!d.count(1, SellmeierTerms::maxTerms, terms.count)) return false;
        for (std::size_t i = 0; i < static_cast<std::size_t>(terms.count); ++i)
            if (!d.number(terms.strength[i], "expected a strength and a pole for each term") ||
                !d.number(terms.pole[i], "expected a strength and a pole for each term"))
                return false;
        return true;
    });
    if (read) d.m.index.model = model;
    return read;
}

template <class Model, int least>
bool readPoles(Definition& d) {
    Model model;
    const bool read =
        d.perAxis(model.c, [&](auto& c) { return d.fixedList(least, c.data(), Model::size); });
    if (read) d.m.index.model = model;
    return read;
}

bool readAnalytic(Definition& d) {
    d.m.index.model = AnalyticModel{qvFindAnalytic(d.keyword.c_str())};
    return true;
}

bool readDebye(Definition& d) {
    DebyeModel model;
    int n = 0;
    if (!d.count(1, Definition::maxCoefficients, n) || !d.number(model.infinity)) return false;
    for (; n > 0; --n) {
        DebyeModel::Term term{};
        constexpr const char* expected = "expected a strength and a relaxation time for each term";
        if (!d.number(term.strength, expected) || !d.number(term.tau, expected)) return false;
        if (term.tau < 0) return d.syntaxError("a relaxation time cannot be negative");
        model.terms.push_back(term);
    }
    d.m.permittivity.model = std::move(model);
    return true;
}

template <Permittivity MaterialData::*property>
bool readDrudeLorentz(Definition& d) {
    DrudeLorentzModel model;
    int n = 0;
    if (!d.count(1, Definition::maxCoefficients, n) || !d.number(model.infinity)) return false;
    for (; n > 0; --n) {
        DrudeLorentzModel::Term term{};
        constexpr const char* expected = "expected three energies for each term";
        if (!d.number(term.plasma, expected) || !d.number(term.resonance, expected) ||
            !d.number(term.damping, expected))
            return false;
        if (term.damping < 0) return d.syntaxError("a damping cannot be negative");
        model.terms.push_back(term);
    }
    (d.m.*property).model = std::move(model);
    return true;
}

template <Gain MaterialData::*gain, GainModel::Kind kind, Gain::Polarisation polarisation>
bool readGain(Definition& d) {
    GainModel model;
    model.kind = kind;
    if (kind == GainModel::polynomial) {
        if (!d.list(1, Definition::maxCoefficients, model.c)) return false;
    } else {
        model.c.assign(3, 0.0);
        if (!d.fixedList(2, model.c.data(), 3)) return false;
        if (!(model.c[1] + model.c[2] > 0))
            return d.syntaxError("the carrier density of transparency has to be above 0");
    }
    (d.m.*gain).of[polarisation] = std::move(model);
    return true;
}

bool readNonRadiative(Definition& d) {
    if (!d.m.radiative.defined())
        return d.in.fail("must define RADRECOMB before NRADRECOMB in %s", d.material.getName());
    return d.polynomial(d.m.nonRadiative);
}

bool readDiffusion(Definition& d) {
    std::optional<Constant> constant;
    if (!d.constant(constant)) return false;
    d.m.diffusion.model = *constant;
    return true;
}

bool readGroupPoly(Definition& d) {
    d.m.groupIndex.expression.reset();
    return d.polynomial(d.m.groupIndex.polyL);
}

bool readGroupFormula(Definition& d) {
    ExpressionModel<double> model;
    if (!d.quotedFormula(model.formula.axis[0])) return false;
    d.m.groupIndex = {};
    d.m.groupIndex.expression = std::move(model);
    return true;
}

bool readEyFraction(Definition& d) {
    double& fraction = d.m.loss.eyFraction;
    if (!d.number(fraction)) return false;
    return (fraction >= 0 && fraction <= 1) || d.in.fail("MATLOSS_EYFRAC value was silly\n");
}

template <Cut cut>
bool readCut(Definition& d) {
    setCut(d.m, cut);
    return true;
}

constexpr auto permittivity = &MaterialData::permittivity;
constexpr auto permeability = &MaterialData::permeability;
constexpr auto perTime = &MaterialData::gainPerTime;
constexpr auto perLength = &MaterialData::gainPerLength;
constexpr auto logarithmic = GainModel::logarithmic;
constexpr auto polynomial = GainModel::polynomial;

constexpr const char* indexGroup = "Refractive index";
constexpr const char* groupGroup = "Group index";
constexpr const char* lossGroup = "Loss";
constexpr const char* epsGroup = "Permittivity";
constexpr const char* muGroup = "Permeability";
constexpr const char* references = "References";
constexpr const char* semiconductor = "Semiconductor";
constexpr const char* nonlinear = "Non-linear";
constexpr const char* mechanical = "Thermal and mechanical";
constexpr const char* orientationGroup = "Orientation";

const KeywordRow table[] = {
    {"RIX_POLYX", indexGroup, Family::index, polyX, 0, readIndexPoly<&Polynomials<double>::x>,
     "RIX_POLYX count c0 c1 ...", "index: polynomial in mx", "RIX_POLYX 2  3.38 -0.56"},
    {"RIX_POLYL", indexGroup, Family::index, polyL, 0, readIndexPoly<&Polynomials<double>::l>,
     "RIX_POLYL count c0 c1 ...", "index: polynomial in lambda - LAMBDA_REF",
     "RIX_POLYL 3  1.444 -0.0119 0.001"},
    {"RIX_POLYT", indexGroup, Family::index, polyT, 0, readIndexPoly<&Polynomials<double>::t>,
     "RIX_POLYT count c0 c1 ...", "index: polynomial in T - TEMP_REF",
     "RIX_POLYX 1  1.444\nRIX_POLYT 2  0 1.1e-5"},
    {"RIX_A1L", indexGroup, Family::index, otherModel, polyT, readPoles<OnePoleModel, 1>,
     "RIX_A1L count A B C D", "n^2 = A + B/(lambda^2 - C) - D lambda^2",
     "RIX_A1L xx 4  2.7405 0.0184 0.0179 0.0155  zz 4  2.3730 0.0128 0.0156 0.0044"},
    {"RIX_A2L", indexGroup, Family::index, otherModel, polyT, readPoles<TwoPoleModel, 1>,
     "RIX_A2L count A B C D E F",
     "n^2 = A + B lambda^2/(lambda^2 - C) + D lambda^2/(lambda^2 - E) - F lambda^2",
     "RIX_A2L 5  1.28604 1.07044 0.0100586 1.10202 100"},
    {"RIX_SELLMEIER", indexGroup, Family::index, otherModel, polyT, readSellmeier,
     "RIX_SELLMEIER terms B1 C1 B2 C2 ...", "n^2 = 1 + sum B lambda^2/(lambda^2 - C)",
     "RIX_SELLMEIER 3  0.6961663 0.00467914826  0.4079426 0.0135120631  0.8974794 97.9340025"},
    {"RIX_DC", indexGroup, Family::none, noPart, 0, readStaticIndex,
     "RIX_DC n dnxx = a dnyy = b dnzz = c", "static index", "RIX_DC 5.3  dnxx = 1.3 dnyy = 1.3"},
    {"RIX_ANISOTROPIC", indexGroup, Family::none, noPart, 0, readAnisotropic,
     "RIX_ANISOTROPIC dnxx = a dnyy = b dnzz = c", "added to the index along the axes",
     "RIX_POLYX 1  2.21\nRIX_ANISOTROPIC dnzz = -0.074"},
    {"RIX_ANISOPOLYX", indexGroup, Family::none, noPart, 0, readAnisoPolyX,
     "RIX_ANISOPOLYX dn_xx count c0 c1 ... dn_yy ...",
     "polynomials in mx added to the index along the axes",
     "RIX_POLYX 1  1.5\nRIX_ANISOPOLYX dn_xx 2  0 0.1  dn_zz 2  0 -0.05"},
    {"RIX_EXPRESSION", indexGroup, Family::index, otherModel, 0,
     [](Definition& d) { return readFormula<double>(d, d.m.index); }, "RIX_EXPRESSION \"formula\"",
     "index as a formula of lambda, mxFrac, myFrac, T",
     "RIX_EXPRESSION \"sqrt(2.1 + 0.01/lambda**2) + 1e-5*(T - 300)\""},
    {"RIX_FUNCXY", indexGroup, Family::index, otherModel, polyL | polyT,
     [](Definition& d) { return readFunction(d, d.m.index); }, "RIX_FUNCXY POLY2D name",
     "index: a data block's function of (mx, my), POLY2D or SPLINE2D", "RIX_FUNCXY POLY2D example"},
    {"RIX_ANIROTATION", indexGroup, Family::none, noPart, 0, readRotation,
     "RIX_ANIROTATION phiX = a phiY = b phiZ = c",
     "turns the tensors about x, then y, then z; degrees, or USE_MX, USE_MY",
     "RIX_POLYX 1  1.5\nRIX_ANISOTROPIC dnzz = 0.2\nRIX_ANIROTATION phiX = 30 phiY = USE_MX"},
    {"RIX_EOCOEF", indexGroup, Family::none, noPart, 0, readElectroOptic,
     "RIX_EOCOEF r11 = a r12 = b ...", "electro-optic coefficients r11 to r63 in pm/V",
     "RIX_EOCOEF r13 = 8.6 r23 = 8.6 r33 = 30.8 r42 = 28 r51 = 28 r22 = 3.4 r12 = -3.4 r61 = -3.4"},
    {"RIX_PHOTOELCOEF", indexGroup, Family::none, noPart, 0, readPhotoElastic,
     "RIX_PHOTOELCOEF p11 = a p12 = b ...", "photo-elastic coefficients p11 to p66",
     "RIX_PHOTOELCOEF p11 = 0.121 p22 = 0.121 p33 = 0.121 p12 = 0.27 p13 = 0.27 p21 = 0.27\n"
     "                p23 = 0.27 p31 = 0.27 p32 = 0.27 p44 = -0.0745 p55 = -0.0745 p66 = -0.0745"},

    {"NG_POLYL", groupGroup, Family::groupIndex, otherModel, 0, readGroupPoly,
     "NG_POLYL count c0 c1 ...", "group index: polynomial in lambda - LAMBDA_REF",
     "NG_POLYL 2  1.4626 0.002"},
    {"NGROUP_EXPRESSION", groupGroup, Family::groupIndex, otherModel, 0, readGroupFormula,
     "NGROUP_EXPRESSION \"formula\"", "group index as a formula",
     "NGROUP_EXPRESSION \"1.45 + 0.007*lambda\""},

    {"MATLOSS_POLYX", lossGroup, Family::loss, polyX, 0, readLossPoly<&Polynomials<double>::x>,
     "MATLOSS_POLYX count c0 c1 ...", "loss in 1/cm: polynomial in mx", "MATLOSS_POLYX 1  0.2"},
    {"MATLOSS_POLYL", lossGroup, Family::loss, polyL, 0, readLossPoly<&Polynomials<double>::l>,
     "MATLOSS_POLYL count c0 c1 ...", "loss in 1/cm: polynomial in lambda - LAMBDA_REF",
     "MATLOSS_POLYL 2  0.2 0.01"},
    {"MATLOSS_POLYT", lossGroup, Family::loss, polyT, 0, readLossPoly<&Polynomials<double>::t>,
     "MATLOSS_POLYT count c0 c1 ...", "loss in 1/cm: polynomial in T - TEMP_REF",
     "MATLOSS_POLYT 2  0.2 0.001"},
    {"MATLOSS_ANISOTROPIC", lossGroup, Family::none, noPart, 0, readAnisotropicLoss,
     "MATLOSS_ANISOTROPIC daxx = a dayy = b dazz = c", "added to the loss along the axes",
     "MATLOSS_ANISOTROPIC dayy = 0.4"},
    {"MATLOSS_EXPRESSION", lossGroup, Family::loss, otherModel, 0,
     [](Definition& d) { return readFormula<double>(d, d.m.loss); },
     "MATLOSS_EXPRESSION \"formula\"", "loss in 1/cm as a formula",
     "MATLOSS_EXPRESSION \"0.2*exp(-(lambda - 1.39)**2/0.001)\""},
    {"MATLOSS_FUNCXY", lossGroup, Family::loss, otherModel, polyL | polyT,
     [](Definition& d) { return readFunction(d, d.m.loss); }, "MATLOSS_FUNCXY SPLINE2D name",
     "loss in 1/cm: a data block's function of (mx, my)", "MATLOSS_FUNCXY POLY2D example"},
    {"MATLOSS_EYFRAC", lossGroup, Family::none, noPart, 0, readEyFraction,
     "MATLOSS_EYFRAC fraction", "the part of the loss that Ey meets, 0 to 1",
     "MATLOSS_POLYX 1  3\nMATLOSS_EYFRAC 0.25"},

    {"PERMITTIVITY_POLYX", epsGroup, Family::permittivity, polyX, 0,
     readTensorPoly<permittivity, &Polynomials<Complex>::x>, "PERMITTIVITY_POLYX count c0 c1 ...",
     "polynomial in mx", "PERMITTIVITY_POLYX 2  (2.1, 0.001) 0.3"},
    {"PERMITTIVITY_POLYL", epsGroup, Family::permittivity, polyL, 0,
     readTensorPoly<permittivity, &Polynomials<Complex>::l>, "PERMITTIVITY_POLYL count c0 c1 ...",
     "polynomial in lambda - LAMBDA_REF", "PERMITTIVITY_POLYL 2  2.1 (-0.03, 0.001)"},
    {"PERMITTIVITY_POLYT", epsGroup, Family::permittivity, polyT, 0,
     readTensorPoly<permittivity, &Polynomials<Complex>::t>, "PERMITTIVITY_POLYT count c0 c1 ...",
     "polynomial in T - TEMP_REF", "PERMITTIVITY_POLYX 1  2.1\nPERMITTIVITY_POLYT 2  0 3e-5"},
    {"PERMITTIVITY_EXPRESSION", epsGroup, Family::permittivity, otherModel, 0,
     readTensorFormula<permittivity>, "PERMITTIVITY_EXPRESSION \"formula\"", "a complex formula",
     "PERMITTIVITY_EXPRESSION \"2.1 + 0.01*sqrt(-1)*lambda\""},
    {"PERMITTIVITY_DRUDELORENTZ", epsGroup, Family::permittivity, otherModel, 0,
     readDrudeLorentz<permittivity>,
     "PERMITTIVITY_DRUDELORENTZ terms epsInfty plasma resonance damping ...",
     "epsInfty + sum plasma^2/(resonance^2 - E^2 - i E damping), in eV",
     "PERMITTIVITY_DRUDELORENTZ 2  1  7.87 0 0.053  1.4 0.415 0.241"},
    {"PERMITTIVITY_DEBYE", epsGroup, Family::permittivity, otherModel, 0, readDebye,
     "PERMITTIVITY_DEBYE terms epsInfty strength tau ...",
     "epsInfty + sum strength/(1 - i w tau), tau in ps", "PERMITTIVITY_DEBYE 1  5.2  73.2 8.27"},
    {"PERMITT_ANI_TENSOR", epsGroup, Family::none, noPart, 0, readPermittivityTensor,
     "PERMITT_ANI_TENSOR expxx = a expxy = b ...", "elements of the full tensor",
     "PERMITT_ANI_TENSOR expxx = 2.3 expyy = 2.3 expzz = (2.2, 0.001) expxy = 0.05"},
    {"PERMITT_IMAG_OFFDIAG", epsGroup, Family::none, noPart, 0, readImaginaryOffDiagonal,
     "PERMITT_IMAG_OFFDIAG expImxy = a ...", "gyrotropy: eps_xy = i a, eps_yx = -i a",
     "RIX_POLYX 1  2.3\nPERMITT_IMAG_OFFDIAG expImxz = 0.002"},

    {"PERMEABILITY_POLYX", muGroup, Family::permeability, polyX, 0,
     readTensorPoly<permeability, &Polynomials<Complex>::x>, "PERMEABILITY_POLYX count c0 c1 ...",
     "polynomial in mx", "PERMEABILITY_POLYX 2  1 0.1"},
    {"PERMEABILITY_POLYL", muGroup, Family::permeability, polyL, 0,
     readTensorPoly<permeability, &Polynomials<Complex>::l>, "PERMEABILITY_POLYL count c0 c1 ...",
     "polynomial in lambda - LAMBDA_REF", "PERMEABILITY_POLYL 2  1 (0, 0.01)"},
    {"PERMEABILITY_POLYT", muGroup, Family::permeability, polyT, 0,
     readTensorPoly<permeability, &Polynomials<Complex>::t>, "PERMEABILITY_POLYT count c0 c1 ...",
     "polynomial in T - TEMP_REF", "PERMEABILITY_POLYT 2  1 1e-4"},
    {"PERMEABILITY_EXPRESSION", muGroup, Family::permeability, otherModel, 0,
     readTensorFormula<permeability>, "PERMEABILITY_EXPRESSION \"formula\"", "a complex formula",
     "PERMEABILITY_EXPRESSION \"1 + 0.01*sqrt(-1)\""},
    {"PERMEABILITY_DRUDELORENTZ", muGroup, Family::permeability, otherModel, 0,
     readDrudeLorentz<permeability>,
     "PERMEABILITY_DRUDELORENTZ terms muInfty plasma resonance damping ...",
     "as the permittivity's", "PERMEABILITY_DRUDELORENTZ 1  1  0.3 0.8 0.05"},
    {"PERMEAB_ANI_TENSOR", muGroup, Family::none, noPart, 0, readPermeabilityTensor,
     "PERMEAB_ANI_TENSOR muxx = a muxy = b ...", "elements of the full tensor",
     "PERMEAB_ANI_TENSOR muxx = 1.1 muyz = (0, 0.01) muzy = (0, -0.01)"},

    {"LAMBDA_REF", references, Family::none, noPart, 0, readPositive<&MaterialData::lambdaRef>,
     "LAMBDA_REF wavelength", "where polynomials in lambda begin, in micrometres",
     "LAMBDA_REF 1.55"},
    {"TEMP_REF", references, Family::none, noPart, 0, readPositive<&MaterialData::tempRef>,
     "TEMP_REF temperature", "where polynomials in T begin, in kelvin; else 300",
     "TEMP_REF 293.15"},
    {"LAMBDA_RANGE", references, Family::none, noPart, 0, readRange<&MaterialData::lambdaRange>,
     "LAMBDA_RANGE from to", "wavelengths for which the material was published",
     "LAMBDA_RANGE 0.21 3.71"},
    {"TEMP_RANGE", references, Family::none, noPart, 0, readRange<&MaterialData::tempRange>,
     "TEMP_RANGE from to", "temperatures for which the material was published",
     "TEMP_RANGE 290 370"},
    {"MXPARM", references, Family::none, noPart, 0, readComposition<&MaterialData::mx>,
     "MXPARM \"label\" scale a offset b range from to",
     "what mx is called; the models take a mx + b",
     "MXPARM \"mx:GeO2 in mol-%\" scale 0.01 range 0 20"},
    {"MYPARM", references, Family::none, noPart, 0, readComposition<&MaterialData::my>,
     "MYPARM \"label\" scale a offset b range from to", "the same for my", "MYPARM my:As-frac"},

    {"EGAP", semiconductor, Family::none, noPart, 0, readConstant<&MaterialData::egap>,
     "EGAP number", "band gap in eV; number or formula",
     "EGAP \"1.519 - 5.405e-4*T**2/(T + 204) + 1.247*mxFrac\""},
    {"GAIN_POLYN", semiconductor, Family::gain, otherModel, 0,
     readGain<perTime, polynomial, Gain::any>, "GAIN_POLYN count c0 c1 ...",
     "gain per time in 1/ns: polynomial in the carrier density N (1e18 cm^-3)",
     "GAIN_POLYN 2  -1500 1000"},
    {"GAINL_POLYN", semiconductor, Family::gainL, otherModel, 0,
     readGain<perLength, polynomial, Gain::any>, "GAINL_POLYN count c0 c1 ...",
     "gain per length in 1/cm: polynomial in N", "GAINL_POLYN 3  -500 350 -10"},
    {"GAIN_LOGN", semiconductor, Family::gain, otherModel, 0,
     readGain<perTime, logarithmic, Gain::any>, "GAIN_LOGN count g0 Ntr Ns",
     "gain per time in 1/ns: g0 ln((N + Ns)/(Ntr + Ns))", "GAIN_LOGN 2  8000 1.5"},
    {"GAINL_LOGN", semiconductor, Family::gainL, otherModel, 0,
     readGain<perLength, logarithmic, Gain::any>, "GAINL_LOGN count g0 Ntr Ns",
     "gain per length in 1/cm", "GAINL_LOGN 3  1500 1.5 0.1"},
    {"GAIN_POLYN_TE", semiconductor, Family::gainTe, otherModel, 0,
     readGain<perTime, polynomial, Gain::te>, "GAIN_POLYN_TE count c0 c1 ...", "for TE",
     "GAIN_POLYN_TE 2  -1500 1000"},
    {"GAINL_POLYN_TE", semiconductor, Family::gainLTe, otherModel, 0,
     readGain<perLength, polynomial, Gain::te>, "GAINL_POLYN_TE count c0 c1 ...", "for TE",
     "GAINL_POLYN_TE 2  -500 350"},
    {"GAIN_LOGN_TE", semiconductor, Family::gainTe, otherModel, 0,
     readGain<perTime, logarithmic, Gain::te>, "GAIN_LOGN_TE count g0 Ntr Ns", "for TE",
     "GAIN_LOGN_TE 2  8000 1.5"},
    {"GAINL_LOGN_TE", semiconductor, Family::gainLTe, otherModel, 0,
     readGain<perLength, logarithmic, Gain::te>, "GAINL_LOGN_TE count g0 Ntr Ns", "for TE",
     "GAINL_LOGN_TE 2  1500 1.5"},
    {"GAIN_POLYN_TM", semiconductor, Family::gainTm, otherModel, 0,
     readGain<perTime, polynomial, Gain::tm>, "GAIN_POLYN_TM count c0 c1 ...", "for TM",
     "GAIN_POLYN_TM 2  -1600 900"},
    {"GAINL_POLYN_TM", semiconductor, Family::gainLTm, otherModel, 0,
     readGain<perLength, polynomial, Gain::tm>, "GAINL_POLYN_TM count c0 c1 ...", "for TM",
     "GAINL_POLYN_TM 2  -520 320"},
    {"GAIN_LOGN_TM", semiconductor, Family::gainTm, otherModel, 0,
     readGain<perTime, logarithmic, Gain::tm>, "GAIN_LOGN_TM count g0 Ntr Ns", "for TM",
     "GAIN_LOGN_TM 2  7000 1.7"},
    {"GAINL_LOGN_TM", semiconductor, Family::gainLTm, otherModel, 0,
     readGain<perLength, logarithmic, Gain::tm>, "GAINL_LOGN_TM count g0 Ntr Ns", "for TM",
     "GAINL_LOGN_TM 2  1300 1.7"},
    {"GAIN_EPS", semiconductor, Family::none, noPart, 0, readConstant<&MaterialData::gainEps>,
     "GAIN_EPS number", "gain compression: gain / (1 + eps S), eps in 1e-18 cm^3, S in 1e18 cm^-3",
     "GAIN_EPS 15"},
    {"T_EPS", semiconductor, Family::none, noPart, 0, readConstant<&MaterialData::tEps>,
     "T_EPS number", "the same for the gain per time where that differs", "T_EPS 12"},
    {"RADRECOMB", semiconductor, Family::none, noPart, 0, readPolynomial<&MaterialData::radiative>,
     "RADRECOMB count c0 c1 ...", "radiative recombination in 1e18 cm^-3/ns: polynomial in N",
     "RADRECOMB 3  0 0 0.1"},
    {"NRADRECOMB", semiconductor, Family::none, noPart, 0, readNonRadiative,
     "NRADRECOMB count c0 c1 ...", "other recombination; after RADRECOMB",
     "RADRECOMB 3  0 0 0.1\nNRADRECOMB 4  0 0.1 0 0.05"},
    {"DIFFUSION", semiconductor, Family::diffusion, otherModel, 0, readDiffusion,
     "DIFFUSION number", "diffusion constant in cm^2/s", "DIFFUSION 10"},
    {"DIFFUSE_POLYN", semiconductor, Family::none, noPart, 0, readDiffusionPoly<&Diffusion::polyN>,
     "DIFFUSE_POLYN count c0 c1 ...", "added to it: polynomial in N",
     "DIFFUSION 10\nDIFFUSE_POLYN 2  0 0.4"},
    {"DIFFUSE_POLYT", semiconductor, Family::none, noPart, 0, readDiffusionPoly<&Diffusion::polyT>,
     "DIFFUSE_POLYT count c0 c1 ...", "added to it: polynomial in T - TEMP_REF",
     "DIFFUSION 10\nDIFFUSE_POLYT 2  0 -0.02"},
    {"DIFFUSE_FUNCXY", semiconductor, Family::diffusion, otherModel, 0,
     [](Definition& d) { return readFunction(d, d.m.diffusion); }, "DIFFUSE_FUNCXY POLY2D name",
     "diffusion constant: a data block's function of (mx, my)", "DIFFUSE_FUNCXY POLY2D example"},

    {"CHI2_CONST", nonlinear, Family::none, noPart, 0, readConstant<&MaterialData::chi2>,
     "CHI2_CONST number", "second-order susceptibility in pm/V", "CHI2_CONST 54"},
    {"CHI3_CONST", nonlinear, Family::none, noPart, 0, readConstant<&MaterialData::chi3>,
     "CHI3_CONST number", "third-order susceptibility in m^2/V^2", "CHI3_CONST 2.5e-22"},

    {"THCON", mechanical, Family::none, noPart, 0, readConstant<&MaterialData::heatConductivity>,
     "THCON number", "thermal conductivity in W/(m K)",
     "THCON \"55 - 212*mxFrac + 248*mxFrac**2\""},
    {"YOUNGS_MODULUS", mechanical, Family::none, noPart, 0,
     readConstant<&MaterialData::youngsModulus>, "YOUNGS_MODULUS number", "in GPa",
     "YOUNGS_MODULUS 73.1"},
    {"POISSON_RATIO", mechanical, Family::none, noPart, 0,
     readConstant<&MaterialData::poissonRatio>, "POISSON_RATIO number", "", "POISSON_RATIO 0.17"},
    {"THERM_EXPANSION", mechanical, Family::none, noPart, 0,
     readConstant<&MaterialData::thermalExpansion>, "THERM_EXPANSION number", "in 1/K",
     "THERM_EXPANSION 5.5e-7"},

    {"XCUT", orientationGroup, Family::orientation, otherModel, 0, readCut<Cut::x>, "XCUT",
     "crystal X up, Z sideways, Y along the waveguide", "XCUT"},
    {"YCUT", orientationGroup, Family::orientation, otherModel, 0, readCut<Cut::y>, "YCUT",
     "crystal Y up, Z sideways, -X along the waveguide", "YCUT"},
    {"ZCUT", orientationGroup, Family::orientation, otherModel, 0, readCut<Cut::z>, "ZCUT",
     "crystal Z up, X sideways, -Y along the waveguide", "ZCUT"},
    {"<orientation>", orientationGroup, Family::orientation, otherModel, 0, readOrientation,
     "<orientation> (a b c) (d e f) (g h i)",
     "the waveguide's x, y and z axis in crystal coordinates",
     "<orientation> (0 0 1) (0.6 0.8 0) (-0.8 0.6 0)"},
};

const KeywordRow analyticRow = {
    "ANAL_",    "Analytic materials", Family::index, otherModel,
    0,          readAnalytic,         "ANAL_GOLD",   "a built-in model of index and loss",
    "ANAL_GOLD"};

}  // namespace

std::span<const KeywordRow> keywordRows() {
    return table;
}

const KeywordRow& analyticKeyword() {
    return analyticRow;
}

const KeywordRow* findKeyword(std::string_view keyword) {
    const auto row = std::find_if(std::begin(table), std::end(table), [&](const KeywordRow& r) {
        return sameWord(r.keyword, keyword);
    });
    if (row != std::end(table)) return &*row;
    return qvFindAnalytic(keyword) ? &analyticRow : nullptr;
}

}  // namespace qvmaterial
