#include "qvutils/ui/nodes/qvvariablesnode.h"

#include <iterator>
#include <utility>

#include "qvutils/common/diagnostics/diagnostics.h"
#include "qvutils/common/error/qverror.h"
#include "qvutils/ui/nodes/definitionlines.h"
#include "qvutils/ui/nodes/qvnodevariable.h"
#include "qvutils/ui/project/qvnodeinfo.h"

namespace {

constexpr TBlockSig signature{"variablesTB", 1, 0};

/// Why a definition cannot be entered; null when it can.
const char* flawOf(const DefinitionLine& line, qvNameSpace& space, bool mayBePreloaded) {
    const QVString name(line.left);
    if (!qvNamedVariable::IsNameValid(name)) return "Invalid";
    const qvNamedVariable* known = space.Find(name, false);
    if (!known) return nullptr;
    const bool waits = mayBePreloaded && known->IsPreloaded() && qvNodeVariable::from(known);
    return waits ? nullptr : "Duplicate";
}

/// The variable that a line defines: the one that the first pass has entered, or a new one. Null
/// after a syntax error.
qvNodeVariable* takeVariable(const DefinitionLine& line, qvNameSpace& space) {
    if (line.kind == DefinitionLine::noEquals) {
        SyntaxErr(
            "Missing equals in variable definition: %s   required format: name = expression\n",
            line.told().c_str());
        return nullptr;
    }
    if (const char* flaw = flawOf(line, space, true)) {
        SyntaxErr("%s variable name %s\n   in variable definition: %s", flaw,
                  std::string(line.left).c_str(), line.told().c_str());
        return nullptr;
    }
    if (line.definition.find('"') != line.definition.npos) {
        SyntaxErr("Double quote in variable definition: %s", line.told().c_str());
        return nullptr;
    }
    const QVString name(line.left);
    const QVString definition(line.definition.c_str());
    qvNodeVariable* variable = qvNodeVariable::from(space.Find(name, false));
    if (!variable) return qvNodeVariable::make(space, name, definition);
    variable->ResetPreloaded();
    if (variable->GetExpression() != definition) variable->SetValueOrExpression(definition);
    return variable;
}

}  // namespace

const qvClassInfo qvVariablesNode::cinfo_qvVariablesNode("qvVariablesNode",
                                                         qvProjectNode::getStaticClassInfo(),
                                                         nullptr, qvCreateObject<qvVariablesNode>);

void registerVariablesNode() {
    qvProjectNodeInfo info;
    info.classInfo = qvVariablesNode::getStaticClassInfo();
    info.signature = signature;
    info.displayName = "Variables";
    info.parentTypes = {"projectTB"};
    static const qvProjectNodeInfoClass registration(info);
    qvProjectNodeInfoClass::Register();
}

qvNodeVariable::~qvNodeVariable() {
    if (node) node->drop(place);
}

qvNodeVariable* qvNodeVariable::make(qvNameSpace& space, const QVString& name,
                                     const QVString& definition) {
    auto* variable = new qvNodeVariable(space);
    if (variable->SetName(name) && variable->SetValueOrExpression(definition)) return variable;
    delete variable;
    return nullptr;
}

qvVariablesNode::~qvVariablesNode() {
    clear();
}

void qvVariablesNode::clear() {
    // One by one, as listeners of the namespace may change what is left.
    while (!entries_.empty()) {
        qvNodeVariable* variable = entries_.front().variable;
        if (variable) variable->node = nullptr;
        entries_.pop_front();
        delete variable;
    }
    closing_ = "";
}

/// Appends a variable of the namespace; the lines kept so far lead it.
void qvVariablesNode::append(qvNodeVariable* variable) {
    Entry& entry = entries_.emplace_back();
    entry.variable = variable;
    entry.lead = std::exchange(closing_, {});
    variable->node = this;
    variable->place = std::prev(entries_.end());
}

