#pragma once
#include <atomic>
#include <cstdint>

/// Where a thread offers work to others. Not for use outside this room.
///
/// Slots are never destroyed, so that any thread may look into any slot at any time. What is
/// offered in one does go away, on the stack of its owner as a rule; so whoever wants to touch it
/// enters the slot first, and the owner withdraws the work before it goes.
class qvWork;

class alignas(64) qvWorkSlot {
public:
    // By the owner, who is alone with the slot at first.
    /// Sets out the items from 0 up to `end`.
    void fill(std::int64_t end) {
        next_.store(0, std::memory_order_relaxed);
        end_.store(end, std::memory_order_relaxed);
    }
    /// Lets the others in. Sequentially consistent, as is the look of a thread that falls asleep:
    /// see qvWorkers::wake.
    void offer(qvWork& work) { work_.store(&work); }
    /// Offers one item more, number `index`.
    void offerOneMore(std::int64_t index) { end_.store(index + 1); }

    /// Takes the work back and waits for all that have entered. False when the system
    /// refuses to wait.
    bool withdraw();

    /// True when it looks worth while to enter.
    bool hasWork() const {
        return work_.load() != nullptr && next_.load(std::memory_order_relaxed) < end_.load();
    }

    /// The work, or null after it was withdrawn, which then cannot go before leave(). In the total
    /// order of sequentially consistent operations either the owner's withdrawal comes before the
    /// look at `work_`, which then sees null, or the entry before the owner's look at `visitors_`,
    /// which then sees the visitor.
    qvWork* enter() {
        visitors_.fetch_add(oneVisitor);
        return work_.load();
    }
    void leave() {
        // Releases what the visitor did to the owner, who acquires it in withdraw().
        if (visitors_.fetch_sub(oneVisitor) == oneVisitor + ownerSleeps) wakeOwner();
    }

    // The next three between enter() and leave(), or by the owner.
    bool exhausted() const {
        return next_.load(std::memory_order_relaxed) >= end_.load(std::memory_order_relaxed);
    }
    /// Takes up to `count` items, the first of them in `begin`; returns the end of what it got.
    /// Only for work that gets no more items: others could be offered and taken for done.
    std::int64_t takeFixed(std::int64_t count, std::int64_t& begin) {
        const std::int64_t end = end_.load(std::memory_order_relaxed);
        begin = next_.load(std::memory_order_relaxed);
        if (begin >= end) return begin;  // adding would only move the number on without need
        begin = next_.fetch_add(count, std::memory_order_relaxed);
        return begin + count < end ? begin + count : end;
    }
    /// The same for work that may get more; takes a share of what is there now.
    std::int64_t takeGrowing(std::int64_t sharers, std::int64_t most, std::int64_t& begin);
    /// Leaves nothing to take.
    void exhaust() { next_.store(end_.load(std::memory_order_relaxed), std::memory_order_relaxed); }

    std::int64_t offered() const { return end_.load(std::memory_order_relaxed); }

    /// The next in the list of all slots; does not change.
    qvWorkSlot* next() const { return chain_; }
    static qvWorkSlot* first() { return head_.load(std::memory_order_acquire); }

    /// A slot that nobody owns, and back.
    static qvWorkSlot& acquire();
    static void release(qvWorkSlot& slot);

private:
    void wakeOwner();

    static constexpr std::uint32_t ownerSleeps = 1;
    static constexpr std::uint32_t oneVisitor = 2;
    static std::atomic<qvWorkSlot*> head_;

    // Two lines: what idle threads look at, and what those change that come and take.
    std::atomic<qvWork*> work_ = nullptr;
    std::atomic<std::int64_t> end_ = 0;
    qvWorkSlot* chain_ = nullptr;
    qvWorkSlot* nextFree_ = nullptr;
    alignas(64) std::atomic<std::int64_t> next_ = 0;
    std::atomic<std::uint32_t> visitors_ = 0;
};
