#include "bench/qvbench.h"

#include <algorithm>
#include <cstdio>
#include <map>
#include <string>
#include <vector>

namespace {

struct Row {
    std::string what, ours, rival;
    double ratio, goal;
};

std::vector<Row> rows;

std::string inUnits(double ns) {
    const char* units[] = {"ns", "µs", "ms", "s"};
    int unit = 0;
    for (; ns >= 1000 && unit < 3; ++unit) ns /= 1000;
    char text[64];
    std::snprintf(text, sizeof text, "%.3g %s", ns, units[unit]);
    return text;
}

/// Prints as usual and keeps every repetition's time.
class Collector : public benchmark::ConsoleReporter {
public:
    Collector() : ConsoleReporter(OO_Tabular) {}

    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            if (run.run_type != Run::RT_Iteration || run.error_occurred) continue;
            const auto items = run.counters.find("items_per_second");
            const double ns = items == run.counters.end()
                                  ? timeOf(run) * 1e9 / double(run.iterations)
                                  : 1e9 / items->second.value;
            times_[nameOf(run)].push_back(ns);
        }
        ConsoleReporter::ReportRuns(runs);
    }

    /// The median time, 0 when the benchmark did not run.
    double time(const std::string& name) {
        std::vector<double>& all = times_[name];
        if (all.empty()) return 0;
        std::nth_element(all.begin(), all.begin() + std::ptrdiff_t(all.size() / 2), all.end());
        return all[all.size() / 2];
    }

private:
    /// Processor time, which other programs on the machine disturb least, unless the benchmark
    /// asks for UseRealTime.
    static double timeOf(const Run& run) {
        return run.run_name.time_type == "real_time" ? run.real_accumulated_time
                                                     : run.cpu_accumulated_time;
    }

    /// The name as it was registered, without the parts that tell how it was run.
    static std::string nameOf(const Run& run) {
        std::string name = run.run_name.function_name;
        if (!run.run_name.args.empty()) name += "/" + run.run_name.args;
        return name;
    }

    std::map<std::string, std::vector<double>> times_;
};

void printTable() {
    std::printf("\n| what | ours | rival | ratio | goal |\n|---|---|---|---|---|\n");
    for (const Row& row : rows)
        std::printf("| %s | %s | %s | %.2f | %.2f%s |\n", row.what.c_str(), row.ours.c_str(),
                    row.rival.c_str(), row.ratio, row.goal,
                    row.ratio <= row.goal ? "" : " **missed**");
}

}  // namespace

void qvAddRow(const char* what, double ours, double theirs, const char* rivalName, double goal,
              const char* unit) {
    char left[64], right[128];
    std::snprintf(left, sizeof left, "%.3g %s", ours, unit);
    std::snprintf(right, sizeof right, "%.3g %s (%s)", theirs, unit, rivalName);
    rows.push_back({what, left, right, ours / theirs, goal});
}

int qvRunBenchmarks(int argc, char** argv, std::initializer_list<qvComparison> comparisons) {
    // Ours come first, so that the command line can overrule them.
    static char repetitions[] = "--benchmark_repetitions=7";
    static char mixed[] = "--benchmark_enable_random_interleaving=true";
    static char minTime[] = "--benchmark_min_time=0.05";
    std::vector<char*> args = {argv[0], repetitions, mixed, minTime};
    args.insert(args.end(), argv + 1, argv + argc);
    int count = static_cast<int>(args.size());
    args.push_back(nullptr);
    benchmark::Initialize(&count, args.data());
    if (benchmark::ReportUnrecognizedArguments(count, args.data())) return 2;

    Collector collector;
    benchmark::RunSpecifiedBenchmarks(&collector);
    for (const qvComparison& c : comparisons) {
        const double ours = collector.time(c.ours), theirs = collector.time(c.rival);
        if (ours == 0 || theirs == 0) continue;
        rows.push_back({c.what, inUnits(ours), inUnits(theirs) + " (" + c.rivalName + ")",
                        ours / theirs, c.goal});
    }
    printTable();
    return 0;
}
