#include <fcntl.h>
#include <ifaddrs.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/time.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>

#include "qvutils/common/platform/clock.h"
#include "qvutils/common/platform/files.h"
#include "qvutils/common/platform/socket.h"
#include "qvutils/common/platform/socketaddress.h"

namespace qvplatform {

namespace {

int descriptor(std::intptr_t handle) {
    return static_cast<int>(handle);
}

bool setFlag(int socket, int level, int option) {
    const int on = 1;
    return setsockopt(socket, level, option, &on, sizeof on) == 0;
}

bool setBlocking(int socket, bool blocking) {
    const int flags = fcntl(socket, F_GETFL);
    return flags >= 0 &&
           fcntl(socket, F_SETFL, blocking ? flags & ~O_NONBLOCK : flags | O_NONBLOCK) == 0;
}

long outcomeOfError() {
    switch (errno) {
        case EAGAIN:
        case EINTR:
            return TcpSocket::notYet;
        case ECONNRESET:
        case EPIPE:
            return TcpSocket::closedByPeer;
        default:
            return TcpSocket::failed;
    }
}

/// Waits for the outcome of a connect that is on its way; it is left in `errno`.
ConnectResult finishConnect(int socket, int timeoutMs) {
    const std::int64_t end = monotonicNanoseconds() + std::int64_t{timeoutMs} * 1'000'000;
    for (;;) {
        const std::int64_t left = (end - monotonicNanoseconds()) / 1'000'000;
        pollfd entry = {socket, POLLOUT, 0};
        const int ready = poll(&entry, 1, left > 0 ? static_cast<int>(left) : 0);
        if (ready == 0) return ConnectResult::timeout;
        if (ready < 0 && errno != EINTR) return ConnectResult::failed;
        if (ready > 0) break;
    }
    int cause = 0;
    socklen_t size = sizeof cause;
    if (getsockopt(socket, SOL_SOCKET, SO_ERROR, &cause, &size) == 0) errno = cause;
    if (errno == 0) return ConnectResult::connected;
    return errno == ETIMEDOUT ? ConnectResult::timeout : ConnectResult::failed;
}

}  // namespace

bool startSockets() {
    return true;
}

std::string socketErrorText() {
    return errorText(errno);
}

bool hostName(std::string& name) {
    char text[256] = "";
    if (gethostname(text, sizeof text - 1) != 0) return false;
    name = text;
    return true;
}

bool isLocalAddress(const std::string& host) {
    if (host == "::1" || host.compare(0, 4, "127.") == 0) return true;
    ifaddrs* list = nullptr;
    if (getifaddrs(&list) != 0) return false;
    bool found = false;
    for (const ifaddrs* entry = list; entry && !found; entry = entry->ifa_next) {
        if (!entry->ifa_addr) continue;
        const int family = entry->ifa_addr->sa_family;
        if (family != AF_INET && family != AF_INET6) continue;
        SystemAddress address;
        address.size = family == AF_INET ? sizeof(sockaddr_in) : sizeof(sockaddr_in6);
        std::memcpy(&address.storage, entry->ifa_addr, address.size);
        found = fromSystem(address).host == host;
    }
    freeifaddrs(list);
    return found;
}

bool TcpSocket::close() {
    if (handle_ == -1) return true;
    const int cause = errno;
    const bool closed = ::close(descriptor(handle_)) == 0;
    if (closed) errno = cause;
    handle_ = -1;
    receiveWait_ = sendWait_ = -1;
    return closed;
}

ListenResult TcpSocket::listen(const std::string& address, int port, int backlog) {
    close();
    SystemAddress own;
    if (!toSystem(address, port, own)) {
        errno = EADDRNOTAVAIL;
        return ListenResult::failed;
    }
    const int socket = ::socket(own.family(), SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (socket < 0) return ListenResult::failed;
    handle_ = socket;
    // With SO_REUSEADDR a port can be had again at once while old connections to it fade away; two
    // sockets still cannot listen on it.
    const bool listening =
        setFlag(socket, SOL_SOCKET, SO_REUSEADDR) &&
        (own.family() != AF_INET6 || setFlag(socket, IPPROTO_IPV6, IPV6_V6ONLY)) &&
        bind(socket, own.get(), own.size) == 0 && ::listen(socket, backlog) == 0;
    if (listening) return ListenResult::listening;
    const bool taken = errno == EADDRINUSE;
    close();
    return taken ? ListenResult::portTaken : ListenResult::failed;
}

AcceptResult TcpSocket::accept(TcpSocket& client) {
    client = TcpSocket(accept4(descriptor(handle_), nullptr, nullptr, SOCK_CLOEXEC));
    if (client.isOpen()) {
        client.prepareConnected();
        return AcceptResult::accepted;
    }
    const bool nobody = outcomeOfError() == notYet || errno == ECONNABORTED;
    return nobody ? AcceptResult::nobody : AcceptResult::failed;
}

void TcpSocket::prepareConnected() {
    setFlag(descriptor(handle_), IPPROTO_TCP, TCP_NODELAY);
    setFlag(descriptor(handle_), SOL_SOCKET, SO_KEEPALIVE);
}

ConnectResult TcpSocket::connect(const std::string& address, int port, int timeoutMs) {
    close();
    SystemAddress peer;
    if (!toSystem(address, port, peer)) {
        errno = EADDRNOTAVAIL;
        return ConnectResult::failed;
    }
    handle_ = ::socket(peer.family(), SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (handle_ < 0) return ConnectResult::failed;
    const int socket = descriptor(handle_);
    ConnectResult result = ConnectResult::connected;
    if (::connect(socket, peer.get(), peer.size) != 0) {
        result = errno == EINPROGRESS || errno == EINTR ? finishConnect(socket, timeoutMs)
                                                        : ConnectResult::failed;
    }
    if (result == ConnectResult::connected && isItsOwnPeer()) {
        errno = ECONNREFUSED;
        result = ConnectResult::failed;
    }
    if (result == ConnectResult::connected && !setBlocking(socket, true)) {
        result = ConnectResult::failed;
    }
    if (result == ConnectResult::connected) {
        prepareConnected();
    } else {
        close();
    }
    return result;
}

/// A blocking call with a time limit costs one system call where polling first would cost two.
bool TcpSocket::setWait(int option, int& current, int waitMs) {
    if (current == waitMs) return true;
    timeval time{};
    time.tv_sec = waitMs / 1000;
    time.tv_usec = waitMs % 1000 * 1000;
    if (setsockopt(descriptor(handle_), SOL_SOCKET, option, &time, sizeof time) != 0) return false;
    current = waitMs;
    return true;
}

long TcpSocket::receive(void* data, std::size_t size, int waitMs, bool all) {
    if (handle_ == -1) return closedByPeer;
    if (waitMs > 0 && !setWait(SO_RCVTIMEO, receiveWait_, waitMs)) return failed;
    const int flags = (waitMs > 0 ? 0 : MSG_DONTWAIT) | (all ? MSG_WAITALL : 0);
    const ssize_t count = recv(descriptor(handle_), data, size, flags);
    return count >= 0 ? static_cast<long>(count) : outcomeOfError();
}

long TcpSocket::send(const void* first, std::size_t firstSize, const void* second,
                     std::size_t secondSize, int waitMs) {
    if (handle_ == -1) return closedByPeer;
    if (waitMs > 0 && !setWait(SO_SNDTIMEO, sendWait_, waitMs)) return failed;
    std::array<iovec, 2> blocks = {
        {{const_cast<void*>(first), firstSize}, {const_cast<void*>(second), secondSize}}};
    msghdr message{};
    message.msg_iov = blocks.data();
    message.msg_iovlen = blocks.size();
    const int flags = MSG_NOSIGNAL | (waitMs > 0 ? 0 : MSG_DONTWAIT);
    const ssize_t count = sendmsg(descriptor(handle_), &message, flags);
    return count >= 0 ? static_cast<long>(count) : outcomeOfError();
}

void TcpSocket::shutdownSending() {
    if (handle_ != -1) shutdown(descriptor(handle_), SHUT_WR);
}

bool TcpSocket::peerIsThere() {
    if (handle_ == -1) return false;
    char byte = 0;
    const ssize_t count = recv(descriptor(handle_), &byte, 1, MSG_PEEK | MSG_DONTWAIT);
    return count > 0 || (count < 0 && outcomeOfError() == notYet);
}

bool TcpSocket::isConnectedStill() const {
    tcp_info info{};
    socklen_t size = sizeof info;
    if (getsockopt(descriptor(handle_), IPPROTO_TCP, TCP_INFO, &info, &size) != 0) return false;
    return info.tcpi_state == TCP_ESTABLISHED || info.tcpi_state == TCP_CLOSE_WAIT;
}

long TcpSocket::waitReadable(const TcpSocket* sockets, std::size_t count, int waitMs) {
    std::vector<pollfd> entries(count);
    for (std::size_t i = 0; i < count; ++i) {
        entries[i] = {descriptor(sockets[i].handle_), POLLIN, 0};
    }
    const int ready = poll(entries.data(), entries.size(), waitMs);
    if (ready < 0) return errno == EINTR ? notYet : failed;
    for (std::size_t i = 0; i < count; ++i) {
        if (entries[i].revents) return static_cast<long>(i);
    }
    return notYet;
}

}  // namespace qvplatform
