#pragma once
#include <memory>
#include <string>

#include "qvutils/common/server/frame.h"
#include "qvutils/common/server/waiting.h"

/// The other end of a Server. Failures are reported to the diagnostic streams, not to qverr(). To
/// be used from one thread.
///
/// A copy shares the connection with its original and closes it for both; it ends with the last
/// copy. Timeouts, the callback and the last reply are each copy's own.
class QVCORE_API Client {
public:
    Client();
    Client(const Client& other);
    Client& operator=(const Client& other);
    ~Client();

    /// A connection that is open already is closed first. Reports "Server not found" for an unknown
    /// host, "Timeout" when nobody answers in time, otherwise "Client error" with the cause.
    bool Connect(int port, const char* serverName);
    bool IsConnected() const;
    void CloseConnection();

    /// In milliseconds; 5000 to begin with.
    void setConnectTimeout(int milliseconds) { connectTimeout_ = milliseconds; }
    /// How long to wait for the beginning of a reply, in milliseconds; negative, as it is to begin
    /// with, without end. A reply that comes too late could not be told from the next one:
    /// the connection is closed.
    void setReplyTimeout(int milliseconds) { replyTimeout_ = milliseconds; }
    /// How long a frame may rest half sent or half received, in milliseconds; 10 s to begin with.
    void setStallTimeout(int milliseconds) { limits_.stallMs = milliseconds; }
    /// A longer reply closes the connection.
    void setLargestMessage(unsigned bytes) { limits_.largest = bytes; }

    /// Sends a text with its NUL and waits for the reply, which stays until the next call and is
    /// followed by a NUL. Null on failure; the connection is closed then.
    const char* sendMessage(const char* text);
    /// Sends a text for which no reply is taken. Before the connection is closed, some later
    /// exchange should have been answered: a server that has not yet come to it may drop it.
    bool sendMessageBlind(const char* text);
    /// The same for data; `size` receives the size of the reply.
    const char* sendData(unsigned& size, const void* data, std::size_t length);

    /// `function(arg)` is called every `intervalMs` while a reply is waited for. It may close the
    /// connection.
    void setWaitCallback(void (*function)(void*), int intervalMs, void* arg);

    /// The last failure that was reported.
    const std::string& lastError() const { return lastError_; }

private:
    struct Connection;
    class Source;

    bool send(const void* data, std::size_t size);
    bool receive();
    bool fail(const std::string& line);

    std::shared_ptr<Connection> connection_;
    int connectTimeout_ = 5000;
    int replyTimeout_ = -1;
    qvFrameLimits limits_;
    qvWaitCallback callback_;
    qvFrameBuffer buffer_;
    std::string lastError_;
};
