#pragma once
#include <atomic>
#include <chrono>
#include <cstdint>

#include "qvutils/common/platform/clock.h"

/// Never goes back and cannot be replaced: for decisions, while what is reported goes by the
/// platform's clock.
inline std::int64_t qvSteadyNanoseconds() {
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::nanoseconds>(now).count();
}

/// Where the time of the task service goes, in nanoseconds. Not for use outside this room.
struct qvTaskTimers {
    std::atomic<bool> enabled = false;
    std::atomic<std::int64_t> start = -1;  ///< not yet set
    std::atomic<std::int64_t> running = 0;
    std::atomic<std::int64_t> waiting = 0;
    std::atomic<std::int64_t> idle = 0;

    static qvTaskTimers& instance();
};

/// Adds the time from its construction to its destruction, if wanted and if timers are enabled.
class qvTimeSpan {
public:
    explicit qvTimeSpan(std::atomic<std::int64_t> qvTaskTimers::*sum, bool wanted = true)
        : sum_(sum) {
        if (wanted && qvTaskTimers::instance().enabled.load(std::memory_order_relaxed)) {
            start_ = qvplatform::monotonicNanoseconds();
        }
    }
    ~qvTimeSpan() {
        if (start_ < 0) return;
        (qvTaskTimers::instance().*sum_) += qvplatform::monotonicNanoseconds() - start_;
    }
    qvTimeSpan(const qvTimeSpan&) = delete;
    qvTimeSpan& operator=(const qvTimeSpan&) = delete;

private:
    std::atomic<std::int64_t> qvTaskTimers::*sum_;
    std::int64_t start_ = -1;
};
