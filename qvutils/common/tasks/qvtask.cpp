#include "qvutils/common/tasks/qvtask.h"

#include "qvutils/common/diagnostics/diagnostics.h"
#include "qvutils/common/error/qverror.h"
#include "qvutils/common/platform/clock.h"
#include "qvutils/common/tasks/processorcount.h"
#include "qvutils/common/tasks/taskrun.h"
#include "qvutils/common/tasks/tasktimers.h"
#include "qvutils/common/tasks/workers.h"

qvTask::qvTask(const char* name) : name_(name ? name : "") {}

qvTask::~qvTask() = default;

void qvTask::Run() {
    lprintf("Called dummy Run()\n");
}

void qvTask::Run(int, int, int) {
    lprintf("Called dummy Run(int,int,int...)\n");
}

bool qvTask::StartWorkerThreads(int count) {
    if (count < 1) count = qvGetNumLogicalProcessors();
    return qvWorkers::instance().start(count < 1 ? 1 : count);
}

void qvTask::StopWorkerThreads(double seconds) {
    if (const int running = qvWorkers::instance().stop(seconds)) {
        qverr().setf("Help! Failed to stop all threads - %d threads still running\n", running);
    }
}

int qvTask::getNumWorkerThreads() {
    return qvWorkers::instance().count();
}

bool qvTask::Spawn(qvTask* task, Error& error) {
    return qvTaskRun::current().spawn(task, error);
}

namespace {

/// A policy of the application's own may throw, and memory may lack.
template <class Work>
bool guarded(const qvTask* task, Error& error, Work work) {
    if (!task) {
        error.set("Failed to start task");
        return false;
    }
    try {
        return work();
    } catch (...) {
        qvTaskRun::postException(error);
        return false;
    }
}

}  // namespace

bool qvTask::SpawnLoop(qvTask* task, int first, int last, int granularity, Error& error) {
    return guarded(task, error, [&] {
        qvTaskRun::current().spawnLoop(*task, first, last, granularity);
        return true;
    });
}

bool qvTask::SpawnLoopSync(qvTask* task, int first, int last, int granularity, Error& error,
                           LoopManager* manager) {
    return guarded(task, error, [&] {
        return qvTaskRun::current().spawnLoopSync(*task, first, last, granularity, error, manager);
    });
}

bool qvTask::Sync() {
    return Sync(qverr());
}

bool qvTask::Sync(Error& error) {
    return qvTaskRun::current().sync(error);
}

bool qvTask::IsTop() {
    return !qvWorkers::isWorker();
}

bool qvTask::CancelRequested() {
    return qvTaskRun::current().isCancelled();
}

qvTaskTimers& qvTaskTimers::instance() {
    static qvTaskTimers timers;
    return timers;
}

void qvTask::EnableTimers(bool enable) {
    qvTaskTimers& timers = qvTaskTimers::instance();
    if (timers.start < 0) ResetTimers();
    timers.enabled = enable;
}

void qvTask::ResetTimers() {
    qvTaskTimers& timers = qvTaskTimers::instance();
    timers.start = qvplatform::monotonicNanoseconds();
    timers.running = 0;
    timers.waiting = 0;
    timers.idle = 0;
}

void qvTask::getTimeStats(double& running, double& waiting, double& idle, double& elapsed) {
    const qvTaskTimers& timers = qvTaskTimers::instance();
    running = 1e-9 * double(timers.running);
    waiting = 1e-9 * double(timers.waiting);
    idle = 1e-9 * double(timers.idle);
    const std::int64_t start = timers.start;
    elapsed = start < 0 ? 0 : 1e-9 * double(qvplatform::monotonicNanoseconds() - start);
}
