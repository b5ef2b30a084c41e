#include "qvutils/common/events/qvevent.h"

#include <mutex>
#include <vector>

#include "qvutils/common/diagnostics/diagnostics.h"
#include "qvutils/common/events/raise.h"
#include "qvutils/common/events/subscriptions.h"

std::atomic<int> qvEventIDServer::msCurrentEventID = 100000;

namespace {

/// Guards who delegates to whom and who handles for whom. It is taken alone. Never destroyed:
/// static objects use it while the process ends. (Not every system has constant mutexes.)
std::mutex& wiring() {
    static std::mutex& mutex = *new std::mutex;
    return mutex;
}

/// Enters a list for the length of a use.
class ListUse {
public:
    explicit ListUse(qvSubscriptionList& list) : list_(list) { list_.enter(); }
    ~ListUse() { list_.leave(); }
    ListUse(const ListUse&) = delete;
    ListUse& operator=(const ListUse&) = delete;

private:
    qvSubscriptionList& list_;
};

}  // namespace

qvEventHandler::~qvEventHandler() {
    const std::lock_guard hold(wiring());
    while (listeners_) listeners_->leaveHandler();
}

qvEventSource::~qvEventSource() {
    qvRaise::sourceDestroyed(*this);
    qvSubscriptionList* list = list_.exchange(nullptr);
    if (!list) return;
    const ListUse use(*list);
    list->close();
}

bool qvEventSource::HasListeners() const {
    qvSubscriptionList* list = list_.load(std::memory_order_acquire);
    if (!list) return false;
    const ListUse use(*list);
    return list->hasSubscriptions();
}

int qvEventSource::RaiseDepth() {
    return qvRaisingThread::totalDepth();
}

qvSubscriptionList& qvEventSource::subscriptions() {
    const qvAutoLock hold(lock_);
    qvSubscriptionList* list = list_.load(std::memory_order_acquire);
    if (!list) {
        list = new qvSubscriptionList;
        list_.store(list, std::memory_order_release);
    }
    return *list;
}

qvEventListener::~qvEventListener() {
    qvRaise::listenerDestroyed(*this);
    RemoveAllSources();
    setDelegate(nullptr);
    const std::lock_guard hold(wiring());
    leaveHandler();
    while (qvEventListener* delegator = delegators_) {
        delegators_ = delegator->nextDelegator_;
        delegator->delegate_ = nullptr;
    }
}

void qvEventListener::ListenTo(qvEventSource& source, int id, int tag) {
    qvSubscriptionList& list = source.subscriptions();
    const ListUse use(list);
    list.subscribe(*this, id, tag);
}

void qvEventListener::RemoveSource(qvEventSource& source) {
    endSubscriptions(source, nullptr);
}
void qvEventListener::RemoveSource(qvEventSource& source, int id) {
    endSubscriptions(source, &id);
}

void qvEventListener::endSubscriptions(qvEventSource& source, const int* id) {
    qvSubscriptionList* list = source.list_.load(std::memory_order_acquire);
    if (!list) return;
    const ListUse use(*list);
    list->unsubscribe(*this, id);
}

void qvEventListener::RemoveAllSources() {
    endSubscriptions(nullptr);
}
void qvEventListener::RemoveAllSources(int id) {
    endSubscriptions(&id);
}

/// The lists are entered under this lock, where a link keeps each in being, and left alone until it
/// is released: a list's lock comes before a listener's.
void qvEventListener::endSubscriptions(const int* id) {
    std::vector<qvSubscriptionList*> lists;
    {
        const qvAutoLock hold(lock_);
        for (const qvSubscriptionLink* link = links_; link; link = link->next) {
            lists.push_back(&link->list);
            link->list.enter();
        }
    }
    for (qvSubscriptionList* list : lists) {
        list->unsubscribe(*this, id);
        list->leave();
    }
}

void qvEventListener::setDelegate(qvEventListener* delegate) {
    const std::lock_guard hold(wiring());
    for (const qvEventListener* next = delegate; next; next = next->GetDelegate())
        if (next == this)
            exitfn("code error in qvEventListener::setDelegate - the delegates form a ring");
    if (delegate_ != nullptr) {
        *delegatorSlot_ = nextDelegator_;
        if (nextDelegator_) nextDelegator_->delegatorSlot_ = delegatorSlot_;
    }
    delegate_ = delegate;
    if (!delegate) return;
    nextDelegator_ = delegate->delegators_;
    if (nextDelegator_) nextDelegator_->delegatorSlot_ = &nextDelegator_;
    delegatorSlot_ = &delegate->delegators_;
    delegate->delegators_ = this;
}

void qvEventListener::setEventHandler(qvEventHandler& handler) {
    const std::lock_guard hold(wiring());
    leaveHandler();
    nextOfHandler_ = handler.listeners_;
    if (nextOfHandler_) nextOfHandler_->handlerSlot_ = &nextOfHandler_;
    handlerSlot_ = &handler.listeners_;
    handler.listeners_ = this;
    handler_ = &handler;
}

/// For the holder of the wiring lock.
void qvEventListener::leaveHandler() {
    if (handler_ == nullptr) return;
    *handlerSlot_ = nextOfHandler_;
    if (nextOfHandler_) nextOfHandler_->handlerSlot_ = handlerSlot_;
    handler_ = nullptr;
}

void qvEventListener::OnEvent(qvEvent& event, int tag) {
    if (qvEventHandler* handler = handler_.load(std::memory_order_acquire))
        handler->OnEvent(event, tag);
}
