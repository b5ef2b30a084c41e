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

/// `function(argument)` is called when the calling thread ends, after the destructors of its
/// thread_local objects where the system allows; the last one asked for comes first. For the main
/// thread it may never be called. The function must not use thread_local variables.
///
/// It stands in for thread_local objects with destructors: with GCC on Windows these are destroyed
/// after their memory has been freed.
QVCORE_API void atThreadExit(void (*function)(void*), void* argument);

}  // namespace qvplatform
