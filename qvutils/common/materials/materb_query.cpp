#include <array>

#include "qvutils/common/diagnostics/diagnostics.h"
#include "qvutils/common/materials/materquery.h"
#include "qvutils/common/platform/format.h"

using qvmaterial::Complex;
using qvmaterial::Dual;
using qvmaterial::Full;
using qvmaterial::MaterialData;
using qvmaterial::Optics;
using Query = qvMaterialQuery;

namespace {

constexpr const char* kindNames[] = {
    "refractive index", "group index", "loss", "permittivity", "permeability", "static index",
    "band gap", "gain per length", "gain per time", "recombination", "diffusion constant", "chi2",
    "chi3", "thermal expansion", "thermal conductivity", "Poisson ratio", "Young's modulus",
    "electro-optic change of index", "photo-elastic change of index"};

bool finite(const Complex& z) {
    return std::isfinite(z.real()) && std::isfinite(z.imag());
}
bool finite(const Full<Complex>& t) {
    for (const auto& row : t)
        for (const Complex& z : row)
            if (!finite(z)) return false;
    return true;
}

/// The same number on the whole diagonal.
DStensor same(double value) {
    return {value, value, value};
}
CStensor same(const Complex& value) {
    return {value, value, value};
}

}  // namespace

bool qvMaterialQuery::fail(const char* why) const {
    if (!qverr())
        qverr().setf("No %s of material \"%s\" for mx = %g, my = %g, lambda = %g um, T = %g K:\n"
                     "%s\n",
                     kindNames[kind], material.getName(), point.mx, point.my, lambda, point.T, why);
    return false;
}

bool qvMaterialQuery::undefined(const char* what) const {
    if (!qverr()) qverr().setf("%s undefined in material \"%s\"\n", what, material.getName());
    return false;
}

double qvMaterialQuery::noAnswer(double neutral, bool failed) const {
    if (!failed) fail("the model has no finite value there");
    return neutral;
}

void qvMaterialQuery::warn(const char* text) const {
    const std::uint32_t bit = std::uint32_t(1) << kind;
    if (material.warned_.load(std::memory_order_relaxed) & bit) return;
    if (material.warned_.fetch_or(bit) & bit) return;
    wlprintf("WARNING: %s of material \"%s\": %s\n", kindNames[kind], material.getName(), text);
}

void qvMaterialQuery::warnOutside(const char* what, double value,
                                  const std::array<double, 2>& range, const char* unit) const {
    if (value >= range[0] && value <= range[1]) return;
    const QVString model = material.getModelName();
    warn(qvplatform::formatText("%s%s%s %g%s is outside of %g to %g%s; extrapolated",
                                model.Chars(), model.Chars()[0] ? ": " : "", what, value, unit,
                                range[0], range[1], unit)
             .c_str());
}

bool qvMaterialQuery::check(double mx, double my) {
    if (!std::isfinite(mx) || !std::isfinite(my)) return fail("mx and my have to be numbers");
    if (!std::isfinite(lambda) || !std::isfinite(point.T))
        return fail("wavelength and temperature have to be finite numbers");
    if (point.T < 0) return fail("the temperature is below zero");
    if (optical() && lambda <= 0) return fail("the wavelength has to be above zero");
    if (lambda < 0) return fail("the wavelength is below zero");
    const bool nothing =
        !m.index.defined() && !m.permittivity.defined() && !m.permeability.defined();
    if (optical() && nothing && !(kind == loss && m.loss.defined()) &&
        !(kind == groupIndex && m.groupIndex.defined()))
        return undefined("Refractive index");
    if (m.mx.range) warnOutside(m.mx.label.Chars(), mx, *m.mx.range, "");
    if (m.my.range) warnOutside(m.my.label.Chars(), my, *m.my.range, "");
    if (m.tempRange) warnOutside("temperature", point.T, *m.tempRange, " K");
    return checkModel();
}

/// What the wavelength alone decides, and all that a built-in model has to say.
bool qvMaterialQuery::checkModel() {
    if (!optical()) return true;
    if (!(lambda > 0) || lambda > largest) return fail("the wavelength has to be above zero");
    if (m.lambdaRange) warnOutside("wavelength", lambda, *m.lambdaRange, " um");
    const auto* model = std::get_if<qvmaterial::AnalyticModel>(&m.index.model);
    if (!model || kind == permeability) return true;
    const qvAnalyticVerdict verdict = model->row->check(point.mx, point.my, lambda, point.T);
    if (verdict.kind == qvAnalyticVerdict::Inside) return true;
    const QVString text = model->row->describe(verdict, point.mx, point.T);
    if (verdict.usable()) {
        warn(text.Chars());
    } else if (!qverr()) {
        qverr().set(text.Chars());
    }
    return verdict.usable();
}

