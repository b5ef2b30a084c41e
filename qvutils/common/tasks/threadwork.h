#pragma once
#include <memory>
#include <vector>

#include "qvutils/common/tasks/tasklist.h"
#include "qvutils/common/tasks/taskrun.h"
#include "qvutils/common/tasks/workslot.h"

/// What a thread keeps for spawning: the run outside all tasks, and slots and lists that are not in
/// use at the moment. Not for use outside this room.
class qvThreadWork {
public:
    static qvThreadWork& mine();
    ~qvThreadWork();

    qvWorkSlot& takeSlot();
    void giveSlot(qvWorkSlot& slot) { slots_.push_back(&slot); }
    qvTaskList& takeList();
    void giveList(qvTaskList& list) { lists_.push_back(&list); }

    qvTaskRun& outside() { return outside_; }

private:
    qvTaskRun outside_;
    std::vector<qvWorkSlot*> slots_;
    std::vector<qvTaskList*> lists_;
};
