#pragma once
#include <memory>

#include "qvutils/ui/project/qvprojnode.h"

/// A node kept in a file of its own: the text of its tree, and beside it the state file with the
/// side files of its nodes.
class QVCORE_API qvProject : public qvProjectNode {
public:
    static qvClassInfo cinfo_qvProject;
    static const qvClassInfo* getStaticClassInfo() { return &cinfo_qvProject; }

    qvProject();
    ~qvProject() override;

    const qvClassInfo* getClassInfo() const override { return &cinfo_qvProject; }
    void OnPublish() override;
    void SetParam(QVCommandElt& element, const char* value, const char* name) override;
    bool CanEnSave() override;
    /// The children and what stands between them.
    bool ReadTB(TextBlock& block) override;
    bool WriteTB(TextBlock& block) override;

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

    /// The text of the file about to be loaded, when it has been read already.
    void giveText(std::unique_ptr<FBuff> text) { text_ = std::move(text); }

private:
    friend class qvProjectNode;

    bool readProjectText(FBuff& text);
    bool writeProjectText(FBuff& text);
    void loadStateFile();

    QVString filename_;
    bool dirty_ = false;
    bool locked_ = false;
    std::unique_ptr<FBuff> text_;
    // Comments of the user before the header block, between it and the project, and after that.
    QVString before_header_;
    QVString before_project_;
    QVString after_project_;
};

/// Registers the block type "projectTB" (1.0), displayed as "Project", in files *.prj.
QVCORE_API void registerProjectNode();
