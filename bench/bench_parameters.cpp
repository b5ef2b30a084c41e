// Reading parameters, beside a plain load and a value behind a mutex.
#include <algorithm>
#include <chrono>
#include <complex>
#include <mutex>
#include <vector>

#include "bench/qvbench.h"
#include "qvutils/common/parameters/qvparameter.h"
#include "qvutils/common/variables/qvnamespace.h"

namespace {

/// What is read where, made once for all.
struct Samples {
    Samples() {
        space.Add("gap")->SetValue(0.75);
        number = 3.0;
        child.SetParent(&number);
        formula.SetExpression(&space, "2*gap+1");
        complexFormula.SetExpression(&space, "2*gap+sqrt(-1)");
    }
    qvNameSpace space;
    double plain = 3;
    qvParameter<double> number, child, formula;
    qvParameter<std::complex<double>> complexFormula;
    std::mutex lock;
};

Samples& samples() {
    static Samples all;
    return all;
}

template <class Read>
void readAgainAndAgain(benchmark::State& state, Read read) {
    for (auto _ : state) {
        benchmark::ClobberMemory();
        auto value = read(samples());
        benchmark::DoNotOptimize(value);
    }
}

double load(Samples& s) {
    return s.plain;
}
double loadLocked(Samples& s) {
    const std::lock_guard guard(s.lock);
    return s.plain;
}
double number(Samples& s) {
    return s.number;
}
double inherited(Samples& s) {
    return s.child;
}
double formula(Samples& s) {
    return s.formula;
}
std::complex<double> complexFormula(Samples& s) {
    return s.complexFormula;
}

/// The median time of a reading in nanoseconds.
template <double (*read)(Samples&)>
double timeOf() {
    constexpr int readings = 1000000;
    std::vector<double> times;
    Samples& s = samples();
    for (int round = 0; round < 21; ++round) {
        const auto start = std::chrono::steady_clock::now();
        for (int i = 0; i < readings; ++i) {
            benchmark::ClobberMemory();
            double value = read(s);
            benchmark::DoNotOptimize(value);
        }
        const std::chrono::duration<double, std::nano> taken =
            std::chrono::steady_clock::now() - start;
        times.push_back(taken.count() / readings);
    }
    std::nth_element(times.begin(), times.begin() + 10, times.end());
    return times[10];
}

BENCHMARK_CAPTURE(readAgainAndAgain, load, load);
BENCHMARK_CAPTURE(readAgainAndAgain, loadLocked, loadLocked);
BENCHMARK_CAPTURE(readAgainAndAgain, number, number);
BENCHMARK_CAPTURE(readAgainAndAgain, inherited, inherited);
BENCHMARK_CAPTURE(readAgainAndAgain, formula, formula);
BENCHMARK_CAPTURE(readAgainAndAgain, complexFormula, complexFormula);

}  // namespace

int main(int argc, char** argv) {
    qvAddRow("number, beyond a plain load", std::max(0.0, timeOf<number>() - timeOf<load>()), 2,
             "allowed", 1, "ns");
    qvAddRow("unchanged formula", timeOf<formula>(), 10, "allowed", 1, "ns");
    return qvRunBenchmarks(argc, argv,
                           {{"number from the parent", "readAgainAndAgain/inherited",
                             "readAgainAndAgain/loadLocked", "behind a mutex", 1},
                            {"unchanged formula", "readAgainAndAgain/formula",
                             "readAgainAndAgain/loadLocked", "behind a mutex", 1},
                            {"unchanged complex formula", "readAgainAndAgain/complexFormula",
                             "readAgainAndAgain/loadLocked", "behind a mutex", 1}});
}
