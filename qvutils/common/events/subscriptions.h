#pragma once
#include <atomic>
#include <cstddef>
#include <memory>
#include <unordered_map>

#include "qvutils/common/events/qvevent.h"

/// One subscription: its place in the source's list and among those of the same listener.
struct qvSubscription {
    qvSubscription(qvEventListener& listener, int id, int tag)
        : listener(listener), id(id), tag(tag) {}

    qvEventListener& listener;
    const int id;
    const int tag;
    std::atomic<bool> removed = true;
    std::atomic<qvSubscription*> next = nullptr;

    // For the holder of the list's lock only.
    struct qvSubscriptionLink* link = nullptr;  ///< null when removed
    qvSubscription* prev = nullptr;
    bool discarded = false;  ///< waits to be freed
    qvSubscription* nextDiscarded = nullptr;
    qvSubscription* nextOfListener = nullptr;
    qvSubscription* prevOfListener = nullptr;
};

/// Joins a listener and a source while the listener has a subscription there.
struct qvSubscriptionLink {
    class qvSubscriptionList& list;
    qvEventListener& listener;
    qvSubscription* first = nullptr;     // the list's lock
    qvSubscriptionLink* next = nullptr;  // the listener's lock, here and below
    qvSubscriptionLink* prev = nullptr;
};

/// What a source knows of its listeners. It outlives the source as long as somebody uses it: a
/// raise walks the records without holding the lock, so what is removed stays in place, marked,
/// until its last user leaves.
class qvSubscriptionList {
public:
    qvSubscriptionList() = default;
    qvSubscriptionList(const qvSubscriptionList&) = delete;
    qvSubscriptionList& operator=(const qvSubscriptionList&) = delete;

    /// Every use stands between the two. The last user frees what was removed meanwhile.
    void enter() {
        if (users_.fetch_add(1) & cleaning) [[unlikely]]
            waitForCleaning();
    }
    void leave() {
        if (needsCleanup_.load(std::memory_order_relaxed)) [[unlikely]]
            clean();
        if (users_.fetch_sub(1) == (closed | 1)) delete this;
    }

    void walk(qvEventSource& source, qvEvent& event) const;
    void subscribe(qvEventListener& listener, int id, int tag);
    /// Ends the listener's subscriptions with this id, or all for null.
    void unsubscribe(qvEventListener& listener, const int* id);
    bool hasSubscriptions();
    /// The source ceases to exist: ends all subscriptions.
    void close();

private:
    static constexpr unsigned closed = 1u << 31;
    static constexpr unsigned cleaning = 1u << 30;
    static constexpr std::size_t longList = 8;

    struct Key {
        const qvEventListener* listener;
        int id;
        bool operator==(const Key&) const = default;
    };
    struct KeyHash {
        std::size_t operator()(const Key& key) const {
            return std::hash<const void*>()(key.listener) * 31 + static_cast<std::size_t>(key.id);
        }
    };
    /// Finds records and links in a list that is longer than a few.
    struct Index {
        std::unordered_map<Key, std::unordered_map<int, qvSubscription*>, KeyHash> byTag;
        std::unordered_map<const qvEventListener*, qvSubscriptionLink*> links;
    };

    ~qvSubscriptionList();
    void waitForCleaning() const;
    void clean();
    void freeDiscarded();
    qvSubscription* find(const qvEventListener& listener, int id, int tag) const;
    qvSubscriptionLink* findLink(const qvEventListener& listener) const;
    qvSubscription* append(qvEventListener& listener, int id, int tag);
    void activate(qvSubscription& record);
    void remove(qvSubscription& record);
    qvSubscriptionLink* addLink(qvEventListener& listener);
    void dropLink(qvSubscriptionLink& link);
    void takeOut(qvSubscription& record);
    void buildIndex();

    std::atomic<unsigned> users_ = 0;
    std::atomic<bool> needsCleanup_ = false;
    std::atomic<qvSubscription*> first_ = nullptr;
    qvSpinLock lock_;
    qvSubscription* last_ = nullptr;
    qvSubscription* discarded_ = nullptr;
    std::size_t count_ = 0;
    std::unique_ptr<Index> index_;
};
