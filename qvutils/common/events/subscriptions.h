#pragma once
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <unordered_map>
#include <vector>

#include "qvutils/common/events/qvevent.h"

/// One subscription: its place in the source's list and among those of the same listener. Only the
/// holder of the list's lock uses it; a walk reads its slot.
struct qvSubscription {
    qvSubscription(qvEventListener& listener, int id, int tag)
        : listener(listener), id(id), tag(tag) {}

    qvEventListener& listener;
    const int id;
    const int tag;
    std::size_t place = 0;                      ///< of its slot
    struct qvSubscriptionLink* link = nullptr;  ///< null when removed
    bool discarded = false;                     ///< waits to be freed
    qvSubscription* nextDiscarded = nullptr;
    qvSubscription* nextOfListener = nullptr;
    qvSubscription* prevOfListener = nullptr;
};

/// What a walk needs of a subscription.
struct qvSubscriptionSlot {
    std::atomic<qvEventListener*> listener = nullptr;  ///< null when removed
    int id = 0;
    int differs = 0;  ///< the bits in which an event's number may not differ: all, or none for id 0
    int tag = 0;
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
/// raise walks the slots without holding the lock, so what is removed stays in place, marked, until
/// its last user leaves.
///
/// Who uses the list, and when are removed records freed? Every user counts itself in `users_`,
/// with two locked instructions, except the raises of one thread: the first thread that raises
/// becomes the `owner_` of the list for good, and only marks itself `inside_`. Raises within it on
/// the same thread need do nothing at all.
/// - Entering is setting the mark, or counting, and then a look whether `users_` says that somebody
///   is cleaning. The cleaner sets that with a locked instruction, which fails when others are
///   counted, and then looks at the mark. So one of the two sees the other: the cleaner gives up,
///   the one who enters waits.
/// - The owner marks and looks with plain instructions, which the processor may exchange. A cleaner
///   on another thread therefore executes a barrier for all threads between its two steps. Where
///   the system has none, the owner marks itself with a locked instruction.
/// - A list ends when the last one counted leaves it after its source. The owner that is inside
///   when its source dies is the thread that destroys the source. From then on it is counted, so
///   that who leaves last never depends on two words.
class qvSubscriptionList {
public:
    enum class Entry { owner, nested, counted };

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
            clean(1, false);
        if (users_.fetch_sub(1) == (closed | 1)) delete this;
    }

    /// The same for a raise on the thread `me`.
    Entry enter(const struct qvRaisingThread& me) {
        if (owner_.load(std::memory_order_relaxed) != &me && !becomeOwner(me)) [[unlikely]] {
            enter();
            return Entry::counted;
        }
        if (inside_.load(std::memory_order_relaxed)) [[unlikely]]
            return Entry::nested;
        if (cleanersBarrier_) [[likely]] {
            inside_.store(true, std::memory_order_relaxed);
            std::atomic_signal_fence(std::memory_order_seq_cst);
        } else {
            inside_.exchange(true);
        }
        if (users_.load() & cleaning) [[unlikely]]
            waitForCleaning();
        return Entry::owner;
    }
    void leave(Entry how) {
        if (how == Entry::nested) [[unlikely]]
            return;
        if (how == Entry::counted || (users_.load(std::memory_order_relaxed) & closed)) [[unlikely]]
            return leave();
        if (needsCleanup_.load(std::memory_order_relaxed)) [[unlikely]]
            clean(0, true);
        inside_.store(false, std::memory_order_release);
    }

    /// Calls the listeners of an event, those included that subscribe meanwhile. The places of the
    /// slots do not change during a walk; that of the array is asked for only at its end, because
    /// removals are marked in all arrays that a walk may be in.
    template <class Call>
    void walk(int id, Call call) const {
        const auto visit = [&](const qvSubscriptionSlot& slot) {
            if ((slot.id ^ id) & slot.differs) [[unlikely]]
                return;
            qvEventListener* listener = slot.listener.load(std::memory_order_acquire);
            if (listener) [[likely]]
                call(*listener, slot);
        };
        for (std::size_t done = 0, size; done < (size = size_.load(std::memory_order_acquire));
             done = size) {
            const qvSubscriptionSlot* const slots = slots_.load(std::memory_order_acquire);
            const qvSubscriptionSlot* slot = slots + done;
            const qvSubscriptionSlot* const end = slots + size;
            // Calls are so cheap that counting each would be a quarter of the time; more places
            // than this to call from make the processor's guess of the target worse.
            for (; end - slot >= 3; slot += 3) {
                visit(slot[0]);
                visit(slot[1]);
                visit(slot[2]);
            }
            for (; slot != end; ++slot) visit(*slot);
        }
    }

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
    static constexpr std::size_t smallestArray = 4;

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

    struct Array {
        std::unique_ptr<qvSubscriptionSlot[]> slots;
        std::size_t capacity;
    };

    ~qvSubscriptionList();
    bool becomeOwner(const qvRaisingThread& me);
    void waitForCleaning() const;
    void clean(unsigned counted, bool ownerLeaves);
    void freeDiscarded();
    void compact();
    void moveSlots(std::size_t capacity);
    void showToWalks(const qvSubscription& record, qvEventListener* listener);
    qvSubscription* find(const qvEventListener& listener, int id, int tag) const;
    qvSubscriptionLink* findLink(const qvEventListener& listener) const;
    qvSubscription* append(qvEventListener& listener, int id, int tag);
    void activate(qvSubscription& record);
    void remove(qvSubscription& record);
    qvSubscriptionLink* addLink(qvEventListener& listener);
    void dropLink(qvSubscriptionLink& link);
    void takeOut(qvSubscription& record);
    void buildIndex();

    /// Cleaners execute a barrier for the owner.
    static const bool cleanersBarrier_;

    std::atomic<const qvRaisingThread*> owner_ = nullptr;
    std::atomic<bool> inside_ = false;  ///< the owner is, in a raise
    std::atomic<unsigned> users_ = 0;
    std::atomic<bool> needsCleanup_ = false;
    std::atomic<std::size_t> size_ = 0;
    std::atomic<qvSubscriptionSlot*> slots_ = nullptr;

    // For the holder of the lock.
    qvSpinLock lock_;
    std::vector<qvSubscription*> records_;  ///< by place; null for those that were freed
    std::size_t freed_ = 0;                 ///< how many of them are null
    std::vector<Array> arrays_;             ///< the last is in use, walks may be in the others
    qvSubscription* discarded_ = nullptr;
    std::unique_ptr<Index> index_;
};
