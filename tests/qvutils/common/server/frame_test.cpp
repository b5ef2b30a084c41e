#include "qvutils/common/server/frame.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "qvutils/common/platform/socket.h"
#include "tests/support/fake_clock.h"

using qvplatform::TcpSocket;

namespace {

/// Gives the bytes in pieces; then nothing, until it is given up, or the end of the connection.
class Bytes : public qvFrameSource {
public:
    Bytes(std::string bytes, std::size_t piece, long atEnd = TcpSocket::closedByPeer)
        : bytes_(std::move(bytes)), piece_(piece), atEnd_(atEnd) {}

    long receive(void* data, std::size_t size, bool insideFrame) override {
        if (bytes_.size() == used_) return atEnd_;
        const std::size_t most = insideFrame ? piece_ : size;
        const std::size_t count =
            bytes_.copy(static_cast<char*>(data), std::min(size, most), used_);
        used_ += count;
        return static_cast<long>(count);
    }
    bool goOn(bool) override {
        clock.advance(100'000'000);
        return waits-- > 0;
    }

    FakeClock clock;
    int waits = 1000;

private:
    std::string bytes_;
    std::size_t piece_;
    long atEnd_;
    std::size_t used_ = 0;
};

std::string header(const std::string& length) {
    std::string bytes = length;
    bytes.resize(qvFrameHeaderSize, '\0');
    return bytes;
}

std::string text(int length) {
    std::string text;
    while (static_cast<int>(text.size()) < length) text += std::to_string(text.size()) + " ";
    text.resize(static_cast<std::size_t>(length));
    return text;
}

TEST(FrameHeader, has_the_length_in_digits_and_a_nul) {
    char written[qvFrameHeaderSize];
    qvWriteFrameHeader(written, 1234567);
    EXPECT_EQ(std::string(written, sizeof written), header("1234567"));

    struct Case {
        std::string bytes;
        bool good;
        unsigned length;
    };
    const std::string nul(1, '\0');
    const Case cases[] = {
        {header("0"), true, 0},
        {header("007"), true, 7},
        {"42" + nul + "GET / HTTP/1.1\r\n\r\n", true, 42},
        {header("4294967294"), true, 4294967294u},
        {header("4294967296"), true, 4294967295u},
        {header("9999999999999999999"), true, 4294967295u},
        {header("99999999999999999999"), false, 0},
        {header(""), false, 0},
        {header("-1"), false, 0},
        {header("+1"), false, 0},
        {header(" 1"), false, 0},
        {header("1 "), false, 0},
        {header("1e3"), false, 0},
        {header("0x10"), false, 0},
        {header("1,5"), false, 0},
        {header("\xD9\xA1"), false, 0},
        {"GET / HTTP/1.1\r\nHost: x", false, 0},
        {std::string(qvFrameHeaderSize, '1'), false, 0},
        {std::string(qvFrameHeaderSize, '\xFF'), false, 0},
    };
    for (const Case& c : cases) {
        unsigned length = 0;
        EXPECT_EQ(qvReadFrameHeader(c.bytes.data(), length), c.good) << c.bytes;
        if (c.good) {
            EXPECT_EQ(length, c.length) << c.bytes;
        }
    }
}

class Frames : public testing::Test {
protected:
    qvFrameResult read(Bytes& source) { return qvReadFrame(source, limits, buffer, message); }

    qvFrameLimits limits;
    qvFrameBuffer buffer;
    std::string message;
};

TEST_F(Frames, follow_one_another_without_gaps) {
    std::string bytes;
    const int lengths[] = {0, 1, 100'000, 5, 3'000'001, 0, 999, 1000, 1001};
    for (const int length : lengths) bytes += header(std::to_string(length)) + text(length);
    for (const std::size_t piece : {std::size_t{7919}, bytes.size()}) {
        Bytes source(bytes, piece);
        std::size_t capacity = 0;
        for (const int length : lengths) {
            ASSERT_EQ(read(source), qvFrameResult::complete) << message;
            ASSERT_EQ(buffer.length(), static_cast<unsigned>(length));
            EXPECT_EQ(std::string(buffer.data(), buffer.length()), text(length));
            EXPECT_EQ(buffer.data()[length], '\0');
            EXPECT_EQ(reinterpret_cast<std::uintptr_t>(buffer.data()) % 64, 0u);
            EXPECT_GE(buffer.capacity(), capacity);
            capacity = buffer.capacity();
        }
        EXPECT_EQ(read(source), qvFrameResult::closed);
    }
}

TEST_F(Frames, take_memory_only_as_they_arrive) {
    Bytes liar(header("268435456") + "only this", 100);
    EXPECT_EQ(read(liar), qvFrameResult::closed);
    EXPECT_LE(buffer.capacity(), 1u << 20);

    Bytes longer(header("268435457") + "x", 100);
    EXPECT_EQ(read(longer), qvFrameResult::protocolError);
    EXPECT_NE(message.find("268435456"), std::string::npos);
    EXPECT_LE(buffer.capacity(), 1u << 20);
}

TEST_F(Frames, are_given_up_when_nothing_more_comes) {
    Bytes resting(header("10") + "12345", 100, TcpSocket::notYet);
    EXPECT_EQ(read(resting), qvFrameResult::protocolError);
    EXPECT_NE(message.find("stopped"), std::string::npos);
    EXPECT_NEAR(resting.waits, 1000 - limits.stallMs / 100, 1);

    Bytes interrupted(header("10") + "12345", 100, TcpSocket::notYet);
    interrupted.waits = 3;
    EXPECT_EQ(read(interrupted), qvFrameResult::protocolError);
    Bytes silent("", 100, TcpSocket::notYet);
    EXPECT_EQ(read(silent), qvFrameResult::none);
    Bytes broken("", 100, TcpSocket::failed);
    EXPECT_EQ(read(broken), qvFrameResult::protocolError);
}

TEST_F(Frames, are_copied_whole) {
    Bytes source(header("5") + "hello", 100);
    ASSERT_EQ(read(source), qvFrameResult::complete);
    qvFrameBuffer copy = buffer;
    EXPECT_STREQ(copy.data(), "hello");
    EXPECT_NE(copy.data(), buffer.data());
    copy = qvFrameBuffer();
    EXPECT_EQ(copy.length(), 0u);
}

}  // namespace
