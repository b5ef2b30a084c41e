// Refractive indices beside the same formulas written into the program by hand.
#include <cmath>
#include <complex>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <vector>

#include "bench/qvbench.h"
#include "qvutils/common/materials/analytic.h"
#include "qvutils/common/materials/materb.h"
#include "qvutils/common/tasks/qvtask.h"

namespace {

using Complex = std::complex<double>;

double square(double x) {
    return x * x;
}

/// The formulas of the built-in models, as one would write them for one wavelength; what does not
/// depend on it comes first so that a loop can keep it.
struct HandSilica {
    explicit HandSilica(double T) {
        const double t = T - 273.15;
        A = 1.31552 + 6.90754e-6 * t;
        B = 0.788404 + 2.35835e-5 * t;
        C = 1.10199e-2 + 5.84758e-7 * t;
        D = 0.91316 + 5.48368e-7 * t;
    }
    static double ghosh(double L, double a, double b, double c, double d) {
        return std::sqrt(a + b * L / (L - c) + d * L / (L - 100));
    }
    double operator()(double lambda) const {
        const double L = lambda * lambda;
        return std::sqrt(1 + 0.6961663 * L / (L - square(0.0684043)) +
                         0.4079426 * L / (L - square(0.1162414)) +
                         0.8974794 * L / (L - square(9.896161))) +
               ghosh(L, A, B, C, D) -
               ghosh(L, 1.31552 + 6.90754e-6 * 20, 0.788404 + 2.35835e-5 * 20,
                     1.10199e-2 + 5.84758e-7 * 20, 0.91316 + 5.48368e-7 * 20);
    }
    double A, B, C, D;
};

struct HandAlGaAs {
    HandAlGaAs(double x, double T) : fraction(x) {
        const double kB = 8.61708e-5;
        const double gap = 1.5192 + 1.8 * 0.0159 * (1 - 1 / std::tanh(0.0159 / (2 * kB * T))) +
                           1.1 * 0.0336 * (1 - 1 / std::tanh(0.0336 / (2 * kB * T)));
        E0 = square(gap / 1.239856 + 1.1308 * x + 0.1436 * x * x);
        A = 5.9613 + 7.178e-4 * T - 0.953e-6 * T * T - 16.159 * x + 43.511 * x * x -
            71.317 * x * x * x + 57.535 * x * x * x * x - 17.451 * x * x * x * x * x;
        C0 = 1 / (50.535 - 150.7 * x - 62.209 * x * x + 797.16 * x * x * x - 1125 * x * x * x * x +
                  503.79 * x * x * x * x * x);
        E1 = 4.7171 - 3.237e-4 * T - 1.358e-6 * T * T + 11.006 * x - 3.08 * x * x;
        C1 = 21.5647 + 113.74 * x - 122.5 * x * x + 108.401 * x * x * x - 47.318 * x * x * x * x;
    }
    double operator()(double lambda) const {
        const double e = 1 / (lambda * lambda);
        return std::sqrt(A + C0 / (E0 - e) + C1 / (E1 - e) +
                         (1 - fraction) * 1.55e-3 / (0.724e-3 - e) +
                         fraction * 2.61e-3 / (1.331e-3 - e));
    }
    double fraction, A, C0, E0, C1, E1;
};

struct HandGold {
    Complex operator()(double lambda) const {
        static constexpr double f[] = {0.024, 0.010, 0.071, 0.601, 4.384};
        static constexpr double G[] = {0.241, 0.345, 0.870, 2.494, 2.214};
        static constexpr double w[] = {0.415, 0.830, 2.969, 4.304, 13.32};
        const double E = 1.239841984 / lambda, plasma = 9.03 * 9.03;
        Complex eps = 1.0 - 0.760 * plasma / (E * Complex(E, 0.053));
        for (int j = 0; j < 5; j++) eps += f[j] * plasma / Complex(w[j] * w[j] - E * E, -E * G[j]);
        return std::sqrt(eps);
    }
};

constexpr int places = 1024;  // a power of two

std::vector<double> wavelengths(std::size_t count) {
    std::vector<double> lambda(count);
    for (std::size_t i = 0; i < count; i++)
        lambda[i] = 1.2 + 0.5 * static_cast<double>(i) / static_cast<double>(count);
    return lambda;
}

/// One index per iteration, at different wavelengths, temperatures and compositions.
template <class Index>
void scalar(benchmark::State& state, Index index) {
    const std::vector<double> lambda = wavelengths(places);
    std::size_t i = 0;
    double T = 290;
    for (auto _ : state) {
        benchmark::DoNotOptimize(T);
        benchmark::DoNotOptimize(index(0.3, lambda[i], T));
        i = (i + 1) % places;
    }
}

void scalarOurs(benchmark::State& state, const char* keyword) {
    const qvAnalyticMaterial* row = qvFindAnalytic(keyword);
    scalar(state, [row](double x, double lambda, double T) {
        return row->check(x, 0, lambda, T).usable() ? row->index(x, 0, lambda, T) : 0.0;
    });
}
BENCHMARK_CAPTURE(scalarOurs, silica, "ANAL_SILICA1");
BENCHMARK_CAPTURE(scalarOurs, algaas, "ANAL_ALGAAS");
BENCHMARK_CAPTURE(scalarOurs, gold, "ANAL_GOLD");

void scalarHandSilica(benchmark::State& state) {
    scalar(state, [](double, double lambda, double T) { return HandSilica(T)(lambda); });
}
BENCHMARK(scalarHandSilica);
void scalarHandAlGaAs(benchmark::State& state) {
    scalar(state, [](double x, double lambda, double T) { return HandAlGaAs(x, T)(lambda); });
}
BENCHMARK(scalarHandAlGaAs);
void scalarHandGold(benchmark::State& state) {
    scalar(state, [](double, double lambda, double) { return HandGold()(lambda); });
}
BENCHMARK(scalarHandGold);

/// The group index: the model's exact derivative beside the hand-written index at three places.
void groupOurs(benchmark::State& state) {
    const qvAnalyticMaterial* row = qvFindAnalytic("ANAL_ALGAAS");
    scalar(state,
           [row](double x, double lambda, double T) { return row->groupIndex(x, 0, lambda, T); });
}
BENCHMARK(groupOurs);
void groupHand(benchmark::State& state) {
    scalar(state, [](double x, double lambda, double T) {
        const HandAlGaAs n(x, T);
        const double h = 1e-4;
        return n(lambda) - lambda * (n(lambda + h) - n(lambda - h)) / (2 * h);
    });
}
BENCHMARK(groupHand);

constexpr std::size_t manyPlaces = 1'000'000;

/// A million wavelengths into a million indices.
template <class T, class Fill>
void array(benchmark::State& state, Fill fill) {
    const std::vector<double> lambda = wavelengths(manyPlaces);
    std::vector<T> n(manyPlaces);
    for (auto _ : state) {
        fill(lambda, n);
        benchmark::DoNotOptimize(n.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(manyPlaces));
}

void arrayOurs(benchmark::State& state, const char* keyword) {
    const qvAnalyticMaterial* row = qvFindAnalytic(keyword);
    array<double>(state, [row](const std::vector<double>& lambda, std::vector<double>& n) {
        if (row->check(0.3, 0, lambda, 300).usable()) row->realIndices(0.3, 0, 300, lambda, n);
    });
}
BENCHMARK_CAPTURE(arrayOurs, silica, "ANAL_SILICA1");
BENCHMARK_CAPTURE(arrayOurs, algaas, "ANAL_ALGAAS");

void arrayOursGold(benchmark::State& state) {
    const qvAnalyticMaterial* row = qvFindAnalytic("ANAL_GOLD");
    array<Complex>(state, [row](const std::vector<double>& lambda, std::vector<Complex>& n) {
        if (row->check(0, 0, lambda, 300).usable()) row->indices(0, 0, 300, lambda, n);
    });
}
BENCHMARK(arrayOursGold);

template <class T, class Hand>
void arrayHand(benchmark::State& state, const Hand& hand) {
    array<T>(state, [&hand](const std::vector<double>& lambda, std::vector<T>& n) {
        for (std::size_t i = 0; i < lambda.size(); i++) n[i] = hand(lambda[i]);
    });
}
void arrayHandSilica(benchmark::State& state) {
    arrayHand<double>(state, HandSilica(300));
}
BENCHMARK(arrayHandSilica);
void arrayHandAlGaAs(benchmark::State& state) {
    arrayHand<double>(state, HandAlGaAs(0.3, 300));
}
BENCHMARK(arrayHandAlGaAs);
void arrayHandGold(benchmark::State& state) {
    arrayHand<Complex>(state, HandGold());
}
BENCHMARK(arrayHandGold);

// Materials as they are defined in files.

struct HandSellmeier {
    double operator()(double lambda) const {
        const double L = lambda * lambda;
        return std::sqrt(1 + 0.6961663 * L / (L - 0.00467914826) +
                         0.4079426 * L / (L - 0.0135120631) + 0.8974794 * L / (L - 97.9340025));
    }
};
struct HandPolynomial {
    double operator()(double lambda) const {
        const double x = lambda - 1.55;
        return 1.444 + x * (-0.0119 + x * (0.001 + x * (-0.002 + x * 0.0003)));
    }
};
constexpr const char* formulaText = "sqrt(2.1 + 0.01/lambda**2 + 0.3*mxFrac) + 1e-5*(T - 300)";
struct HandFormula {
    double operator()(double lambda) const {
        return std::sqrt(2.1 + 0.01 / square(lambda) + 0.3 * fraction) + 1e-5 * (T - 300);
    }
    double fraction = 0.3, T = 300;
};

/// A material of one keyword.
std::unique_ptr<MaterB> materialOf(const char* keyword, const char* values) {
    auto material = std::make_unique<MaterB>("bench");
    FILE* file = std::tmpfile();
    if (!file) std::abort();
    std::fprintf(file, "%s\nEND\n", values);
    std::rewind(file);
    if (!material->ReadDef(keyword, file)) std::abort();
    std::fclose(file);
    material->Complete();
    return material;
}
std::unique_ptr<MaterB> sellmeierMaterial() {
    return materialOf("RIX_SELLMEIER",
                      "3 0.6961663 0.00467914826 0.4079426 0.0135120631 0.8974794 97.9340025");
}
std::unique_ptr<MaterB> polynomialMaterial() {
    return materialOf("RIX_POLYL", "5 1.444 -0.0119 0.001 -0.002 0.0003");
}
std::unique_ptr<MaterB> formulaMaterial() {
    return materialOf("RIX_EXPRESSION", ("\"" + std::string(formulaText) + "\"").c_str());
}
QVExpressionR compiledFormula() {
    QVExpressionR expression;
    for (const char* name : {"lambda", "mxFrac", "myFrac", "T"}) expression.DeclareParam(name, "");
    expression.setExpression(formulaText);
    Error error;
    if (!expression.Compile(error)) std::abort();
    return expression;
}

void queryOne(benchmark::State& state, std::unique_ptr<MaterB> (*make)()) {
    const std::unique_ptr<MaterB> material = make();
    scalar(state, [&](double x, double lambda, double T) { return material->nr(x, 0, lambda, T); });
}
BENCHMARK_CAPTURE(queryOne, sellmeier, sellmeierMaterial);
BENCHMARK_CAPTURE(queryOne, polynomial, polynomialMaterial);
BENCHMARK_CAPTURE(queryOne, formula, formulaMaterial);

/// Each query begins when the answer of the one before is there.
template <class Index>
void chain(benchmark::State& state, Index index) {
    const std::vector<double> lambda = wavelengths(places);
    std::size_t i = 0;
    double n = 1;
    for (auto _ : state) {
        n = index(lambda[i] + n * 1e-300);
        i = (i + 1) % places;
    }
    benchmark::DoNotOptimize(n);
}
void queryNext(benchmark::State& state, std::unique_ptr<MaterB> (*make)()) {
    const std::unique_ptr<MaterB> material = make();
    chain(state, [&](double lambda) { return material->nr(0.3, 0, lambda, 300); });
}
BENCHMARK_CAPTURE(queryNext, sellmeier, sellmeierMaterial);
BENCHMARK_CAPTURE(queryNext, polynomial, polynomialMaterial);
void queryNextHandSellmeier(benchmark::State& state) {
    chain(state, HandSellmeier());
}
BENCHMARK(queryNextHandSellmeier);
void queryNextHandPolynomial(benchmark::State& state) {
    chain(state, HandPolynomial());
}
BENCHMARK(queryNextHandPolynomial);

void queryOneHandSellmeier(benchmark::State& state) {
    scalar(state, [](double, double lambda, double) { return HandSellmeier()(lambda); });
}
BENCHMARK(queryOneHandSellmeier);
void queryOneHandPolynomial(benchmark::State& state) {
    scalar(state, [](double, double lambda, double) { return HandPolynomial()(lambda); });
}
BENCHMARK(queryOneHandPolynomial);
void queryOneBareFormula(benchmark::State& state) {
    const QVExpressionR expression = compiledFormula();
    QVArguments<double> arguments = expression.makeArguments();
    scalar(state, [&](double x, double lambda, double T) {
        arguments.value(1) = lambda;
        arguments.value(2) = x;
        arguments.value(4) = T;
        Error error;
        return expression.Evaluate(arguments, error);
    });
}
BENCHMARK(queryOneBareFormula);

void queryMany(benchmark::State& state, std::unique_ptr<MaterB> (*make)()) {
    const std::unique_ptr<MaterB> material = make();
    array<double>(state, [&](const std::vector<double>& lambda, std::vector<double>& n) {
        material->nr(0.3, 0, lambda, 300, n);
    });
}
BENCHMARK_CAPTURE(queryMany, sellmeier, sellmeierMaterial);
BENCHMARK_CAPTURE(queryMany, polynomial, polynomialMaterial);
BENCHMARK_CAPTURE(queryMany, formula, formulaMaterial);
void queryManyWorkers(benchmark::State& state) {
    qvTask::StartWorkerThreads();
    queryMany(state, sellmeierMaterial);
    qvTask::StopWorkerThreads();
}
BENCHMARK(queryManyWorkers)->UseRealTime();
void queryManyAlone(benchmark::State& state) {
    queryMany(state, sellmeierMaterial);
}
BENCHMARK(queryManyAlone)->UseRealTime();

void queryManyHandSellmeier(benchmark::State& state) {
    arrayHand<double>(state, HandSellmeier());
}
BENCHMARK(queryManyHandSellmeier);
void queryManyHandPolynomial(benchmark::State& state) {
    arrayHand<double>(state, HandPolynomial());
}
BENCHMARK(queryManyHandPolynomial);
void queryManyHandFormula(benchmark::State& state) {
    arrayHand<double>(state, HandFormula());
}
BENCHMARK(queryManyHandFormula);

}  // namespace

int main(int argc, char** argv) {
    return qvRunBenchmarks(
        argc, argv,
        {{"built-in silica, checked", "scalarOurs/silica", "scalarHandSilica", "by hand", 3},
         {"built-in AlGaAs, checked", "scalarOurs/algaas", "scalarHandAlGaAs", "by hand", 3},
         {"built-in gold, checked", "scalarOurs/gold", "scalarHandGold", "by hand", 3},
         {"group index of AlGaAs", "groupOurs", "groupHand", "three indices by hand", 1.5},
         {"silica, 1e6 wavelengths", "arrayOurs/silica", "arrayHandSilica", "by hand", 1.5},
         {"AlGaAs, 1e6 wavelengths", "arrayOurs/algaas", "arrayHandAlGaAs", "by hand", 1.5},
         {"gold, 1e6 wavelengths", "arrayOursGold", "arrayHandGold", "by hand", 1.5},
         {"nr, Sellmeier, one after another", "queryNext/sellmeier", "queryNextHandSellmeier",
          "by hand", 3},
         {"nr, polynomial, one after another", "queryNext/polynomial", "queryNextHandPolynomial",
          "by hand", 3},
         {"nr, Sellmeier, overlapping", "queryOne/sellmeier", "queryOneHandSellmeier", "by hand", 3},
         {"nr, polynomial, overlapping", "queryOne/polynomial", "queryOneHandPolynomial",
          "by hand, inlined", 3},
         {"nr, formula", "queryOne/formula", "queryOneBareFormula", "compiled formula", 1.3},
         {"nr, Sellmeier, 1e6", "queryMany/sellmeier", "queryManyHandSellmeier", "by hand", 1.5},
         {"nr, polynomial, 1e6", "queryMany/polynomial", "queryManyHandPolynomial", "by hand", 1.5},
         {"nr, formula, 1e6", "queryMany/formula", "queryManyHandFormula", "by hand", 1.5},
         {"nr, Sellmeier, 1e6, workers", "queryManyWorkers", "queryManyAlone",
          "without workers", 1}});
}
