#include "qvutils/common/svg/svgchart.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "qvutils/common/svg/svgchartlayout.h"
#include "tests/qvutils/common/svg/wellformed.h"

namespace {

using namespace qvsvg;

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();

std::string labels(const Ticks& ticks) {
    std::string text;
    for (const Tick& tick : ticks.marks) text += tick.label + (tick.label.empty() ? "." : " ");
    return text;
}

TEST(Ticks, are_round_numbers_without_noise) {
    EXPECT_EQ(labels(linearTicks({0, 1}, 6)), "0.0 0.2 0.4 0.6 0.8 1.0 ");
    EXPECT_EQ(labels(linearTicks({-0.3, 0.3}, 4)), "\u22120.2 0.0 0.2 ");
    EXPECT_EQ(labels(linearTicks({0.1 * 3, 0.7}, 5)), "0.3 0.4 0.5 0.6 0.7 ");
    EXPECT_EQ(labels(linearTicks({1.5500001, 1.5500003}, 3)), "1.5500001 1.5500002 1.5500003 ");
    EXPECT_EQ(labels(linearTicks({0, 20000}, 3)), "0 10000 20000 ");
}

TEST(Ticks, very_large_and_small_ones_share_a_power_of_ten) {
    const Ticks large = linearTicks({0, 2.5e8}, 6);
    EXPECT_EQ(labels(large), "0 50 100 150 200 250 ");
    EXPECT_EQ(large.exponent, 6);
    const Ticks small = linearTicks({0, 3e-290}, 4);
    EXPECT_EQ(labels(small), "0 10 20 30 ");
    EXPECT_EQ(small.exponent, -291);
    EXPECT_EQ(powerOfTen(-12), "10\u207b\u00b9\u00b2");
}

TEST(Ticks, of_a_logarithmic_axis_stand_at_decades) {
    EXPECT_EQ(labels(logTicks({0.05, 20}, 8)), ".....0.1 ........1 ........10 .");
    EXPECT_EQ(labels(logTicks({1e-2, 1e6}, 20)).substr(0, 12), "10\u207b\u00b2 ....");
    EXPECT_EQ(labels(logTicks({1, 1e12}, 5)),
              "10\u2070 ..10\u00b3 ..10\u2076 ..10\u2079 ..10\u00b9\u00b2 ");
    EXPECT_EQ(labels(logTicks({2, 7}, 3)), "2 4 6 ");
}

TEST(Ticks, whatever_the_range_are_in_it_in_order_and_a_few) {
    std::mt19937_64 random(1);
    std::uniform_real_distribution<> mantissa(-10, 10);
    for (int i = 0; i < 20000; ++i) {
        const double size = std::pow(10.0, static_cast<int>(random() % 560) - 270);
        const double centre = mantissa(random) * size;
        const double half = std::abs(centre) * std::pow(10.0, -static_cast<int>(random() % 12));
        const Range range = {centre - half, centre + half};
        if (!range.isWide()) continue;
        const int most = 2 + static_cast<int>(random() % 12);
        const Ticks ticks = linearTicks(range, most);
        ASSERT_LE(ticks.marks.size(), static_cast<std::size_t>(std::max(most, 5)))
            << range.lo << " " << range.hi;
        ASSERT_GE(ticks.marks.size(), 2u) << range.lo << " " << range.hi;
        double before = -infinity;
        for (const Tick& tick : ticks.marks) {
            ASSERT_GE(tick.value, std::max(range.lo, before));
            ASSERT_LE(tick.value, range.hi);
            before = tick.value;
        }
    }
}

const double some[] = {0, 1, 2, 3, 4, 5};

std::size_t count(const std::string& text, const std::string& part) {
    std::size_t n = 0;
    for (std::size_t at = 0; (at = text.find(part, at)) != std::string::npos; at += part.size())
        ++n;
    return n;
}

// The data of the curve that is drawn first.
std::string curveData(const qvSvgChart& chart) {
    const std::string text = chart.text();
    const std::size_t begin = text.find("<path d=\"") + 9;
    return text.substr(begin, text.find('"', begin) - begin);
}

TEST(Chart, curves_break_at_gaps_and_a_lonely_point_shows) {
    const double y[] = {1, 2, nan, 4, infinity, 6};
    qvSvgChart chart;
    chart.addCurve("", some, y);
    const std::string data = curveData(chart);
    EXPECT_EQ(count(data, "M"), 3u) << data;
    chart.yAxis.logarithmic = true;
    EXPECT_EQ(count(curveData(chart), "M"), 3u);
}

TEST(Chart, nothing_leaves_the_frame) {
    qvSvgChart chart;
    chart.yAxis.lo = -2;
    chart.yAxis.hi = 2;
    const double y[] = {0, 1e200, -1e200, 1, 5, 1};
    chart.addCurve("", some, y);
    const ChartLayout layout(chart);
    qvSvgPath expected;
    const auto at = [&](double px, double py) { expected.lineTo(layout.x(px), layout.y(py)); };
    at(0, 0);
    at(0, 2);
    expected.lineTo(nan, nan);
    at(1.5, 2);
    at(1.5, -2);
    expected.lineTo(nan, nan);
    at(3, -2);
    at(3, 1);
    at(3.25, 2);
    expected.lineTo(nan, nan);
    at(4.75, 2);
    at(5, 1);
    EXPECT_EQ(curveData(chart), expected.data());

    chart.yAxis.lo = 100;
    chart.yAxis.hi = 101;
    EXPECT_EQ(count(curveData(chart), "M"), 2u);
}

TEST(Chart, a_million_points_draw_as_small_as_the_page_and_keep_their_peaks) {
    std::vector<double> x, y;
    for (int i = 0; i < 1'000'000; ++i) {
        x.push_back(i);
        y.push_back(i == 123'456 ? 5 : std::sin(i * 0.01));
    }
    qvSvgChart chart;
    chart.addCurve("", x, y);
    EXPECT_LT(chart.text().size(), 100'000u);
    const ChartLayout layout(chart);
    qvSvgPath peak;
    peak.moveTo(layout.x(123'456), layout.y(5));
    EXPECT_NE(curveData(chart).find(peak.data().substr(1)), std::string::npos);
}

TEST(Chart, outlines_keep_their_proportions) {
    qvSvgChart chart;
    chart.sameScale = true;
    const double x[] = {-1, 1, 1, -1};
    const double y[] = {100, 100, 101, 101};
    chart.addCurve("a", x, y).closed = true;
    for (double width : {200.0, 500.0, 1500.0}) {
        chart.width = width;
        const ChartLayout layout(chart);
        EXPECT_NEAR(layout.x(1) - layout.x(0), layout.y(0) - layout.y(1), 1e-6);
        EXPECT_TRUE(layout.frame.contains({layout.x(1), layout.y(101)}));
        EXPECT_TRUE(layout.frame.contains({layout.x(-1), layout.y(100)}));
    }
}

TEST(Chart, is_wellformed_and_finite_for_any_data) {
    const double values[] = {0,   -1,       1e-320, 1e300, -1e308,    1.7e308,
                             nan, infinity, 5,      5,     -infinity, 1e-290};
    const char* name = "<a rather long & wide name that is cut somewhere in the middle>";
    std::mt19937 random(7);
    for (int i = 0; i < 1000; ++i) {
        qvSvgChart chart;
        const auto any = [&] { return values[random() % std::size(values)]; };
        chart.title = chart.xAxis.title = chart.yAxis.unit = i % 3 ? "<&\">\xff" : "";
        chart.xAxis.logarithmic = random() % 2;
        chart.yAxis.logarithmic = random() % 2;
        chart.sameScale = random() % 2;
        chart.width = i % 5 ? 400 : any();
        if (i % 4 == 0) chart.xAxis.lo = any(), chart.yAxis.hi = any();
        for (unsigned curves = random() % 12; curves > 0; --curves) {
            std::vector<double> x, y;
            for (unsigned n = random() % 5; n > 0; --n) x.push_back(any()), y.push_back(any());
            qvSvgCurve& curve = chart.addCurve(std::string_view(name, random() % 60), x, y);
            curve.closed = random() % 2;
            curve.dots = random() % 2;
        }
        const std::string text = chart.text();
        ASSERT_EQ(xmlFault(text), "") << text;
        ASSERT_EQ(text.find("nan"), std::string::npos) << text;
        ASSERT_EQ(text.find("1000000000"), std::string::npos) << text;
    }
}

}  // namespace
