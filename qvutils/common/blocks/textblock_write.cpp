// Writing text blocks.
#include <algorithm>
#include <cstring>

#include "qvutils/common/blocks/blockscan.h"
#include "qvutils/common/blocks/textblock.h"
#include "qvutils/common/platform/format.h"
#include "qvutils/common/platform/threads.h"

namespace {

constexpr int bodyIndent = 2;

/// Adds a keyword line with its comment. The blank keeps the comment apart from the keyword.
void appendWithComment(FBuff& block, std::string_view line, std::string_view comment) {
    block.Append(line);
    if (!comment.empty()) {
        block.Append(" ");
        block.Append(comment);
    }
    if (comment.empty() || comment.back() != '\n') {
        block.Append("\n");
    }
}

}  // namespace

const char* TextBlock::MakeTBlockHeader(const TBlockSig& sig, const char* name) {
    LineBuffer& header = qvplatform::perThread<LineBuffer, struct HeaderText>();
    const bool named = name && *name;
    // Numbers, brackets and quotes come to at most 38 characters.
    const std::size_t size =
        (named ? std::strlen(name) : 0) + std::max<std::size_t>(std::strlen(sig.type), 24) + 38;
    char* text = header.request(static_cast<std::uint32_t>(size));
    if (!text) {
        return "";
    }
    if (named) {
        qvplatform::format(text, size, "begin <%s(%d.%d)> \"%s\"\n", sig.type, sig.major, sig.minor,
                           name);
    } else {
        qvplatform::format(text, size, "begin <%s(%d.%d)>\n", sig.type, sig.major, sig.minor);
    }
    return text;
}

void TextBlock::StartWrite(const TBlockSig& sig, const char* name, const char* oldText) {
    if (!old_) {
        old_ = std::make_unique<TextBlock>();
    }
    static_cast<FBuff&>(*old_) = *this;
    if (old_->getLen() == 0) {
        old_->Append(oldText);
    }
    old_->setPosn(0);
    old_->SkipWhitespace(true);
    old_->SkipComments(true);
    old_->SkipComments(false);
    const qvblocks::BlockExtent extent =
        qvblocks::scanBlock(old_->text(), old_->getPosn(), maxDepth);
    const qvblocks::HeaderFields oldHeader = qvblocks::parseHeaderLine(old_->nextLine());
    endComment_.clear();
    if (extent.status == qvblocks::Extent::whole) {
        endComment_ = qvblocks::commentIn(qvblocks::lineAt(old_->text(), extent.bodyEnd));
        old_->cutTo(static_cast<unsigned>(extent.bodyEnd));
    }
    startBlock(sig, name, qvblocks::commentIn(oldHeader.rest));
    setBlockIndent(bodyIndent);
    setCommentSrc(old_.get());
    carryComments();
}

void TextBlock::setHeader(const TBlockSig& sig, const char* name) {
    startBlock(sig, name, {});
}

void TextBlock::startBlock(const TBlockSig& sig, const char* name, std::string_view comment) {
    // All arguments may be this block's own.
    std::string_view header = MakeTBlockHeader(sig, name);
    setType(sig.type);
    setName(name);
    major = sig.major;
    minor = sig.minor;
    unalloc();
    setCommentSrc(nullptr);
    setBlockIndent(0);
    header.remove_suffix(header.empty() ? 0 : 1);
    appendWithComment(*this, header, comment);
    bodyStart_ = bodyEnd_ = getLen();
}

void TextBlock::EndWrite() {
    old_.reset();
    AppendEnd();
}

void TextBlock::AppendEnd() {
    setCommentSrc(nullptr);
    bodyEnd_ = getLen();
    setBlockIndent(0);
    appendWithComment(*this, "end", endComment_);
    endComment_.clear();
    blockEnd_ = getLen();
}
