#pragma once
#include "qvutils/common/platform/qvexport.h"

namespace qvplatform {

enum class StopRequest {
    interrupt,  ///< Ctrl-C
    terminate   ///< the system or another program wants this one to end, or its terminal has gone
};

/// Called when somebody wants the program to stop. It runs in a signal handler or on a thread of
/// the system and may only change lock-free atomics and call qvRunSignal::requestQuietKill(). True
/// when the program will see to it; with false it ends at once, as a program without a handler.
using StopHandler = bool (*)(StopRequest request);

/// Null takes the handler away. Returns the one installed before. A request that the surroundings
/// have switched off (nohup, a background job) stays switched off.
QVCORE_API StopHandler setStopHandler(StopHandler handler);

}  // namespace qvplatform
