#include "qvutils/common/tasks/workers.h"

#include <algorithm>

#include "qvutils/common/error/qverror.h"
#include "qvutils/common/tasks/taskrun.h"
#include "qvutils/common/tasks/tasktimers.h"
#include "qvutils/common/tasks/threadid.h"
#include "qvutils/common/tasks/workslot.h"

namespace {

thread_local bool amWorker = false;

constexpr std::uint32_t low(std::uint64_t crew) {
    return static_cast<std::uint32_t>(crew);
}
constexpr std::uint32_t high(std::uint64_t crew) {
    return static_cast<std::uint32_t>(crew >> 32);
}

/// Adds to `looks` how many slots it has looked into.
bool anyWork(int& looks) {
    for (const qvWorkSlot* slot = qvWorkSlot::first(); slot; slot = slot->next()) {
        if (slot->hasWork()) return true;
        ++looks;
    }
    return false;
}

bool anyWork() {
    int looks = 0;
    return anyWork(looks);
}

}  // namespace

/// Never destroyed: a worker that will not end must find it.
qvWorkers& qvWorkers::instance() {
    static qvWorkers& workers = *new qvWorkers;
    return workers;
}

bool qvWorkers::isWorker() {
    return amWorker;
}

bool qvWorkers::takeSeat() {
    int free = seats_.load(std::memory_order_relaxed);
    while (free > 0) {
        // Acquires what the one before did in this seat, so that the number of those who run tasks
        // is never seen too large.
        if (seats_.compare_exchange_weak(free, free - 1)) return true;
    }
    return false;
}

void qvWorkers::giveSeat() {
    seats_.fetch_add(1);
    // A worker may have fallen asleep for want of this seat. One that gives its seat back looks for
    // work itself.
    if (!amWorker && anyAsleep() && anyWork()) wake(1);
}

void qvWorkers::wakeSome(int wanted) {
    std::uint64_t crew = crew_.load();
    for (;;) {
        const int useful = std::min(wanted - static_cast<int>(low(crew)), seats_.load());
        const int woken = std::min(useful, static_cast<int>(high(crew)));
        if (woken <= 0) return;
        const std::uint64_t moved = static_cast<std::uint64_t>(woken) * (oneSleeper - oneSearcher);
        if (!crew_.compare_exchange_weak(crew, crew - moved)) continue;
        permits_.fetch_add(static_cast<std::uint32_t>(woken));
        qvplatform::wakeSleepers(permits_, woken);
        return;
    }
}

/// Takes one worker back from those that sleep, if nobody has woken it in between.
bool qvWorkers::stayAwake() {
    std::uint64_t crew = crew_.load();
    while (high(crew) > 0) {
        if (crew_.compare_exchange_weak(crew, crew - oneSleeper + oneSearcher)) return true;
    }
    return false;
}

void qvWorkers::sleep() {
    crew_.fetch_add(oneSleeper - oneSearcher);
    if ((stopping_ || (seats_.load() > 0 && anyWork())) && stayAwake()) return;
    std::uint32_t permits = permits_.load();
    for (;;) {
        if (permits == 0) {
            if (!qvplatform::sleepWhileEqual(permits_, 0)) qvplatform::sleepMicroseconds(1000);
            permits = permits_.load();
        } else if (permits_.compare_exchange_weak(permits, permits - 1)) {
            return;
        }
    }
}

/// Looks into the slots in turn, beginning after the one it served last, so that no thread's work
/// has to wait for ever because of another's.
bool qvWorkers::findAndRun(qvWorkSlot*& last) {
    qvWorkSlot* const start = last && last->next() ? last->next() : qvWorkSlot::first();
    qvWorkSlot* slot = start;
    if (!slot) return false;
    do {
        if (slot->hasWork() && takeSeat()) {
            last = slot;
            const std::uint64_t before = crew_.fetch_sub(oneSearcher);
            // Who offered more work may have counted on this worker to find it.
            if (low(before) == 1 && high(before) > 0 && seats_.load() > 0 && anyWork()) wake(1);
            if (qvWork* const work = slot->enter()) {
                const qvTimeSpan span(&qvTaskTimers::running);
                work->help(qvHelper::visitor);
            }
            slot->leave();
            seats_.fetch_add(1);
            crew_.fetch_add(oneSearcher);
            return true;
        }
        slot = slot->next() ? slot->next() : qvWorkSlot::first();
    } while (slot != start);
    return false;
}

