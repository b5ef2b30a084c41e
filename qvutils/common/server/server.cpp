#include "qvutils/common/server/server.h"

#include <array>
#include <atomic>
#include <cstring>
#include <utility>

#include "qvutils/common/diagnostics/diagnostics.h"
#include "qvutils/common/platform/clock.h"
#include "qvutils/common/platform/threads.h"
#include "qvutils/common/server/sendframe.h"

using qvplatform::SocketAddress;
using qvplatform::SocketOwner;
using qvplatform::TcpSocket;

namespace {

constexpr int connected = 4;

qvWait waitOf(int seconds, int milliseconds) {
    return qvWait(seconds < 0 ? -1 : std::int64_t{seconds} * 1000 + milliseconds);
}

}  // namespace

struct Server::Sockets {
    /// One for IPv4 and one for IPv6, as far as the machine has them.
    std::array<TcpSocket, 2> listeners;
    TcpSocket client;
    int state = 0;
    std::string peer;
    std::atomic<bool> interrupted = false;
    bool receiving = false;
    /// How many clients were turned away since the last report of one, and when that was.
    unsigned refused = 0;
    std::int64_t refusalToldAt = never;

    static constexpr std::int64_t never = -1;
};

/// The client's frames, waited for as long as `wait` says.
class Server::Source : public qvFrameSource {
public:
    Source(Server& server, const qvWait& wait)
        : server_(server), sockets_(*server.sockets_), wait_(wait) {
        sockets_.receiving = true;
    }
    ~Source() override { sockets_.receiving = false; }

    long receive(void* data, std::size_t size, bool insideFrame) override {
        const int slice = insideFrame ? server_.callback_.slice() : wait_.slice(server_.callback_);
        return sockets_.client.receive(data, size, slice, insideFrame);
    }
    bool goOn(bool insideFrame) override {
        return insideFrame ? server_.goOn() : server_.goOnWaiting(wait_);
    }

private:
    Server& server_;
    Sockets& sockets_;
    const qvWait& wait_;
};

Server::Server() : sockets_(std::make_shared<Sockets>()) {}
Server::Server(const Server& other) = default;
Server& Server::operator=(const Server& other) = default;
Server::~Server() = default;

bool Server::Init(int port, long backlog) {
    Close();
    if (!qvplatform::startSockets()) return fail("socket error: WSAStartup failed");
    std::vector<std::string> addresses = {settings_.address};
    if (settings_.address.empty()) addresses = {"127.0.0.1", "::1"};
    if (settings_.address == "*") addresses = {"0.0.0.0", "::"};
    // A free port of the first address may be taken at the second one.
    constexpr int mostAttempts = 10;
    const int length = static_cast<int>(backlog);
    for (int attempt = 1; attempt < mostAttempts && port == 0; ++attempt) {
        if (listenOn(addresses, port, length)) return true;
    }
    if (listenOn(addresses, port, length)) return true;
    return failWithCause("socket error: could not listen on port " + std::to_string(port));
}

/// All of the addresses that the machine has, and one at least, with the same port.
bool Server::listenOn(const std::vector<std::string>& addresses, int port, int backlog) {
    bool listening = false;
    for (std::size_t i = 0; i < addresses.size(); ++i) {
        TcpSocket& listener = sockets_->listeners[i];
        const int samePort = listening ? localport() : port;
        switch (listener.listen(addresses[i], samePort, backlog)) {
            case qvplatform::ListenResult::listening:
                listening = true;
                break;
            case qvplatform::ListenResult::failed:
                break;
            case qvplatform::ListenResult::portTaken:
                // Programs that look for this one under its name might find the other instead.
                for (TcpSocket& other : sockets_->listeners) other.close();
                return false;
        }
    }
    return listening;
}

bool Server::isInitialised() const {
    return sockets_->listeners[0].isOpen() || sockets_->listeners[1].isOpen();
}

bool Server::isConnected() const {
    return sockets_->state == connected;
}

QVString Server::localhost() {
    std::string name;
    if (!qvplatform::startSockets() || !qvplatform::hostName(name)) {
        failWithCause("socket error: gethostname failed");
    }
    return name.c_str();
}

int Server::localport() {
    if (!isInitialised()) return 0;
    SocketAddress address;
    for (const TcpSocket& listener : sockets_->listeners) {
        if (listener.isOpen() && listener.localAddress(address)) return address.port;
    }
    failWithCause("socket error: getsockname");
    return 0;
}

std::string Server::peer() const {
    return isConnected() ? sockets_->peer : std::string();
}

bool Server::FindorCreateSock(const qvWait& wait) {
    if (isConnected()) return true;
    while (isInitialised()) {
        const auto& listeners = sockets_->listeners;
        const long ready =
            TcpSocket::waitReadable(listeners.data(), listeners.size(), wait.slice(callback_));
        if (ready == TcpSocket::failed) {
            return failWithCause("socket error: is_readready failed");
        }
        if (ready >= 0 && accept(static_cast<std::size_t>(ready))) return true;
        if (!goOnWaiting(wait)) return false;
    }
    return false;
}

