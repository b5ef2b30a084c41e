#pragma once
#include <cstddef>

#include "qvutils/common/platform/qvexport.h"

namespace qvplatform {

/// Tells the system that all of this memory is about to be used, so that it may hand it out in
/// large pages. Does nothing for little memory, and where the system has no such advice.
QVCORE_API void adviseLargePages(void* memory, std::size_t size);

}  // namespace qvplatform
