#pragma once

/// The mathematics of the natural and clamped cubic spline, for the sources of this room.
namespace qvspline {

/// One end-to-end piece of a spline between two points.
struct Segment {
    double x0, x1;
    double y0, y1;
    double d0, d1;  ///< second derivatives

    // With B = (x - x0) / h and A = 1 - B: A^3 - A = -A B (1 + A) and B^3 - B = -A B (1 + B). So
    // the value is exactly y0 and y1 at the ends, and a straight line stays one at any distance.
    double value(double x) const {
        const double h = x1 - x0;
        const double b = (x - x0) / h;
        const double a = 1 - b;
        return a * (y0 - b * (h * ((1 + a) * d0 + (1 + b) * d1) * (h * (1. / 6)))) + b * y1;
    }
    double slope(double x) const {
        const double h = x1 - x0;
        const double b = (x - x0) / h;
        const double a = 1 - b;
        return (y1 - y0) / h + h / 6 * ((3 * b * b - 1) * d1 - (3 * a * a - 1) * d0);
    }
    double curvature(double x) const {
        const double b = (x - x0) / (x1 - x0);
        return (1 - b) * d0 + b * d1;
    }
};

/// True for a gradient that asks for a natural end.
inline bool isNatural(double gradient) {
    return gradient > 9.99e99;
}

/// Gaussian elimination of the spline's equations from one end. Seen from the other end the curve
/// is the same with x turned round, and so are its equations.
template <class X, class Y, class D, class Coupling>
struct Sweep {
    const X& x;
    const Y& y;
    const D& d;
    const Coupling& coupling;
    int end;        ///< the index of the point where the sweep begins
    int direction;  ///< 1 or -1
    double h = 0;   ///< width and slope of the segment before the row
    double s = 0;

    int at(int row) const { return end + direction * row; }

    /// Row 0 says d = 0 at a natural end, and else that the slope is `gradient`.
    void begin(double gradient) {
        h = direction * (x(at(1)) - x(at(0)));
        s = (y(at(1)) - y(at(0))) / h;
        const bool natural = isNatural(gradient);
        coupling(at(0)) = natural ? 0 : 0.5;
        d(at(0)) = natural ? 0 : 3 * (s - direction * gradient) / h;
    }
    /// Divides the row by the width after it, which leaves one division in the chain from row to
    /// row, and makes of it d[row] + coupling[row] d[row+1] = what is kept in d[row].
    void eliminate(int row) {
        const double hNext = direction * (x(at(row + 1)) - x(at(row)));
        const double perWidth = 1 / hNext;
        const double sNext = (y(at(row + 1)) - y(at(row))) * perWidth;
        const double ratio = h * perWidth;
        const double factor = 1 / (2 + ratio * (2 - coupling(at(row - 1))));
        coupling(at(row)) = factor;
        d(at(row)) = (6 * (sNext - s) * perWidth - ratio * d(at(row - 1))) * factor;
        h = hNext;
        s = sNext;
    }
};

/// The second derivatives d(0) to d(n - 1) of the spline through the points x(i), y(i), n >= 2,
/// with x rising: the solution of the tridiagonal system
///     h[i-1] d[i-1] + 2 (h[i-1] + h[i]) d[i] + h[i] d[i+1] = 6 (s[i] - s[i-1])
/// where h and s are the segments' widths and slopes. A clamped end has the slope `start` or `end`
/// in place of the missing segment's, whose width is 0. `d` and `coupling` are
/// functions, too, that return where a number is kept.
///
/// The elimination goes from both ends to the middle: neither waits for the other's divisions.
template <class X, class Y, class D, class Coupling>
void solve(int n, const X& x, const Y& y, double start, double end, const D& d,
           const Coupling& coupling) {
    Sweep<X, Y, D, Coupling> left{x, y, d, coupling, 0, 1};
    Sweep<X, Y, D, Coupling> right{x, y, d, coupling, n - 1, -1};
    left.begin(start);
    right.begin(end);
    const int half = n / 2;
    for (int row = 1; row < half; ++row) {
        left.eliminate(row);
        right.eliminate(row);
    }
    if (n % 2) left.eliminate(half);
    int i = (n - 1) / 2;
    int j = i + 1;
    d(i) = (d(i) - coupling(i) * d(j)) / (1 - coupling(i) * coupling(j));
    d(j) -= coupling(j) * d(i);
    while (--i >= 0) d(i) -= coupling(i) * d(i + 1);
    while (++j < n) d(j) -= coupling(j) * d(j - 1);
}

}  // namespace qvspline
