#include "qvutils/ui/project/qvprojnode.h"

#include <algorithm>
#include <utility>

#include "qvutils/common/error/qverror.h"
#include "qvutils/ui/project/qvprojman.h"

const qvClassInfo qvProjectNode::cinfo_qvProjectNode("qvProjectNode",
                                                     QVObject::getStaticClassInfo());

int qvAppObjEvents::refresh() {
    static const int id = qvEventIDServer::GetEventID();
    return id;
}

int qvAppObjEvents::changed() {
    static const int id = qvEventIDServer::GetEventID();
    return id;
}

int qvAppObjEvents::detached() {
    static const int id = qvEventIDServer::GetEventID();
    return id;
}

qvNodeGuard::qvNodeGuard(qvProjectNode* node) : node_(node) {
    if (node_) next_ = std::exchange(node_->guards_, this);
}

qvNodeGuard::~qvNodeGuard() {
    if (!node_) return;
    qvNodeGuard** link = &node_->guards_;
    while (*link != this) link = &(*link)->next_;
    *link = next_;
}

qvProjectNode::qvProjectNode() = default;

qvProjectNode::~qvProjectNode() {
    for (qvNodeGuard* guard = guards_; guard; guard = guard->next_) guard->node_ = nullptr;
    if (order_) parent_->children_.erase(this);
    ClearNodes();
}

bool qvProjectNode::isManager() const {
    return this == &getProjectManager();
}

qvProjectNode* qvProjectNode::getRootProjectNode() {
    const qvProjectNode* manager = &getProjectManager();
    qvProjectNode* node = this;
    while (node->parent_ && node->parent_ != manager) node = node->parent_;
    return node;
}

qvProject* qvProjectNode::getRootProject() {
    qvProjectNode* root = getRootProjectNode();
    return root->IsRootProject() ? static_cast<qvProject*>(root) : nullptr;
}

bool qvProjectNode::IsRootProject() const {
    return parent_ && parent_->isManager() && IsKindOf(qvProject::getStaticClassInfo());
}

bool qvProjectNode::IsLocked() {
    const qvProject* project = getRootProject();
    return project && project->locked_;
}

void qvProjectNode::setLocked(bool locked) {
    if (qvProject* project = getRootProject()) project->locked_ = locked;
}

qvNameSpace* qvProjectNode::GetNameSpace() {
    qvProjectNode* root = getRootProjectNode();
    if (root->isManager()) return nullptr;
    if (!root->namespace_) root->namespace_ = std::make_unique<qvNameSpace>();
    return root->namespace_.get();
}

void qvProjectNode::LeaveNameSpace() {
    for (qvProjectNode* child : children_.list()) child->LeaveNameSpace();
}

void qvProjectNode::EnterNameSpace() {
    for (qvProjectNode* child : children_.list()) child->EnterNameSpace();
}

void qvProjectNode::NotifyChanged() {
    if (qvProject* project = getRootProject()) project->dirty_ = true;
    source_.RaiseEvent(qvProjectEvent::changed, this);
}

void qvProjectNode::OnEvent(qvEvent& event, int) {
    if (event.getID() == qvProjectEvent::changed) {
        NotifyChanged();
        return;
    }
    if (!app_object_ || event.getSource() != app_object_) return;
    const qvNodeGuard guard(this);
    if (event.getID() == qvAppObjEvents::refresh()) {
        RefreshView(false);
        if (guard) OnAppObjRefresh();
    } else if (event.getID() == qvAppObjEvents::changed()) {
        source_.RaiseEvent(qvProjectEvent::changed, this);
    } else if (event.getID() == qvAppObjEvents::detached()) {
        listener().RemoveSource(*app_object_);
        app_object_ = nullptr;
        source_.RaiseEvent(qvProjectEvent::changed, this);
    }
}

void qvProjectNode::SetupAppObj(qvEventSource& object, qvEventListener* hearer) {
    if (app_object_) listener().RemoveSource(*app_object_);
    app_object_ = &object;
    for (int id :
         {qvAppObjEvents::refresh(), qvAppObjEvents::changed(), qvAppObjEvents::detached()}) {
        listener().ListenTo(object, id);
    }
    if (hearer) hearer->ListenTo(source_, qvProjectEvent::changed);
}

void qvProjectNode::RefreshView(bool all) {
    getProjectManager().GetEventSource().RaiseEvent(qvProjectEvent::refresh, this, &all);
}

const char* qvProjectNode::getTypeName() const {
    const auto* info =
        getProjectManager().getMetaDataTable().FindMetaDataByClassInfo(getClassInfo());
    return info ? info->signature.type : "";
}

void qvProjectNode::setName(const QVString& name) {
    qvProject* project = order_ ? getRootProject() : nullptr;
    const bool movesRecords = project && project != this && !project->strays_.empty();
    const QVString oldKey = movesRecords ? stateKey() : QVString();
    if (order_) {
        parent_->children_.rename(this, name);
    } else {
        name_ = name;
    }
    if (movesRecords) project->strays_.Rename(oldKey.view(), stateKey().view());
    getProjectManager().GetEventSource().RaiseEvent(qvProjectEvent::renamed, this);
}

