// Points in polygons, beside Boost.Geometry's covered_by; formulas of many shapes after a change.
#include <boost/geometry.hpp>
#include <boost/geometry/geometries/point_xy.hpp>
#include <boost/geometry/geometries/polygon.hpp>
#include <cmath>
#include <ctime>
#include <memory>
#include <numbers>
#include <random>
#include <string>
#include <vector>

#include "bench/qvbench.h"
#include "qvutils/common/shapes/qvpolygon.h"
#include "qvutils/common/shapes/qvrectangle.h"
#include "qvutils/common/variables/qvnamespace.h"

namespace {

using Point = PointT<double>;
using BoostPoint = boost::geometry::model::d2::point_xy<double>;

constexpr int vertexCount = 1000;
constexpr std::size_t pointCount = 1'000'000;

std::vector<Point> star() {
    std::mt19937 random(1);
    std::uniform_real_distribution<double> radius(0.5, 1);
    std::vector<Point> points;
    for (int i = 0; i < vertexCount; ++i) {
        const double t = 2 * std::numbers::pi * i / vertexCount;
        const double r = radius(random);
        points.push_back({r * std::cos(t), r * std::sin(t)});
    }
    return points;
}

/// Teeth as high as the polygon.
std::vector<Point> comb() {
    std::vector<Point> points{{1, -1}, {-1, -1}};
    for (int i = 0; i < vertexCount / 2 - 1; ++i) {
        const double x = 4.0 * i / vertexCount - 1;
        points.push_back({x, -0.9});
        points.push_back({x + 3.0 / vertexCount, 1});
    }
    return points;
}

/// A polygon of both libraries, and points around it.
struct Samples {
    explicit Samples(const std::vector<Point>& vertices)
        : polygon(vertices, nullptr), points(pointCount), inside(new bool[pointCount]) {
        for (const Point& p : vertices) boost.outer().emplace_back(p.x, p.y);
        boost::geometry::correct(boost);
        std::mt19937 random(2);
        std::uniform_real_distribution<double> place(-1, 1);
        for (Point& p : points) p = {place(random), place(random)};
    }
    QVPolygon polygon;
    boost::geometry::model::polygon<BoostPoint> boost;
    std::vector<Point> points;
    std::unique_ptr<bool[]> inside;
};

template <std::vector<Point> make()>
Samples& samples() {
    static Samples all(make());
    return all;
}

template <std::vector<Point> make()>
void single(benchmark::State& state) {
    const Samples& s = samples<make>();
    std::size_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(s.polygon.Contains(s.points[i]));
        i = (i + 1) % pointCount;
    }
}

template <std::vector<Point> make()>
void coveredBy(benchmark::State& state) {
    const Samples& s = samples<make>();
    std::size_t i = 0;
    for (auto _ : state) {
        const BoostPoint p(s.points[i].x, s.points[i].y);
        benchmark::DoNotOptimize(boost::geometry::covered_by(p, s.boost));
        i = (i + 1) % pointCount;
    }
}

template <std::vector<Point> make()>
void array(benchmark::State& state) {
    Samples& s = samples<make>();
    for (auto _ : state) {
        s.polygon.ContainsAll(s.points, {s.inside.get(), pointCount});
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(pointCount));
}

BENCHMARK(single<star>);
BENCHMARK(coveredBy<star>);
BENCHMARK(array<star>);
BENCHMARK(single<comb>);
BENCHMARK(coveredBy<comb>);
BENCHMARK(array<comb>);

/// Rectangles over one variable, and their formulas by themselves.
struct Formulas {
    static constexpr int count = 10'000;

    Formulas() : alone(2 * count) {
        for (int i = 0; i < count; ++i) {
            const QVString w = ("w+" + std::to_string(i)).c_str(), h = "2*" + w;
            shapes.push_back(QVShape::ReadShape(&space, "RECTANGLE(" + w + ", " + h + ")"));
            alone[static_cast<std::size_t>(2 * i)].SetExpression(&space, w);
            alone[static_cast<std::size_t>(2 * i) + 1].SetExpression(&space, h);
        }
    }
    qvNameSpace space;
    qvNamedVariable* w = space.Add("w");
    std::vector<std::unique_ptr<QVShape>> shapes;
    std::vector<qvParameter<double>> alone;
};

Formulas& formulas() {
    static Formulas all;
    return all;
}

void shapesAfterChange(benchmark::State& state) {
    Formulas& f = formulas();
    double value = 1, width = 0, height = 0;
    for (auto _ : state) {
        f.w->SetValue(value += 1);
        for (const auto& shape : f.shapes) {
            shape->getSize(width, height);
            benchmark::DoNotOptimize(width + height);
        }
    }
    state.SetItemsProcessed(state.iterations() * Formulas::count);
}

void parametersAfterChange(benchmark::State& state) {
    Formulas& f = formulas();
    double value = 1;
    for (auto _ : state) {
        f.w->SetValue(value += 1);
        for (const auto& parameter : f.alone) benchmark::DoNotOptimize(parameter.GetValue());
    }
    state.SetItemsProcessed(state.iterations() * Formulas::count);
}

BENCHMARK(shapesAfterChange);
BENCHMARK(parametersAfterChange);

/// A large polygon read, measured and expanded, in milliseconds of processor time.
double millisecondsFor(int n) {
    std::string text = "POLYGON(";
    for (int i = 0; i < n; ++i) {
        const double t = 2 * std::numbers::pi * i / n, r = 2 + 0.1 * std::sin(50 * t);
        text += std::to_string(r * std::cos(t)) + "," + std::to_string(r * std::sin(t)) + ",";
    }
    text.back() = ')';
    const QVString form = text.c_str();
    const std::clock_t start = std::clock();
    const auto shape = QVShape::ReadShape(nullptr, form);
    benchmark::DoNotOptimize(shape->getBoundingCircle());
    benchmark::DoNotOptimize(shape->GetMinLinearDimension());
    shape->Expand(0.01);
    benchmark::DoNotOptimize(shape->getDefString());
    return 1e3 * static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
}

}  // namespace

int main(int argc, char** argv) {
    qvAddRow("polygon of 1e6 vertices: read, measure, expand", millisecondsFor(1'000'000),
             10 * millisecondsFor(100'000), "a tenth of them, times 10", 2, "ms");
    return qvRunBenchmarks(
        argc, argv,
        {{"star of 1000 vertices, one point", "single<star>", "coveredBy<star>", "Boost.Geometry",
          2},
         {"the same, 1e6 points at once", "array<star>", "coveredBy<star>", "Boost.Geometry", 0.2},
         {"comb of 1000 vertices, one point", "single<comb>", "coveredBy<comb>", "Boost.Geometry",
          2},
         {"the same, 1e6 points at once", "array<comb>", "coveredBy<comb>", "Boost.Geometry", 0.2},
         {"10,000 shapes after a change, each", "shapesAfterChange", "parametersAfterChange",
          "its two formulas alone", 1.3}});
}
