// Blocks that are written again keep their user's comments.
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "qvutils/common/blocks/textblock.h"
#include "qvutils/common/error/qverror.h"

namespace {

constexpr TBlockSig sig{"wgTB", 1, 0};

TextBlock blockOf(const std::string& text) {
    TextBlock block;
    EXPECT_TRUE(block.LoadBlock(text.c_str())) << text;
    return block;
}

TEST(Rewrite, a_new_block_has_plain_lines) {
    TextBlock block;
    block.StartWrite(sig, "wg", nullptr);
    EXPECT_EQ(block.writeline("gap %g", 0.5), 7);
    block.WriteLine("angle 3");
    block.EndWrite();
    EXPECT_EQ(block.text(), "begin <wgTB(1.0)> \"wg\"\n  gap 0.5\n  angle 3\nend\n");
    EXPECT_EQ(block.body(), "  gap 0.5\n  angle 3\n");
    TextBlock bare;
    bare.setHeader(sig, "");
    bare.Append("x\n");
    bare.AppendEnd();
    EXPECT_EQ(bare.text(), "begin <wgTB(1.0)>\nx\nend\n");
}

TEST(Rewrite, comments_stay_with_their_lines) {
    const std::string old =
        "begin <wgTB(1.0)> \"a//b\" // the guide\n"
        "  // first\n"
        "  gap 0.5  // see http://x // y\n"
        "  // before angle\n"
        "  angle 3\n"
        "  // last\n"
        "end // of guide\n";
    for (TextBlock block : {blockOf(old), TextBlock()}) {  // from itself, from the text given
        block.StartWrite(sig, "a//b", old.c_str());
        block.WriteLine("gap 0.75");
        block.WriteLine("angle 3");
        block.WriteLine("new 1");
        block.EndWrite();
        std::string expected = old;
        expected.replace(expected.find("0.5"), 3, "0.75");
        expected.insert(expected.find("end //"), "  new 1\n");
        EXPECT_EQ(block.text(), expected);
    }
}

/// What a block holds, and an edited text of it.
struct Sample {
    /// Lines, lines of free text (which begin with ">") and child blocks.
    std::vector<std::string> items;
    std::string text;
    std::string comments;
};

class Generator {
public:
    explicit Generator(unsigned seed) : random_(seed) {}

    Sample block(int depth) {
        Sample sample;
        sample.text = "begin <wgTB(1.0)> \"wg\"" + trailing(sample);
        gap(sample);
        for (int n = pick(6); n > 0; --n) {
            if (depth > 0 && pick(3) == 0) {
                const Sample child = block(depth - 1);
                sample.items.push_back(child.text);
                sample.text += "  " + child.text;
                sample.comments += child.comments;
            } else if (pick(4) == 0) {
                sample.items.push_back(">free // text");
                sample.text += "  >free // text\n";
            } else {
                sample.items.push_back(pick(5) ? "gap 3" : "url http://x");
                sample.text += "  " + sample.items.back() + trailing(sample);
            }
            gap(sample);
        }
        sample.text += "end" + trailing(sample);
        return sample;
    }

private:
    int pick(int n) { return static_cast<int>(random_() % static_cast<unsigned>(n)); }
    std::string trailing(Sample& sample) {
        return pick(2) ? std::string(" ").append(comment(sample)) : "\n";
    }
    std::string comment(Sample& sample) {
        std::string text = "// c" + std::to_string(++last_) + (pick(3) ? "\n" : " // more\n");
        sample.comments += text;
        return text;
    }
    void gap(Sample& sample) {
        for (int n = pick(4); n > 1; --n) {
            sample.text += pick(3) ? std::string(pick(4), ' ') + comment(sample) : " \n";
        }
    }

    std::mt19937 random_;
    int last_ = 0;
};

std::string rewritten(const std::string& text, const std::vector<std::string>& items) {
    TextBlock block = blockOf(text);
    block.StartWrite(sig, "wg", nullptr);
    for (const std::string& item : items) {
        if (item.rfind("begin", 0) == 0) {
            block.AppendBlock(blockOf(item));
        } else if (item.front() == '>') {
            block.AppendLine(item);
        } else {
            block.WriteLine(item);
        }
    }
    block.EndWrite();
    return std::string(block.text());
}

std::string commentsOf(const std::string& text) {
    FBuff buffer;
    buffer.Append(text);
    buffer.setPosn(0);
    std::string comments;
    while (buffer.getPosn() < buffer.getLen()) {
        std::string line(buffer.nextLine());
        for (const std::string_view content : {"http://", ">free //"}) {
            line.erase(0,
                       line.find(content) == line.npos ? 0 : line.find(content) + content.size());
        }
        comments += line.find("//") == line.npos ? "" : line.substr(line.find("//"));
    }
    return comments;
}

TEST(Rewrite, no_comment_vanishes_or_doubles_and_the_text_settles) {
    for (unsigned seed = 0; seed < 500; ++seed) {
        const Sample sample = Generator(seed).block(2);
        const std::string once = rewritten(sample.text, sample.items);
        EXPECT_EQ(commentsOf(once), sample.comments) << seed << sample.text;
        const std::string twice = rewritten(once, sample.items);
        ASSERT_EQ(twice, once) << seed << "\n" << sample.text;
        EXPECT_EQ(rewritten(twice, sample.items), once);
        EXPECT_FALSE(qverr()) << qverr().chars_and_reset();
    }
}

}  // namespace
