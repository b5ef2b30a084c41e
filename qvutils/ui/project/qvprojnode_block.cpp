// Reading and writing the blocks of nodes.

#include <utility>
#include <vector>

#include "qvutils/common/diagnostics/diagnostics.h"
#include "qvutils/common/error/qverror.h"
#include "qvutils/ui/project/bodyreader.h"
#include "qvutils/ui/project/loadresult.h"
#include "qvutils/ui/project/qvproject.h"
#include "qvutils/ui/project/qvprojman.h"
#include "qvutils/ui/project/qvunknownnode.h"
#include "qvutils/ui/project/spill.h"

namespace {

/// How many children before its turn a child is told that it will be written.
constexpr int fetchDistance = 4;

TBlockSig signatureOf(const TextBlock& block) {
    return {block.getType(), block.getMajorVer(), block.getMinorVer()};
}

/// Name and version of the plug-in that the project's file names for the type of a block.
std::string writerOf(const TextBlock& block, qvProjectNode& parent) {
    const qvProject* project = parent.getRootProject();
    return project ? project->neededPlugin(block.getType()) : "";
}

/// The header line without its end.
std::string headerOf(const TextBlock& block) {
    const std::string header = block.getHeader();
    return header.substr(0, header.find_last_not_of("\r\n") + 1);
}

bool hardError() {
    return qverr() && qverr() != SyntaxErrorReport::syntaxErrors;
}

/// Text that brings its own indent.
void appendVerbatim(FBuff& buffer, const QVString& text) {
    if (text.Empty()) return;
    const int indent = buffer.getBlockIndent();
    buffer.setBlockIndent(0);
    buffer.Append(text.view());
    buffer.setBlockIndent(indent);
}

/// Over the loading of a body: what its first pass has entered into the namespace and no node has
/// taken over goes again.
class PreloadedVariables {
public:
    explicit PreloadedVariables(qvNameSpace* space)
        : space_(space), first_(space ? space->getSize() : 0) {
        if (space_) space_->PrepareToLoad();
    }
    void removeLeftOvers() const {
        if (!space_) return;
        std::vector<qvNamedVariable*> leftOver;
        for (int i = first_; i < space_->getSize(); ++i) {
            qvNamedVariable* variable = space_->GetVariable(i);
            if (variable->IsPreloaded()) leftOver.push_back(variable);
        }
        for (qvNamedVariable* variable : leftOver) space_->Remove(variable);
    }

private:
    qvNameSpace* space_;
    int first_;
};

}  // namespace

bool qvProjectNode::ReadTB(TextBlock&) {
    return true;
}

bool qvProjectNode::WriteTB(TextBlock&) const {
    return true;
}

void qvProjectNode::StartNodeBlock(TextBlock& block) const {
    const auto* info =
        getProjectManager().getMetaDataTable().FindMetaDataByClassInfo(getClassInfo());
    if (!info) {
        CodeError("qvProjectNode::StartNodeBlock", "qvprojnode", __LINE__);
        return;
    }
    block.StartWrite(info->signature, name_,
                     kept_.remembered.Empty() ? nullptr : kept_.remembered.Chars());
}

void qvProjectNode::RememberBlock(const TextBlock& block, bool frame) {
    const std::string_view text = block.text();
    if (!frame) {
        kept_.remembered = text;
        return;
    }
    const std::string_view body = block.body();
    const auto bodyStart = static_cast<std::size_t>(body.data() - text.data());
    const std::string_view first = text.substr(0, bodyStart);
    const std::string_view last = text.substr(bodyStart + body.size());
    kept_.remembered = "";
    if (first.find("//") == first.npos && last.find("//") == last.npos) return;
    kept_.remembered += first;
    kept_.remembered += last;
}

void qvProjectNode::KeepLine(std::string_view line) {
    kept_.bad_lines += line;
    if (kept_.bad_lines.Lastchar() != '\n') kept_.bad_lines += '\n';
}

bool qvProjectNode::ReadBlock(TextBlock& block) {
    if (qverr()) return false;
    SyntaxErrorReport report;
    const qvNodeGuard self(this);
    if (!replaceBody(block)) {
        if (!qverr()) {
            qverr().setf("Sorry, there was a problem reading the textBlock <%s> named \"%s\".\n",
                         block.getType(), block.getName() ? block.getName() : "");
        }
        return false;
    }
    report.take();
    Prepare();
    prepared_ = true;
    if (children_.size()) {
        getProjectManager().GetEventSource().RaiseEvent(qvProjectEvent::added, this);
    }
    if (self) NotifyChanged();
    report.post();
    return true;
}

bool qvProjectNode::replaceBody(TextBlock& block) {
    const bool hasOwnVariables = parent_ && parent_->isManager();
    if (!hasOwnVariables) LeaveNameSpace();
    List<qvProjectNode*> children = children_.exchange({});
    KeptText kept = std::exchange(kept_, {});
    std::unique_ptr<qvNameSpace> variables;
    if (hasOwnVariables) variables = std::exchange(namespace_, std::make_unique<qvNameSpace>());
    const bool prepared = std::exchange(prepared_, false);
    const PreloadedVariables preloaded(GetNameSpace());

    const qvNodeGuard self(this);
    const bool read = loadBody(block);
    if (self) preloaded.removeLeftOvers();
    if (read || !self) {
        destroy(std::move(children));
        return read;
    }
    destroy(children_.exchange(std::move(children)));
    kept_ = std::move(kept);
    prepared_ = prepared;
    if (hasOwnVariables) {
        namespace_ = std::move(variables);
    } else {
        EnterNameSpace();
    }
    return false;
}

