#include "qvutils/common/server/waiting.h"

#include <algorithm>

#include "qvutils/common/platform/clock.h"

namespace {

std::int64_t now() {
    return qvplatform::monotonicNanoseconds() / 1'000'000;
}

}  // namespace

int qvWaitCallback::slice() const {
    constexpr int withoutCallback = 100;
    return function ? std::max(intervalMs, 1) : withoutCallback;
}

qvWait::qvWait(std::int64_t milliseconds)
    : milliseconds_(milliseconds), start_(milliseconds > 0 ? now() : 0) {}

std::int64_t qvWait::left() const {
    if (milliseconds_ <= 0) return milliseconds_;
    return std::max<std::int64_t>(start_ + milliseconds_ - now(), 0);
}

int qvWait::slice(const qvWaitCallback& callback) const {
    const std::int64_t most = left();
    const int slice = callback.slice();
    return most < 0 || most > slice ? slice : static_cast<int>(most);
}
