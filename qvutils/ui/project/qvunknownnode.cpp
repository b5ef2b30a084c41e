#include "qvutils/ui/project/qvunknownnode.h"

#include "qvutils/common/error/qverror.h"
#include "qvutils/ui/project/qvproject.h"

const qvClassInfo qvUnknownNode::cinfo_qvUnknownNode("qvUnknownNode",
                                                     qvProjectNode::getStaticClassInfo());

qvUnknownNode::qvUnknownNode(const TextBlock& block) : block_(block), type_(block.getType()) {
    block_.compact();
    qvProjectNode::setName(block.getName());
}

bool qvUnknownNode::ReadTB(TextBlock&) {
    qverr().setf("node type \"%s\" unknown", type_.Chars());
    return false;
}

bool qvUnknownNode::WriteTB(TextBlock& block) const {
    block = block_;
    return true;
}

bool qvUnknownNode::CanEnCopy() {
    qverr().setf("node type \"%s\" unknown", type_.Chars());
    return false;
}

void qvUnknownNode::setName(const QVString& name) {
    if (name == getName()) return;
    // Only the quoted name in the header line changes; the rest stays as it was written.
    const std::string_view text = block_.text();
    const std::string_view header = text.substr(0, text.find('\n'));
    const std::size_t typeEnd = header.find('>');
    const std::size_t open = header.find_first_not_of(" \t", typeEnd + 1);
    std::string renamed(text.substr(0, typeEnd + 1));
    renamed += " \"" + std::string(name.view()) + '"';
    std::size_t rest = typeEnd + 1;
    if (open != header.npos && header[open] == '"') {
        const std::size_t close = header.find('"', open + 1);
        rest = close == header.npos ? header.size() : close + 1;
    }
    renamed += text.substr(rest);
    block_.LoadBlock(renamed.c_str());
    qvProjectNode::setName(name);
}

void qvUnknownNode::OnPublish() {
    PublishVar("blocktype", type_,
               "type of the block; this program cannot read it and keeps it as it is", true);
    if (const qvProject* project = getRootProject()) {
        plugin_ = project->neededPlugin(type_.view()).c_str();
    }
    PublishVar("plugin", plugin_, "plug-in that the block needs, where the file tells", true);
    qvProjectNode::OnPublish();
}
