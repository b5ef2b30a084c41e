// What a formula's value comes from, what depends on a variable, and renaming in all formulas.

#include <unordered_set>

#include "qvutils/common/error/qverror.h"
#include "qvutils/common/variables/namespacelock.h"
#include "qvutils/common/variables/references.h"

/// Writes the tree of a formula.
class qvExplanation {
public:
    QVString of(qvNamedVariable& variable) {
        show(variable, 0);
        if (lines_ > longest) text_ += "...\n";
        return text_;
    }

private:
    static constexpr int deepest = 40;
    static constexpr int longest = 500;

    bool startLine(int depth) {
        if (++lines_ > longest) return false;
        text_.Append(' ', 2 * depth);
        return true;
    }

    void show(qvNamedVariable& variable, int depth) {
        if (!startLine(depth)) return;
        if (depth > deepest) {
            text_ += "...\n";
            return;
        }
        if (!variable.name_.Empty()) text_ += variable.name_ + " = ";
        text_ += variable.definitionText();
        if (variable.plain_) {
            text_ += "\n";
            return;
        }
        text_ += "  [" + variable.GetValueString() + "]";
        const bool inside = path_.count(&variable);
        if (inside || !shown_.insert(&variable).second) {
            text_ += inside ? ", circular\n" : ", see above\n";
            return;
        }
        text_ += "\n";
        path_.insert(&variable);
        if (variable.space_) showInputs(variable, depth + 1);
        path_.erase(&variable);
    }

    void showInputs(const qvNamedVariable& variable, int depth) {
        std::unordered_set<std::string> seen;
        qvForEachReference(variable.expression_, [&](QVText name) {
            if (!seen.emplace(name.view()).second) return;
            if (qvNamedVariable* used = variable.space_->Find(name)) {
                show(*used, depth);
            } else if (startLine(depth)) {
                text_ += QVString(name.view()) + " is not defined\n";
            }
        });
    }

    QVString text_;
    int lines_ = 0;
    std::unordered_set<const qvNamedVariable*> shown_;
    std::unordered_set<const qvNamedVariable*> path_;
};

QVString qvNamedVariable::Explain() {
    GetValue();  // so that its warnings come before and no lock is held
    if (!space_) return qvExplanation().of(*this);
    const qvNameSpaceLock lock(*space_);
    return qvExplanation().of(*this);
}

QVString qvNameSpace::Explain(QVText name) {
    if (qvNamedVariable* variable = Find(name)) return variable->Explain();
    return QVString(name.view()) + " is not defined\n";
}

std::vector<qvNameSpace::Use> qvNameSpace::UsersOf(QVText name) {
    qvNamedVariable* variable = Find(name);
    return variable ? qvReferences(*this).usersOf(variable) : std::vector<Use>();
}

int qvNameSpace::RenameEverywhere(const QVString& from, const QVString& to) {
    qvNamedVariable* variable = Find(from, false);
    if (!variable) {
        qverr().setf("Variable %s not found\n", from.Chars());
        return -1;
    }
    if (from == to) return 0;
    if (!qvNamedVariable::IsNameValid(to)) {
        qverr().setf("Invalid variable name %s\n", to.Chars());
        return -1;
    }
    if (!variable->IsNameUnique(to)) {
        qverr().setf("Duplicate variable name %s\n", to.Chars());
        return -1;
    }
    std::vector<qvReferences::Rewrite> rewrites;
    const auto plan = [&] {
        rewrites.clear();
        const qvReferences references(*this);
        if (references.planRename(variable, to, rewrites)) return true;
        qverr().setf(
            "Variable %s cannot be renamed in all formulas: %s means something else in "
            "one of them\n",
            from.Chars(), to.Chars());
        return false;
    };
    const auto announce = [&](int event) {
        raise(event, variable);
        for (const qvReferences::Rewrite& r : rewrites) {
            if (!r.variable->IsTemporary()) r.variable->space_->raise(event, r.variable);
        }
    };
    if (!plan()) return -1;
    announce(qvNameSpaceEvent::willChange);
    {
        // Listeners may have changed something: the plan is made again.
        const qvReferences references(*this);
        if (!plan()) return -1;
        variable->storeName(to);
        for (const qvReferences::Rewrite& r : rewrites) r.variable->storeExpression(r.formula);
    }
    announce(qvNameSpaceEvent::changed);
    return static_cast<int>(rewrites.size());
}