namespace {

/// The index in all cases, with all messages.
[[gnu::noinline]] double checkedIndex(const MaterB& material, double mx, double my, double lambda,
                                      double T) {
    const Query q(material, Query::index, mx, my, lambda, T);
    if (!q) return 1;
    Optics<double> optics(q.m, q.point, lambda);
    const double n = optics.indexAlongX().real();
    return q.answer(n, 1, optics.failed());
}

}  // namespace

double MaterB::nr(double mx, double my, double lambda, double T) const {
    const qvmaterial::Reading reading;
    const MaterialData& m = data();
    if (m.plainIndex && Query::plainArguments(mx, my, lambda, T)) {
        const qvmaterial::Point point = Query::pointOf(m, mx, my, T);
        Optics<double> optics(m, point, lambda);
        const double n = optics.modelIndex(0);
        if (std::abs(n) < INFINITY && !optics.failed()) return n;
        if (optics.failed()) return 1;
    }
    return checkedIndex(*this, mx, my, lambda, T);
}

DStensor MaterB::nrani(double mx, double my, double lambda, double T) const {
    const Query q(*this, Query::index, mx, my, lambda, T);
    if (!q) return same(1.0);
    Optics<double> optics(q.m, q.point, lambda);
    const std::array<Complex, 3> n = optics.indices();
    return {q.answer(n[0].real(), 1, optics.failed()), q.answer(n[1].real(), 1, optics.failed()),
            q.answer(n[2].real(), 1, optics.failed())};
}

DStensor MaterB::getNrFromFullTensor(double mx, double my, double lambda, double T) const {
    const CFtensor eps = getAniEpsFull(mx, my, lambda, T);
    const CFtensor mu = getAniMuFull(mx, my, lambda, T);
    const auto n = [&](std::size_t i) {
        return (qvmaterial::mediumRoot(eps.m[i][i]) * qvmaterial::mediumRoot(mu.m[i][i])).real();
    };
    return {n(0), n(1), n(2)};
}

DStensor MaterB::getAlphaFromFullTensor(double mx, double my, double lambda, double T) const {
    const CFtensor eps = getAniEpsFull(mx, my, lambda, T);
    const CFtensor mu = getAniMuFull(mx, my, lambda, T);
    const auto alpha = [&](std::size_t i) {
        const Complex n =
            qvmaterial::mediumRoot(eps.m[i][i]) * qvmaterial::mediumRoot(mu.m[i][i]);
        return n.imag() == 0 ? 0 : qvmaterial::lossPerK * n.imag() / lambda;
    };
    return {alpha(0), alpha(1), alpha(2)};
}

DStensor MaterB::nrDC(double mx, double my) const {
    const Query q(*this, Query::staticIndex, mx, my, 0, getTempRef());
    if (!q) return same(1.0);
    if (!q.m.index.dc) {
        q.undefined("RIX_DC");
        return same(1.0);
    }
    const qvmaterial::RefractiveIndex::Static& dc = *q.m.index.dc;
    const Optics<double> optics(q.m, q.point, 0);
    if (!optics.needsTensor()) return {dc.n + dc.dn[0], dc.n + dc.dn[1], dc.n + dc.dn[2]};
    const qvmaterial::Matrix3 a = optics.turn();
    const auto along = [&](std::size_t i) {
        double eps = 0;
        for (std::size_t k = 0; k < 3; ++k)
            eps += a[i][k] * a[i][k] * (dc.n + dc.dn[k]) * (dc.n + dc.dn[k]);
        return std::sqrt(eps);
    };
    return {along(0), along(1), along(2)};
}

namespace {

/// For a material that has a group index of its own.
double givenGroupIndex(const Query& q) {
    const qvmaterial::GroupIndex& given = q.m.groupIndex;
    if (!given.expression) return q.answer(given.polyL.value(q.lambda - q.m.lambdaRef), 1);
    bool failed = false;
    const double n = qvmaterial::evaluate(given.expression->formula[0], q.point, q.lambda, failed);
    return q.answer(n, 1, failed);
}

}  // namespace

