#pragma once
#include <cmath>
#include <complex>
#include <memory>
#include <numbers>
#include <type_traits>
#include <vector>

#include "qvutils/common/error/qverror.h"
#include "qvutils/common/materials/analytic.h"
#include "qvutils/common/materials/dualmath.h"
#include "qvutils/common/materials/materialdata.h"
#include "qvutils/common/platform/threads.h"

/// The models of index, loss, permittivity and permeability, each evaluated for a plain wavelength
/// or for one that carries a derivative (S = double or QVDual<double>).
namespace qvmaterial {

/// Composition as the models take it, and temperature.
struct Point {
    double mx;
    double my;
    double T;
};

using Complex = std::complex<double>;
using Dual = QVDual<double>;
using DualComplex = QVDual<Complex>;
template <class S>
using ComplexOf = std::conditional_t<std::is_same_v<S, double>, Complex, DualComplex>;
template <class C>
using Full = std::array<std::array<C, 3>, 3>;

inline constexpr double photonEnergy = 1.239841984332003;         ///< h c in eV um
inline constexpr double lightSpeed = 299.792458;                  ///< um/ps
/// alpha in 1/cm is this times k / lambda in um.
inline constexpr double lossPerK = 4 * std::numbers::pi * 1e4;

inline Complex complexOf(double re, double im) {
    return {re, im};
}
inline DualComplex complexOf(const Dual& re, const Dual& im) {
    return {{re.value, im.value}, {re.slope, im.slope}};
}
inline double realPart(const Complex& z) {
    return z.real();
}
inline double imagPart(const Complex& z) {
    return z.imag();
}
inline Dual realPart(const DualComplex& z) {
    return {z.value.real(), z.slope.real()};
}
inline Dual imagPart(const DualComplex& z) {
    return {z.value.imag(), z.slope.imag()};
}

/// The root whose imaginary part is that of a wave that a passive medium weakens: the cut lies
/// along the negative imaginary axis, so that metals and media with gain are right as well.
inline Complex mediumRoot(const Complex& z) {
    if (z.imag() == 0) {
        const double size = std::sqrt(std::abs(z.real()));
        return z.real() >= 0 ? Complex(size, 0) : Complex(0, size);
    }
    const Complex root = std::sqrt(z);
    return root.imag() < -root.real() ? -root : root;
}
inline DualComplex mediumRoot(const DualComplex& z) {
    const Complex root = mediumRoot(z.value);
    return {root, z.slope / (2.0 * root)};
}

/// Values for formulas of a material, one set for each thread and depth of nested queries.
template <class T>
class FormulaArguments {
public:
    FormulaArguments(const QVExpression<T>& formula, const Point& p, double lambda)
        : stock_(qvplatform::perThread<Stock>()) {
        if (stock_.sets.size() == stock_.depth) more(formula);
        set_ = stock_.sets[stock_.depth++].get();
        *set_->value[paramLambda - 1] = lambda;
        *set_->value[paramMx - 1] = p.mx;
        *set_->value[paramMy - 1] = p.my;
        *set_->value[paramT - 1] = p.T;
    }
    ~FormulaArguments() { --stock_.depth; }
    FormulaArguments(const FormulaArguments&) = delete;
    FormulaArguments& operator=(const FormulaArguments&) = delete;

