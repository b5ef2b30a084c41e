#include <gmock/gmock.h>

#include <cmath>
#include <numbers>
#include <random>

#include "qvutils/common/error/qverror.h"
#include "qvutils/common/shapes/planegeometry.h"
#include "qvutils/common/shapes/polygoncontainment.h"
#include "qvutils/common/shapes/polygonoffset.h"
#include "qvutils/common/shapes/preparedpolygon.h"
#include "qvutils/common/shapes/qvpolygon.h"
#include "qvutils/common/shapes/qvregularpolygon.h"
#include "qvutils/common/shapes/simplepolygon.h"

namespace {

using Point = PointT<double>;
using testing::HasSubstr;
using testing::StrEq;

/// The definition: half-open bounding box, then the sum of the angles of the edges.
bool containsByAngles(const QVPoints& v, const Point& p) {
    const RectT<double> rect = qvBoundingRect(v);
    if (!(rect.left <= p.x && p.x < rect.right && rect.bottom <= p.y && p.y < rect.top))
        return false;
    double sum = 0;
    for (std::size_t i = 0; i < v.size(); ++i) {
        const Point &from = v[i], &to = v[(i + 1) % v.size()];
        const Point a{from.x - p.x, from.y - p.y}, b{to.x - p.x, to.y - p.y};
        sum += std::atan2(a.x * b.y - a.y * b.x, a.x * b.x + a.y * b.y);
    }
    return std::fabs(sum) > std::numbers::pi;
}

using Random = std::mt19937;

double uniform(Random& random, double low, double high) {
    return std::uniform_real_distribution<double>(low, high)(random);
}

/// About the origin, with every vertex in sight of it; it does not cross itself.
QVPoints star(Random& random, int n) {
    QVPoints points;
    for (int i = 0; i < n; ++i) {
        const double t = 2 * std::numbers::pi * i / n, r = uniform(random, 0.4, 1);
        points.push_back({r * std::cos(t), r * std::sin(t)});
    }
    return points;
}

/// Teeth that are all as high as the polygon.
QVPoints comb(int teeth) {
    QVPoints points{{1.0 * teeth, -1}, {0, -1}};
    for (int i = 0; i < teeth; ++i) {
        points.push_back({1.0 * i, 0});
        points.push_back({i + 0.5 + 0.3, 5});
    }
    return points;
}

/// Vertices anywhere: the edges cross, and turn around points several times.
QVPoints tangle(Random& random, int n) {
    QVPoints points;
    for (int i = 0; i < n; ++i) points.push_back({uniform(random, -1, 1), uniform(random, -1, 1)});
    return points;
}

TEST(PolygonContainment, is_the_sum_of_angles_for_single_and_many_points) {
    Random random(3);
    std::vector<QVPoints> polygons;
    for (int n : {3, 4, 7, 60, 500}) {
        polygons.push_back(star(random, n));
        polygons.push_back(tangle(random, n));
        polygons.push_back(comb(n));
        polygons.push_back({polygons.back().rbegin(), polygons.back().rend()});
    }
    for (const QVPoints& polygon : polygons) {
        const PreparedPolygon prepared(polygon);
        const RectT<double> box = qvBoundingRect(polygon);
        int inside = 0;
        for (int i = 0; i < 2000; ++i) {
            const Point p{uniform(random, box.left - 0.1, box.right + 0.1),
                          uniform(random, box.bottom - 0.1, box.top + 0.1)};
            const bool expected = containsByAngles(polygon, p);
            inside += expected;
            ASSERT_EQ(qvPolygonContains(polygon, p), expected) << polygon.size();
            ASSERT_EQ(prepared.contains(p), expected) << polygon.size();
        }
        EXPECT_GT(inside, 0);
    }
}

TEST(PolygonContainment, has_edges_and_vertices_inside_but_on_the_right_and_upper_side_of_the_box) {
    Random random(5);
    // On a grid of quarters, points of edges are hit exactly; vertices repeat, edges overlap.
    const auto onGrid = [&] { return std::floor(uniform(random, 0, 9)) / 4; };
    for (int round = 0; round < 300; ++round) {
        QVPoints polygon;
        for (int i = 0; i < 3 + round % 12; ++i) polygon.push_back({onGrid(), onGrid()});
        if (round % 5 == 0) polygon.push_back(polygon.back());
        const PreparedPolygon prepared(polygon);
        const RectT<double> box = qvBoundingRect(polygon);
        for (double y = -0.25; y <= 2.5; y += 0.125) {
            for (double x = -0.25; x <= 2.5; x += 0.125) {
                const Point p{x, y};
                const bool inBox = box.left <= x && x < box.right && box.bottom <= y && y < box.top;
                const bool onEdge = qvDistanceToEdges(polygon, p) == 0;
                const bool expected = inBox && (onEdge || containsByAngles(polygon, p));
                ASSERT_EQ(qvPolygonContains(polygon, p), expected)
                    << round << ": " << x << " " << y;
                ASSERT_EQ(prepared.contains(p), expected) << round << ": " << x << " " << y;
            }
        }
    }
}

TEST(PolygonContainment, takes_no_quadratic_time_or_memory_to_prepare) {
    const QVPoints polygon = comb(200'000);
    const PreparedPolygon prepared(polygon);
    Random random(1);
    for (int i = 0; i < 200; ++i) {
        const Point p{uniform(random, 0, 200'000), uniform(random, -1, 5)};
        EXPECT_EQ(prepared.contains(p), qvPolygonContains(polygon, p));
    }
}

TEST(PolygonContainment, survives_coordinates_that_are_no_numbers) {
    const double nan = std::nan(""), inf = HUGE_VAL;
    for (double odd : {nan, inf, -inf, 1e308}) {
        const QVPoints polygon{{0, 0}, {odd, 1}, {2, odd}, {0, 3}};
        const PreparedPolygon prepared(polygon);
        for (const Point& p : {Point{1, 1}, Point{nan, 1}, Point{0, 0}, Point{inf, inf}})
            EXPECT_EQ(prepared.contains(p), qvPolygonContains(polygon, p));
        qvEnclosingCircle(polygon);
        qvSmallestWidth(polygon);
    }
    EXPECT_FALSE(PreparedPolygon({}).contains({0, 0}) || qvPolygonContains({}, {0, 0}));
}

TEST(PolygonMeasures, no_point_is_outside_the_smallest_circle_and_three_or_two_are_on_it) {
    Random random(11);
    for (int n : {1, 2, 3, 10, 1000}) {
        const QVPoints points = tangle(random, n);
        const QVCircle circle = qvEnclosingCircle(points);
        double farthest = 0;
        for (const Point& p : points)
            farthest = std::max(farthest, std::hypot(p.x - circle.centre.x, p.y - circle.centre.y));
        EXPECT_NEAR(farthest, circle.radius, 1e-14);
        // No other centre is better.
        for (int i = 0; i < 8; ++i) {
            const double t = i * std::numbers::pi / 4;
            double other = 0;
            for (const Point& p : points)
                other = std::max(other, std::hypot(p.x - circle.centre.x - 1e-4 * std::cos(t),
                                                   p.y - circle.centre.y - 1e-4 * std::sin(t)));
            EXPECT_GE(other, circle.radius);
        }
        double smallest = HUGE_VAL;
        for (int i = 0; i < 3600; ++i) {
            const double t = i * std::numbers::pi / 3600;
            double low = HUGE_VAL, high = -HUGE_VAL;
            for (const Point& p : points) {
                const double along = p.x * std::cos(t) + p.y * std::sin(t);
                low = std::min(low, along);
                high = std::max(high, along);
            }
            smallest = std::min(smallest, high - low);
        }
        EXPECT_LE(qvSmallestWidth(points), smallest + 1e-14);
        EXPECT_GE(qvSmallestWidth(points), smallest - 3e-3);
    }
}

/// Whether two edges that are no neighbours touch, or neighbours lie upon each other.
bool someEdgesMeet(const QVPoints& v) {
    const std::size_t n = v.size();
    for (std::size_t i = 0; i < n; ++i) {
        const Point &a = v[i], &b = v[(i + 1) % n], &next = v[(i + 2) % n];
        const double forward = (b.x - a.x) * (next.x - b.x) + (b.y - a.y) * (next.y - b.y);
        if (a == b || (qvSide(a, b, next) == 0 && forward <= 0)) return true;
        for (std::size_t j = i + 2; j < n - (i == 0); ++j) {
            const Point &c = v[j], &d = v[(j + 1) % n];
            for (const Point& p : {c, d})
                if (qvDistanceToSegment(a, b, p) == 0) return true;
            for (const Point& p : {a, b})
                if (qvDistanceToSegment(c, d, p) == 0) return true;
            if (qvSide(a, b, c) * qvSide(a, b, d) < 0 && qvSide(c, d, a) * qvSide(c, d, b) < 0)
                return true;
        }
    }
    return false;
}

TEST(SimplePolygon, has_no_edges_that_meet) {
    Random random(4);
    int simple = 0;
    for (int round = 0; round < 20000; ++round) {
        QVPoints polygon;
        for (int i = 0; i < 3 + round % 6; ++i)
            polygon.push_back(
                {std::floor(uniform(random, 0, 6)), std::floor(uniform(random, 0, 6))});
        simple += qvIsSimplePolygon(polygon);
        ASSERT_EQ(qvIsSimplePolygon(polygon), !someEdgesMeet(polygon)) << round;
    }
    EXPECT_GT(simple, 2000);
    // Long slanted teeth, whose boxes all overlap.
    constexpr int n = 100'000;
    QVPoints teeth{{n, -1}, {-1, -1}};
    for (int i = 0; i < n; ++i) {
        teeth.push_back({1.0 * i, 0});
        teeth.push_back({i + n + 0.5, n});
    }
    EXPECT_TRUE(qvIsSimplePolygon(teeth));
    std::swap(teeth[n], teeth[n + 2]);
    EXPECT_FALSE(qvIsSimplePolygon(teeth));
}

TEST(PolygonOffset, moves_every_edge_and_comes_back) {
    const auto offset = [](QVPoints points, double distance) {
        EXPECT_EQ(qvOffsetPolygon(points, distance), nullptr);
        return points;
    };
    const QVPoints ell{{0, 0}, {4, 0}, {4, 1}, {1, 1}, {1, 3}, {0, 3}};
    EXPECT_EQ(offset(ell, 0.25), (QVPoints{{-0.25, -0.25},
                                           {4.25, -0.25},
                                           {4.25, 1.25},
                                           {1.25, 1.25},
                                           {1.25, 3.25},
                                           {-0.25, 3.25}}));
    EXPECT_EQ(
        offset({ell.rbegin(), ell.rend()}, -0.25),
        (QVPoints{
            {0.25, 2.75}, {0.75, 2.75}, {0.75, 0.75}, {3.75, 0.75}, {3.75, 0.25}, {0.25, 0.25}}));
    // Repeated vertices go, straight ones stay; a sharp tip is not cut off.
    EXPECT_EQ(offset({{0, 0}, {1, 0}, {1, 0}, {2, 0}, {2, 2}, {0, 2}}, 1),
              (QVPoints{{-1, -1}, {1, -1}, {3, -1}, {3, 3}, {-1, 3}}));
    EXPECT_NEAR(offset({{0, 0}, {100, -0.5}, {100, 0.5}}, 0.1)[0].x, -20, 1e-3);
    Random random(2);
    for (int round = 0; round < 100; ++round) {
        const QVPoints polygon = star(random, 3 + round % 20);
        const QVPoints wide = offset(polygon, 0.003);
        const QVPoints back = offset(wide, -0.003);
        ASSERT_EQ(back.size(), polygon.size());
        for (std::size_t i = 0; i < back.size(); ++i) {
            EXPECT_NEAR(back[i].x, polygon[i].x, 1e-13);
            EXPECT_NEAR(back[i].y, polygon[i].y, 1e-13);
        }
    }
}

TEST(PolygonOffset, edges_vanish_on_the_way) {
    struct {
        QVPoints polygon;
        double distance;
        double area;
        std::size_t vertices;
    } const rows[] = {
        // A hexagon with two short edges, a finger that goes, a notch that fills up.
        {{{0, 0}, {9, 0}, {10, 1}, {10, 9}, {9, 10}, {0, 10}}, -4, 2 * 2, 4},
        {{{0, 0}, {10, 0}, {10, 10}, {6, 10}, {6, 20}, {5, 20}, {5, 10}, {0, 10}}, -1, 64, 5},
        {{{0, 0}, {10, 0}, {10, 10}, {6, 10}, {6, 5}, {5, 5}, {5, 10}, {0, 10}}, 1, 144, 5},
        // A dumbbell whose smaller end goes with its handle.
        {{{0, 0},
          {8, 0},
          {8, 3.5},
          {12, 3.5},
          {12, 2},
          {16, 2},
          {16, 6},
          {12, 6},
          {12, 4.5},
          {8, 4.5},
          {8, 8},
          {0, 8}},
         -2.5,
         9,
         4},
        // A bay whose arms grow over each other, with edges that come to lie in line.
        {{{0, 0}, {1, 0}, {1, 1}, {3, 1}, {3, 2}, {4, 2}, {4, 3}, {5, 3}, {5, 4},
          {5, 5}, {4, 5}, {4, 4}, {3, 4}, {3, 3}, {2, 3}, {2, 2}, {1, 2}, {1, 4},
          {1, 6}, {1, 7}, {4, 7}, {4, 6}, {5, 6}, {5, 8}, {0, 8}},
         2.375,
         9.75 * 12.75 - 3 - 2 - 2,
         10},
    };
    for (const auto& row : rows) {
        QVPoints points = row.polygon;
        ASSERT_STREQ(qvOffsetPolygon(points, row.distance), nullptr) << row.area;
        EXPECT_NEAR(std::fabs(qvSignedArea(points)), row.area, 1e-12);
        EXPECT_EQ(points.size(), row.vertices) << row.area;
    }
    // The same bay with a vertex at which an edge turns by a quarter of a degree.
    QVPoints bay = rows[std::size(rows) - 1].polygon;
    bay.push_back({-0.01, 4});
    ASSERT_STREQ(qvOffsetPolygon(bay, 2.375), nullptr);
    EXPECT_EQ(bay.size(), 11U);
    EXPECT_NEAR(qvBoundingRect(bay).left, -0.01 - 2.375 * std::hypot(1, 0.0025), 1e-12);
}

TEST(PolygonOffset, a_result_that_is_no_polygon_is_refused_with_its_reason) {
    const QVPoints dumbbell{{0, 0},  {4, 0}, {4, 1.5}, {8, 1.5}, {8, 0}, {12, 0},
                            {12, 4}, {8, 4}, {8, 2.5}, {4, 2.5}, {4, 4}, {0, 4}};
    const QVPoints clasp{{0, 0}, {10, 0}, {10, 10}, {5.5, 10}, {5.5, 9},  {9, 9},
                         {9, 1}, {1, 1},  {1, 9},   {4.5, 9},  {4.5, 10}, {0, 10}};
    struct {
        QVPoints polygon;
        double distance;
        const char* told;
    } const rows[] = {
        {{{0, 0}, {4, 0}, {4, 2}, {0, 2}}, -1, "nothing would be left"},
        {{{0, 0}, {4, 0}, {4, 2}, {0, 2}}, -5, "nothing would be left"},
        {{{0, 0}, {4, 0}, {0, 3}}, -1.01, "nothing would be left"},
        {dumbbell, -0.75, "it would fall into parts"},
        {clasp, 0.75, "it would have a hole"},
        {{{-0.6, -0.3},
          {-0.3, -0.3},
          {0.3, 0.5},
          {-0.7, 0},
          {0.4, 1},
          {0.5, 0.2},
          {0.8, -0.8},
          {0.1, -0.82},
          {-0.7, -0.85},
          {-0.9, -0.6},
          {-0.8, -0.1}},
         1,
         "its edges would run through each other"},
        {{{0, 0}, {2, 2}, {2, 0}, {0, 2}}, 0.1, "its edges cross or touch each other"},
        {{{0, 0}, {2, 0}, {4, 0}, {2, 0}}, 0.1, "its edges cross or touch each other"},
        {{{0, 0}, {4, 0}, {4, 4}, {2, 0}, {0, 4}}, 0.1, "its edges cross or touch each other"},
        {{{0, 0}, {4, 0}, {4, 2}, {0, 2}}, std::nan(""), "the distance is not a finite number"},
    };
    for (const auto& row : rows) {
        QVPoints points = row.polygon;
        EXPECT_THAT(qvOffsetPolygon(points, row.distance), StrEq(row.told)) << row.distance;
        EXPECT_EQ(points, row.polygon);
    }
}

TEST(PolygonOffset, every_result_keeps_its_distance) {
    Random random(8);
    int done = 0;
    for (int round = 0; round < 400; ++round) {
        const QVPoints polygon = star(random, 5 + round % 30);
        for (double distance : {-0.15, -0.05, 0.05, 0.3}) {
            QVPoints moved = polygon;
            if (qvOffsetPolygon(moved, distance)) continue;
            ++done;
            EXPECT_EQ(qvSignedArea(moved) > qvSignedArea(polygon), distance > 0);
            for (std::size_t i = 0; i < moved.size(); ++i) {
                const Point &a = moved[i ? i - 1 : moved.size() - 1], &b = moved[i];
                const Point middle{(a.x + b.x) / 2, (a.y + b.y) / 2};
                for (const Point& p : {b, middle})
                    ASSERT_GE(qvDistanceToEdges(polygon, p), std::fabs(distance) - 1e-6);
            }
        }
    }
    EXPECT_GT(done, 1000);
}

TEST(PolygonOffset, regular_polygons_stay_regular_where_they_can) {
    struct {
        const char* parameters;
        double distance;
        const char* result;
    } const rows[] = {
        {"4, 45, 4, 3", 0.5, "REGPOLY(4, 45, 5, 4)"},
        {"3, 0, 1.5, 1.7320508075688772", 0.5, "REGPOLY(3, 0, 3, 3.4641016151377"},
        {"6, 0, 4, 4", -0.1, "POLYGON("},
    };
    for (const auto& row : rows) {
        QVRegularPolygon polygon;
        ASSERT_TRUE(polygon.ParseString(row.parameters));
        const auto expanded = polygon.CreateExpandedShape(row.distance);
        ASSERT_TRUE(expanded);
        EXPECT_THAT(expanded->getDefString().Chars(), HasSubstr(row.result));
        EXPECT_EQ(polygon.Expand(row.distance), row.result[0] == 'R');
        EXPECT_EQ(qverr() != 0, row.result[0] == 'P');
        qverr().reset();
        EXPECT_FALSE(polygon.Contract(100));
        EXPECT_THAT(qverr().chars_and_reset(), HasSubstr("nothing would be left"));
    }
}

}  // namespace
