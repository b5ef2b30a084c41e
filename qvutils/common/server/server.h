#pragma once
#include <memory>
#include <string>
#include <vector>

#include "qvutils/common/platform/socket.h"
#include "qvutils/common/server/frame.h"
#include "qvutils/common/server/waiting.h"
#include "qvutils/common/text/qvstring.h"

struct ServerSettings {
    /// The address to listen on, in numbers; "*" stands for all addresses of this machine. When
    /// empty, the loopback addresses only.
    std::string address;
    /// Also takes connections that belong to other users of this machine.
    bool anyUser = false;
    /// A client that announces a longer message is dropped.
    unsigned largestMessage = qvFrameDefaultLimit;
    /// A client that lets a frame rest for so long, sending or receiving, is dropped.
    int stallTimeoutMs = 10'000;
};

/// Listens on a port and exchanges frames with one client at a time; others wait until it has gone.
/// Only clients on this machine, and of this user, are taken. Failures are reported to the
/// diagnostic streams or to the log, not to qverr(). To be used from one thread.
///
/// A copy shares the sockets with its original: what one closes is closed for both, and they stay
/// open until the last copy is gone. Settings, callbacks and received messages are each copy's own.
class QVCORE_API Server {
public:
    Server();
    Server(const Server& other);
    Server& operator=(const Server& other);
    ~Server();

    /// How to listen and whom to take; the address counts from the next Init on.
    ServerSettings& settings() { return settings_; }

    /// Begins to listen; port 0 takes a free one. Up to `backlog` clients wait for their turn. A
    /// server that listens already begins anew. On failure lastError() tells the cause.
    bool Init(int port, long backlog = 16);
    bool isInitialised() const;
    bool isConnected() const;
    /// The name of this machine; empty on failure.
    QVString localhost();
    /// The port that the server listens on; 0 when there is none.
    int localport();
    /// The client's address, "127.0.0.1:40312"; empty without one.
    std::string peer() const;

    /// Waits for a client if there is none, then for its next frame, and returns the payload, of
    /// `size` bytes, followed by a NUL: it stays until the next call. Null when none came within
    /// `seconds` and `milliseconds`; negative seconds wait without end. Null at once when the
    /// client has gone or was dropped, or after interrupt(). A frame without payload gives "" and
    /// size 0.
    const char* getData(unsigned& size, int seconds = 0, int milliseconds = 0);
    /// The same for a text. What follows a NUL inside of the payload does not belong to it.
    const char* getMessage(int seconds = 0, int milliseconds = 0);
    /// Waits for a client only. True when there is one.
    bool waitForClient(int seconds = 0, int milliseconds = 0);

    /// Sends one frame to the client: a text with its NUL, or data. False without a client, or when
    /// it has gone; it is dropped then.
    bool sendMessage(const char* text);
    bool sendData(const void* data, std::size_t size);

    /// `function(arg)` is called every `intervalMs` while the server waits. It may use interrupt(),
    /// disconnect() and Close(), but neither receive nor destroy or assign the server. Null takes
    /// it away.
    void setWaitCallback(void (*function)(void*), int intervalMs, void* arg);
    /// `log(arg, line, isFailure)` takes all that the server has to report, a line without its
    /// end; null gives it to the diagnostic streams again.
    void setLog(void (*log)(void*, const char*, bool), void* arg);

    /// Ends the wait that goes on, or else the next one, within a tenth of a second or the interval
    /// of the callback; a client in the middle of a frame is dropped. May be called by any thread
    /// and in a signal handler.
    void interrupt();
    /// Looks, without waiting, whether the client has closed its end. isConnected() may be true
    /// until then.
    bool checkClient();
    /// Drops the client; the server goes on listening.
    void disconnect();
    /// Drops the client and stops listening.
    void Close();

    /// The last failure that was reported.
    const std::string& lastError() const { return lastError_; }

private:
    struct Sockets;
    class Source;

    bool listenOn(const std::vector<std::string>& addresses, int port, int backlog);
    bool FindorCreateSock(const qvWait& wait);
    bool accept(std::size_t listener);
    bool isWelcome(const qvplatform::TcpSocket& client, const std::string& host);
    /// Reports a client that is turned away. Who may not connect may try all the same, and shall
    /// not fill the log: once a minute there is a report, with the number of those between.
    bool refuse(const std::string& peer);
    void tellRefused();
    bool goOn();
    bool takeInterrupt();
    bool goOnWaiting(const qvWait& wait);
    void dropClient();
    void report(const std::string& line, bool isFailure);
    /// Returns false.
    bool fail(const std::string& line);
    bool failWithCause(const std::string& line);

    std::shared_ptr<Sockets> sockets_;
    ServerSettings settings_;
    qvWaitCallback callback_;
    void (*log_)(void*, const char*, bool) = nullptr;
    void* logArg_ = nullptr;
    qvFrameBuffer buffer_;
    std::string lastError_;
};
