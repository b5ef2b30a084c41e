// What the workers leave behind, seen from the system.
#include <dirent.h>
#include <dlfcn.h>
#include <gmock/gmock.h>
#include <sys/resource.h>

#include <cstdlib>
#include <ctime>

#include "qvutils/common/error/qverror.h"
#include "qvutils/common/platform/threads.h"
#include "qvutils/common/tasks/qvtask.h"

namespace {

/// The system strikes a thread off its list a moment after the thread has ended.
int threadsOfProcess() {
    qvplatform::sleepMicroseconds(20'000);
    int count = 0;
    DIR* const folder = opendir("/proc/self/task");
    while (const dirent* const entry = readdir(folder)) count += entry->d_name[0] != '.';
    closedir(folder);
    return count;
}

void expect(bool condition, int line) {
    if (condition) return;
    std::fprintf(stderr, "failed in line %d: %s\n", line, qverr().chars());
    std::_Exit(2);
}

class WorkersDeath : public testing::Test {
protected:
    void SetUp() override { testing::GTEST_FLAG(death_test_style) = "threadsafe"; }
};

TEST(WorkersOnLinux, none_is_left_after_stop_and_none_takes_the_processor_when_idle) {
    const int before = threadsOfProcess();
    for (int round = 0; round < 100; ++round) {
        ASSERT_TRUE(qvTask::StartWorkerThreads(4));
        qvTask::StopWorkerThreads();
    }
    EXPECT_EQ(threadsOfProcess(), before);

    ASSERT_TRUE(qvTask::StartWorkerThreads(4));
    qvplatform::sleepMicroseconds(50'000);
    const std::clock_t start = std::clock();
    qvplatform::sleepMicroseconds(300'000);
    EXPECT_LT(double(std::clock() - start) / CLOCKS_PER_SEC, 0.003);
    qvTask::StopWorkerThreads();
}

TEST_F(WorkersDeath, the_program_ends_with_workers_idle_or_from_a_task) {
    EXPECT_EXIT(
        {
            expect(qvTask::StartWorkerThreads(3), __LINE__);
            std::exit(5);
        },
        testing::ExitedWithCode(5), "");
    EXPECT_EXIT(
        {
            struct Ender : qvTask {
                void Run() override { std::exit(6); }
            } ender;
            expect(qvTask::StartWorkerThreads(3), __LINE__);
            qvTask::Spawn(&ender, qverr());
            qvplatform::sleepMicroseconds(20'000'000);
        },
        testing::ExitedWithCode(6), "");
}

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
// The sanitizers need more room, and miss what the main thread kept in a library that is gone.

TEST_F(WorkersDeath, a_library_may_be_unloaded_while_workers_idle) {
    EXPECT_EXIT(
        {
            for (int round = 0; round < 5; ++round) {
                void* const library = dlopen(QV_TASKS_PLUGIN, RTLD_NOW | RTLD_LOCAL);
                expect(library != nullptr, __LINE__);
                const auto run = reinterpret_cast<int (*)()>(dlsym(library, "runALoop"));
                expect(run && run() == 1000, __LINE__);
                const int before = threadsOfProcess();
                dlclose(library);
                expect(threadsOfProcess() == before - 3, __LINE__);
            }
            std::exit(0);
        },
        testing::ExitedWithCode(0), "");
}

TEST_F(WorkersDeath, those_that_cannot_be_started_are_counted) {
    EXPECT_EXIT(
        {
            rlimit tight{};
            tight.rlim_cur = tight.rlim_max = 1 << 28;  // room for few stacks
            setrlimit(RLIMIT_AS, &tight);
            expect(qvTask::StartWorkerThreads(1000), __LINE__);
            const int started = qvTask::getNumWorkerThreads();
            expect(started > 0 && started < 1000, __LINE__);
            std::fprintf(stderr, "%d + %s", started, qverr().chars());
            qvTask::StopWorkerThreads();
            std::exit(0);
        },
        testing::ExitedWithCode(0),
        "[0-9]+ . Help! Failed to start [0-9]+ threads - gave up waiting");
}
#endif

}  // namespace
