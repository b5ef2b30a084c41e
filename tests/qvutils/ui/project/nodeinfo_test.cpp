#include "tests/qvutils/ui/project/project_fixture.h"

namespace {

class NodeInfoTest : public ProjectTest {
protected:
    qvProjectNodeInfo info(const char* type) {
        qvProjectNodeInfo record;
        record.classInfo = DeviceNode::getStaticClassInfo();
        record.signature = {type, 1, 0};
        record.displayName = type;
        return record;
    }
    qvMetaDataTable& table = manager.getMetaDataTable();
};

TEST_F(NodeInfoTest, the_second_type_of_a_name_is_refused) {
    qvProjectNodeInfo twin = info("notesTB");
    const int before = table.size();
    const qvProjectNodeInfoClass registration(twin);
    EXPECT_FALSE(qvProjectNodeInfoClass::Register());
    EXPECT_EQ(output.takeWarnings(),
              "registration of duplicate node:\n\"Notes\"\nignored\n"
              "failure in registering node type \"notesTB\"\n");
    EXPECT_EQ(table.size(), before);
}

TEST_F(NodeInfoTest, children_past_the_twentieth_do_not_count) {
    std::vector<const qvClassInfo*> children(20, qvNotesNode::getStaticClassInfo());
    children.push_back(DeviceNode::getStaticClassInfo());
    children.push_back(nullptr);
    qvProjectNodeInfo crowd = info("crowdTB");
    crowd.allowedChildren = children.data();
    EXPECT_TRUE(table.AddNode(crowd));
    const auto accepts = [&](const char* type) {
        return table.Accepts(crowd, *table.FindMetaDataByBlockType(type));
    };
    EXPECT_TRUE(accepts("notesTB"));
    EXPECT_FALSE(accepts("deviceTB"));
    EXPECT_TRUE(table.RemoveNode("crowdTB"));
}

TEST_F(NodeInfoTest, an_unloaded_plugin_leaves_no_registration) {
    EXPECT_NE(table.FindMetaDataByBlockType("deviceTB"), nullptr);
    unloadPlugin();
    EXPECT_EQ(table.FindMetaDataByBlockType("deviceTB"), nullptr);
    EXPECT_FALSE(addProject()->AddSubnode("deviceTB", "d"));
    EXPECT_EQ(error(), "node type \"deviceTB\" unknown");
    loadPlugin();
    qvProjectNode* p = manager.FindChild("p");
    EXPECT_TRUE(p->AddSubnode("deviceTB", "d"));
    EXPECT_STREQ(p->getPublishedElt("addsubnode", true).getDescription(),
                 "( blocktype, newname ): add a new subnode; "
                 "blocktype=notesTB,variablesTB,parametersTB,deviceTB");
}

TEST_F(NodeInfoTest, file_dialogs_offer_every_type_with_a_suffix) {
    qvProjectNodeInfo record = info("ringTB");
    record.displayName = "Ring";
    record.fileSuffix = "rng";
    table.AddNode(record);
    EXPECT_EQ(manager.getProjectWildcard(true),
              "All application files (*.prj;*.rng)|*.prj;*.rng|Project files (*.prj)|*.prj|"
              "Ring files (*.rng)|*.rng|All files (*.*)|*.*");
    table.RemoveNode("ringTB");
    EXPECT_EQ(addProject()->getWildcard(), "Project files (*.prj)|*.prj");
}

}  // namespace
