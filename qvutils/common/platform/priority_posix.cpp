#include <dirent.h>
#include <sys/resource.h>

#include <cerrno>
#include <cstdlib>
#include <iterator>

#include "qvutils/common/platform/priority.h"

namespace qvplatform {

namespace {

/// By level, from 1.
constexpr int niceValues[] = {19, 10, 0, -5, -10};

}  // namespace

/// Linux has a priority for each thread; those to come inherit their maker's.
bool setProcessPriority(int level) {
    if (level < 1 || level > static_cast<int>(std::size(niceValues))) {
        errno = EINVAL;
        return false;
    }
    const int value = niceValues[level - 1];
    if (setpriority(PRIO_PROCESS, 0, value) != 0) return false;
    DIR* const threads = opendir("/proc/self/task");
    if (!threads) return true;
    while (const dirent* entry = readdir(threads)) {
        const int id = std::atoi(entry->d_name);
        if (id > 0) setpriority(PRIO_PROCESS, static_cast<id_t>(id), value);
    }
    closedir(threads);
    return true;
}

int processPriority() {
    const int value = getpriority(PRIO_PROCESS, 0);
    int best = 0;
    for (int i = 0; i < static_cast<int>(std::size(niceValues)); ++i) {
        if (std::abs(niceValues[i] - value) < std::abs(niceValues[best] - value)) best = i;
    }
    return best + 1;
}

}  // namespace qvplatform