void qvProjectNode::setParent(qvProjectNode* parent) {
    if (parent == parent_) return;
    parent_ = parent;
    OnAncestryChanged();
}

void qvProjectNode::OnAncestryChanged() {
    for (qvProjectNode* child : children_.list()) child->OnAncestryChanged();
}

void qvProjectNode::Prepare() {
    for (qvProjectNode* child : children_.list()) {
        child->Prepare();
        child->prepared_ = true;
    }
}

bool qvProjectNode::AddNode(qvProjectNode* child) {
    if (FindChild(child->name_.view())) {
        if (name_.Empty()) {
            qverr().setf("Item with name \"%s\" already exists\n", child->name_.Chars());
        } else {
            qverr().setf("Item with name \"%s\" already exists in %s\n", child->name_.Chars(),
                         name_.Chars());
        }
        return false;
    }
    int depth = 1;
    for (const qvProjectNode* node = this; node->parent_; node = node->parent_) ++depth;
    if (depth > maxDepth) {
        qverr().setf("nodes cannot be nested deeper than %d levels\n", maxDepth);
        return false;
    }
    children_.append(child);
    child->setParent(this);
    listener().ListenTo(child->source_, qvProjectEvent::changed);
    return true;
}

qvEventListener& qvProjectNode::listener() {
    if (!listener_) {
        listener_ = std::make_unique<qvEventListener>();
        listener_->setEventHandler(*this);
    }
    return *listener_;
}

bool qvProjectNode::RemoveNode(qvProjectNode* child, bool destroy) {
    if (!child || child->parent_ != this || !child->order_) return false;
    listener().RemoveSource(child->source_);
    children_.erase(child);
    if (destroy) {
        child->parent_ = nullptr;
        delete child;
    } else {
        child->setParent(nullptr);
    }
    return true;
}

void qvProjectNode::ClearNodes() {
    destroy(children_.exchange({}));
}

void qvProjectNode::destroy(List<qvProjectNode*> nodes) {
    for (qvProjectNode* node : nodes) {
        node->order_ = 0;
        node->parent_ = nullptr;
    }
    for (qvProjectNode* node : nodes) delete node;
}

qvProjectNode* qvProjectNode::FindNode(const char* path, const qvProjectNode* exclude,
                                       const qvClassInfo* classInfo) {
    std::string_view rest(path);
    qvProjectNode* node = this;
    for (std::size_t slash; node && (slash = rest.find('/')) != rest.npos;) {
        const std::string_view head = rest.substr(0, slash);
        rest.remove_prefix(slash + 1);
        if (head == "..") {
            node = node->parent_;
        } else if (head.empty()) {
            node = &getProjectManager();
        } else {
            node = node->FindChild(head);
        }
    }
    if (!node) return nullptr;

    const auto wanted = [&](const qvProjectNode* child) {
        return child != exclude && (!classInfo || child->IsKindOf(classInfo));
    };
    qvProjectNode* found = node->FindChild(rest);
    if (!found || wanted(found)) return found;
    // The first of that name does not count; only a program that sets names without asking can
    // have made another.
    for (qvProjectNode* child : node->getNodes()) {
        if (child->name_.view() == rest && wanted(child)) return child;
    }
    return nullptr;
}

qvProjectNode* qvProjectNode::FindPreviousSibling(bool sameType) const {
    if (!order_) return nullptr;
    const List<qvProjectNode*>& siblings = parent_->getNodes();
    for (int i = parent_->children_.positionOf(this) - 1; i >= 1; --i) {
        if (!sameType || siblings[i]->getClassInfo() == getClassInfo()) return siblings[i];
    }
    return nullptr;
}

QVString qvProjectNode::getPath() const {
    QVString path;
    for (const qvProjectNode* node = this; node->parent_; node = node->parent_) {
        path.Prepend(node->name_);
        path.Prepend('/');
    }
    return path;
}

QVString qvProjectNode::stateKey() const {
    QVString key;
    for (const qvProjectNode* node = this; node->parent_ && !node->parent_->isManager();
         node = node->parent_) {
        if (node != this) key.Prepend('/');
        key.Prepend(node->name_);
    }
    return key;
}

bool qvProjectNode::IsNameValid(std::string_view name) {
    if (name.empty() || name.size() > maxNameLength) return false;
    return std::none_of(name.begin(), name.end(), [](char c) {
        const auto byte = static_cast<unsigned char>(c);
        return byte < 0x20 || byte == 0x7f ||
               std::string_view("<>|?:,;\"\\/=").find(c) != std::string_view::npos;
    });
}

bool qvProjectNode::ExtractSFiles(FILE* file) {
    for (qvProjectNode* child : children_.list()) {
        if (!child->ExtractSFiles(file)) return false;
    }
    return true;
}

bool qvProjectNode::StoreSFiles(FILE* file) {
    for (qvProjectNode* child : children_.list()) {
        if (!child->StoreSFiles(file)) return false;
    }
    return true;
}
