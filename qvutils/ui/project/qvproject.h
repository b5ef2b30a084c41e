#pragma once
#include <string>
#include <utility>

#include "qvutils/common/platform/files.h"
#include "qvutils/common/statefiles/sfhandler.h"
#include "qvutils/ui/project/qvprojectfile.h"
#include "qvutils/ui/project/qvprojnode.h"

/// A node kept in a file of its own: the text of its tree, and beside it the state file with the
/// side files of its nodes.
class QVCORE_API qvProject : public qvProjectNode {
public:
    QV_CLASS_INFO(qvProject)

    void OnPublish() override;
    void SetParam(QVCommandElt& element, const char* value, const char* name) override;
    bool CanEnSave() override;
    bool ReadTB(TextBlock& block) override;
    bool WriteTB(TextBlock& block) const override;

    /// The file dialog's filter for this type, and its extension.
    virtual QVString getWildcard() const;
    virtual QVString getDefaultExtension() const;
    /// Replaces the (still empty) project by what the file says. Syntax errors are counted, and
    /// leave error 504 with an empty message.
    virtual bool LoadFromFile(const char* filename);
    /// Writes project and state file; either both are replaced or, with an error, none.
    virtual bool SaveToFile(const char* filename);
    /// A name without a directory is taken in the working directory.
    virtual void setFilename(const char* filename);

    const QVString& getFilename() const { return filename_; }
    bool IsDirty() const { return dirty_; }
    /// Clearing is for the project itself; a change of any node below sets it.
    void setDirty(bool dirty) { dirty_ = dirty; }

    /// Name and version of the plug-in that nodes of a block type come from, as the project's file
    /// has it; empty when it is not known.
    std::string neededPlugin(std::string_view blockType) const { return needed_.find(blockType); }

    /// What the file about to be loaded holds, when it has been read already.
    void giveFile(qvProjectFile file) { file_ = std::move(file); }

private:
    friend class qvProjectNode;

    enum class StateKind { none, empty, records };

    bool writeFiles(const std::string& path);
    bool writeProject(qvplatform::SafeFile& file, const std::string& path);
    bool writeState(qvplatform::SafeFile& file, const std::string& path, StateKind& kind);
    void loadState();

    QVString filename_;
    bool dirty_ = false;
    bool locked_ = false;
    /// What stands around the project's block in its file, and until it is loaded, the block.
    qvProjectFile file_;
    qvNeededPlugins needed_;
    /// Records of the state file that belong to nodes of unknown types.
    StrayRecords strays_;
};

/// Registers the block type "projectTB" (1.0), displayed as "Project", in files *.prj.
QVCORE_API void registerProjectNode();
