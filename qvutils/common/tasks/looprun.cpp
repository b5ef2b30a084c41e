#include "qvutils/common/tasks/looprun.h"

#include <algorithm>

#include "qvutils/common/platform/clock.h"
#include "qvutils/common/tasks/qvtaskerr.h"
#include "qvutils/common/tasks/tasktimers.h"
#include "qvutils/common/tasks/threadwork.h"
#include "qvutils/common/tasks/workers.h"

qvLoopRange qvLoopRange::divide(int first, int last, int granularity,
                                qvTask::LoopManager& manager) {
    constexpr std::int64_t partsPerWorker = 1000;
    const std::int64_t count = std::max<std::int64_t>(std::int64_t{last} - first + 1, 0);
    granularity = std::max(granularity, 1);
    if (count == 0) return {first, granularity, 0, 1};
    const int workers = std::max(qvWorkers::instance().count(), 1);
    std::int64_t stride = std::clamp<std::int64_t>(
        manager.Stride(count, granularity, workers, partsPerWorker * workers), 1, count);
    if (stride % granularity != 0) stride += granularity - stride % granularity;
    return {first, granularity, count, stride};
}

qvLoopRun::qvLoopRun(qvTask& task, const qvLoopRange& range, const qvTaskRun& spawner, bool timed)
    : task_(task),
      range_(range),
      spawner_(spawner),
      slot_(qvThreadWork::mine().takeSlot()),
      timed_(timed) {
    slot_.fill(range.count);
    qvTaskRun::begin(task, range.count);
}

qvLoopRun::~qvLoopRun() {
    qvThreadWork::mine().giveSlot(slot_);
}

void qvLoopRun::runAlone(std::int64_t start, std::int64_t limit, bool anyParts) {
    qvTaskRun run(task_, spawner_);
    const std::int64_t small = range_.count / 16 / range_.granularity * range_.granularity;
    if (!runNext(run, anyParts && small > 0 ? small : range_.stride)) return;
    if (qvSteadyNanoseconds() - start <= limit) {
        while (runNext(run, anyParts ? range_.count : range_.stride)) {
        }
    }
    if (timed_) nanoseconds_ += qvSteadyNanoseconds() - start;
}

void qvLoopRun::help(qvHelper who) {
    qvTaskRun run(task_, spawner_);
    const std::int64_t start = timed_ ? qvplatform::monotonicNanoseconds() : 0;
    const qvWorkers& workers = qvWorkers::instance();
    while ((who == qvHelper::spawner || !workers.isStopping()) && runNext(run, range_.stride)) {
    }
    if (timed_) nanoseconds_ += qvplatform::monotonicNanoseconds() - start;
}

/// Runs the next part; false when there is none to run.
bool qvLoopRun::runNext(qvTaskRun& run, std::int64_t count) {
    std::int64_t begin = 0;
    const std::int64_t end = slot_.takeFixed(count, begin);
    if (begin >= end) return false;
    if (run.isCancelled()) {
        slot_.exhaust();
        outcome_.cancel(task_);
        return false;
    }
    run.protect(outcome_, [&] {
        task_.Run(static_cast<int>(range_.first + begin), static_cast<int>(range_.first + end - 1),
                  range_.granularity);
    });
    qvTaskRun::advance(task_, end - begin);
    return true;
}

bool qvLoopRun::close(Error& error) {
    const qvTimeSpan span(&qvTaskTimers::waiting);
    const bool complete = slot_.exhausted();
    const bool waited = slot_.withdraw();
    // The parts themselves may have seen the request and returned early.
    if (qvTaskRun(task_, spawner_).isCancelled()) outcome_.cancel(task_);
    const bool balanced = qvTaskRun::end(task_);
    const bool fine = outcome_.report(error, spawner_.isOutsideTasks());
    if (!waited) throw qvTaskErr("qvTask::Sync failed");
    if (!complete) throw qvTaskErr("qvtask error 2");
    if (!balanced) throw qvTaskErr("qvtask error 4");
    return fine;
}
