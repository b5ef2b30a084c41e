#include "qvutils/common/materials/materlock.h"

#include <atomic>

#include "qvutils/common/platform/threads.h"

namespace {

/// One per thread that queries. Slots are used again by later threads but never freed, so that they
/// can be walked without a lock.
struct Slot {
    std::atomic<bool> used{true};
    /// Odd while the thread is inside a query.
    std::atomic<unsigned> steps{0};
    Slot* next = nullptr;
};

std::atomic<Slot*> slots{nullptr};

Slot* takeSlot() {
    for (Slot* slot = slots.load(); slot; slot = slot->next) {
        bool expected = false;
        if (slot->used.compare_exchange_strong(expected, true)) return slot;
    }
    Slot* slot = new Slot;
    slot->next = slots.load();
    while (!slots.compare_exchange_weak(slot->next, slot)) {
    }
    return slot;
}

struct Querying {
    Querying() : slot(takeSlot()) {}
    ~Querying() { slot->used.store(false); }

    Slot* slot;
    int depth = 0;
};

Querying& querying() {
    return qvplatform::perThread<Querying>();
}

}  // namespace

namespace qvmaterial {

Reading::Reading() {
    Querying& own = querying();
    // In one order with publishing: either the writer sees this step or this thread the new data.
    if (own.depth++ == 0) own.slot->steps.store(own.slot->steps.load(std::memory_order_relaxed) + 1);
}

Reading::~Reading() {
    Querying& own = querying();
    if (--own.depth > 0) return;
    const unsigned steps = own.slot->steps.load(std::memory_order_relaxed);
    own.slot->steps.store(steps + 1, std::memory_order_release);
}

bool waitForQueries() {
    if (querying().depth > 0) return false;
    for (Slot* slot = slots.load(); slot; slot = slot->next) {
        const unsigned steps = slot->steps.load();
        if (steps % 2 == 0) continue;
        for (int attempt = 0; slot->steps.load() == steps; ++attempt) {
            if (attempt < 1000) {
                qvplatform::pauseProcessor();
            } else {
                qvplatform::yieldThread();
            }
        }
    }
    return true;
}

}  // namespace qvmaterial
