#pragma once
#include <atomic>
#include <cstdint>
#include <string>

#include "qvutils/common/platform/qvexport.h"

class Error;

/// A unit of work for the worker threads: a class of one's own overrides one of the two Run().
///
/// The thread that spawns keeps the task alive until its Sync. At most as many tasks run at the
/// same time as there are workers: a thread that waits in Sync runs tasks itself, in place of a
/// worker. Without workers that thread does it all.
///
/// A task fails by posting to qverr() of the thread it runs on, or by an exception of any type. The
/// first error reaches the Error of the spawning thread's Sync, with number and message, unless one
/// is pending there; the other tasks run on.
///
/// A task may spawn tasks and loops of its own, from inside its Run. They belong to that Run, which
/// ends with a Sync of its own if it has not called one.
class QVCORE_API qvTask {
public:
    class LoopManager;
    class LoopDiv;
    class EvenStride;
    class FixedStride;
    class AdaptiveStride;

    explicit qvTask(const char* name = "");
    virtual ~qvTask();
    qvTask(const qvTask&) = delete;
    qvTask& operator=(const qvTask&) = delete;
    const char* getName() const { return name_.c_str(); }

    /// The work of a spawned task.
    virtual void Run();
    /// A part of a loop, both ends included. The step is the loop's granularity: parts begin that
    /// many indices apart, so that `for (int i = first; i <= last; i += step)` of all parts
    /// together visits what the undivided loop does. Runs on several threads at the same time.
    virtual void Run(int first, int last, int step);

    /// Starts `count` workers; below 1, as many as qvGetNumLogicalProcessors() tells. False when
    /// workers run already, or when none could be started. Posts to qverr() how many could not be.
    static bool StartWorkerThreads(int count = 0);
    /// Workers finish what they have taken, a part of a loop or up to 8 tasks, and end; the rest is
    /// left to Sync. Waits for them at most so long, then posts to qverr() and leaves those that
    /// still run to themselves.
    static void StopWorkerThreads(double seconds = 10);
    static int getNumWorkerThreads();

    /// Queues the task for a worker. False, with "Failed to start task" posted, when that fails.
    static bool Spawn(qvTask* task, Error& error);
    /// Queues all parts of a loop from `first` to `last`, divided by LoopDiv.
    static bool SpawnLoop(qvTask* task, int first, int last, int granularity, Error& error);
    /// Divides a loop by the policy, LoopDiv when null, and returns when it is done: false when an
    /// error was posted. Does not wait for what was spawned before.
    static bool SpawnLoopSync(qvTask* task, int first, int last, int granularity, Error& error,
                              LoopManager* manager = nullptr);
    /// Waits for all that this thread (inside a task: that Run) has spawned. False when one of them
    /// failed or was cancelled. Without an argument errors go to qverr().
    static bool Sync();
    static bool Sync(Error& error);

    /// True on every thread that is not a worker, also while it runs tasks.
    static bool IsTop();

    /// Asks the task to stop: no part of it that has not begun is run, Sync returns when those that
    /// have are done, and posts "%s was cancelled". Any thread may call it. It holds until all runs
    /// of the task have ended; spawning the task after that takes it back.
    void Cancel() { cancel_.store(true, std::memory_order_relaxed); }
    bool IsCancelled() const { return cancel_.load(std::memory_order_relaxed); }
    /// For long-running tasks to ask between their steps: true when the task that this thread runs
    /// is asked to stop, or the one that spawned it, or the whole operation (qvRunSignal).
    static bool CancelRequested();

    /// How many indices of the loop (or, of a task, how many runs) are done, and out of how many.
    /// Counts from 0 again when the task is spawned after all its runs have ended. Any thread may
    /// ask.
    std::int64_t getProgress() const { return done_.load(std::memory_order_relaxed); }
    std::int64_t getProgressEnd() const { return end_.load(std::memory_order_relaxed); }

    /// Measuring costs a look at the clock for each part that runs; off at first.
    static void EnableTimers(bool enable);
    static void ResetTimers();
    /// Seconds since the last reset: in tasks (sum over all threads), waiting in Sync for other
    /// threads, workers without work (sum; counted when they find some), and passed on the clock.
    /// All 0 before the first measurement.
    static void getTimeStats(double& running, double& waiting, double& idle, double& elapsed);

private:
    friend class qvTaskRun;

    const std::string name_;
    std::atomic<bool> cancel_ = false;
    /// Runs that are spawned and not yet ended.
    std::atomic<int> runs_ = 0;
    std::atomic<std::int64_t> done_ = 0;
    std::atomic<std::int64_t> end_ = 0;
    /// How many indices the last loop had that was measured, and how long it took; how many loops
    /// have not been since.
    std::atomic<int> loops_ = 0;
    std::atomic<std::int64_t> lastCount_ = 0;
    std::atomic<std::int64_t> lastNanoseconds_ = 0;
};

/// Decides how many indices the parts of a loop get.
class QVCORE_API qvTask::LoopManager {
public:
    virtual ~LoopManager();
    /// Called once for each loop of n > 0 indices, for `workers` threads. More parts than `limit`
    /// are not worth while. What is not a multiple of the granularity is rounded up to one, and
    /// below 1 counts as 1.
    virtual std::int64_t Stride(std::int64_t n, int granularity, int workers,
                                std::int64_t limit) = 0;
    /// When EnableRunTimes() is true, called after each loop with the time that its parts took
    /// together, in units of 1 / ticksPerSecond.
    virtual void AddRunTime(long ticks);
    virtual bool EnableRunTimes();

    static constexpr double ticksPerSecond = 1e7;
};

/// About `parts` parts, made of whole granules.
class QVCORE_API qvTask::LoopDiv : public LoopManager {
public:
    explicit LoopDiv(int parts) : parts_(parts) {}
    std::int64_t Stride(std::int64_t n, int granularity, int workers, std::int64_t limit) override;

private:
    int parts_;
};

/// Parts of 1 to 4 indices of which every worker gets the same number, if it can be had.
class QVCORE_API qvTask::EvenStride : public LoopManager {
public:
    std::int64_t Stride(std::int64_t n, int granularity, int workers, std::int64_t limit) override;
};

class QVCORE_API qvTask::FixedStride : public LoopManager {
public:
    explicit FixedStride(int stride) : stride_(stride) {}
    std::int64_t Stride(std::int64_t n, int granularity, int workers, std::int64_t limit) override;

private:
    int stride_;
};

/// For a loop that is run many times: parts that are long enough to be worth their while and short
/// enough to keep all workers busy until the end. One object for each such loop; it learns.
class QVCORE_API qvTask::AdaptiveStride : public LoopManager {
public:
    std::int64_t Stride(std::int64_t n, int granularity, int workers, std::int64_t limit) override;
    void AddRunTime(long ticks) override { ticks_ += ticks; }
    bool EnableRunTimes() override { return true; }

private:
    int calls_ = 0;
    std::int64_t stride_ = 0;
    double ticks_ = 0;
};
