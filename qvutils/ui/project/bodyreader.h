#pragma once
#include <string>
#include <string_view>

#include "qvutils/common/blocks/textblock.h"

/// Whether the line begins with the word, in capitals or small letters, and white space or nothing
/// after it: so `begin` and `end` are told in the first place of a line.
bool startsWithWord(std::string_view line, std::string_view word);

/// Walks through a body that consists of child blocks, with comments and perhaps other lines
/// between them:
///     body = { line | block } [ "end" … ]
class BodyReader {
public:
    enum Lines {
        countBadLines,  ///< a line that is neither comment nor blank is a syntax error and kept
        stopAtBadLine   ///< ... ends the walk
    };
    /// Begins at the source's cursor, or at the start of its line when only blanks are between.
    BodyReader(FBuff& source, Lines lines);

    /// Reads the next child block. False at the end of the body and when a block cannot be read; an
    /// error is then pending.
    bool next(TextBlock& block);
    /// The comments and bad lines before the block, or after the last one; blank lines go.
    const std::string& lead() const { return lead_; }
    /// The blanks before the block's header.
    const std::string& indent() const { return indent_; }

private:
    FBuff& source_;
    Lines lines_;
    std::string lead_;
    std::string indent_;
};
