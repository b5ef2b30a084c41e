#include "qvutils/common/platform/memory.h"

namespace qvplatform {

/// Large pages need a privilege here that users do not have.
void adviseLargePages(void*, std::size_t) {}

}  // namespace qvplatform
