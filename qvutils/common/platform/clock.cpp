#include "qvutils/common/platform/clock.h"

#include <atomic>
#include <chrono>

namespace qvplatform {

namespace {

std::atomic<Clock*> replacement = nullptr;

/// The real clock is never destroyed: threads may ask for the time until the program is gone.
Clock& current() {
    static Clock& real = *new Clock;
    Clock* const set = replacement;
    return set ? *set : real;
}

}  // namespace

Clock::~Clock() = default;

std::int64_t Clock::monotonic() {
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::nanoseconds>(now).count();
}

Clock* setClock(Clock* clock) { return replacement.exchange(clock); }

LocalTime localTime() { return current().localTime(); }

std::int64_t monotonicNanoseconds() { return current().monotonic(); }

}  // namespace qvplatform
