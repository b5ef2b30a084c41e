#include "qvutils/common/tasks/tasklist.h"

#include <algorithm>
#include <new>
#include <utility>

#include "qvutils/common/tasks/qvtaskerr.h"
#include "qvutils/common/tasks/tasktimers.h"
#include "qvutils/common/tasks/workers.h"

qvTaskList::~qvTaskList() {
    while (first_) delete std::exchange(first_, first_->next);
}

void qvTaskList::open(const qvTaskRun& spawner) {
    spawner_ = &spawner;
    outcome_.reset();
    ended_.store(0, std::memory_order_relaxed);
    last_ = nullptr;
    reached_.store(first_, std::memory_order_relaxed);
    slot_.fill(0);
    slot_.offer(*this);
}

void qvTaskList::pushBack(qvTask& task) {
    const std::int64_t index = slot_.offered();
    if (index % chunkSize == 0) last_ = addChunk();
    last_->tasks[index % chunkSize] = &task;
    slot_.offerOneMore(index);  // releases the task to those who take it
}

/// The chunk after the last, from before if there is one.
qvTaskList::Chunk* qvTaskList::addChunk() {
    Chunk*& link = last_ ? last_->next : first_;
    if (!link) {
        link = new (std::nothrow) Chunk;
        if (!link) throw qvTaskErr("TaskList::PushBack failure 8\n");
        link->base = last_ ? last_->base + chunkSize : 0;
        if (!last_) reached_.store(link, std::memory_order_relaxed);
    }
    return link;
}

/// A share of what is there at a time keeps threads out of each other's way where tasks are short,
/// and still leaves the last ones, which may be long, to whoever is free.
void qvTaskList::help(qvHelper who) {
    constexpr std::int64_t most = 8;
    const qvWorkers& workers = qvWorkers::instance();
    const std::int64_t sharers = std::max(workers.count(), 1);
    // Read before taking: what is taken then lies in this chunk or after it.
    Chunk* chunk = reached_.load(std::memory_order_acquire);
    while (who == qvHelper::spawner || !workers.isStopping()) {
        std::int64_t begin = 0;
        const std::int64_t end = slot_.takeGrowing(sharers, most, begin);
        if (begin >= end) return;
        if (!chunk) chunk = first_;
        for (std::int64_t i = begin; i < end; ++i) {
            if (i >= chunk->base + chunkSize) {
                while (i >= chunk->base + chunkSize) chunk = chunk->next;
                reached_.store(chunk, std::memory_order_release);
            }
            run(*chunk->tasks[i - chunk->base]);
        }
        ended_.fetch_add(end - begin, std::memory_order_relaxed);
    }
}

void qvTaskList::run(qvTask& task) {
    qvTaskRun run(task, *spawner_);
    if (!run.isCancelled()) {
        run.protect(outcome_, [&] { task.Run(); });
        qvTaskRun::advance(task, 1);
    }
    // Asked again, as the task may have seen a request and returned early.
    if (run.isCancelled()) outcome_.cancel(task);
    if (!qvTaskRun::end(task)) run.protect(outcome_, [] { throw qvTaskErr("qvtask error 4"); });
}

bool qvTaskList::close(Error& error) {
    const qvTimeSpan span(&qvTaskTimers::waiting);
    const bool waited = slot_.withdraw();
    const bool complete = pending() == 0;
    const bool fine = outcome_.report(error, spawner_->isOutsideTasks());
    trim();
    if (!waited) throw qvTaskErr("qvTask::Sync failed");
    if (!complete) throw qvTaskErr("qvtask error 1");
    return fine;
}

/// Keeps room for a thousand tasks.
void qvTaskList::trim() {
    constexpr std::int64_t kept = 1024;
    if (slot_.offered() <= kept) return;
    Chunk* chunk = first_;
    while (chunk->base + chunkSize < kept) chunk = chunk->next;
    Chunk* surplus = std::exchange(chunk->next, nullptr);
    while (surplus) delete std::exchange(surplus, surplus->next);
}
