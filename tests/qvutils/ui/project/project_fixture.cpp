#include "tests/qvutils/ui/project/project_fixture.h"

namespace {

constexpr TBlockSig signature{"deviceTB", 1, 0};

qvProjectNodeInfo deviceInfo() {
    qvProjectNodeInfo info;
    info.classInfo = DeviceNode::getStaticClassInfo();
    info.signature = signature;
    info.displayName = "Device";
    info.parentTypes = {"projectTB", "deviceTB"};
    return info;
}

}  // namespace

const qvClassInfo DeviceNode::cinfo_DeviceNode("DeviceNode", qvProjectNode::getStaticClassInfo(),
                                               nullptr, qvCreateObject<DeviceNode>);

bool DeviceNode::ReadTB(TextBlock& block) {
    if (!block.CheckStartRead(signature, true)) return false;
    double value = 0;
    if (block.scanline(" WIDTH = %lf", &value) != 1) {
        SyntaxErr("WIDTH missing: %s", block.getLastLine());
        KeepLine(block.getLastLine());
    }
    if (!CreateChildNodes(block)) return false;
    RememberBlock(block, false);
    width = value;
    return true;
}

bool DeviceNode::WriteTB(TextBlock& block) const {
    StartNodeBlock(block);
    block.writeline("WIDTH = %g", width);
    WriteChildNodes(block);
    block.EndWrite();
    return !qverr();
}

bool DeviceNode::ExtractSFiles(FILE* file) {
    return results.ExtractSFiles(file, stateKey()) && qvProjectNode::ExtractSFiles(file);
}

bool DeviceNode::StoreSFiles(FILE* file) {
    return results.StoreSFiles(file, stateKey()) && qvProjectNode::StoreSFiles(file);
}

DevicePlugin::DevicePlugin() : registration_(deviceInfo()) {
    qvProjectNodeInfoClass::Register();
}

ProjectTest::ProjectTest() {
    registerProjectNode();
    registerNotesNode();
    registerVariablesNode();
    registerParametersNode();
    loadPlugin();
    qverr().reset();
}

ProjectTest::~ProjectTest() {
    manager.ClearNodes();
    manager.clearClipboard();
    qverr().reset();
    SFHandler::InitialiseCacheDir("");
}

qvProject* ProjectTest::addProject(const char* name) {
    return static_cast<qvProject*>(add(&manager, name, "projectTB"));
}

qvProjectNode* ProjectTest::add(qvProjectNode* parent, const char* name, const char* type) {
    EXPECT_TRUE(parent->AddSubnode(type, name)) << error();
    return parent->FindChild(name);
}

qvProject* ProjectTest::open(const std::string& path) {
    const int before = manager.getNumSubnodes();
    manager.ProjectOpen(path.c_str(), "");
    const int now = manager.getNumSubnodes();
    return now > before ? static_cast<qvProject*>(manager.getNodes()[now]) : nullptr;
}

std::string ProjectTest::textOf(const qvProjectNode& node) {
    TextBlock block;
    EXPECT_TRUE(node.WriteTB(block)) << error();
    return std::string(block.text());
}
