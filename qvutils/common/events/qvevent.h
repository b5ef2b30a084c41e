#pragma once
#include <atomic>
#include <cstdint>

#include "qvutils/common/platform/qvexport.h"
#include "qvutils/common/tasks/qvlocks.h"

class qvEventListener;
class qvEventSource;
class qvSubscriptionList;
struct qvRaise;
struct qvSubscriptionLink;

/// Objects announce changes by raising numbered events on a source; listeners subscribe to it.
///
/// Threads: any thread may raise, subscribe and unsubscribe. Listeners run on the raising thread
/// with no lock held, so they may raise, subscribe, unsubscribe, and destroy any source, listener,
/// delegate or handler, their own included. An object must not be destroyed while another thread
/// is inside its OnEvent or raises on it.
class QVCORE_API qvEvent {
public:
    explicit qvEvent(int id, void* data1 = nullptr, void* data2 = nullptr)
        : data1(data1), data2(data2), id_(id) {}

    int getID() const { return id_; }
    /// Asks that the listener's delegate gets the event too.
    void Delegate() { delegated_ = true; }
    /// The source that raised the event; null once that source is destroyed.
    qvEventSource* getSource() const { return source_; }

    void* data1;
    void* data2;

private:
    friend class qvEventSource;
    friend class qvSubscriptionList;
    friend struct qvRaise;

    int id_;
    bool delegated_ = false;
    qvEventSource* source_ = nullptr;
};

/// Hands out event numbers that never collide with each other or with fixed numbers below 100000.
class QVCORE_API qvEventIDServer {
public:
    static int GetEventID() { return msCurrentEventID++; }

private:
    static std::atomic<int> msCurrentEventID;
};

/// Something that handles events on behalf of listeners. Its destruction detaches it from them.
class QVCORE_API qvEventHandler {
public:
    qvEventHandler() = default;
    /// A copy is not the handler of the original's listeners.
    qvEventHandler(const qvEventHandler&) {}
    qvEventHandler& operator=(const qvEventHandler&) { return *this; }
    virtual ~qvEventHandler();

    virtual void OnEvent(qvEvent& event, int tag) = 0;

private:
    friend class qvEventListener;
    qvEventListener* listeners_ = nullptr;
};

/// What sources and listeners share: each guards its lists with its lock. A source's lock is taken
/// before a listener's, never after it.
class QVCORE_API qvEventNode {
public:
    qvEventNode(const qvEventNode&) = delete;
    qvEventNode& operator=(const qvEventNode&) = delete;

protected:
    qvEventNode() = default;
    ~qvEventNode() = default;

    qvSpinLock lock_;
};

class QVCORE_API qvEventSource : public qvEventNode {
public:
    qvEventSource() = default;
    /// Ends all subscriptions. A raise under way calls no further listener.
    virtual ~qvEventSource();

    /// Calls every listener subscribed to the event's number or to all events, in the order of
    /// subscription; those that subscribe during the raise are called too.
    void RaiseEvent(qvEvent& event);
    void RaiseEvent(int id, void* data1 = nullptr, void* data2 = nullptr);

    bool HasListeners() const;
    /// How many raises are under way in the whole process, on all threads.
    static int RaiseDepth();

private:
    friend class qvEventListener;
    qvSubscriptionList& subscriptions();

    std::atomic<qvSubscriptionList*> list_ = nullptr;
};

class QVCORE_API qvEventListener : public qvEventNode {
public:
    qvEventListener() = default;
    /// Ends all subscriptions.
    virtual ~qvEventListener();

    /// Subscribes to the events numbered `id` (0: to all events) of a source. `tag` comes back with
    /// each event. Subscribing again with the same id and tag changes nothing.
    void ListenTo(qvEventSource& source, int id, int tag = 0);
    /// End the subscriptions to a source, or those with exactly this id.
    void RemoveSource(qvEventSource& source);
    void RemoveSource(qvEventSource& source, int id);
    void RemoveAllSources();
    void RemoveAllSources(int id);

    /// The listener that gets the events which this one delegates; null for none. Delegates that
    /// form a ring end the program.
    void setDelegate(qvEventListener* delegate);
    qvEventListener* GetDelegate() const { return delegate_.load(std::memory_order_acquire); }
    /// Receives the events when OnEvent is not overridden.
    void setEventHandler(qvEventHandler& handler);

    /// Passes the event to the handler when there is one.
    virtual void OnEvent(qvEvent& event, int tag);

private:
    friend class qvEventHandler;
    friend class qvSubscriptionList;
    friend struct qvRaise;

    void leaveHandler();
    void endSubscriptions(qvEventSource& source, const int* id);
    void endSubscriptions(const int* id);

    qvSubscriptionLink* links_ = nullptr;
    std::atomic<qvEventListener*> delegate_ = nullptr;
    std::atomic<qvEventHandler*> handler_ = nullptr;
    // Linked lists: who delegates to this one, and who shares its handler.
    qvEventListener* delegators_ = nullptr;
    qvEventListener* nextDelegator_ = nullptr;
    qvEventListener** delegatorSlot_ = nullptr;
    qvEventListener* nextOfHandler_ = nullptr;
    qvEventListener** handlerSlot_ = nullptr;
};
