// Cubic splines beside GSL's.
#include <gsl/gsl_spline.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#include "bench/qvbench.h"
#include "qvutils/qvnr/Splinfit.h"

namespace {

enum Spacing { even, clustered };
enum Order { sequential, shuffled };

/// A table of a smooth function over [0, 1]. The clustered one has half of its points in the first
/// hundred-thousandth of the range: they share one cell of the index.
std::vector<CSplineData> table(int n, Spacing spacing) {
    std::vector<CSplineData> rows(static_cast<std::size_t>(n));
    for (int i = 0; i < n; ++i) {
        const double t = static_cast<double>(i) / (n - 1);
        double x = t;
        if (spacing == clustered) x = t < 0.5 ? t * 2e-5 : 1e-5 + (t - 0.5) * 2 * (1 - 1e-5);
        rows[i] = {x, std::sin(7 * x) + t, 0};
    }
    return rows;
}

/// Places that fall into each segment of the table alike.
std::vector<double> places(const std::vector<CSplineData>& rows, Order order) {
    constexpr int count = 4096;
    std::mt19937_64 random(1);
    std::uniform_real_distribution<> between(0, 1);
    std::vector<double> x;
    const double segments = static_cast<double>(rows.size() - 1);
    for (int i = 0; i < count; ++i) {
        const double t = (order == sequential ? (i + 0.5) / count : between(random)) * segments;
        const std::size_t k = static_cast<std::size_t>(t);
        x.push_back(rows[k].x + (t - std::floor(t)) * (rows[k + 1].x - rows[k].x));
    }
    return x;
}

struct GslSpline {
    explicit GslSpline(const std::vector<CSplineData>& rows)
        : accel(gsl_interp_accel_alloc()),
          spline(gsl_spline_alloc(gsl_interp_cspline, rows.size())) {
        std::vector<double> x, y;
        for (const CSplineData& row : rows) {
            x.push_back(row.x);
            y.push_back(row.y1);
        }
        gsl_spline_init(spline, x.data(), y.data(), rows.size());
    }
    ~GslSpline() {
        gsl_spline_free(spline);
        gsl_interp_accel_free(accel);
    }
    gsl_interp_accel* accel;
    gsl_spline* spline;
};

template <Order order, Spacing spacing>
void evaluateOurs(benchmark::State& state) {
    const auto rows = table(static_cast<int>(state.range(0)), spacing);
    const auto at = places(rows, order);
    const CSpline spline(rows.data(), static_cast<int>(rows.size()), "bench", false);
    for (auto _ : state) {
        for (double x : at) benchmark::DoNotOptimize(spline.CalcY1(x));
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(at.size()));
}
BENCHMARK_TEMPLATE(evaluateOurs, sequential, even)->Name("sequentialOurs")->Arg(1000)->Arg(65535);
BENCHMARK_TEMPLATE(evaluateOurs, shuffled, even)->Name("randomOurs")->Arg(1000)->Arg(65535);
BENCHMARK_TEMPLATE(evaluateOurs, sequential, clustered)
    ->Name("clusteredSequentialOurs")
    ->Arg(1000)
    ->Arg(65535);
BENCHMARK_TEMPLATE(evaluateOurs, shuffled, clustered)
    ->Name("clusteredRandomOurs")
    ->Arg(1000)
    ->Arg(65535);

template <Order order>
void evaluateGsl(benchmark::State& state) {
    const auto rows = table(static_cast<int>(state.range(0)), even);
    const auto at = places(rows, order);
    const GslSpline gsl(rows);
    for (auto _ : state) {
        for (double x : at) {
            benchmark::DoNotOptimize(gsl_spline_eval(gsl.spline, x, gsl.accel));
        }
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(at.size()));
}
BENCHMARK_TEMPLATE(evaluateGsl, sequential)->Name("sequentialGsl")->Arg(1000)->Arg(65535);
BENCHMARK_TEMPLATE(evaluateGsl, shuffled)->Name("randomGsl")->Arg(1000)->Arg(65535);

void arrayOurs(benchmark::State& state) {
    const auto rows = table(1000, even);
    const auto at = places(rows, sequential);
    const CSpline spline(rows.data(), static_cast<int>(rows.size()), "bench", false);
    std::vector<double> y(at.size());
    for (auto _ : state) {
        spline.CalcY1(at.data(), y.data(), static_cast<int>(at.size()));
        benchmark::DoNotOptimize(y.data());
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(at.size()));
}
BENCHMARK(arrayOurs);

void buildOurs(benchmark::State& state) {
    const auto rows = table(static_cast<int>(state.range(0)), even);
    for (auto _ : state) {
        const CSpline spline(rows.data(), static_cast<int>(rows.size()), "bench", false);
        benchmark::DoNotOptimize(spline.IsReady());
    }
}
BENCHMARK(buildOurs)->Arg(1000)->Arg(65535);

/// From the columns that GSL wants, not from rows.
void buildGsl(benchmark::State& state) {
    std::vector<double> x, y;
    for (const CSplineData& row : table(static_cast<int>(state.range(0)), even)) {
        x.push_back(row.x);
        y.push_back(row.y1);
    }
    for (auto _ : state) {
        gsl_spline* spline = gsl_spline_alloc(gsl_interp_cspline, x.size());
        gsl_spline_init(spline, x.data(), y.data(), x.size());
        benchmark::DoNotOptimize(spline);
        gsl_spline_free(spline);
    }
}
BENCHMARK(buildGsl)->Arg(1000)->Arg(65535);

}  // namespace

int main(int argc, char** argv) {
    return qvRunBenchmarks(
        argc, argv,
        {{"x in order, 1000 points", "sequentialOurs/1000", "sequentialGsl/1000", "GSL", 0.6},
         {"x in order, an array at once", "arrayOurs", "sequentialGsl/1000", "GSL", 0.6},
         {"x at random, 1000 points", "randomOurs/1000", "randomGsl/1000", "GSL", 0.3},
         {"x in order, 65,535 points", "sequentialOurs/65535", "sequentialGsl/65535", "GSL", 0.6},
         {"x at random, 65,535 points", "randomOurs/65535", "randomGsl/65535", "GSL", 0.3},
         {"build 1000 points", "buildOurs/1000", "buildGsl/1000", "GSL", 1},
         {"build 65,535 points", "buildOurs/65535", "buildGsl/65535", "GSL", 1},
         {"clustered points, x in order", "clusteredSequentialOurs/1000", "sequentialOurs/1000",
          "even points", 3},
         {"clustered points, x at random", "clusteredRandomOurs/1000", "randomOurs/1000",
          "even points", 3},
         {"the same, 65,535 points", "clusteredRandomOurs/65535", "randomOurs/65535", "even points",
          3}});
}
