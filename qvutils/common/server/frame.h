#pragma once
#include <cstddef>
#include <memory>
#include <string>

#include "qvutils/common/platform/qvexport.h"

/// The frames of which a conversation over a socket consists: a header of 20 bytes with the length
/// of the payload in decimal digits, then a NUL and bytes without meaning, then the payload.

inline constexpr std::size_t qvFrameHeaderSize = 20;
/// The longest payload that is accepted unless told otherwise, in bytes.
inline constexpr unsigned qvFrameDefaultLimit = 256u << 20;
/// No limit may be higher.
inline constexpr unsigned qvFrameHighestLimit = 0x7fffffff;

/// Writes the header of a frame whose payload has `length` bytes.
QVCORE_API void qvWriteFrameHeader(char (&header)[qvFrameHeaderSize], unsigned length);
/// False unless the header holds one to nineteen decimal digits and a NUL. A length above 32 bits
/// is given as 0xffffffff.
QVCORE_API bool qvReadFrameHeader(const char* header, unsigned& length);

/// The payload that was received last. Grows to the largest one seen and never shrinks; starts at a
/// multiple of 64 bytes, where the system copies fastest. A copy has a buffer of its own.
class QVCORE_API qvFrameBuffer {
public:
    qvFrameBuffer() = default;
    qvFrameBuffer(const qvFrameBuffer& other);
    qvFrameBuffer& operator=(const qvFrameBuffer& other);

    char* data() { return bytes_.get(); }
    const char* data() const { return bytes_.get(); }
    std::size_t capacity() const { return capacity_; }
    /// The length of the last payload.
    unsigned length() const { return length_; }

    /// Room for `capacity` bytes and a NUL; the first `kept` ones stay. False when there is no
    /// memory; all is as before then.
    bool grow(std::size_t capacity, std::size_t kept);
    /// Declares the first `length` bytes the payload and puts a NUL behind it.
    void finish(unsigned length);

private:
    struct Free {
        void operator()(char* bytes) const;
    };

    std::unique_ptr<char[], Free> bytes_;
    std::size_t capacity_ = 0;
    unsigned length_ = 0;
};

/// Where frames come from.
class QVCORE_API qvFrameSource {
public:
    virtual ~qvFrameSource();
    /// Up to `size` bytes, or an outcome of qvplatform::TcpSocket: waits for a while only. Inside
    /// of a frame all bytes are wanted, if they come in that while.
    virtual long receive(void* data, std::size_t size, bool insideFrame) = 0;
    /// Called after each wait in which nothing came; false gives up.
    virtual bool goOn(bool insideFrame) = 0;
};

enum class qvFrameResult {
    none = -1,  ///< given up before a frame began
    complete = 0,
    closed = 1,         ///< the other side closed the connection
    protocolError = 2,  ///< or the connection broke, or the frame was given up
};

struct qvFrameLimits {
    /// A longer payload is a protocol error, before any memory is taken for it.
    unsigned largest = qvFrameDefaultLimit;
    /// A frame in which nothing comes for so long is a protocol error.
    int stallMs = 10'000;
};

/// Waits for a frame and reads it into `buffer`. The header must come in one piece. Memory for a
/// long payload is taken as it arrives. For protocolError `message` tells what is wrong.
QVCORE_API qvFrameResult qvReadFrame(qvFrameSource& source, const qvFrameLimits& limits,
                                     qvFrameBuffer& buffer, std::string& message);
