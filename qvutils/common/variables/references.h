#pragma once
#include <functional>
#include <unordered_map>
#include <vector>

#include "qvutils/common/variables/qvnamespace.h"

/// Tells the names in a formula that can only mean variables, once for each time they occur.
void qvForEachReference(const QVString& formula, const std::function<void(QVText name)>& callback);

/// Who refers to whom, told from the formulas' texts, among the variables of a namespace, of its
/// parents and of its children. Holds all their locks.
class qvReferences {
public:
    explicit qvReferences(qvNameSpace& space);
    ~qvReferences();
    qvReferences(const qvReferences&) = delete;
    qvReferences& operator=(const qvReferences&) = delete;

    /// The variables of the namespace and its children that are defined by formulas: entered ones
    /// in their order, then the others.
    const std::vector<qvNamedVariable*>& formulas() const { return formulas_; }
    std::vector<qvNameSpace::Use> usersOf(qvNamedVariable* variable) const;

    /// The variables that a formula uses, once for each time it does.
    static std::vector<qvNamedVariable*> usedBy(const qvNamedVariable& variable);

    struct Rewrite {
        qvNamedVariable* variable;
        QVString formula;
    };
    /// What the formulas that use `variable` become when it is renamed. False when the new name
    /// would mean something else somewhere.
    bool planRename(qvNamedVariable* variable, const QVString& to,
                    std::vector<Rewrite>& rewrites) const;

private:
    static int count(const QVString& formula, const QVString& name);

    std::vector<qvNameSpace*> locked_;  ///< children before their parents
    std::vector<qvNamedVariable*> formulas_;
};
