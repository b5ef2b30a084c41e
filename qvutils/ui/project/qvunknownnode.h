#pragma once

#include "qvutils/ui/project/qvprojnode.h"

/// Stands for a block that this program cannot read: its type is not registered (a plug-in is
/// missing) or its version is not known. The text is kept as it was and written back with the
/// project, and so are its records in the state file.
class QVCORE_API qvUnknownNode : public qvProjectNode {
public:
    static qvClassInfo cinfo_qvUnknownNode;
    static const qvClassInfo* getStaticClassInfo() { return &cinfo_qvUnknownNode; }

    explicit qvUnknownNode(const TextBlock& block);
    qvUnknownNode() = default;

    const qvClassInfo* getClassInfo() const override { return &cinfo_qvUnknownNode; }
    const char* getTypeName() const override { return block_.getType(); }
    void OnPublish() override;
    void setName(const QVString& name) override;
    bool WriteTB(TextBlock& block) override;
    /// What the node is cannot be told to another program run, so it is not copied.
    bool CanEnCopy() override;
    bool ExtractSFiles(FILE* file) override;
    bool StoreSFiles(FILE* file) override;

private:
    TextBlock block_;
};
