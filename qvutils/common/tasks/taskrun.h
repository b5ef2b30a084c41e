#pragma once
#include <atomic>
#include <cstdint>
#include <memory>
#include <vector>

#include "qvutils/common/error/qverror.h"
#include "qvutils/common/tasks/qvtask.h"
#include "qvutils/common/tasks/workslot.h"

// How tasks are run and waited for. Not for use outside this room.

/// What comes of several tasks or of the parts of a loop: the first error, a cancelled task.
class qvTaskOutcome {
public:
    /// By any thread that runs one of them. Nothing is pending in `error` afterwards.
    void fail(Error& error);
    void cancel(const qvTask& task) { cancelled_.store(&task, std::memory_order_relaxed); }

    /// When all have ended: hands on the error, else says that a task was cancelled if `mention` or
    /// if it was the task itself that was asked to stop. What is pending in `error` stays. True
    /// when there is nothing to tell.
    bool report(Error& error, bool mention);
    void reset();

private:
    std::atomic<bool> failed_ = false;
    std::atomic<const qvTask*> cancelled_ = nullptr;
    Error error_;
};

enum class qvHelper { spawner, visitor };

/// Work that is offered in a slot. `help` runs parts of it until none is left to take; as a visitor
/// also no longer than the workers are to live.
class qvWork {
public:
    virtual void help(qvHelper who) = 0;

protected:
    ~qvWork() = default;
};

class qvLoopRun;
class qvTaskList;

/// A Run in progress on this thread and what it has spawned. Outside all tasks each thread has one
/// without a task.
class qvTaskRun {
public:
    /// The innermost on this thread.
    static qvTaskRun& current();

    /// The one without a task.
    qvTaskRun();
    /// Becomes the innermost until its destruction. `spawner` waits for it on some thread.
    qvTaskRun(qvTask& task, const qvTaskRun& spawner);
    ~qvTaskRun();
    qvTaskRun(const qvTaskRun&) = delete;
    qvTaskRun& operator=(const qvTaskRun&) = delete;

    bool isOutsideTasks() const { return !task_; }
    bool isCancelled() const;
    bool hasSpawned() const { return tasks_ || !loops_.empty(); }

    // qvTask's functions of the same names.
    bool spawn(qvTask* task, Error& error);
    void spawnLoop(qvTask& task, int first, int last, int granularity);
    bool spawnLoopSync(qvTask& task, int first, int last, int granularity, Error& error,
                       qvTask::LoopManager* manager);
    bool sync(Error& error);

    /// Calls `work`, a Run of a task, and takes up what it leaves: an exception, a posted error,
    /// spawned tasks that it did not wait for.
    template <class Work>
    void protect(qvTaskOutcome& outcome, Work work) {
        try {
            work();
        } catch (...) {
            postException(qverr());
        }
        if (hasSpawned()) syncAtEnd();
        if (Error& posted = qverr()) outcome.fail(posted);
    }

    /// Within a handler: the message of what was thrown.
    static void postException(Error& error);

    // What a task keeps about its runs.
    static void begin(qvTask& task, std::int64_t count);
    static void advance(qvTask& task, std::int64_t count) {
        task.done_.fetch_add(count, std::memory_order_relaxed);
    }
    /// False when the task had not begun.
    static bool end(qvTask& task) { return task.runs_.fetch_sub(1) > 0; }
    /// True when such a loop, going by the last one measured, is not worth sharing.
    static bool isBrief(const qvTask& task, std::int64_t count);
    /// True now and then: measuring costs a tenth of what it costs to share a loop.
    static bool wantsMeasuring(qvTask& task);
    static void remember(qvTask& task, std::int64_t count, std::int64_t nanoseconds);

private:
    void syncAtEnd();
    bool takeSeat(class qvSeat& seat) const;
    void shareLoop(qvLoopRun& loop, std::int64_t helpers);
    void helpSpawned();

    qvTask* const task_ = nullptr;
    const qvTaskRun* const spawner_ = nullptr;
    qvTaskRun* const outer_ = nullptr;
    qvTaskList* tasks_ = nullptr;
    std::vector<std::unique_ptr<qvLoopRun>> loops_;
};
