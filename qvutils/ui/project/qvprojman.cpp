#include "qvutils/ui/project/qvprojman.h"

#include <deque>
#include <string>

#include "qvutils/common/error/qverror.h"
#include "qvutils/common/platform/files.h"
#include "qvutils/ui/project/busy.h"
#include "qvutils/ui/project/loadresult.h"

namespace {

constexpr int badName = 1000;

bool isProject(const qvProjectNode& node) {
    return node.IsKindOf(qvProject::getStaticClassInfo());
}

}  // namespace

const qvClassInfo qvProjectManager::cinfo_qvProjectManager("qvProjectManager",
                                                           qvProjectNode::getStaticClassInfo());

qvProjectManager& getProjectManager() {
    // Never destroyed: registrations, plug-ins and globals may outlive everything else.
    static auto* manager = new qvProjectManager;
    return *manager;
}

qvProjectManager::qvProjectManager() = default;
qvProjectManager::~qvProjectManager() = default;

void qvProjectManager::setServices(qvAppServices* services) {
    services_ = services ? services : &no_services_;
}

bool qvProjectManager::anyDirty() const {
    for (const qvProjectNode* node : getNodes()) {
        if (isProject(*node) && static_cast<const qvProject*>(node)->IsDirty()) return true;
    }
    return false;
}

bool qvProjectManager::CanContainItem(const TBlockSig& signature) {
    const auto* info = table_.FindMetaDataByBlockType(signature.type);
    return info && info->classInfo->IsKindOf(qvProject::getStaticClassInfo());
}

qvProjectNode* qvProjectManager::CreateNodeForTextBlock(const TBlockSig& signature) {
    const auto* info = table_.FindMetaDataByBlockType(signature.type);
    return info ? dynamic_cast<qvProjectNode*>(info->classInfo->CreateObject()) : nullptr;
}

QVString qvProjectManager::GenerateNewName(const char* base) {
    return QVString().sprintf("%s %d", base, ++name_counter_);
}

qvProjectNode* qvProjectManager::OnFindParentForNode(qvProjectNode*) {
    return this;
}

qvProjectNode* qvProjectManager::FindNodeByFilename(qvProjectNode* node, const char* filename) {
    const std::string path = qvplatform::fullPath(filename);
    for (qvProjectNode* child : node->getNodes()) {
        if (isProject(*child) && static_cast<qvProject*>(child)->getFilename() == path.c_str()) {
            return child;
        }
    }
    return nullptr;
}

qvProjectNode* qvProjectManager::FindNodeByFilename(const char* filename) {
    return FindNodeByFilename(this, filename);
}

qvProjectNode* qvProjectManager::OnOpenFile(const char* filename, const char* nodename) {
    qvProjectFile file;
    if (!file.load(filename)) return nullptr;
    std::unique_ptr<qvProjectNode> node(CreateNodeForTextBlock(
        {file.block.getType(), file.block.getMajorVer(), file.block.getMinorVer()}));
    if (!node) {
        qverr().setf("Unrecognised project node type: %s", file.block.getHeader());
        return nullptr;
    }
    const QVString name(*nodename ? nodename : file.block.getName());
    if (!IsNameValid(name.view())) {
        qverr().setf(badName, "invalid name %s.\n", name.Chars());
        return nullptr;
    }
    if (FindChild(name.view())) {
        qverr().setf(badName, "An object with name %s already exists.\n", name.Chars());
        return nullptr;
    }
    node->setName(name);
    if (isProject(*node)) static_cast<qvProject&>(*node).giveFile(std::move(file));
    return node.release();
}

bool qvProjectManager::ProjectOpen(const char* filename, const char* nodename) {
    if (qverr()) return false;
    const qvBusy busy;
    SyntaxErrorReport report;
    qvProject* project = loadProject(filename, nodename);
    if (!project) {
        if (!qverr()) qverr().set("Sorry, the file was not successfully loaded.\n");
        return false;
    }
    report.take();
    project->Prepare();
    project->setPrepared(true);
    const QVString path = project->getFilename();
    services().projectFileUsed(path.Chars());
    GetEventSource().RaiseEvent(qvProjectEvent::opened, project, const_cast<char*>(path.Chars()));
    report.post();
    return true;
}

qvProject* qvProjectManager::loadProject(const char* filename, const char* nodename) {
    std::unique_ptr<qvProjectNode> node(OnOpenFile(filename, nodename));
    if (!node) return nullptr;
    if (!isProject(*node)) {
        CodeError("You can only open a node of type qvProject", "qvprojman", __LINE__);
        return nullptr;
    }
    qvProjectNode* parent = OnFindParentForNode(node.get());
    if (!node->Create() || !parent->AddNode(node.get())) return nullptr;
    const qvNodeGuard loading(node.get());
    auto* project = static_cast<qvProject*>(node.release());
    if (project->LoadFromFile(filename)) return project;
    if (loading) parent->RemoveNode(project, true);
    return nullptr;
}

bool qvProjectManager::ProjectClose(qvProject* project) {
    bool allow = true;
    const qvNodeGuard guard(project);
    GetEventSource().RaiseEvent(qvProjectEvent::closing, project, &allow);
    if (!allow || !guard) return allow;
    if (qvProjectNode* parent = project->getParent()) {
        parent->RemoveNode(project, true);
    } else {
        delete project;
    }
    return true;
}

bool qvProjectManager::ProjectCloseAll() {
    // Closing one project may make a listener close others.
    std::deque<qvNodeGuard> open;
    for (qvProjectNode* node : getNodes()) open.emplace_back(node);
    bool all = true;
    for (const qvNodeGuard& guard : open) {
        if (!guard) continue;
        if (!isProject(*guard.node())) {
            CodeError("The child of qvProjectManager should be a qvProject!", "qvprojman",
                      __LINE__);
            return false;
        }
        if (!ProjectClose(static_cast<qvProject*>(guard.node()))) all = false;
    }
    return all;
}

QVString qvProjectManager::getProjectWildcard(bool all) const {
    std::string patterns;
    std::string types;
    for (int i = 1; i <= table_.size(); ++i) {
        const qvProjectNodeInfo& info = *table_.getMetaData(i);
        if (info.fileSuffix.Empty()) continue;
        const std::string pattern = std::string("*.") + info.fileSuffix.Chars();
        patterns += (patterns.empty() ? "" : ";") + pattern;
        types +=
            std::string("|") + info.displayName.Chars() + " files (" + pattern + ")|" + pattern;
    }
    std::string wildcard = "All application files (" + patterns + ")|" + patterns + types;
    if (all) wildcard += "|All files (*.*)|*.*";
    return wildcard.c_str();
}

void qvProjectManager::clearClipboard() {
    clipboard_.reset();
    clipboard_source_ = "";
}

void qvProjectManager::setClipboard(const TextBlock& block, const QVString& source) {
    clearClipboard();
    clipboard_source_ = source;
    if (source.Empty()) return;
    clipboard_ = std::make_unique<TextBlock>(block);
    clipboard_->compact();  // it may be a small part of a large file
}

QVString qvProjectManager::exportClipboard() const {
    QVString text;
    if (!clipboard_) return text;
    text = clipboard_->text();
    text.GSub("\n", "\r\n");
    return text;
}

bool qvProjectManager::importClipboard(const char* text) {
    TextBlock block;
    if (!block.LoadBlock(text)) return false;
    clearClipboard();
    clipboard_ = std::make_unique<TextBlock>(block);
    return true;
}
