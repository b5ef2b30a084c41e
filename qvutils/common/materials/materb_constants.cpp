#include "qvutils/common/materials/materquery.h"

using qvmaterial::Complex;
using qvmaterial::Constant;
using qvmaterial::Full;
using qvmaterial::Matrix3;
using qvmaterial::Optics;
using Query = qvMaterialQuery;

namespace {

double constant(const Query& q, const std::optional<Constant>& given, const char* name,
                double neutral) {
    if (!q) return neutral;
    if (!given) {
        q.undefined(name);
        return neutral;
    }
    bool failed = false;
    const double value = qvmaterial::value(*given, q.point, q.lambda, failed);
    return q.answer(value, neutral, failed);
}

double gain(const Query& q, const qvmaterial::Gain& models, const std::optional<Constant>& eps,
            const char* missing, double N, int polarisation, double S) {
    using qvmaterial::GainModel;
    if (!q) return 0;
    if (!(N >= 0) || !(S >= 0)) {
        q.fail("carrier and photon densities have to be numbers not below zero");
        return 0;
    }
    if (polarisation < 0 || polarisation > 2) {
        q.fail("the polarisation has to be 0 for any, 1 for TE or 2 for TM");
        return 0;
    }
    const GainModel& own = models.of[static_cast<std::size_t>(polarisation)];
    const GainModel& model = own.kind == GainModel::none ? models.of[0] : own;
    const std::vector<double>& c = model.c;
    double value = 0;
    if (model.kind == GainModel::none) {
        if (!qverr()) qverr().set(missing);
        return 0;
    }
    if (model.kind == GainModel::polynomial) {
        for (std::size_t k = c.size(); k-- > 0;) value = value * N + c[k];
    } else {
        value = c[0] * std::log((N + c[2]) / (c[1] + c[2]));
    }
    bool failed = false;
    if (eps) value /= 1 + qvmaterial::value(*eps, q.point, q.lambda, failed) * S;
    return q.answer(value, 0, failed);
}

/// Symmetric tensors as six numbers xx, yy, zz, yz, xz, xy. `shear` is what a number beyond the
/// third is times the tensor's element.
constexpr std::size_t rowOf[] = {0, 1, 2, 1, 0, 0};
constexpr std::size_t columnOf[] = {0, 1, 2, 2, 2, 1};

Matrix3 matrixOf(const double six[6], double shear) {
    Matrix3 t{};
    for (std::size_t i = 0; i < 6; ++i) {
        const double element = i < 3 ? six[i] : six[i] / shear;
        t[rowOf[i]][columnOf[i]] = element;
        t[columnOf[i]][rowOf[i]] = element;
    }
    return t;
}

/// a t b
template <class A, class T, class B>
auto product(const A& a, const T& t, const B& b) {
    Full<Complex> half{}, result{};
    for (std::size_t i = 0; i < 3; ++i)
        for (std::size_t j = 0; j < 3; ++j)
            for (std::size_t k = 0; k < 3; ++k) half[i][j] += t[i][k] * b[k][j];
    for (std::size_t i = 0; i < 3; ++i)
        for (std::size_t j = 0; j < 3; ++j)
            for (std::size_t k = 0; k < 3; ++k) result[i][j] += a[i][k] * half[k][j];
    return result;
}

Matrix3 transposed(const Matrix3& a) {
    Matrix3 t{};
    for (std::size_t i = 0; i < 3; ++i)
        for (std::size_t j = 0; j < 3; ++j) t[i][j] = a[j][i];
    return t;
}

/// The change of the indices along the waveguide's axes that a small change of the inverse
/// permittivity, in the crystal's axes, makes: -eps change eps is that of the permittivity.
DStensor indexChange(const Query& q, const Matrix3& change) {
    Optics<double> optics(q.m, q.point, q.lambda);
    const Full<Complex> eps = optics.crystalEps();
    const std::array<Complex, 3> n = optics.indices();
    const Full<Complex> mu = optics.mu();
    const Matrix3 turn = optics.turn();
    const Full<Complex> dEps = product(turn, product(eps, change, eps), transposed(turn));
    const auto dn = [&](std::size_t i) {
        return q.answer((-dEps[i][i] * mu[i][i] / (2.0 * n[i])).real(), 0, optics.failed());
    };
    return {dn(0), dn(1), dn(2)};
}

bool finite(const double* values, int count) {
    for (int i = 0; i < count; ++i)
        if (!std::isfinite(values[i])) return false;
    return true;
}

}  // namespace

