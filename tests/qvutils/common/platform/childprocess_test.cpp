#include "qvutils/common/platform/childprocess.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>

#include "qvutils/common/platform/clock.h"
#include "qvutils/common/platform/files.h"
#include "qvutils/common/platform/process.h"

using qvplatform::ChildProcess;

namespace {

/// The program that is built beside this one.
std::string program() {
    const std::string own = qvplatform::executablePath();
    const std::size_t name = own.rfind("test_platform");
    const std::string suffix = own.substr(name + std::string("test_platform").size());
    return own.substr(0, name) + "child_program" + suffix;
}

/// Reads until the program has ended and its output too.
std::string outputOf(ChildProcess& process) {
    std::string text;
    char buffer[10'000];
    for (bool last = false;;) {
        const std::size_t length = process.readOutput(buffer, sizeof buffer);
        text.append(buffer, length);
        if (length > 0) continue;
        if (last) return text;
        last = process.wait(1);
    }
}

std::string run(std::vector<std::string> arguments, const ChildProcess::Variables& variables = {}) {
    arguments.insert(arguments.begin(), program());
    ChildProcess process;
    EXPECT_TRUE(process.start(arguments, variables)) << qvplatform::errorText(errno);
    return outputOf(process);
}

std::int64_t millisecondsSince(std::int64_t start) {
    return (qvplatform::monotonicNanoseconds() - start) / 1'000'000;
}

TEST(ChildProcess, arguments_arrive_as_they_are) {
    const std::vector<std::string> awkward = {
        "",  "a b",   "\"", "a\\", "\\\"b\\\\\" c", "$HOME",       "%PATH%",
        "*", "a;b|c", "\t", "-x",  "it's",          "Ger\xC3\xA4t"};
    std::vector<std::string> arguments = {"arguments"};
    std::string expected;
    for (const std::string& argument : awkward) {
        arguments.push_back(argument);
        expected += "<" + argument + ">";
    }
    EXPECT_EQ(run(arguments), expected);
}

TEST(ChildProcess, variables_are_added_or_replaced) {
    EXPECT_EQ(run({"variable", "QV_TEST_NEW"}), "unset");
    EXPECT_EQ(run({"variable", "QV_TEST_NEW"}, {{"QV_TEST_NEW", "a=b c"}}), "a=b c");
    EXPECT_EQ(run({"variable", "PATH"}, {{"PATH", "replaced"}}), "replaced");
    EXPECT_NE(run({"variable", "PATH"}, {{"QV_TEST_NEW", "1"}}), "unset");
}

TEST(ChildProcess, has_one_stream_for_both_outputs_and_no_input) {
    EXPECT_EQ(run({"streams"}), "out,err,input ends: 1");
}

TEST(ChildProcess, waits_for_no_reader_but_loses_nothing) {
    constexpr int lines = 5000;
    std::string text = run({"flood", std::to_string(lines)});
    text.erase(std::remove(text.begin(), text.end(), '\r'), text.end());
    EXPECT_EQ(text.size(), lines * 1000u);
}

TEST(ChildProcess, tells_how_the_program_ended) {
    ChildProcess process;
    ASSERT_TRUE(process.start({program(), "status", "7"}));
    EXPECT_TRUE(process.wait(20'000));
    EXPECT_FALSE(process.running());
    EXPECT_EQ(process.exitStatus(), 7);
    EXPECT_FALSE(process.start({program()})) << "an object is for one program";
}

TEST(ChildProcess, a_program_that_cannot_be_started_is_an_error) {
    ChildProcess process;
    EXPECT_FALSE(process.start({program() + "-missing"}));
    EXPECT_EQ(errno, ENOENT);
    EXPECT_FALSE(process.running());
    EXPECT_FALSE(process.start({}));
    EXPECT_EQ(qvplatform::findProgram("qv-no-such-program"), "");
}

TEST(ChildProcess, is_killed_with_all_that_it_has_started) {
    const std::int64_t start = qvplatform::monotonicNanoseconds();
    ChildProcess process;
    ASSERT_TRUE(process.start({program(), "hang", "60000"}));
    char buffer[100];
    while (process.readOutput(buffer, sizeof buffer) == 0 && millisecondsSince(start) < 20'000) {
    }
    EXPECT_FALSE(process.wait(1));
    process.kill();
    EXPECT_TRUE(process.wait(10'000));
    EXPECT_NE(process.exitStatus(), 0);
    // The other one had the output open: it ends when nobody has.
    while (process.outputIsOpen() && millisecondsSince(start) < 40'000) {
        process.readOutput(buffer, sizeof buffer);
    }
    EXPECT_LT(millisecondsSince(start), 40'000);
}

TEST(ChildProcess, ends_when_its_object_does) {
    const std::int64_t start = qvplatform::monotonicNanoseconds();
    {
        ChildProcess process;
        ASSERT_TRUE(process.start({program(), "sleep", "60000"}));
    }
    EXPECT_LT(millisecondsSince(start), 30'000);
}

TEST(ChildProcess, what_it_leaves_behind_goes_on_and_is_not_waited_for) {
    const std::int64_t start = qvplatform::monotonicNanoseconds();
    {
        ChildProcess process;
        ASSERT_TRUE(process.start({program(), "leave", "20000"}));
        EXPECT_TRUE(process.wait(20'000));
        EXPECT_EQ(outputOf(process), "started");
        EXPECT_TRUE(process.outputIsOpen()) << "the other one was killed";
    }
    EXPECT_LT(millisecondsSince(start), 15'000);
}

}  // namespace
