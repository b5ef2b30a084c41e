// Strings beside std::string, number text beside the C library.
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include "bench/qvbench.h"
#include "qvutils/common/text/qvnumber.h"
#include "qvutils/common/text/qvstring.h"

namespace {

constexpr std::size_t sampleSize = 4096;

/// Numbers as results hold them: some 16 digits, sizes from 1e-6 to 1e7.
const std::vector<double>& numbers() {
    static const std::vector<double> all = [] {
        std::mt19937_64 random(1);
        std::uniform_real_distribution<> mantissa(-10, 10);
        std::vector<double> values;
        for (std::size_t i = 0; i < sampleSize; ++i)
            values.push_back(mantissa(random) * std::pow(10, int(random() % 13) - 6));
        return values;
    }();
    return all;
}

const std::vector<QVString>& texts() {
    static const std::vector<QVString> all = [] {
        std::vector<QVString> values;
        for (double x : numbers()) values.push_back(numtoA(x));
        return values;
    }();
    return all;
}

constexpr int appended = 1000;

void appendOurs(benchmark::State& state) {
    for (auto _ : state) {
        QVString s;
        for (int i = 0; i < appended; ++i) s += static_cast<char>('a' + i % 16);
        benchmark::DoNotOptimize(s.Chars());
    }
    state.SetItemsProcessed(state.iterations() * appended);
}
BENCHMARK(appendOurs);

void appendStd(benchmark::State& state) {
    for (auto _ : state) {
        std::string s;
        for (int i = 0; i < appended; ++i) s += static_cast<char>('a' + i % 16);
        benchmark::DoNotOptimize(s.data());
    }
    state.SetItemsProcessed(state.iterations() * appended);
}
BENCHMARK(appendStd);

template <class String>
String haystack() {
    String s;
    for (int i = 0; i < 60; ++i) s += "the quick brown fox ";
    s += "jumps";
    return s;
}

void findOurs(benchmark::State& state) {
    const QVString s = haystack<QVString>();
    for (auto _ : state) benchmark::DoNotOptimize(s.Index("jumps"));
}
BENCHMARK(findOurs);

void findStd(benchmark::State& state) {
    const std::string s = haystack<std::string>();
    for (auto _ : state) benchmark::DoNotOptimize(s.find("jumps"));
}
BENCHMARK(findStd);

template <class String>
void compare(benchmark::State& state) {
    const String a("a name that is not quite short"), b("a name that is not quite shorn");
    for (auto _ : state) {
        const String *left = &a, *right = &b;
        benchmark::DoNotOptimize(left);
        benchmark::DoNotOptimize(right);
        benchmark::DoNotOptimize(*left < *right);
        benchmark::DoNotOptimize(*left == *right);
    }
}
BENCHMARK_TEMPLATE(compare, QVString)->Name("compareOurs");
BENCHMARK_TEMPLATE(compare, std::string)->Name("compareStd");

template <class String>
void copy(benchmark::State& state) {
    String s(std::string(static_cast<std::size_t>(state.range(0)), 'x').c_str());
    for (auto _ : state) {
        benchmark::DoNotOptimize(s);
        String t(s);
        benchmark::DoNotOptimize(t);
    }
}
BENCHMARK_TEMPLATE(copy, QVString)->Name("copyOurs")->Arg(32)->Arg(100)->Arg(1000);
BENCHMARK_TEMPLATE(copy, std::string)->Name("copyStd")->Arg(32)->Arg(100)->Arg(1000);

void writeOurs(benchmark::State& state) {
    std::size_t i = 0;
    for (auto _ : state) {
        const QVString s = numtoA(numbers()[i++ % sampleSize]);
        benchmark::DoNotOptimize(s.Chars());
    }
}
BENCHMARK(writeOurs);

void writeC(benchmark::State& state) {
    std::size_t i = 0;
    char buffer[64];
    for (auto _ : state) {
        std::snprintf(buffer, sizeof buffer, "%.16g", numbers()[i++ % sampleSize]);
        benchmark::DoNotOptimize(buffer);
    }
}
BENCHMARK(writeC);

void readOurs(benchmark::State& state) {
    std::size_t i = 0;
    double value = 0;
    for (auto _ : state) {
        qvStringToNumber(texts()[i++ % sampleSize], value);
        benchmark::DoNotOptimize(value);
    }
}
BENCHMARK(readOurs);

void readC(benchmark::State& state) {
    std::size_t i = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(std::strtod(texts()[i++ % sampleSize].Chars(), nullptr));
}
BENCHMARK(readC);

}  // namespace

int main(int argc, char** argv) {
    return qvRunBenchmarks(
        argc, argv,
        {{"append by character", "appendOurs", "appendStd", "std::string", 1.2},
         {"find", "findOurs", "findStd", "std::string", 1.2},
         {"compare 30 characters", "compareOurs", "compareStd", "std::string", 1.2},
         {"copy 32 characters", "copyOurs/32", "copyStd/32", "std::string", 1.2},
         {"copy 100 characters", "copyOurs/100", "copyStd/100", "std::string", 1.2},
         {"copy 1000 characters", "copyOurs/1000", "copyStd/1000", "std::string", 1.2},
         {"number to text", "writeOurs", "writeC", "snprintf", 1.0 / 3},
         {"text to number", "readOurs", "readC", "strtod", 1.0 / 3}});
}
