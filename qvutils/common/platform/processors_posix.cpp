#include <sched.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <vector>

#include "qvutils/common/platform/format.h"
#include "qvutils/common/platform/processors.h"

namespace qvplatform {

namespace {

/// A file of the system's pseudo file systems, which tell no length; empty when there is none.
std::string contentOf(const std::string& path) {
    std::string text;
    if (FILE* const file = std::fopen(path.c_str(), "r")) {
        char piece[1024];
        while (const std::size_t count = std::fread(piece, 1, sizeof piece, file)) {
            text.append(piece, count);
        }
        std::fclose(file);
    }
    return text;
}

bool isWithin(const std::string& list, const std::string& word) {
    return ("," + list + ",").find("," + word + ",") != std::string::npos;
}

/// Processors by quota and period in microseconds, both as text; 0 for "max", -1 and nonsense.
int wholeProcessors(const std::string& quotaAndPeriod) {
    double quota = 0;
    double period = 0;
    if (scan(quotaAndPeriod.c_str(), "%lf %lf", &quota, &period) != 2) return 0;
    if (quota <= 0 || period <= 0 || quota / period > 1e6) return 0;
    return std::max(1, static_cast<int>(quota / period + 0.999));
}

int limitOfFolder(const std::string& folder, bool version2) {
    if (version2) return wholeProcessors(contentOf(folder + "/cpu.max"));
    return wholeProcessors(contentOf(folder + "/cpu.cfs_quota_us") + " " +
                           contentOf(folder + "/cpu.cfs_period_us"));
}

/// The tightest limit of a group and all above it. Inside a container the group's path may be the
/// host's, of which only the upper folders are to be seen.
int tightestLimit(const std::string& mount, std::string group, bool version2) {
    int tightest = 0;
    for (;;) {
        while (!group.empty() && group.back() == '/') group.pop_back();
        const int limit = limitOfFolder(mount + group, version2);
        if (limit && (!tightest || limit < tightest)) tightest = limit;
        if (group.empty()) return tightest;
        group.resize(group.rfind('/') == std::string::npos ? 0 : group.rfind('/'));
    }
}

}  // namespace

int controlGroupLimit(const std::string& groups, const std::string& mount) {
    int tightest = 0;
    for (std::size_t start = 0; start < groups.size();) {
        const std::size_t end = std::min(groups.find('\n', start), groups.size());
        const std::string line = groups.substr(start, end - start);
        start = end + 1;
        // "0::/group" in version 2, "4:cpu,cpuacct:/group" in version 1.
        const std::size_t first = line.find(':');
        const std::size_t second = line.find(':', first + 1);
        if (first == std::string::npos || second == std::string::npos) continue;
        const std::string controllers = line.substr(first + 1, second - first - 1);
        const bool version2 = controllers.empty();
        if (!version2 && !isWithin(controllers, "cpu")) continue;
        const std::string folder = version2 ? mount : mount + "/" + controllers;
        const int limit = tightestLimit(folder, line.substr(second + 1), version2);
        if (limit && (!tightest || limit < tightest)) tightest = limit;
    }
    return tightest;
}

int processorCount() {
    return std::max(1, static_cast<int>(sysconf(_SC_NPROCESSORS_ONLN)));
}

namespace {

/// The set of processors has to be made larger for machines with more than 1024 of them.
int affinityCount() {
    for (std::size_t size = 1024; size <= 1 << 20; size *= 4) {
        std::vector<cpu_set_t> set(size / 8 / sizeof(cpu_set_t));
        const std::size_t bytes = set.size() * sizeof(cpu_set_t);
        if (sched_getaffinity(0, bytes, set.data()) == 0) return CPU_COUNT_S(bytes, set.data());
    }
    return 0;
}

}  // namespace

int usableProcessorCount() {
    int count = affinityCount();
    if (count < 1) count = processorCount();
    const int limit = controlGroupLimit(contentOf("/proc/self/cgroup"), "/sys/fs/cgroup");
    return limit ? std::min(count, limit) : count;
}

}  // namespace qvplatform
