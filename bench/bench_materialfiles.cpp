// Loading material files, and finding them again, beside what the system takes for the same file.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>

#include "bench/qvbench.h"
#include "qvutils/common/error/qverror.h"
#include "qvutils/common/materials/materb.h"
#include "qvutils/common/platform/files.h"

namespace {

/// A file that goes at the end.
class BenchFile {
public:
    explicit BenchFile(const std::string& items) {
        std::fclose(qvplatform::fileSystem().openTemporary("/tmp", path));
        std::ofstream(path) << "<materbase(2.21)>\n" << items;
    }
    ~BenchFile() { std::remove(path.c_str()); }
    std::string path;
};

std::string fortyMaterials() {
    std::string items;
    for (int i = 0; i < 40; ++i) {
        items += "// Fused silica: I. H. Malitson, J. Opt. Soc. Am. 55, 1205 (1965)\nBEGIN m" +
                 std::to_string(i) +
                 "\n    RIX_SELLMEIER 3  0.6961663 0.00467914826  0.4079426 0.0135120631  "
                 "0.8974794 97.9340025\n    RIX_POLYT 2  0 1.06e-5\n    LAMBDA_RANGE 0.21 3.71\n"
                 "    TEMP_REF 293.15\n    EGAP 9\n"
                 "    THCON \"1.4 + 1e-3*(T - 300)\"\n    YOUNGS_MODULUS 73.1\nEND\n\n";
    }
    return items;
}

std::string splineTable(int n) {
    std::ostringstream items;
    items << "BEGIN_DATABLOCK <SPLINE2D> table\n1 " << n << ' ' << n;
    for (int i = 0; i < n; ++i) items << ' ' << static_cast<double>(i) / (n - 1);
    for (int j = 0; j < n; ++j) {
        items << '\n' << static_cast<double>(j) / (n - 1);
        for (int i = 0; i < n; ++i) items << ' ' << 3 + 0.1 * i / n + 0.2 * j / n;
    }
    items << "\nEND_DATABLOCK\nBEGIN m\nRIX_FUNCXY SPLINE2D table\nEND\n";
    return items.str();
}

Materbase* loaded(const std::string& path) {
    Materbase* base = LoadMaterbase(path.c_str());
    if (base) return base;
    std::fprintf(stderr, "%s\n", qverr().chars());
    std::exit(1);
}

const BenchFile& forty() {
    static const BenchFile file(fortyMaterials());
    return file;
}

void findAgain(benchmark::State& state) {
    Materbase* base = loaded(forty().path);
    for (auto _ : state) loaded(forty().path)->UnRef();
    base->UnRef();
}
BENCHMARK(findAgain);

/// What the system takes to tell when the file was changed, and 5 microseconds.
void lookUpAndFive(benchmark::State& state) {
    for (auto _ : state) {
        const auto start = std::chrono::steady_clock::now();
        benchmark::DoNotOptimize(qvplatform::fileSystem().status(forty().path).modified);
        while (std::chrono::steady_clock::now() - start < std::chrono::microseconds(5)) {
        }
    }
}
BENCHMARK(lookUpAndFive);

void loadTable(benchmark::State& state, int n) {
    const BenchFile file(splineTable(n));
    for (auto _ : state) loaded(file.path)->UnRef();
    state.SetItemsProcessed(state.iterations() * n * n);
}
BENCHMARK_CAPTURE(loadTable, big, 300);
BENCHMARK_CAPTURE(loadTable, small, 30);

/// The least time of a few loads, in milliseconds.
double loadingTime() {
    double least = 1e9;
    for (int i = 0; i < 10; ++i) {
        const auto start = std::chrono::steady_clock::now();
        loaded(forty().path)->UnRef();
        const std::chrono::duration<double, std::milli> time =
            std::chrono::steady_clock::now() - start;
        least = std::min(least, time.count());
    }
    return least;
}

}  // namespace

int main(int argc, char** argv) {
    qvAddRow("load a file of 40 materials", loadingTime(), 20, "allowed", 1, "ms");
    return qvRunBenchmarks(
        argc, argv,
        {{"find a loaded file again", "findAgain", "lookUpAndFive", "time stamp and 5 µs", 1},
         {"load a table, each number", "loadTable/big", "loadTable/small",
          "300 × 300 beside 30 × 30", 2}});
}
