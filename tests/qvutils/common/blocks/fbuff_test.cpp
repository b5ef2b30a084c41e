#include "qvutils/common/blocks/fbuff.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <utility>

#include "qvutils/common/error/qverror.h"
#include "tests/support/comma_locale.h"
#include "tests/support/failing_files.h"
#include "tests/support/temp_directory.h"

namespace {

class FBuffTest : public testing::Test {
protected:
    FBuffTest() { qverr().reset(); }
    ~FBuffTest() override { qverr().reset(); }
    static FBuff bufferOf(std::string_view text) {
        FBuff buffer;
        buffer.Append(text);
        buffer.setPosn(0);
        return buffer;
    }
    TempDirectory directory;
};

TEST_F(FBuffTest, grows_by_the_excess_rounded_up_to_whole_steps) {
    FBuff buffer;
    buffer.Append("x");
    EXPECT_EQ(buffer.capacity(), 4096u);
    buffer.Append(std::string(4094, 'x'));  // fits exactly, with the NUL
    EXPECT_EQ(buffer.capacity(), 4096u);
    buffer.Append("x");
    EXPECT_EQ(buffer.capacity(), 8192u);
    buffer.Append(std::string(4097 + 4096, 'x'));
    EXPECT_EQ(buffer.capacity(), 8192u + 8192u);
    const std::string text(3 << 20, 'y');
    for (int i = 0; i < 4; ++i) {
        buffer.Append(text);
        EXPECT_EQ(buffer.capacity() % 4096, 0u);
        EXPECT_LE(buffer.capacity() - buffer.getLen(), 4096u);
    }
}

TEST_F(FBuffTest, line_buffer_follows_the_length_of_lines) {
    LineBuffer line;
    line.request(1000);
    EXPECT_EQ(line.capacity(), 1000u);
    line.request(50);  // the size expected is 1000 / 8 = 125
    EXPECT_EQ(line.capacity(), 1000u);
    line.request(20);  // now (7 * 125 + 50) / 8 = 115
    EXPECT_EQ(line.capacity(), 20u);
}

TEST_F(FBuffTest, a_copy_and_its_original_are_written_to_separately) {
    FBuff one = bufferOf("first\n");
    FBuff two = one;
    two.Append("more\n");
    one.Append("other\n");
    EXPECT_EQ(two.text(), "first\nmore\n");
    EXPECT_EQ(one.text(), "first\nother\n");
    EXPECT_EQ(one.getPosn(), 6u);
    one.Append(one);
    EXPECT_EQ(one.text(), "first\nother\nfirst\nother\n");
    const FBuff three = std::move(one);
    EXPECT_STREQ(three.chars(), "first\nother\nfirst\nother\n");
    EXPECT_FALSE(one.alloced());
    FBuff four = three;
    four.compact();
    EXPECT_EQ(four.capacity(), four.getLen() + 1);
    EXPECT_EQ(four.text(), three.text());
    four.Append("x");
    EXPECT_EQ(three.getLen(), 24u);
}

TEST_F(FBuffTest, readers_return_lines_with_their_ends) {
    const FBuff nothing;
    EXPECT_EQ(nothing.gets(), nullptr);
    EXPECT_STREQ(nothing.getcl(), "");
    EXPECT_STREQ(nothing.getnlc(0), "\n");
    const FBuff buffer = bufferOf("a\n  b // c\nlast");
    EXPECT_STREQ(buffer.gets(), "a\n");
    EXPECT_EQ(buffer.nextLine(), "  b // c\n");
    EXPECT_STREQ(buffer.getLastLine(), "a\n");
    buffer.setPosn(99);
    EXPECT_STREQ(buffer.gets(), "last");
    EXPECT_STREQ(buffer.gets(), "");
}

TEST_F(FBuffTest, comments_are_stepped_over_and_returned) {
    FBuff buffer = bufferOf(" \n// one\n\t// two\n  a // x // y\n\n// three\n b\n");
    EXPECT_STREQ(buffer.getcl(), " \n// one\n\t// two\n");
    EXPECT_STREQ(buffer.getclB(true), "// y\n");
    EXPECT_STREQ(buffer.getclB(true), "\n");
    EXPECT_STREQ(buffer.getclB(false), "// three\n");
    EXPECT_STREQ(buffer.getclB(false), "");
    EXPECT_STREQ(buffer.gets(), " b\n");

    buffer.setPosn(0);
    buffer.SkipComments(true);
    EXPECT_STREQ(buffer.gets(), "a // x // y\n");
    EXPECT_STREQ(buffer.gets(), "b\n");

    const FBuff rest = bufferOf("gap 5 // um\n// more\nnext");
    EXPECT_STREQ(rest.getnlc(3), "// um\n// more\n");
    EXPECT_STREQ(rest.gets(), "next");
    EXPECT_STREQ(rest.getnlc(7), "");

    FBuff blanks = bufferOf(" \ta\n b\n");
    blanks.SkipWhitespace(true);
    EXPECT_STREQ(blanks.gets(), "a\n");
    EXPECT_STREQ(blanks.gets(), "b\n");
}

TEST_F(FBuffTest, formatted_lines_know_no_locale_and_no_limit) {
    const CommaLocale locale;
    FBuff buffer;
    EXPECT_EQ(buffer.writeline("gap %g %d\n", 0.25, 3), 11);
    const std::string name(20000, 'n');
    EXPECT_EQ(buffer.writeline("%s", name.c_str()), 20000);
    buffer.setPosn(0);
    double gap = 0;
    int count = 0;
    EXPECT_EQ(buffer.scanline("gap %lf %d", &gap, &count), 2);
    EXPECT_EQ(gap, 0.25);
    EXPECT_EQ(buffer.gets(), name);
    EXPECT_EQ(buffer.scanline("%d", &count), 0);
}

TEST_F(FBuffTest, files_come_back_with_any_line_ends_and_characters) {
    const std::string text = "a\nb \x1A \xC3\xBC\xFF\n\nc";
    FBuff buffer;
    buffer.Append("dropped");
    ASSERT_TRUE(
        buffer.LoadFile(directory.write("crlf", "a\r\nb \x1A \xC3\xBC\xFF\r\n\r\nc").c_str()));
    EXPECT_EQ(buffer.text(), text);
    EXPECT_EQ(buffer.getPosn(), 0u);
    const std::string copy = directory.file("copy");
    ASSERT_TRUE(buffer.SaveFile(copy.c_str()));
    EXPECT_EQ(contentOf(copy), text);
    ASSERT_TRUE(buffer.LoadFile(directory.write("empty", "").c_str()));
    EXPECT_STREQ(buffer.gets(), "");
}

TEST_F(FBuffTest, unusable_files_are_errors_and_cost_nothing) {
    FBuff buffer = bufferOf("kept\n");
    const std::string path = directory.file("missing");
    EXPECT_FALSE(buffer.LoadFile(path.c_str()));
    EXPECT_EQ(qverr(), 500);
    EXPECT_EQ(qverr().chars(), "Failed to open file \"" + path + "\"\n");
    EXPECT_FALSE(buffer.LoadFile(directory.write("good", "x").c_str()));  // an error is pending
    EXPECT_FALSE(buffer.SaveFile(directory.file("new").c_str()));
    EXPECT_FALSE(std::filesystem::exists(directory.file("new")));
    qverr().reset();

    EXPECT_FALSE(buffer.LoadFile(directory.path().c_str()));
    EXPECT_EQ(qverr(), 500);
    qverr().reset();
    EXPECT_FALSE(buffer.SaveFile(directory.path().c_str()));
    EXPECT_EQ(qverr(), 500);
    qverr().reset();

    EXPECT_FALSE(buffer.LoadFile(directory.write("zero", std::string("ab\0c", 4)).c_str()));
    EXPECT_NE(std::string(qverr().chars()).find("NUL character at byte 2"), std::string::npos);
    EXPECT_EQ(buffer.text(), "kept\n");
}

TEST_F(FBuffTest, a_read_only_target_stays_and_is_named) {
    const std::string path = directory.write("file", "old");
    std::filesystem::permissions(path, std::filesystem::perms::owner_read);
    EXPECT_FALSE(bufferOf("new").SaveFile(path.c_str()));
    EXPECT_EQ(qverr(), 500);
    EXPECT_EQ(qverr().chars(), "Failed to open file \"" + path + "\"\nFile was read only?\n");
    EXPECT_EQ(contentOf(path), "old");
    std::filesystem::permissions(path, std::filesystem::perms::owner_all);
}

TEST_F(FBuffTest, a_failure_at_any_operation_leaves_file_and_buffer_whole) {
    const std::string path = directory.write("file", "old\n");
    const FBuff buffer = bufferOf("new\n");
    FailingFiles files;
    ASSERT_TRUE(buffer.SaveFile(path.c_str()));
    const int operations = files.operations();
    for (int k = 1; k <= operations; ++k) {
        directory.write("file", "old\n");
        files.failAt(k);
        const bool saved = buffer.SaveFile(path.c_str());
        files.failNever();
        EXPECT_EQ(contentOf(path), saved ? "new\n" : "old\n") << k;
        EXPECT_EQ(qverr(), saved ? 0 : 500);
        qverr().reset();
    }
    for (int k = 1; k <= 6; ++k) {
        FBuff target = bufferOf("kept");
        files.failAt(k);
        const bool loaded = target.LoadFile(path.c_str());
        EXPECT_EQ(target.text(), loaded ? contentOf(path) : "kept") << k;
        EXPECT_EQ(qverr(), loaded ? 0 : 500) << k;
        files.failNever();
        qverr().reset();
    }
}

}  // namespace
