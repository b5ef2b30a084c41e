#pragma once
#include "qvutils/common/platform/qvexport.h"

/// The most rounds that the sums and products of one evaluation may take together, 1e9 to begin
/// with; more is an error, found out before the first round where the bounds alone tell. An
/// evaluation also stops when the running operation is asked to (qvRunSignal::requestKill).
QVCORE_API void qvSetMostLoopRounds(double rounds);
QVCORE_API double qvMostLoopRounds();
