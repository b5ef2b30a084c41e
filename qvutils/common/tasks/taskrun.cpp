#include "qvutils/common/tasks/taskrun.h"

#include <algorithm>
#include <exception>
#include <string>
#include <utility>

#include "qvutils/common/platform/threads.h"
#include "qvutils/common/tasks/looprun.h"
#include "qvutils/common/tasks/qvtaskerr.h"
#include "qvutils/common/tasks/runsignal.h"
#include "qvutils/common/tasks/tasklist.h"
#include "qvutils/common/tasks/tasktimers.h"
#include "qvutils/common/tasks/threadid.h"
#include "qvutils/common/tasks/threadwork.h"
#include "qvutils/common/tasks/workers.h"

void qvTaskOutcome::fail(Error& error) {
    // Who comes first writes; the spawner reads after all have left its slot.
    if (!failed_.exchange(true, std::memory_order_relaxed)) error.transferto(error_);
    error.reset();
}

bool qvTaskOutcome::report(Error& error, bool mention) {
    const qvTask* const cancelled = cancelled_.load(std::memory_order_relaxed);
    if (!failed_.load(std::memory_order_relaxed) && !cancelled) return true;
    if (error) return false;
    error_.transferto(error);
    if (!error && cancelled && (mention || cancelled->IsCancelled())) {
        error.setf("%s was cancelled", *cancelled->getName() ? cancelled->getName() : "A task");
    }
    return false;
}

void qvTaskOutcome::reset() {
    failed_.store(false, std::memory_order_relaxed);
    cancelled_.store(nullptr, std::memory_order_relaxed);
    error_.reset();
}

namespace {

/// A loop that takes no longer, in nanoseconds, is over before others could be of help.
constexpr std::int64_t brief = 2000;

thread_local qvTaskRun* innermost = nullptr;

/// A long has 32 bits on some systems.
long toTicks(std::int64_t nanoseconds) {
    const double ticks = double(nanoseconds) * 1e-9 * qvTask::LoopManager::ticksPerSecond;
    return ticks < 2e9 ? static_cast<long>(ticks) : 2'000'000'000;
}

void wakeFor(std::int64_t parts) {
    qvWorkers::instance().wake(static_cast<int>(std::min<std::int64_t>(parts, qvMaxThreads)));
}

template <class Work>
bool closeInto(Error& error, Work& work) {
    try {
        return work.close(error);
    } catch (...) {
        qvTaskRun::postException(error);
        return false;
    }
}

/// Puts the thread's pending error aside while it runs tasks, which post to the same object.
class ErrorAside {
public:
    ErrorAside() { qverr().transferto(aside_); }
    ~ErrorAside() {
        if (!aside_) return;
        qverr().reset();
        aside_.transferto(qverr());
    }

private:
    Error aside_;
};

/// A thread of the application that finds all seats taken waits for a moment, as its work will be
/// done meanwhile. Then it goes on without one: the tasks that hold the seats may be long, or wait
/// for this very thread.
void waitForSeat(qvSeat& seat, const qvWorkSlot& slot) {
    constexpr std::int64_t patience = 2'000'000;  // nanoseconds
    const std::int64_t end = qvSteadyNanoseconds() + patience;
    while (!slot.exhausted() && !seat.take() && qvSteadyNanoseconds() < end) {
        qvplatform::sleepMicroseconds(50);
    }
}

}  // namespace

qvTaskRun& qvTaskRun::current() {
    if (!innermost) innermost = &qvThreadWork::mine().outside();
    return *innermost;
}

qvTaskRun::qvTaskRun() = default;

qvTaskRun::qvTaskRun(qvTask& task, const qvTaskRun& spawner)
    : task_(&task), spawner_(&spawner), outer_(std::exchange(innermost, this)) {}

qvTaskRun::~qvTaskRun() {
    if (task_) innermost = outer_;
}

bool qvTaskRun::isCancelled() const {
    for (const qvTaskRun* run = this; run->task_; run = run->spawner_) {
        if (run->task_->IsCancelled()) return true;
    }
    return qvRunSignal::killRequested();
}

void qvTaskRun::begin(qvTask& task, std::int64_t count) {
    if (task.runs_.fetch_add(1) > 0) {
        task.end_.fetch_add(count, std::memory_order_relaxed);
        return;
    }
    task.cancel_.store(false, std::memory_order_relaxed);
    task.done_.store(0, std::memory_order_relaxed);
    task.end_.store(count, std::memory_order_relaxed);
}

bool qvTaskRun::isBrief(const qvTask& task, std::int64_t count) {
    const std::int64_t last = task.lastNanoseconds_.load(std::memory_order_relaxed);
    const std::int64_t lastCount = task.lastCount_.load(std::memory_order_relaxed);
    if (last <= 0 || last >= brief || count > 2 * lastCount) return false;
    return last * count < brief * lastCount;  // none of the factors is large
}

bool qvTaskRun::wantsMeasuring(qvTask& task) {
    constexpr int every = 32;
    const int loops = task.loops_.load(std::memory_order_relaxed);
    task.loops_.store((loops + 1) % every, std::memory_order_relaxed);
    return loops == 0;
}

