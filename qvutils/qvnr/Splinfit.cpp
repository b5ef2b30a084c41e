#include "qvutils/qvnr/Splinfit.h"

#include <cmath>

#include "qvutils/common/error/qverror.h"
#include "qvutils/qvnr/splinecore.h"

namespace {

/// With numbers below this nothing can overflow inside the table.
constexpr double largest = 1e300;

}  // namespace

struct CSpline::Value {
    static double of(const qvspline::Segment& s, double x) { return s.value(x); }
};
struct CSpline::Slope {
    static double of(const qvspline::Segment& s, double x) { return s.slope(x); }
};
struct CSpline::Curvature {
    static double of(const qvspline::Segment& s, double x) { return s.curvature(x); }
};

void CSpline::SetGradients(double dy1Start, double dy1End, double dy2Start, double dy2End) {
    gradients1_ = {dy1Start, dy1End};
    gradients2_ = {dy2Start, dy2End};
}

void CSpline::clear() {
    x_.clear();
    column1_.clear();
    column2_.clear();
    easyPlaces_ = 0;
    twoColumns_ = false;
    ready_ = false;
}

bool CSpline::Load(const CSplineData* data, int n, const char* name, bool twoColumns) {
    clear();
    name_ = name ? name : "";
    if (!checkRows(data, n)) return false;
    const std::size_t points = static_cast<std::size_t>(n);
    x_.resize(points);
    bool broken = false;
    for (std::size_t i = 0; i < points; ++i) {
        x_[i] = data[i].x;
        broken |= i > 0 && data[i].x == data[i - 1].x;
    }
    if (!fillColumn(column1_, data, &CSplineData::y1, gradients1_) ||
        (twoColumns && !fillColumn(column2_, data, &CSplineData::y2, gradients2_))) {
        clear();
        return false;
    }
    if (x_.back() > x_.front()) {
        index_.build(x_.data(), n, 2 * n);
        if (!broken) easyPlaces_ = index_.place(x_.back());
    }
    twoColumns_ = twoColumns;
    ready_ = true;
    return true;
}

bool CSpline::checkRows(const CSplineData* data, int n) const {
    if (!data || n < 2) {
        qverr().setf("too few points for spline %s", getName());
        return false;
    }
    if (n > maxPoints) {
        qverr().setf("too many points for spline %s (at most %d)", getName(), maxPoints);
        return false;
    }
    for (int i = 0; i < n; ++i) {
        if (!(std::abs(data[i].x) < largest)) {
            qverr().setf("point %d of spline %s is too large or not a number", i + 1, getName());
            return false;
        }
        if (i > 0 && data[i].x < data[i - 1].x) {
            qverr().setf("the x values of spline %s fall at point %d", getName(), i + 1);
            return false;
        }
    }
    // The number of cells per unit must be an ordinary number.
    const double range = data[n - 1].x - data[0].x;
    if (range != 0 && range < 1 / largest) {
        qverr().setf("the x range of spline %s is too small", getName());
        return false;
    }
    return true;
}

/// Each run of rising x values is a spline of its own; the given gradients are those of the ends.
/// Until the cubics are made, the second derivatives stand in c2.
bool CSpline::fillColumn(Column& column, const CSplineData* data, double CSplineData::*y,
                         const Gradients& gradients) const {
    const int n = getPoints();
    column.resize(static_cast<std::size_t>(n));
    for (int from = 0; from < n;) {
        int to = from + 1;
        while (to < n && x_[to] > x_[to - 1]) ++to;
        if (to - from > 1) {
            qvspline::solve(
                to - from, [x = &x_[from]](int i) { return x[i]; },
                [rows = data + from, y](int i) { return rows[i].*y; },
                from == 0 ? gradients.start : noGradient, to == n ? gradients.end : noGradient,
                [knots = &column[from]](int i) -> double& { return knots[i].c2; },
                [knots = &column[from]](int i) -> double& { return knots[i].c1; });
        } else {
            column[from].c2 = 0;
        }
        from = to;
    }
    return makeCubics(column, data, y);
}