    const QVArguments<T>& get() const { return set_->arguments; }

private:
    struct Set {
        explicit Set(QVArguments<T> made) : arguments(std::move(made)) {
            for (int i = 0; i < 4; ++i) value[i] = &arguments.value(i + 1);
        }
        QVArguments<T> arguments;
        T* value[4];
    };
    struct Stock {
        std::vector<std::unique_ptr<Set>> sets;
        std::size_t depth = 0;
    };
    [[gnu::noinline]] void more(const QVExpression<T>& formula) {
        stock_.sets.push_back(std::make_unique<Set>(formula.makeArguments()));
    }
    Stock& stock_;
    Set* set_;
};

/// Hands a failure on to the thread's error object, unless one is pending there.
[[gnu::noinline]] inline void handOn(Error& error) {
    if (!qverr()) error.transferto(qverr());
}

/// Takes the error that is pending on this thread aside, so that a new one can be told from it.
class PendingErrorAside {
public:
    PendingErrorAside() {
        if (qverr()) qverr().transferto(before_);
    }
    ~PendingErrorAside() {
        if (before_) before_.transferto(qverr());
    }
    PendingErrorAside(const PendingErrorAside&) = delete;
    PendingErrorAside& operator=(const PendingErrorAside&) = delete;
    bool failed() const { return qverr() != 0; }

private:
    Error before_;
};

template <class T>
T evaluate(const QVExpression<T>& formula, const Point& p, double lambda, bool& failed) {
    const FormulaArguments<T> arguments(formula, p, lambda);
    Error error;
    const T value = formula.Evaluate(arguments.get(), error);
    if (error) [[unlikely]] {
        failed = true;
        handOn(error);
    }
    return value;
}
template <class T>
QVDual<T> evaluate(const QVExpression<T>& formula, const Point& p, const Dual& lambda,
                   bool& failed) {
    const FormulaArguments<T> arguments(formula, p, lambda.value);
    Error error;
    QVDual<T> result;
    result.value =
        formula.EvaluateDerivative(arguments.get(), paramLambda, result.slope, error);
    if (error) [[unlikely]] {
        failed = true;
        handOn(error);
    }
    return result;
}

inline double functionXY(const FuncXYModel& model, const Point& p, bool& failed) {
    const PendingErrorAside aside;
    const double value = model.function->Value(p.mx, p.my);
    if (aside.failed()) failed = true;
    return value;
}

inline double value(const Constant& constant, const Point& p, double lambda, bool& failed) {
    if (const double* number = std::get_if<double>(&constant.value)) return *number;
    return evaluate(std::get<QVExpressionR>(constant.value), p, lambda, failed);
}

/// n^2 of each pole model, of lambda^2.
template <class S>
S squareOf(const SellmeierTerms& t, const S& lambda2) {
    S sum = 1.0;
    for (std::size_t i = 0; i < static_cast<std::size_t>(t.count); ++i)
        sum = sum + t.strength[i] * lambda2 / (lambda2 - t.pole[i]);
    return sum;
}
template <class S>
S squareOf(const std::array<double, OnePoleModel::size>& c, const S& lambda2) {
    return c[0] + c[1] / (lambda2 - c[2]) - c[3] * lambda2;
}
template <class S>
S squareOf(const std::array<double, TwoPoleModel::size>& c, const S& lambda2) {
    return c[0] + c[1] * lambda2 / (lambda2 - c[2]) + c[3] * lambda2 / (lambda2 - c[4]) -
           c[5] * lambda2;
}

/// What the definition gives for one wavelength, along the axes of the definition (0 to 2: x, y, z)
/// and turned into those of the waveguide.
template <class S>
class Optics {
public:
    using C = ComplexOf<S>;

    Optics(const MaterialData& data, const Point& point, const S& lambda)
        : m_(data), p_(point), lambda_(lambda) {}

    /// A formula or function failed; its message has been posted.
    bool failed() const { return failed_; }

    /// The real index that the keywords of the index give, without that of built-in models.
    S modelIndex(int axis) {
        using std::sqrt;
        const RefractiveIndex& index = m_.index;
        const S lambda2 = lambda_ * lambda_;
        S n = 0.0;
        switch (index.model.index()) {
            case 0: break;
            case 1: n = sqrt(squareOf(std::get_if<1>(&index.model)->terms[axis], lambda2)); break;
            case 2: n = sqrt(squareOf(std::get_if<2>(&index.model)->c[axis], lambda2)); break;
            case 3: n = sqrt(squareOf(std::get_if<3>(&index.model)->c[axis], lambda2)); break;
            case 4: return evaluate(std::get_if<4>(&index.model)->formula[axis], p_, lambda_,
                                    failed_);
            case 5: n = functionXY(*std::get_if<5>(&index.model), p_, failed_); break;
            default: break;
        }
        addPolynomials(index.poly, axis, n);
        return n;
    }

    /// What RIX_ANISOTROPIC and RIX_ANISOPOLYX add.
    double indexDifference(int axis) const {
        const auto i = static_cast<unsigned>(axis);
        double dn = m_.index.hasDn ? m_.index.dn[i] : 0;
        if (m_.index.hasDnPolyX) dn += m_.index.dnPolyX[i].value(p_.mx);
        return dn;
    }

    /// The loss that the keywords of the loss give, in 1/cm.
    S ownLoss(int axis) {
        const Loss& loss = m_.loss;
        S alpha = 0.0;
        if (const auto* formula = std::get_if<ExpressionModel<double>>(&loss.model)) {
            alpha = evaluate(formula->formula[axis], p_, lambda_, failed_);
        } else {
            if (const auto* f = std::get_if<FuncXYModel>(&loss.model))
                alpha = functionXY(*f, p_, failed_);
            addPolynomials(loss.poly, axis, alpha);
        }
        if (loss.hasDa) alpha = alpha + loss.da[static_cast<unsigned>(axis)];
        return axis == 1 ? alpha * loss.eyFraction : alpha;
    }

    C principalMu(int axis) { return permittivityOf(m_.permeability, axis); }

