#include "qvutils/common/error/qverror.h"

#include <gtest/gtest.h>

#include <thread>

#include "tests/support/captured_output.h"

namespace {

TEST(ErrorState, holds_number_and_message_until_reset) {
    Error error;
    EXPECT_FALSE(error);
    EXPECT_STREQ(error.chars(), "");
    error.set("first");
    EXPECT_EQ(error, -1);
    error.setf(500, "no %s in %d", "file", 3);
    EXPECT_EQ(error, 500);
    error.append(", sorry");
    EXPECT_STREQ(error.chars(), "no file in 3, sorry");
    EXPECT_STREQ(error.chars(false), "no file in 3, sorry");
    EXPECT_STREQ(error.chars_and_reset(), "no file in 3, sorry");
    EXPECT_FALSE(error);
    EXPECT_STREQ(error.chars(), "");
}

TEST(ErrorState, is_pending_with_an_empty_message_and_whatever_the_number) {
    Error error;
    error.set(504, "");
    EXPECT_EQ(error, 504);
    error.set(0, nullptr);
    EXPECT_TRUE(error);
    error.reset();
    error.append("alone");
    EXPECT_EQ(error, -1);
    EXPECT_STREQ(error.chars(true), "alone");
    EXPECT_FALSE(error);
}

TEST(ErrorState, a_message_may_quote_the_pending_one_and_be_of_any_length) {
    Error error;
    error.set("inner");
    error.set(7, error.chars());
    EXPECT_STREQ(error.chars(), "inner");
    error.setf("outer(%s)", error.chars());
    EXPECT_STREQ(error.chars(), "outer(inner)");
    const std::string text(100'000, 'x');
    error.setf("%s", text.c_str());
    EXPECT_EQ(error.chars(), text);
}

TEST(ErrorState, transfer_hands_over_only_what_is_pending) {
    Error from;
    Error to;
    to.set(1, "kept");
    from.transferto(to);
    EXPECT_STREQ(to.chars(), "kept");
    from.set(2, "moved");
    from.transferto(from);
    EXPECT_EQ(from, 2);
    from.transferto(to);
    EXPECT_FALSE(from);
    EXPECT_EQ(to, 2);
    EXPECT_STREQ(to.chars(), "moved");
}

TEST(ErrorState, every_thread_has_its_own) {
    qverr().set("main");
    std::thread([] {
        EXPECT_FALSE(qverr());
        qverr().set("other");
    }).join();
    EXPECT_STREQ(qverr().chars_and_reset(), "main");
}

/// Destroyed after the thread's error object.
struct LateUser {
    ~LateUser() {
        qverr().set("late");
        EXPECT_STREQ(qverr().chars_and_reset(), "late");
    }
};

TEST(ErrorState, can_be_used_while_a_thread_ends) {
    std::thread([] {
        thread_local LateUser user;
        static_cast<void>(user);
        qverr().reset();
    }).join();
}

TEST(ErrorState, display_writes_title_and_message) {
    const CapturedOutput output;
    CapturedOutput inner;
    Error error;
    error.display();
    error.set("no such node");
    error.display();
    EXPECT_EQ(inner.takeWarnings(), "Error: no such node\n");
    error.display(0);
    EXPECT_EQ(inner.takeNormal(), "Error: no such node\n");
    EXPECT_TRUE(error);
}

TEST(ErrorState, code_errors_name_the_place) {
    CodeError("QVObject::ResetTop", "qvobject", 42);
    EXPECT_STREQ(qverr().chars_and_reset(),
                 "Code Error: QVObject::ResetTop\nAt qvobject:42\nPlease contact Orvelle");
}

TEST(SyntaxErrors, are_written_and_counted_for_the_thread) {
    CapturedOutput output;
    qvResetSyntaxErrCount();
    SyntaxErr("bad line: %s\n", "x");
    const std::string text(10'000, 'y');
    SyntaxErr("%s", text.c_str());
    EXPECT_EQ(output.takeWarnings(), "bad line: x\n" + text);
    EXPECT_EQ(qvSyntaxErrCount(), 2);
    std::thread([] { EXPECT_EQ(qvSyntaxErrCount(), 0); }).join();
    EXPECT_FALSE(qverr()) << "a syntax error is tolerated";

    {
        const qvQuietSyntaxErrs outer;
        { const qvQuietSyntaxErrs inner; }
        SyntaxErr("first pass");
    }
    EXPECT_EQ(output.takeWarnings(), "");
    EXPECT_EQ(qvSyntaxErrCount(), 2);
    qvResetSyntaxErrCount();
    EXPECT_EQ(qvSyntaxErrCount(), 0);
}

}  // namespace
