#pragma once
#include <string>
#include <string_view>

#include "qvutils/common/blocks/textblock.h"

/// Walks through a body that consists of child blocks, with comments and perhaps other lines
/// between them:
///     body = { line | block } [ "end" … ]
class BodyReader {
public:
    enum Lines {
        countBadLines,  ///< a line that is neither comment nor blank is a syntax error and kept
        stopAtBadLine   ///< ... ends the walk
    };
    BodyReader(FBuff& source, Lines lines) : source_(source), lines_(lines) {}

    /// Reads the next child block. False at the end of the body and when a block cannot be read; an
    /// error is then pending.
    bool next(TextBlock& block);
    /// The comments and bad lines before the block, or after the last one; blank lines go.
    const std::string& lead() const { return lead_; }

private:
    FBuff& source_;
    Lines lines_;
    std::string lead_;
};
