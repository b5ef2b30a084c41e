#include "qvutils/ui/nodes/qvparametersnode.h"

#include <algorithm>
#include <string>
#include <unordered_set>
#include <utility>

#include "qvutils/common/error/qverror.h"
#include "qvutils/ui/nodes/definitionlines.h"
#include "qvutils/ui/project/qvnodeinfo.h"

namespace {

constexpr TBlockSig signature{"parametersTB", 1, 0};
constexpr std::string_view typeNames[] = {"int", "float", "double", "complex"};  // as in Value

/// What the node publishes beside its parameters.
const std::unordered_set<std::string>& reservedNames() {
    static const auto* const names = [] {
        auto* found = new std::unordered_set<std::string>{"why", "uses", "objtype"};
        qvParametersNode node;
        List<QVCommandElt> elements;
        node.getChildList(elements);
        for (const QVCommandElt& element : elements) found->insert(element.getName());
        return found;
    }();
    return *names;
}

}  // namespace

const qvClassInfo qvParametersNode::cinfo_qvParametersNode("qvParametersNode",
                                                           qvProjectNode::getStaticClassInfo(),
                                                           nullptr,
                                                           qvCreateObject<qvParametersNode>);

void registerParametersNode() {
    qvProjectNodeInfo info;
    info.classInfo = qvParametersNode::getStaticClassInfo();
    info.signature = signature;
    info.displayName = "Parameters";
    info.parentTypes = {"projectTB"};
    static const qvProjectNodeInfoClass registration(info);
    qvProjectNodeInfoClass::Register();
}

void qvParametersNode::OnPublish() {
    PublishFn("addparameter", &qvParametersNode::AddParameter,
              "( name, type[, description] ): add a parameter; type=int,float,double,complex",
              qvRequiredArgs(2));
    PublishFn("removeparameter", &qvParametersNode::RemoveParameter,
              "( name ): remove the specified parameter");
    PublishFn("renameparameter", &qvParametersNode::RenameParameter,
              "( oldname, newname ): rename the specified parameter");
    qvProjectNode::OnPublish();
    for (const auto& entry : entries_) {
        std::visit(
            [&](auto& parameter) {
                PublishVar(entry->name.Chars(), parameter, entry->description());
            },
            entry->value);
    }
}

void qvParametersNode::SetParam(QVCommandElt& element, const char* value, const char* name) {
    if (qvIsParameterKind(element.getKind()) && refuseComment(value)) return;
    qvProjectNode::SetParam(element, value, name);
}

const char* qvParametersNode::Entry::description() const {
    const std::size_t start = comment.view().find_first_not_of(" \t/");
    return start == std::string_view::npos ? "" : comment.Chars() + start;
}

bool qvParametersNode::makeValue(std::string_view type, Value& value) {
    if (type == typeNames[0]) value.emplace<0>();
    if (type == typeNames[1]) value.emplace<1>();
    if (type == typeNames[2]) value.emplace<2>();
    if (type == typeNames[3]) value.emplace<3>();
    return std::find(std::begin(typeNames), std::end(typeNames), type) != std::end(typeNames);
}

/// Why a parameter cannot have the name; null when it can.
const char* qvParametersNode::flawOf(std::string_view name) const {
    if (name.empty() || !qvNamedVariable::IsStartCharacter(name[0]) ||
        !std::all_of(name.begin(), name.end(), qvNamedVariable::IsContinuationCharacter)) {
        return "Invalid";
    }
    if (reservedNames().count(std::string(name))) return "Reserved";
    return names_.count(name) ? "Duplicate" : nullptr;
}

qvParametersNode::Entry* qvParametersNode::find(const QVString& name) {
    if (qverr()) return nullptr;
    const auto found = names_.find(name.view());
    if (found != names_.end()) return found->second;
    qverr().setf("Parameter %s not found\n", name.Chars());
    return nullptr;
}

void qvParametersNode::append(std::unique_ptr<Entry> entry) {
    names_.emplace(entry->name.view(), entry.get());
    entries_.push_back(std::move(entry));
}

