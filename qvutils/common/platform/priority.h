#pragma once
#include "qvutils/common/platform/qvexport.h"

namespace qvplatform {

/// How much of the processors this process gets beside others: 1 (only what they leave), 2 (less),
/// 3 (normal), 4 (more) or 5 (most). False, with the cause in `errno`, when the system refuses:
/// getting more is often a privilege, as is getting back what was given away.
QVCORE_API bool setProcessPriority(int level);

/// The level that is nearest to the priority in use.
QVCORE_API int processPriority();

}  // namespace qvplatform