bool qvProjectNode::loadBody(TextBlock& block) {
    {
        // What is wrong is told and counted in the second pass.
        const qvQuietSyntaxErrs quiet;
        if (!PreloadVariables(block)) return false;
    }
    if (!hardError()) qverr().reset();
    return ReadTB(block) && !hardError();
}

bool qvProjectNode::PreloadVariables(TextBlock& block) {
    block.GotoBody();
    BodyReader reader(block, BodyReader::countBadLines);
    TextBlock childBlock;
    const qvMetaDataTable& table = getProjectManager().getMetaDataTable();
    while (!hardError() && reader.next(childBlock)) {
        const auto* info = table.FindMetaDataByBlockType(childBlock.getType());
        if (!info || (info->flags & qvProjectNodeInfo::plainText)) continue;
        const std::unique_ptr<qvProjectNode> child(
            getProjectManager().CreateNodeForTextBlock(signatureOf(childBlock)));
        if (!child) continue;
        child->setParent(this);
        child->PreloadVariables(childBlock);
    }
    block.GotoBody();
    return !hardError();
}

bool qvProjectNode::CreateChildNodes(FBuff& buffer) {
    BodyReader reader(buffer, BodyReader::countBadLines);
    TextBlock block;
    QVString lead;
    while (!hardError() && reader.next(block)) {
        lead += std::string_view(reader.lead());
        if (!readChild(reader, block, lead)) return false;
    }
    if (hardError()) return false;
    kept_.closing = lead + std::string_view(reader.lead());
    return true;
}

/// Makes a child of a block; the lines before it go with it, and `lead` is empty then. A block that
/// cannot become a node is added to them.
bool qvProjectNode::readChild(const BodyReader& reader, TextBlock& block, QVString& lead) {
    const QVString name(block.getName() ? block.getName() : "");
    const bool valid = IsNameValid(name.view());
    const bool taken = FindChild(name.view());
    std::unique_ptr<qvProjectNode> child(
        getProjectManager().CreateNodeForTextBlock(signatureOf(block)));
    if (!child) {
        const std::string plugin = writerOf(block, *this);
        SyntaxErr("node type \"%s\" unknown%s%s%s, kept as it is: %s\n", block.getType(),
                  plugin.empty() ? "" : " (needs the plug-in ", plugin.c_str(),
                  plugin.empty() ? "" : ")", headerOf(block).c_str());
        if (!valid || taken) {
            lead += std::string_view(reader.indent());
            lead += block.text();
            return true;
        }
    } else if (taken) {
        qverr().setf("Item with name \"%s\" already exists in %s\n", name.Chars(), name_.Chars());
        return false;
    } else if (!valid) {
        qverr().setf("invalid name %s\n", name.Chars());
        return false;
    } else {
        const qvNodeGuard self(this);
        child->setName(name);
        if (!child->Create() || !self) return false;
        child->setParent(this);
        if (!readBodyOf(child, block)) return false;
    }
    if (!child) child = std::make_unique<qvUnknownNode>(block);
    child->lead_ = std::exchange(lead, {});
    if (!AddNode(child.get())) return false;
    child.release();
    return true;
}

/// Lets the child read its block. One that cannot use it, because of its version say, is destroyed;
/// that costs no more than a syntax error. False after any other error.
bool qvProjectNode::readBodyOf(std::unique_ptr<qvProjectNode>& child, TextBlock& block) {
    const int errors = qvSyntaxErrCount();
    if (!child->ReadTB(block) && !hardError()) {
        if (qvSyntaxErrCount() == errors) {
            SyntaxErr("block cannot be read: %s\n", headerOf(block).c_str());
        }
        const auto* info =
            getProjectManager().getMetaDataTable().FindMetaDataByBlockType(block.getType());
        const std::string plugin = writerOf(block, *child);
        if (info && plugin != info->plugin && !plugin.empty()) {
            wlwrite(("   kept as it is, written by the plug-in " + plugin + "\n").c_str());
        }
        child.reset();
    }
    return !hardError();
}

bool qvProjectNode::WriteChildNodes(FBuff& buffer) const {
    appendVerbatim(buffer, kept_.bad_lines);
    TextBlock block;
    const List<qvProjectNode*>& children = getNodes();
    auto ahead = children.begin();
    for (int i = 0; i < fetchDistance && ahead != children.end(); ++i) ++ahead;
    for (const qvProjectNode* child : children) {
        if (ahead != children.end()) (*ahead++)->FetchAhead();
        block.clear();
        if (!child->WriteTB(block)) return false;
        appendVerbatim(buffer, child->lead_);
        buffer.Append(block);
        qvSpill::betweenChildren(buffer);
    }
    appendVerbatim(buffer, kept_.closing);
    return !qverr();
}
