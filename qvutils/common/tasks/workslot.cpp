#include "qvutils/common/tasks/workslot.h"

#include <algorithm>
#include <mutex>
#include <utility>

#include "qvutils/common/platform/threads.h"

std::atomic<qvWorkSlot*> qvWorkSlot::head_ = nullptr;

namespace {

// Both stay for as long as the code does: threads may end after the program's statics are gone.
std::mutex& freeMutex() {
    static std::mutex& mutex = *new std::mutex;
    return mutex;
}
qvWorkSlot* freeSlots = nullptr;

}  // namespace

qvWorkSlot& qvWorkSlot::acquire() {
    const std::lock_guard hold(freeMutex());
    if (freeSlots) return *std::exchange(freeSlots, freeSlots->nextFree_);
    auto* const made = new qvWorkSlot;
    made->chain_ = head_.load(std::memory_order_relaxed);
    head_.store(made, std::memory_order_release);
    return *made;
}

void qvWorkSlot::release(qvWorkSlot& slot) {
    const std::lock_guard hold(freeMutex());
    slot.nextFree_ = std::exchange(freeSlots, &slot);
}

std::int64_t qvWorkSlot::takeGrowing(std::int64_t sharers, std::int64_t most, std::int64_t& begin) {
    begin = next_.load(std::memory_order_relaxed);
    for (;;) {
        // Acquires what the owner wrote down before it offered the items.
        const std::int64_t there = end_.load(std::memory_order_acquire) - begin;
        if (there <= 0) return begin;
        const std::int64_t count = std::clamp<std::int64_t>(there / (4 * sharers), 1, most);
        if (next_.compare_exchange_weak(begin, begin + count, std::memory_order_relaxed)) {
            return begin + count;
        }
    }
}

bool qvWorkSlot::withdraw() {
    work_.store(nullptr);
    // Whoever is still here is on the last part of the work, which may be short or long.
    constexpr int pauses = 1500;
    for (int i = 0; i < pauses; ++i) {
        if (visitors_.load() == 0) return true;
        qvplatform::pauseProcessor();
    }
    bool fine = true;
    std::uint32_t there = visitors_.fetch_or(ownerSleeps) | ownerSleeps;
    while (there >= oneVisitor) {
        // Their work may not go before they have left, whatever the system says.
        if (!fine) qvplatform::sleepMicroseconds(100);
        if (fine) fine = qvplatform::sleepWhileEqual(visitors_, there);
        there = visitors_.load();
    }
    visitors_.fetch_and(~ownerSleeps);
    return fine;
}

void qvWorkSlot::wakeOwner() {
    qvplatform::wakeSleepers(visitors_, 1);
}
