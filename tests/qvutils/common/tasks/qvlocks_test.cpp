#include "qvutils/common/tasks/qvlocks.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <thread>
#include <vector>

#include "qvutils/common/tasks/atomiccounter.h"
#include "qvutils/common/tasks/qvtaskerr.h"
#include "qvutils/common/tasks/threadid.h"
#include "qvutils/common/tasks/threadnumbers.h"

namespace {

template <class Work>
void onThreads(int count, Work work) {
    std::vector<std::thread> threads;
    for (int i = 0; i < count; ++i) threads.emplace_back(work);
    for (std::thread& thread : threads) thread.join();
}

bool othersCanTake(qvSpinLock& lock) {
    bool taken = false;
    onThreads(1, [&] {
        taken = lock.TryEnter();
        if (taken) lock.Exit();
    });
    return taken;
}

template <class Lock>
class Exclusion : public testing::Test {};

using Locks = testing::Types<qvSpinLock, qvCritSection>;
TYPED_TEST_SUITE(Exclusion, Locks);

TYPED_TEST(Exclusion, one_thread_at_a_time) {
    TypeParam lock("counter");
    long count = 0;
    onThreads(4, [&] {
        for (int i = 0; i < 20'000; ++i) {
            const qvAutoLock hold(lock);
            const qvAutoLock again(lock, "nested");
            ++count;
        }
    });
    EXPECT_EQ(count, 80'000);
}

TEST(SpinLock, is_free_after_as_many_exits_as_entries) {
    qvSpinLock lock;
    lock.Enter();
    EXPECT_TRUE(lock.TryEnter());
    lock.Exit();
    const long before = qvSpinLockI::contentions();
    EXPECT_FALSE(othersCanTake(lock));
    EXPECT_EQ(qvSpinLockI::contentions(), before + 1);
    lock.Exit();
    EXPECT_TRUE(othersCanTake(lock));
}

TEST(SpinLock, exit_without_hold_is_an_error_and_changes_nothing) {
    qvSpinLock lock;
    EXPECT_THROW(lock.Exit(), qvTaskErr);
    lock.Enter();
    onThreads(1, [&] { EXPECT_THROW(lock.Exit(), qvTaskErr); });
    EXPECT_FALSE(othersCanTake(lock));
    lock.Exit();
    try {
        lock.Exit();
    } catch (const qvTaskErr& error) {
        EXPECT_STREQ(error.chars(), "Bad spin-lock");
    }
}

TEST(SpinLock, a_word_outside_tells_owner_and_depth) {
    int word = 0;
    qvSpinLockI lock(word);
    lock.Enter();
    lock.Enter();
    EXPECT_EQ(word, (qvTaskThreadId() + 1) << 16 | 2);
    for (int i = 2; i < 65535; ++i) lock.Enter();
    EXPECT_THROW(lock.Enter(), qvTaskErr) << "the depth has no room left";
    for (int i = 0; i < 65535; ++i) lock.Exit();
    EXPECT_EQ(word, 0);
}

TEST(TestLock, lets_its_owner_in_again) {
    qvTestLock lock("registry");
    const qvAutoLock hold(lock, "first");
    const qvAutoLock again(lock);
}

TEST(TestLockDeath, collisions_and_wrong_exits_are_fatal) {
    testing::GTEST_FLAG(death_test_style) = "threadsafe";
    qvTestLock lock("registry");
    EXPECT_EXIT(
        {
            lock.Enter("saving");
            onThreads(1, [&] { lock.Enter("loading"); });
        },
        testing::ExitedWithCode(1),
        testing::AllOf(testing::HasSubstr("Fatal thread collision 1 in registry; LockingThreadId="),
                       testing::HasSubstr("lockMsg=saving myMsg=loading")));
    EXPECT_EXIT(lock.Exit(), testing::ExitedWithCode(1),
                testing::HasSubstr("Fatal thread collision 2 in registry"));
    EXPECT_EXIT(
        {
            lock.Enter();
            lock.Exit();
            lock.Exit();
        },
        testing::ExitedWithCode(1), testing::HasSubstr("Bad spin-lock in registry"));
}

TEST(ThreadNumbers, differ_while_threads_live_and_are_used_again) {
    const int mine = qvTaskThreadId();
    EXPECT_EQ(qvTaskThreadId(), mine);
    int other = -1;
    int third = -1;
    onThreads(1, [&] {
        other = qvTaskThreadId();
        onThreads(1, [&] { third = qvTaskThreadId(); });
    });
    EXPECT_NE(other, mine);
    EXPECT_NE(third, mine);
    EXPECT_NE(third, other);
    for (int i = 0; i < 100; ++i) {
        onThreads(1, [&] { EXPECT_LE(qvTaskThreadId(), std::max(other, third)); });
    }
}

TEST(ThreadNumbersDeath, a_thread_too_many_is_fatal) {
    testing::GTEST_FLAG(death_test_style) = "threadsafe";
    EXPECT_EXIT(
        {
            int taken = 0;
            while (qvThreadNumbers::take() >= 0) ++taken;
            if (taken != qvMaxThreads) std::_Exit(7);
            qvThreadNumbers::giveBack(40'000);
            std::thread([] {
                if (qvTaskThreadId() != 40'000) std::_Exit(8);
                std::thread([] { qvTaskThreadId(); }).join();
            }).join();
        },
        testing::ExitedWithCode(1),
        testing::HasSubstr("Too many threads: more than 65534 are running at the same time"));
}

TEST(AtomicCounter, steps_return_the_new_value_and_none_is_lost) {
    AtomicCounter counter = 5;
    EXPECT_EQ(counter++, 6);
    EXPECT_EQ(counter--, 5);
    counter = 0;
    onThreads(4, [&] {
        for (int i = 0; i < 10'000; ++i) counter++;
    });
    EXPECT_EQ(counter, 40'000);
}

}  // namespace
