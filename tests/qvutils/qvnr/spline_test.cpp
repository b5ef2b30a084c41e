#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "qvutils/common/error/qverror.h"
#include "qvutils/qvnr/Splinfit.h"

namespace {

constexpr double inf = std::numeric_limits<double>::infinity();
constexpr double nan = std::numeric_limits<double>::quiet_NaN();

using Rows = std::vector<CSplineData>;

class SplineTest : public testing::Test {
protected:
    SplineTest() { qverr().reset(); }

    bool load(const Rows& rows, bool twoColumns = false) {
        return spline.Load(rows.data(), static_cast<int>(rows.size()), "s", twoColumns);
    }
    static std::string error() { return qverr().chars_and_reset(); }

    CSpline spline;
};

double cubic(double x) {
    return 2 - x + 3 * x * x - 0.5 * x * x * x;
}
double cubicSlope(double x) {
    return -1 + 6 * x - 1.5 * x * x;
}

TEST_F(SplineTest, a_cubic_with_its_end_slopes_is_reproduced_and_extrapolated) {
    Rows rows;
    for (const double x : {-1., -0.9, 0., 0.7, 2., 2.1, 3.}) rows.push_back({x, cubic(x), -x});
    spline.SetGradients(cubicSlope(-1), cubicSlope(3), CSpline::noGradient, CSpline::noGradient);
    ASSERT_TRUE(load(rows, true));
    for (double x = -10; x < 12; x += 0.37) {
        EXPECT_NEAR(spline.CalcY1(x), cubic(x), 1e-12 * (1 + std::abs(cubic(x)))) << x;
        EXPECT_NEAR(spline.CalcdY1dx(x), cubicSlope(x), 1e-11 * (1 + std::abs(cubic(x)))) << x;
        EXPECT_NEAR(spline.Calcd2Y1dx2(x), 6 - 3 * x, 1e-10) << x;
        EXPECT_NEAR(spline.CalcY2(x), -x, 1e-13 * (1 + std::abs(x))) << x;
        EXPECT_NEAR(spline.CalcdY2dx(x), -1, 1e-13) << x;
        EXPECT_NEAR(spline.Calcd2Y2dx2(x), 0, 1e-13) << x;
    }
    EXPECT_FALSE(qverr());
}

TEST_F(SplineTest, two_points_make_a_straight_line_at_any_distance) {
    ASSERT_TRUE(load({{1, 5, 0}, {3, 9, 0}}));
    for (const double x : {-1e200, -4., 1., 1.5, 3., 1e3, 1e200}) {
        EXPECT_NEAR(spline.CalcY1(x), 3 + 2 * x, 1e-15 * std::abs(x)) << x;
    }
    EXPECT_EQ(spline.CalcY1(inf), 0);
    EXPECT_EQ(error(), "out of data range calculating spline s");
}

Rows waves(int n, bool clustered) {
    std::mt19937 random(3);
    std::uniform_real_distribution<> step(0.01, 1);
    Rows rows;
    double x = clustered ? 1e-12 : 0;
    for (int i = 0; i < n; ++i) {
        rows.push_back({x, std::sin(3 * x) + x, 0});
        x += clustered ? x * step(random) * 30 / n : step(random) * 10 / n;
    }
    return rows;
}

TEST_F(SplineTest, knots_are_met_exactly_and_value_slope_and_curvature_are_continuous) {
    for (const bool clustered : {false, true}) {
        const Rows rows = waves(400, clustered);
        ASSERT_TRUE(load(rows));
        for (std::size_t i = 0; i < rows.size(); ++i) {
            const double x = rows[i].x;
            EXPECT_EQ(spline.CalcY1(x), rows[i].y1);
            const double before = std::nextafter(x, -inf);
            const double after = std::nextafter(x, inf);
            EXPECT_NEAR(spline.CalcY1(before), spline.CalcY1(after), 1e-12);
            EXPECT_NEAR(spline.CalcdY1dx(before), spline.CalcdY1dx(after), 1e-7);
            const double curvature = spline.Calcd2Y1dx2(after);
            EXPECT_NEAR(spline.Calcd2Y1dx2(before), curvature, 1e-6 * (1 + std::abs(curvature)));
        }
        EXPECT_EQ(spline.Calcd2Y1dx2(rows.front().x), 0);
        EXPECT_EQ(spline.Calcd2Y1dx2(rows.back().x), 0);
    }
}

/// Tables that crowd at one place, at several scales, or at none.
std::vector<double> crowdedTable(int kind, int n) {
    std::vector<double> x;
    for (int i = 0; i < n; ++i) {
        const double t = i + (i % 3) * 0.2;
        switch (kind) {
            case 0:
                x.push_back(t);
                break;
            case 1:
                x.push_back(i < n / 2 ? 5 + t * 1e-13 : 6 + t);
                break;
            case 2:
                x.push_back(std::pow(2., t * 1000 / n - 900));
                break;
            case 3:
                x.push_back(-std::pow(1.9, -t * 500 / n));
                break;
            default:
                x.push_back(std::round(t / 7) + 1e-9 * (i % 7));
                break;
        }
    }
    std::sort(x.begin(), x.end());
    x.erase(std::unique(x.begin(), x.end()), x.end());
    return x;
}

TEST(SplineIndexTest, finds_the_points_that_a_walk_along_the_table_finds) {
    for (const int n : {2, 3, 10, 500, 65535}) {
        for (int kind = 0; kind < 5; ++kind) {
            const std::vector<double> x = crowdedTable(kind, n);
            const int points = static_cast<int>(x.size());
            if (points < 2) continue;
            CSplineIndex index;
            index.build(x.data(), points, 2 * points);
            for (int k = 0; k + 1 < points; ++k) {
                const std::size_t next = static_cast<std::size_t>(k) + 1;
                const double inside = x[k] + (x[k + 1] - x[k]) / 2;
                const double first = std::nextafter(x[k], inf);
                if (k + 2 < points) {
                    EXPECT_EQ(index.find(x.data(), x[k + 1]), next) << kind;
                }
                if (inside > x[k]) {
                    EXPECT_EQ(index.find(x.data(), inside), next) << kind;
                }
                if (first < x[k + 1]) {
                    EXPECT_EQ(index.find(x.data(), first), next) << kind;
                }
            }
        }
    }
}

TEST_F(SplineTest, points_with_the_same_x_break_the_curve_only_there) {
    ASSERT_TRUE(load({{0, 0, 0}, {1, 1, 0}, {2, 2, 0}, {2, 7, 0}, {3, 8, 0}, {4, 9, 0}}));
    EXPECT_NEAR(spline.CalcY1(1.5), 1.5, 1e-15);
    EXPECT_NEAR(spline.CalcY1(2.5), 7.5, 1e-15);
    EXPECT_FALSE(qverr());
    EXPECT_EQ(spline.CalcY1(2), 0);
    EXPECT_EQ(error(), "Bad data calculating splines");
    EXPECT_EQ(spline.CalcdY1dx(2), 0);
    EXPECT_EQ(error(), "Bad data calculating splines");

    // At an end the broken segment is the one that would go on.
    ASSERT_TRUE(load({{0, 0, 0}, {0, 5, 0}, {1, 1, 0}, {1, 2, 0}}));
    EXPECT_EQ(spline.CalcY1(0.5), 3);
    for (const double x : {-1., 0., 1., 2.}) {
        EXPECT_EQ(spline.CalcY1(x), 0);
        EXPECT_EQ(error(), "Bad data calculating splines") << x;
    }
    ASSERT_TRUE(load({{1, 0, 0}, {1, 5, 0}}));
    EXPECT_EQ(spline.CalcY1(1), 0);
    EXPECT_EQ(error(), "Bad data calculating splines");
}

TEST_F(SplineTest, bad_tables_are_refused_and_leave_no_data) {
    const Rows good{{0, 0, 0}, {1, 1, 0}, {2, 0, 0}};
    const std::vector<Rows> bad{{},
                                {{0, 0, 0}},
                                {{0, 0, 0}, {2, 1, 0}, {1, 0, 0}},
                                {{0, 0, 0}, {nan, 1, 0}, {2, 0, 0}},
                                {{0, 0, 0}, {1, nan, 0}, {2, 0, 0}},
                                {{0, 0, 0}, {1, 1e305, 0}, {2, 0, 0}},
                                {{-inf, 0, 0}, {1, 1, 0}, {2, 0, 0}},
                                {{0, 0, 0}, {1e-200, 1, 0}, {2, 0, 0}},
                                {{0, 0, 0}, {1e-310, 1, 0}},
                                Rows(65536)};
    for (const Rows& rows : bad) {
        ASSERT_TRUE(load(good));
        EXPECT_FALSE(load(rows)) << rows.size();
        EXPECT_FALSE(spline.IsReady());
        EXPECT_NE(error().find("spline s"), std::string::npos);
        EXPECT_EQ(spline.CalcY1(1), 0);
        EXPECT_EQ(error(), "out of data range calculating spline s");
    }
    spline.SetGradients(nan, 0, 0, 0);
    EXPECT_FALSE(load(good));
}

TEST_F(SplineTest, values_without_an_answer_are_errors) {
    ASSERT_TRUE(load({{0, 0, 0}, {1, 1, 0}, {2, 0, 0}}));
    EXPECT_EQ(spline.CalcY1(nan), 0);
    EXPECT_EQ(error(), "out of data range calculating spline s");
    EXPECT_EQ(spline.CalcY2(1), 0);
    EXPECT_EQ(error(), "spline s has no second column");
    const double x[] = {0.5, nan, 1.5};
    double y[3];
    spline.CalcY1(x, y, 3);
    EXPECT_EQ(y[0], spline.CalcY1(0.5));
    EXPECT_EQ(y[1], 0);
    EXPECT_EQ(y[2], spline.CalcY1(1.5));
    EXPECT_TRUE(qverr());
}

TEST(MultiSplineTest, segments_keep_their_own_slopes_and_meet_at_their_bounds) {
    qverr().reset();
    constexpr double natural = CSpline::noGradient;
    const Rows left{{0, 0, 0}, {1, 1, 10}, {2, 2, 20}};
    const Rows right{{2, 2, 20}, {3, 0, 0}, {5, 2, 1}};
    MultiCSpline spline;
    ASSERT_TRUE(spline.Initialise(2, "m", true));
    ASSERT_TRUE(spline.LoadSegment(left.data(), 3, 1, 1, natural, natural));
    EXPECT_EQ(spline.CalcY1(1), 0);
    EXPECT_STREQ(qverr().chars_and_reset(), "out of data range calculating spline m");
    ASSERT_TRUE(spline.LoadSegment(right.data(), 3, -4, natural, natural, natural));
    EXPECT_NEAR(spline.CalcY1(1.7), 1.7, 1e-15);
    EXPECT_NEAR(spline.CalcY2(1.7), 17, 1e-13);
    EXPECT_NEAR(spline.CalcdY1dx(2), 1, 1e-14);
    EXPECT_NEAR(spline.CalcdY1dx(2 + 1e-12), -4, 1e-10);
    // Just outside counts as inside, further outside the end segment goes on.
    EXPECT_NEAR(spline.CalcY1(-1e-7), 4e-7, 1e-15);
    EXPECT_NEAR(spline.CalcY1(-2), -2 + 5e-7, 1e-14);
    EXPECT_EQ(spline.CalcY1(5), 2);
    EXPECT_FALSE(qverr());

    ASSERT_TRUE(spline.Initialise(2, "m", false));
    ASSERT_TRUE(spline.LoadSegment(right.data(), 3, natural, natural, natural, natural));
    EXPECT_FALSE(spline.LoadSegment(left.data(), 3, natural, natural, natural, natural));
    EXPECT_STREQ(qverr().chars_and_reset(),
                 "segment 2 of spline m begins before the end of the last one");
    EXPECT_FALSE(spline.IsReady());
}

TEST(NaturalSplineValueTest, agrees_with_the_spline_below_and_above_the_fixed_room) {
    for (const int n : {2, 3, 64, 65, 200}) {
        const Rows rows = waves(n, false);
        const CSpline spline(rows.data(), n, "s", false);
        std::vector<double> xy;
        for (const CSplineData& row : rows) xy.insert(xy.end(), {row.x, row.y1});
        for (const double t : {-0.5, 0., 0.31, 0.77, 1., 1.4}) {
            const double x = t * rows.back().x;
            double y = 0, slope = 0;
            ASSERT_TRUE(qvNaturalSplineValue(n, xy.data(), x, y, slope));
            EXPECT_NEAR(y, spline.CalcY1(x), 1e-11 * (1 + std::abs(y)));
            EXPECT_NEAR(slope, spline.CalcdY1dx(x), 1e-10 * (1 + std::abs(slope)));
        }
    }
    double y = 0, slope = 0;
    for (const double second : {0., -1., nan}) {
        const double xy[] = {0, 0, second, 1};
        EXPECT_FALSE(qvNaturalSplineValue(2, xy, 0, y, slope));
    }
    EXPECT_FALSE(qvNaturalSplineValue(1, &y, 0, y, slope));
}

}  // namespace