/// The parameter that a line defines:  type name "=" [ expression ].  Null after a syntax error.
std::unique_ptr<qvParametersNode::Entry> qvParametersNode::readEntry(const DefinitionLine& line) {
    const std::size_t gap = std::min(line.left.find_first_of(" \t"), line.left.size());
    const std::string type(line.left.substr(0, gap));
    const std::size_t start = std::min(line.left.find_first_not_of(" \t", gap), line.left.size());
    const std::string name(line.left.substr(start));
    auto entry = std::make_unique<Entry>();
    if (line.kind == DefinitionLine::noEquals) {
        SyntaxErr(
            "Missing equals in parameter definition: %s"
            "   required format: type name = expression\n",
            line.told().c_str());
    } else if (!makeValue(type, entry->value)) {
        SyntaxErr("Unknown parameter type %s\n   in parameter definition: %s", type.c_str(),
                  line.told().c_str());
    } else if (const char* flaw = flawOf(name)) {
        SyntaxErr("%s parameter name %s\n   in parameter definition: %s", flaw, name.c_str(),
                  line.told().c_str());
    } else if (line.definition.find('"') != line.definition.npos) {
        SyntaxErr("Double quote in parameter definition: %s", line.told().c_str());
    } else {
        entry->name = name.c_str();
        entry->comment = line.comment;
        const QVString definition(line.definition.c_str());
        std::visit([&](auto& p) { p.SetValueOrExpression(GetNameSpace(), definition); },
                   entry->value);
        return entry;
    }
    return nullptr;
}

bool qvParametersNode::ReadTB(TextBlock& block) {
    if (!block.CheckStartRead(signature, true)) return false;
    names_.clear();
    entries_.clear();
    closing_ = "";
    RememberBlock(block, true);
    forEachDefinitionLine(block, [&](const DefinitionLine& line) {
        auto entry = line.kind == DefinitionLine::other ? nullptr : readEntry(line);
        if (entry) {
            entry->lead = std::exchange(closing_, {});
            append(std::move(entry));
        } else {
            closing_ += std::string_view(withLineEnd(line.whole));
        }
    });
    return true;
}

bool qvParametersNode::WriteTB(TextBlock& block) const {
    StartNodeBlock(block);
    if (qverr()) return false;
    block.setBlockIndent(0);
    for (const auto& entry : entries_) {
        std::string left(typeNames[entry->value.index()]);
        left += ' ';
        left += entry->name.view();
        const QVString definition =
            std::visit([](const auto& p) { return p.GetMyExpression(); }, entry->value);
        block.Append(entry->lead.view());
        block.Append(definitionLineText(left, definition.view(), entry->comment.view()));
    }
    block.Append(closing_.view());
    block.EndWrite();
    return !qverr();
}

/// The formulas are those of the project that the node is in.
void qvParametersNode::OnAncestryChanged() {
    qvProjectNode::OnAncestryChanged();
    for (const auto& entry : entries_) {
        std::visit(
            [&](auto& parameter) {
                if (parameter.IsValue()) return;
                parameter.SetExpression(GetNameSpace(), parameter.GetMyExpression());
            },
            entry->value);
    }
}

void qvParametersNode::AddParameter(const QVString& name, const QVString& type,
                                    const QVString& description) {
    auto entry = std::make_unique<Entry>();
    if (!makeValue(type.view(), entry->value)) {
        qverr().setf("unknown parameter type \"%s\": int, float, double or complex\n",
                     type.Chars());
    } else if (const char* flaw = flawOf(name.view())) {
        qverr().setf("%s parameter name %s\n", flaw, name.Chars());
    } else {
        entry->name = name;
        if (!description.Empty()) entry->comment = " // " + description;
        append(std::move(entry));
        NotifyChanged();
    }
}

void qvParametersNode::RemoveParameter(const QVString& name) {
    const Entry* entry = find(name);
    if (!entry) return;
    const auto place = std::find_if(entries_.begin(), entries_.end(),
                                    [&](const auto& e) { return e.get() == entry; });
    const auto next = std::next(place);
    QVString& lead = next == entries_.end() ? closing_ : (*next)->lead;
    lead = entry->lead + lead;
    names_.erase(name.view());
    entries_.erase(place);
    NotifyChanged();
}

void qvParametersNode::RenameParameter(const QVString& oldname, const QVString& newname) {
    Entry* entry = find(oldname);
    if (!entry) return;
    if (const char* flaw = flawOf(newname.view())) {
        qverr().setf("%s parameter name %s\n", flaw, newname.Chars());
        return;
    }
    names_.erase(oldname.view());
    entry->name = newname;
    names_.emplace(entry->name.view(), entry);
    NotifyChanged();
}
