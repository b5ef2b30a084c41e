#include "qvutils/common/server/sendframe.h"

#include "qvutils/common/platform/clock.h"
#include "qvutils/common/server/frame.h"

using qvplatform::TcpSocket;

bool qvSendFrame(TcpSocket& socket, const void* data, std::size_t size, int waitMs, int stallMs,
                 const std::function<bool()>& goOn, std::string& message) {
    if (size > qvFrameHighestLimit) {
        message = "sendMessage error! no message may be as long as " + std::to_string(size);
        return false;
    }
    char header[qvFrameHeaderSize];
    qvWriteFrameHeader(header, static_cast<unsigned>(size));
    const std::size_t total = sizeof header + size;
    std::int64_t lastProgress = 0;
    for (std::size_t done = 0; done < total;) {
        const std::size_t ofHeader = done < sizeof header ? done : sizeof header;
        const std::size_t ofData = done - ofHeader;
        const char* const rest = size > 0 ? static_cast<const char*>(data) + ofData : nullptr;
        const long count =
            socket.send(header + ofHeader, sizeof header - ofHeader, rest, size - ofData, waitMs);
        if (count > 0) {
            done += static_cast<std::size_t>(count);
            if (done < total) lastProgress = qvplatform::monotonicNanoseconds();
            continue;
        }
        if (count != TcpSocket::notYet) {
            message = "socket error: send failed: " + qvplatform::socketErrorText();
            return false;
        }
        const std::int64_t now = qvplatform::monotonicNanoseconds();
        if (lastProgress == 0) lastProgress = now;
        if (now - lastProgress >= std::int64_t{stallMs} * 1'000'000 || !goOn()) {
            message = "sendMessage error! the other side takes nothing any more";
            return false;
        }
    }
    return true;
}
