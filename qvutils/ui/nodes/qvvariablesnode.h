#pragma once
#include <list>
#include <string>

#include "qvutils/ui/project/qvprojnode.h"

class qvNodeVariable;
struct DefinitionLine;

/// A node that defines variables of the project's namespace, one a line in its block. The namespace
/// owns the variables; the node owns their order. They leave the namespace with the node.
class QVCORE_API qvVariablesNode : public qvProjectNode {
public:
    QV_CLASS_INFO(qvVariablesNode)

    ~qvVariablesNode() override;

    void OnPublish() override;
    bool PreloadVariables(TextBlock& block) override;
    /// A line that defines no variable, because its name is taken say, is a syntax error and kept.
    bool ReadTB(TextBlock& block) override;
    bool WriteTB(TextBlock& block) const override;
    void LeaveNameSpace() override;
    void EnterNameSpace() override;
    void OnAncestryChanged() override;

    int getNumVariables() const { return static_cast<int>(entries_.size()); }

    // What the commands do. Each posts an error and changes nothing when it cannot.
    void AddVariable(const QVString& name);
    void RemoveVariable(const QVString& name);
    void RenameVariable(const QVString& oldname, const QVString& newname);
    /// Renames it in every formula of the project as well; answers in how many.
    int RenameEverywhere(const QVString& oldname, const QVString& newname);
    /// Moves it one place towards the front, towards the end.
    void RaiseVariable(const QVString& name);
    void LowerVariable(const QVString& name);
    /// A number or a formula. What is wrong with a formula is told at once, as a warning: it may
    /// become right when other variables change.
    void SetVariable(const QVString& name, const QVString& expression);
    QVString GetVariable(const QVString& name);
    /// The formula of a variable with the formulas and values that it uses.
    QVString Why(const QVString& name);
    /// The formulas that use a variable, of variables and of objects, a line each.
    QVString Uses(const QVString& name);

private:
    friend class qvNodeVariable;

    /// A variable in its place, with what a user wrote around it.
    struct Entry {
        qvNodeVariable* variable = nullptr;  ///< null while out of the namespace
        QVString name;                       ///< these two are kept while it is out
        QVString definition;
        QVString lead;  ///< the lines between the variable before it and its own
        QVString comment;
    };
    using Entries = std::list<Entry>;

    qvNodeVariable* find(const QVString& name, const char* notListed);
    void append(qvNodeVariable* variable);
    void drop(Entries::iterator place);
    void clear();

    Entries entries_;
    QVString closing_;              ///< the lines after the last variable
    qvNameSpace* space_ = nullptr;  ///< that the variables are in
};

/// Registers the block type "variablesTB" (1.0), displayed as "Variables", allowed in projects.
QVCORE_API void registerVariablesNode();
