// What the command language sees of a variables node.

#include <algorithm>
#include <iterator>
#include <unordered_map>

#include "qvutils/common/error/qverror.h"
#include "qvutils/common/formula/qvfnparserComm.h"
#include "qvutils/ui/nodes/definitionlines.h"
#include "qvutils/ui/nodes/parameterlabels.h"
#include "qvutils/ui/nodes/qvnodevariable.h"

namespace {

void postNameFlaw(const QVString& name) {
    qverr().setf("%s variable name %s\n",
                 qvNamedVariable::IsNameValid(name) ? "Duplicate" : "Invalid", name.Chars());
}

/// Whether the formula has a mistake that shows without evaluating what it refers to.
bool isFlawed(const QVString& formula, const qvNamedVariable& variable) {
    QVExpressionC expression;
    expression.setExpression(formula);
    expression.setNameSpace(variable.GetNameSpace());
    Error error;
    if (!expression.Compile(error)) return true;
    bool refersToItself = false;
    qvForEachName(formula, [&](QVText used, int, int) {
        if (used.view() == variable.GetName().view()) refersToItself = true;
    });
    return refersToItself;
}

/// The arguments from the second on, as the formula that they were before they were split.
QVString formulaFrom(const QVCommandArgList& args) {
    QVString formula = args[1].getText();
    for (int i = 2; i < args.nargs(); ++i) {
        formula += ',';
        formula += args[i].getText();
    }
    return formula;
}

}  // namespace

void qvVariablesNode::OnPublish() {
    PublishFn("addvariable", &qvVariablesNode::AddVariable, "( name ): add the specified variable");
    PublishFn("removevariable", &qvVariablesNode::RemoveVariable,
              "( name ): remove the specified variable");
    PublishFn("renamevariable", &qvVariablesNode::RenameVariable,
              "( oldname, newname ): rename the specified variable");
    PublishFn("renameeverywhere", &qvVariablesNode::RenameEverywhere,
              "( oldname, newname ): rename the specified variable, also in every formula of the "
              "project; returns the number of formulas");
    PublishFn("raisevariable", &qvVariablesNode::RaiseVariable,
              "( name ): raise the specified variable");
    PublishFn("lowervariable", &qvVariablesNode::LowerVariable,
              "( name ): lower the specified variable");
    // A formula may go without quotes although it has commas.
    PublishFn(
        "setvariable",
        [](qvVariablesNode& node, const QVCommandArgList& args) {
            if (args.checkCount(2, std::max(2, args.nargs()))) {
                node.SetVariable(args[0].getText(), formulaFrom(args));
            }
        },
        "( name, expression ): set the specified variable");
    PublishFn("getvariable", &qvVariablesNode::GetVariable,
              "( name ): get the value of the specified variable");
    PublishFn("why", &qvVariablesNode::Why,
              "( name ): get the formula of the specified variable with the values in it");
    PublishFn("uses", &qvVariablesNode::Uses,
              "( name ): get the formulas that use the specified variable");
    qvProjectNode::OnPublish();
}

/// A variable of this node. Posts an error when it is in another node (`notListed`, with its name)
/// or nowhere.
qvNodeVariable* qvVariablesNode::find(const QVString& name, const char* notListed) {
    if (qverr()) return nullptr;
    qvNamedVariable* variable = name.Empty() ? nullptr : GetNameSpace()->Find(name, false);
    if (!variable) {
        qverr().setf("Variable %s not found\n", name.Chars());
        return nullptr;
    }
    qvNodeVariable* own = qvNodeVariable::from(variable);
    if (own && own->node == this) return own;
    qverr().set((std::string("Variable ") + name.Chars() + notListed).c_str());
    return nullptr;
}

void qvVariablesNode::AddVariable(const QVString& name) {
    if (qverr()) return;
    space_ = GetNameSpace();
    qvNodeVariable* variable = name.Empty() ? nullptr : qvNodeVariable::make(*space_, name, "0");
    if (!variable) return postNameFlaw(name);
    const QVString closing = std::exchange(closing_, {});
    append(variable);
    closing_ = closing;
    NotifyChanged();
}

void qvVariablesNode::RemoveVariable(const QVString& name) {
    qvNodeVariable* variable = find(name, " not in this variables node\n");
    if (!variable) return;
    delete variable;
    NotifyChanged();
}

void qvVariablesNode::RenameVariable(const QVString& oldname, const QVString& newname) {
    qvNodeVariable* variable = find(oldname, " not in this variables node\n");
    if (!variable) return;
    if (newname.Empty() || !variable->SetName(newname)) return postNameFlaw(newname);
    NotifyChanged();
}

int qvVariablesNode::RenameEverywhere(const QVString& oldname, const QVString& newname) {
    if (!find(oldname, " not in this variables node\n")) return 0;
    const int formulas = GetNameSpace()->RenameEverywhere(oldname, newname);
    if (formulas < 0) return 0;
    NotifyChanged();
    return formulas;
}

void qvVariablesNode::RaiseVariable(const QVString& name) {
    const qvNodeVariable* variable = find(name, " not found in this variables node\n");
    if (!variable || variable->place == entries_.begin()) return;
    entries_.splice(std::prev(variable->place), entries_, variable->place);
    NotifyChanged();
}

void qvVariablesNode::LowerVariable(const QVString& name) {
    const qvNodeVariable* variable = find(name, " not found in this variables node\n");
    if (!variable || std::next(variable->place) == entries_.end()) return;
    entries_.splice(std::next(variable->place, 2), entries_, variable->place);
    NotifyChanged();
}

void qvVariablesNode::SetVariable(const QVString& name, const QVString& expression) {
    qvNodeVariable* variable = find(name, " not in this variables node\n");
    if (!variable || refuseComment(expression.view())) return;
    if (!variable->SetValueOrExpression(expression)) return;
    if (!variable->IsValue() && isFlawed(expression, *variable)) variable->GetValue();
    NotifyChanged();
}

QVString qvVariablesNode::GetVariable(const QVString& name) {
    qvNodeVariable* variable = find(name, " not in this variables node\n");
    return variable ? variable->GetValueString() : QVString();
}

QVString qvVariablesNode::Why(const QVString& name) {
    qvNodeVariable* variable = find(name, " not in this variables node\n");
    return variable ? variable->Explain() : QVString();
}

QVString qvVariablesNode::Uses(const QVString& name) {
    if (!find(name, " not in this variables node\n")) return {};
    QVString text;
    std::unordered_map<const qvNamedVariable*, bool> direct;
    const auto tell = [&](const QVString& label, const qvNamedVariable& user) {
        text += label + " = " + user.GetExpression();
        text += direct.at(&user) ? "\n" : "  (indirectly)\n";
    };
    for (const qvNameSpace::Use& use : GetNameSpace()->UsersOf(name)) {
        direct.emplace(use.variable, use.direct);
        if (!use.variable->IsTemporary()) tell(use.variable->GetName(), *use.variable);
    }
    for (const auto& [label, formula] : ParameterLabels(*getRootProjectNode())) {
        if (direct.count(formula)) tell(label.c_str(), *formula);
    }
    return text.Empty() ? "nothing uses " + name + "\n" : text;
}
