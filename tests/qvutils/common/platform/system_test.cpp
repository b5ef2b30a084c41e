#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <thread>

#include "qvutils/common/platform/clock.h"
#include "qvutils/common/platform/files.h"
#include "qvutils/common/platform/format.h"
#include "qvutils/common/platform/process.h"
#include "qvutils/common/platform/processors.h"
#include "qvutils/common/platform/threads.h"
#include "tests/support/comma_locale.h"
#include "tests/support/fake_clock.h"
#include "tests/support/temp_directory.h"

using qvplatform::formatText;

namespace {

TEST(Format, numbers_are_the_same_under_a_decimal_comma) {
    const CommaLocale comma;
    if (!comma.active()) GTEST_SKIP() << "no such locale on this machine";
    char text[32];
    std::snprintf(text, sizeof text, "%g", 0.5);
    ASSERT_STREQ(text, "0,5");

    EXPECT_EQ(formatText("%g %.2f %d", 0.5, 1234.5, 7), "0.5 1234.50 7");
    double number = 0;
    EXPECT_EQ(qvplatform::scan("2.5", "%lf", &number), 1);
    EXPECT_EQ(number, 2.5);
    std::snprintf(text, sizeof text, "%g", 0.5);
    EXPECT_STREQ(text, "0,5") << "the locale was not put back";
}

TEST(Format, text_of_any_length_and_short_buffers) {
    const std::string text(100'000, 'x');
    EXPECT_EQ(formatText("<%s>", text.c_str()), "<" + text + ">");
    EXPECT_EQ(formatText("%s", ""), "");
    char buffer[4];
    EXPECT_EQ(qvplatform::format(buffer, sizeof buffer, "%d", 12345), 5);
    EXPECT_STREQ(buffer, "123");
}

TEST(Process, knows_its_surroundings) {
    const TempDirectory directory;
    const std::string before = qvplatform::currentDirectory();
    ASSERT_TRUE(qvplatform::setCurrentDirectory(directory.path()));
    directory.write("here", "");
    EXPECT_TRUE(qvplatform::fileSystem().status("here").isFile());
    ASSERT_TRUE(qvplatform::setCurrentDirectory(before));
    EXPECT_FALSE(qvplatform::setCurrentDirectory(directory.file("none")));
    EXPECT_TRUE(qvplatform::fileSystem().status(qvplatform::executablePath()).isFile());
    EXPECT_TRUE(
        qvplatform::fileSystem().status(qvplatform::temporaryDirectory()).isDirectory());
    EXPECT_NE(qvplatform::configDirectory("qv"), qvplatform::stateDirectory("qv"));

    std::string value = "kept";
    EXPECT_FALSE(qvplatform::environmentVariable("QV_NO_SUCH_VARIABLE", value));
    EXPECT_EQ(value, "kept");
    EXPECT_TRUE(qvplatform::environmentVariable("PATH", value));
}

TEST(Process, knows_the_machine) {
    int major = 0;
    int minor = -1;
    EXPECT_TRUE(qvplatform::systemVersion(major, minor));
    EXPECT_GT(major, 0);
    EXPECT_GE(minor, 0);
    EXPECT_GT(qvplatform::physicalMemory(), 1u << 26);
    EXPECT_GE(qvplatform::processorCount(), 1);
    EXPECT_GE(qvplatform::usableProcessorCount(), 1);
    EXPECT_LE(qvplatform::usableProcessorCount(), qvplatform::processorCount());
}

TEST(Process, control_groups_limit_the_processors) {
    const TempDirectory mount;
    const auto limit = [&](const char* groups) {
        return qvplatform::controlGroupLimit(groups, mount.path());
    };
    if (std::filesystem::path::preferred_separator != '/') GTEST_SKIP() << "a matter of Linux";
    EXPECT_EQ(limit("0::/job/step\n"), 0) << "nothing is limited";
    for (const char* folder : {"job", "job/step", "cpu,cpuacct"}) {
        ASSERT_TRUE(qvplatform::fileSystem().makeDirectory(mount.file(folder), false));
    }
    mount.write("job/step/cpu.max", "max 100000\n");
    EXPECT_EQ(limit("0::/job/step\n"), 0);
    mount.write("job/cpu.max", "250000 100000\n");
    EXPECT_EQ(limit("0::/job/step\n"), 3) << "a part of a processor needs a thread too";
    mount.write("job/step/cpu.max", "50000 100000\n");
    EXPECT_EQ(limit("0::/job/step\n"), 1);
    EXPECT_EQ(limit("0::/other/job\n"), 0);

    const char* version1 = "5:cpuset:/x\n4:cpu,cpuacct:/docker/1234\n0::/\n";
    mount.write("cpu,cpuacct/cpu.cfs_period_us", "100000\n");
    mount.write("cpu,cpuacct/cpu.cfs_quota_us", "-1\n");
    EXPECT_EQ(limit(version1), 0);
    mount.write("cpu,cpuacct/cpu.cfs_quota_us", "400000\n");
    EXPECT_EQ(limit(version1), 4) << "the folder of the group itself is not to be seen";
}

TEST(Process, starts_programs_and_tells_when_there_is_none) {
    EXPECT_FALSE(qvplatform::startProcess({"qv-no-such-program"}));
    EXPECT_EQ(errno, ENOENT);
    EXPECT_FALSE(qvplatform::startProcess({}));

    const TempDirectory directory;
    const std::string made = directory.file("with \"quotes\" and blanks");
    if (!qvplatform::startProcess({"touch", made})) GTEST_SKIP() << "no program to start";
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!qvplatform::fileSystem().status(made).exists()) {
        ASSERT_LT(std::chrono::steady_clock::now(), end);
        qvplatform::sleepMicroseconds(1000);
    }
}

TEST(Threads, short_sleeps_are_not_cut_to_none) {
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < 20; ++i) qvplatform::sleepMicroseconds(100);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(2));
}

TEST(Clock, can_be_replaced_and_the_real_one_runs) {
    EXPECT_GE(qvplatform::localTime().year, 2024);
    const std::int64_t start = qvplatform::monotonicNanoseconds();
    qvplatform::sleepMicroseconds(2000);
    EXPECT_GE(qvplatform::monotonicNanoseconds() - start, 1'000'000);
    {
        FakeClock clock({2001, 12, 31, 23, 59, 58});
        EXPECT_EQ(qvplatform::localTime().second, 58);
        clock.advance(5);
        EXPECT_EQ(qvplatform::monotonicNanoseconds(), 5);
    }
    EXPECT_GE(qvplatform::localTime().year, 2024);
}

}  // namespace
