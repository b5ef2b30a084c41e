// What a library with the task service leaves behind in threads that have used it.
#include <gtest/gtest.h>
#include <windows.h>

#include <atomic>
#include <thread>

namespace {

TEST(TasksOnWindows, a_thread_may_end_after_the_library_that_it_used_is_gone) {
    const HMODULE library = LoadLibraryA(QV_TASKS_PLUGIN);
    ASSERT_TRUE(library);
    const auto run = reinterpret_cast<int (*)()>(
        reinterpret_cast<void*>(GetProcAddress(library, "runALoopAlone")));
    ASSERT_TRUE(run);
    std::atomic<int> sum = 0;
    std::atomic<bool> end = false;
    std::thread user([&] {
        sum = run();
        sum.notify_all();
        end.wait(false);
    });
    sum.wait(0);
    EXPECT_EQ(sum, 1000);
    FreeLibrary(library);
    EXPECT_EQ(GetModuleHandleA(QV_TASKS_PLUGIN), nullptr);
    end = true;
    end.notify_all();
    user.join();
}

}  // namespace
