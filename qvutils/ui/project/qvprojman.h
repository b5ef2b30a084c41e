#pragma once
#include <memory>

#include "qvutils/ui/project/qvappservices.h"
#include "qvutils/ui/project/qvnodeinfo.h"
#include "qvutils/ui/project/qvproject.h"

/// The root of the tree: its children are the open projects. It keeps the registered node types and
/// the clipboard, and it is where the events of the tree are raised.
class QVCORE_API qvProjectManager : public qvProjectNode {
public:
    QV_CLASS_INFO(qvProjectManager)

    void OnPublish() override;
    qvNameSpace* GetNameSpace() override { return nullptr; }
    bool CanContainItem(const TBlockSig& signature) override;

    /// Opens a project file. An empty node name stands for the name in the file. True also when
    /// parts could not be read; error 504 then says so.
    virtual bool ProjectOpen(const char* filename, const char* nodename);
    /// Asks the listeners of 10007 and, when they allow it, destroys the project.
    virtual bool ProjectClose(qvProject* project);
    virtual bool ProjectCloseAll();
    /// The file dialog's filter for all registered file types; with `all`, other files can be
    /// chosen as well.
    virtual QVString getProjectWildcard(bool all) const;
    /// A node, not yet in the tree, for the first data block of a file; null on failure.
    virtual qvProjectNode* OnOpenFile(const char* filename, const char* nodename);
    virtual qvProjectNode* FindNodeByFilename(qvProjectNode* node, const char* filename);
    /// The open project of that file; null when there is none.
    virtual qvProjectNode* FindNodeByFilename(const char* filename);
    virtual qvProjectNode* OnFindParentForNode(qvProjectNode* node);
    /// A new node of the type registered for a signature; null when there is none.
    virtual qvProjectNode* CreateNodeForTextBlock(const TBlockSig& signature);
    /// `base`, a blank and a number that grows with every call.
    virtual QVString GenerateNewName(const char* base);

    qvMetaDataTable& getMetaDataTable() { return table_; }

    /// The node in the clipboard as a block, and the path of the node it was copied from.
    bool clipboardEmpty() const { return !clipboard_; }
    const TextBlock* clipboardBlock() const { return clipboard_.get(); }
    const QVString& clipboardSource() const { return clipboard_source_; }
    void clearClipboard();
    void setClipboard(const TextBlock& block, const QVString& source);
    /// The clipboard's text for the system's clipboard, with CR-LF line ends; and back. Importing
    /// a text that is no block leaves the clipboard as it was and returns false.
    QVString exportClipboard() const;
    bool importClipboard(const char* text);

    /// The application around the tree. `services` is not owned; null installs the base.
    qvAppServices& services() { return *services_; }
    void setServices(qvAppServices* services);

    /// Some open project has changes that are in no file.
    bool anyDirty() const;

private:
    friend QVCORE_API qvProjectManager& getProjectManager();
    qvProjectManager();
    ~qvProjectManager() override;

    qvProject* loadProject(const char* filename, const char* nodename);

    qvMetaDataTable table_;
    std::unique_ptr<TextBlock> clipboard_;
    QVString clipboard_source_;
    int name_counter_ = 0;
    qvAppServices no_services_;
    qvAppServices* services_ = &no_services_;
};

QVCORE_API qvProjectManager& getProjectManager();
