// Frames back and forth over loopback: the server and the client beside bare sockets that do the
// same framing with as few system calls as it takes, into and out of aligned buffers, and beside
// ZeroMQ.
#include <arpa/inet.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>
#include <zmq.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "bench/qvbench.h"
#include "qvutils/common/diagnostics/diagnostics.h"
#include "qvutils/common/server/client.h"
#include "qvutils/common/server/server.h"

namespace {

constexpr std::size_t headerSize = 20;

[[noreturn]] void giveUp(const char* what) {
    std::perror(what);
    std::exit(1);
}

/// A frame at a time, header and payload in one aligned piece of memory each.
class BareSocket {
public:
    explicit BareSocket(int socket) : socket_(socket) {
        const int on = 1;
        setsockopt(socket_, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    }
    ~BareSocket() { close(socket_); }

    void send(const char* data, std::size_t size) {
        char header[headerSize] = "";
        std::snprintf(header, sizeof header, "%u", static_cast<unsigned>(size));
        iovec blocks[] = {{header, headerSize}, {const_cast<char*>(data), size}};
        msghdr message{};
        message.msg_iov = blocks;
        message.msg_iovlen = 2;
        if (sendmsg(socket_, &message, MSG_NOSIGNAL) != static_cast<ssize_t>(headerSize + size)) {
            giveUp("send");
        }
    }
    /// The size of the frame; 0 at the end.
    std::size_t receive(char* data) {
        char header[headerSize];
        if (recv(socket_, header, sizeof header, 0) != static_cast<ssize_t>(sizeof header))
            return 0;
        const std::size_t size = static_cast<std::size_t>(std::atol(header));
        for (std::size_t done = 0; done < size;) {
            const ssize_t count = recv(socket_, data + done, size - done, 0);
            if (count <= 0) return 0;
            done += static_cast<std::size_t>(count);
        }
        return size;
    }

private:
    int socket_;
};

constexpr std::size_t largest = 1u << 20;

struct Aligned {
    alignas(64) char bytes[largest];
};

/// Echoes on a thread of its own.
class BareEcho {
public:
    BareEcho() {
        const int listener = socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        auto* const any = reinterpret_cast<sockaddr*>(&address);
        if (bind(listener, any, size) != 0 || listen(listener, 1) != 0 ||
            getsockname(listener, any, &size) != 0) {
            giveUp("listen");
        }
        const int mine = socket(AF_INET, SOCK_STREAM, 0);
        if (connect(mine, any, size) != 0) giveUp("connect");
        const int theirs = accept(listener, nullptr, nullptr);
        close(listener);
        client = std::make_unique<BareSocket>(mine);
        thread_ = std::thread([theirs] {
            BareSocket socket(theirs);
            const auto buffer = std::make_unique<Aligned>();
            while (const std::size_t length = socket.receive(buffer->bytes)) {
                socket.send(buffer->bytes, length);
            }
        });
    }
    ~BareEcho() {
        client.reset();
        thread_.join();
    }

    std::unique_ptr<BareSocket> client;

private:
    std::thread thread_;
};

class OurEcho {
public:
    OurEcho() {
        if (!server_.Init(0) || !client.Connect(server_.localport(), "127.0.0.1")) std::exit(1);
        thread_ = std::thread([this] {
            unsigned size = 0;
            do {
                if (const char* data = server_.getData(size, -1)) server_.sendData(data, size);
            } while (server_.isConnected());
        });
    }
    ~OurEcho() {
        client.CloseConnection();
        thread_.join();
    }

    Client client;

private:
    Server server_;
    std::thread thread_;
};

void bare(benchmark::State& state) {
    BareEcho echo;
    const auto size = static_cast<std::size_t>(state.range(0));
    const auto out = std::make_unique<Aligned>();
    const auto in = std::make_unique<Aligned>();
    for (auto _ : state) {
        echo.client->send(out->bytes, size);
        if (echo.client->receive(in->bytes) != size) giveUp("echo");
    }
}
BENCHMARK(bare)->Arg(64)->Arg(largest)->UseRealTime();

void ours(benchmark::State& state) {
    OurEcho echo;
    const auto size = static_cast<std::size_t>(state.range(0));
    const auto out = std::make_unique<Aligned>();
    unsigned received = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(echo.client.sendData(received, out->bytes, size));
        if (received != size) giveUp("echo");
    }
}
BENCHMARK(ours)->Arg(64)->Arg(largest)->UseRealTime();

/// A request and its reply, each a message; the echo runs on a thread of its own.
void zeroMq(benchmark::State& state) {
    void* const context = zmq_ctx_new();
    void* const server = zmq_socket(context, ZMQ_REP);
    void* const client = zmq_socket(context, ZMQ_REQ);
    char address[100];
    std::size_t length = sizeof address;
    if (zmq_bind(server, "tcp://127.0.0.1:*") != 0 ||
        zmq_getsockopt(server, ZMQ_LAST_ENDPOINT, address, &length) != 0 ||
        zmq_connect(client, address) != 0) {
        giveUp("zmq");
    }
    const auto size = static_cast<std::size_t>(state.range(0));
    const auto out = std::make_unique<Aligned>();
    const auto in = std::make_unique<Aligned>();
    std::thread thread([server] {
        const auto buffer = std::make_unique<Aligned>();
        while (const int count = zmq_recv(server, buffer->bytes, sizeof buffer->bytes, 0)) {
            zmq_send(server, buffer->bytes, static_cast<std::size_t>(count), 0);
        }
    });
    for (auto _ : state) {
        zmq_send(client, out->bytes, size, 0);
        if (zmq_recv(client, in->bytes, sizeof in->bytes, 0) != static_cast<int>(size)) {
            giveUp("echo");
        }
    }
    zmq_send(client, out->bytes, 0, 0);
    thread.join();
    zmq_close(client);
    zmq_close(server);
    zmq_ctx_term(context);
}
BENCHMARK(zeroMq)->Arg(64)->Arg(largest)->UseRealTime();

/// Memory in use, in MB.
double resident() {
    std::ifstream file("/proc/self/statm");
    double all = 0;
    double pages = 0;
    file >> all >> pages;
    return pages * double(sysconf(_SC_PAGESIZE)) / 1e6;
}

void measureMemory() {
    OurEcho echo;
    const std::vector<char> message(64);
    unsigned size = 0;
    double early = 0;
    for (int i = 0; i < 1'000'000; ++i) {
        if (i == 1000) early = resident();
        echo.client.sendData(size, message.data(), message.size());
    }
    qvAddRow("memory after 1,000,000 messages", resident(), early, "after 1000", 1.05, "MB");
}

}  // namespace

int main(int argc, char** argv) {
    setOutputHook([](int, const char*) {});
    if (argc == 1) measureMemory();
    return qvRunBenchmarks(
        argc, argv,
        {{"round trip of 64 bytes", "ours/64", "bare/64", "bare sockets", 1.11},
         {"round trip of 64 bytes", "ours/64", "zeroMq/64", "ZeroMQ, REQ and REP", 1.0},
         {"round trip of 1 MiB", "ours/1048576", "bare/1048576", "bare sockets", 1.25},
         {"round trip of 1 MiB", "ours/1048576", "zeroMq/1048576", "ZeroMQ, REQ and REP", 1.0}});
}
