#include "qvutils/common/platform/priority.h"
#include "qvutils/common/platform/win32text.h"

#include <cerrno>
#include <iterator>

namespace qvplatform {

namespace {

/// By level, from 1.
constexpr DWORD classes[] = {IDLE_PRIORITY_CLASS, BELOW_NORMAL_PRIORITY_CLASS,
                             NORMAL_PRIORITY_CLASS, ABOVE_NORMAL_PRIORITY_CLASS,
                             HIGH_PRIORITY_CLASS};

}  // namespace

bool setProcessPriority(int level) {
    if (level < 1 || level > static_cast<int>(std::size(classes))) {
        errno = EINVAL;
        return false;
    }
    if (SetPriorityClass(GetCurrentProcess(), classes[level - 1])) return true;
    setErrnoFromSystem();
    return false;
}

int processPriority() {
    const DWORD current = GetPriorityClass(GetCurrentProcess());
    for (int i = 0; i < static_cast<int>(std::size(classes)); ++i) {
        if (classes[i] == current) return i + 1;
    }
    return current == REALTIME_PRIORITY_CLASS ? 5 : 3;
}

}  // namespace qvplatform