double MaterB::ng(double mx, double my, double lambda, double T) const {
    const Query q(*this, Query::groupIndex, mx, my, lambda, T);
    if (!q) return 1;
    if (q.m.groupIndex.defined()) return givenGroupIndex(q);
    Optics<Dual> optics(q.m, q.point, Dual(lambda, 1));
    const Dual n = qvmaterial::realPart(optics.indexAlongX());
    return q.answer(n.value - lambda * n.slope, 1, optics.failed());
}

double MaterB::alpha(double mx, double my, double lambda, double T) const {
    const Query q(*this, Query::loss, mx, my, lambda, T);
    if (!q) return 0;
    Optics<double> optics(q.m, q.point, lambda);
    return q.answer(optics.alphaAlong(0), 0, optics.failed());
}

DStensor MaterB::alphaani(double mx, double my, double lambda, double T) const {
    const Query q(*this, Query::loss, mx, my, lambda, T);
    if (!q) return same(0.0);
    Optics<double> optics(q.m, q.point, lambda);
    const double alpha[] = {optics.alphaAlong(0), optics.alphaAlong(1), optics.alphaAlong(2)};
    return {q.answer(alpha[0], 0, optics.failed()), q.answer(alpha[1], 0, optics.failed()),
            q.answer(alpha[2], 0, optics.failed())};
}

CStensor MaterB::eps(double mx, double my, double lambda, double T) const {
    const Query q(*this, Query::permittivity, mx, my, lambda, T);
    if (!q) return same(Complex(1));
    Optics<double> optics(q.m, q.point, lambda);
    const std::array<Complex, 3> e = optics.epsDiagonal();
    if (!optics.failed() && finite(e[0]) && finite(e[1]) && finite(e[2])) return {e[0], e[1], e[2]};
    q.answer(NAN, 1, optics.failed());
    return same(Complex(1));
}

CStensor MaterB::eps(double mx, double my, double lambda, double T, CStensor& slope) const {
    slope = same(Complex(0));
    const Query q(*this, Query::permittivity, mx, my, lambda, T);
    if (!q) return same(Complex(1));
    Optics<Dual> optics(q.m, q.point, Dual(lambda, 1));
    std::array<qvmaterial::DualComplex, 3> e = optics.epsDiagonal();
    if (optics.failed() || !finite(e[0].value) || !finite(e[1].value) || !finite(e[2].value)) {
        q.answer(NAN, 1, optics.failed());
        return same(Complex(1));
    }
    if (q.m.groupIndex.defined() && !q.m.permeability.defined()) {
        const double ng = givenGroupIndex(q);
        for (qvmaterial::DualComplex& axis : e) {
            const Complex n = qvmaterial::mediumRoot(axis.value);
            const Complex dn((n.real() - ng) / lambda, (axis.slope / (2. * n)).imag());
            axis.slope = 2. * n * dn;
        }
    }
    slope = {e[0].slope, e[1].slope, e[2].slope};
    return {e[0].value, e[1].value, e[2].value};
}

CStensor MaterB::mu(double mx, double my, double lambda, double T) const {
    const CFtensor t = getAniMuFull(mx, my, lambda, T);
    return {t.m[0][0], t.m[1][1], t.m[2][2]};
}

namespace {

constexpr CFtensor unitTensor() {
    return {{{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}}};
}

CFtensor fullOrUnit(const Query& q, const Full<Complex>& t, bool failed) {
    if (!failed && finite(t)) return {t};
    q.answer(NAN, 1, failed);
    return unitTensor();
}

}  // namespace

CFtensor MaterB::getAniEpsFull(double mx, double my, double lambda, double T) const {
    const Query q(*this, Query::permittivity, mx, my, lambda, T);
    if (!q) return unitTensor();
    Optics<double> optics(q.m, q.point, lambda);
    const Full<Complex> t = optics.eps();
    return fullOrUnit(q, t, optics.failed());
}

CFtensor MaterB::getAniMuFull(double mx, double my, double lambda, double T) const {
    const Query q(*this, Query::permeability, mx, my, lambda, T);
    if (!q) return unitTensor();
    Optics<double> optics(q.m, q.point, lambda);
    const Full<Complex> t = optics.mu();
    return fullOrUnit(q, t, optics.failed());
}

CFtensor MaterB::aniEpsRot(double mx, double my, double lambda, double T) const {
    return getAniEpsFull(mx, my, lambda, T);
}