bool CSpline::makeCubics(Column& column, const CSplineData* data, double CSplineData::*y) const {
    const int n = getPoints();
    double before = column[0].c2;
    column[0] = {data[0].*y, 0, before / 2, 0};
    bool sound = std::abs(column[0].y) < largest;
    for (int i = 1; i < n; ++i) {
        Knot& knot = column[i];
        const double d = knot.c2;
        const double h = x_[i] - x_[i - 1];
        const double perWidth = h == 0 ? 0 : 1 / h;
        knot.y = data[i].*y;
        knot.c1 = (knot.y - data[i - 1].*y) * perWidth + h * (1. / 6) * (2 * d + before);
        knot.c2 = d / 2;
        knot.c3 = (d - before) * (1. / 6) * perWidth;
        before = d;
        sound &=
            std::abs(knot.y) + std::abs(knot.c1 * h) + std::abs(d * h) * h + std::abs(knot.c3) <
            largest;
    }
    if (!sound) qverr().setf("a value of spline %s is too large or not a number", getName());
    return sound;
}

int CSpline::segmentOf(double x) const {
    if (x <= x_.front()) return 0;
    if (x >= x_.back()) return getPoints() - 2;
    return static_cast<int>(index_.find(x_.data(), x)) - 1;
}

/// Handles every case, where easyValue handles the usual one.
template <class Kind>
double CSpline::calc(const Column& column, double x) const {
    if (!ready_ || std::isnan(x)) {
        // When loading failed, the message that tells why is still there.
        if (!qverr()) qverr().setf("out of data range calculating spline %s", getName());
        return 0;
    }
    if (column.empty()) {
        qverr().setf("spline %s has no second column", getName());
        return 0;
    }
    const int k = segmentOf(x);
    const bool twins =
        x_[k + 1] == x_[k] || (x == x_[k + 1] && k + 2 < getPoints() && x_[k + 2] == x);
    if (twins) {
        qverr().setf("Bad data calculating spline%s", getName());
        return 0;
    }
    const Knot* knot = column.data() + k;
    const double result =
        Kind::of({x_[k], x_[k + 1], knot[0].y, knot[1].y, 2 * knot[0].c2, 2 * knot[1].c2}, x);
    if (!std::isfinite(result)) {
        qverr().setf("out of data range calculating spline %s", getName());
        return 0;
    }
    return result;
}

double CSpline::carefulValue(const Column& column, double x) const {
    return calc<Value>(column, x);
}

double CSpline::CalcdY1dx(double x) const {
    return calc<Slope>(column1_, x);
}

double CSpline::CalcdY2dx(double x) const {
    return calc<Slope>(column2_, x);
}

double CSpline::Calcd2Y1dx2(double x) const {
    return calc<Curvature>(column1_, x);
}

double CSpline::Calcd2Y2dx2(double x) const {
    return calc<Curvature>(column2_, x);
}

void CSpline::CalcY1(const double* x, double* y, int n) const {
    for (int i = 0; i < n; ++i) y[i] = CalcY1(x[i]);
}

void CSpline::CalcY2(const double* x, double* y, int n) const {
    for (int i = 0; i < n; ++i) y[i] = CalcY2(x[i]);
}

bool qvNaturalSplineValue(int n, const double* xy, double x, double& y, double& dydx) {
    constexpr int most = 64;
    double fixed[2 * most];
    std::vector<double> work;
    if (n < 2) return false;
    for (int i = 0; i < n; ++i) {
        if (!std::isfinite(xy[2 * i]) || (i > 0 && !(xy[2 * i] > xy[2 * i - 2]))) return false;
    }
    if (n > most) work.resize(2 * static_cast<std::size_t>(n));
    double* d = n > most ? work.data() : fixed;
    qvspline::solve(
        n, [xy](int i) { return xy[2 * i]; }, [xy](int i) { return xy[2 * i + 1]; },
        CSpline::noGradient, CSpline::noGradient, [d](int i) -> double& { return d[i]; },
        [d, n](int i) -> double& { return d[n + i]; });
    int k = 0;
    while (k < n - 2 && x > xy[2 * k + 2]) ++k;
    const double* p = xy + 2 * k;
    const qvspline::Segment segment{p[0], p[2], p[1], p[3], d[k], d[k + 1]};
    y = segment.value(x);
    dydx = segment.slope(x);
    return true;
}