bool Server::accept(std::size_t listener) {
    TcpSocket client;
    switch (sockets_->listeners[listener].accept(client)) {
        case qvplatform::AcceptResult::accepted:
            break;
        case qvplatform::AcceptResult::nobody:
            return false;
        case qvplatform::AcceptResult::failed:
            failWithCause("socket error: accept");
            // Most likely too many files are open: the client goes on knocking until some are
            // closed.
            qvplatform::sleepMicroseconds(100'000);
            return false;
    }
    SocketAddress peer;
    if (!client.peerAddress(peer)) return false;
    if (!isWelcome(client, peer.host)) return refuse(peer.text());
    sockets_->client = std::move(client);
    sockets_->state = connected;
    sockets_->peer = peer.text();
    report("client connected:" + sockets_->peer, false);
    return true;
}

bool Server::refuse(const std::string& peer) {
    constexpr std::int64_t minute = 60'000'000'000;
    const std::int64_t now = qvplatform::monotonicNanoseconds();
    const std::int64_t toldAt = sockets_->refusalToldAt;
    if (toldAt != Sockets::never && now - toldAt < minute) {
        ++sockets_->refused;
        return false;
    }
    tellRefused();
    sockets_->refusalToldAt = now;
    return fail("unauthorised connection attempted: " + peer);
}

void Server::tellRefused() {
    const unsigned count = std::exchange(sockets_->refused, 0);
    if (count > 0) fail("unauthorised connection attempted: " + std::to_string(count) + " more");
}

bool Server::isWelcome(const TcpSocket& client, const std::string& host) {
    if (!qvplatform::isLocalAddress(host)) return false;
    if (settings_.anyUser) return true;
    const SocketOwner owner = client.peerOwner();
    return owner == SocketOwner::thisUser || owner == SocketOwner::cannotTell;
}

const char* Server::getData(unsigned& size, int seconds, int milliseconds) {
    size = 0;
    if (sockets_->receiving) return nullptr;
    const qvWait wait = waitOf(seconds, milliseconds);
    if (takeInterrupt() || !FindorCreateSock(wait)) return nullptr;
    const qvFrameLimits limits = {settings_.largestMessage, settings_.stallTimeoutMs};
    std::string message;
    qvFrameResult result = qvFrameResult::none;
    {
        Source source(*this, wait);
        result = qvReadFrame(source, limits, buffer_, message);
    }
    if (result == qvFrameResult::none) return nullptr;
    if (result == qvFrameResult::complete) {
        size = buffer_.length();
        return buffer_.data();
    }
    if (result == qvFrameResult::protocolError) fail(message);
    dropClient();
    return nullptr;
}

const char* Server::getMessage(int seconds, int milliseconds) {
    unsigned size = 0;
    return getData(size, seconds, milliseconds);
}

bool Server::waitForClient(int seconds, int milliseconds) {
    return !takeInterrupt() && FindorCreateSock(waitOf(seconds, milliseconds));
}

bool Server::sendMessage(const char* text) {
    return sendData(text, std::strlen(text) + 1);
}

bool Server::sendData(const void* data, std::size_t size) {
    if (!sockets_->client.isOpen()) return false;
    std::string message;
    if (qvSendFrame(
            sockets_->client, data, size, callback_.slice(), settings_.stallTimeoutMs,
            [this] { return goOn(); }, message)) {
        return true;
    }
    if (isConnected()) fail(message);
    dropClient();
    return false;
}

void Server::setWaitCallback(void (*function)(void*), int intervalMs, void* arg) {
    callback_ = {function, intervalMs, arg};
}

void Server::setLog(void (*log)(void*, const char*, bool), void* arg) {
    log_ = log;
    logArg_ = arg;
}

void Server::interrupt() {
    sockets_->interrupted = true;
}

bool Server::checkClient() {
    if (isConnected() && !sockets_->client.peerIsThere()) dropClient();
    return isConnected();
}

/// False when the wait is to end now.
bool Server::goOn() {
    callback_.call();
    return !takeInterrupt();
}

bool Server::takeInterrupt() {
    return sockets_->interrupted && sockets_->interrupted.exchange(false);
}

bool Server::goOnWaiting(const qvWait& wait) {
    return !wait.isLook() && goOn() && !wait.isOver();
}

void Server::dropClient() {
    if (!isConnected()) return;
    report("Client not talking anymore. Server reset.", false);
    disconnect();
}

void Server::disconnect() {
    if (!sockets_->client.close()) failWithCause("Close failed with error");
    sockets_->state = 0;
}

void Server::Close() {
    disconnect();
    tellRefused();
    sockets_->refusalToldAt = Sockets::never;
    for (TcpSocket& listener : sockets_->listeners) {
        if (!listener.close()) failWithCause("Close failed with error");
    }
}

void Server::report(const std::string& line, bool isFailure) {
    if (isFailure) lastError_ = line;
    if (log_) return log_(logArg_, line.c_str(), isFailure);
    isFailure ? wlwrite((line + "\n").c_str()) : lwrite((line + "\n").c_str());
}

bool Server::fail(const std::string& line) {
    report(line, true);
    return false;
}

bool Server::failWithCause(const std::string& line) {
    return fail(line + ": " + qvplatform::socketErrorText());
}
