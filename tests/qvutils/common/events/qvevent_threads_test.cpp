#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <thread>
#include <vector>

#include "qvutils/common/events/qvevent.h"

namespace {

struct CountingListener : qvEventListener {
    std::atomic<int> calls = 0;
    void OnEvent(qvEvent&, int) override { ++calls; }
};

template <class Work>
void inThreads(int count, Work work) {
    std::vector<std::thread> threads;
    for (int i = 0; i < count; ++i) threads.emplace_back(work, i);
    for (std::thread& thread : threads) thread.join();
}

void raiseWhileOthersSubscribe(int raisers) {
    constexpr int rounds = 2000, raises = 20;
    qvEventSource source;
    CountingListener steady;
    steady.ListenTo(source, 1);
    std::vector<std::unique_ptr<CountingListener>> changing;
    for (int i = 0; i < 12; ++i) changing.push_back(std::make_unique<CountingListener>());
    inThreads(raisers + 2, [&](int thread) {
        for (int i = 0; i < rounds; ++i) {
            if (thread >= 2) {
                for (int again = 0; again < raises; ++again) source.RaiseEvent(1);
                continue;
            }
            // Each listener is used by one thread: six of them make the list a short, all a long
            // one.
            CountingListener& mine = *changing[static_cast<std::size_t>(thread * 6 + i % 6)];
            mine.ListenTo(source, 1, i % 3);
            // Now and then the list grows and shrinks much: raises must not meet that.
            for (int tag = 3; i % 16 == 0 && tag < 30; ++tag) mine.ListenTo(source, 1, tag);
            if (i % 4 == 0) mine.RemoveSource(source, 1);
            if (i % 7 == 0) mine.RemoveAllSources();
        }
    });
    EXPECT_EQ(steady.calls, raisers * rounds * raises);
    EXPECT_EQ(qvEventSource::RaiseDepth(), 0);
}

/// With one raising thread the records of the others are freed between its walks all the time.
TEST(EventThreads, raising_and_subscribing_go_on_side_by_side) {
    raiseWhileOthersSubscribe(1);
    raiseWhileOthersSubscribe(2);
}

TEST(EventThreads, sources_and_listeners_may_die_at_the_same_time) {
    for (int round = 0; round < 200; ++round) {
        auto listener = std::make_unique<CountingListener>();
        auto first = std::make_unique<qvEventSource>(), second = std::make_unique<qvEventSource>();
        for (int tag = 0; tag < 12; ++tag) {
            listener->ListenTo(*first, 1, tag);
            listener->ListenTo(*second, 1, tag);
        }
        inThreads(3, [&](int thread) {
            if (thread == 0) first.reset();
            if (thread == 1) listener.reset();
            if (thread == 2) second.reset();
        });
    }
}

}  // namespace
