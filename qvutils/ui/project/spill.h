#pragma once
#include "qvutils/common/blocks/fbuff.h"
#include "qvutils/common/platform/files.h"

/// While one lives, the block that is being written into `buffer` goes on to a file in pieces, so
/// that a large project is never held in memory as a text.
class qvSpill {
public:
    qvSpill(FBuff& buffer, qvplatform::SafeFile& file)
        : buffer_(buffer), file_(file), outer_(current()) {
        current() = this;
    }
    ~qvSpill() { current() = outer_; }
    qvSpill(const qvSpill&) = delete;
    qvSpill& operator=(const qvSpill&) = delete;

    /// To be called between the children that are written into a buffer.
    static void betweenChildren(FBuff& buffer) {
        if (current() && &buffer == &current()->buffer_ && buffer.getLen() > pieceSize) {
            current()->flush();
        }
    }
    /// Writes what is in the buffer and empties it; failures are known to the file.
    void flush() {
        file_.write(buffer_.text().data(), buffer_.getLen());
        buffer_.clear();
    }

private:
    static constexpr unsigned pieceSize = 64 * 1024;

    static qvSpill*& current() {
        thread_local qvSpill* spill = nullptr;
        return spill;
    }

    FBuff& buffer_;
    qvplatform::SafeFile& file_;
    qvSpill* outer_;
};