void qvTaskRun::remember(qvTask& task, std::int64_t count, std::int64_t nanoseconds) {
    task.lastCount_.store(count, std::memory_order_relaxed);
    task.lastNanoseconds_.store(nanoseconds, std::memory_order_relaxed);
}

/// What the task has posted itself came first and stays.
void qvTaskRun::postException(Error& error) {
    if (error) return;
    try {
        throw;
    } catch (const std::exception& thrown) {
        error.set(thrown.what());
    } catch (const Error& thrown) {
        error.set(thrown, thrown.chars());
    } catch (const std::string& thrown) {
        error.set(thrown.c_str());
    } catch (const char* thrown) {
        error.set(thrown);
    } catch (...) {
        error.set("unknown error");
    }
}

void qvTaskRun::syncAtEnd() {
    Error fromSpawned;
    sync(fromSpawned);
    if (!qverr()) fromSpawned.transferto(qverr());
}

bool qvTaskRun::spawn(qvTask* task, Error& error) {
    try {
        if (!tasks_) {
            qvTaskList& list = qvThreadWork::mine().takeList();
            list.open(*this);
            tasks_ = &list;
        }
        if (task) {
            begin(*task, 1);
            tasks_->pushBack(*task);
            qvWorkers::instance().wake(1);
            return true;
        }
    } catch (const std::exception&) {  // no memory
        if (tasks_) end(*task);
    }
    error.set("Failed to start task");
    return false;
}

void qvTaskRun::spawnLoop(qvTask& task, int first, int last, int granularity) {
    const qvWorkers& workers = qvWorkers::instance();
    qvTask::LoopDiv even(workers.count());
    const qvLoopRange range = qvLoopRange::divide(first, last, granularity, even);
    if (range.count == 0) return;
    loops_.push_back(std::make_unique<qvLoopRun>(task, range, *this, false));
    loops_.back()->offer();
    wakeFor(range.parts());
}

bool qvTaskRun::spawnLoopSync(qvTask& task, int first, int last, int granularity, Error& error,
                              qvTask::LoopManager* manager) {
    const qvWorkers& workers = qvWorkers::instance();
    qvTask::LoopDiv even(workers.count());
    qvTask::LoopManager& policy = manager ? *manager : even;
    const qvLoopRange range = qvLoopRange::divide(first, last, granularity, policy);
    if (range.count == 0) return true;
    const bool timed = policy.EnableRunTimes();

    const ErrorAside aside;
    const bool isShort = isBrief(task, range.count);
    const bool measured = isShort || workers.anyAsleep() || wantsMeasuring(task);
    const std::int64_t start = measured ? qvSteadyNanoseconds() : 0;
    qvLoopRun loop(task, range, *this, timed);
    {
        // Time in nested tasks is a part of that of the outer ones.
        const qvTimeSpan span(&qvTaskTimers::running, isOutsideTasks());
        if (isShort) loop.runAlone(start, manager ? brief : brief / 4, !manager);
        if (!loop.slot().exhausted()) shareLoop(loop, range.parts() - 1);
    }
    const bool fine = loop.close(error);
    if (measured) remember(task, range.count, qvSteadyNanoseconds() - start);
    if (timed) policy.AddRunTime(toTicks(loop.runNanoseconds()));
    return fine;
}

/// A thread inside a task has its seat already.
bool qvTaskRun::takeSeat(qvSeat& seat) const {
    return !isOutsideTasks() || qvWorkers::instance().count() == 0 || seat.take();
}

/// Runs all parts that no other thread takes.
void qvTaskRun::shareLoop(qvLoopRun& loop, std::int64_t helpers) {
    qvSeat seat;
    const bool seated = takeSeat(seat);
    loop.offer();
    wakeFor(helpers);
    if (!seated) waitForSeat(seat, loop.slot());
    loop.help(qvHelper::spawner);
}

/// Runs all that no other thread takes.
void qvTaskRun::helpSpawned() {
    qvSeat seat;
    const bool seated = takeSeat(seat);
    if (!seated) waitForSeat(seat, tasks_ ? tasks_->slot() : loops_.back()->slot());
    const qvTimeSpan span(&qvTaskTimers::running, isOutsideTasks());
    for (const auto& loop : loops_) loop->help(qvHelper::spawner);
    if (tasks_) tasks_->help(qvHelper::spawner);
}

bool qvTaskRun::sync(Error& error) {
    if (!hasSpawned()) return true;
    const ErrorAside aside;
    // The seat is free again while this thread only waits: what it waits for may need more workers.
    helpSpawned();
    // All have to be waited for, whatever becomes of one.
    bool fine = true;
    for (const auto& loop : loops_) fine &= closeInto(error, *loop);
    loops_.clear();
    if (tasks_) {
        fine &= closeInto(error, *tasks_);
        qvThreadWork::mine().giveList(*std::exchange(tasks_, nullptr));
    }
    return fine;
}
