#pragma once
#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>

#include "qvutils/common/platform/socket.h"
#include "qvutils/common/server/server.h"

/// What the tests of the server and the client have in common.

inline std::string frameOf(const std::string& payload) {
    std::string bytes = std::to_string(payload.size());
    bytes.resize(qvFrameHeaderSize, '\0');
    return bytes + payload;
}

/// A server on a free port that keeps its log.
class LoggedServer : public Server {
public:
    LoggedServer() {
        settings().stallTimeoutMs = 5000;
        setLog([](void* log, const char* line,
                  bool) { *static_cast<std::string*>(log) += std::string(line) + "\n"; },
               &log);
        EXPECT_TRUE(Init(0)) << log;
    }
    bool logged(const std::string& text) const { return log.find(text) != log.npos; }

    std::string log;
};

/// A program on the other side that need not keep to any rules.
class Stranger {
public:
    explicit Stranger(Server& server) : Stranger(server.localport()) {}
    explicit Stranger(int port, const std::string& host = "127.0.0.1") {
        connected = socket.connect(host, port, 5000) == qvplatform::ConnectResult::connected;
    }
    bool say(const std::string& bytes) {
        return socket.send(bytes.data(), bytes.size(), nullptr, 0, 5000) ==
               static_cast<long>(bytes.size());
    }
    /// What comes until the other side ends, or `most` bytes.
    std::string hear(std::size_t most = 1u << 20) {
        std::string bytes(most, '\0');
        const long count = socket.receive(bytes.data(), most, 5000, true);
        bytes.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
        return bytes;
    }

    qvplatform::TcpSocket socket;
    bool connected = false;
};

/// Answers each message on a thread of its own with "RETVAL:" and the message.
class EchoThread {
public:
    EchoThread() : thread_([this] { run(); }) {}
    ~EchoThread() {
        stop_ = true;
        server.interrupt();
        thread_.join();
    }

    LoggedServer server;
    const int port = server.localport();

private:
    void run() {
        while (!stop_) {
            if (const char* text = server.getMessage(-1)) {
                server.sendMessage(("RETVAL:" + std::string(text)).c_str());
            }
        }
    }

    std::atomic<bool> stop_ = false;
    std::thread thread_;
};