/// Forgets a variable; the lines before it stay where they are.
void qvVariablesNode::drop(Entries::iterator place) {
    place->variable->node = nullptr;
    const auto next = std::next(place);
    QVString& lead = next == entries_.end() ? closing_ : next->lead;
    if (!place->lead.Empty()) lead = place->lead + lead;
    entries_.erase(place);
}

bool qvVariablesNode::PreloadVariables(TextBlock& block) {
    qvNameSpace* space = GetNameSpace();
    if (!space || !block.IsType(signature) || !block.IsVersion(signature)) return true;
    forEachDefinitionLine(block, [&](const DefinitionLine& line) {
        if (line.kind != DefinitionLine::assignment || flawOf(line, *space, false)) return;
        if (line.definition.find('"') != line.definition.npos) return;
        auto* variable =
            qvNodeVariable::make(*space, QVString(line.left), QVString(line.definition.c_str()));
        if (variable) variable->SetPreloaded();
    });
    return true;
}

bool qvVariablesNode::ReadTB(TextBlock& block) {
    if (!block.CheckStartRead(signature, false)) return false;
    if (!block.IsVersion(signature)) {
        SyntaxErr("Unsupported version in block beginning: %s   current version: %d.%d\n",
                  block.getHeader(), signature.major, signature.minor);
        return false;
    }
    clear();
    RememberBlock(block, true);
    space_ = GetNameSpace();
    forEachDefinitionLine(block, [&](const DefinitionLine& line) {
        const bool counts = line.kind != DefinitionLine::other;
        qvNodeVariable* variable = counts ? takeVariable(line, *space_) : nullptr;
        if (variable) {
            append(variable);
            entries_.back().comment = QVString(line.comment);
        } else {
            closing_ += std::string_view(withLineEnd(line.whole));
        }
    });
    return true;
}

bool qvVariablesNode::WriteTB(TextBlock& block) const {
    StartNodeBlock(block);
    if (qverr()) return false;
    block.setBlockIndent(0);
    for (const Entry& entry : entries_) {
        const qvNamedVariable* variable = entry.variable;
        const QVString name = variable ? variable->GetName() : entry.name;
        const QVString definition = variable ? variable->GetExpression() : entry.definition;
        block.Append(entry.lead.view());
        block.Append(definitionLineText(name.view(), definition.view(), entry.comment.view()));
    }
    block.Append(closing_.view());
    block.EndWrite();
    return !qverr();
}

void qvVariablesNode::LeaveNameSpace() {
    qvProjectNode::LeaveNameSpace();
    for (Entry& entry : entries_) {
        if (!entry.variable) continue;
        entry.name = entry.variable->GetName();
        entry.definition = entry.variable->GetExpression();
        entry.variable->node = nullptr;
        delete std::exchange(entry.variable, nullptr);
    }
    space_ = nullptr;
}

/// A variable whose name is taken there becomes a line that is kept.
void qvVariablesNode::EnterNameSpace() {
    qvProjectNode::EnterNameSpace();
    Entries entries = std::exchange(entries_, {});
    const QVString closing = std::exchange(closing_, {});
    space_ = entries.empty() ? nullptr : GetNameSpace();
    for (Entry& entry : entries) {
        closing_ += entry.lead;
        auto* variable = qvNodeVariable::make(*space_, entry.name, entry.definition);
        if (variable) {
            append(variable);
            entries_.back().comment = entry.comment;
            continue;
        }
        const std::string line =
            definitionLineText(entry.name.view(), entry.definition.view(), entry.comment.view());
        closing_ += std::string_view(line);
        wlwrite(("Duplicate variable name " + std::string(entry.name.view()) +
                 "\n   in variable definition: " + line)
                    .c_str());
    }
    closing_ += closing;
}

void qvVariablesNode::OnAncestryChanged() {
    qvProjectNode::OnAncestryChanged();
    if (entries_.empty() || !space_ || GetNameSpace() == space_) return;
    LeaveNameSpace();
    EnterNameSpace();
}
