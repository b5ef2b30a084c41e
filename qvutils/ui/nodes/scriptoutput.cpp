#include "qvutils/ui/nodes/scriptoutput.h"

#include <algorithm>
#include <string_view>

#include "qvutils/common/diagnostics/diagnostics.h"
#include "qvutils/common/platform/childprocess.h"

namespace {

constexpr std::size_t longestCharacter = 4;
constexpr std::size_t pieceSize = 1 << 16;
/// More than the pipe can hold.
constexpr std::size_t mostAtOnce = 2 << 20;

/// The length of the incomplete UTF-8 character at the end; 0 when there is none.
std::size_t incompleteTail(std::string_view text) {
    for (std::size_t length = 1; length < longestCharacter && length <= text.size(); ++length) {
        const auto c = static_cast<unsigned char>(text[text.size() - length]);
        if ((c & 0xC0) == 0x80) continue;
        const std::size_t wanted = c >= 0xF0 ? 4 : c >= 0xE0 ? 3 : c >= 0xC0 ? 2 : 1;
        return wanted > length ? length : 0;
    }
    return 0;
}

}  // namespace

void ScriptOutput::show(qvplatform::ChildProcess& process) {
    if (!buffer_) {
        buffer_ = std::make_unique_for_overwrite<char[]>(longestCharacter + pieceSize + 1);
    }
    for (std::size_t done = 0; done < mostAtOnce;) {
        const std::size_t length = process.readOutput(buffer_.get() + held_, pieceSize);
        if (length == 0) return;
        done += length;
        const std::size_t end = held_ + length;
        held_ = incompleteTail({buffer_.get(), end});
        char tail[longestCharacter];
        std::copy_n(buffer_.get() + end - held_, held_, tail);
        showBuffer(end - held_);
        std::copy_n(tail, held_, buffer_.get());
    }
}

void ScriptOutput::showBuffer(std::size_t length) {
    *std::remove(buffer_.get(), buffer_.get() + length, '\0') = '\0';
    lwrite(buffer_.get());
}

void ScriptOutput::showRest() {
    if (held_ > 0) showBuffer(held_);
    held_ = 0;
}
