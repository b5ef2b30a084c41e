#pragma once
#include <atomic>
#include <cstdint>

#include "qvutils/common/tasks/taskrun.h"
#include "qvutils/common/tasks/workslot.h"

/// The tasks that one Run has spawned, first come, first served. They lie in chunks of 32, chained
/// and used again after each Sync. Not for use outside this room.
class qvTaskList final : public qvWork {
public:
    explicit qvTaskList(qvWorkSlot& slot) : slot_(slot) {}
    ~qvTaskList();
    qvTaskList(const qvTaskList&) = delete;
    qvTaskList& operator=(const qvTaskList&) = delete;
    qvWorkSlot& slot() { return slot_; }

    // By the spawner, with no other thread in the slot until `open`.
    void open(const qvTaskRun& spawner);
    /// Throws qvTaskErr when there is no memory.
    void pushBack(qvTask& task);
    /// Waits for the last tasks, which other threads run, and empties the list. True when all is
    /// well; see qvTaskOutcome::report. Throws qvTaskErr when the count does not come out.
    bool close(Error& error);
    std::int64_t pending() const { return slot_.offered() - ended_.load(); }

    void help(qvHelper who) override;

private:
    static constexpr int chunkSize = 32;
    struct Chunk {
        qvTask* tasks[chunkSize];
        std::int64_t base;
        Chunk* next = nullptr;
    };
    Chunk* addChunk();
    void trim();
    void run(qvTask& task);

    qvWorkSlot& slot_;
    const qvTaskRun* spawner_ = nullptr;
    qvTaskOutcome outcome_;
    Chunk* first_ = nullptr;
    Chunk* last_ = nullptr;
    /// A chunk that no task before has yet to be taken from.
    std::atomic<Chunk*> reached_ = nullptr;
    std::atomic<std::int64_t> ended_ = 0;
};
