#include "qvutils/ui/nodes/qvnotesnode.h"

#include <algorithm>
#include <string>
#include <string_view>

#include "qvutils/common/error/qverror.h"
#include "qvutils/ui/project/qvnodeinfo.h"

namespace {

constexpr TBlockSig signature{"notesTB", 1, 0};
constexpr std::string_view lineMark = "  >";

/// The first line of the text, which it loses; with its line feed.
std::string_view takeLine(std::string_view& text) {
    const std::size_t length = std::min(text.find('\n'), text.size() - 1) + 1;
    const std::string_view line = text.substr(0, length);
    text.remove_prefix(length);
    return line;
}

}  // namespace

const qvClassInfo qvNotesNode::cinfo_qvNotesNode("qvNotesNode",
                                                 qvProjectNode::getStaticClassInfo(), nullptr,
                                                 qvCreateObject<qvNotesNode>);

void registerNotesNode() {
    qvProjectNodeInfo info;
    info.classInfo = qvNotesNode::getStaticClassInfo();
    info.signature = signature;
    info.displayName = "Notes";
    info.flags = qvProjectNodeInfo::plainText;
    info.parentTypes = {"projectTB"};
    static const qvProjectNodeInfoClass registration(info);
    qvProjectNodeInfoClass::Register();
}

void qvNotesNode::OnPublish() {
    PublishVar("text", text_, "entire text");
    PublishFn("appendtext", &qvNotesNode::AppendText, "(string): append a string");
    PublishFn("cleartext", &qvNotesNode::ClearText, "(): clear contents");
    qvProjectNode::OnPublish();
}

void qvNotesNode::setText(const QVString& text) {
    text_ = text;
    NotifyChanged();
}

void qvNotesNode::AppendText(const QVString& text) {
    text_ += text;
    NotifyChanged();
}

void qvNotesNode::ClearText() {
    setText("");
}

bool qvNotesNode::ReadTB(TextBlock& block) {
    if (!block.CheckStartRead(signature, true)) return false;
    RememberBlock(block, true);
    QVString text;
    comments_.clear();
    int lines = 0;
    std::string_view body = block.body();
    text.Alloc(static_cast<int>(body.size()));
    while (!body.empty()) {
        const std::string_view line = takeLine(body);
        const std::size_t start = std::min(line.find_first_not_of(" \t\r\n"), line.size());
        const std::string_view content = line.substr(start);
        if (content.empty()) continue;
        if (content.substr(0, 2) == "//") {
            comments_.push_back({lines, QVString(line)});
            continue;
        }
        text += content.substr(content.front() == '>' ? 1 : 0);
        ++lines;
    }
    text_ = std::move(text);
    return true;
}

bool qvNotesNode::WriteTB(TextBlock& block) const {
    StartNodeBlock(block);
    if (qverr()) return false;
    std::string body;
    std::string_view rest = text_.view();
    body.reserve(rest.size() + rest.size() / 8 + lineMark.size() + 1);
    auto comment = comments_.begin();
    for (int lines = 0; !rest.empty(); ++lines) {
        for (; comment != comments_.end() && comment->line <= lines; ++comment) {
            body += comment->text.view();
        }
        body += lineMark;
        body += takeLine(rest);
    }
    // Also after a carriage return: the "end" line must begin a line of its own.
    if (!body.empty() && body.back() != '\n') body += '\n';
    for (; comment != comments_.end(); ++comment) body += comment->text.view();
    block.setBlockIndent(0);
    block.Append(body);
    block.EndWrite();
    return !qverr();
}
