// What the command language sees of a node.

#include "qvutils/common/error/qverror.h"
#include "qvutils/ui/project/qvprojman.h"

namespace {

void readBlockText(qvProjectNode& node, const char* text) {
    TextBlock block;
    if (block.LoadBlock(text)) {
        node.ReadBlock(block);
    } else if (!qverr()) {
        qverr().set("the text is no block: it must begin with \"begin <\"\n");
    }
}

QVString writeBlockText(qvProjectNode& node) {
    TextBlock block;
    if (!node.WriteTB(block)) return {};
    return QVString(block.text());
}

void renameUnlessLocked(qvProjectNode& node, const char* newname) {
    if (!node.IsLocked()) node.Rename(newname);
}

qvProjectNode* findOrComplain(qvProjectNode& node, const char* path) {
    qvProjectNode* found = node.FindNode(path);
    if (!found) qverr().setf("could not find node \"%s\"\n", path);
    return found;
}

void updateViews(qvProjectNode& node) {
    if (getProjectManager().services().openView(node, false)) node.RefreshView(true);
}

void findOrCreateView(qvProjectNode& node) {
    getProjectManager().services().openView(node, true);
}

void addSubnode(qvProjectNode& node, const char* blocktype, const char* newname) {
    node.AddSubnode(blocktype, newname);
}

}  // namespace

QVString qvProjectNode::acceptedTypes() const {
    const qvMetaDataTable& table = getProjectManager().getMetaDataTable();
    QVString names;
    for (int i = 1; i <= table.size(); ++i) {
        const TBlockSig& signature = table.getMetaData(i)->signature;
        if (!const_cast<qvProjectNode*>(this)->CanContainItem(signature)) continue;
        if (!names.Empty()) names += ',';
        names += signature.type;
    }
    return names;
}

void qvProjectNode::OnPublish() {
    PublishList("subnodes", children_.list(), "list of the subnodes", true);
    PublishFn("numsubnodes", &qvProjectNode::getNumSubnodes, "(): get number of subnodes");
    PublishFn("nodename", &qvProjectNode::getName, "(): get name of the node");
    PublishFn("rename", renameUnlessLocked, "( newname ): rename the node");
    PublishFn("findnode", findOrComplain, "( path ): find subnode");
    PublishFn("addsubnode", addSubnode, [this] {
        return "( blocktype, newname ): add a new subnode; blocktype=" + acceptedTypes();
    });
    PublishFn(
        "delete", [](qvProjectNode& node) { node.Delete(); }, "(): delete the node");
    PublishFn(
        "cut", [](qvProjectNode& node) { node.Cut(); }, "(): cut the node to the clipboard");
    PublishFn(
        "copy", [](qvProjectNode& node) { node.Copy(); }, "(): copy the node to the clipboard");
    PublishFn(
        "paste", [](qvProjectNode& node, const char* newname) { node.Paste(newname); },
        "( newname ): paste subnode from the clipboard");
    PublishFn("readblock", readBlockText, "( text ): read text-block describing this node");
    PublishFn("writeblock", writeBlockText, "(): write text-block describing this node");
    PublishFn("getparent", &qvProjectNode::getParent, "(): get the parent node");
    PublishFn("updateviews", updateViews, "(): update all views of the node");
    PublishFn("findorcreateview", findOrCreateView, "(): find or create a view of the node");
}

void qvProjectNode::SetParam(QVCommandElt& element, const char* value, const char* name) {
    QVObject::SetParam(element, value, name);
    if (!qverr()) NotifyChanged();
}

void qvProjectManager::OnPublish() {
    PublishList("subnodes", children_.list(), "list of the open projects", true);
    PublishFn("numsubnodes", &qvProjectNode::getNumSubnodes, "(): get number of subnodes");
    PublishFn("addsubnode", addSubnode, [this] {
        return "( blocktype,newname ): add a new subnode; blocktype=" + acceptedTypes();
    });
    PublishFn("findnode", findOrComplain, "( path ): find subnode");
    PublishFn("getparent", &qvProjectNode::getParent, "(): get the parent");
    PublishFn(
        "openproject",
        [](qvProjectManager& manager, const char* filename, const char* nodename) {
            manager.ProjectOpen(filename, nodename);
        },
        "( filename[, nodename] ): open the specified project with the specified node name",
        qvRequiredArgs(1));
    PublishFn(
        "closeall", [](qvProjectManager& manager) { manager.ProjectCloseAll(); },
        "(): close all projects");
    PublishFn(
        "paste", [](qvProjectManager& manager, const char* newname) { manager.Paste(newname); },
        "( newname ): paste subnode from the clipboard");
}

void qvProject::OnPublish() {
    qvProjectNode::OnPublish();
    PublishVar("filename", filename_, "project file name (used by save)");
    PublishFn(
        "savetofile",
        [](qvProject& project, const char* filename) { project.SaveToFile(filename); },
        "(filename): save the project to the specified file");
    PublishFn(
        "close", [](qvProject& project) { getProjectManager().ProjectClose(&project); },
        "(): close the project");
    PublishFn(
        "setdirty", [](qvProject& project, int dirty) { project.setDirty(dirty != 0); },
        "(iflag): sets the project dirty-flag; iflag=0:clean iflag=1:dirty");
    PublishFn(
        "getdirty", [](qvProject& project) { return project.IsDirty() ? 1 : 0; },
        "(): returns the project dirty-flag; 0=clean 1=dirty");
    PublishFn(
        "setlocked", [](qvProject& project, int locked) { project.setLocked(locked != 0); },
        "(iflag): sets the project locked-flag; iflag=0:unlocked iflag=1:locked");
    PublishFn(
        "getlocked", [](qvProject& project) { return project.IsLocked() ? 1 : 0; },
        "(): returns the project locked-flag; 0=unlocked 1=locked");
}
