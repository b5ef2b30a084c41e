#include "qvutils/common/tasks/threadwork.h"

#include "qvutils/common/platform/threads.h"

namespace {

/// A thread that ends without a Sync leaves its tasks to the workers, so what they lie in stays.
struct Owner {
    qvThreadWork* work = new qvThreadWork;
    ~Owner() {
        if (!work->outside().hasSpawned()) delete work;
    }
};

}  // namespace

qvThreadWork& qvThreadWork::mine() {
    thread_local qvThreadWork* known = nullptr;
    if (!known) known = qvplatform::perThread<Owner>().work;
    return *known;
}

qvThreadWork::~qvThreadWork() {
    for (qvTaskList* const list : lists_) {
        qvWorkSlot::release(list->slot());
        delete list;
    }
    for (qvWorkSlot* const slot : slots_) qvWorkSlot::release(*slot);
}

qvWorkSlot& qvThreadWork::takeSlot() {
    if (slots_.empty()) return qvWorkSlot::acquire();
    qvWorkSlot* const slot = slots_.back();
    slots_.pop_back();
    return *slot;
}

qvTaskList& qvThreadWork::takeList() {
    if (lists_.empty()) return *new qvTaskList(qvWorkSlot::acquire());
    qvTaskList* const list = lists_.back();
    lists_.pop_back();
    return *list;
}
