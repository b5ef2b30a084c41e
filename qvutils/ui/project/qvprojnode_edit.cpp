// Adding, renaming, copying and removing nodes.

#include "qvutils/common/error/qverror.h"
#include "qvutils/common/platform/files.h"
#include "qvutils/common/platform/process.h"
#include "qvutils/ui/project/loadresult.h"
#include "qvutils/ui/project/qvprojman.h"

namespace {

/// A project that was never saved would be saved into the working directory.
void nameFileOfNewProject(qvProjectNode& node, const qvProjectNode& parent) {
    if (&parent != &getProjectManager() || !node.IsKindOf(qvProject::getStaticClassInfo())) return;
    const std::string directory = qvplatform::currentDirectory() + qvplatform::pathSeparator();
    static_cast<qvProject&>(node).setFilename(directory.c_str());
}

void raiseOnManager(int event, qvProjectNode* node) {
    getProjectManager().GetEventSource().RaiseEvent(event, node);
}

}  // namespace

bool qvProjectNode::CanContainItem(const TBlockSig& signature) {
    const qvMetaDataTable& table = getProjectManager().getMetaDataTable();
    const auto* own = table.FindMetaDataByClassInfo(getClassInfo());
    const auto* item = table.FindMetaDataByBlockType(signature.type);
    return own && item && table.Accepts(*own, *item);
}

bool qvProjectNode::AddSubnode(const char* blocktype, const char* newname) {
    if (qverr()) return false;
    const auto* info = getProjectManager().getMetaDataTable().FindMetaDataByBlockType(blocktype);
    if (!info) {
        qverr().setf("node type \"%s\" unknown", blocktype);
        return false;
    }
    if (!CanContainItem(info->signature)) {
        qverr().setf("child type %s not allowed\n", blocktype);
        return false;
    }
    std::unique_ptr<qvProjectNode> node(
        getProjectManager().CreateNodeForTextBlock(info->signature));
    if (!node) {
        CodeError("Could not create a suitable node object.", "qvprojnode", __LINE__);
        return false;
    }
    if (FindChild(newname)) {
        qverr().setf("name \"%s\" is already in use.\n", newname);
        return false;
    }
    if (!IsNameValid(newname)) {
        qverr().setf("invalid name \"%s\"\n", newname);
        return false;
    }
    nameFileOfNewProject(*node, *this);
    const qvNodeGuard self(this);
    node->setName(newname);
    if (!node->Create() || !self || !AddNode(node.get())) return false;

    const qvNodeGuard added(node.release());
    raiseOnManager(qvProjectEvent::added, added.node());
    if (added) {
        added.node()->Prepare();
        added.node()->prepared_ = true;
        added.node()->source_.RaiseEvent(qvProjectEvent::changed, added.node());
    }
    return true;
}

bool qvProjectNode::Rename(const char* newname) {
    if (qverr()) return false;
    const qvProjectNode* holder = parent_ ? parent_->FindChild(newname) : nullptr;
    if (holder && holder != this) {
        qverr().set("name is already in use.\n");
        return false;
    }
    if (!IsNameValid(newname)) {
        qverr().set("invalid name.\n");
        return false;
    }
    const qvNodeGuard guard(this);
    setName(newname);
    if (guard) NotifyChanged();
    return true;
}

bool qvProjectNode::CanEnCopy() {
    return true;
}

bool qvProjectNode::CanEnRemove() {
    return true;
}

bool qvProjectNode::CanEnPaste() {
    const TextBlock* block = getProjectManager().clipboardBlock();
    return block && CanContainItem({block->getType(), block->getMajorVer(), block->getMinorVer()});
}

bool qvProjectNode::Copy() {
    if (qverr() || !CanEnCopy()) return false;
    TextBlock block;
    if (!WriteTB(block)) return false;
    getProjectManager().setClipboard(block, getPath());
    return true;
}

bool qvProjectNode::Cut() {
    return !qverr() && parent_ && CanEnRemove() && Copy() && removeWhenAllowed();
}

bool qvProjectNode::Delete() {
    return !qverr() && parent_ && CanEnRemove() && removeWhenAllowed();
}

bool qvProjectNode::removeWhenAllowed() {
    bool allow = true;
    const qvNodeGuard self(this);
    getProjectManager().GetEventSource().RaiseEvent(qvProjectEvent::removing, this, &allow);
    if (!allow || !self || !order_) return false;
    const qvNodeGuard parent(parent_);
    parent_->RemoveNode(this, true);
    if (parent) parent.node()->NotifyChanged();
    return true;
}

bool qvProjectNode::Paste(const char* newname) {
    if (qverr()) return false;
    if (FindChild(newname)) {
        qverr().setf("name \"%s\" is already in use.\n", newname);
        return false;
    }
    if (!IsNameValid(newname)) {
        qverr().set("invalid name.\n");
        return false;
    }
    if (!CanEnPaste()) return false;
    TextBlock block = *getProjectManager().clipboardBlock();
    std::unique_ptr<qvProjectNode> node(getProjectManager().CreateNodeForTextBlock(
        {block.getType(), block.getMajorVer(), block.getMinorVer()}));
    if (!node) return false;

    nameFileOfNewProject(*node, *this);
    SyntaxErrorReport report;
    const qvNodeGuard self(this);
    if (!readPasted(*node, block, newname) || !self || !AddNode(node.get())) return false;
    report.take();
    const qvNodeGuard pasted(node.release());
    pasted.node()->Prepare();
    pasted.node()->prepared_ = true;
    pasted.node()->PostPaste();
    if (pasted) raiseOnManager(qvProjectEvent::pasted, pasted.node());
    if (pasted) pasted.node()->NotifyChanged();
    report.post();
    return true;
}

bool qvProjectNode::readPasted(qvProjectNode& node, TextBlock& block, const char* newname) {
    node.setName(newname);
    node.PreCreate();
    if (!node.Create()) return false;
    node.setParent(this);
    if (node.replaceBody(block)) return true;
    if (!qverr()) {
        qverr().setf("Sorry, there was a problem pasting the new %s.\n", block.getType());
    }
    return false;
}

qvProjectNode* qvProjectNode::newCopy() const {
    std::unique_ptr<qvProjectNode> copy(
        static_cast<qvProjectNode*>(getClassInfo()->CreateObject()));
    TextBlock block;
    if (!copy || !WriteTB(block)) return nullptr;
    copy->name_ = name_;
    return copy->replaceBody(block) ? copy.release() : nullptr;
}
