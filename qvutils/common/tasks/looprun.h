#pragma once
#include <atomic>
#include <cstdint>

#include "qvutils/common/tasks/taskrun.h"
#include "qvutils/common/tasks/workslot.h"

/// How a loop is divided.
struct qvLoopRange {
    int first;
    int granularity;
    std::int64_t count;
    std::int64_t stride;

    /// By the policy. `count` is 0 when there is nothing to run.
    static qvLoopRange divide(int first, int last, int granularity, qvTask::LoopManager& manager);
    std::int64_t parts() const { return (count + stride - 1) / stride; }
};

/// A loop in progress. What others read of it fits into one cache line. Not for use outside this
/// room.
class alignas(64) qvLoopRun final : public qvWork {
public:
    qvLoopRun(qvTask& task, const qvLoopRange& range, const qvTaskRun& spawner, bool timed);
    ~qvLoopRun();
    qvLoopRun(const qvLoopRun&) = delete;
    qvLoopRun& operator=(const qvLoopRun&) = delete;
    qvWorkSlot& slot() { return slot_; }

    void offer() { slot_.offer(*this); }
    /// By the spawner, before any offer: runs all parts, unless the first one takes longer than to
    /// so many nanoseconds after `start`; the others can be offered then. When `anyParts` will do,
    /// that is a small one and the second is the rest.
    void runAlone(std::int64_t start, std::int64_t limit, bool anyParts);
    void help(qvHelper who) override;
    /// By the spawner, when all parts have been taken: waits for those that other threads run. True
    /// when all is well; see qvTaskOutcome::report. Throws qvTaskErr when a part is left over.
    bool close(Error& error);

    /// The time of all parts together, if measured.
    std::int64_t runNanoseconds() const { return nanoseconds_.load(std::memory_order_relaxed); }

private:
    bool runNext(qvTaskRun& run, std::int64_t count);

    qvTask& task_;
    const qvLoopRange range_;
    const qvTaskRun& spawner_;
    qvWorkSlot& slot_;
    const bool timed_;
    qvTaskOutcome outcome_;
    std::atomic<std::int64_t> nanoseconds_ = 0;
};
