// Loops and tasks beside oneTBB with the same number of threads, the locks beside the least that
// any lock must do, and the list beside std::vector.
#include <tbb/global_control.h>
#include <tbb/parallel_for.h>
#include <tbb/task_group.h>

#include <atomic>
#include <mutex>
#include <thread>
#include <tuple>
#include <vector>

#include "bench/qvbench.h"
#include "qvutils/common/containers/list.h"
#include "qvutils/common/error/qverror.h"
#include "qvutils/common/tasks/atomiccounter.h"
#include "qvutils/common/tasks/processorcount.h"
#include "qvutils/common/tasks/qvlocks.h"
#include "qvutils/common/tasks/qvtask.h"

namespace {

/// Work that the compiler does for one index after the other.
double spend(int i, int rounds) {
    double x = i;
    benchmark::DoNotOptimize(x);
    for (int k = 0; k < rounds; ++k) x = x * 1.0000001 + 0.5;
    return x;
}

std::vector<double> results(1'000'000);

/// What the loops have to do: an index, of `count`.
struct Tiny {
    static constexpr int count = 1000;
    static void at(int i) { results[static_cast<std::size_t>(i)] = i * 0.5; }
};
struct Small {
    static constexpr int count = 1000;
    static void at(int i) { results[static_cast<std::size_t>(i)] = spend(i, 32); }
};
struct Heavy {
    static constexpr int count = 1000;
    static void at(int i) { results[static_cast<std::size_t>(i)] = spend(i, 5000); }
};
/// Ten times the work at the end of the loop.
struct Uneven {
    static constexpr int count = 10'000;
    static void at(int i) { results[static_cast<std::size_t>(i)] = spend(i, i < 9000 ? 10 : 100); }
};
struct Memory {
    static constexpr int count = 16'000'000;
    static inline std::vector<double> from, to;
    static void at(int i) {
        to[static_cast<std::size_t>(i)] = 2 * from[static_cast<std::size_t>(i)];
    }
};

template <class Body>
struct Loop : qvTask {
    void Run(int first, int last, int) override {
        for (int i = first; i <= last; ++i) Body::at(i);
    }
};

template <class Body>
void loopSerial(benchmark::State& state) {
    Loop<Body> loop;
    for (auto _ : state) loop.Run(0, Body::count - 1, 1);
}

template <class Body, class... Policy>
void loopOurs(benchmark::State& state) {
    Loop<Body> loop;
    std::tuple<Policy...> policy;
    qvTask::LoopManager* manager = nullptr;
    if constexpr (sizeof...(Policy) > 0) manager = &std::get<0>(policy);
    for (auto _ : state) qvTask::SpawnLoopSync(&loop, 0, Body::count - 1, 1, qverr(), manager);
}

template <class Body, class Partitioner>
void loopTbb(benchmark::State& state) {
    for (auto _ : state) {
        const auto part = [](const tbb::blocked_range<int>& range) {
            for (int i = range.begin(); i < range.end(); ++i) Body::at(i);
        };
        tbb::parallel_for(tbb::blocked_range<int>(0, Body::count), part, Partitioner());
    }
}

BENCHMARK(loopSerial<Tiny>)->UseRealTime();
BENCHMARK(loopOurs<Tiny>)->UseRealTime();
BENCHMARK(loopTbb<Tiny, tbb::static_partitioner>)->UseRealTime();
BENCHMARK(loopTbb<Tiny, tbb::auto_partitioner>)->UseRealTime();
BENCHMARK(loopSerial<Small>)->UseRealTime();
BENCHMARK(loopOurs<Small>)->UseRealTime();
BENCHMARK(loopTbb<Small, tbb::static_partitioner>)->UseRealTime();
BENCHMARK(loopOurs<Heavy>)->UseRealTime();
BENCHMARK(loopTbb<Heavy, tbb::static_partitioner>)->UseRealTime();
BENCHMARK(loopOurs<Memory>)->UseRealTime();
BENCHMARK(loopTbb<Memory, tbb::static_partitioner>)->UseRealTime();
BENCHMARK(loopOurs<Uneven, qvTask::AdaptiveStride>)->UseRealTime();
BENCHMARK(loopOurs<Uneven, qvTask::EvenStride>)->UseRealTime();
BENCHMARK(loopTbb<Uneven, tbb::auto_partitioner>)->UseRealTime();

constexpr int spawned = 1000;

struct Count : qvTask {
    long count = 0;
    void Run() override { ++count; }
};

void spawnOurs(benchmark::State& state) {
    std::vector<Count> tasks(spawned);
    for (auto _ : state) {
        for (Count& task : tasks) qvTask::Spawn(&task, qverr());
        qvTask::Sync();
    }
    state.SetItemsProcessed(state.iterations() * spawned);
}
BENCHMARK(spawnOurs)->UseRealTime();

void spawnTbb(benchmark::State& state) {
    std::vector<Count> tasks(spawned);
    for (auto _ : state) {
        tbb::task_group group;
        for (Count& task : tasks) group.run([&task] { task.Run(); });
        group.wait();
    }
    state.SetItemsProcessed(state.iterations() * spawned);
}
BENCHMARK(spawnTbb)->UseRealTime();

void counterOurs(benchmark::State& state) {
    AtomicCounter counter;
    for (auto _ : state) benchmark::DoNotOptimize(counter++);
}
BENCHMARK(counterOurs);

void counterBare(benchmark::State& state) {
    std::atomic<int> counter = 0;
    for (auto _ : state) benchmark::DoNotOptimize(counter.fetch_add(1));
}
BENCHMARK(counterBare);

/// Four threads for each processor that all want the same lock.
template <class Hold, class Lock>
void contended(benchmark::State& state) {
    constexpr int times = 2000;
    const int crowd = 4 * qvGetNumLogicalProcessors();
    Lock lock;
    long count = 0;
    for (auto _ : state) {
        std::vector<std::thread> threads;
        for (int t = 0; t < crowd; ++t) {
            threads.emplace_back([&] {
                for (int i = 0; i < times; ++i) {
                    const Hold hold(lock);
                    benchmark::DoNotOptimize(++count);
                }
            });
        }
        for (std::thread& thread : threads) thread.join();
    }
    state.SetItemsProcessed(state.iterations() * crowd * times);
}
BENCHMARK(contended<qvAutoLock, qvSpinLock>)->UseRealTime();
BENCHMARK(contended<std::lock_guard<std::mutex>, std::mutex>)->UseRealTime();

void lockOurs(benchmark::State& state) {
    qvSpinLock lock;
    qvLockBase& any = lock;
    for (auto _ : state) {
        const qvAutoLock hold(any);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(lockOurs);

void lockSwaps(benchmark::State& state) {
    std::atomic<int> word = 0;
    for (auto _ : state) {
        int free = 0;
        word.compare_exchange_strong(free, 1);
        benchmark::ClobberMemory();
        int taken = 1;
        word.compare_exchange_strong(taken, 0);
    }
}
BENCHMARK(lockSwaps);

constexpr int elements = 100'000;

void eraseOurs(benchmark::State& state) {
    for (auto _ : state) {
        List<void*> list;
        for (int i = 0; i < elements; ++i) list.append(nullptr);
        while (!list.empty()) list.erase(list.size() / 2 + 1);
    }
    state.SetItemsProcessed(state.iterations() * elements);
}
BENCHMARK(eraseOurs);

void eraseVector(benchmark::State& state) {
    for (auto _ : state) {
        std::vector<void*> list;
        for (int i = 0; i < elements; ++i) list.push_back(nullptr);
        while (!list.empty()) list.erase(list.begin() + static_cast<long>(list.size() / 2));
    }
    state.SetItemsProcessed(state.iterations() * elements);
}
BENCHMARK(eraseVector);

}  // namespace

int main(int argc, char** argv) {
    const int threads = qvGetNumLogicalProcessors();
    Memory::from.resize(Memory::count, 1.0);
    Memory::to.resize(Memory::count);
    qvTask::StartWorkerThreads(threads);
    const tbb::global_control limit(tbb::global_control::max_allowed_parallelism,
                                    static_cast<std::size_t>(threads));
    return qvRunBenchmarks(
        argc, argv,
        {{"loop of 1000 with a tiny body", "loopOurs<Tiny>",
          "loopTbb<Tiny, tbb::static_partitioner>", "oneTBB, static", 1.0},
         {"loop of 1000 with a tiny body", "loopOurs<Tiny>", "loopTbb<Tiny, tbb::auto_partitioner>",
          "oneTBB, automatic", 1.0},
         {"loop of 1000 with a tiny body", "loopOurs<Tiny>", "loopSerial<Tiny>", "one thread", 9.0},
         {"loop of 1000 with a small body", "loopOurs<Small>",
          "loopTbb<Small, tbb::static_partitioner>", "oneTBB, static", 1.05},
         {"loop of 1000 with a small body", "loopOurs<Small>", "loopSerial<Small>", "one thread",
          1.0},
         {"loop bound by computing", "loopOurs<Heavy>", "loopTbb<Heavy, tbb::static_partitioner>",
          "oneTBB, static", 1.05},
         {"loop bound by memory", "loopOurs<Memory>", "loopTbb<Memory, tbb::static_partitioner>",
          "oneTBB, static", 1.05},
         {"uneven loop, adaptive stride", "loopOurs<Uneven, qvTask::AdaptiveStride>",
          "loopOurs<Uneven, qvTask::EvenStride>", "even stride", 1.0},
         {"uneven loop, adaptive stride", "loopOurs<Uneven, qvTask::AdaptiveStride>",
          "loopTbb<Uneven, tbb::auto_partitioner>", "oneTBB, automatic", 1.10},
         {"spawned task and its share of Sync", "spawnOurs", "spawnTbb", "oneTBB's task_group",
          2.0},
         {"free spin lock, enter and exit", "lockOurs", "lockSwaps", "two atomic swaps", 2.0},
         {"spin lock wanted by too many", "contended<qvAutoLock, qvSpinLock>",
          "contended<std::lock_guard<std::mutex>, std::mutex>", "std::mutex", 2.0},
         {"step of a counter", "counterOurs", "counterBare", "std::atomic", 1.1},
         {"100,000 list entries erased", "eraseOurs", "eraseVector", "std::vector", 1.0}});
}