    /// n + i k.
    C principalIndex(int axis) {
        C n = definedByEps(axis) ? epsIndex(axis) : ownIndex(axis);
        if (m_.index.hasDn || m_.index.hasDnPolyX) n = n + Complex(indexDifference(axis));
        if (m_.loss.defined()) n = n + complexOf(S(0.0), ownLoss(axis) * lambda_ / lossPerK);
        return n;
    }

    C principalEps(int axis) {
        const bool untouched =
            !m_.index.hasDn && !m_.index.hasDnPolyX && !m_.loss.defined();
        if (definedByEps(axis) && untouched) return permittivityOf(m_.permittivity, axis);
        const C n = principalIndex(axis);
        return m_.permeability.defined() ? n * n / principalMu(axis) : n * n;
    }

    /// The tensors in the axes of the definition, or turned into those of the waveguide.
    Full<C> crystalEps() {
        Full<C> t = offDiagonal(m_.permittivity);
        for (unsigned i = 0; i < 3; ++i) t[i][i] = principalEps(static_cast<int>(i));
        return t;
    }
    Full<C> eps() { return turned(crystalEps()); }
    Full<C> mu() {
        Full<C> t = offDiagonal(m_.permeability);
        for (unsigned i = 0; i < 3; ++i) t[i][i] = principalMu(static_cast<int>(i));
        return turned(t);
    }

    /// n + i k along the waveguide's axes.
    std::array<C, 3> indices() {
        std::array<C, 3> n;
        if (!needsTensor()) {
            for (unsigned i = 0; i < 3; ++i) n[i] = principalIndex(static_cast<int>(i));
            return n;
        }
        const Full<C> e = eps();
        const Full<C> u = mu();
        for (unsigned i = 0; i < 3; ++i) n[i] = mediumRoot(e[i][i]) * mediumRoot(u[i][i]);
        return n;
    }
    /// The same along x alone.
    C indexAlongX() { return needsTensor() ? indices()[0] : principalIndex(0); }

    std::array<C, 3> epsDiagonal() {
        if (!needsTensor()) return {principalEps(0), principalEps(1), principalEps(2)};
        const Full<C> e = eps();
        return {e[0][0], e[1][1], e[2][2]};
    }

    /// The loss in 1/cm along a waveguide's axis. What the keywords give is not sent through k.
    S alphaAlong(int axis) {
        if (needsTensor())
            return imagPart(indices()[static_cast<unsigned>(axis)]) * lossPerK / lambda_;
        const S ownK = imagPart(definedByEps(axis) ? epsIndex(axis) : ownIndex(axis));
        const S alpha = ownK * lossPerK / lambda_;
        return m_.loss.defined() ? alpha + ownLoss(axis) : alpha;
    }

    /// The tensors have to be turned to be those along the waveguide's axes.
    bool needsTensor() const { return m_.hasRotation || m_.cut != Cut::none; }

    /// From the axes of the definition to those of the waveguide.
    Matrix3 turn() const {
        if (!m_.hasRotation) return m_.orientation;
        Matrix3 r = m_.orientation;
        for (unsigned axis = 0; axis < 3; ++axis) r = turnAbout(axis, angle(axis), r);
        return r;
    }

private:
    template <class T>
    void addPolynomials(const Polynomials<double>& poly, int axis, T& sum) const {
        if (poly.x[axis].defined()) sum = sum + poly.x[axis].value(p_.mx);
        if (poly.l[axis].defined()) sum = sum + poly.l[axis].value(lambda_ - m_.lambdaRef);
        if (poly.t[axis].defined()) sum = sum + poly.t[axis].value(p_.T - m_.tempRef);
    }

    bool definedByEps(int axis) const {
        const auto i = static_cast<unsigned>(axis);
        return m_.permittivity.hasModel() || m_.permittivity.tensor[i][i] || !m_.index.defined();
    }

    C epsIndex(int axis) {
        return mediumRoot(permittivityOf(m_.permittivity, axis)) * mediumRoot(principalMu(axis));
    }

    C ownIndex(int axis) {
        const auto* analytic = std::get_if<AnalyticModel>(&m_.index.model);
        if (!analytic) return complexOf(modelIndex(axis), S(0.0));
        const qvAxis which = axis == 2 ? qvAxis::Extraordinary : qvAxis::Ordinary;
        if constexpr (std::is_same_v<S, double>) {
            return analytic->row->index(p_.mx, p_.my, lambda_, p_.T, which);
        } else {
            const qvIndexSlope n =
                analytic->row->indexSlope(p_.mx, p_.my, lambda_.value, p_.T, which);
            return {n.value, n.slope * lambda_.slope};
        }
    }

