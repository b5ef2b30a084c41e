#pragma once
#include <string>

#include "qvutils/common/platform/qvexport.h"

namespace qvplatform {

/// The processors that the system reports, at least 1.
QVCORE_API int processorCount();

/// Those of them that this process may use: its affinity and, on Linux, the limits of the container
/// that it runs in. 0 when the system tells nothing of use, -1 when memory for its answer lacks.
QVCORE_API int usableProcessorCount();

/// How many processors a Linux control group leaves, rounded up; 0 when it sets no limit. `groups`
/// is the text of /proc/self/cgroup, `mount` where the groups are mounted. Both versions of control
/// groups are understood, and the limits of all groups above count.
QVCORE_API int controlGroupLimit(const std::string& groups, const std::string& mount);

}  // namespace qvplatform
