#include "tests/qvutils/ui/project/project_fixture.h"

namespace {

using EditTest = ProjectTest;

TEST_F(EditTest, what_is_impossible_is_refused_with_its_reason) {
    qvProject* p = addProject();
    add(p, "taken");
    const struct {
        const char* type;
        const char* name;
        const char* message;
    } cases[] = {{"nonsenseTB", "a", "node type \"nonsenseTB\" unknown"},
                 {"projectTB", "a", "child type projectTB not allowed\n"},
                 {"deviceTB", "taken", "name \"taken\" is already in use.\n"},
                 {"deviceTB", "a=b", "invalid name \"a=b\"\n"},
                 {"deviceTB", "", "invalid name \"\"\n"}};
    for (const auto& c : cases) {
        EXPECT_FALSE(p->AddSubnode(c.type, c.name));
        EXPECT_EQ(error(), c.message);
    }
    EXPECT_FALSE(manager.AddSubnode("notesTB", "n"));
    EXPECT_EQ(error(), "child type notesTB not allowed\n");

    EXPECT_FALSE(p->FindChild("taken")->Rename("x/y"));
    EXPECT_EQ(error(), "invalid name.\n");
    EXPECT_TRUE(p->FindChild("taken")->Rename("taken"));
    add(p, "other");
    EXPECT_FALSE(p->FindChild("other")->Rename("taken"));
    EXPECT_EQ(error(), "name is already in use.\n");

    auto twin = std::make_unique<DeviceNode>();
    twin->setName("taken");
    EXPECT_FALSE(p->AddNode(twin.get()));
    EXPECT_EQ(error(), "Item with name \"taken\" already exists in p\n");
}

TEST_F(EditTest, an_operation_does_nothing_while_an_error_is_pending) {
    qvProject* p = addProject();
    qvProjectNode* a = add(p, "a");
    a->Copy();
    qverr().set("first");
    EXPECT_FALSE(p->AddSubnode("deviceTB", "b") || a->Rename("c") || p->Paste("d") || a->Cut() ||
                 a->Delete() || p->SaveToFile("x"));
    EXPECT_EQ(error(), "first");
    EXPECT_EQ(p->FindChild("a"), a);
    EXPECT_EQ(p->getNumSubnodes(), 1);
}

TEST_F(EditTest, a_copied_tree_is_pasted_under_a_new_name) {
    qvProject* p = addProject();
    qvProjectNode* a = add(p, "a");
    static_cast<DeviceNode*>(a)->width = 2.5;
    static_cast<qvNotesNode*>(add(p, "n", "notesTB"))->setText("x\n");
    add(a, "inner");
    EXPECT_TRUE(a->Copy());
    EXPECT_EQ(manager.clipboardSource(), "/p/a");
    a->Delete();
    std::vector<void*> pasted;
    EventHook hook(manager.GetEventSource(), qvProjectEvent::pasted,
                   [&](qvEvent& event) { pasted.push_back(event.data1); });
    ASSERT_TRUE(p->Paste("b")) << error();
    auto* b = static_cast<DeviceNode*>(p->FindChild("b"));
    EXPECT_EQ(pasted, std::vector<void*>{b});
    EXPECT_EQ(b->width, 2.5);
    EXPECT_NE(b->FindChild("inner"), nullptr);
    EXPECT_TRUE(b->IsPrepared() && b->FindChild("inner")->IsPrepared());

    EXPECT_FALSE(p->Paste("b"));
    EXPECT_EQ(error(), "name \"b\" is already in use.\n");
    EXPECT_FALSE(p->Paste("b:"));
    EXPECT_EQ(error(), "invalid name.\n");
    EXPECT_FALSE(p->FindChild("n")->Paste("c"));  // notes accept no devices
    EXPECT_FALSE(qverr());

    p->Copy();
    ASSERT_TRUE(manager.Paste("p2"));
    qvProject* p2 = static_cast<qvProject*>(manager.FindChild("p2"));
    EXPECT_NE(p2->FindNode("b/inner"), nullptr);
    EXPECT_TRUE(p2->IsDirty());
    EXPECT_NE(p2->GetNameSpace(), p->GetNameSpace());
}

TEST_F(EditTest, a_listener_may_forbid_that_a_node_is_cut) {
    qvProject* p = addProject();
    qvProjectNode* a = add(p, "a");
    EventHook hook(manager.GetEventSource(), qvProjectEvent::removing,
                   [](qvEvent& event) { *static_cast<bool*>(event.data2) = false; });
    EXPECT_FALSE(a->Cut());
    EXPECT_EQ(p->FindChild("a"), a);
    EXPECT_EQ(manager.clipboardSource(), "/p/a");
    EXPECT_FALSE(a->Delete());
    EXPECT_FALSE(manager.Delete());
}

TEST_F(EditTest, a_paste_that_fails_leaves_the_tree_as_it_was) {
    qvProject* p = addProject();
    add(p, "a");
    const std::string before = textOf(*p);
    manager.importClipboard(
        "begin <deviceTB(1.0)> \"d\"\nWIDTH = 1\n"
        "begin <deviceTB(1.0)> \"x\"\nWIDTH = 1\nend\n"
        "begin <deviceTB(1.0)> \"x\"\nWIDTH = 1\nend\nend\n");
    EXPECT_FALSE(p->Paste("b"));
    EXPECT_EQ(error(), "Item with name \"x\" already exists in b\n");
    manager.importClipboard("begin <deviceTB(7.0)> \"d\"\nend\n");
    EXPECT_FALSE(p->Paste("b"));
    EXPECT_EQ(error(), "Sorry, there was a problem pasting the new deviceTB.\n");
    EXPECT_EQ(textOf(*p), before);
}

TEST_F(EditTest, the_clipboard_goes_to_and_from_the_system_with_its_line_ends) {
    qvProject* p = addProject();
    static_cast<qvNotesNode*>(add(p, "n", "notesTB"))->setText("x\ny\n");
    p->FindChild("n")->Copy();
    const QVString text = manager.exportClipboard();
    EXPECT_EQ(text, "begin <notesTB(1.0)> \"n\"\r\n  >x\r\n  >y\r\nend\r\n");
    manager.clearClipboard();
    EXPECT_FALSE(p->Paste("m"));
    EXPECT_FALSE(manager.importClipboard("just some text"));
    ASSERT_TRUE(manager.importClipboard(text));
    ASSERT_TRUE(p->Paste("m"));
    EXPECT_EQ(static_cast<qvNotesNode*>(p->FindChild("m"))->getText(), "x\ny\n");
}

TEST_F(EditTest, a_node_of_a_locked_project_is_not_renamed_by_command) {
    qvProject* p = addProject();
    qvProjectNode* a = add(p, "a");
    a->setLocked(true);
    EXPECT_TRUE(p->IsLocked());
    a->getPublishedElt("rename").ExecuteFn("b");
    EXPECT_FALSE(qverr());
    EXPECT_EQ(a->getName(), "a");
    p->getPublishedElt("setlocked").ExecuteFn("0");
    a->getPublishedElt("rename").ExecuteFn("b");
    EXPECT_EQ(a->getName(), "b");
}

}  // namespace
