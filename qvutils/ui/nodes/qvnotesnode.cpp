#include "qvutils/ui/nodes/qvnotesnode.h"

#include <algorithm>
#include <cstring>
#include <memory>
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

const qvClassInfo qvNotesNode::cinfo_qvNotesNode("qvNotesNode", qvProjectNode::getStaticClassInfo(),
                                                 nullptr, qvCreateObject<qvNotesNode>);

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
    decode();
    PublishVar("text", text_, "entire text");
    PublishFn("appendtext", &qvNotesNode::AppendText, "(string): append a string");
    PublishFn("cleartext", &qvNotesNode::ClearText, "(): clear contents");
    qvProjectNode::OnPublish();
}

void qvNotesNode::setName(const QVString& name) {
    if (name != getName()) decode();
    qvProjectNode::setName(name);
}

const QVString& qvNotesNode::getText() {
    decode();
    return text_;
}

void qvNotesNode::setText(const QVString& text) {
    decode();
    text_ = text;
    NotifyChanged();
}

void qvNotesNode::AppendText(const QVString& text) {
    decode();
    text_ += text;
    NotifyChanged();
}

void qvNotesNode::ClearText() {
    setText("");
}

bool qvNotesNode::ReadTB(TextBlock& block) {
    if (!block.CheckStartRead(signature, true)) return false;
    source_ = block;
    // Under another name, or without its last line feed, it cannot be written as it is.
    const bool asItIs = getName() == block.getName() && block.text().back() == '\n';
    if (!asItIs) decode();
    return true;
}

void qvNotesNode::decode() {
    if (!source_.alloced()) return;
    TextBlock block;
    source_.setPosn(0);
    block.LoadBlock(source_);
    source_ = FBuff();
    RememberBlock(block, true);
    comments_.clear();
    text_ = "";
    std::string_view body = block.body();
    text_.Alloc(static_cast<int>(body.size()));
    for (int lines = 0; !body.empty();) {
        const std::string_view line = takeLine(body);
        const std::size_t start = std::min(line.find_first_not_of(" \t\r\n"), line.size());
        const std::string_view content = line.substr(start);
        if (content.empty()) continue;
        if (content.substr(0, 2) == "//") {
            comments_.push_back({lines, QVString(line)});
            continue;
        }
        text_ += content.substr(content.front() == '>' ? 1 : 0);
        ++lines;
    }
}

void qvNotesNode::FetchAhead() const {
    constexpr std::size_t line = 64;
    constexpr std::size_t usual = 1088;
    // Without a look at its length, which is as far away as the text. Nothing is read, so it does
    // no harm to ask beyond the end.
    const char* text = text_.Chars();
    for (std::size_t i = 0; i < usual; i += line) __builtin_prefetch(text + i);
    __builtin_prefetch(getName().Chars());
}

bool qvNotesNode::WriteTB(TextBlock& block) const {
    if (source_.alloced()) {
        FBuff source = source_;
        source.setPosn(0);
        return block.LoadBlock(source);
    }
    StartNodeBlock(block);
    if (qverr()) return false;
    std::string_view rest = text_.view();
    // Room for the worst text, which is all line feeds.
    std::size_t room = rest.size() * (lineMark.size() + 1) + lineMark.size() + 1;
    for (const Comment& comment : comments_) room += comment.text.view().size();
    const auto body = std::make_unique_for_overwrite<char[]>(room);
    char* end = body.get();
    const auto add = [&end](std::string_view piece) {
        std::memcpy(end, piece.data(), piece.size());
        end += piece.size();
    };
    auto comment = comments_.begin();
    for (int lines = 0; !rest.empty(); ++lines) {
        for (; comment != comments_.end() && comment->line <= lines; ++comment) {
            add(comment->text.view());
        }
        add(lineMark);
        add(takeLine(rest));
    }
    // Also after a carriage return: the "end" line must begin a line of its own.
    if (end != body.get() && end[-1] != '\n') add("\n");
    for (; comment != comments_.end(); ++comment) add(comment->text.view());
    block.setBlockIndent(0);
    block.Append(std::string_view(body.get(), static_cast<std::size_t>(end - body.get())));
    block.EndWrite();
    return !qverr();
}
