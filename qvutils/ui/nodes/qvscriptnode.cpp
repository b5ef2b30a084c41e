#include "qvutils/ui/nodes/qvscriptnode.h"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "qvutils/common/error/qverror.h"
#include "qvutils/common/text/qvnumber.h"
#include "qvutils/ui/nodes/scriptrun.h"
#include "qvutils/ui/project/qvnodeinfo.h"

namespace {

constexpr TBlockSig signature{"scriptTB", 1, 0};
constexpr std::string_view parameterWord = "PARAMETER";
constexpr std::string_view blanks = " \t\r\n";
constexpr const char* indent = "  ";

/// The first line of the text, which it loses; with its line feed.
std::string_view takeLine(std::string_view& text) {
    const std::size_t length = std::min(text.find('\n'), text.size() - 1) + 1;
    const std::string_view line = text.substr(0, length);
    text.remove_prefix(length);
    return line;
}

std::string_view withoutLineEnd(std::string_view line) {
    return line.substr(0, line.find_last_not_of("\r\n") + 1);
}

/// number [ comment ]
bool readLanguage(std::string_view content, int& language) {
    const std::size_t end = std::min(content.find_first_not_of("-0123456789"), content.size());
    const std::size_t rest = content.find_first_not_of(" \t", end);
    if (rest != content.npos && !content.substr(rest).starts_with("//")) return false;
    int failed = 0;
    const int number = atoI(std::string(content.substr(0, end)).c_str(), failed);
    if (!failed) language = number;
    return !failed;
}

/// Its block gives it one line, and no program could take it apart from two arguments on a line.
bool refuseLineBreak(const char* parameter) {
    if (!std::strpbrk(parameter, "\r\n")) return false;
    qverr().setf("a parameter may not hold a line break: \"%s\"\n", parameter);
    return true;
}

}  // namespace

const qvClassInfo qvScriptNode::cinfo_qvScriptNode("qvScriptNode",
                                                   qvProjectNode::getStaticClassInfo(), nullptr,
                                                   qvCreateObject<qvScriptNode>);

void registerScriptNode() {
    qvProjectNodeInfo info;
    info.classInfo = qvScriptNode::getStaticClassInfo();
    info.signature = signature;
    info.displayName = "Script";
    info.flags = qvProjectNodeInfo::plainText;
    info.parentTypes = {"projectTB"};
    static const qvProjectNodeInfoClass registration(info);
    qvProjectNodeInfoClass::Register();
}

void qvScriptNode::OnPublish() {
    PublishVar("text", text_, "entire text");
    PublishVar("language", language_, "script language: 0 for app commands, 1 for python");
    PublishList("parlist", parameters_, "parameter list");
    PublishFn("appendtext", &qvScriptNode::AppendText, "(string): append a string");
    PublishFn("cleartext", &qvScriptNode::ClearText, "(): clear contents");
    PublishFn("runscript", &qvScriptNode::RunScript, "(): run the script.");
    PublishFn("appendpar", &qvScriptNode::AppendParameter,
              "(string): append a parameter to the parameter list");
    PublishFn("clearparlist", &qvScriptNode::ClearParameters, "(): clear parameter list");
    qvProjectNode::OnPublish();
}

void qvScriptNode::SetParam(QVCommandElt& element, const char* value, const char* name) {
    if (std::strcmp(element.getName(), "parlist") == 0 && refuseLineBreak(value)) return;
    qvProjectNode::SetParam(element, value, name);
}

void qvScriptNode::setText(const QVString& text) {
    text_ = text;
    NotifyChanged();
}

void qvScriptNode::AppendText(const QVString& text) {
    text_ += text;
    NotifyChanged();
}

void qvScriptNode::ClearText() {
    setText("");
}

void qvScriptNode::setLanguage(int language) {
    language_ = language;
    NotifyChanged();
}

void qvScriptNode::AppendParameter(const QVString& parameter) {
    if (refuseLineBreak(parameter.Chars())) return;
    parameters_.append(parameter);
    NotifyChanged();
}

void qvScriptNode::ClearParameters() {
    parameters_.unalloc();
    NotifyChanged();
}

bool qvScriptNode::ReadTB(TextBlock& block) {
    if (!block.CheckStartRead(signature, true)) return false;
    RememberBlock(block, true);
    text_ = "";
    language_ = commands;
    parameters_.unalloc();
    comments_.clear();
    bool languageRead = false;
    int count = 0;
    for (std::string_view body = block.body(); !body.empty();) {
        const std::string_view line = takeLine(body);
        const std::size_t start = line.find_first_not_of(blanks);
        if (start == line.npos) continue;
        const std::string_view content = line.substr(start);
        if (content.starts_with("//")) {
            comments_.push_back({count, QVString(line)});
        } else if (readLine(content, languageRead)) {
            ++count;
        } else {
            SyntaxErr("Unknown line in script: %s\n", std::string(withoutLineEnd(content)).c_str());
            KeepLine(line);
        }
    }
    return true;
}

/// line := ">" text | number [ comment ] | "PARAMETER" "=" text
/// The number, which is the language, comes once.
bool qvScriptNode::readLine(std::string_view content, bool& languageRead) {
    if (content.front() == '>') {
        text_ += content.substr(1);
        return true;
    }
    content = withoutLineEnd(content);
    if (content.starts_with(parameterWord)) {
        const std::size_t equals = content.find_first_not_of(" \t", parameterWord.size());
        if (equals == content.npos || content[equals] != '=') return false;
        content.remove_prefix(equals + 1);
        if (content.starts_with(' ')) content.remove_prefix(1);
        if (content.find('\r') != content.npos) return false;
        parameters_.append(QVString(content));
        return true;
    }
    if (languageRead || !readLanguage(content, language_)) return false;
    return languageRead = true;
}

std::vector<std::string> qvScriptNode::lines() const {
    std::vector<std::string> all;
    all.push_back(indent + std::to_string(language_) + " //script language\n");
    for (const QVString& parameter : parameters_) {
        std::string line = indent;
        all.push_back(line.append(parameterWord) + " = " + parameter.Chars() + "\n");
    }
    for (std::string_view text = text_.view(); !text.empty();) {
        std::string line = indent;
        line += '>';
        line += takeLine(text);
        // Also after a carriage return: the "end" line must begin a line of its own.
        if (line.back() != '\n') line += '\n';
        all.push_back(std::move(line));
    }
    return all;
}

bool qvScriptNode::WriteTB(TextBlock& block) const {
    StartNodeBlock(block);
    if (qverr()) return false;
    block.setBlockIndent(0);
    auto comment = comments_.begin();
    int count = 0;
    for (const std::string& line : lines()) {
        for (; comment != comments_.end() && comment->line <= count; ++comment) {
            block.Append(comment->text.view());
        }
        block.Append(line);
        ++count;
    }
    for (; comment != comments_.end(); ++comment) block.Append(comment->text.view());
    if (!WriteChildNodes(block)) return false;
    block.EndWrite();
    return !qverr();
}

void qvScriptNode::RunScript() {
    if (running_) {
        qverr().setf("script \"%s\" is running\n", getName().Chars());
        return;
    }
    // All that the run needs is its own, as the node may not live to its end.
    const qvNodeGuard self(this);
    running_ = true;
    if (language_ == commands) {
        qvRunCommandScript(getName(), text_);
    } else if (language_ == python) {
        qvRunPythonText(text_, parameters_);
    } else {
        qverr().set("unknown language type\n");
    }
    if (self) running_ = false;
}
