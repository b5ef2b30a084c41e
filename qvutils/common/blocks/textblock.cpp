// Reading text blocks.
#include "qvutils/common/blocks/textblock.h"

#include <algorithm>
#include <cstring>

#include "qvutils/common/blocks/blockscan.h"
#include "qvutils/common/error/qverror.h"
#include "qvutils/common/platform/files.h"

using qvblocks::BlockExtent;
using qvblocks::Extent;

namespace {

constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";

bool sameText(const char* a, const char* b) {
    auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c | 0x20) : c; };
    for (; *a && lower(*a) == lower(*b); ++a, ++b) {
    }
    return lower(*a) == lower(*b);
}

/// What may stand before the first block of a text.
void stepOverPreamble(FBuff& source) {
    if (source.getPosn() == 0) {
        if (source.text().substr(0, byteOrderMark.size()) == byteOrderMark) {
            source.setPosn(static_cast<unsigned>(byteOrderMark.size()));
        }
        source.SkipComments(true);
        source.SkipComments(false);
    }
}

}  // namespace

TextBlock::TextBlock(const TextBlock& other)
    : FBuff(other),
      blockEnd_(other.blockEnd_),
      bodyStart_(other.bodyStart_),
      bodyEnd_(other.bodyEnd_),
      major(other.major),
      minor(other.minor),
      named_(other.named_),
      name_(other.name_) {
    std::memcpy(type_, other.type_, sizeof type_);
}

TextBlock& TextBlock::operator=(const TextBlock& other) {
    if (this != &other) {
        *this = TextBlock(other);
    }
    return *this;
}

void TextBlock::empty() {
    unalloc();
    blockEnd_ = bodyStart_ = bodyEnd_ = 0;
    major = minor = -1;
    setType(nullptr);
    setName(nullptr);
}

bool TextBlock::LoadBlock(FBuff& source) {
    empty();
    const std::uint32_t skipping = source.flags_ & skipComments;
    source.setFlag(skipComments, false);
    stepOverPreamble(source);
    const unsigned from = source.getPosn();
    const BlockExtent extent = source.blockAt(from, maxDepth);
    if (extent.status != Extent::notABlock) {
        takeText(source, from, static_cast<unsigned>(extent.bodyStart),
                 static_cast<unsigned>(extent.bodyEnd), static_cast<unsigned>(extent.end));
    }
    if (extent.status == Extent::whole) {
        parseHeader();
        source.stepOverComments();
    } else if (extent.status != Extent::notABlock) {
        refuse(source, from, extent.status == Extent::tooDeep);
    }
    source.setFlag(skipping, true);
    if (extent.status == Extent::notABlock) {
        source.gets();
    }
    return extent.status == Extent::whole;
}

/// Reads the first line of an unusable block again and says what is wrong.
void TextBlock::refuse(FBuff& source, unsigned from, bool tooDeep) {
    source.setPosn(from);
    const char* header = source.gets();
    if (tooDeep) {
        qverr().setf("More than %d nested blocks in block beginning\r\n%s\r\n", maxDepth, header);
    } else {
        qverr().setf("Missing \"end\" in block beginning\r\n%s\r\n", header);
    }
}

bool TextBlock::LoadBlock(const char* text) {
    FBuff source;
    std::string lines(text ? text : "");
    lines.resize(qvplatform::translateLineEnds(lines.data(), lines.size()));
    source.Append(lines);
    source.setPosn(0);
    return LoadBlock(source);
}

/// Takes over the source's text between two positions and moves the source's cursor behind it.
void TextBlock::takeText(FBuff& source, unsigned from, unsigned bodyFrom, unsigned bodyTo,
                         unsigned to) {
    if (!(source.flags_ & skipWhitespace) && getBlockIndent() == 0) {
        share(source, from, to);
        bodyStart_ = bodyFrom - from;
        bodyEnd_ = bodyTo - from;
        source.setPosn(to);
        setPosn(getLen());
    } else {
        // The lines change on their way.
        for (source.setPosn(from); source.getPosn() < to;) {
            const unsigned lineStart = source.getPosn();
            if (lineStart <= bodyFrom) {
                bodyStart_ = getLen();
            }
            if (lineStart <= bodyTo) {
                bodyEnd_ = getLen();
            }
            Append(source.nextLine());
        }
    }
    blockEnd_ = getLen();
}

