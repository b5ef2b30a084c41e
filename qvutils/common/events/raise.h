#pragma once
#include <atomic>

#include "qvutils/common/events/qvevent.h"

/// The raises under way on one thread.
struct qvRaisingThread {
    struct qvRaise* innermost = nullptr;
    std::atomic<int> depth = 0;
    qvRaisingThread* next = nullptr;

    static qvRaisingThread& current();
    /// The calling thread's, null when it never raised an event.
    static const qvRaisingThread* ifAny();
    static int totalDepth();
};

/// One raise under way. It learns of the destruction of its source and of the listener that it is
/// calling, so that the walk touches neither afterwards.
struct qvRaise {
    qvRaise(qvRaisingThread& thread, qvEventSource& source, qvEvent& event);
    ~qvRaise();
    qvRaise(const qvRaise&) = delete;
    qvRaise& operator=(const qvRaise&) = delete;

    /// Calls the delegates of the one called while they ask for it.
    [[gnu::noinline, gnu::cold]] void callDelegates(int tag);
    static void sourceDestroyed(const qvEventSource& source);
    static void listenerDestroyed(const qvEventListener& listener);

    qvEventSource* source;  ///< null once it is destroyed
    qvEvent& event;
    qvEventListener* called = nullptr;
    qvRaisingThread& thread;
    qvRaise* const outer;
};