    C permittivityOf(const Permittivity& property, int axis) {
        const auto i = static_cast<unsigned>(axis);
        if (property.tensor[i][i]) return *property.tensor[i][i];
        if (!property.hasModel()) return Complex(1);
        const C lambda = complexOf(lambda_, S(0.0));
        switch (property.model.index()) {
            case 1: return evaluate(std::get_if<1>(&property.model)->formula[axis], p_, lambda_,
                                    failed_);
            case 2: return debye(*std::get_if<2>(&property.model), lambda);
            case 3: return drudeLorentz(*std::get_if<3>(&property.model), lambda);
            default: break;
        }
        const Polynomials<Complex>& poly = property.poly;
        C sum = Complex(0);
        if (poly.x[axis].defined()) sum = sum + poly.x[axis].value(Complex(p_.mx));
        if (poly.l[axis].defined()) sum = sum + poly.l[axis].value(lambda - Complex(m_.lambdaRef));
        if (poly.t[axis].defined()) sum = sum + poly.t[axis].value(Complex(p_.T - m_.tempRef));
        return sum;
    }

    static C debye(const DebyeModel& model, const C& lambda) {
        const C frequency = Complex(2 * std::numbers::pi * lightSpeed) / lambda;  // rad/ps
        C sum = Complex(model.infinity);
        for (const DebyeModel::Term& term : model.terms)
            sum = sum + Complex(term.strength) /
                            (Complex(1) - frequency * Complex(0, term.tau));
        return sum;
    }

    static C drudeLorentz(const DrudeLorentzModel& model, const C& lambda) {
        const C energy = Complex(photonEnergy) / lambda;
        C sum = Complex(model.infinity);
        for (const DrudeLorentzModel::Term& term : model.terms)
            sum = sum + Complex(term.plasma * term.plasma) /
                            (Complex(term.resonance * term.resonance) - energy * energy -
                             energy * Complex(0, term.damping));
        return sum;
    }

    static Full<C> offDiagonal(const Permittivity& property) {
        Full<C> t{};
        for (unsigned i = 0; i < 3; ++i)
            for (unsigned j = 0; j < 3; ++j) {
                if (i == j) continue;
                Complex element = property.tensor[i][j].value_or(0);
                if (property.hasImagOffDiagonal)
                    element += Complex(0, property.imagOffDiagonal[i][j]);
                t[i][j] = element;
            }
        return t;
    }

    double angle(unsigned axis) const {
        const Angle& a = m_.rotation[axis];
        if (a.source == Angle::useMx) return p_.mx;
        return a.source == Angle::useMy ? p_.my : a.degrees;
    }

    /// r, followed by a turn about a fixed axis. Right angles are exact.
    static Matrix3 turnAbout(unsigned axis, double degrees, const Matrix3& r) {
        const double quarters = std::nearbyint(degrees / 90);
        const double rest = (degrees - 90 * quarters) * std::numbers::pi / 180;
        double c = std::cos(rest);
        double s = std::sin(rest);
        for (double q = std::fmod(quarters, 4); q != 0; q += q > 0 ? -1 : 1) {
            const double old = c;
            c = q > 0 ? -s : s;
            s = q > 0 ? old : -old;
        }
        const unsigned a = (axis + 1) % 3;
        const unsigned b = (axis + 2) % 3;
        Matrix3 result = r;
        for (unsigned k = 0; k < 3; ++k) {
            result[a][k] = c * r[a][k] - s * r[b][k];
            result[b][k] = s * r[a][k] + c * r[b][k];
        }
        return result;
    }

    /// A t A^T; what looks the same from all sides stays as it is to the last bit.
    Full<C> turned(const Full<C>& t) const {
        if (!needsTensor() || isScalar(t)) return t;
        const Matrix3 a = turn();
        Full<C> half{}, result{};
        for (unsigned i = 0; i < 3; ++i)
            for (unsigned j = 0; j < 3; ++j)
                for (unsigned k = 0; k < 3; ++k)
                    half[i][j] = half[i][j] + t[i][k] * Complex(a[j][k]);
        for (unsigned i = 0; i < 3; ++i)
            for (unsigned j = 0; j < 3; ++j)
                for (unsigned k = 0; k < 3; ++k)
                    result[i][j] = result[i][j] + half[k][j] * Complex(a[i][k]);
        return result;
    }

    static bool isScalar(const Full<C>& t) {
        for (unsigned i = 0; i < 3; ++i)
            for (unsigned j = 0; j < 3; ++j)
                if (i != j ? qvValue(t[i][j]) != Complex(0) : qvValue(t[i][i]) != qvValue(t[0][0]))
                    return false;
        return true;
    }

    const MaterialData& m_;
    const Point& p_;
    S lambda_;
    bool failed_ = false;
};

}  // namespace qvmaterial
