#pragma once
#include <atomic>
#include <cstdint>

/// The pseudo-times of a namespace: counters that rise with every change. What a reader sees is the
/// sum over the namespace and its parents, so that a change anywhere above is noticed below without
/// anything being told to the children.
class qvPseudoClock {
public:
    /// Never 0. Rises with every change of a name or a definition, here or in a parent.
    std::uint64_t now() const { return sum(&qvPseudoClock::time_); }
    /// Rises when a name may mean another variable than before.
    std::uint64_t names() const { return sum(&qvPseudoClock::names_); }
    std::uint64_t own() const { return time_.load(std::memory_order_acquire); }

    void tick() { time_.fetch_add(1, std::memory_order_acq_rel); }
    void tickNames() {
        names_.fetch_add(1, std::memory_order_acq_rel);
        tick();
    }

    /// From now on the times of `parent` are added. Both sums rise all the same.
    void follow(const qvPseudoClock* parent) {
        const std::uint64_t time = now(), name = names();
        parent_.store(parent, std::memory_order_release);
        raise(time_, time, now());
        raise(names_, name, names());
    }

private:
    using Counter = std::atomic<std::uint64_t>;

    std::uint64_t sum(Counter qvPseudoClock::*counter) const {
        std::uint64_t total = 0;
        for (const qvPseudoClock* clock = this; clock;
             clock = clock->parent_.load(std::memory_order_acquire)) {
            total += (clock->*counter).load(std::memory_order_acquire);
        }
        return total;
    }
    static void raise(Counter& counter, std::uint64_t before, std::uint64_t after) {
        counter.fetch_add((before > after ? before - after : 0) + 1, std::memory_order_acq_rel);
    }

    Counter time_ = 1;
    Counter names_ = 1;
    std::atomic<const qvPseudoClock*> parent_ = nullptr;
};
