#pragma once

#include "qvutils/common/variables/qvnamespace.h"
#include "qvutils/ui/nodes/qvvariablesnode.h"

/// A variable that a variables node defines, or will once the second pass over its block is made.
class qvNodeVariable final : public qvNamedVariable {
public:
    /// A variable at the end of the namespace; null when the name is not valid or not unique.
    static qvNodeVariable* make(qvNameSpace& space, const QVString& name,
                                const QVString& definition);
    /// Null for a variable of any other kind.
    static qvNodeVariable* from(qvNamedVariable* variable) {
        return dynamic_cast<qvNodeVariable*>(variable);
    }
    static const qvNodeVariable* from(const qvNamedVariable* variable) {
        return dynamic_cast<const qvNodeVariable*>(variable);
    }
    /// Its node forgets it.
    ~qvNodeVariable() override;

    qvVariablesNode* node = nullptr;
    qvVariablesNode::Entries::iterator place;

private:
    explicit qvNodeVariable(qvNameSpace& space) : qvNamedVariable(&space, 0, -1) {}
};
