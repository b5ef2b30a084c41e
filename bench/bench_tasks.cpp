// The spin lock beside the least that any lock must do, and the list beside std::vector.
#include <atomic>
#include <vector>

#include "bench/qvbench.h"
#include "qvutils/common/containers/list.h"
#include "qvutils/common/tasks/qvlocks.h"

namespace {

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
    return qvRunBenchmarks(
        argc, argv,
        {{"free spin lock, enter and exit", "lockOurs", "lockSwaps", "two atomic swaps", 2.0},
         {"100,000 list entries erased", "eraseOurs", "eraseVector", "std::vector", 1.0}});
}
