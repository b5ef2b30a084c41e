// The splines' second derivatives against LAPACK's solver for tridiagonal systems.
#include <gtest/gtest.h>
#include <lapacke.h>

#include <cmath>
#include <random>
#include <vector>

#include "qvutils/qvnr/Splinfit.h"

namespace {

constexpr double pi = 3.14159265358979323846;

/// Unevenly spaced points over [0, 2 pi] of a function with that period.
std::vector<CSplineData> periodicTable(int n) {
    std::mt19937 random(7);
    std::uniform_real_distribution<> step(0.05, 1);
    std::vector<CSplineData> rows;
    double x = 0;
    for (int i = 0; i < n; ++i, x += step(random)) rows.push_back({x, 0, 0});
    for (CSplineData& row : rows) {
        row.x *= 2 * pi / rows.back().x;
        if (&row == &rows.back()) row.x = 2 * pi;
        row.y1 = std::sin(row.x) + 0.3 * std::cos(5 * row.x);
    }
    return rows;
}

/// The equations of continuous slopes, every row written out.
std::vector<double> solved(const std::vector<CSplineData>& rows, double start, double end) {
    const int n = static_cast<int>(rows.size());
    std::vector<double> lower(n - 1, 0), diagonal(n, 1), upper(n - 1, 0), d(n, 0);
    const auto width = [&rows](int i) { return rows[i + 1].x - rows[i].x; };
    const auto slope = [&](int i) { return (rows[i + 1].y1 - rows[i].y1) / width(i); };
    for (int i = 1; i < n - 1; ++i) {
        lower[i - 1] = width(i - 1) / 6;
        diagonal[i] = (width(i - 1) + width(i)) / 3;
        upper[i] = width(i) / 6;
        d[i] = slope(i) - slope(i - 1);
    }
    if (start < 1e99) {
        diagonal[0] = width(0) / 3;
        upper[0] = width(0) / 6;
        d[0] = slope(0) - start;
    }
    if (end < 1e99) {
        diagonal[n - 1] = width(n - 2) / 3;
        lower[n - 2] = width(n - 2) / 6;
        d[n - 1] = end - slope(n - 2);
    }
    EXPECT_EQ(LAPACKE_dgtsv(LAPACK_COL_MAJOR, n, 1, lower.data(), diagonal.data(), upper.data(),
                            d.data(), n),
              0);
    return d;
}

TEST(SplineAgainstLapack, natural_clamped_and_mixed_ends_agree) {
    constexpr double natural = CSpline::noGradient;
    for (const int n : {2, 3, 4, 5, 100, 101, 5000}) {
        for (const auto& [start, end] : {std::pair{natural, natural}, std::pair{1., 1.},
                                         std::pair{-3., natural}, std::pair{natural, 20.}}) {
            const auto rows = periodicTable(n);
            const auto expected = solved(rows, start, end);
            CSpline spline;
            spline.SetGradients(start, end, natural, natural);
            ASSERT_TRUE(spline.Load(rows.data(), n, "wave", false));
            double largest = 1;
            for (const double d : expected) largest = std::max(largest, std::abs(d));
            for (int i = 0; i < n; ++i) {
                EXPECT_NEAR(spline.Calcd2Y1dx2(rows[i].x), expected[i], 1e-10 * largest)
                    << n << ' ' << start << ' ' << end << " at " << i;
            }
        }
    }
}

}  // namespace
