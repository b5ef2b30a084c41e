#pragma once
#include <benchmark/benchmark.h>

#include <initializer_list>

/// A line of the table that a benchmark program prints: two benchmarks of the same run, by the
/// names under which Google Benchmark lists them. What counts is the time per item, or per
/// iteration of a benchmark that does not call SetItemsProcessed.
struct qvComparison {
    const char* what;
    const char* ours;
    const char* rival;
    const char* rivalName;
    double goal;  ///< the largest ratio of our time to the rival's that is good enough
};

/// Runs the benchmarks, several times each in mixed order, and prints the table of the medians.
int qvRunBenchmarks(int argc, char** argv, std::initializer_list<qvComparison> comparisons);

/// Adds a line for what is measured by other means (a one-time run, memory). `unit` follows the
/// figures; the ratio is ours / theirs.
void qvAddRow(const char* what, double ours, double theirs, const char* rivalName, double goal,
              const char* unit);
