#pragma once
#include <atomic>
#include <cstdint>
#include <mutex>
#include <vector>

#include "qvutils/common/platform/threads.h"

/// The worker threads: who is awake, who may run tasks. Not for use outside this room.
///
/// A worker without work searches for a moment, then it sleeps. A thread runs tasks only with a
/// seat, of which there are as many as workers; a thread of the application that waits for its own
/// tasks takes one and so keeps a worker out for that time.
class qvWorkers {
public:
    static qvWorkers& instance();

    bool start(int count);
    int stop(double seconds);

    int count() const { return count_.load(std::memory_order_relaxed); }
    static bool isWorker();
    /// For a worker between two parts of its work: true when it is to end.
    bool isStopping() const { return stopping_.load(std::memory_order_relaxed); }

    /// After work was offered: sees to it that up to `wanted` workers look for work.
    ///
    /// None is missed: the offer comes before the look at `crew_` here. A worker that falls asleep
    /// first counts itself out of the searching, then looks for work once more. All four are
    /// sequentially consistent, so either it is found searching or asleep here, or it finds the
    /// work.
    void wake(int wanted) {
        if (crew_.load() >= oneSleeper) wakeSome(wanted);
    }
    bool anyAsleep() const { return crew_.load() >= oneSleeper; }

    bool takeSeat();
    void giveSeat();

private:
    struct Worker {
        qvplatform::Thread thread{};
        std::atomic<bool> ended = false;
    };

    qvWorkers() = default;
    void work(Worker& self);
    bool findAndRun(class qvWorkSlot*& last);
    void sleep();
    bool stayAwake();
    void wakeSome(int wanted);
    void awaitReady(std::uint32_t count);
    void awaitEnd(std::uint32_t rest, double seconds);
    int collect();

    static constexpr std::uint64_t oneSearcher = 1;
    static constexpr std::uint64_t oneSleeper = std::uint64_t{1} << 32;

    std::mutex startStop_;
    std::vector<Worker*> workers_;
    std::atomic<int> count_ = 0;
    std::atomic<bool> stopping_ = false;
    std::atomic<std::uint32_t> ready_ = 0;
    std::atomic<std::uint32_t> alive_ = 0;

    // What a worker changes when it finds work lies in one line.
    alignas(64) std::atomic<int> seats_ = 0;
    /// Workers that search (low half) and that sleep (high half). Who wakes one moves it from here
    /// to there and then gives a permit to wake up, so each is woken once.
    std::atomic<std::uint64_t> crew_ = 0;
    alignas(64) std::atomic<std::uint32_t> permits_ = 0;
};

/// A thread of the application that runs tasks has a seat, if it got one, from construction to
/// destruction.
class qvSeat {
public:
    qvSeat() = default;
    ~qvSeat() {
        if (taken_) qvWorkers::instance().giveSeat();
    }
    qvSeat(const qvSeat&) = delete;
    qvSeat& operator=(const qvSeat&) = delete;
    bool take() { return taken_ = qvWorkers::instance().takeSeat(); }

private:
    bool taken_ = false;
};
