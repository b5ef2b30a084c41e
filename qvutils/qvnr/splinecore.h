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

/// The second derivatives d[0..n-1] of the spline through the points x(i), y(i), n >= 2, with x
/// rising: the solution of the tridiagonal system
///     h[i-1] d[i-1] + 2 (h[i-1] + h[i]) d[i] + h[i] d[i+1] = 6 (s[i] - s[i-1])
/// where h and s are the segments' widths and slopes. A clamped end has the slope `start` or `end`
/// in place of the missing segment's, whose width is 0. `inverse` is room for n numbers.
template <class X, class Y>
void solve(int n, X x, Y y, double start, double end, double* d, double* inverse) {
    // Row 0 as if it had no coupling when natural: its d then comes out as 0.
    double h = x(1) - x(0);
    double s = (y(1) - y(0)) / h;
    inverse[0] = isNatural(start) ? 0 : 1 / (2 * h);
    d[0] = isNatural(start) ? 0 : 6 * (s - start);
    for (int i = 1; i < n - 1; ++i) {
        const double hNext = x(i + 1) - x(i);
        const double sNext = (y(i + 1) - y(i)) / hNext;
        const double factor = h * inverse[i - 1];
        inverse[i] = 1 / (2 * (h + hNext) - h * factor);
        d[i] = 6 * (sNext - s) - factor * d[i - 1];
        h = hNext;
        s = sNext;
    }
    if (isNatural(end)) {
        d[n - 1] = 0;
    } else {
        const double factor = h * inverse[n - 2];
        d[n - 1] = (6 * (end - s) - factor * d[n - 2]) / (2 * h - h * factor);
    }
    for (int i = n - 2; i >= 0; --i) d[i] = (d[i] - (x(i + 1) - x(i)) * d[i + 1]) * inverse[i];
}

}  // namespace qvspline
