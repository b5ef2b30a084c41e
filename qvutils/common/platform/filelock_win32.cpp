#include "qvutils/common/platform/filelock.h"
#include "qvutils/common/platform/win32text.h"

#include <cerrno>

namespace qvplatform {

namespace {

HANDLE toHandle(std::intptr_t handle) { return reinterpret_cast<HANDLE>(handle); }

}  // namespace

bool FileLock::open(const std::string& path) {
    constexpr DWORD shared = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    const HANDLE file = CreateFileW(toWide(path).c_str(), GENERIC_READ | GENERIC_WRITE, shared,
                                    nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    handle_ = reinterpret_cast<std::intptr_t>(file);
    if (handle_ != none) return true;
    setErrnoFromSystem();
    return false;
}

bool FileLock::tryLock() {
    OVERLAPPED place{};
    if (LockFileEx(toHandle(handle_), LOCKFILE_EXCLUSIVE_LOCK | LOCKFILE_FAIL_IMMEDIATELY, 0, 1, 0,
                   &place)) {
        return true;
    }
    if (GetLastError() == ERROR_LOCK_VIOLATION || GetLastError() == ERROR_IO_PENDING) {
        errno = EAGAIN;
    } else {
        setErrnoFromSystem();
    }
    return false;
}

void FileLock::release() {
    if (handle_ != none) CloseHandle(toHandle(handle_));
    handle_ = none;
}

}  // namespace qvplatform
