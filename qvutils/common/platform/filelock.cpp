#include "qvutils/common/platform/filelock.h"

#include <cerrno>

#include "qvutils/common/platform/clock.h"
#include "qvutils/common/platform/threads.h"

namespace qvplatform {

bool FileLock::acquire(const std::string& path, int milliseconds) {
    release();
    if (!open(path)) return false;
    // Systems offer no wait that ends by itself; holders have the lock for a few milliseconds.
    const std::int64_t begin = monotonicNanoseconds();
    while (!tryLock()) {
        const int cause = errno;
        const std::int64_t waited = (monotonicNanoseconds() - begin) / 1'000'000;
        if (cause != EAGAIN || waited >= milliseconds) {
            release();
            errno = cause;
            return false;
        }
        sleepMicroseconds(1000);
    }
    return true;
}

}  // namespace qvplatform
