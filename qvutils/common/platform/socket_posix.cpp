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

}  // namespace

std::intptr_t openSocket(int family) {
    return ::socket(family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
}

bool setFlag(int socket, int level, int option) {
    const int on = 1;
    return setsockopt(socket, level, option, &on, sizeof on) == 0;
}

void setLastSocketError(int error) {
    errno = error;
}

bool portIsTaken() {
    return errno == EADDRINUSE;
}

bool connectIsUnderWay() {
    return errno == EINPROGRESS || errno == EINTR;
}

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

/// Reading and writing block, with a time limit.
bool prepareTransfer(int socket) {
    setFlag(socket, IPPROTO_TCP, TCP_NODELAY);
    setFlag(socket, SOL_SOCKET, SO_KEEPALIVE);
    const int flags = fcntl(socket, F_GETFL);
    return flags >= 0 && fcntl(socket, F_SETFL, flags & ~O_NONBLOCK) == 0;
}

bool startSockets() {
    return true;
}

std::string socketErrorText() {
    return errorText(errno);
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

AcceptResult TcpSocket::accept(TcpSocket& client) {
    client = TcpSocket(accept4(descriptor(handle_), nullptr, nullptr, SOCK_CLOEXEC));
    if (client.isOpen()) {
        prepareTransfer(descriptor(client.handle_));
        return AcceptResult::accepted;
    }
    const bool nobody = outcomeOfError() == notYet || errno == ECONNABORTED;
    return nobody ? AcceptResult::nobody : AcceptResult::failed;
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
