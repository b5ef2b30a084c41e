#include <algorithm>
#include <map>
#include <random>

#include "tests/qvutils/ui/project/project_fixture.h"

namespace {

using TreeTest = ProjectTest;

TEST_F(TreeTest, names_are_checked) {
    const std::string longest(255, 'n');
    for (const std::string& name : {std::string("a b"), std::string("a.b"), std::string("wg[1]"),
                                    std::string("\xC3\xA9t\xC3\xA9"), std::string(".."), longest}) {
        EXPECT_TRUE(qvProjectNode::IsNameValid(name)) << name;
    }
    EXPECT_FALSE(qvProjectNode::IsNameValid(""));
    EXPECT_FALSE(qvProjectNode::IsNameValid(longest + "n"));
    for (char bad : std::string("<>|?:,;\"\\/\n=\t\r\x7f\x01")) {
        EXPECT_FALSE(qvProjectNode::IsNameValid(std::string("a") + bad)) << int(bad);
    }
}

TEST_F(TreeTest, paths_lead_through_the_tree) {
    qvProject* p = addProject();
    qvProjectNode* a = add(p, "a");
    qvProjectNode* b = add(p, "b");
    qvProjectNode* inner = add(a, "b");
    EXPECT_EQ(p->FindNode("a/../b"), b);
    EXPECT_EQ(p->FindNode("a/b"), inner);
    EXPECT_EQ(inner->FindNode("/p/b"), b);
    EXPECT_EQ(manager.FindNode("p/a/b/c"), nullptr);
    EXPECT_EQ(p->FindNode("missing/../b"), nullptr);
    EXPECT_EQ(p->FindNode("../../p"), nullptr);
    EXPECT_EQ(inner->getPath(), "/p/a/b");
    EXPECT_EQ(inner->stateKey(), "a/b");

    EXPECT_EQ(p->FindNode("b", b), nullptr);
    EXPECT_EQ(p->FindNode("b", nullptr, qvNotesNode::getStaticClassInfo()), nullptr);
    b->setName("a");  // a program may make equal names
    EXPECT_EQ(p->FindNode("a"), a);
    EXPECT_EQ(p->FindNode("a", a), b);
}

// Random additions, renamings and removals, compared with a plain model of the child list.
TEST_F(TreeTest, many_children_keep_their_order_and_names) {
    qvProject* p = addProject();
    std::vector<std::string> model;
    std::mt19937 random(7);
    const auto pick = [&] { return static_cast<int>(random() % model.size()); };
    for (int step = 0; step < 6000; ++step) {
        const unsigned what = random() % 4;
        const std::string name = std::to_string(random() % 4000);
        const bool taken = std::find(model.begin(), model.end(), name) != model.end();
        if (what < 2 || model.empty()) {
            ASSERT_EQ(p->AddSubnode("notesTB", name.c_str()), !taken);
            if (!taken) model.push_back(name);
        } else if (what == 2) {
            const int i = pick();
            const bool possible = !taken || model[i] == name;
            ASSERT_EQ(p->FindChild(model[i])->Rename(name.c_str()), possible);
            if (possible) model[i] = name;
        } else {
            const int i = pick();
            ASSERT_TRUE(p->FindChild(model[i])->Delete());
            model.erase(model.begin() + i);
        }
        qverr().reset();
    }
    ASSERT_EQ(p->getNumSubnodes(), static_cast<int>(model.size()));
    for (int i = 1; i <= p->getNumSubnodes(); ++i) {
        qvProjectNode* child = p->getNodes()[i];
        ASSERT_EQ(child->getName(), model[i - 1].c_str());
        ASSERT_EQ(p->FindChild(model[i - 1]), child);
        ASSERT_EQ(child->FindPreviousSibling(false), i > 1 ? p->getNodes()[i - 1] : nullptr);
    }
}

TEST_F(TreeTest, a_change_climbs_to_the_manager_and_makes_the_project_dirty) {
    qvProject* p = addProject();
    qvProjectNode* deep = add(add(p, "a"), "b");
    std::vector<void*> climbed;
    EventHook hook(manager.GetEventSource(), qvProjectEvent::changed,
                   [&](qvEvent& event) { climbed.push_back(event.data1); });
    const auto isDirtyAfter = [&](auto change) {
        p->setDirty(false);
        climbed.clear();
        change();
        return p->IsDirty() && climbed == std::vector<void*>{&manager};
    };
    EXPECT_TRUE(isDirtyAfter([&] { deep->NotifyChanged(); }));
    EXPECT_TRUE(isDirtyAfter([&] { deep->Rename("c"); }));
    EXPECT_TRUE(isDirtyAfter([&] { p->Rename("q"); }));
    EXPECT_TRUE(isDirtyAfter([&] { p->AddSubnode("notesTB", "n"); }) || climbed.size() > 1);
    EXPECT_TRUE(isDirtyAfter([&] { p->FindChild("n")->Delete(); }));
    EXPECT_FALSE(addProject("fresh")->IsDirty());
}

TEST_F(TreeTest, depth_is_limited_so_that_every_tree_can_be_read_again) {
    qvProject* p = addProject();
    qvProjectNode* node = p;
    int depth = 1;
    while (node->AddSubnode("deviceTB", "d")) {
        node = node->FindChild("d");
        ASSERT_LE(++depth, qvProjectNode::maxDepth);
    }
    EXPECT_EQ(error(), "nodes cannot be nested deeper than 180 levels\n");
    ASSERT_TRUE(p->SaveToFile(directory.file("deep.prj").c_str())) << error();
    const std::string before = textOf(*p);
    p->Delete();
    EXPECT_EQ(textOf(*open(directory.file("deep.prj"))), before);
}

// Whatever a listener destroys, the operation that raised the event ends well.
TEST_F(TreeTest, listeners_may_destroy_the_nodes_that_events_are_about) {
    const std::vector<std::pair<int, bool>> cases = {
        {qvProjectEvent::added, false},    {qvProjectEvent::added, true},
        {qvProjectEvent::renamed, false},  {qvProjectEvent::renamed, true},
        {qvProjectEvent::removing, false}, {qvProjectEvent::removing, true},
        {qvProjectEvent::pasted, false},   {qvProjectEvent::pasted, true},
        {qvProjectEvent::changed, true}};
    for (const auto& [id, wholeProject] : cases) {
        manager.ClearNodes();
        qvProject* p = addProject();
        qvProjectNode* node = add(p, "a");
        const qvNodeGuard project(p);
        EventHook hook(manager.GetEventSource(), id, [&, all = wholeProject](qvEvent& event) {
            auto* subject = static_cast<qvProjectNode*>(event.data1);
            if (all && project) {
                manager.RemoveNode(project.node(), true);
            } else if (!all && subject->getParent()) {
                subject->getParent()->RemoveNode(subject, true);
            }
        });
        const qvNodeGuard guard(node);
        p->AddSubnode("deviceTB", "b");
        if (guard) guard.node()->Copy();
        if (project) project.node()->Paste("c");
        if (guard) guard.node()->Rename("d");
        TextBlock block;
        block.LoadBlock(
            "begin <deviceTB(1.0)> \"x\"\nWIDTH = 1\n"
            "begin <deviceTB(1.0)> \"y\"\nWIDTH = 1\nend\nend\n");
        if (guard) guard.node()->ReadBlock(block);
        if (guard) guard.node()->Delete();
        qverr().reset();
    }
}

}  // namespace