void TextBlock::parseHeader() {
    const qvblocks::HeaderFields fields = qvblocks::parseHeaderLine(text().substr(0, bodyStart_));
    if (fields.hasSignature) {
        setType(std::string(fields.type).c_str());
        major = fields.major;
        minor = fields.minor;
        named_ = true;
        name_ = fields.name;
    }
}

void TextBlock::enterBody() {
    GotoBody();
    SkipComments(true);
}

void TextBlock::StartRead(const TBlockSig& sig, bool checkVersion) {
    if (!Loaded() && !alloced()) {
        CodeError("TextBlock::LoadBlock not called?", "qvutils", 1);
    } else if (!eCheckType(sig.type) &&
               !(checkVersion && eCheckVersion(sig.major, sig.minor, -1))) {
        enterBody();
    }
}

bool TextBlock::CheckStartRead(const TBlockSig& sig, bool checkVersion) {
    if (!Loaded() && !alloced()) {
        CodeError("TextBlock::LoadBlock not called?", "qvutils", 2);
        return false;
    }
    if (!IsType(sig)) {
        SyntaxErr("Unexpected type in block beginning: %s   required type: %s\n", getHeader(),
                  sig.type);
        return false;
    }
    if (checkVersion && !IsVersion(sig)) {
        SyntaxErr("Unexpected version in block beginning: %s   required version: %d.%d\n",
                  getHeader(), sig.major, sig.minor);
        return false;
    }
    enterBody();
    return true;
}

bool TextBlock::EOB() const {
    return !alloced() || getPosn() >= std::min(bodyEnd_, getLen()) || text()[getPosn()] == '\0';
}

int TextBlock::getNBodyLines() const {
    const unsigned posn = getPosn();
    int lines = 0;
    for (GotoBody(); !EOB(); ++lines) {
        nextLine();
    }
    setPosn(posn);
    return lines;
}

std::string_view TextBlock::body() const {
    return text().substr(bodyStart_, bodyEnd_ - bodyStart_);
}

const char* TextBlock::getHeader() const {
    const unsigned posn = getPosn();
    setPosn(0);
    const char* header = gets();
    setPosn(posn);
    return header ? header : "";
}

void TextBlock::setType(const char* type) {
    const std::string_view text = std::string_view(type ? type : "").substr(0, sizeof type_ - 1);
    std::memmove(type_, text.data(), text.size());  // may be this block's own
    type_[text.size()] = '\0';
}

void TextBlock::setName(const char* name) {
    named_ = name != nullptr;
    name_ = name ? name : "";
}

bool TextBlock::IsType(const char* type) const {
    return sameText(type_, type);
}

bool TextBlock::IsVersion(int wantedMajor, int minorLo, int minorHi) const {
    return wantedMajor == major &&
           (minorLo < 0 || (minorLo <= minor && minor <= (minorHi < 0 ? minorLo : minorHi)));
}

bool TextBlock::VersionAtLeast(int wantedMajor, int wantedMinor) const {
    return major != wantedMajor ? major > wantedMajor : minor >= wantedMinor;
}

bool TextBlock::IsBeforeVersion(int wantedMajor, int wantedMinor) const {
    return !VersionAtLeast(wantedMajor, wantedMinor);
}

bool TextBlock::IsAfterVersion(int wantedMajor, int wantedMinor) const {
    return VersionAtLeast(wantedMajor, wantedMinor + 1);
}

bool TextBlock::eCheckType(const char* type) const {
    if (IsType(type)) {
        return false;
    }
    qverr().setf("Expected \"begin <%s(?.?)>\" in block beginning\r\n%s\r\n", type, getHeader());
    return true;
}

bool TextBlock::eCheckVersion(int wantedMajor, int minorLo, int minorHi) const {
    if (IsVersion(wantedMajor, minorLo, minorHi)) {
        return false;
    }
    qverr().setf("Expected version (%d.%d) in block beginning\r\n%s\r\n", wantedMajor,
                 minorHi < 0 ? minorLo : minorHi, getHeader());
    return true;
}

bool TextBlock::eCheckSig(const TBlockSig& sig) const {
    if (!IsType(sig)) {
        qverr().setf("Expected \"begin <%s(%d.%d)>\" in block beginning\r\n%s\r\n", sig.type,
                     sig.major, sig.minor, getHeader());
        return true;
    }
    if (!IsVersion(sig)) {
        qverr().setf("Expected block version (%d.%d) in block beginning\r\n%s\r\n", sig.major,
                     sig.minor, getHeader());
        return true;
    }
    return false;
}
