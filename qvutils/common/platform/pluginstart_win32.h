#pragma once
#include "qvutils/common/platform/qvexport.h"

namespace qvplatform {

/// The library that the calling thread is about to open fails with this text, which one of its
/// initialisers has thrown.
QVCORE_API void noteInitialiserFailure(const char* text);

}  // namespace qvplatform
