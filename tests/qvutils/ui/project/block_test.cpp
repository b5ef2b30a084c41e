#include "tests/qvutils/ui/project/project_fixture.h"

namespace {

class BlockTest : public ProjectTest {
protected:
    bool read(qvProjectNode& node, const std::string& text) {
        TextBlock block;
        EXPECT_TRUE(block.LoadBlock(text.c_str())) << error();
        return node.ReadBlock(block);
    }
};

const char* const partsMissing =
    "Parts of the project could not be loaded due to syntax errors.\n"
    "See the Warnings window for details.";

TEST_F(BlockTest, a_block_replaces_what_the_node_holds) {
    qvProject* p = addProject();
    add(p, "old");
    p->setDirty(false);
    int added = 0;
    EventHook hook(manager.GetEventSource(), qvProjectEvent::added, [&](qvEvent&) { ++added; });
    ASSERT_TRUE(read(*p,
                     "begin <projectTB(1.0)> \"other\"\n"
                     "  begin <deviceTB(1.0)> \"a\"\n    WIDTH = 4\n  end\nend\n"));
    EXPECT_EQ(p->getName(), "p");
    EXPECT_EQ(p->FindChild("old"), nullptr);
    EXPECT_EQ(static_cast<DeviceNode*>(p->FindChild("a"))->width, 4);
    EXPECT_TRUE(p->IsPrepared() && p->FindChild("a")->IsPrepared() && p->IsDirty());
    EXPECT_EQ(added, 1);
}

// The user's comments keep their places however often the text is read and written.
TEST_F(BlockTest, comments_survive_and_nothing_creeps_in) {
    qvProject* p = addProject();
    const std::string text =
        "begin <projectTB(1.0)> \"p\" // my project\n"
        "  // first\n"
        "  begin <deviceTB(1.0)> \"a\" // a device\n"
        "  // on the width\n"
        "  WIDTH = 4 // microns\n"
        "  begin <notesTB(1.0)> \"n\"\n"
        "  // a remark\n"
        "  >http://x // y\n"
        "    // indented remark\n"
        "  >\n"
        "  >  last\n"
        "end // of n\n"
        "  // inside a\n"
        "end // of a\n"
        "  // between\n"
        "  // two lines\n"
        "  begin <deviceTB(1.0)> \"b\"\n"
        "  WIDTH = 1\n"
        "end\n"
        "  // last\n"
        "end // of p\n";
    std::string now = text;
    for (int i = 0; i < 3; ++i) {
        ASSERT_TRUE(read(*p, now)) << error();
        now = textOf(*p);
        EXPECT_EQ(now, text);
    }
    EXPECT_EQ(static_cast<qvNotesNode*>(p->FindNode("a/n"))->getText(),
              "http://x // y\n\n  last\n");
    p->FindChild("a")->Delete();
    EXPECT_EQ(textOf(*p),
              "begin <projectTB(1.0)> \"p\" // my project\n  // between\n  // two lines\n"
              "  begin <deviceTB(1.0)> \"b\"\n  WIDTH = 1\nend\n  // last\nend // of p\n");
}

TEST_F(BlockTest, what_cannot_be_read_is_counted_once_and_kept) {
    qvProject* p = addProject();
    const std::string text =
        "begin <projectTB(1.0)> \"p\"\n"
        "  stray line\n"
        "  begin <deviceTB(1.0)> \"a\"\n  WIDTH = 0\n  WIDHT = 3 // a slip\nend\n"
        "  begin <ringTB(2.3)> \"ring\" // from a plug-in\n"
        "    radius = 5 // microns\n"
        "    begin <inner(1.0)> \"x\"\n    end\n"
        "  end\n"
        "  // before the helper\n"
        "  begin <helperTB(1.0)>\n  end\n"
        "  begin <deviceTB(9.0)> \"newer\"\n  DEPTH = 1\n  end\n"
        "end\n";
    for (int i = 0; i < 2; ++i) {
        ASSERT_TRUE(read(*p, text));
        EXPECT_EQ(error(), partsMissing);
        EXPECT_EQ(qvSyntaxErrCount(), 5) << output.takeWarnings();
        EXPECT_EQ(textOf(*p), text);
    }
    qvProjectNode* ring = p->FindChild("ring");
    EXPECT_STREQ(ring->getTypeName(), "ringTB");
    EXPECT_STREQ(p->FindChild("newer")->getTypeName(), "deviceTB");
    QVString type;
    EXPECT_TRUE(ring->getPublishedElt("blocktype").getValueText(type));
    EXPECT_EQ(type, "ringTB");
    EXPECT_FALSE(ring->Copy());
    EXPECT_EQ(error(), "node type \"ringTB\" unknown");

    ASSERT_TRUE(ring->Rename("coil"));
    EXPECT_EQ(textOf(*ring).substr(0, textOf(*ring).find('\n')),
              "begin <ringTB(2.3)> \"coil\" // from a plug-in");
}

TEST_F(BlockTest, a_block_that_cannot_be_read_leaves_the_tree_as_it_was) {
    qvProject* p = addProject();
    qvProjectNode* a = add(p, "a");
    const std::string before = textOf(*p);
    qvNameSpace* variables = p->GetNameSpace();
    const std::string d = "  begin <deviceTB(1.0)> \"d\"\n  WIDTH = 1\n  end\n";
    const std::string open = "begin <projectTB(1.0)> \"p\"\n";
    const struct {
        std::string text;
        std::string message;
    } cases[] = {
        {open + d + d + "end\n", "Item with name \"d\" already exists in p\n"},
        {open + d + "  begin <deviceTB(1.0)> \"a=b\"\n  WIDTH = 1\n  end\nend\n",
         "invalid name a=b\n"},
        {"begin <projectTB(2.0)> \"p\"\n" + d + "end\n",
         "Expected version (1.0) in block beginning\r\nbegin <projectTB(2.0)> \"p\"\n\r\n"},
        {"begin <notesTB(1.0)> \"p\"\nend\n",
         "Expected \"begin <projectTB(?.?)>\" in block beginning\r\nbegin <notesTB(1.0)> \"p\"\n"
         "\r\n"}};
    for (const auto& c : cases) {
        EXPECT_FALSE(read(*p, c.text));
        EXPECT_EQ(error(), c.message);
        EXPECT_EQ(textOf(*p), before);
        EXPECT_EQ(p->FindChild("a"), a);
        EXPECT_EQ(p->GetNameSpace(), variables);
        EXPECT_TRUE(p->IsPrepared());
    }
    EXPECT_FALSE(read(*a, "begin <notesTB(1.0)> \"n\"\nend\n"));
    EXPECT_EQ(error(), "Sorry, there was a problem reading the textBlock <notesTB> named \"n\".\n");
    p->FindChild("a")->NotifyChanged();
    EXPECT_TRUE(p->IsDirty());  // the old child is still listened to
}

}  // namespace
