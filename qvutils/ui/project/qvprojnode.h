#pragma once
#include <memory>
#include <string_view>

#include "qvutils/common/blocks/textblock.h"
#include "qvutils/common/events/qvevent.h"
#include "qvutils/common/object/qvobject.h"
#include "qvutils/common/text/qvstring.h"
#include "qvutils/common/variables/qvnamespace.h"
#include "qvutils/ui/project/qvchildnodes.h"

class BodyReader;
class qvNodeGuard;
class qvProject;
class qvProjectManager;
struct qvProjectNodeInfo;

/// The events of the project tree. A payload "allow" is a bool, true at first, which any listener
/// may clear to forbid what is about to happen.
namespace qvProjectEvent {
inline constexpr int changed = 10000;   ///< on the node's own source: it or its subtree; (node)
inline constexpr int removing = 10001;  ///< on the manager: cut or delete; (node, allow)
inline constexpr int pasted = 10002;    ///< on the manager; (node)
inline constexpr int added = 10003;     ///< on the manager: added, or its block was read; (node)
inline constexpr int refresh = 10004;   ///< on the manager: refresh the views; (node, bool)
inline constexpr int renamed = 10005;   ///< on the manager; (node)
inline constexpr int opened = 10006;    ///< on the manager; (project, file name)
inline constexpr int closing = 10007;   ///< on the manager; (project, allow)
}  // namespace qvProjectEvent

/// The event kinds of an application object that is attached to a node (SetupAppObj).
struct QVCORE_API qvAppObjEvents {
    static int refresh();   ///< the node refreshes its views
    static int changed();   ///< the node counts as changed
    static int detached();  ///< the object goes; the node lets go of it
};

/// A node of the project tree: a name, a parent, children that it owns, and the block of text under
/// which it is written. Base of the projects, of their manager and of all node types.
///
/// Failures are posted to qverr(); an operation that finds an error pending does nothing.
class QVCORE_API qvProjectNode : public QVObject {
public:
    QV_CLASS_INFO(qvProjectNode)

    /// Block nesting and with it the depth of the tree are limited.
    static constexpr int maxDepth = 180;
    static constexpr int maxNameLength = 255;

    qvProjectNode();
    qvProjectNode(const qvProjectNode&) = delete;
    qvProjectNode& operator=(const qvProjectNode&) = delete;
    ~qvProjectNode() override;

    qvNameSpace* GetNameSpace() override;
    void OnPublish() override;
    void SetParam(QVCommandElt& element, const char* value, const char* name) override;
    void OnEvent(qvEvent& event, int tag) override;
    QVObject* Clone() const override { return newCopy(); }

    // Operations that node types replace.

    /// A new node with the same block, without a parent; null when it cannot be made.
    virtual qvProjectNode* newCopy() const;
    /// Raises 10004: the views of the node shall show what it is now; with `all`, all of it.
    virtual void RefreshView(bool all);
    /// May this node be copied? May it be removed?
    virtual bool CanEnCopy();
    virtual bool CanEnRemove();
    virtual bool CanEnPaste();
    virtual bool CanEnSave() { return true; }
    virtual bool Copy();
    virtual bool Cut();
    virtual bool Delete();
    virtual bool Paste(const char* newname);
    virtual bool CanContainItem(const TBlockSig& signature);
    /// First of the two passes over a block: enters the variables that it defines into the
    /// namespace. True also when the pending error is 504 (counted syntax errors).
    virtual bool PreloadVariables(TextBlock& block);
    /// Reads the node's own body. A mistake in the text that costs no more than a line goes to
    /// SyntaxErr and reading goes on; false when the block cannot be used. A reader that returns
    /// false must leave the fields of its node as they were: read first, assign at the end.
    virtual bool ReadTB(TextBlock& block);
    /// Writes the whole block of the node into an empty one.
    virtual bool WriteTB(TextBlock& block) const;
    /// Called a few children before WriteTB: a node whose data lie apart from it may ask the
    /// processor to fetch them.
    virtual void FetchAhead() const {}
    /// While the body of a node is replaced, the variables that it and its subtree define are out of
    /// the namespace; their nodes keep the definitions. They enter the namespace of the tree that
    /// the node is now in.
    virtual void LeaveNameSpace();
    virtual void EnterNameSpace();
    /// Runs when the node and its subtree are complete.
    virtual void Prepare();
    /// Called once, after the node was named and before it is linked; false forbids it.
    virtual bool Create() { return true; }
    virtual void PreCreate() {}
    virtual void PostPaste() {}
    virtual void OnAncestryChanged();
    virtual const QVString& getName() const { return name_; }
    /// The block type name under which the node's class is registered; empty when it is not.
    virtual const char* getTypeName() const;
    virtual void setName(const QVString& name);
    virtual void setParent(qvProjectNode* parent);
    /// Read and write the side files of the node and of its children, in order. The name of an
    /// owner in the state file is stateKey().
    virtual bool ExtractSFiles(FILE* file);
    virtual bool StoreSFiles(FILE* file);
    /// What follows RefreshView when the attached object asks for a refresh.
    virtual void OnAppObjRefresh() {}

    // The tree.

