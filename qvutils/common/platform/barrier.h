#pragma once

#include "qvutils/common/platform/qvexport.h"

namespace qvplatform {

/// A memory barrier that one thread executes for all threads of the process: each of them passes a
/// full barrier between the call and its return. With it, one side of a store-then-look protocol
/// (the side that is rarely taken) can pay for both: the other side stores and looks with plain
/// instructions, in this order. False where the system has no such thing.
QVCORE_API bool processBarrier();

/// Whether processBarrier() works here. Once true it stays true.
QVCORE_API bool hasProcessBarrier();

}  // namespace qvplatform
