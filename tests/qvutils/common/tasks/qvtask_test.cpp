#include "qvutils/common/tasks/qvtask.h"

#include <gmock/gmock.h>

#include <climits>
#include <functional>
#include <memory>
#include <random>
#include <stdexcept>
#include <thread>
#include <vector>

#include "qvutils/common/error/qverror.h"
#include "qvutils/common/platform/threads.h"
#include "qvutils/common/tasks/processorcount.h"
#include "qvutils/common/tasks/qvtaskerr.h"
#include "qvutils/common/tasks/runsignal.h"
#include "qvutils/common/tasks/threadid.h"
#include "tests/support/captured_output.h"
#include "tests/support/fake_clock.h"

namespace {

/// A loop, or a task, made of a function.
class Loop : public qvTask {
public:
    using Body = std::function<void(int first, int last, int step)>;
    explicit Loop(Body body) : qvTask("the loop"), body_(std::move(body)) {}
    void Run(int first, int last, int step) override { body_(first, last, step); }

private:
    Body body_;
};

class Task : public qvTask {
public:
    explicit Task(std::function<void()> body) : qvTask("the task"), body_(std::move(body)) {}
    void Run() override { body_(); }

private:
    std::function<void()> body_;
};

struct Workers {
    explicit Workers(int count) {
        if (count > 0) {
            EXPECT_TRUE(qvTask::StartWorkerThreads(count)) << qverr().chars();
        }
    }
    ~Workers() {
        qvTask::StopWorkerThreads();
        EXPECT_STREQ(qverr().chars_and_reset(), "");
    }
};

void await(const std::function<bool()>& condition) {
    while (!condition()) qvplatform::sleepMicroseconds(100);
}

/// How many threads are inside at the same time, and how many there were at most.
class Gauge {
public:
    template <class Work>
    void inside(Work work) {
        const int now = ++inside_;
        for (int most = most_; most < now && !most_.compare_exchange_weak(most, now);) continue;
        work();
        --inside_;
    }
    int most() const { return most_; }

private:
    std::atomic<int> inside_ = 0;
    std::atomic<int> most_ = 0;
};

TEST(Tasks, every_index_runs_once_whatever_the_range_policy_and_workers) {
    std::mt19937 random(1);
    const auto upTo = [&](int most) { return std::uniform_int_distribution<>(0, most)(random); };
    for (int workers = 0; workers < 5; ++workers) {
        const Workers running(workers);
        qvTask::AdaptiveStride adaptive;
        qvTask::EvenStride even;
        for (int round = 0; round < 1000; ++round) {
            const int first = upTo(200) - 100;
            const int n = upTo(round % 10 ? 60 : 3000);
            const int granularity = upTo(3) ? 1 : upTo(12);
            qvTask::FixedStride fixed(upTo(20));
            qvTask::LoopDiv div(upTo(9));
            qvTask::LoopManager* const policies[] = {nullptr, &adaptive, &even, &fixed, &div};
            std::vector<std::atomic<int>> seen(static_cast<std::size_t>(n) + 1);
            Loop loop([&](int begin, int last, int step) {
                ASSERT_EQ(step, std::max(granularity, 1));
                ASSERT_EQ((begin - first) % step, 0) << "a part begins inside a granule";
                for (int i = begin; i <= last; ++i) ++seen.at(static_cast<std::size_t>(i - first));
            });
            Error error;
            // Again and again, because a loop that was short is divided in another way.
            for (int times = 1; times <= 3; ++times) {
                if (upTo(3)) {
                    EXPECT_TRUE(qvTask::SpawnLoopSync(&loop, first, first + n - 1, granularity,
                                                      error, policies[upTo(4)]));
                } else {
                    EXPECT_TRUE(qvTask::SpawnLoop(&loop, first, first + n - 1, granularity, error));
                    EXPECT_TRUE(qvTask::Sync(error));
                }
                for (int i = 0; i < n; ++i) ASSERT_EQ(seen[static_cast<std::size_t>(i)], times);
                ASSERT_EQ(loop.getProgress(), n);
                ASSERT_EQ(error, 0) << error.chars();
            }
        }
    }
}

TEST(Tasks, a_loop_may_span_all_integers) {
    const Workers workers(2);
    std::atomic<std::int64_t> sum = 0;
    Loop loop([&](int first, int last, int) { sum += std::int64_t{last} - first + 1; });
    EXPECT_TRUE(qvTask::SpawnLoopSync(&loop, INT_MIN, INT_MAX, 1 << 20, qverr()));
    EXPECT_EQ(sum, std::int64_t{1} << 32);
}

TEST(Tasks, each_spawned_task_runs_once) {
    for (const int workers : {0, 1, 3}) {
        const Workers running(workers);
        for (const int count : {1, 31, 32, 33, 5000, 2}) {
            std::atomic<int> ran = 0;
            std::vector<std::unique_ptr<Task>> tasks;
            for (int i = 0; i < count; ++i) {
                tasks.push_back(std::make_unique<Task>([&] { ++ran; }));
                EXPECT_TRUE(qvTask::Spawn(tasks.back().get(), qverr()));
            }
            EXPECT_TRUE(qvTask::Sync());
            EXPECT_EQ(ran, count);
            EXPECT_EQ(tasks[0]->getProgress(), 1);
        }
    }
    EXPECT_FALSE(qvTask::Spawn(nullptr, qverr()));
    EXPECT_STREQ(qverr().chars_and_reset(), "Failed to start task");
    EXPECT_TRUE(qvTask::Sync()) << "nothing was spawned";
}

TEST(Tasks, spawned_tasks_run_before_sync_where_there_are_workers) {
    const Workers workers(1);
    EXPECT_TRUE(qvTask::IsTop());
    std::atomic<int> onWorker = 0;
    Task task([&] { onWorker += qvTask::IsTop() ? 100 : 1; });
    for (int i = 1; i <= 3; ++i) {
        qvTask::Spawn(&task, qverr());
        await([&] { return onWorker == i; });
        qvplatform::sleepMicroseconds(2000);  // long enough for the worker to sleep
    }
    EXPECT_TRUE(qvTask::Sync());
}

TEST(Tasks, base_versions_say_that_they_are_dummies) {
    CapturedOutput output;
    qvTask task("plain");
    qvTask::Spawn(&task, qverr());
    qvTask::SpawnLoop(&task, 1, 3, 1, qverr());
    qvTask::Sync();
    EXPECT_THAT(output.takeNormal(), testing::AllOf(testing::HasSubstr("Called dummy Run()\n"),
                                                    testing::HasSubstr("Called dummy "
                                                                       "Run(int,int,int...)\n")));
}

TEST(TaskErrors, the_first_reaches_sync_with_number_and_text_and_the_others_run_on) {
    for (const int workers : {0, 2}) {
        const Workers running(workers);
        std::atomic<int> ran = 0;
        Loop loop([&](int first, int, int) {
            ++ran;
            if (first % 10 == 3) qverr().setf(504, "at %d", first % 10);
        });
        qvTask::FixedStride one(1);
        Error error;
        EXPECT_FALSE(qvTask::SpawnLoopSync(&loop, 0, 99, 1, error, &one));
        EXPECT_EQ(ran, 100);
        EXPECT_EQ(error, 504);
        EXPECT_STREQ(error.chars(), "at 3");
        EXPECT_EQ(qverr(), 0);

        Task task([] { qverr().set(7, "later"); });
        qvTask::Spawn(&task, error);
        EXPECT_FALSE(qvTask::Sync(error));
        EXPECT_EQ(error, 504) << "what is pending stays";
        qverr().set(8, "mine");
        qvTask::Spawn(&task, error);
        EXPECT_FALSE(qvTask::Sync());
        EXPECT_STREQ(qverr().chars_and_reset(), "mine");
    }
}

TEST(TaskErrors, an_exception_of_any_type_becomes_its_message) {
    struct Odd {};
    Error thrown;
    thrown.set(500, "no such file");
    const struct {
        std::function<void()> body;
        int number;
        const char* message;
    } rows[] = {
        {[] { throw std::runtime_error("out of range"); }, -1, "out of range"},
        {[] { throw qvTaskErr("Bad spin-lock"); }, -1, "Bad spin-lock"},
        {[] { throw std::string("text"); }, -1, "text"},
        {[] { throw "plain"; }, -1, "plain"},
        {[&] { throw thrown; }, 500, "no such file"},
        {[] { throw Odd(); }, -1, "unknown error"},
        {[] { throw 7; }, -1, "unknown error"},
        {[] {
             qverr().set(3, "posted");
             throw 7;
         },
         3, "posted"},
    };
    const Workers workers(2);
    for (const auto& row : rows) {
        Task task(row.body);
        Loop loop([&](int, int, int) { row.body(); });
        Error fromTask, fromLoop;
        qvTask::Spawn(&task, fromTask);
        EXPECT_FALSE(qvTask::Sync(fromTask));
        EXPECT_FALSE(qvTask::SpawnLoopSync(&loop, 0, 99, 1, fromLoop));
        EXPECT_EQ(fromTask, row.number);
        EXPECT_STREQ(fromTask.chars(), row.message);
        EXPECT_STREQ(fromLoop.chars(), row.message);
    }
}

TEST(TaskErrors, a_policy_that_throws_or_answers_nonsense) {
    struct Bad : qvTask::LoopManager {
        std::int64_t answer = 0;
        std::int64_t Stride(std::int64_t, int, int, std::int64_t) override {
            return answer == 99 ? throw std::runtime_error("no idea") : answer;
        }
    } bad;
    Loop loop([](int, int, int) {});
    for (const std::int64_t answer : {INT64_MIN, std::int64_t{0}, INT64_MAX}) {
        bad.answer = answer;
        EXPECT_TRUE(qvTask::SpawnLoopSync(&loop, 1, 10, 3, qverr(), &bad));
        EXPECT_EQ(loop.getProgress(), 10);
    }
    bad.answer = 99;
    EXPECT_FALSE(qvTask::SpawnLoopSync(&loop, 1, 10, 1, qverr(), &bad));
    EXPECT_STREQ(qverr().chars_and_reset(), "no idea");
}

TEST(TaskCancel, stops_within_one_part_on_each_thread) {
    for (const int workers : {0, 2}) {
        const Workers running(workers);
        std::atomic<int> ran = 0;
        Loop* self = nullptr;
        Loop loop([&](int first, int, int) {
            ++ran;
            if (first >= 100) self->Cancel();
        });
        self = &loop;
        qvTask::FixedStride one(1);
        EXPECT_FALSE(qvTask::SpawnLoopSync(&loop, 0, 100'000, 1, qverr(), &one));
        EXPECT_STREQ(qverr().chars_and_reset(), "the loop was cancelled");
        EXPECT_GE(ran, 101);
        EXPECT_LE(ran, 101 + 2 * workers + 1) << "parts that had begun are finished";
        EXPECT_EQ(loop.getProgress(), ran);
        EXPECT_EQ(loop.getProgressEnd(), 100'001);

        EXPECT_TRUE(qvTask::SpawnLoopSync(&loop, 0, 9, 1, qverr())) << "a new run is not cancelled";
    }
}

TEST(TaskCancel, reaches_long_parts_and_what_they_have_spawned) {
    const Workers workers(2);
    std::atomic<bool> deep = false;
    Loop inner([&](int, int, int) {
        deep = true;
        await(&qvTask::CancelRequested);
    });
    Task outer([&] { EXPECT_FALSE(qvTask::SpawnLoopSync(&inner, 0, 9, 1, qverr())); });
    qvTask::Spawn(&outer, qverr());
    std::thread other([&] {
        await([&] { return deep.load(); });
        outer.Cancel();
    });
    EXPECT_FALSE(qvTask::Sync());
    other.join();
    EXPECT_STREQ(qverr().chars_and_reset(), "the task was cancelled");

    // The button that stops a running operation works as well.
    CapturedOutput output;
    const qvRunSignal signal;
    qvTask::Spawn(&outer, qverr());
    await([&] { return inner.getProgressEnd() > 0; });
    qvRunSignal::requestKill();
    EXPECT_FALSE(qvTask::Sync());
    EXPECT_STREQ(qverr().chars_and_reset(), "the task was cancelled");
}

TEST(TaskCancel, an_error_that_made_a_task_cancel_the_rest_is_what_sync_tells) {
    Loop* self = nullptr;
    Loop loop([&](int, int, int) {
        qverr().set(12, "diverged");
        self->Cancel();
    });
    self = &loop;
    EXPECT_FALSE(qvTask::SpawnLoopSync(&loop, 0, 99, 1, qverr()));
    EXPECT_STREQ(qverr().chars_and_reset(), "diverged");
}

TEST(TaskProgress, can_be_watched_from_another_thread) {
    const Workers workers(2);
    std::atomic<int> allowed = 0;
    Loop loop([&](int first, int, int) { await([&] { return first < allowed; }); });
    std::thread watcher([&] {
        await([&] { return loop.getProgressEnd() == 100; });
        for (int step = 10; step <= 100; step += 10) {
            allowed = step;
            await([&] { return loop.getProgress() >= step; });
            EXPECT_EQ(loop.getProgress(), step);
        }
    });
    qvTask::FixedStride one(1);
    EXPECT_TRUE(qvTask::SpawnLoopSync(&loop, 0, 99, 1, qverr(), &one));
    watcher.join();
}

TEST(NestedTasks, work_at_any_depth_with_no_more_threads_than_workers) {
    for (const int workers : {0, 1, 3}) {
        const Workers running(workers);
        Gauge gauge;
        std::atomic<int> leaves = 0;
        const auto nest = [&](const auto& self, int depth) -> void {
            if (depth == 0) {
                return gauge.inside([&] {
                    ++leaves;
                    qvplatform::sleepMicroseconds(100);
                });
            }
            Task task([&] { self(self, depth - 1); });
            Loop loop([&](int first, int last, int) {
                for (int i = first; i <= last; ++i) self(self, depth - 1);
            });
            qvTask::Spawn(&task, qverr());
            qvTask::SpawnLoop(&loop, 1, 2, 1, qverr());
            EXPECT_TRUE(qvTask::SpawnLoopSync(&loop, 1, 2, 1, qverr()));
            EXPECT_TRUE(qvTask::Sync());
        };
        Task top([&] { nest(nest, 4); });
        qvTask::Spawn(&top, qverr());
        EXPECT_TRUE(qvTask::Sync());
        EXPECT_EQ(leaves, 5 * 5 * 5 * 5);
        EXPECT_LE(gauge.most(), std::max(workers, 1));
    }
}

TEST(NestedTasks, a_task_waits_for_what_it_spawned_and_hands_on_its_error) {
    const Workers workers(2);
    std::atomic<bool> done = false;
    Task inner([&] {
        qvplatform::sleepMicroseconds(3000);
        done = true;
        qverr().set(17, "from inside");
    });
    Task outer([&] { qvTask::Spawn(&inner, qverr()); });
    qvTask::Spawn(&outer, qverr());
    EXPECT_FALSE(qvTask::Sync());
    EXPECT_TRUE(done);
    EXPECT_EQ(qverr(), 17);
    qverr().reset();
}

TEST(NestedTasks, get_every_worker_while_the_application_waits) {
    const Workers workers(2);
    std::atomic<bool> begun = false;
    Gauge gauge;
    Loop loop([&](int, int, int) {
        gauge.inside([&] {
            for (int i = 0; i < 500 && gauge.most() < 2; ++i) qvplatform::sleepMicroseconds(2000);
        });
    });
    Task task([&] {
        begun = true;
        qvplatform::sleepMicroseconds(30'000);  // until the application is in Sync
        qvTask::SpawnLoopSync(&loop, 0, 1, 1, qverr());
    });
    qvTask::Spawn(&task, qverr());
    await([&] { return begun.load(); });
    EXPECT_TRUE(qvTask::Sync());
    EXPECT_EQ(gauge.most(), 2);
}

TEST(Workers, several_threads_of_the_application_share_them) {
    const Workers workers(2);
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([t] {
            for (int round = 0; round < 300; ++round) {
                std::atomic<int> count = 0;
                Loop loop([&](int first, int last, int) {
                    count += last - first + 1;
                    if (first == 0) qverr().set(t + 1, "mine");
                });
                Task task([&] { ++count; });
                for (int i = 0; i < 40; ++i) qvTask::Spawn(&task, qverr());
                Error error;
                EXPECT_FALSE(qvTask::SpawnLoopSync(&loop, 0, 99, 1, error));
                EXPECT_EQ(error, t + 1);
                EXPECT_TRUE(qvTask::Sync());
                EXPECT_EQ(count, 140);
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
}

TEST(Workers, tasks_that_block_do_not_hold_up_other_threads) {
    const Workers workers(1);
    std::atomic<bool> begun = false, release = false;
    Task blocked([&] {
        begun = true;
        await([&] { return release.load(); });
    });
    qvTask::Spawn(&blocked, qverr());
    await([&] { return begun.load(); });
    Loop loop([&](int, int, int) { release = true; });
    EXPECT_TRUE(qvTask::SpawnLoopSync(&loop, 0, 3, 1, qverr()));
    EXPECT_TRUE(qvTask::Sync());
}

TEST(Workers, start_and_stop_in_quick_succession_also_under_work) {
    std::atomic<bool> end = false;
    std::thread user([&] {
        while (!end) {
            std::atomic<int> count = 0;
            Loop loop([&](int first, int last, int) { count += last - first + 1; });
            Task task([&] { ++count; });
            for (int i = 0; i < 50; ++i) qvTask::Spawn(&task, qverr());
            EXPECT_TRUE(qvTask::SpawnLoopSync(&loop, 0, 999, 1, qverr()));
            EXPECT_TRUE(qvTask::Sync());
            EXPECT_EQ(count, 1050);
        }
    });
    for (int round = 0; round < 200; ++round) {
        const Workers workers(1 + round % 4);
        EXPECT_FALSE(qvTask::StartWorkerThreads(2)) << "they run already";
        if (round % 3 == 0) qvplatform::sleepMicroseconds(500);
    }
    end = true;
    user.join();
    EXPECT_TRUE(qvTask::StartWorkerThreads());
    EXPECT_EQ(qvTask::getNumWorkerThreads(), qvGetNumLogicalProcessors());
    qvTask::StopWorkerThreads();
    EXPECT_EQ(qvTask::getNumWorkerThreads(), 0);
}

TEST(Workers, those_that_do_not_end_are_counted) {
    std::atomic<int> begun = 0;
    std::atomic<bool> release = false;
    Task task([&] {
        ++begun;
        await([&] { return release.load(); });
    });
    ASSERT_TRUE(qvTask::StartWorkerThreads(3));
    for (int i = 1; i <= 2; ++i) {
        qvTask::Spawn(&task, qverr());
        await([&] { return begun == i; });
    }
    qvTask::StopWorkerThreads(0.05);
    EXPECT_STREQ(qverr().chars_and_reset(),
                 "Help! Failed to stop all threads - 2 threads still running\n");
    EXPECT_FALSE(qvTask::StartWorkerThreads(1)) << "some still run";
    release = true;
    EXPECT_TRUE(qvTask::Sync());
    await([] { return qvTask::StartWorkerThreads(1); });
    qvTask::StopWorkerThreads();
}

TEST(TaskTimers, tell_where_the_time_went) {
    FakeClock clock;
    double running, waiting, idle, elapsed;
    Task task([&] { clock.advance(2'000'000'000); });
    qvTask::ResetTimers();
    for (const bool enabled : {false, true, false}) {
        qvTask::EnableTimers(enabled);
        qvTask::Spawn(&task, qverr());
        qvTask::Sync();
    }
    qvTask::getTimeStats(running, waiting, idle, elapsed);
    EXPECT_EQ(running, 2);
    EXPECT_EQ(waiting + idle, 0);
    EXPECT_EQ(elapsed, 6);
}

}  // namespace
