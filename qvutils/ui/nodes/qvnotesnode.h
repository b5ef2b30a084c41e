#pragma once
#include <vector>

#include "qvutils/ui/project/qvprojnode.h"

/// A node that holds free text. In its block each line of the text stands after a ">".
class QVCORE_API qvNotesNode : public qvProjectNode {
public:
    QV_CLASS_INFO(qvNotesNode)

    void OnPublish() override;
    bool PreloadVariables(TextBlock&) override { return true; }
    /// A line without ">" is taken as text too; blank lines and comment lines are not part of it.
    bool ReadTB(TextBlock& block) override;
    bool WriteTB(TextBlock& block) const override;
    void FetchAhead() const override;

    void setName(const QVString& name) override;

    const QVString& getText();
    void setText(const QVString& text);
    void AppendText(const QVString& text);
    void ClearText();

private:
    /// A comment line of the user inside the block, and the number of text lines before it.
    struct Comment {
        int line;
        QVString text;
    };

    void decode();

    /// The block as it was read, until somebody wants to see or change what is in it: most notes of
    /// a project are only loaded and saved again.
    FBuff source_;
    QVString text_;
    std::vector<Comment> comments_;
};

/// Registers the block type "notesTB" (1.0), displayed as "Notes", allowed in projects.
QVCORE_API void registerNotesNode();
