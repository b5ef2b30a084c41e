#pragma once
#include <atomic>

#include "qvutils/common/platform/qvexport.h"
#include "qvutils/common/platform/threads.h"

/// The lock between queries of materials and reloading, in which queries never wait: a reload
/// publishes new contents and keeps the old ones for as long as a query may still read them.
namespace qvmaterial {

/// What a thread keeps for its queries.
struct QVCORE_API Querying {
    Querying();
    ~Querying();
    Querying(const Querying&) = delete;
    Querying& operator=(const Querying&) = delete;

    /// Odd while the thread is inside a query.
    std::atomic<unsigned>& steps;
    int depth = 0;
    /// Whoever replaces contents passes the memory barrier for this thread too.
    const bool relaxed;
};

/// Lives as long as a query reads contents. Queries may be nested.
class Reading {
public:
    Reading() : own_(qvplatform::perThread<Querying>()) {
        if (own_.depth++ > 0) return;
        // In one order with publishing: either the writer sees this step or this thread the new
        // data.
        const unsigned step = own_.steps.load(std::memory_order_relaxed) + 1;
        if (own_.relaxed) {
            own_.steps.store(step, std::memory_order_relaxed);
            std::atomic_signal_fence(std::memory_order_seq_cst);
        } else {
            own_.steps.store(step);
        }
    }
    ~Reading() {
        if (--own_.depth > 0) return;
        const unsigned step = own_.steps.load(std::memory_order_relaxed);
        own_.steps.store(step + 1, std::memory_order_release);
    }
    Reading(const Reading&) = delete;
    Reading& operator=(const Reading&) = delete;

private:
    Querying& own_;
};

/// True when every query that was under way has ended: what was replaced before the call is read no
/// more. False when one goes on for more than a moment, or is one of the calling thread itself.
/// It does not wait longer, since a query may in turn wait for what its caller holds.
QVCORE_API bool waitForQueries();

}  // namespace qvmaterial