double MaterB::Eg(double mx, double my, double lambda, double T) const {
    const Query q(*this, Query::bandGap, mx, my, lambda, T);
    const auto* model = std::get_if<qvmaterial::AnalyticModel>(&q.m.index.model);
    if (q.m.egap || !model || !model->row->gap) return constant(q, q.m.egap, "Egap", 1);
    if (!q) return 1;
    const qvAnalyticMaterial& row = *model->row;
    if (row.usesMx()) q.warnOutside("mx", q.point.mx, {row.mx.low, row.mx.high}, "");
    q.warnOutside("temperature", T, {row.temperature.low, row.temperature.high}, " K");
    return q.answer(row.gap(q.point.mx, T), 1);
}

double MaterB::Gainz(double mx, double my, double lambda, double T, double N, int polarisation,
                     double S) const {
    const Query q(*this, Query::gainPerLength, mx, my, lambda, T);
    return gain(q, q.m.gainPerLength, q.m.gainEps, "GAINL_xxx expected in material\n", N,
                polarisation, S);
}

double MaterB::Gaint(double mx, double my, double lambda, double T, double N, int polarisation,
                     double S) const {
    const Query q(*this, Query::gainPerTime, mx, my, lambda, T);
    return gain(q, q.m.gainPerTime, q.m.tEps ? q.m.tEps : q.m.gainEps,
                "GAINT_xxx expected in material\n", N, polarisation, S);
}

double MaterB::Rts(double mx, double my, double lambda, double T, double N) const {
    const Query q(*this, Query::recombination, mx, my, lambda, T);
    if (!q || (!q.m.radiative.defined() && !q.undefined("RADRECOMB"))) return 0;
    return q.answer(q.m.radiative.value(N) + q.m.nonRadiative.value(N), 0);
}

double MaterB::Rtsr(double mx, double my, double lambda, double T, double N) const {
    const Query q(*this, Query::recombination, mx, my, lambda, T);
    if (!q || (!q.m.radiative.defined() && !q.undefined("RADRECOMB"))) return 0;
    return q.answer(q.m.radiative.value(N), 0);
}

double MaterB::Ddif(double mx, double my, double lambda, double T, double N) const {
    const Query q(*this, Query::diffusion, mx, my, lambda, T);
    const qvmaterial::Diffusion& d = q.m.diffusion;
    if (!q || (!d.defined() && !q.undefined("Diffusion constant"))) return 0;
    bool failed = false;
    double value = 0;
    if (const auto* number = std::get_if<Constant>(&d.model))
        value = qvmaterial::value(*number, q.point, lambda, failed);
    if (const auto* function = std::get_if<qvmaterial::FuncXYModel>(&d.model))
        value = qvmaterial::functionXY(*function, q.point, failed);
    value += d.polyN.value(N) + d.polyT.value(T - q.m.tempRef);
    return q.answer(value, 0, failed);
}

double MaterB::Chi2(double mx, double my, double lambda, double T) const {
    const Query q(*this, Query::chi2, mx, my, lambda, T);
    return constant(q, q.m.chi2, "Chi2", 0);
}

double MaterB::Chi3(double mx, double my, double lambda, double T) const {
    const Query q(*this, Query::chi3, mx, my, lambda, T);
    return constant(q, q.m.chi3, "Chi3", 0);
}

