#include "qvutils/common/events/subscriptions.h"

#include <algorithm>
#include <utility>

#include "qvutils/common/events/raise.h"
#include "qvutils/common/platform/barrier.h"
#include "qvutils/common/platform/threads.h"

const bool qvSubscriptionList::cleanersBarrier_ = qvplatform::hasProcessBarrier();

void qvSubscriptionList::waitForCleaning() const {
    // Cleaning frees a few records: it never takes long.
    while (users_.load() & cleaning) qvplatform::yieldThread();
}

bool qvSubscriptionList::becomeOwner(const qvRaisingThread& me) {
    const qvRaisingThread* owner = nullptr;
    return owner_.compare_exchange_strong(owner, &me);
}

/// Frees the removed records, unless somebody else uses the list: then the last user will do it.
/// The caller tells how often it is counted and whether it is the owner about to leave.
void qvSubscriptionList::clean(unsigned counted, bool ownerLeaves) {
    const qvAutoLock hold(lock_);
    unsigned onlyMe = counted;
    if (!users_.compare_exchange_strong(onlyMe, onlyMe | cleaning)) return;
    const qvRaisingThread* owner = owner_.load();
    const bool ownerMaySee = !owner || owner == qvRaisingThread::ifAny() ||
                             !cleanersBarrier_ || qvplatform::processBarrier();
    if (ownerMaySee && inside_.load() == ownerLeaves) {
        freeDiscarded();
        needsCleanup_.store(false, std::memory_order_relaxed);
    }
    users_.fetch_and(~cleaning);
}

void qvSubscriptionList::freeDiscarded() {
    while (qvSubscription* record = discarded_) {
        discarded_ = record->nextDiscarded;
        record->discarded = false;
        if (record->link) continue;  // it was revived
        takeOut(*record);
        delete record;
    }
    if (freed_ > records_.size() / 2) compact();
    if (arrays_.size() > 1) arrays_.erase(arrays_.begin(), arrays_.end() - 1);
}

/// Closes the gaps. Done when they are more than half, it costs constant time per removal.
void qvSubscriptionList::compact() {
    std::erase(records_, nullptr);
    freed_ = 0;
    qvSubscriptionSlot* slots = slots_;
    for (std::size_t i = 0; i < records_.size(); ++i) {
        const qvSubscriptionSlot& from = slots[std::exchange(records_[i]->place, i)];
        slots[i].listener = from.listener.load();
        slots[i].id = from.id;
        slots[i].differs = from.differs;
        slots[i].tag = from.tag;
    }
    for (std::size_t i = records_.size(); i < size_; ++i) slots[i].listener = nullptr;
    size_ = records_.size();
    const std::size_t capacity = arrays_.back().capacity;
    if (capacity == smallestArray || size_ > capacity / 4) return;
    records_.shrink_to_fit();
    moveSlots(std::max(size_ * 2, smallestArray));
}

/// Moves the slots to an array of another size.
void qvSubscriptionList::moveSlots(std::size_t capacity) {
    auto array = std::make_unique<qvSubscriptionSlot[]>(capacity);
    const qvSubscriptionSlot* old = slots_;
    for (std::size_t i = 0; i < size_; ++i) {
        array[i].listener.store(old[i].listener, std::memory_order_relaxed);
        array[i].id = old[i].id;
        array[i].differs = old[i].differs;
        array[i].tag = old[i].tag;
    }
    slots_.store(array.get(), std::memory_order_release);
    arrays_.push_back({std::move(array), capacity});
    needsCleanup_.store(true, std::memory_order_relaxed);
}

void qvSubscriptionList::showToWalks(const qvSubscription& record, qvEventListener* listener) {
    for (const Array& array : arrays_)
        if (record.place < array.capacity)
            array.slots[record.place].listener.store(listener, std::memory_order_release);
}

qvSubscriptionList::~qvSubscriptionList() {
    for (const qvSubscription* record : records_) delete record;
}

void qvSubscriptionList::subscribe(qvEventListener& listener, int id, int tag) {
    const qvAutoLock hold(lock_);
    qvSubscription* record = find(listener, id, tag);
    if (record && record->link) return;
    if (!record) record = append(listener, id, tag);
    activate(*record);
}

void qvSubscriptionList::unsubscribe(qvEventListener& listener, const int* id) {
    const qvAutoLock hold(lock_);
    qvSubscriptionLink* link = findLink(listener);
    if (!link) return;
    if (id && index_) {
        const auto found = index_->byTag.find(Key{&listener, *id});
        if (found == index_->byTag.end()) return;
        for (const auto& [tag, record] : found->second)
            if (record->link) remove(*record);
    } else {
        for (qvSubscription *record = link->first, *next; record; record = next) {
            next = record->nextOfListener;
            if (!id || record->id == *id) remove(*record);
        }
    }
    if (!link->first) dropLink(*link);
}

