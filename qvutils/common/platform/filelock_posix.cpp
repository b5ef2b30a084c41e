#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>

#include "qvutils/common/platform/filelock.h"

namespace qvplatform {

bool FileLock::open(const std::string& path) {
    handle_ = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    return handle_ != none;
}

bool FileLock::tryLock() {
    if (flock(static_cast<int>(handle_), LOCK_EX | LOCK_NB) == 0) return true;
    if (errno == EWOULDBLOCK || errno == EINTR) errno = EAGAIN;
    return false;
}

void FileLock::release() {
    if (handle_ != none) ::close(static_cast<int>(handle_));
    handle_ = none;
}

}  // namespace qvplatform
