#pragma once

#include "qvutils/common/platform/qvexport.h"

/// The most threads that may have a number at the same time.
inline constexpr int qvMaxThreads = 65534;

/// The calling thread's number, from 0 to qvMaxThreads - 1: given when the thread first asks, the
/// smallest that is free, and free again when the thread ends. A thread too many ends the program.
QVCORE_API int qvTaskThreadId();