bool qvSubscriptionList::hasSubscriptions() {
    const qvAutoLock hold(lock_);
    for (const qvSubscription* record : records_)
        if (record && record->link) return true;
    return false;
}

void qvSubscriptionList::close() {
    const qvAutoLock hold(lock_);
    for (qvSubscription* record : records_) {
        qvSubscriptionLink* link = record ? record->link : nullptr;
        if (!link) continue;
        remove(*record);
        if (!link->first) dropLink(*link);
    }
    users_.fetch_add(inside_.load() ? closed + 1 : closed);
}

qvSubscription* qvSubscriptionList::find(const qvEventListener& listener, int id, int tag) const {
    if (index_) {
        const auto tags = index_->byTag.find(Key{&listener, id});
        if (tags == index_->byTag.end()) return nullptr;
        const auto found = tags->second.find(tag);
        return found == tags->second.end() ? nullptr : found->second;
    }
    for (qvSubscription* record : records_)
        if (record && &record->listener == &listener && record->id == id && record->tag == tag)
            return record;
    return nullptr;
}

qvSubscriptionLink* qvSubscriptionList::findLink(const qvEventListener& listener) const {
    if (index_) {
        const auto found = index_->links.find(&listener);
        return found == index_->links.end() ? nullptr : found->second;
    }
    for (const qvSubscription* record : records_)
        if (record && record->link && &record->listener == &listener) return record->link;
    return nullptr;
}

/// The new record is removed, so that no walk meets it before it is complete.
qvSubscription* qvSubscriptionList::append(qvEventListener& listener, int id, int tag) {
    auto* record = new qvSubscription(listener, id, tag);
    record->place = records_.size();
    const std::size_t capacity = arrays_.empty() ? 0 : arrays_.back().capacity;
    if (record->place == capacity) moveSlots(std::max(capacity * 2, smallestArray));
    qvSubscriptionSlot& slot = slots_.load()[record->place];
    slot.id = id;
    slot.differs = id ? ~0 : 0;
    slot.tag = tag;
    records_.push_back(record);
    size_.store(records_.size(), std::memory_order_release);
    if (index_)
        index_->byTag[Key{&listener, id}].emplace(tag, record);
    else if (records_.size() > longList)
        buildIndex();
    return record;
}

void qvSubscriptionList::buildIndex() {
    index_ = std::make_unique<Index>();
    for (qvSubscription* record : records_) {
        if (!record) continue;
        index_->byTag[Key{&record->listener, record->id}].emplace(record->tag, record);
        if (record->link) index_->links.emplace(&record->listener, record->link);
    }
}

/// Enters the record among its listener's, and only then lets the walks see it.
void qvSubscriptionList::activate(qvSubscription& record) {
    qvSubscriptionLink* link = findLink(record.listener);
    if (!link) link = addLink(record.listener);
    record.link = link;
    record.prevOfListener = nullptr;
    record.nextOfListener = link->first;
    if (link->first) link->first->prevOfListener = &record;
    link->first = &record;
    showToWalks(record, &record.listener);
}

void qvSubscriptionList::remove(qvSubscription& record) {
    showToWalks(record, nullptr);
    qvSubscription *next = record.nextOfListener, *prev = record.prevOfListener;
    (prev ? prev->nextOfListener : record.link->first) = next;
    if (next) next->prevOfListener = prev;
    record.link = nullptr;
    if (record.discarded) return;
    record.discarded = true;
    record.nextDiscarded = discarded_;
    discarded_ = &record;
    needsCleanup_.store(true, std::memory_order_relaxed);
}

/// Takes a record out of the list for good.
void qvSubscriptionList::takeOut(qvSubscription& record) {
    records_[record.place] = nullptr;
    ++freed_;
    if (!index_) return;
    const auto tags = index_->byTag.find(Key{&record.listener, record.id});
    tags->second.erase(record.tag);
    if (tags->second.empty()) index_->byTag.erase(tags);
}

qvSubscriptionLink* qvSubscriptionList::addLink(qvEventListener& listener) {
    auto* link = new qvSubscriptionLink{*this, listener};
    if (index_) index_->links.emplace(&listener, link);
    const qvAutoLock hold(listener.lock_);
    link->next = listener.links_;
    if (link->next) link->next->prev = link;
    listener.links_ = link;
    return link;
}

/// The listener has no subscription left here.
void qvSubscriptionList::dropLink(qvSubscriptionLink& link) {
    if (index_) index_->links.erase(&link.listener);
    {
        const qvAutoLock hold(link.listener.lock_);
        (link.prev ? link.prev->next : link.listener.links_) = link.next;
        if (link.next) link.next->prev = link.prev;
    }
    delete &link;
}
