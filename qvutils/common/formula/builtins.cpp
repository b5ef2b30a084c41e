#include "qvutils/common/formula/builtins.h"

#include <algorithm>
#include <array>
#include <vector>

#include "qvutils/common/formula/arithmetic.h"
#include "qvutils/common/formula/blockkernels.h"
#include "qvutils/common/platform/vectormath.h"
#include "qvutils/qvnr/Splinfit.h"

using qvformula::Complex;
using qvformula::isReal;
using qvformula::realOnly;
using qvformula::realPart;

namespace {

// ---- functions of several arguments ----

template <class T>
T power(const ParList<T>& a) {
    return qvformula::pow(a[0], a[1]);
}

/// The position of the largest (Greatest) or smallest argument.
template <bool Greatest, class Values>
int extreme(const Values& value, int count, const char* name) {
    if (count < 2) qvThrowError("too few arguments in function \"%s\"\n", name);
    int best = 0;
    double bestValue = realOnly(value(0), name);
    for (int i = 1; i < count; ++i) {
        const double x = realOnly(value(i), name);
        if (Greatest ? x > bestValue : x < bestValue) {
            best = i;
            bestValue = x;
        }
    }
    return best;
}

template <bool Greatest>
constexpr const char* extremeName = Greatest ? "max" : "min";

template <class T, bool Greatest>
T extremeOf(const ParList<T>& a) {
    return a[extreme<Greatest>([&](int i) { return a[i]; }, a.count, extremeName<Greatest>)];
}

/// The x values of the points of lininterp and spline: x, x1, y1, x2, y2, ...
template <class T>
void checkPoints(const ParList<T>& a, const char* name, const char* notRising) {
    if (a.count < 5) qvThrowError("too few arguments in function \"%s\"\n", name);
    if (a.count % 2 == 0) qvThrowError("wrong number of arguments in function \"%s\"\n", name);
    const auto real = [&](int i) {
        if (!isReal(a[i])) {
            qvThrowError("cannot pass complex number in this position to function \"%s\"\n", name);
        }
        return realPart(a[i]);
    };
    real(0);
    for (int i = 3; i < a.count; i += 2) {
        if (!(real(i) > real(i - 2))) qvThrowError("%s", notRising);
    }
}

/// The first argument of the segment that x lies in: an end segment when it lies outside, the
/// right one when it lies on a point between two.
template <class Values>
int segmentOf(const Values& value, int count) {
    int first = 1;
    while (first + 4 < count && realPart(value(0)) >= realPart(value(first + 2))) first += 2;
    return first;
}

/// Exact at both ends of the segment.
template <class V>
V interpolate(const V& x, const V* ends) {
    const V width = ends[2] - ends[0];
    return ends[1] * ((ends[2] - x) / width) + ends[3] * ((x - ends[0]) / width);
}

template <class T>
T lininterp(const ParList<T>& a) {
    checkPoints(a, "lininterp", "the x-arguments must be monotonically increasing");
    const int first = segmentOf([&](int i) { return a[i]; }, a.count);
    return interpolate(a[0], a.values + first);
}

/// One column of complex arguments as the real points that the spline takes.
class RealPoints {
public:
    template <class Value>
    RealPoints(int count, const Value& value) {
        if (count > static_cast<int>(few_.size())) many_.resize(static_cast<std::size_t>(count));
        data_ = many_.empty() ? few_.data() : many_.data();
        for (int i = 0; i < count; ++i) data_[i] = value(i);
    }
    const double* data() const { return data_; }

private:
    std::array<double, 128> few_;
    std::vector<double> many_;
    double* data_;
};

struct ValueAndSlope {
    double value = 0;
    double slope = 0;
};

constexpr const char* splineNeedsRisingPoints =
    "spline: the x-arguments must be monotonically increasing";

ValueAndSlope splineAt(double x, const double* xy, int points) {
    ValueAndSlope result;
    if (!qvNaturalSplineValue(points, xy, x, result.value, result.slope))
        qvThrowError(splineNeedsRisingPoints);
    return result;
}

/// The spline through points (xs(i), column(i)).
template <class X, class Column>
ValueAndSlope splineThrough(double x, int points, const X& xs, const Column& column) {
    const RealPoints xy(2 * points, [&](int i) { return i % 2 ? column(i / 2) : xs(i / 2); });
    return splineAt(x, xy.data(), points);
}

template <class T>
void checkSpline(const ParList<T>& a) {
    checkPoints(a, "spline", splineNeedsRisingPoints);
    for (int i = 1; i < a.count; ++i) {
        // One that is not would spoil the curve everywhere.
        if (!std::isfinite(std::abs(a[i])))
            qvThrowError("spline: the points must be finite numbers\n");
    }
}

double spline(const ParList<double>& a) {
    checkSpline(a);
    return splineAt(a[0], a.values + 1, a.count / 2).value;
}

Complex spline(const ParList<Complex>& a) {
    checkSpline(a);
    const auto xs = [&](int i) { return a[1 + 2 * i].real(); };
    const double x = a[0].real();
    const int points = a.count / 2;
    return {splineThrough(x, points, xs, [&](int i) { return a[2 + 2 * i].real(); }).value,
            splineThrough(x, points, xs, [&](int i) { return a[2 + 2 * i].imag(); }).value};
}

template <class T>
T conditional(const ParList<T>& a) {
    return a[0] != T(0) ? a[1] : a[2];
}

// ---- derivatives ----

template <class T>
using Slope = T (*)(const QVDual<T>* a, int count, const T& value);

template <class T>
T sqrtSlope(const QVDual<T>* a, int, const T& value) {
    return qvChain(a->slope, T(0.5) / value);
}
template <class T>
T expSlope(const QVDual<T>* a, int, const T& value) {
    return qvChain(a->slope, value);
}
template <class T>
T lnSlope(const QVDual<T>* a, int, const T&) {
    return qvChain(a->slope, T(1) / a->value);
}
template <class T>
T log10Slope(const QVDual<T>* a, int, const T&) {
    constexpr double ln10 = 2.302585092994045684;
    return qvChain(a->slope, T(1) / (a->value * ln10));
}
template <class T>
T sinSlope(const QVDual<T>* a, int, const T&) {
    return qvChain(a->slope, qvformula::cos(a->value));
}
template <class T>
T cosSlope(const QVDual<T>* a, int, const T&) {
    return qvChain(a->slope, -qvformula::sin(a->value));
}
template <class T>
T tanSlope(const QVDual<T>* a, int, const T& value) {
    return qvChain(a->slope, T(1) + value * value);
}
template <class T>
T sinhSlope(const QVDual<T>* a, int, const T&) {
    return qvChain(a->slope, qvformula::cosh(a->value));
}
template <class T>
T coshSlope(const QVDual<T>* a, int, const T&) {
    return qvChain(a->slope, qvformula::sinh(a->value));
}
template <class T>
T tanhSlope(const QVDual<T>* a, int, const T& value) {
    return qvChain(a->slope, T(1) - value * value);
}
template <class T>
T atanSlope(const QVDual<T>* a, int, const T&) {
    return qvChain(a->slope, T(1) / (T(1) + a->value * a->value));
}

double asinFactor(double x) {
    return 1 / std::sqrt((1 - x) * (1 + x));
}
/// Above the cuts x > 1 and x < -1, where asin and acos have their values, 1 - z lies below the cut
/// of the square root: hence the sign of its imaginary part.
Complex asinFactor(const Complex& z) {
    const Complex above = qvformula::aboveCut(z);
    const Complex left(1 - above.real(), -above.imag());
    return 1.0 / (std::sqrt(left) * std::sqrt(Complex(1 + above.real(), above.imag())));
}
template <class T>
T asinSlope(const QVDual<T>* a, int, const T&) {
    return qvChain(a->slope, asinFactor(a->value));
}
template <class T>
T acosSlope(const QVDual<T>* a, int, const T&) {
    return qvChain(a->slope, -asinFactor(a->value));
}

double absSlope(const QVDual<double>* a, int, const double&) {
    return qvChain(a->slope, qvformula::sign(a->value));
}
// Modulus, phase, real and imaginary part have no complex derivative: theirs is the one along the
// real axis of the parameter.
Complex absSlope(const QVDual<Complex>* a, int, const Complex& value) {
    if (value == 0.0) return 0;
    return (std::conj(a->value) * a->slope).real() / value.real();
}
Complex argSlope(const QVDual<Complex>* a, int, const Complex&) {
    if (a->slope == 0.0) return 0;
    return (std::conj(a->value) * a->slope).imag() / std::norm(a->value);
}
Complex realSlope(const QVDual<Complex>* a, int, const Complex&) {
    return a->slope.real();
}
Complex imagSlope(const QVDual<Complex>* a, int, const Complex&) {
    return a->slope.imag();
}

template <class T>
T signSlope(const QVDual<T>*, int, const T&) {
    return 0;
}

template <class T>
T powSlope(const QVDual<T>* a, int, const T& value) {
    const T base = a[0].value, exponent = a[1].value;
    T slope = 0;
    if (a[0].slope != T(0) && exponent != T(0)) {
        slope = a[0].slope * exponent * qvformula::pow(base, exponent - T(1));
    }
    if (a[1].slope != T(0)) {
        if (base == T(0)) {
            slope += qvChain(a[1].slope, value == T(0) ? T(0) : T(qvformula::notANumber));
        } else if (realPart(base) < 0 && std::is_same_v<T, double>) {
            slope = qvformula::notANumber;  // a negative base has values at integers only
        } else {
            slope += a[1].slope * value * qvformula::ln(base);
        }
    }
    return slope;
}

template <class T, bool Greatest>
T extremeSlope(const QVDual<T>* a, int count, const T&) {
    return a[extreme<Greatest>([&](int i) { return a[i].value; }, count, extremeName<Greatest>)]
        .slope;
}

template <class T>
T lininterpSlope(const QVDual<T>* a, int count, const T&) {
    const int first = segmentOf([&](int i) { return a[i].value; }, count);
    return interpolate(a[0], a + first).slope;
}

/// A spline is linear in the y values of its points.
template <class T>
T splineSlope(const QVDual<T>* a, int count, const T&) {
    const int points = count / 2;
    for (int i = 1; i < count; i += 2) {
        if (a[i].slope != T(0)) {
            qvThrowError(
                "the x-arguments of \"spline\" must not depend on the variable of the "
                "derivative\n");
        }
    }
    const double x = realPart(a[0].value);
    const auto xs = [&](int i) { return realPart(a[1 + 2 * i].value); };
    const auto column = [&](auto part) {
        const ValueAndSlope along =
            splineThrough(x, points, xs, [&](int i) { return part(a[2 + 2 * i].value); });
        const ValueAndSlope change =
            splineThrough(x, points, xs, [&](int i) { return part(a[2 + 2 * i].slope); });
        return ValueAndSlope{change.value, along.slope};
    };
    const ValueAndSlope re = column([](const T& v) { return realPart(v); });
    if constexpr (std::is_same_v<T, double>) {
        return re.value + qvChain(a[0].slope, re.slope);
    } else {
        const ValueAndSlope im = column([](const T& v) { return v.imag(); });
        return T(re.value, im.value) + qvChain(a[0].slope, T(re.slope, im.slope));
    }
}

// ---- the table ----

template <class T, T (*Function)(T)>
T ofList(const ParList<T>& a) {
    return Function(a[0]);
}

template <qvplatform::VectorFunction Function>
bool vectorForm(const double* in, double* out, int n) {
    qvplatform::vectorMath(Function, in, out, n);
    return true;
}

using ArrayForm = bool (*)(const double* in, double* out, int n);

/// There are array forms for real numbers only.
template <class T>
constexpr auto arrayForm([[maybe_unused]] ArrayForm form) -> bool (*)(const T*, T*, int) {
    if constexpr (std::is_same_v<T, double>) return form;
    return nullptr;
}

template <class T, T (*Function)(T)>
constexpr QVBuiltin<T> one(const char* name, Slope<T> slope, const char* help, QVDirect direct,
                           ArrayForm array = nullptr) {
    return {name,
            1,
            "(x)",
            &ofList<T, Function>,
            {help, Function, slope, arrayForm<T>(array), direct, true}};
}

template <class T, T (*Function)(T)>
constexpr QVBuiltin<T> one(const char* name, Slope<T> slope, const char* help,
                           ArrayForm array = nullptr) {
    return one<T, Function>(name, slope, help, QVDirect::none, array);
}

template <class T>
constexpr QVBuiltin<T> several(const char* name, int arity, const char* arguments,
                               QVFormulaFunction<T> function, Slope<T> slope, const char* help,
                               QVDirect direct = QVDirect::none) {
    return {name, arity, arguments, function, {help, nullptr, slope, nullptr, direct, true}};
}

namespace f = qvformula;
using V = qvplatform::VectorFunction;

template <class T>
constexpr QVBuiltin<T> sqrtRow = one<T, f::sqrt>("sqrt", sqrtSlope, "square root", QVDirect::sqrt);
template <class T>
constexpr QVBuiltin<T> signRow = one<T, f::sign>("sign", signSlope, "-1, 0 or 1 by the sign");
template <class T>
constexpr QVBuiltin<T> powRow = several<T>("pow", 2, "(base, exponent)", power, powSlope,
                                           "power, as base**exponent", QVDirect::power);
template <class T>
constexpr QVBuiltin<T> starsRow = several<T>("**", 2, "(base, exponent)", power, powSlope,
                                             "the power operator", QVDirect::power);
template <class T>
constexpr QVBuiltin<T> absRow = one<T, f::abs>("abs", absSlope, "absolute value, modulus",
                                               QVDirect::abs);
template <class T>
constexpr QVBuiltin<T> splineRow = several<T>("spline", -1, "(x, x1, y1, x2, y2, ...)", spline,
                                              splineSlope, "natural cubic spline through points");
template <class T>
constexpr QVBuiltin<T> maxRow = several<T>("max", -1, "(a, b, ...)", extremeOf<T, true>,
                                           extremeSlope<T, true>, "largest argument");
template <class T>
constexpr QVBuiltin<T> minRow = several<T>("min", -1, "(a, b, ...)", extremeOf<T, false>,
                                           extremeSlope<T, false>, "smallest argument");
template <class T>
constexpr QVBuiltin<T> lininterpRow =
    several<T>("lininterp", -1, "(x, x1, y1, x2, y2, ...)", lininterp, lininterpSlope,
               "piecewise linear interpolation, its end pieces going on outside");
template <class T>
constexpr QVBuiltin<T> expRow = one<T, f::exp>("exp", expSlope, "e to the power x", f::blockExp);
template <class T>
constexpr QVBuiltin<T> sinRow = one<T, f::sin>("sin", sinSlope, "sine of an angle in radians",
                                               vectorForm<V::sin>);
template <class T>
constexpr QVBuiltin<T> cosRow = one<T, f::cos>("cos", cosSlope, "cosine", vectorForm<V::cos>);
template <class T>
constexpr QVBuiltin<T> tanRow = one<T, f::tan>("tan", tanSlope, "tangent", vectorForm<V::tan>);
template <class T>
constexpr QVBuiltin<T> sinhRow = one<T, f::sinh>("sinh", sinhSlope, "hyperbolic sine",
                                                 vectorForm<V::sinh>);
template <class T>
constexpr QVBuiltin<T> coshRow = one<T, f::cosh>("cosh", coshSlope, "hyperbolic cosine",
                                                 vectorForm<V::cosh>);
template <class T>
constexpr QVBuiltin<T> tanhRow = one<T, f::tanh>("tanh", tanhSlope, "hyperbolic tangent",
                                                 vectorForm<V::tanh>);
template <class T>
constexpr QVBuiltin<T> lnRow = one<T, f::ln>("ln", lnSlope, "natural logarithm", f::blockLn);
template <class T>
constexpr QVBuiltin<T> log10Row = one<T, f::log10>("log10", log10Slope, "decimal logarithm",
                                                   f::blockLog10);
template <class T>
constexpr QVBuiltin<T> asinRow = one<T, f::asin>("asin", asinSlope, "inverse sine", f::blockAsin);
template <class T>
constexpr QVBuiltin<T> acosRow = one<T, f::acos>("acos", acosSlope, "inverse cosine", f::blockAcos);
template <class T>
constexpr QVBuiltin<T> atanRow = one<T, f::atan>("atan", atanSlope, "inverse tangent",
                                                 vectorForm<V::atan>);
template <class T>
constexpr QVBuiltin<T> ifRow =
    several<T>("if", 3, "(condition, a, b)", conditional, nullptr,
               "a where the condition is not 0, else b; the other one is not evaluated");

constexpr QVBuiltin<double> realTable[] = {
    sqrtRow<double>,   signRow<double>, powRow<double>,   starsRow<double>,     absRow<double>,
    splineRow<double>, maxRow<double>,  minRow<double>,   lininterpRow<double>, expRow<double>,
    sinRow<double>,    cosRow<double>,  tanRow<double>,   sinhRow<double>,      coshRow<double>,
    tanhRow<double>,   lnRow<double>,   log10Row<double>, asinRow<double>,      acosRow<double>,
    atanRow<double>,   ifRow<double>};

constexpr QVBuiltin<Complex> complexTable[] = {
    sqrtRow<Complex>,
    signRow<Complex>,
    powRow<Complex>,
    starsRow<Complex>,
    absRow<Complex>,
    splineRow<Complex>,
    one<Complex, f::real>("real", realSlope, "real part"),
    one<Complex, f::imag>("imag", imagSlope, "imaginary part"),
    one<Complex, f::arg>("arg", argSlope, "argument (phase) in radians, from -pi to pi"),
    maxRow<Complex>,
    minRow<Complex>,
    lininterpRow<Complex>,
    expRow<Complex>,
    sinRow<Complex>,
    cosRow<Complex>,
    tanRow<Complex>,
    sinhRow<Complex>,
    coshRow<Complex>,
    tanhRow<Complex>,
    lnRow<Complex>,
    log10Row<Complex>,
    asinRow<Complex>,
    acosRow<Complex>,
    atanRow<Complex>,
    ifRow<Complex>};

}  // namespace

template <>
std::span<const QVBuiltin<double>> qvBuiltins<double>() {
    return realTable;
}
template <>
std::span<const QVBuiltin<Complex>> qvBuiltins<Complex>() {
    return complexTable;
}

namespace qvformula {

template <class T>
QVDual<T> pow(QVDual<T> base, QVDual<T> exponent) {
    const QVDual<T> arguments[] = {base, exponent};
    const T value = pow(base.value, exponent.value);
    return {value, powSlope(arguments, 2, value)};
}

template <class T>
QVDual<T> abs(QVDual<T> a) {
    const T value = abs(a.value);
    return {value, absSlope(&a, 1, value)};
}

template QVDual<double> pow(QVDual<double>, QVDual<double>);
template QVDual<Complex> pow(QVDual<Complex>, QVDual<Complex>);
template QVDual<double> abs(QVDual<double>);
template QVDual<Complex> abs(QVDual<Complex>);

}  // namespace qvformula
