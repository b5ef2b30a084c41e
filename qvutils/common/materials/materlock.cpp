#include "qvutils/common/materials/materlock.h"

#include <atomic>

#include "qvutils/common/platform/barrier.h"
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

/// How long a query is waited for.
constexpr int pauses = 1000;
constexpr int yields = 1000;

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

}  // namespace

namespace qvmaterial {

Querying::Querying() : steps(takeSlot()->steps), relaxed(qvplatform::hasProcessBarrier()) {}

Querying::~Querying() {
    for (Slot* slot = slots.load(); slot; slot = slot->next)
        if (&slot->steps == &steps) slot->used.store(false);
}

bool waitForQueries() {
    if (qvplatform::perThread<Querying>().depth > 0) return false;
    if (qvplatform::hasProcessBarrier() && !qvplatform::processBarrier()) return false;
    for (Slot* slot = slots.load(); slot; slot = slot->next) {
        const unsigned steps = slot->steps.load();
        if (steps % 2 == 0) continue;
        for (int attempt = 0; slot->steps.load() == steps; ++attempt) {
            if (attempt >= pauses + yields) return false;
            if (attempt < pauses) {
                qvplatform::pauseProcessor();
            } else {
                qvplatform::yieldThread();
            }
        }
    }
    return true;
}

}  // namespace qvmaterial
