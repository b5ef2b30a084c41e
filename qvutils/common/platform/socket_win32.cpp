#include "qvutils/common/platform/socket.h"

#include "qvutils/common/platform/clock.h"
#include "qvutils/common/platform/socketaddress.h"

#include <iphlpapi.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <vector>

namespace qvplatform {

namespace {

SOCKET system(std::intptr_t handle) {
    return static_cast<SOCKET>(handle);
}

bool setNonBlocking(SOCKET socket) {
    u_long on = 1;
    return ioctlsocket(socket, FIONBIO, &on) == 0;
}

long outcomeOfError() {
    switch (WSAGetLastError()) {
        case WSAEWOULDBLOCK:
        case WSAEINTR:
            return TcpSocket::notYet;
        case WSAECONNRESET:
        case WSAECONNABORTED:
        case WSAENOTCONN:
        case WSAESHUTDOWN:
            return TcpSocket::closedByPeer;
        default:
            return TcpSocket::failed;
    }
}

timeval timeOf(int waitMs) {
    return {waitMs / 1000, waitMs % 1000 * 1000};
}

/// 1 when the socket can be read from or written to, 0 when the time is over, -1 on failure.
int waitFor(SOCKET socket, bool toRead, int waitMs) {
    fd_set set;
    FD_ZERO(&set);
    FD_SET(socket, &set);
    timeval time = timeOf(waitMs);
    return select(0, toRead ? &set : nullptr, toRead ? nullptr : &set, nullptr, &time);
}

}  // namespace

/// All sockets of this layer are non-blocking: after a wait that ran into its time limit, Windows
/// promises nothing for a blocking one.
std::intptr_t openSocket(int family) {
    const SOCKET socket = WSASocketW(family, SOCK_STREAM, IPPROTO_TCP, nullptr, 0,
                                     WSA_FLAG_OVERLAPPED | WSA_FLAG_NO_HANDLE_INHERIT);
    if (socket != INVALID_SOCKET && !setNonBlocking(socket)) {
        closesocket(socket);
        return -1;
    }
    return static_cast<std::intptr_t>(socket);
}

bool setFlag(SOCKET socket, int level, int option) {
    const BOOL on = TRUE;
    return setsockopt(socket, level, option, reinterpret_cast<const char*>(&on), sizeof on) == 0;
}

void setLastSocketError(int error) {
    WSASetLastError(error);
}

bool portIsTaken() {
    // A port that another program holds exclusively is answered with "access denied".
    const int cause = WSAGetLastError();
    return cause == WSAEADDRINUSE || cause == WSAEACCES;
}

bool connectIsUnderWay() {
    return outcomeOfError() == TcpSocket::notYet;
}

ConnectResult finishConnect(SOCKET socket, int timeoutMs) {
    fd_set done;
    fd_set refused;
    FD_ZERO(&done);
    FD_ZERO(&refused);
    FD_SET(socket, &done);
    FD_SET(socket, &refused);
    timeval time = timeOf(timeoutMs);
    const int ready = select(0, nullptr, &done, &refused, &time);
    if (ready == 0) return ConnectResult::timeout;
    if (ready < 0) return ConnectResult::failed;
    int cause = 0;
    int size = sizeof cause;
    getsockopt(socket, SOL_SOCKET, SO_ERROR, reinterpret_cast<char*>(&cause), &size);
    if (cause == 0 && FD_ISSET(socket, &done)) return ConnectResult::connected;
    WSASetLastError(cause ? cause : WSAECONNREFUSED);
    return cause == WSAETIMEDOUT ? ConnectResult::timeout : ConnectResult::failed;
}

bool prepareTransfer(SOCKET socket) {
    setFlag(socket, IPPROTO_TCP, TCP_NODELAY);
    setFlag(socket, SOL_SOCKET, SO_KEEPALIVE);
    return setNonBlocking(socket);
}

bool startSockets() {
    static const bool started = [] {
        WSADATA data;
        return WSAStartup(MAKEWORD(2, 2), &data) == 0;
    }();
    return started;
}

std::string socketErrorText() {
    const DWORD cause = static_cast<DWORD>(WSAGetLastError());
    wchar_t* text = nullptr;
    const DWORD length = FormatMessageW(
        FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
        nullptr, cause, 0, reinterpret_cast<wchar_t*>(&text), 0, nullptr);
    std::string words = length > 0 ? toUtf8(text) : "error " + std::to_string(cause);
    LocalFree(text);
    while (!words.empty() && (words.back() <= ' ' || words.back() == '.')) words.pop_back();
    return words;
}

bool isLocalAddress(const std::string& host) {
    if (host == "::1" || host.compare(0, 4, "127.") == 0) return true;
    constexpr ULONG flags = GAA_FLAG_SKIP_ANYCAST | GAA_FLAG_SKIP_MULTICAST |
                            GAA_FLAG_SKIP_DNS_SERVER | GAA_FLAG_SKIP_FRIENDLY_NAME;
    ULONG size = 16'384;
    std::vector<IP_ADAPTER_ADDRESSES> adapters;
    ULONG result = ERROR_BUFFER_OVERFLOW;
    for (int attempt = 0; attempt < 3 && result == ERROR_BUFFER_OVERFLOW; ++attempt) {
        adapters.resize(size / sizeof(IP_ADAPTER_ADDRESSES) + 1);
        result = GetAdaptersAddresses(AF_UNSPEC, flags, nullptr, adapters.data(), &size);
    }
    if (result != NO_ERROR) return false;
    for (const auto* adapter = adapters.data(); adapter; adapter = adapter->Next) {
        for (const auto* own = adapter->FirstUnicastAddress; own; own = own->Next) {
            SystemAddress address;
            address.size = own->Address.iSockaddrLength;
            std::memcpy(&address.storage, own->Address.lpSockaddr,
                        static_cast<std::size_t>(address.size));
            if (fromSystem(address).host == host) return true;
        }
    }
    return false;
}

bool TcpSocket::close() {
    if (handle_ == -1) return true;
    const int cause = WSAGetLastError();
    const bool closed = closesocket(system(handle_)) == 0;
    if (closed) WSASetLastError(cause);
    handle_ = -1;
    return closed;
}

AcceptResult TcpSocket::accept(TcpSocket& client) {
    const SOCKET socket = ::accept(system(handle_), nullptr, nullptr);
    if (socket == INVALID_SOCKET) {
        const long outcome = outcomeOfError();
        return outcome == failed ? AcceptResult::failed : AcceptResult::nobody;
    }
    client = TcpSocket(static_cast<std::intptr_t>(socket));
    SetHandleInformation(reinterpret_cast<HANDLE>(socket), HANDLE_FLAG_INHERIT, 0);
    prepareTransfer(socket);
    return AcceptResult::accepted;
}

long TcpSocket::receive(void* data, std::size_t size, int waitMs, bool all) {
    if (handle_ == -1) return closedByPeer;
    constexpr std::size_t most = 1u << 30;
    const std::int64_t end = monotonicNanoseconds() + std::int64_t{waitMs} * 1'000'000;
    long done = 0;
    for (;;) {
        const std::size_t wanted = std::min(size - static_cast<std::size_t>(done), most);
        const int count =
            recv(system(handle_), static_cast<char*>(data) + done, static_cast<int>(wanted), 0);
        if (count == 0) return done;
        if (count > 0) done += count;
        if (count > 0 && (!all || static_cast<std::size_t>(done) == size)) return done;
        const long outcome = count > 0 ? long{notYet} : outcomeOfError();
        if (outcome != notYet) return done > 0 ? done : outcome;
        const std::int64_t left = (end - monotonicNanoseconds()) / 1'000'000;
        const int ready = left > 0 ? waitFor(system(handle_), true, static_cast<int>(left)) : 0;
        if (ready <= 0) return done > 0 ? done : ready == 0 ? long{notYet} : long{failed};
    }
}

long TcpSocket::send(const void* first, std::size_t firstSize, const void* second,
                     std::size_t secondSize, int waitMs) {
    if (handle_ == -1) return closedByPeer;
    constexpr std::size_t most = 1u << 30;
    auto* const ofFirst = const_cast<char*>(static_cast<const char*>(first));
    auto* const ofSecond = const_cast<char*>(static_cast<const char*>(second));
    std::array<WSABUF, 2> blocks = {{{static_cast<ULONG>(firstSize), ofFirst},
                                     {static_cast<ULONG>(std::min(secondSize, most)), ofSecond}}};
    for (bool waited = false;; waited = true) {
        DWORD count = 0;
        if (WSASend(system(handle_), blocks.data(), blocks.size(), &count, 0, nullptr, nullptr) ==
            0) {
            return static_cast<long>(count);
        }
        const long outcome = outcomeOfError();
        if (outcome != notYet || waited) return outcome;
        const int ready = waitFor(system(handle_), false, waitMs);
        if (ready <= 0) return ready == 0 ? notYet : failed;
    }
}

void TcpSocket::shutdownSending() {
    if (handle_ != -1) shutdown(system(handle_), SD_SEND);
}

bool TcpSocket::peerIsThere() {
    if (handle_ == -1) return false;
    char byte = 0;
    const int count = recv(system(handle_), &byte, 1, MSG_PEEK);
    return count > 0 || (count < 0 && outcomeOfError() == notYet);
}

/// A reset connection has no peer any more, or is an error to look at.
bool TcpSocket::isConnectedStill() const {
    char byte = 0;
    const int count = recv(system(handle_), &byte, 1, MSG_PEEK);
    return count >= 0 || outcomeOfError() == notYet;
}

long TcpSocket::waitReadable(const TcpSocket* sockets, std::size_t count, int waitMs) {
    fd_set set;
    FD_ZERO(&set);
    for (std::size_t i = 0; i < count; ++i) {
        if (sockets[i].isOpen()) FD_SET(system(sockets[i].handle_), &set);
    }
    timeval time = timeOf(waitMs);
    const int ready = select(0, &set, nullptr, nullptr, &time);
    if (ready < 0) return failed;
    for (std::size_t i = 0; ready > 0 && i < count; ++i) {
        if (sockets[i].isOpen() && FD_ISSET(system(sockets[i].handle_), &set)) {
            return static_cast<long>(i);
        }
    }
    return notYet;
}

}  // namespace qvplatform
