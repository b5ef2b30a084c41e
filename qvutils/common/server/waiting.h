#pragma once
#include <cstdint>

#include "qvutils/common/platform/qvexport.h"

/// Called again and again while a server or a client waits.
struct qvWaitCallback {
    void (*function)(void*) = nullptr;
    int intervalMs = 1;
    void* arg = nullptr;

    /// How long one wait lasts: until the callback is due, or a tenth of a second.
    int slice() const;
    void call() const {
        if (function) function(arg);
    }
};

/// A time that is waited for, in slices.
class QVCORE_API qvWait {
public:
    /// Negative: without end.
    explicit qvWait(std::int64_t milliseconds);

    /// How long the next slice may last; 0 when the time is over.
    int slice(const qvWaitCallback& callback) const;
    bool isOver() const;
    void restart();

private:
    std::int64_t milliseconds_;
    std::int64_t start_;
};
