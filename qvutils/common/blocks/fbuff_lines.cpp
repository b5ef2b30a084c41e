// The lines of a buffer: readers, and writers that carry comments over.
#include <algorithm>
#include <cstdarg>
#include <limits>
#include <string>

#include "qvutils/common/blocks/blockscan.h"
#include "qvutils/common/blocks/fbuff.h"
#include "qvutils/common/platform/format.h"

namespace {

constexpr std::string_view newline = "\n";

std::string_view withoutTrailingBlanks(std::string_view text) {
    return text.substr(0, text.find_last_not_of(" \t") + 1);
}

std::size_t trailingBlanks(std::string_view text) {
    return text.size() - withoutTrailingBlanks(text).size();
}

std::size_t count(std::string_view text, std::string_view part) {
    std::size_t n = 0;
    for (std::size_t at = text.find(part); at != text.npos;
         at = text.find(part, at + part.size())) {
        ++n;
    }
    return n;
}

/// The comment at the end of the line that is being replaced by `text`, with the blanks before it
/// that `text` does not bring itself. Each "//" in `text` stands for one in the old line, so that
/// neither is a web address taken for a comment nor half of a comment lost that holds one.
std::string_view commentToCarry(std::string_view oldLine, std::string_view text) {
    std::size_t at = oldLine.find("//");
    for (std::size_t n = count(text, "//"); n > 0 && at != oldLine.npos; --n) {
        at = oldLine.find("//", at + 2);
    }
    if (at == oldLine.npos) {
        return {};
    }
    const std::size_t blanks = trailingBlanks(oldLine.substr(0, at));
    return oldLine.substr(at - blanks + std::min(blanks, trailingBlanks(text)));
}

}  // namespace

void FBuff::SkipComments(bool skip) {
    setFlag(skipComments, skip);
    if (skip) {
        stepOverComments();
    }
}

void FBuff::DoSkipWhitespace() const {
    const std::string_view all = text();
    while (posn_ < length_ && (all[posn_] == ' ' || all[posn_] == '\t')) {
        ++posn_;
    }
}

void FBuff::stepOverComments() const {
    const std::string_view all = text();
    while (posn_ < length_) {
        const char c = all[posn_];
        if (c == ' ' || c == '\t' || c == '\n') {
            ++posn_;
        } else if (c == '/' && posn_ + 1 < length_ && all[posn_ + 1] == '/') {
            posn_ += static_cast<std::uint32_t>(qvblocks::lineAt(all, posn_).size());
        } else {
            break;
        }
    }
}

/// The rest of the line at the cursor, which moves past it.
std::string_view FBuff::readLine() const {
    const std::string_view line = qvblocks::lineAt(text(), posn_);
    posn_ += static_cast<std::uint32_t>(line.size());
    return line;
}

std::string_view FBuff::nextLine() const {
    if (flags_ & skipWhitespace) {
        DoSkipWhitespace();
    }
    const std::string_view line = readLine();
    if (flags_ & skipComments) {
        stepOverComments();
    }
    return line;
}

const char* FBuff::gets() const {
    return store_ ? line_.keep(nextLine()) : nullptr;
}

const char* FBuff::getcl() const {
    if (flags_ & skipWhitespace) {
        DoSkipWhitespace();
    }
    const std::uint32_t from = posn_;
    stepOverComments();
    return line_.keep(withoutTrailingBlanks(text().substr(from, posn_ - from)));
}

/// The next line from its "//" if it holds nothing else; else empty, with the cursor left.
std::string_view FBuff::wholeLineComment() const {
    const std::uint32_t from = posn_;
    const std::string_view line = nextLine();
    const std::size_t start = line.find_first_not_of(" \t");
    if (start == line.npos || line.compare(start, 2, "//") != 0) {
        posn_ = from;
        return {};
    }
    return line.substr(start);
}

