// Guided modes of a guide of five layers: one solution beside finite differences, and a scan of
// 10,000 points on two cores beside one.
#include <algorithm>
#include <chrono>
#include <cmath>
#include <numbers>
#include <vector>

#include "bench/qvbench.h"
#include "plugins/slabguide/slabmode.h"
#include "plugins/slabguide/slabscan.h"
#include "qvutils/common/diagnostics/diagnostics.h"
#include "qvutils/common/error/qverror.h"
#include "qvutils/common/tasks/qvtask.h"

namespace {

struct Sheet {
    double thickness, index;
};
constexpr Sheet sheets[] = {{0, 1.444}, {0.3, 1.7}, {0.6, 1.996}, {0.2, 1.6}, {0, 1}};
constexpr double wavelength = 1.55;

slab::Stack stackWithLoss(double loss) {
    slab::Stack stack;
    stack.wavelength = wavelength;
    for (const Sheet& sheet : sheets) {
        slab::Layer layer;
        layer.thickness = sheet.thickness;
        const slab::Complex index(sheet.index, sheet.index > 1.9 ? loss : 0);
        layer.eps = layer.epsAlong = index * index;
        stack.layers.push_back(layer);
    }
    return stack;
}

void reportModes(benchmark::State& state, std::size_t modes) {
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(modes));
}

void solveLossless(benchmark::State& state) {
    const slab::Stack stack = stackWithLoss(0);
    std::size_t modes = 0;
    for (auto _ : state) modes = slab::solve(stack).modes.size();
    reportModes(state, modes);
}
BENCHMARK(solveLossless);

void solveLossy(benchmark::State& state) {
    const slab::Stack stack = stackWithLoss(1e-3);
    std::size_t modes = 0;
    for (auto _ : state) modes = slab::solve(stack).modes.size();
    reportModes(state, modes);
}
BENCHMARK(solveLossy);

/// The way without a mode solver: second differences on a grid, and the largest eigenvalues of the
/// tridiagonal matrix by bisection on the signs of its minors (J. H. Wilkinson, 1962). 4,000 points
/// are good for 5 digits.
class Differences {
public:
    Differences() {
        constexpr double from = -2, to = 3;
        const double k0 = 2 * std::numbers::pi / wavelength;
        const double step = (to - from) / points * k0;
        coupling_ = 1 / (step * step);
        for (int i = 0; i < points; ++i) {
            const double x = from + (to - from) * (i + 0.5) / points;
            std::size_t layer = 0;
            for (double top = 0; layer + 1 < std::size(sheets) && x >= top;)
                top += sheets[++layer].thickness;
            diagonal_.push_back(sheets[layer].index * sheets[layer].index - 2 * coupling_);
        }
    }

    std::vector<double> modes() const {
        std::vector<double> found;
        const int count = above(sheets[0].index * sheets[0].index);
        for (int mode = 0; mode < count; ++mode) {
            double low = sheets[0].index * sheets[0].index, high = 4;
            while (high - low > 1e-12) {
                const double middle = (low + high) / 2;
                (above(middle) > mode ? low : high) = middle;
            }
            found.push_back(std::sqrt(low));
        }
        return found;
    }

private:
    static constexpr int points = 4000;

    /// Eigenvalues above w.
    int above(double w) const {
        int positive = 0;
        double pivot = 1;
        for (int i = 0; i < points; ++i) {
            const double d = diagonal_[static_cast<std::size_t>(i)] - w;
            pivot = i == 0 ? d : d - coupling_ * coupling_ / pivot;
            if (pivot == 0) pivot = 1e-300;
            positive += pivot > 0;
        }
        return positive;
    }

    double coupling_ = 0;
    std::vector<double> diagonal_;
};

void solveByDifferences(benchmark::State& state) {
    const Differences grid;
    std::size_t modes = 0;
    for (auto _ : state) modes = grid.modes().size();
    reportModes(state, modes);
}
BENCHMARK(solveByDifferences);

/// Seconds on the clock of a scan over a thickness formula, the best of several.
double scanSeconds(int threads) {
    constexpr int runs = 5, points = 10000;
    qvNameSpace names;
    names.Add("w")->SetValue(0.6);
    SlabDescription guide;
    guide.wavelength = qvParameter<double>(wavelength);
    for (const Sheet& sheet : sheets) {
        SlabDescription::Layer layer;
        qvParameter<double> thickness(sheet.thickness);
        if (sheet.index > 1.9) thickness.SetExpression(&names, "w*(1 + 0.1*w)");
        layer.thickness = thickness;
        layer.index = qvParameter<double>(sheet.index);
        guide.layers.push_back(layer);
    }
    qvTask::StartWorkerThreads(threads);
    double best = 1e9;
    for (int i = 0; i < runs; ++i) {
        SlabScan scan;
        SlabScanProgress progress;
        const auto start = std::chrono::steady_clock::now();
        if (!slabScan(guide, names, "w", 0.2, 1, points, progress, scan))
            exitfn("%s", qverr().chars());
        const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
        best = std::min(best, taken.count());
    }
    qvTask::StopWorkerThreads();
    return best;
}

}  // namespace

int main(int argc, char** argv) {
    constexpr double wanted = 1.8;
    qvAddRow("scan of 10,000 points, two cores", 1e3 * scanSeconds(2), 1e3 * scanSeconds(1),
             "one core", 1 / wanted, "ms");
    return qvRunBenchmarks(argc, argv,
                           {{"guided mode of five layers", "solveLossless", "solveByDifferences",
                             "finite differences, 5 digits", 0.1},
                            {"the same with loss", "solveLossy", "solveByDifferences",
                             "finite differences, no loss", 0.1}});
}
