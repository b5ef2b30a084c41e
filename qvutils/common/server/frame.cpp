#include "qvutils/common/server/frame.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <limits>
#include <new>

#include "qvutils/common/platform/clock.h"
#include "qvutils/common/platform/format.h"
#include "qvutils/common/platform/socket.h"

using qvplatform::formatText;
using qvplatform::TcpSocket;

namespace {

constexpr std::align_val_t alignment{64};
constexpr std::size_t smallest = 1000;
/// As much memory is taken for a payload of which nothing has arrived yet.
constexpr std::size_t firstStep = 1u << 20;

/// Reads one frame; tells when it rests for too long.
class FrameReader {
public:
    FrameReader(qvFrameSource& source, const qvFrameLimits& limits, std::string& message)
        : source_(source), limits_(limits), message_(message) {}

    qvFrameResult readHeader(unsigned& length);
    qvFrameResult readPayload(unsigned length, qvFrameBuffer& buffer);

private:
    qvFrameResult fail(std::string message) {
        message_ = std::move(message);
        return qvFrameResult::protocolError;
    }
    /// Room for what is still to come, or for a part of it.
    static bool makeRoom(std::size_t done, unsigned length, qvFrameBuffer& buffer);
    qvFrameResult failReceive() {
        return fail("socket error: recv failed: " + qvplatform::socketErrorText());
    }
    bool hasStalled() const {
        const std::int64_t rested = qvplatform::monotonicNanoseconds() - lastProgress_;
        return rested >= std::int64_t{limits_.stallMs} * 1'000'000;
    }

    qvFrameSource& source_;
    const qvFrameLimits& limits_;
    std::string& message_;
    std::int64_t lastProgress_ = 0;
};

qvFrameResult FrameReader::readHeader(unsigned& length) {
    char header[qvFrameHeaderSize];
    long count = 0;
    while ((count = source_.receive(header, sizeof header, false)) == TcpSocket::notYet) {
        if (!source_.goOn(false)) return qvFrameResult::none;
    }
    if (count == TcpSocket::closedByPeer) return qvFrameResult::closed;
    if (count < 0) return failReceive();
    if (count != static_cast<long>(sizeof header)) {
        return fail(formatText("getMessage error! retbytes=%ld", count));
    }
    if (!qvReadFrameHeader(header, length)) {
        return fail("getMessage error! the header holds no length");
    }
    if (length > limits_.largest) {
        return fail(formatText("getMessage error! a message longer than %u bytes was announced",
                               limits_.largest));
    }
    return qvFrameResult::complete;
}

bool FrameReader::makeRoom(std::size_t done, unsigned length, qvFrameBuffer& buffer) {
    const std::size_t room = std::max(firstStep, done == 0 ? buffer.capacity() : 2 * done);
    return buffer.grow(std::min<std::size_t>(room, length), done);
}

qvFrameResult FrameReader::readPayload(unsigned length, qvFrameBuffer& buffer) {
    std::size_t done = 0;
    do {
        if ((done == 0 || done == buffer.capacity()) && !makeRoom(done, length, buffer)) {
            return fail(formatText("getMessage error! no memory for %u bytes", length));
        }
        const std::size_t wanted = std::min<std::size_t>(buffer.capacity(), length) - done;
        if (wanted == 0) break;
        const long count = source_.receive(buffer.data() + done, wanted, true);
        if (count == TcpSocket::closedByPeer) return qvFrameResult::closed;
        if (count == TcpSocket::notYet) {
            if (lastProgress_ == 0) lastProgress_ = qvplatform::monotonicNanoseconds();
            if (hasStalled()) return fail("getMessage error! the other side stopped in a message");
            if (!source_.goOn(true)) return fail("getMessage error! interrupted in a message");
            continue;
        }
        if (count < 0) return failReceive();
        done += static_cast<std::size_t>(count);
        if (done > length) {
            return fail(formatText("CODEERROR in getMessage: bytes read=%zu expected size=%u", done,
                                   length));
        }
        if (done < length) lastProgress_ = qvplatform::monotonicNanoseconds();
    } while (done < length);
    buffer.finish(length);
    return qvFrameResult::complete;
}

}  // namespace

void qvWriteFrameHeader(char (&header)[qvFrameHeaderSize], unsigned length) {
    std::memset(header, 0, sizeof header);
    std::to_chars(header, header + sizeof header, length);
}

bool qvReadFrameHeader(const char* header, unsigned& length) {
    const char* const end = header + qvFrameHeaderSize;
    const char* const nul = std::find(header, end, '\0');
    if (nul == header || nul == end) return false;
    constexpr unsigned highest = std::numeric_limits<unsigned>::max();
    unsigned long long value = 0;
    for (const char* c = header; c != nul; ++c) {
        if (*c < '0' || *c > '9') return false;
        value = std::min<unsigned long long>(value * 10 + static_cast<unsigned>(*c - '0'), highest);
    }
    length = static_cast<unsigned>(value);
    return true;
}

void qvFrameBuffer::Free::operator()(char* bytes) const {
    ::operator delete(bytes, alignment);
}

qvFrameBuffer::qvFrameBuffer(const qvFrameBuffer& other) {
    *this = other;
}

qvFrameBuffer& qvFrameBuffer::operator=(const qvFrameBuffer& other) {
    if (this == &other) return *this;
    length_ = 0;
    if (!other.data() || !grow(other.length_, 0)) return *this;
    std::memcpy(data(), other.data(), other.length_);
    finish(other.length_);
    return *this;
}

bool qvFrameBuffer::grow(std::size_t capacity, std::size_t kept) {
    if (bytes_ && capacity <= capacity_) return true;
    capacity = std::max(capacity, smallest);
    void* const memory = ::operator new(capacity + 1, alignment, std::nothrow);
    if (!memory) return false;
    std::unique_ptr<char[], Free> larger(static_cast<char*>(memory));
    if (kept > 0) std::memcpy(larger.get(), bytes_.get(), kept);
    bytes_ = std::move(larger);
    capacity_ = capacity;
    return true;
}

void qvFrameBuffer::finish(unsigned length) {
    length_ = length;
    bytes_[length] = '\0';
}

qvFrameSource::~qvFrameSource() = default;

qvFrameResult qvReadFrame(qvFrameSource& source, const qvFrameLimits& limits, qvFrameBuffer& buffer,
                          std::string& message) {
    FrameReader reader(source, limits, message);
    unsigned length = 0;
    const qvFrameResult result = reader.readHeader(length);
    return result == qvFrameResult::complete ? reader.readPayload(length, buffer) : result;
}