const char* FBuff::getclB(bool trailing) const {
    if (!trailing) {
        return line_.keep(wholeLineComment());
    }
    const std::string_view line = nextLine();
    const std::size_t at = line.rfind("//");
    return line_.keep(at == line.npos ? newline : line.substr(at));
}

const char* FBuff::getnlc(int offset) const {
    if (!store_) {
        return line_.keep(newline);
    }
    const std::size_t from =
        std::min<std::size_t>(posn_ + static_cast<std::size_t>(std::max(offset, 0)), length_);
    const std::string_view line = qvblocks::lineAt(text(), from);
    const std::string_view rest =
        line.substr(std::min({line.find("//"), line.find('\n'), line.size()}));
    posn_ = static_cast<std::uint32_t>(from + line.size());
    std::string comment(rest);
    comment += getcl();
    return line_.keep(withoutTrailingBlanks(comment));
}

int FBuff::scanline(const char* fmt, ...) const {
    const char* line = gets();
    if (!line) {
        return 0;
    }
    va_list args;
    va_start(args, fmt);
    const int fields = qvplatform::vscan(line, fmt, args);
    va_end(args);
    return std::max(fields, 0);
}

void FBuff::WriteLine(std::string_view text) {
    Append(text);
    if (!comments_) {
        return;
    }
    if (comments_->posn_ >= comments_->length_) {
        appendRaw(newline);
        return;
    }
    std::string_view comment;
    const std::string_view all = comments_->text();
    // A child block is nobody's counterpart but another child block's.
    if (qvblocks::keywordOf(qvblocks::lineAt(all, comments_->posn_)) != qvblocks::Keyword::begin) {
        comment = commentToCarry(comments_->nextLine(), text);
    }
    appendRaw(comment);
    if (comment.empty() || comment.back() != '\n') {
        appendRaw(newline);
    }
    carryComments();
}

int FBuff::writeline(const char* fmt, ...) {
    char brief[512];
    va_list args;
    va_start(args, fmt);
    va_list again;
    va_copy(again, args);
    const int length = qvplatform::vformat(brief, sizeof brief, fmt, args);
    va_end(args);
    if (length >= 0 && static_cast<std::size_t>(length) < sizeof brief) {
        WriteLine(std::string_view(brief, static_cast<std::size_t>(length)));
    } else {
        WriteLine(qvplatform::vformatText(fmt, again));
    }
    va_end(again);
    return length;
}

void FBuff::AppendLine(std::string_view text) {
    Append(text);
    if (text.empty() || text.back() != '\n') {
        appendRaw(newline);
    }
    if (comments_) {
        const std::string_view next = qvblocks::lineAt(comments_->text(), comments_->posn_);
        if (qvblocks::keywordOf(next) != qvblocks::Keyword::begin) {
            comments_->nextLine();
        }
        carryComments();
    }
}

void FBuff::AppendBlock(const FBuff& block) {
    Append(block);
    if (length_ > 0 && text().back() != '\n') {
        appendRaw(newline);
    }
    while (comments_) {
        carryComments();
        const qvblocks::BlockExtent child =
            comments_->blockAt(comments_->posn_, std::numeric_limits<int>::max());
        if (child.status == qvblocks::Extent::whole) {
            comments_->setPosn(static_cast<unsigned>(child.end));
            carryComments();
            break;
        }
        if (comments_->readLine().empty()) {
            break;
        }
    }
}

void FBuff::carryComments() {
    if (!comments_) {
        return;
    }
    for (;;) {
        const std::string_view all = comments_->text();
        const std::size_t next = all.find_first_not_of(" \t\n", comments_->posn_);
        comments_->posn_ = static_cast<std::uint32_t>(std::min(next, all.size()));
        if (all.compare(comments_->posn_, 2, "//") != 0) {
            return;
        }
        const std::string_view comment = comments_->readLine();
        Append(comment);
        if (comment.back() != '\n') {
            appendRaw(newline);
        }
    }
}
