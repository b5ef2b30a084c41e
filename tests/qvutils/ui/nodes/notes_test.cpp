#include "qvutils/ui/nodes/qvnotesnode.h"

#include <gtest/gtest.h>

#include <string>

#include "qvutils/common/error/qverror.h"
#include "qvutils/ui/project/qvprojman.h"

namespace {

class NotesTest : public testing::Test {
protected:
    NotesTest() {
        registerProjectNode();
        registerNotesNode();
        project_.setParent(&getProjectManager());
        project_.AddNode(&notes);
    }
    ~NotesTest() override {
        project_.RemoveNode(&notes, false);
        project_.setParent(nullptr);
    }
    std::string written() {
        TextBlock block;
        EXPECT_TRUE(notes.WriteTB(block));
        return std::string(block.text());
    }
    bool read(const std::string& text) {
        TextBlock block;
        EXPECT_TRUE(block.LoadBlock(text.c_str()));
        return notes.ReadBlock(block);
    }

    qvProject project_;
    qvNotesNode notes;
};

TEST_F(NotesTest, any_text_survives_its_block) {
    for (const std::string& text :
         {std::string(), std::string("a\n"), std::string("\n\n"), std::string("end\nbegin <x>\n"),
          std::string("http://x // y\n  // not a comment\n>quoted\n"),
          std::string("tab\tand \xC3\xA9 and \x01\n"), std::string(200000, 'x') + "\n"}) {
        notes.setText(text.c_str());
        const std::string block = written();
        notes.ClearText();
        ASSERT_TRUE(read(block));
        EXPECT_EQ(notes.getText(), text.c_str());
        EXPECT_EQ(written(), block);
    }
}

TEST_F(NotesTest, a_last_line_is_given_its_end) {
    notes.setText("a\nb");
    EXPECT_EQ(written(), "begin <notesTB(1.0)>\n  >a\n  >b\nend\n");
    notes.setText("b\r");
    EXPECT_EQ(written(), "begin <notesTB(1.0)>\n  >b\r\nend\n");
}

TEST_F(NotesTest, lines_typed_without_the_mark_are_text) {
    ASSERT_TRUE(
        read("begin <notesTB(1.0)> \"n\"\n\n  first // is text\n  // a comment\n"
             "  > second\n\nend\n"));
    EXPECT_EQ(notes.getText(), "first // is text\n second\n");
    EXPECT_EQ(written(),
              "begin <notesTB(1.0)>\n  >first // is text\n  // a comment\n"
              "  > second\nend\n");
    notes.setText("other\n");
    EXPECT_EQ(written(), "begin <notesTB(1.0)>\n  >other\n  // a comment\nend\n");
}

TEST_F(NotesTest, commands_replace_append_and_clear) {
    const auto set = [&](const char* text) {
        QVCommandElt element = notes.getPublishedElt("text");
        notes.SetParam(element, text, "n.text");
    };
    project_.setDirty(false);
    set("one\n");
    EXPECT_TRUE(project_.IsDirty());
    set("two\n");
    notes.getPublishedElt("appendtext").ExecuteFn("\"three, \\\"four\\\"\\n\"");
    EXPECT_EQ(notes.getText(), "two\nthree, \"four\"\n");
    project_.setDirty(false);
    notes.getPublishedElt("cleartext").ExecuteFn("");
    EXPECT_EQ(notes.getText(), "");
    EXPECT_TRUE(project_.IsDirty());
}

}  // namespace
