#pragma once
#include <cstdint>
#include <string_view>

#include "qvutils/common/blocks/linebuffer.h"
#include "qvutils/common/platform/qvexport.h"

namespace qvblocks {
struct BlockExtent;
}

/// A growing text in memory with a read cursor, line readers that know `//` comments, and loading
/// and saving of whole files.
///
/// Copying is cheap: buffers share one text until one of them is written to (sharing is safe across
/// threads, one buffer is not). A text may have up to 4 GiB; what would exceed that, or the memory,
/// is not added and posts an error.
///
/// Line readers return a line with its "\n" (the last one may have none), an empty line at the end
/// of the text, and null when nothing was ever put into the buffer. They move the cursor of a const
/// buffer too. The readers that return a pointer copy the line into one buffer that the next of
/// them reuses; those that return a view copy nothing, the view lasts until the text changes.
class QVCORE_API FBuff {
public:
    FBuff() = default;
    FBuff(const FBuff& other);
    FBuff(FBuff&& other) noexcept;
    FBuff& operator=(const FBuff& other);
    FBuff& operator=(FBuff&& other) noexcept;
    ~FBuff();

    /// Replaces the text by that of a file, its line ends turned into "\n", with the cursor at 0.
    /// Does nothing while an error is pending. Failures post error 500 and leave the buffer as it
    /// was; a file with a NUL character is refused, the message says where.
    bool LoadFile(const char* path);
    /// Replaces the file whole or, after a failure (error 500), not at all. Does nothing while an
    /// error is pending.
    bool SaveFile(const char* path) const;

    /// Adds text at the end, after as many spaces as the block indent says. The cursor advances by
    /// what was added.
    void Append(std::string_view text);
    void Append(const char* text) { Append(text ? std::string_view(text) : std::string_view()); }
    void Append(const FBuff& other);

    /// Writes a line, given without its end: the trailing comment of the line's counterpart in the
    /// comment source follows it, or "\n", and then the whole-line comments after the counterpart.
    /// Without a comment source the same as Append: the text then brings its own "\n".
    void WriteLine(std::string_view text);
    void WriteLine(const char* text) { WriteLine(std::string_view(text ? text : "")); }
    /// The same with a printf-style format, independent of the locale; returns the length.
    int writeline(const char* fmt, ...) QV_PRINTF_LIKE(2, 3);
    /// Writes a line that brings its own comment, or is free text in which "//" is nothing special.
    /// Supplies a missing "\n", steps over the counterpart in the comment source and carries the
    /// whole-line comments after it.
    void AppendLine(std::string_view text);
    void AppendLine(const char* text) { AppendLine(std::string_view(text ? text : "")); }
    /// Writes a whole child block. Its counterpart, the next child block in the comment source, is
    /// stepped over (the child carried its own comments) and whole-line comments after it carried.
    void AppendBlock(const FBuff& block);

    /// The next line.
    const char* gets() const;
    std::string_view nextLine() const;
    /// Steps over blank space and whole-line comments up to the next content; returns what was
    /// stepped over without trailing blanks.
    const char* getcl() const;
    /// The next line's trailing comment from its last "//", or "\n" when it has none (`trailing`);
    /// or the next line if it is nothing but a comment, from its "//", else an empty text with the
    /// cursor left where it was.
    const char* getclB(bool trailing) const;
    /// From `offset` bytes beyond the cursor: the rest of that line from its "//" or, without one,
    /// its "\n", and the comment lines after it. A single "\n" when nothing is allocated.
    const char* getnlc(int offset) const;
    /// Reads the next line as sscanf would, independent of the locale; returns how many fields.
    int scanline(const char* fmt, ...) const QV_SCANF_LIKE(2, 3);
    /// The line that the last reader returned.
    const char* getLastLine() const { return line_.chars(); }

    /// Each line reader first steps over spaces and tabs.
    void SkipWhitespace(bool skip) { setFlag(skipWhitespace, skip); }
    /// Each line reader then steps over the blank space and whole-line comments that follow the
    /// line, so that the next line starts at its first non-blank character.
    void SkipComments(bool skip);
    /// Steps over spaces and tabs.
    void DoSkipWhitespace() const;

    /// The number of spaces (0 to 255) before each piece of text appended.
    void setBlockIndent(int spaces);
    int getBlockIndent() const { return static_cast<int>(flags_ & indentMask); }
    /// Not owned; null for none.
    void setCommentSrc(FBuff* source) { comments_ = source; }

    unsigned getPosn() const { return posn_; }
    /// Ignored beyond the end of the text.
    void setPosn(unsigned posn) const;
    unsigned getLen() const { return length_; }
    bool alloced() const { return store_ != nullptr; }
    /// Drops text and line; cursor and length 0.
    void unalloc();
    /// The same, but keeps the room for the next text when nobody shares it.
    void clear();

    /// The whole text, not copied.
    std::string_view text() const;
    /// The whole text with a NUL after it; copies a part of a shared text first.
    const char* chars() const;
    /// What is allocated for text of one's own; 0 while a text is shared.
    unsigned capacity() const;
    /// Gives up sharing and spare room: the buffer holds exactly its text. For buffers kept long.
    void compact();

private:
    friend class TextBlock;
    struct Store;
    static constexpr std::uint32_t indentMask = 0xff;
    static constexpr std::uint32_t skipComments = 0x100;
    static constexpr std::uint32_t skipWhitespace = 0x200;

    /// Becomes the part [from, to) of the other's text, shared; the cursor goes to 0.
    void share(const FBuff& other, unsigned from, unsigned to);
    /// The block whose header is the line at `from`. The blocks in it are remembered for all who
    /// share the text, until it is written to.
    qvblocks::BlockExtent blockAt(unsigned from, int maxDepth) const;
    /// Forgets the text from `length` on.
    void cutTo(unsigned length);
    /// Steps over blank lines and whole-line comments of the comment source; writes the comments.
    void carryComments();
    void setFlag(std::uint32_t flag, bool on) { flags_ = on ? flags_ | flag : flags_ & ~flag; }
    bool owns() const;
    char* makeRoom(std::uint64_t need);
    void appendRaw(std::string_view text);
    void stepOverComments() const;
    std::string_view readLine() const;
    std::string_view wholeLineComment() const;
    void dropStore();

    Store* store_ = nullptr;
    /// Where the text begins in a shared store.
    std::uint32_t begin_ = 0;
    std::uint32_t length_ = 0;
    mutable std::uint32_t posn_ = 0;
    std::uint32_t flags_ = 0;
    /// Where in the remembered blocks the last one was found.
    mutable std::uint32_t lastBlock_ = 0;
    mutable LineBuffer line_;
    FBuff* comments_ = nullptr;
};
