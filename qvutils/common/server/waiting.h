#pragma once
#include <cstdint>

#include "qvutils/common/platform/qvexport.h"

/// Called again and again while a server or a client waits.
struct qvWaitCallback {
    void (*function)(void*) = nullptr;
    int intervalMs = 1;
    void* arg = nullptr;

    void call() const {
        if (function) function(arg);
    }
    /// How long one wait lasts, in milliseconds: until the call is due, or a tenth of a second.
    int slice() const;
};

/// A time to wait, which passes in slices.
class QVCORE_API qvWait {
public:
    /// Negative milliseconds: without end.
    explicit qvWait(std::int64_t milliseconds);

    bool isOver() const { return left() == 0; }
    /// True when there is nothing to wait for, only to look.
    bool isLook() const { return milliseconds_ == 0; }
    /// How long the next slice may last, in milliseconds; 0 when the time is over.
    int slice(const qvWaitCallback& callback) const;

private:
    std::int64_t left() const;

    std::int64_t milliseconds_;
    std::int64_t start_;
};
