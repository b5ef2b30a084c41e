#include "qvutils/qvnr/func2d.h"

#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <limits>
#include <memory>
#include <string>

#include "qvutils/common/blocks/textblock.h"
#include "qvutils/common/error/qverror.h"
#include "qvutils/qvnr/userDefFunc.h"

namespace {

class Func2DTest : public testing::Test {
protected:
    Func2DTest() { qverr().reset(); }

    static std::string error() { return qverr().chars_and_reset(); }
    static std::string written(const PolyOrSplineFunc2DBase& f) {
        TextBlock block;
        f.WriteTB(block);
        return std::string(block.text());
    }
    static void expectRefused(PolyOrSplineFunc2DBase& f, const char* body, const char* message) {
        EXPECT_FALSE(f.ReadBody(body)) << body;
        EXPECT_EQ(error(), message) << body;
    }
    /// Written and read again, a function is the same to the last digit.
    template <class F>
    static void expectRoundTrip(const F& f, double x1, double x2) {
        TextBlock block;
        ASSERT_TRUE(block.LoadBlock(written(f).c_str()));
        F again;
        ASSERT_TRUE(again.ReadTB(block)) << error();
        EXPECT_STREQ(again.name, f.name);
        EXPECT_EQ(again.Value(x1, x2), f.Value(x1, x2));
        EXPECT_EQ(written(again), written(f));
    }
};

TEST_F(Func2DTest, a_polynomial_of_two_variables_has_limits_in_both) {
    PolyFunction2D f;
    f.name = "index";
    f.x1Name = "mx";
    f.x2Name = "my";
    f.x2Unit = "%";
    ASSERT_TRUE(f.ReadBody("2 3   0 1  0 2   1 10 100   // x1^0\n 0.1 1e3 0.3")) << error();
    int degree1 = 0, degree2 = 0;
    f.getDegree(degree1, degree2);
    EXPECT_EQ(degree1 * 10 + degree2, 12);
    EXPECT_NEAR(f.Value(0.5, 2), 1 + 20 + 400 + 0.5 * (0.1 + 2000 + 1.2), 1e-12);
    expectRoundTrip(f, 0.123, 1.7);
    EXPECT_EQ(f.Value(1.5, 1), 0);
    EXPECT_EQ(static_cast<int>(qverr()), 4101);
    EXPECT_EQ(error(), "polynomial \"index\": x1:mx was 1.5  - out of range\n");
    EXPECT_EQ(f.Value(1, -1), 0);
    EXPECT_EQ(error(), "polynomial \"index\": x2:my was -1 % - out of range\n");
    f.Rescale(2);
    EXPECT_NEAR(f.Value(1, 0), 2.2, 1e-15);
}

TEST_F(Func2DTest, bad_polynomials_are_refused) {
    PolyFunction2D f;
    expectRefused(f, "", "polynomial \"\": missing numbers of coefficients\n");
    expectRefused(f, "0 1 0 1 0 1 1", "polynomial \"\": numCoef1 (0) was silly\n");
    expectRefused(f, "11 1 0 1 0 1 1", "polynomial \"\": too many x1 coefficients (max 10\n");
    expectRefused(f, "1 99 0 1 0 1 1", "polynomial \"\": numCoef2 (99) was silly\n");
    expectRefused(f, "1 1 1 0 0 1 1", "polynomial \"\": param limits were silly\n");
    expectRefused(f, "1 2 0 1 0 1 1", "polynomial \"\": missing coefficients\n");
    expectRefused(f, "1 1 0 1 0 1 1 2", "polynomial \"\": more numbers than its counts say\n");
}

TEST_F(Func2DTest, coefficients_of_a_polynomial_may_be_splines) {
    CSplineFunction2D f;
    f.name = "loss";
    // 1 + x2 + x1 (2 - x2), whatever x1
    ASSERT_TRUE(f.ReadBody("0 2 3   0 1 2   1 2 1   4 5 -2")) << error();
    EXPECT_NEAR(f.Value(10, 2.5), 3.5 - 5, 1e-13);
    EXPECT_NEAR(f.Value(-1e6, 4), 5 + 2e6, 1e-7);
    expectRoundTrip(f, 0.3, 1.1);
    EXPECT_EQ(f.Value(0, 4.1), 0);
    EXPECT_EQ(error(), "CSplineFunction2D \"loss\": x2: was 4.1  - out of range\n");
}

TEST_F(Func2DTest, a_grid_is_a_spline_over_x1_of_splines_over_x2) {
    CSplineFunction2D f;
    f.setType(CSplineFunction2D::grid);
    ASSERT_TRUE(f.alloc(6, 4));
    for (int i = 0; i <= 6; ++i) {
        f.getX1Points()[i] = i + 0.1 * (i % 2);
        for (int j = 0; j <= 4; ++j) f.getCoefs()[i][j] = std::sin(i + 0.3 * j) + 0.1 * i * j;
    }
    ASSERT_TRUE(f.Prepare());
    for (const double x2 : {0., 0.4, 2., 3.99}) {
        std::vector<CSplineData> across;
        for (int i = 0; i <= 6; ++i) {
            std::vector<CSplineData> along;
            for (int j = 0; j <= 4; ++j) along.push_back({1. * j, f.getCoefs()[i][j], 0});
            const double y = CSpline(along.data(), 5, "", false).CalcY1(x2);
            across.push_back({f.getX1Points()[i], y, 0});
        }
        const CSpline expected(across.data(), 7, "", false);
        for (double x1 = -1; x1 < 8; x1 += 0.5) {
            EXPECT_NEAR(f.Value(x1, x2), expected.CalcY1(x1), 1e-12) << x1 << ' ' << x2;
        }
    }
    expectRoundTrip(f, 2.7, 1.3);
    const double inf = std::numeric_limits<double>::infinity();
    EXPECT_EQ(f.Value(inf, 1), 0);
    EXPECT_EQ(error(), "out of data range calculating spline ");
    f.Rescale(2);
    const double once = f.Value(1, 1);
    ASSERT_TRUE(f.Prepare());
    EXPECT_NEAR(f.Value(1, 1), 2 * once, 1e-15);
    f.getX1Points()[3] = f.getX1Points()[2];
    EXPECT_FALSE(f.Prepare());
}

TEST_F(Func2DTest, bad_spline_functions_are_refused) {
    CSplineFunction2D f;
    expectRefused(f, "0 2", "csplinefunc \"\": missing type and numbers of points\n");
    expectRefused(f, "3 2 2", "csplinefunc \"\": there is no type 3\n");
    expectRefused(f, "0 11 2", "csplinefunc \"\": too many x1 coefficients (max 10\n");
    expectRefused(f, "1 1 2", "csplinefunc \"\": numCoef1 (1) was silly\n");
    expectRefused(f, "0 1 1 0 0", "csplinefunc \"\": numCoef2 (1) was silly\n");
    expectRefused(f, "1 1000 65535 0 1", "csplinefunc \"\": missing coefficients\n");
    expectRefused(f, "0 1 2 0 1 1", "csplinefunc \"\": missing coefficients\n");
    expectRefused(f, "0 1 2 1 1 0 1",
                  "csplinefunc \"\": x1 and x2 points must be there and rise\n");
    expectRefused(f, "0 1 2 0 1 1 1 5", "csplinefunc \"\": more numbers than its counts say\n");
}

// Every example of the documentation loads, and reads back as it is written.
TEST_F(Func2DTest, the_documented_blocks_load) {
    std::ifstream document(QV_DOCS "/file-formats.md");
    std::string example;
    bool inside = false;
    int count = 0;
    for (std::string line; std::getline(document, line);) {
        if (line == "```function") {
            inside = true;
            example.clear();
        } else if (inside && line == "```") {
            inside = false;
            TextBlock block;
            ASSERT_TRUE(block.LoadBlock(example.c_str())) << example;
            if (block.IsType(UserDefFunction::tbSig)) {
                EXPECT_TRUE(UserDefFunction().ReadTB(block)) << error() << example;
            } else if (block.IsType(PolyFunction2D::tbSig)) {
                EXPECT_TRUE(PolyFunction2D().ReadTB(block)) << error() << example;
            } else {
                EXPECT_TRUE(CSplineFunction2D().ReadTB(block)) << error() << example;
            }
            ++count;
        } else if (inside) {
            example += line + "\n";
        }
    }
    EXPECT_GE(count, 5);
}

}  // namespace
