// The frame reader: whatever bytes come in whatever pieces, it reads the frames that a plain
// reading of the rules finds, and stops where that does.
#include <algorithm>
#include <cstdint>
#include <string>

#include "fuzz/check.h"
#include "qvutils/common/platform/socket.h"
#include "qvutils/common/server/frame.h"

namespace {

using qvplatform::TcpSocket;

constexpr unsigned limit = 100'000;

/// Gives the bytes in pieces, with waits in between, as the first byte says.
class Pieces : public qvFrameSource {
public:
    Pieces(std::string bytes, unsigned kind)
        : bytes_(std::move(bytes)), piece_(1 + kind % 64), waits_(kind % 3 == 0) {}

    long receive(void* data, std::size_t size, bool insideFrame) override {
        check(size > 0);
        if (waits_ && (ready_ = !ready_)) return TcpSocket::notYet;
        const std::size_t most = insideFrame ? std::min(size, piece_) : size;
        const std::size_t count = bytes_.copy(static_cast<char*>(data), most, used_);
        used_ += count;
        return static_cast<long>(count);
    }
    bool goOn(bool) override { return true; }

private:
    std::string bytes_;
    std::size_t piece_;
    bool waits_;
    bool ready_ = false;
    std::size_t used_ = 0;
};

/// The next frame of `bytes` from `used` on. False when there is none; `closed` tells whether that
/// is for want of bytes.
bool expected(const std::string& bytes, std::size_t& used, std::string& payload, bool& closed) {
    const std::string header = bytes.substr(used, qvFrameHeaderSize);
    closed = header.empty();
    const std::size_t digits = std::min(header.find('\0'), header.size());
    if (header.size() < qvFrameHeaderSize || digits == 0 || digits == header.size()) return false;
    if (header.find_first_not_of("0123456789") != digits) return false;
    const std::string significant =
        header.substr(std::min(header.find_first_not_of('0'), digits), digits);
    const std::size_t zeros = std::min(header.find_first_not_of('0'), digits);
    if (digits - zeros > 9 || std::atol(significant.c_str()) > long{limit}) return false;
    const auto length = static_cast<std::size_t>(std::atol(significant.c_str()));
    used += qvFrameHeaderSize;
    payload = bytes.substr(used, length);
    used += payload.size();
    closed = payload.size() < length;
    return !closed;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    const std::string bytes(reinterpret_cast<const char*>(data) + 1, size - 1);
    Pieces source(bytes, data[0]);
    qvFrameBuffer buffer;
    qvFrameLimits limits;
    limits.largest = limit;
    std::size_t used = 0;
    for (;;) {
        std::string message;
        const qvFrameResult result = qvReadFrame(source, limits, buffer, message);
        std::string payload;
        bool closed = false;
        if (expected(bytes, used, payload, closed)) {
            check(result == qvFrameResult::complete && buffer.length() == payload.size() &&
                  payload.compare(0, payload.size(), buffer.data(), payload.size()) == 0 &&
                  buffer.data()[payload.size()] == '\0');
            continue;
        }
        check(result == (closed ? qvFrameResult::closed : qvFrameResult::protocolError));
        check(closed == message.empty());
        return 0;
    }
}
