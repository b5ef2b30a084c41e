#pragma once
#include <memory>
#include <string>
#include <string_view>

#include "qvutils/common/blocks/fbuff.h"
#include "qvutils/common/blocks/tblocksig.h"
#include "qvutils/common/platform/qvexport.h"

/// A buffer that holds one text block: a header line `begin <TYPE(MAJOR.MINOR)> "NAME"`, a body,
/// which may hold whole child blocks, and a line `end`. The two keywords and the type are matched
/// without regard to case.
///
/// Reading:  if (block.LoadBlock(source)) { block.StartRead(sig, true); if (qverr()) return;
///           while (!block.EOB()) { child.LoadBlock(block), block.gets(), … } }
/// Writing:  block.StartWrite(sig, name, nullptr); block.writeline("gap %g", gap); …
///           block.AppendBlock(child); …  block.EndWrite();
///
/// A block read from a buffer shares the buffer's text. One that is kept for long while its source
/// goes should be compact()ed, or it keeps the whole source in memory.
class QVCORE_API TextBlock : public FBuff {
public:
    /// Blocks nested deeper are refused with an error.
    static constexpr int maxDepth = 256;

    TextBlock() = default;
    /// Copies share the text; a write under way is not copied.
    TextBlock(const TextBlock& other);
    TextBlock(TextBlock&& other) noexcept = default;
    TextBlock& operator=(const TextBlock& other);
    TextBlock& operator=(TextBlock&& other) noexcept = default;
    ~TextBlock() = default;

    /// Reads the block at the source's cursor and the comments after it. False without a message
    /// when the next line does not begin a block: the source has then read that line (see its
    /// getLastLine). False with an error pending when the block has no end; the source has then
    /// read its first line. At the start of a text a byte-order mark, blank lines and comments
    /// are stepped over first.
    bool LoadBlock(FBuff& source);
    bool LoadBlock(const char* text);

    /// Checks type and, on demand, version, and goes to the first content line of the body, with
    /// SkipComments on. A failed check posts an error and leaves the cursor where it was.
    void StartRead(const TBlockSig& sig, bool checkVersion);
    /// The same, but a failure is a syntax error (SyntaxErr) and gives false.
    bool CheckStartRead(const TBlockSig& sig, bool checkVersion);
    /// True at the end of the body.
    bool EOB() const;
    void GotoBody() const { setPosn(bodyStart_); }
    void EndRead() { line_.release(); }
    int getNBodyLines() const;
    /// The text between header line and `end` line, not copied.
    std::string_view body() const;

    /// Begins to rewrite the block. Its text so far, or `oldText` when it has none, becomes the
    /// comment source, so that comments stay with lines that are written in the same order.
    void StartWrite(const TBlockSig& sig, const char* name, const char* oldText = nullptr);
    void EndWrite();
    /// Begins a block without comment source; lines bring their own "\n". AppendEnd ends it.
    void setHeader(const TBlockSig& sig, const char* name);
    void AppendEnd();

    const char* getType() const { return type_; }
    /// Null when there was never a header, empty when the header gives none.
    const char* getName() const { return named_ ? name_.c_str() : nullptr; }
    int getMajorVer() const { return major; }
    int getMinorVer() const { return minor; }
    /// The first line of the block; the cursor stays.
    const char* getHeader() const;
    /// Cut to 31 characters.
    void setType(const char* type);
    /// Null for none.
    void setName(const char* name);
    /// True when a block was read or begun (its version is known).
    bool Loaded() const { return major != -1 || minor != -1; }

    bool IsType(const char* type) const;
    bool IsType(const TBlockSig& sig) const { return IsType(sig.type); }
    /// Minor version from lo to hi; any when lo < 0, exactly lo when hi < 0.
    bool IsVersion(int wantedMajor, int minorLo, int minorHi) const;
    bool IsVersion(const TBlockSig& sig) const { return IsVersion(sig.major, sig.minor, -1); }
    bool VersionAtLeast(int wantedMajor, int wantedMinor) const;
    bool VersionAtLeast(const TBlockSig& sig) const { return VersionAtLeast(sig.major, sig.minor); }
    bool IsBeforeVersion(int wantedMajor, int wantedMinor) const;
    bool IsBeforeVersion(const TBlockSig& sig) const { return !VersionAtLeast(sig); }
    bool IsAfterVersion(int wantedMajor, int wantedMinor) const;
    bool IsAfterVersion(const TBlockSig& sig) const { return IsAfterVersion(sig.major, sig.minor); }

    /// Checks that post an error; true when the check FAILS.
    bool eCheckType(const char* type) const;
    bool eCheckVersion(int wantedMajor, int minorLo, int minorHi) const;
    bool eCheckSig(const TBlockSig& sig) const;

    /// The header line. The text is reused by the thread's next call.
    static const char* MakeTBlockHeader(const TBlockSig& sig, const char* name);

private:
    void empty();
    void takeText(FBuff& source, unsigned from, unsigned bodyFrom, unsigned bodyTo, unsigned to);
    void refuse(FBuff& source, unsigned from, bool tooDeep);
    void parseHeader();
    void enterBody();
    void startFromOld(const TBlockSig& sig, const char* name);
    void startBlock(const TBlockSig& sig, const char* name, std::string_view comment);

    unsigned blockEnd_ = 0;
    unsigned bodyStart_ = 0;
    unsigned bodyEnd_ = 0;
    int major = -1;
    int minor = -1;
    char type_[32] = "";
    bool named_ = false;
    std::string name_;
    /// The text before the rewrite that is under way, cut to its header and body.
    std::unique_ptr<TextBlock> old_;
    /// The comment after its `end`.
    std::string endComment_;
};