void qvWorkers::work(Worker& self) {
    amWorker = true;
    qvTaskThreadId();
    crew_.fetch_add(oneSearcher);
    ready_.fetch_add(1);
    qvplatform::wakeSleepers(ready_, 1);

    // Some 20 microseconds, however many slots there are. It does not yield: among busy processes
    // that costs more than to sleep and be woken, for who wakes up is let in at once.
    constexpr int pauses = 1500;
    constexpr int freeLooks = 8;  // they cost no more than the pause
    qvWorkSlot* last = nullptr;
    while (!isStopping()) {
        if (findAndRun(last)) continue;
        const qvTimeSpan span(&qvTaskTimers::idle);
        bool found = false;
        for (int i = 0; !found && i < pauses; ++i) {
            qvplatform::pauseProcessor();
            int looks = 0;
            found = isStopping() || (anyWork(looks) && seats_.load(std::memory_order_relaxed) > 0);
            i += looks / freeLooks;
        }
        if (!found) sleep();
    }
    crew_.fetch_sub(oneSearcher);
    self.ended = true;
    alive_.fetch_sub(1);
    qvplatform::wakeSleepers(alive_, 1);
}

namespace {

constexpr double startPatience = 10;  // seconds

/// Calls `sleep` with the nanoseconds that are left until it returns false or they have passed.
template <class Sleep>
void patiently(double seconds, Sleep sleep) {
    constexpr double longest = 1e9;  // infinity will do as well
    const std::int64_t end =
        qvSteadyNanoseconds() + static_cast<std::int64_t>(std::min(seconds, longest) * 1e9);
    for (;;) {
        const std::int64_t left = end - qvSteadyNanoseconds();
        if (left <= 0 || !sleep(left)) return;
    }
}

}  // namespace

void qvWorkers::awaitReady(std::uint32_t count) {
    patiently(startPatience, [&](std::int64_t left) {
        const std::uint32_t ready = ready_;
        return ready < count && qvplatform::sleepWhileEqual(ready_, ready, left);
    });
}

void qvWorkers::awaitEnd(std::uint32_t rest, double seconds) {
    patiently(seconds, [&](std::int64_t left) {
        const std::uint32_t alive = alive_;
        return alive > rest && qvplatform::sleepWhileEqual(alive_, alive, left);
    });
}

bool qvWorkers::start(int count) {
    // Asked before the guard is made, so that what threads need to end is there for longer than it.
    qvTaskThreadId();
    // Its destructor ends the workers with the program, or before the library's code goes.
    static const struct Guard {
        ~Guard() { qvWorkers::instance().stop(1); }
    } guard;
    const std::lock_guard hold(startStop_);
    if (alive_ > 0) return false;
    collect();  // those that did not end in time, but since
    stopping_ = false;
    ready_ = 0;
    for (int i = 0; i < count; ++i) {
        auto* const worker = new Worker;
        alive_.fetch_add(1);
        const auto run = [](void* self) { instance().work(*static_cast<Worker*>(self)); };
        if (!qvplatform::startThread(run, worker, worker->thread)) {
            alive_.fetch_sub(1);
            delete worker;
            break;
        }
        workers_.push_back(worker);
    }
    const int started = static_cast<int>(workers_.size());
    awaitReady(static_cast<std::uint32_t>(started));
    seats_ += started;
    count_ = started;
    const int failed = count - static_cast<int>(ready_.load());
    if (failed > 0) {
        qverr().setf("Help! Failed to start %d threads - gave up waiting\n", failed);
    }
    return started > 0;
}

/// Joins those that have ended; returns how many have not.
int qvWorkers::collect() {
    std::erase_if(workers_, [](Worker* worker) {
        if (!worker->ended) return false;
        qvplatform::joinThread(worker->thread);
        delete worker;
        return true;
    });
    return static_cast<int>(workers_.size());
}

/// Ends the workers; returns how many did not within the time.
int qvWorkers::stop(double seconds) {
    std::unique_lock hold(startStop_, std::defer_lock);
    // A worker does not wait for a thread that may be waiting for it.
    if (!amWorker) hold.lock();
    if ((!hold && !hold.try_lock()) || workers_.empty()) return 0;
    seats_ -= count_.exchange(0);
    stopping_ = true;
    // Wakes all that sleep, whether there are seats or not.
    std::uint64_t crew = crew_.load();
    while (!crew_.compare_exchange_weak(
        crew, crew - std::uint64_t{high(crew)} * (oneSleeper - oneSearcher))) {
    }
    permits_.fetch_add(high(crew));
    qvplatform::wakeSleepers(permits_, static_cast<int>(high(crew)));
    // A worker that calls this from its task cannot wait for itself.
    awaitEnd(amWorker ? 1 : 0, seconds);
    return collect();
}
