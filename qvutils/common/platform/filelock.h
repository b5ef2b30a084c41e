#pragma once
#include <cstdint>
#include <string>

#include "qvutils/common/platform/qvexport.h"

namespace qvplatform {

/// A file that one process at a time has for itself, by which processes take turns. The system
/// gives it back when a process ends, however it ends; the file stays.
class QVCORE_API FileLock {
public:
    FileLock() = default;
    FileLock(const FileLock&) = delete;
    FileLock& operator=(const FileLock&) = delete;
    ~FileLock() { release(); }

    /// Makes the file when there is none. Waits at most so long for another holder, which may be an
    /// object in this process; false, with the cause in `errno` (EAGAIN for a wait in vain).
    bool acquire(const std::string& path, int milliseconds);
    void release();
    bool isHeld() const { return handle_ != none; }

private:
    static constexpr std::intptr_t none = -1;
    bool open(const std::string& path);
    bool tryLock();

    std::intptr_t handle_ = none;
};

}  // namespace qvplatform
