#pragma once
#include "qvutils/common/platform/clock.h"

/// A clock that stands still until a test moves it; in place from construction to destruction.
class FakeClock : public qvplatform::Clock {
public:
    explicit FakeClock(const qvplatform::LocalTime& start = {2001, 2, 3, 4, 5, 6});
    ~FakeClock() override;

    void set(const qvplatform::LocalTime& time) { local_ = time; }
    void advance(std::int64_t nanoseconds) { monotonic_ += nanoseconds; }

    qvplatform::LocalTime localTime() override { return local_; }
    std::int64_t monotonic() override { return monotonic_; }

private:
    qvplatform::Clock* before_;
    qvplatform::LocalTime local_;
    std::int64_t monotonic_ = 0;
};
