#pragma once
#include "qvutils/common/platform/socket.h"

/// The system's socket calls, and addresses in its own form. For the sources of this room only.
#if defined(_WIN32)
#include "qvutils/common/platform/win32text.h"

#include <winsock2.h>
#include <ws2tcpip.h>
#else
#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <cerrno>
#endif

namespace qvplatform {

#if defined(_WIN32)
using SystemSocket = SOCKET;
constexpr int noSuchAddress = WSAEADDRNOTAVAIL;
constexpr int connectionRefused = WSAECONNREFUSED;
// Without it another program could take over the port while this one listens.
constexpr int ownPortOption = SO_EXCLUSIVEADDRUSE;
#else
using SystemSocket = int;
constexpr int noSuchAddress = EADDRNOTAVAIL;
constexpr int connectionRefused = ECONNREFUSED;
// With it a port can be had again at once while old connections to it fade away; two sockets still
// cannot listen on it.
constexpr int ownPortOption = SO_REUSEADDR;
#endif

struct SystemAddress {
    sockaddr_storage storage{};
    socklen_t size = sizeof(sockaddr_storage);

    sockaddr* get() { return reinterpret_cast<sockaddr*>(&storage); }
    const sockaddr* get() const { return reinterpret_cast<const sockaddr*>(&storage); }
    int family() const { return storage.ss_family; }
};

/// False when `host` is no address in numbers, or `port` is none.
bool toSystem(const std::string& host, int port, SystemAddress& address);
SocketAddress fromSystem(const SystemAddress& address);
/// An IPv4 address in the form of an IPv6 one becomes plain IPv4.
void unmap(SystemAddress& address);

/// A socket that no child process inherits, in the mode in which it listens and connects. -1 when
/// there is none, with the cause as the last error.
std::intptr_t openSocket(int family);
bool setFlag(SystemSocket socket, int level, int option);
void setLastSocketError(int error);
/// What a bind or listen, or a connect, that has just failed means.
bool portIsTaken();
bool connectIsUnderWay();
/// Waits for the outcome of a connect that is under way; the cause of a failure is left as the last
/// error.
ConnectResult finishConnect(SystemSocket socket, int timeoutMs);
/// Puts a connected socket in the mode in which it sends and receives.
bool prepareTransfer(SystemSocket socket);

/// Who has the end of a connection that is called `end` there; both are of the same family.
SocketOwner ownerOfEnd(const SystemAddress& end, const SystemAddress& other);
#if !defined(_WIN32)
/// The same from the tables of all connections; slower, for kernels that answer no questions.
SocketOwner ownerInTables(const SystemAddress& end, const SystemAddress& other);
#endif

}  // namespace qvplatform
