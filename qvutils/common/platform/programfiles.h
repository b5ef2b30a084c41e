#pragma once
#include <string>

#include "qvutils/common/platform/qvexport.h"

namespace qvplatform {

/// The directory of things that come with the program: the nearest share/qvcore/NAME going up from
/// it. An installed program has share beside its own directory, one that was just built somewhere
/// above. Empty when there is none.
QVCORE_API std::string programDirectory(const std::string& name);

}  // namespace qvplatform
