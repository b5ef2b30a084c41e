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
#endif

namespace qvplatform {

#if defined(_WIN32)
using SystemSocket = SOCKET;
#else
using SystemSocket = int;
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

/// Who has the end of a connection that is called `end` there; both are of the same family.
SocketOwner ownerOfEnd(const SystemAddress& end, const SystemAddress& other);
#if !defined(_WIN32)
/// The same from the tables of all connections; slower, for kernels that answer no questions.
SocketOwner ownerInTables(const SystemAddress& end, const SystemAddress& other);
#endif

}  // namespace qvplatform
