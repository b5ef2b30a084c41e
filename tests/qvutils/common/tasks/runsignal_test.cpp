#include "qvutils/common/tasks/runsignal.h"

#include <gtest/gtest.h>

#include "tests/support/captured_output.h"

namespace {

int changes = 0;

TEST(RunSignal, nests_and_tells_its_first_begin_and_last_end) {
    changes = 0;
    qvRunSignal::setHook([](bool running) { changes += running ? 1 : 10; });
    {
        const qvRunSignal outer;
        { const qvRunSignal inner; }
        EXPECT_TRUE(qvRunSignal::isRunning());
        EXPECT_EQ(changes, 1);
    }
    EXPECT_FALSE(qvRunSignal::isRunning());
    EXPECT_EQ(changes, 11);
    qvRunSignal::setHook(nullptr);
}

TEST(RunSignal, a_kill_request_holds_for_the_running_operation_only) {
    CapturedOutput output;
    qvRunSignal::requestKill();
    EXPECT_EQ(output.takeNormal(), "Kill pressed\n");
    EXPECT_FALSE(qvRunSignal::killRequested()) << "nothing was running";
    {
        const qvRunSignal first;
        EXPECT_FALSE(qvRunSignal::killRequested());
        qvRunSignal::requestKill();
        const qvRunSignal nested;
        EXPECT_TRUE(qvRunSignal::killRequested());
    }
    const qvRunSignal second;
    EXPECT_FALSE(qvRunSignal::killRequested());
}

}  // namespace
