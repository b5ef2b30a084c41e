#include <sys/syscall.h>
#include <unistd.h>

#include "qvutils/common/platform/barrier.h"

#if defined(SYS_membarrier)
#include <linux/membarrier.h>
#endif

namespace qvplatform {

#if defined(SYS_membarrier)
bool hasProcessBarrier() {
    static const bool registered =
        syscall(SYS_membarrier, MEMBARRIER_CMD_REGISTER_PRIVATE_EXPEDITED, 0) == 0;
    return registered;
}

bool processBarrier() {
    return hasProcessBarrier() &&
           syscall(SYS_membarrier, MEMBARRIER_CMD_PRIVATE_EXPEDITED, 0) == 0;
}
#else
bool hasProcessBarrier() { return false; }
bool processBarrier() { return false; }
#endif

}  // namespace qvplatform
