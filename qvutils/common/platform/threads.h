#pragma once

#include "qvutils/common/platform/qvexport.h"

namespace qvplatform {

/// A hint to the processor inside a loop that waits for another thread.
QVCORE_API void pauseProcessor();
/// Lets another thread run.
QVCORE_API void yieldThread();
QVCORE_API void sleepMicroseconds(int microseconds);
/// The number of processors the process may use, at least 1.
QVCORE_API int processorCount();

}  // namespace qvplatform
