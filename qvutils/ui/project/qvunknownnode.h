#pragma once

#include "qvutils/ui/project/qvprojnode.h"

/// Stands for a block that this program cannot read: its type is not registered (a plug-in is
/// missing) or its version is not known. The text is kept as it was and written back with the
/// project, and so are its records in the state file.
class QVCORE_API qvUnknownNode : public qvProjectNode {
public:
    QV_CLASS_INFO(qvUnknownNode)

    explicit qvUnknownNode(const TextBlock& block);
    qvUnknownNode() = default;

    const char* getTypeName() const override { return type_; }
    void OnPublish() override;
    bool ReadTB(TextBlock& block) override;
    void setName(const QVString& name) override;
    bool WriteTB(TextBlock& block) const override;
    /// Refused with an error: there would be nowhere to paste it.
    bool CanEnCopy() override;

private:
    TextBlock block_;
    QVString type_;
    QVString plugin_;
};
