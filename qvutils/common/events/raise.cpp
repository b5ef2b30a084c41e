#include "qvutils/common/events/raise.h"

#include <mutex>

#include "qvutils/common/events/subscriptions.h"
#include "qvutils/common/platform/threads.h"

namespace {

struct Threads {
    std::mutex mutex;
    qvRaisingThread* first = nullptr;
};

/// Never destroyed: the last threads may outlive the static objects.
Threads& threads() {
    static Threads& all = *new Threads;
    return all;
}

constinit thread_local qvRaisingThread* thisThread = nullptr;

/// Takes a thread off the register when it ends.
void unregister(void* thread) {
    const std::lock_guard lock(threads().mutex);
    qvRaisingThread** slot = &threads().first;
    while (*slot != thread) slot = &(*slot)->next;
    *slot = (*slot)->next;
    delete static_cast<qvRaisingThread*>(thread);
}

[[gnu::noinline]] qvRaisingThread& registerThread() {
    thisThread = new qvRaisingThread;
    {
        const std::lock_guard lock(threads().mutex);
        thisThread->next = threads().first;
        threads().first = thisThread;
    }
    qvplatform::atThreadExit(unregister, thisThread);
    return *thisThread;
}

}  // namespace

inline qvRaisingThread& qvRaisingThread::current() {
    return thisThread ? *thisThread : registerThread();
}

const qvRaisingThread* qvRaisingThread::ifAny() {
    return thisThread;
}

int qvRaisingThread::totalDepth() {
    const std::lock_guard lock(threads().mutex);
    int sum = 0;
    for (const qvRaisingThread* t = threads().first; t; t = t->next)
        sum += t->depth.load(std::memory_order_relaxed);
    return sum;
}

inline qvRaise::qvRaise(qvRaisingThread& thread, qvEventSource& source, qvEvent& event)
    : source(&source), event(event), thread(thread), outer(thread.innermost) {
    thread.innermost = this;
    // Only this thread writes its count, so the step needs no atomic addition.
    thread.depth.store(thread.depth.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
    event.source_ = &source;
    event.delegated_ = false;
}

inline qvRaise::~qvRaise() {
    thread.innermost = outer;
    thread.depth.store(thread.depth.load(std::memory_order_relaxed) - 1, std::memory_order_relaxed);
    // A listener may have raised the same event on another source: it is the outer one's again.
    for (qvRaise* raise = outer; raise; raise = raise->outer) {
        if (&raise->event != &event) continue;
        event.source_ = raise->source;
        break;
    }
}

void qvRaise::callDelegates(int tag) {
    while (event.delegated_) {
        event.delegated_ = false;
        called = called ? called->GetDelegate() : nullptr;
        if (called && source) called->OnEvent(event, tag);
    }
}

void qvRaise::sourceDestroyed(const qvEventSource& source) {
    if (!thisThread) return;
    for (qvRaise* raise = thisThread->innermost; raise; raise = raise->outer) {
        if (raise->source != &source) continue;
        raise->source = nullptr;
        raise->event.source_ = nullptr;
    }
}

void qvRaise::listenerDestroyed(const qvEventListener& listener) {
    if (!thisThread) return;
    for (qvRaise* raise = thisThread->innermost; raise; raise = raise->outer)
        if (raise->called == &listener) raise->called = nullptr;
}

namespace {

/// A walk of a list, from its entry to its leaving.
class Walk {
public:
    Walk(qvSubscriptionList& list, const qvRaisingThread& thread)
        : list_(list), entry_(list.enter(thread)) {}
    ~Walk() { list_.leave(entry_); }
    Walk(const Walk&) = delete;
    Walk& operator=(const Walk&) = delete;

private:
    qvSubscriptionList& list_;
    const qvSubscriptionList::Entry entry_;
};

}  // namespace

/// When the source or a listener is destroyed meanwhile, its slots are marked and passed over.
void qvEventSource::RaiseEvent(qvEvent& event) {
    qvSubscriptionList* list = list_.load(std::memory_order_acquire);
    if (!list) return;
    qvRaisingThread& thread = qvRaisingThread::current();
    const Walk walk(*list, thread);
    qvRaise raise(thread, *this, event);
    list->walk(event.getID(), [&](qvEventListener& listener, const qvSubscriptionSlot& slot) {
        raise.called = &listener;
        listener.OnEvent(event, slot.tag);
        if (event.delegated_) [[unlikely]]
            raise.callDelegates(slot.tag);
    });
}

void qvEventSource::RaiseEvent(int id, void* data1, void* data2) {
    qvEvent event(id, data1, data2);
    RaiseEvent(event);
}
