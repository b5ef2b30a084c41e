// Weights along a path, beside the same functions written by hand or in another library.
#include <gsl/gsl_spline.h>
#include <muParser.h>

#include <cmath>
#include <cstdio>
#include <fstream>
#include <vector>

#include "bench/qvbench.h"
#include "qvutils/common/shapes/weightfunc.h"

namespace {

constexpr int steps = 1000;

template <class Weight>
void walk(benchmark::State& state, Weight weight) {
    for (auto _ : state) {
        for (int i = 0; i < steps; ++i) benchmark::DoNotOptimize(weight(i * (1.0 / steps)));
    }
    state.SetItemsProcessed(state.iterations() * steps);
}

void ours(benchmark::State& state, const char* definition) {
    WeightFunc function;
    if (!function.ParseString(definition)) state.SkipWithError("no weighting function");
    walk(state, [&](double t) { return function.WeightVal(t); });
}

void sCurveByHand(benchmark::State& state) {
    walk(state, [](double u) {
        const double up = std::pow(u, 3), down = std::pow(1 - u, 3);
        return up / (up + down);
    });
}

void formulaInMuparser(benchmark::State& state) {
    double t = 0;
    mu::Parser parser;
    parser.DefineVar("t", &t);
    parser.DefineConst("a", 0.25);
    parser.SetExpr("a*t + (1-a)*t^2*(3-2*t)");
    walk(state, [&](double at) {
        t = at;
        return parser.Eval();
    });
}

double tableWeight(double t) {
    return t * t * (3 - 2 * t);
}

void tableInGsl(benchmark::State& state) {
    std::vector<double> x, y;
    for (int i = 0; i <= 100; ++i) {
        x.push_back(i * 0.01);
        y.push_back(tableWeight(x.back()));
    }
    gsl_spline* spline = gsl_spline_alloc(gsl_interp_cspline, x.size());
    gsl_interp_accel* accel = gsl_interp_accel_alloc();
    gsl_spline_init(spline, x.data(), y.data(), x.size());
    walk(state, [&](double t) { return gsl_spline_eval(spline, t, accel); });
    gsl_interp_accel_free(accel);
    gsl_spline_free(spline);
}

constexpr const char* tableFile = "bench_weights.dat";

BENCHMARK_CAPTURE(ours, sCurve, "SFUNC 3");
BENCHMARK(sCurveByHand);
BENCHMARK_CAPTURE(ours, formula, "FORMULA \"a*t + (1-a)*t**2*(3-2*t)\" a=0.25");
BENCHMARK(formulaInMuparser);
BENCHMARK_CAPTURE(ours, table, "FILE bench_weights.dat");
BENCHMARK(tableInGsl);

}  // namespace

int main(int argc, char** argv) {
    {
        std::ofstream table(tableFile);
        for (int i = 0; i <= 100; ++i) table << i * 0.01 << ' ' << tableWeight(i * 0.01) << '\n';
    }
    const int result = qvRunBenchmarks(
        argc, argv,
        {{"weight by an s-curve", "ours/sCurve", "sCurveByHand", "by hand, twice std::pow", 1.5},
         {"weight by a formula", "ours/formula", "formulaInMuparser", "muParser", 3},
         {"weight by a table of 101 rows", "ours/table", "tableInGsl", "GSL", 2}});
    std::remove(tableFile);
    return result;
}
