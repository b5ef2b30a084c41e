#include "qvutils/common/blocks/textblock.h"

#include <gtest/gtest.h>

#include <string>

#include "qvutils/common/error/qverror.h"
#include "tests/support/captured_output.h"

namespace {

constexpr TBlockSig sig{"wgTB", 2, 1};

class TextBlockTest : public testing::Test {
protected:
    TextBlockTest() { qverr().reset(); }
    ~TextBlockTest() override { qverr().reset(); }
    bool load(const std::string& text) {
        source = FBuff();
        source.Append(text);
        source.setPosn(0);
        return block.LoadBlock(source);
    }
    static std::string error() { return qverr().chars_and_reset(); }
    FBuff source;
    TextBlock block;
};

TEST_F(TextBlockTest, holds_one_block_with_its_children) {
    const std::string inner = "  BEGIN <a(1.0)>\n    x\n  End // of a\n";
    const std::string text = "Begin <wgTB(2.1)> \"wg 1\"\n  gap 1\n" + inner + "  last\nEND\n";
    ASSERT_TRUE(load(text + "// about\n\n  begin <b(1.0)>\nend"));
    EXPECT_EQ(block.text(), text);
    EXPECT_EQ(block.body(), "  gap 1\n" + inner + "  last\n");
    EXPECT_STREQ(block.getType(), "wgTB");
    EXPECT_STREQ(block.getName(), "wg 1");
    EXPECT_EQ(block.getMajorVer(), 2);
    EXPECT_EQ(block.getMinorVer(), 1);
    EXPECT_EQ(block.getNBodyLines(), 5);

    block.StartRead(sig, true);
    EXPECT_STREQ(block.gets(), "gap 1\n");
    TextBlock child;
    ASSERT_TRUE(child.LoadBlock(block));
    EXPECT_STREQ(child.getType(), "a");
    EXPECT_STREQ(child.getName(), "");
    EXPECT_FALSE(child.LoadBlock(block));
    EXPECT_STREQ(block.getLastLine(), "last\n");
    EXPECT_TRUE(block.EOB());
    EXPECT_FALSE(child.Loaded());

    ASSERT_TRUE(block.LoadBlock(source));  // the comment between the two is stepped over
    EXPECT_STREQ(block.getType(), "b");
    EXPECT_FALSE(block.LoadBlock(source));
    EXPECT_FALSE(qverr());
}

TEST_F(TextBlockTest, outlives_its_source_and_may_be_written_to) {
    ASSERT_TRUE(load("begin <a(1.0)>\nx\nend\nrest"));
    source.unalloc();
    EXPECT_STREQ(block.chars(), "begin <a(1.0)>\nx\nend\n");
    TextBlock copy = block;
    copy.Append("more");
    EXPECT_EQ(copy.text(), "begin <a(1.0)>\nx\nend\nmore");
    EXPECT_EQ(block.body(), "x\n");
}

/// Where nested blocks end is remembered with the text that is shared; it must go when that changes.
TEST_F(TextBlockTest, children_are_found_in_the_text_as_it_is_now) {
    const auto children = [](TextBlock& parent) {
        std::string names;
        parent.GotoBody();
        for (TextBlock child; !parent.EOB() && child.LoadBlock(parent);) {
            names += std::string(child.getName()) + (child.body().empty() ? " " : "+ ");
        }
        return names;
    };
    const std::string head = "begin <wgTB(2.1)>\n";
    const std::string first = "begin <a(1.0)> \"p\"\nend\nbegin <a(1.0)> \"q\"\nx\nend\n";
    const std::string other = "begin <a(1.0)> \"r\"\nx\nbegin <a(1.0)> \"s\"\nend\nend\n";
    ASSERT_TRUE(load(head + first + "end\n" + head + other + "end\n"));
    TextBlock second;
    ASSERT_TRUE(second.LoadBlock(source));
    EXPECT_EQ(children(block), "p q+ ");
    EXPECT_EQ(children(second), "r+ ");

    block.unalloc();
    second.unalloc();
    source.clear();
    source.Append(head + other + "end\n");
    source.setPosn(0);
    ASSERT_TRUE(block.LoadBlock(source));
    EXPECT_EQ(children(block), "r+ ");
}

TEST_F(TextBlockTest, the_first_block_may_follow_other_things) {
    EXPECT_TRUE(load("\xEF\xBB\xBF\n// by hand\n\n\t// more\nbegin <a(1.0)>\nend\n"));
    EXPECT_FALSE(load("text\nbegin <a(1.0)>\nend\n"));
    EXPECT_STREQ(source.getLastLine(), "text\n");
    EXPECT_FALSE(load("beginning <a(1.0)>\nend\n"));
    EXPECT_FALSE(qverr());
    EXPECT_TRUE(block.LoadBlock("begin <a(1.0)> \"n\"\r\n x\r\nend\r\n"));
    EXPECT_EQ(block.body(), " x\n");
}

TEST_F(TextBlockTest, header_fields_come_from_the_header_line_alone) {
    struct {
        const char* header;
        const char* type;
        int major, minor;
        const char* name;
    } const cases[] = {
        {"begin <a(-1.+2)>", "a", -1, 2, ""},
        {"begin <a(3)> \"n", "a", 3, -1, "n"},
        {"begin  <a b(1.0)>\t\"x>y\" // \"z\"", "a b", 1, 0, "x>y"},
        {"begin <a(1.0)> // \"z\"", "a", 1, 0, ""},
        {"begin <abcdefghijklmnopqrstuvwxyz0123456789(4.5)>", "abcdefghijklmnopqrstuvwxyz01234", 4,
         5, ""},
        {"begin <a(1.", "a", 1, -1, ""},
        {"begin <a(99999999999.1)>", "a", -1, -1, ""},
        {"begin", "", -1, -1, nullptr},
        {"begin <>", "", -1, -1, nullptr},
    };
    for (const auto& c : cases) {
        ASSERT_TRUE(load(std::string(c.header) + "\n<b(7.7)> \"wrong\"\nend\n")) << c.header;
        EXPECT_STREQ(block.getType(), c.type) << c.header;
        EXPECT_EQ(block.getMajorVer(), c.major) << c.header;
        EXPECT_EQ(block.getMinorVer(), c.minor) << c.header;
        EXPECT_STREQ(block.getName(), c.name) << c.header;
    }
    ASSERT_TRUE(load("begin <a(1.0)> \"" + std::string(300, 'n') + "\"\nend\n"));
    EXPECT_EQ(block.getName(), std::string(255, 'n'));
}

TEST_F(TextBlockTest, a_block_without_end_is_an_error) {
    EXPECT_FALSE(load("begin <a(1.0)>\nbegin <b(1.0)>\nend\n"));
    EXPECT_EQ(error(), "Missing \"end\" in block beginning\r\nbegin <a(1.0)>\n\r\n");
    EXPECT_FALSE(block.Loaded());
    EXPECT_STREQ(source.gets(), "begin <b(1.0)>\n");
}

TEST_F(TextBlockTest, nesting_has_a_limit) {
    auto nested = [](int depth) {
        std::string begins, ends;
        for (int i = 0; i < depth; ++i) {
            begins += "begin <a(1.0)>\n";
            ends += "end\n";
        }
        return begins + ends;
    };
    EXPECT_TRUE(load(nested(TextBlock::maxDepth)));
    EXPECT_FALSE(load(nested(TextBlock::maxDepth + 1)));
    EXPECT_EQ(error().rfind("More than 256 nested blocks", 0), 0u);
}

TEST_F(TextBlockTest, wrong_types_and_versions_are_refused) {
    block.StartRead(sig, true);
    EXPECT_NE(error().find("TextBlock::LoadBlock not called?\nAt qvutils:"), std::string::npos);

    ASSERT_TRUE(load("begin <WGtb(2.3)>\n x\nend\n"));
    const std::string header = "in block beginning\r\nbegin <WGtb(2.3)>\n\r\n";
    const unsigned posn = block.getPosn();
    block.StartRead({"other", 2, 3}, true);
    EXPECT_EQ(error(), "Expected \"begin <other(?.?)>\" " + header);
    block.StartRead(sig, true);
    EXPECT_EQ(error(), "Expected version (2.1) " + header);
    EXPECT_EQ(block.getPosn(), posn);
    EXPECT_TRUE(block.eCheckVersion(2, 4, 6));
    EXPECT_EQ(error(), "Expected version (2.6) " + header);
    EXPECT_FALSE(block.eCheckVersion(2, 1, 3));
    EXPECT_TRUE(block.eCheckSig({"other", 2, 3}));
    EXPECT_EQ(error(), "Expected \"begin <other(2.3)>\" " + header);
    EXPECT_TRUE(block.eCheckSig(sig));
    EXPECT_EQ(error(), "Expected block version (2.1) " + header);

    CapturedOutput output;
    EXPECT_FALSE(block.CheckStartRead(sig, true));
    EXPECT_EQ(output.takeWarnings(),
              "Unexpected version in block beginning: begin <WGtb(2.3)>\n"
              "   required version: 2.1\n");
    EXPECT_TRUE(block.CheckStartRead({"wgtb", 2, -1}, true));
    EXPECT_TRUE(block.CheckStartRead(sig, false));
    EXPECT_STREQ(block.gets(), "x\n");

    EXPECT_TRUE(block.IsVersion(2, 1, 5) && block.IsVersion(2, -1, -1));
    EXPECT_FALSE(block.IsVersion(2, 1, -1) || block.IsVersion(1, -1, -1));
    EXPECT_TRUE(block.VersionAtLeast(2, 3) && block.VersionAtLeast(1, 9));
    EXPECT_TRUE(block.IsBeforeVersion(2, 4) && block.IsBeforeVersion(3, 0));
    EXPECT_TRUE(block.IsAfterVersion(2, 2) && !block.IsAfterVersion(2, 3));

    ASSERT_TRUE(load("begin <wgTB>\nend\n"));  // a user's slip, not the program's
    block.StartRead(sig, true);
    EXPECT_NE(error().find("Expected version (2.1)"), std::string::npos);
}

TEST_F(TextBlockTest, a_source_that_strips_blanks_gives_stripped_blocks) {
    source.Append(" begin <a(1.0)>\n   x\n end\nrest\n");
    source.setPosn(0);
    source.SkipWhitespace(true);
    ASSERT_TRUE(block.LoadBlock(source));
    EXPECT_EQ(block.text(), "begin <a(1.0)>\nx\nend\n");
    EXPECT_EQ(block.body(), "x\n");
    EXPECT_STREQ(source.gets(), "rest\n");
}

}  // namespace
