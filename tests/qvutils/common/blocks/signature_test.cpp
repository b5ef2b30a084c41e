#include "qvutils/common/blocks/signature.h"

#include <gtest/gtest.h>

#include <string>

#include "qvutils/common/blocks/valuetext.h"
#include "qvutils/common/error/qverror.h"
#include "qvutils/common/platform/files.h"
#include "tests/support/temp_directory.h"

namespace {

TEST(Signature, is_split_at_the_outer_brackets) {
    char name[8], args[8];
    parsefunc(" \tf(a,g(b)c)d", name, args, 8);
    EXPECT_STREQ(name, "f");
    EXPECT_STREQ(args, "a,g(b)c");
    parsefunc("longername (x)", name, args, 8);
    EXPECT_STREQ(name, "longern");
    EXPECT_STREQ(args, "");
}

TEST(Signature, names_another_kind_or_version_of_file) {
    EXPECT_EQ(checksig("<MATERbase(2.21)>\n", "<materbase(2.21)>", "f.mat"), 0);
    EXPECT_EQ(checksig("<other(2.21)>", "<materbase(2.21)>", "f.mat"), 1);
    EXPECT_EQ(qverr(), 1);
    EXPECT_STREQ(qverr().chars_and_reset(),
                 "Invalid signature in file \"f.mat\" - wrong file?\n"
                 "Expected signature \"<materbase(2.21)>\" ");
    EXPECT_EQ(checksig("<materbase(2.2)>", "<materbase(2.21)>", "f.mat"), 1);
    EXPECT_EQ(qverr(), 2);
    EXPECT_STREQ(qverr().chars_and_reset(),
                 "Invalid version number in file f.mat\r\nExpected version <materbase(2.21)>");
}

TEST(Signature, of_a_file_leaves_it_at_its_content) {
    const TempDirectory directory;
    for (const char* between : {"\n", "\r\n // a\r\n\r\n\t// b\r\n  ", "\n"}) {
        for (const char* content : {"/x", "x", "", "/"}) {
            const std::string text = std::string("<m(1)>") + between + content;
            FILE* file = qvplatform::fileSystem().open(directory.write("f", text), "rb");
            EXPECT_EQ(checksig(file, "<m(1)>", "f"), 0);
            char rest[4] = "";
            rest[qvplatform::fileSystem().read(file, rest, 3)] = '\0';
            EXPECT_STREQ(rest, content) << text;
            qvplatform::fileSystem().close(file);
        }
    }
}

TEST(ValueText, of_sixteen_numbers_lives_at_once) {
    const char* first = Str({1, -2.5});
    for (int i = 0; i < 15; ++i) {
        Str({i + 5.0, 0});
    }
    EXPECT_STREQ(first, "{           1         -2.5}");
    EXPECT_STREQ(Str({0, 2}, true), "P{           2   90.0}");
}

}  // namespace
