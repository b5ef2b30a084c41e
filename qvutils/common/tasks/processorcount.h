#pragma once

#include "qvutils/common/platform/qvexport.h"

/// The processors that the operating system counts.
QVCORE_API int qvGetNumProcessors();
/// The processors that this process may use, so many workers are worth while: logical processors,
/// limited by the affinity mask and, on Linux, by the container. -1, after "\nError: Allocation
/// failure\n" was printed, when there is no memory to find out.
QVCORE_API int qvGetNumLogicalProcessors();
