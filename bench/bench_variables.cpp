// Variables of a namespace: reading them, beside a plain load and a mutex, and whole namespaces,
// beside a hash table.
#include <chrono>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "bench/qvbench.h"
#include "qvutils/common/variables/qvnamespace.h"

namespace {

/// x0 and x1 are numbers; each other one is the sum of the two before it, weighted so that the
/// values stay small.
std::unique_ptr<qvNameSpace> makeLadder(int size) {
    auto space = std::make_unique<qvNameSpace>();
    for (int i = 0; i < size; ++i) {
        qvNamedVariable* variable = space->Add(("x" + std::to_string(i)).c_str());
        if (i < 2) {
            variable->SetValue(1);
        } else {
            const std::string a = std::to_string(i - 1), b = std::to_string(i - 2);
            variable->SetExpression(("0.5*x" + a + "+0.5*x" + b).c_str());
        }
    }
    return space;
}

void readLoad(benchmark::State& state) {
    std::complex<double> value = 3;
    for (auto _ : state) {
        benchmark::DoNotOptimize(&value);
        benchmark::ClobberMemory();
        std::complex<double> read = value;
        benchmark::DoNotOptimize(read);
    }
}
BENCHMARK(readLoad);

void readVariable(benchmark::State& state, const char* definition) {
    qvNameSpace parent, space(&parent);
    parent.Add("x")->SetValue(2);
    qvNamedVariable variable(&space, qvNamedVariable::temporary, -1);
    variable.SetValueOrExpression(definition);
    for (auto _ : state) {
        benchmark::ClobberMemory();
        std::complex<double> read = variable.GetValue();
        benchmark::DoNotOptimize(read);
    }
}
BENCHMARK_CAPTURE(readVariable, number, "3");
BENCHMARK_CAPTURE(readVariable, unchangedFormula, "x+1");

/// One change at the bottom and one reading three formulas above it, in a namespace of many.
void readAfterChange(benchmark::State& state) {
    const auto space = makeLadder(static_cast<int>(state.range(0)));
    space->GetVariable(space->getSize() - 1)->GetValue();
    qvNamedVariable *changed = space->Find("x1"), *read = space->Find("x4");
    double value = 1;
    for (auto _ : state) {
        changed->SetValue(value += 1);
        std::complex<double> result = read->GetValue();
        benchmark::DoNotOptimize(result);
    }
}
BENCHMARK(readAfterChange)->Arg(100)->Arg(10000);

void recomputeAll(benchmark::State& state) {
    const auto space = makeLadder(10000);
    qvNamedVariable *changed = space->Find("x1"), *last = space->GetVariable(9999);
    double value = 1;
    for (auto _ : state) {
        changed->SetValue(value += 1);
        std::complex<double> result = last->GetValue();
        benchmark::DoNotOptimize(result);
    }
    state.SetItemsProcessed(state.iterations() * 10000);
}
BENCHMARK(recomputeAll);

void findVariable(benchmark::State& state) {
    const auto space = makeLadder(100000);
    std::vector<std::string> names;
    for (int i = 0; i < 100000; ++i) names.push_back("x" + std::to_string(i));
    for (auto _ : state) {
        for (const std::string& name : names) {
            benchmark::DoNotOptimize(space->Find(std::string_view(name)));
        }
    }
    state.SetItemsProcessed(state.iterations() * 100000);
}
BENCHMARK(findVariable);

void findInHashTable(benchmark::State& state) {
    std::unordered_map<std::string, std::complex<double>> table;
    std::vector<std::string> names;
    for (int i = 0; i < 100000; ++i) {
        names.push_back("x" + std::to_string(i));
        table[names.back()] = 1;
    }
    for (auto _ : state) {
        for (const std::string& name : names) benchmark::DoNotOptimize(table.find(name));
    }
    state.SetItemsProcessed(state.iterations() * 100000);
}
BENCHMARK(findInHashTable);

// Ten times as many variables take somewhat more than ten times as long, since they no longer fit
// into the cache; what grows faster shows as a ratio near 100.

template <class Work>
double milliseconds(Work work) {
    double best = 1e9;
    for (int i = 0; i < 5; ++i) {
        const auto start = std::chrono::steady_clock::now();
        work();
        const std::chrono::duration<double, std::milli> time =
            std::chrono::steady_clock::now() - start;
        best = std::min(best, time.count());
    }
    return best;
}

/// Makes a ladder and reads its last variable, each time anew.
double firstReading(int size) {
    double best = 1e9;
    for (int i = 0; i < 5; ++i) {
        const auto space = makeLadder(size);
        const auto start = std::chrono::steady_clock::now();
        benchmark::DoNotOptimize(space->GetVariable(size - 1)->GetValue());
        const std::chrono::duration<double, std::milli> time =
            std::chrono::steady_clock::now() - start;
        best = std::min(best, time.count());
    }
    return best;
}

void removeAll(int size) {
    const auto space = makeLadder(size);
    for (int i = 0; i < size; ++i) space->Remove(space->Find(("x" + std::to_string(i)).c_str()));
}

}  // namespace

int main(int argc, char** argv) {
    qvAddRow("first reading of 10,000 variables, each using two", firstReading(10000), 20,
             "the goal", 1, "ms");
    qvAddRow("the same for 100,000 variables", firstReading(100000), firstReading(10000),
             "10,000 variables", 20, "ms");
    qvAddRow("making 100,000 variables", milliseconds([] { makeLadder(100000); }),
             milliseconds([] { makeLadder(10000); }), "10,000 variables", 20, "ms");
    qvAddRow("making and removing 100,000, first to last", milliseconds([] { removeAll(100000); }),
             milliseconds([] { removeAll(10000); }), "10,000 variables", 20, "ms");
    return qvRunBenchmarks(
        argc, argv,
        {{"a variable that holds a number", "readVariable/number", "readLoad", "a load", 4},
         {"one that holds an unchanged formula", "readVariable/unchangedFormula", "readLoad",
          "a load", 20},
         {"a change and a reading among 10,000", "readAfterChange/10000", "readAfterChange/100",
          "among 100", 1.3},
         {"looking a name up among 100,000", "findVariable", "findInHashTable",
          "std::unordered_map", 4}});
}