double MaterB::ThExp(double mx, double my, double lambda, double T) const {
    const Query q(*this, Query::thermalExpansion, mx, my, lambda, T);
    return constant(q, q.m.thermalExpansion, "Thermal expansion", 0);
}

double MaterB::ThCon(double mx, double my, double lambda, double T) const {
    const Query q(*this, Query::heatConductivity, mx, my, lambda, T);
    return constant(q, q.m.heatConductivity, "Thermal conductivity", 0);
}

double MaterB::PR(double mx, double my, double lambda, double T) const {
    const Query q(*this, Query::poissonRatio, mx, my, lambda, T);
    return constant(q, q.m.poissonRatio, "Poisson ratio", 0);
}

double MaterB::YM(double mx, double my, double lambda, double T) const {
    const Query q(*this, Query::youngsModulus, mx, my, lambda, T);
    return constant(q, q.m.youngsModulus, "Young's modulus", 0);
}

bool MaterB::EOCoefs(double coefs[6][3]) const {
    const qvmaterial::Reading reading;
    const auto& given = data().electroOptic;
    for (std::size_t i = 0; i < 6; ++i)
        for (std::size_t j = 0; j < 3; ++j) coefs[i][j] = given ? (*given)[i][j] : 0;
    return given.has_value();
}

bool MaterB::PhotoElasticTensor(double coefs[6][3]) const {
    const qvmaterial::Reading reading;
    const auto& given = data().photoElastic;
    for (std::size_t i = 0; i < 6; ++i)
        for (std::size_t j = 0; j < 3; ++j) coefs[i][j] = given ? (*given)[i][j] : 0;
    return given.has_value();
}

bool MaterB::PhotoElasticTensor(double coefs[6][6]) const {
    const qvmaterial::Reading reading;
    const auto& given = data().photoElastic;
    for (std::size_t i = 0; i < 6; ++i)
        for (std::size_t j = 0; j < 6; ++j) coefs[i][j] = given ? (*given)[i][j] : 0;
    return given.has_value();
}

DStensor MaterB::eo_dnr(double mx, double my, double lambda, double T,
                        const double field[3]) const {
    const Query q(*this, Query::electroOptic, mx, my, lambda, T);
    if (!q || (!q.m.electroOptic && !q.undefined("RIX_EOCOEF"))) return {};
    if (!finite(field, 3)) {
        q.fail("the field has to be a finite one");
        return {};
    }
    const Matrix3 turn = Optics<double>(q.m, q.point, lambda).turn();
    double change[6] = {};
    for (std::size_t j = 0; j < 3; ++j) {
        const double along = turn[0][j] * field[0] + turn[1][j] * field[1] + turn[2][j] * field[2];
        // pm/V times V/um
        for (std::size_t i = 0; i < 6; ++i) change[i] += (*q.m.electroOptic)[i][j] * along * 1e-6;
    }
    return indexChange(q, matrixOf(change, 1));
}

DStensor MaterB::str_dnr(double mx, double my, double lambda, double T,
                         const double strain[6]) const {
    const Query q(*this, Query::photoElastic, mx, my, lambda, T);
    if (!q || (!q.m.photoElastic && !q.undefined("RIX_PHOTOELCOEF"))) return {};
    if (!finite(strain, 6)) {
        q.fail("the strains have to be finite ones");
        return {};
    }
    const Matrix3 turn = Optics<double>(q.m, q.point, lambda).turn();
    const Full<Complex> s = product(transposed(turn), matrixOf(strain, 2), turn);
    double change[6] = {};
    for (std::size_t i = 0; i < 6; ++i)
        for (std::size_t j = 0; j < 6; ++j)
            change[i] += (*q.m.photoElastic)[i][j] * s[rowOf[j]][columnOf[j]].real() *
                         (j < 3 ? 1 : 2);
    return indexChange(q, matrixOf(change, 1));
}
