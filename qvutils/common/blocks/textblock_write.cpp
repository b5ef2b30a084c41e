// Writing text blocks.
#include <algorithm>
#include <charconv>
#include <cstring>

#include "qvutils/common/blocks/blockscan.h"
#include "qvutils/common/blocks/textblock.h"
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
    const std::string_view type = sig.type;
    const std::string_view nameText = name ? name : "";
    // Words, numbers, brackets and quotes come to at most 38 characters.
    char* text = header.request(static_cast<std::uint32_t>(type.size() + nameText.size() + 62));
    if (!text) {
        return "";
    }
    char* end = text;
    const auto add = [&end](std::string_view piece) {
        end = std::copy(piece.begin(), piece.end(), end);
    };
    const auto addNumber = [&end](int number) { end = std::to_chars(end, end + 11, number).ptr; };
    add("begin <");
    add(type);
    add("(");
    addNumber(sig.major);
    add(".");
    addNumber(sig.minor);
    add(")>");
    if (!nameText.empty()) {
        add(" \"");
        add(nameText);
        add("\"");
    }
    add(std::string_view("\n", 2));
    return text;
}

void TextBlock::StartWrite(const TBlockSig& sig, const char* name, const char* oldText) {
    if (!old_) {
        old_ = std::make_unique<TextBlock>();
    }
    if (getLen() != 0) {
        static_cast<FBuff&>(*old_) = *this;
    } else {
        old_->unalloc();
        old_->Append(oldText);
    }
    endComment_.clear();
    if (old_->getLen() != 0) {
        startFromOld(sig, name);
    } else {
        startBlock(sig, name, {});
    }
    setBlockIndent(bodyIndent);
    setCommentSrc(old_.get());
    carryComments();
}

/// Takes over the comments of the old block's header and end lines.
void TextBlock::startFromOld(const TBlockSig& sig, const char* name) {
    old_->setPosn(0);
    old_->SkipWhitespace(true);
    old_->SkipComments(true);
    old_->SkipComments(false);
    const qvblocks::BlockExtent extent = old_->blockAt(old_->getPosn(), maxDepth);
    const qvblocks::HeaderFields oldHeader = qvblocks::parseHeaderLine(old_->nextLine());
    if (extent.status == qvblocks::Extent::whole) {
        endComment_ = qvblocks::commentIn(qvblocks::lineAt(old_->text(), extent.bodyEnd));
        old_->cutTo(static_cast<unsigned>(extent.bodyEnd));
    }
    startBlock(sig, name, qvblocks::commentIn(oldHeader.rest));
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
    clear();
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
