#include "qvutils/common/platform/socket.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <utility>

#include "qvutils/common/platform/socketaddress.h"

namespace qvplatform {

namespace {

/// The results of getaddrinfo; null on failure.
std::unique_ptr<addrinfo, void (*)(addrinfo*)> lookUp(const char* host, const char* port,
                                                      int flags) {
    addrinfo hints{};
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = flags;
    addrinfo* found = nullptr;
    if (!startSockets() || getaddrinfo(host, port, &hints, &found) != 0) found = nullptr;
    return {found, [](addrinfo* list) {
                if (list) freeaddrinfo(list);
            }};
}

SystemAddress copyOf(const addrinfo& info) {
    SystemAddress address;
    address.size = static_cast<socklen_t>(info.ai_addrlen);
    std::memcpy(&address.storage, info.ai_addr, info.ai_addrlen);
    return address;
}

}  // namespace

std::string SocketAddress::text() const {
    const bool isV6 = host.find(':') != host.npos;
    return (isV6 ? "[" + host + "]" : host) + ":" + std::to_string(port);
}

bool toSystem(const std::string& host, int port, SystemAddress& address) {
    constexpr int highestPort = 65535;
    if (port < 0 || port > highestPort) return false;
    const auto found =
        lookUp(host.c_str(), std::to_string(port).c_str(), AI_NUMERICHOST | AI_NUMERICSERV);
    if (found) address = copyOf(*found);
    return found != nullptr;
}

SocketAddress fromSystem(const SystemAddress& address) {
    char host[NI_MAXHOST] = "";
    char port[NI_MAXSERV] = "";
    if (getnameinfo(address.get(), address.size, host, sizeof host, port, sizeof port,
                    NI_NUMERICHOST | NI_NUMERICSERV) != 0) {
        return {};
    }
    return {host, std::atoi(port)};
}

void unmap(SystemAddress& address) {
    if (address.family() != AF_INET6) return;
    const sockaddr_in6 mapped = *reinterpret_cast<const sockaddr_in6*>(&address.storage);
    if (!IN6_IS_ADDR_V4MAPPED(&mapped.sin6_addr)) return;
    constexpr int offsetOfV4 = 12;
    address = {};
    auto& plain = *reinterpret_cast<sockaddr_in*>(&address.storage);
    plain.sin_family = AF_INET;
    plain.sin_port = mapped.sin6_port;
    const auto* bytes = reinterpret_cast<const char*>(&mapped.sin6_addr);
    std::memcpy(&plain.sin_addr, bytes + offsetOfV4, sizeof plain.sin_addr);
    address.size = sizeof plain;
}

std::vector<std::string> addressesOfHost(const std::string& name) {
    std::vector<std::string> addresses;
    const auto found = lookUp(name.c_str(), nullptr, 0);
    for (const addrinfo* info = found.get(); info; info = info->ai_next) {
        const std::string host = fromSystem(copyOf(*info)).host;
        if (!host.empty()) addresses.push_back(host);
    }
    std::stable_partition(addresses.begin(), addresses.end(),
                          [](const std::string& host) { return host.find(':') == host.npos; });
    return addresses;
}

bool hostName(std::string& name) {
    char text[256] = "";
    if (gethostname(text, sizeof text - 1) != 0) return false;
    name = text;
    return true;
}

TcpSocket::TcpSocket(TcpSocket&& other) noexcept
    : handle_(std::exchange(other.handle_, -1)),
      receiveWait_(std::exchange(other.receiveWait_, -1)),
      sendWait_(std::exchange(other.sendWait_, -1)) {}

TcpSocket& TcpSocket::operator=(TcpSocket&& other) noexcept {
    if (this == &other) return *this;
    close();
    handle_ = std::exchange(other.handle_, -1);
    receiveWait_ = std::exchange(other.receiveWait_, -1);
    sendWait_ = std::exchange(other.sendWait_, -1);
    return *this;
}

ListenResult TcpSocket::listen(const std::string& address, int port, int backlog) {
    close();
    SystemAddress own;
    if (!toSystem(address, port, own)) {
        setLastSocketError(noSuchAddress);
        return ListenResult::failed;
    }
    handle_ = openSocket(own.family());
    if (!isOpen()) return ListenResult::failed;
    const auto socket = static_cast<SystemSocket>(handle_);
    const bool listening =
        setFlag(socket, SOL_SOCKET, ownPortOption) &&
        (own.family() != AF_INET6 || setFlag(socket, IPPROTO_IPV6, IPV6_V6ONLY)) &&
        bind(socket, own.get(), own.size) == 0 && ::listen(socket, backlog) == 0;
    if (listening) return ListenResult::listening;
    const bool taken = portIsTaken();
    close();
    return taken ? ListenResult::portTaken : ListenResult::failed;
}

ConnectResult TcpSocket::connect(const std::string& address, int port, int timeoutMs) {
    close();
    SystemAddress peer;
    if (!toSystem(address, port, peer)) {
        setLastSocketError(noSuchAddress);
        return ConnectResult::failed;
    }
    handle_ = openSocket(peer.family());
    if (!isOpen()) return ConnectResult::failed;
    const auto socket = static_cast<SystemSocket>(handle_);
    ConnectResult result = ConnectResult::connected;
    if (::connect(socket, peer.get(), peer.size) != 0) {
        result = connectIsUnderWay() ? finishConnect(socket, timeoutMs) : ConnectResult::failed;
    }
    if (result == ConnectResult::connected && isItsOwnPeer()) {
        setLastSocketError(connectionRefused);
        result = ConnectResult::failed;
    }
    if (result == ConnectResult::connected && !prepareTransfer(socket)) {
        result = ConnectResult::failed;
    }
    if (result != ConnectResult::connected) close();
    return result;
}

bool TcpSocket::localAddress(SocketAddress& address) const {
    SystemAddress own;
    if (!isOpen() || getsockname(static_cast<SystemSocket>(handle_), own.get(), &own.size) != 0) {
        return false;
    }
    unmap(own);
    address = fromSystem(own);
    return true;
}

bool TcpSocket::peerAddress(SocketAddress& address) const {
    SystemAddress peer;
    if (!isOpen() || getpeername(static_cast<SystemSocket>(handle_), peer.get(), &peer.size) != 0) {
        return false;
    }
    unmap(peer);
    address = fromSystem(peer);
    return true;
}

bool TcpSocket::isItsOwnPeer() const {
    SocketAddress own;
    SocketAddress peer;
    return localAddress(own) && peerAddress(peer) && own.text() == peer.text();
}

SocketOwner TcpSocket::peerOwner() const {
    SystemAddress own;
    SystemAddress peer;
    const auto system = static_cast<SystemSocket>(handle_);
    if (!isOpen() || getsockname(system, own.get(), &own.size) != 0 ||
        getpeername(system, peer.get(), &peer.size) != 0) {
        return SocketOwner::unknown;
    }
    unmap(own);
    unmap(peer);
    const SocketOwner owner = ownerOfEnd(peer, own);
    // Had the connection been reset meanwhile, the answer might be about a newer one.
    return isConnectedStill() ? owner : SocketOwner::unknown;
}

}  // namespace qvplatform
