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

/// Cell i knows the largest k <= n - 2 with (x[k] - x[0]) / width < i, where the last cell begins
/// at the last point: width = (x[n-1] - x[0]) / (cells - 1). One entry more bounds the search in
/// the last cell.
void CSplineIndex::build(const double* x, int n, int cells) {
    first_ = x[0];
    density_ = (cells - 1) / (x[n - 1] - x[0]);
    cells_.resize(static_cast<std::size_t>(cells) + 1);
    std::uint16_t* cell = cells_.data();
    int i = 0;
    for (int k = 0; k < n - 2; ++k) {
        const int last = static_cast<int>((x[k + 1] - first_) * density_);
        while (i <= last) cell[i++] = static_cast<std::uint16_t>(k);
    }
    while (i <= cells) cell[i++] = static_cast<std::uint16_t>(n - 2);
}

void CSpline::SetGradients(double dy1Start, double dy1End, double dy2Start, double dy2End) {
    gradients1_ = {dy1Start, dy1End};
    gradients2_ = {dy2Start, dy2End};
}

void CSpline::clear() {
    x_.clear();
    column1_.clear();
    column2_.clear();
    easyFrom_ = easyTo_ = 0;
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
    std::vector<double> work(2 * points);
    if (!fillColumn(column1_, data, &CSplineData::y1, gradients1_, work) ||
        (twoColumns && !fillColumn(column2_, data, &CSplineData::y2, gradients2_, work))) {
        clear();
        return false;
    }
    if (x_.back() > x_.front()) {
        index_.build(x_.data(), n, 2 * n);
        if (!broken) {
            easyFrom_ = x_.front();
            easyTo_ = x_.back();
        }
    }
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
bool CSpline::fillColumn(Column& column, const CSplineData* data, double CSplineData::*y,
                         const Gradients& gradients, std::vector<double>& work) const {
    const int n = getPoints();
    double* d = work.data();
    double* inverse = d + n;
    for (int from = 0; from < n;) {
        int to = from + 1;
        while (to < n && x_[to] > x_[to - 1]) ++to;
        if (to - from > 1) {
            const auto xAt = [this, from](int i) { return x_[from + i]; };
            const auto yAt = [data, y, from](int i) { return data[from + i].*y; };
            const double start = from == 0 ? gradients.start : noGradient;
            const double end = to == n ? gradients.end : noGradient;
            qvspline::solve(to - from, xAt, yAt, start, end, d + from, inverse);
        } else {
            d[from] = 0;
        }
        from = to;
    }
    column.resize(static_cast<std::size_t>(n));
    bool sound = true;
    for (int i = 0; i < n; ++i) {
        const double h = x_[i + (i < n - 1)] - x_[i - (i > 0)];
        column[i] = {data[i].*y, d[i]};
        sound &= std::abs(column[i].y) < largest && std::abs(d[i] * h * h) < largest;
    }
    if (!sound) qverr().setf("a value of spline %s is too large or not a number", getName());
    return sound;
}

int CSpline::segmentOf(double x) const {
    if (x <= x_.front()) return 0;
    if (x >= x_.back()) return getPoints() - 2;
    return index_.find(x_.data(), x);
}

template <class Kind>
double CSpline::at(const Column& column, int k, double x) const {
    const Knot* knot = column.data() + k;
    return Kind::of({x_[k], x_[k + 1], knot[0].y, knot[1].y, knot[0].y2, knot[1].y2}, x);
}

double CSpline::value(const Column& column, double x) const {
    if (x > easyFrom_ && x < easyTo_ && !column.empty()) {
        return at<Value>(column, index_.find(x_.data(), x), x);
    }
    return calc<Value>(column, x);
}

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
    const double result = at<Kind>(column, k, x);
    if (!std::isfinite(result)) {
        qverr().setf("out of data range calculating spline %s", getName());
        return 0;
    }
    return result;
}

double CSpline::CalcY1(double x) const {
    return value(column1_, x);
}

double CSpline::CalcY2(double x) const {
    return value(column2_, x);
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
    for (int i = 0; i < n; ++i) y[i] = value(column1_, x[i]);
}

void CSpline::CalcY2(const double* x, double* y, int n) const {
    for (int i = 0; i < n; ++i) y[i] = value(column2_, x[i]);
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
        CSpline::noGradient, CSpline::noGradient, d, d + n);
    int k = 0;
    while (k < n - 2 && x > xy[2 * k + 2]) ++k;
    const double* p = xy + 2 * k;
    const qvspline::Segment segment{p[0], p[2], p[1], p[3], d[k], d[k + 1]};
    y = segment.value(x);
    dydx = segment.slope(x);
    return true;
}