    qvProjectNode* getParent() const { return parent_; }
    const List<qvProjectNode*>& getNodes() const { return children_.list(); }
    int getNumSubnodes() const { return children_.size(); }
    qvProject* getRootProject();
    /// The direct child of the manager above (or at) this node; the topmost node when there is no
    /// manager above.
    qvProjectNode* getRootProjectNode();
    bool IsRootProject() const;
    bool IsPrepared() const { return prepared_; }
    /// Both act on the root project.
    bool IsLocked();
    void setLocked(bool locked);

    /// Takes the child over. On failure (its name is taken) the caller keeps it.
    bool AddNode(qvProjectNode* child);
    /// False when it is no child of this node.
    bool RemoveNode(qvProjectNode* child, bool destroy);
    void ClearNodes();

    /// A path is names joined by "/"; ".." is the parent, an empty first name the manager. Skips
    /// `exclude` and finds only nodes of `classInfo` or derived from it, when these are given.
    qvProjectNode* FindNode(const char* path, const qvProjectNode* exclude = nullptr,
                            const qvClassInfo* classInfo = nullptr);
    /// A child by its name.
    qvProjectNode* FindChild(std::string_view name) const { return children_.find(name); }
    /// The sibling before this node; with `sameType`, the nearest earlier one of the same class.
    qvProjectNode* FindPreviousSibling(bool sameType) const;
    /// The names from the manager down to this node, each after a "/". Empty for the manager.
    QVString getPath() const;
    /// The names below the root project, joined by "/": what identifies the owner of side files.
    QVString stateKey() const;

    static bool IsNameValid(std::string_view name);

    bool AddSubnode(const char* blocktype, const char* newname);
    bool Rename(const char* newname);
    /// Replaces what the node holds by what the block says. The tree stays as it was when the block
    /// cannot be read.
    bool ReadBlock(TextBlock& block);
    /// Writes the lines kept by KeepLine() and then the blocks of the children, with the comments
    /// that stood between them.
    bool WriteChildNodes(FBuff& buffer) const;
    /// Makes the children from the blocks in the buffer, up to its end or to an "end" line. Blocks
    /// of unknown types and lines that belong to no block are counted as syntax errors and kept.
    bool CreateChildNodes(FBuff& buffer);

    qvEventSource& GetEventSource() { return source_; }
    /// Announces a change of this node: its project is dirty and 10000 climbs to the manager.
    void NotifyChanged();

    /// Attaches an application object: the node follows its events (qvAppObjEvents), and
    /// `hearer`, when given, hears of changes of the node. The node does not own them.
    void SetupAppObj(qvEventSource& object, qvEventListener* hearer = nullptr);
    qvEventSource* getAppObj() const { return app_object_; }

    /// For WriteTB: starts the node's block with its registered signature and its name. Comments of
    /// the remembered block stay with the lines that are written in the same order.
    void StartNodeBlock(TextBlock& block) const;
    /// For ReadTB: keeps the text of the block for the comments in it; with `frame`, only the
    /// comments on its first and its last line.
    void RememberBlock(const TextBlock& block, bool frame);
    /// For ReadTB: keeps a line that was reported as a syntax error, to be written back.
    void KeepLine(std::string_view line);

protected:
    /// Makes `block` the node's body in place of what it holds, in two passes. When that fails the
    /// node and its tree are as they were.
    bool replaceBody(TextBlock& block);
    /// Whether this is the manager, the root of the tree.
    bool isManager() const;
    /// The block types that may be added to this node, joined by ",".
    QVString acceptedTypes() const;
    void setPrepared(bool prepared) { prepared_ = prepared; }

private:
    friend class qvChildNodes;
    friend class qvNodeGuard;
    friend class qvProjectManager;

    /// What a user wrote around the things that were read.
    struct KeptText {
        QVString remembered;  ///< see RememberBlock
        QVString bad_lines;   ///< see KeepLine
        QVString closing;     ///< the lines between the last child and the end of the block
    };

    /// What listens to the children and to an attached object; made when there is one.
    qvEventListener& listener();
    static void destroy(List<qvProjectNode*> nodes);
    bool readPasted(qvProjectNode& child, TextBlock& block, const char* newname);
    bool removeWhenAllowed();
    bool loadBody(TextBlock& block);
    bool readChild(const BodyReader& reader, TextBlock& block, QVString& lead);
    static bool readBodyOf(std::unique_ptr<qvProjectNode>& child, TextBlock& block);

    QVString name_;
    qvProjectNode* parent_ = nullptr;
    unsigned order_ = 0;  ///< grows along the parent's list; 0 when not in it
    bool prepared_ = false;
    qvChildNodes children_;
    qvEventSource* app_object_ = nullptr;
    std::unique_ptr<qvNameSpace> namespace_;
    KeptText kept_;
    QVString
        lead_;  ///< the lines between the sibling before this node's block, or the start, and it
    qvNodeGuard* guards_ = nullptr;
    qvEventSource source_;
    std::unique_ptr<qvEventListener> listener_;
};

/// Watches a node over a call that may destroy it (listeners of events may do anything).
class QVCORE_API qvNodeGuard {
public:
    explicit qvNodeGuard(qvProjectNode* node);
    ~qvNodeGuard();
    qvNodeGuard(const qvNodeGuard&) = delete;
    qvNodeGuard& operator=(const qvNodeGuard&) = delete;

    /// The node; null once it is destroyed.
    qvProjectNode* node() const { return node_; }
    explicit operator bool() const { return node_ != nullptr; }

private:
    friend class qvProjectNode;
    qvProjectNode* node_;
    qvNodeGuard* next_ = nullptr;
};
