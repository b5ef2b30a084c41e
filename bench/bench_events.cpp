// RaiseEvent beside the signals of Boost and of libsigc++.
#include <sigc++/sigc++.h>

#include <boost/signals2.hpp>
#include <memory>
#include <vector>

#include "bench/qvbench.h"
#include "qvutils/common/events/qvevent.h"

namespace {

struct Counter {
    long count = 0;
    void onEvent(int tag) { count += tag; }
};

struct Listener : qvEventListener {
    Counter counter;
    void OnEvent(qvEvent&, int tag) override { counter.onEvent(tag); }
};

void raiseOurs(benchmark::State& state) {
    qvEventSource source;
    std::vector<std::unique_ptr<Listener>> listeners;
    for (int i = 0; i < state.range(0); ++i) {
        listeners.push_back(std::make_unique<Listener>());
        listeners.back()->ListenTo(source, 7, 1);
    }
    for (auto _ : state) source.RaiseEvent(7);
    benchmark::DoNotOptimize(listeners.front()->counter.count);
}
BENCHMARK(raiseOurs)->Arg(1)->Arg(10)->Arg(100);

using Signal = boost::signals2::signal<void(int)>;

void raiseBoost(benchmark::State& state) {
    Signal signal;
    std::vector<std::unique_ptr<Counter>> counters;
    for (int i = 0; i < state.range(0); ++i) {
        counters.push_back(std::make_unique<Counter>());
        signal.connect([counter = counters.back().get()](int tag) { counter->onEvent(tag); });
    }
    for (auto _ : state) signal(1);
    benchmark::DoNotOptimize(counters.front()->count);
}
BENCHMARK(raiseBoost)->Arg(1)->Arg(10)->Arg(100);

/// Slots that also keep their listener alive while another thread destroys it.
void raiseBoostTracked(benchmark::State& state) {
    Signal signal;
    std::vector<std::shared_ptr<Counter>> counters;
    for (int i = 0; i < state.range(0); ++i) {
        counters.push_back(std::make_shared<Counter>());
        Counter* counter = counters.back().get();
        signal.connect(Signal::slot_type([counter](int tag) {
                           counter->onEvent(tag);
                       }).track_foreign(counters.back()));
    }
    for (auto _ : state) signal(1);
    benchmark::DoNotOptimize(counters.front()->count);
}
BENCHMARK(raiseBoostTracked)->Arg(100);

struct TrackedCounter : Counter, sigc::trackable {};

void raiseSigc(benchmark::State& state) {
    sigc::signal<void, int> signal;
    std::vector<std::unique_ptr<TrackedCounter>> counters;
    for (int i = 0; i < state.range(0); ++i) {
        counters.push_back(std::make_unique<TrackedCounter>());
        signal.connect(sigc::mem_fun(*counters.back(), &TrackedCounter::onEvent));
    }
    for (auto _ : state) signal.emit(1);
    benchmark::DoNotOptimize(counters.front()->count);
}
BENCHMARK(raiseSigc)->Arg(1)->Arg(10)->Arg(100);

/// Subscribes and unsubscribes one listener of a source that has many others.
void subscribe(benchmark::State& state) {
    qvEventSource source;
    std::vector<std::unique_ptr<Listener>> listeners;
    for (int i = 0; i < state.range(0); ++i) {
        listeners.push_back(std::make_unique<Listener>());
        listeners.back()->ListenTo(source, i, i);
    }
    std::size_t i = 0;
    for (auto _ : state) {
        Listener& listener = *listeners[i++ % listeners.size()];
        listener.RemoveSource(source);
        listener.ListenTo(source, 3, 4);
    }
}
BENCHMARK(subscribe)->Arg(100)->Arg(10000);

}  // namespace

int main(int argc, char** argv) {
    return qvRunBenchmarks(
        argc, argv,
        {{"raise to 1 listener", "raiseOurs/1", "raiseBoost/1", "Boost.Signals2", 1.0 / 4},
         {"raise to 10 listeners", "raiseOurs/10", "raiseBoost/10", "Boost.Signals2", 1.0 / 6},
         {"raise to 100 listeners", "raiseOurs/100", "raiseBoost/100", "Boost.Signals2", 1.0 / 8},
         {"raise to 100 listeners", "raiseOurs/100", "raiseBoostTracked/100",
          "Boost.Signals2, tracked slots", 1},
         {"raise to 1 listener", "raiseOurs/1", "raiseSigc/1", "libsigc++", 1},
         {"raise to 10 listeners", "raiseOurs/10", "raiseSigc/10", "libsigc++", 1},
         {"raise to 100 listeners", "raiseOurs/100", "raiseSigc/100", "libsigc++", 1},
         {"subscribe among 10000 listeners", "subscribe/10000", "subscribe/100",
          "among 100 listeners", 2}});
}
