// How loops are divided. All divisions are those of integers.
#include <algorithm>
#include <iterator>

#include "qvutils/common/tasks/qvtask.h"

qvTask::LoopManager::~LoopManager() = default;

void qvTask::LoopManager::AddRunTime(long) {}

bool qvTask::LoopManager::EnableRunTimes() {
    return false;
}

std::int64_t qvTask::LoopDiv::Stride(std::int64_t n, int granularity, int, std::int64_t) {
    granularity = std::max(granularity, 1);
    return std::max<std::int64_t>(n / granularity / std::max(parts_, 1) * granularity, 1);
}

std::int64_t qvTask::EvenStride::Stride(std::int64_t n, int, int workers, std::int64_t) {
    // For small shares, the stride that divides the share best.
    constexpr int forShare[] = {0, 1, 1, 1, 2, 1, 2, 1, 2, 3, 2, 1, 3};
    const std::int64_t share = n / std::max(workers, 1);
    if (share < std::ssize(forShare)) return std::max(forShare[share], 1);
    if (share % 4 == 0) return 4;
    return share % 3 == 0 ? 3 : 2;
}

std::int64_t qvTask::FixedStride::Stride(std::int64_t, int, int, std::int64_t) {
    return std::max(stride_, 1);
}

namespace {

/// The tuning constant of AdaptiveStride, in microseconds. It looks at the time of many loops
/// together, so a part comes to about tuning · 10 / callsBetween = 5 microseconds: long beside the
/// 0.05 that handing out a part costs, short beside what threads may have to wait for each other.
constexpr double tuning = 20;
constexpr int callsBetween = 40;

}  // namespace

std::int64_t qvTask::AdaptiveStride::Stride(std::int64_t n, int granularity, int workers,
                                            std::int64_t limit) {
    workers = std::max(workers, 1);
    // At first, small enough parts for the last ones to even out what the others left uneven.
    if (!stride_) stride_ = std::max<std::int64_t>(n / (8 * workers), 1);
    calls_ = (calls_ + 1) % callsBetween;
    if (calls_ != 0 || ticks_ <= 0) return stride_;
    const double granules = double(std::max<std::int64_t>(n / std::max(granularity, 1), 1));
    const double microseconds = ticks_ * 1e6 / ticksPerSecond / granules;
    const double stride = std::max(1.0, 10 * tuning / microseconds + 0.99);
    stride_ = stride < double(n) ? static_cast<std::int64_t>(stride) : n;
    ticks_ = 0;
    limit = std::max<std::int64_t>(limit, 1);
    if ((n + stride_ - 1) / stride_ > limit) stride_ = (n + limit - 1) / limit;
    if (n / workers % 2 == 0 && stride_ % 2 != 0) ++stride_;
    return stride_;
}
