// Who has the other end of a connection: the kernel is asked for this one connection; where it does
// not answer such questions, its tables of all connections are searched.
#include <arpa/inet.h>
#include <linux/inet_diag.h>
#include <linux/netlink.h>
#include <linux/sock_diag.h>
#include <netinet/tcp.h>
#include <unistd.h>

#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <memory>

#include "qvutils/common/platform/format.h"
#include "qvutils/common/platform/socketaddress.h"

namespace qvplatform {

namespace {

/// An address and port as the kernel has them, in network order.
struct RawAddress {
    std::uint32_t words[4] = {};
    std::uint16_t port = 0;
};

RawAddress rawOf(const SystemAddress& address) {
    RawAddress raw;
    if (address.family() == AF_INET) {
        const auto& v4 = *reinterpret_cast<const sockaddr_in*>(&address.storage);
        std::memcpy(raw.words, &v4.sin_addr, sizeof v4.sin_addr);
        raw.port = v4.sin_port;
    } else {
        const auto& v6 = *reinterpret_cast<const sockaddr_in6*>(&address.storage);
        std::memcpy(raw.words, &v6.sin6_addr, sizeof v6.sin6_addr);
        raw.port = v6.sin6_port;
    }
    return raw;
}

/// What the system knows of a socket. One that no process has open any more is listed with the
/// user 0 and without an inode.
SocketOwner ownerOf(unsigned state, std::uint64_t inode, std::uint32_t user) {
    const bool isEnd = state != TCP_LISTEN && state != TCP_SYN_SENT && inode != 0;
    if (!isEnd) return SocketOwner::unknown;
    return user == geteuid() ? SocketOwner::thisUser : SocketOwner::otherUser;
}

struct Descriptor {
    int number;
    ~Descriptor() {
        if (number >= 0) ::close(number);
    }
};

/// cannotTell when the kernel does not answer.
SocketOwner askKernel(int family, const RawAddress& end, const RawAddress& other) {
    const Descriptor channel{socket(AF_NETLINK, SOCK_DGRAM | SOCK_CLOEXEC, NETLINK_SOCK_DIAG)};
    if (channel.number < 0) return SocketOwner::cannotTell;
    struct {
        nlmsghdr header{};
        inet_diag_req_v2 question{};
    } request;
    request.header.nlmsg_len = sizeof request;
    request.header.nlmsg_type = SOCK_DIAG_BY_FAMILY;
    request.header.nlmsg_flags = NLM_F_REQUEST;
    request.question.sdiag_family = static_cast<std::uint8_t>(family);
    request.question.sdiag_protocol = IPPROTO_TCP;
    request.question.idiag_states = ~0u;
    inet_diag_sockid& id = request.question.id;
    id.idiag_sport = end.port;
    id.idiag_dport = other.port;
    std::memcpy(id.idiag_src, end.words, sizeof end.words);
    std::memcpy(id.idiag_dst, other.words, sizeof other.words);
    id.idiag_cookie[0] = id.idiag_cookie[1] = INET_DIAG_NOCOOKIE;
    if (send(channel.number, &request, sizeof request, 0) != sizeof request) {
        return SocketOwner::cannotTell;
    }

    alignas(nlmsghdr) char answer[4096];
    ssize_t size = 0;
    do {
        size = recv(channel.number, answer, sizeof answer, 0);
    } while (size < 0 && errno == EINTR);
    const auto* header = reinterpret_cast<const nlmsghdr*>(answer);
    if (size < 0 || !NLMSG_OK(header, static_cast<unsigned>(size))) return SocketOwner::cannotTell;
    // A kernel without this service gives the same error as for a connection that it does not know.
    if (header->nlmsg_type != SOCK_DIAG_BY_FAMILY) return SocketOwner::cannotTell;
    const auto& found = *static_cast<const inet_diag_msg*>(NLMSG_DATA(header));
    return ownerOf(found.idiag_state, found.idiag_inode, found.idiag_uid);
}

/// "0100007F:1F90": each word as the machine reads it.
std::string inTable(const RawAddress& address, int words) {
    std::string text;
    for (int i = 0; i < words; ++i) text += formatText("%08X", address.words[i]);
    return text + formatText(":%04X", static_cast<unsigned>(ntohs(address.port)));
}

SocketOwner searchTable(const char* path, const std::string& end, const std::string& other) {
    const std::unique_ptr<FILE, int (*)(FILE*)> table(std::fopen(path, "re"), std::fclose);
    if (!table) return SocketOwner::cannotTell;
    const std::string wanted = " " + end + " " + other + " ";
    char line[512];
    while (std::fgets(line, sizeof line, table.get())) {
        const char* const found = std::strstr(line, wanted.c_str());
        unsigned state = 0;
        unsigned user = 0;
        unsigned long inode = 0;
        if (found &&
            scan(found + wanted.size(), "%x %*s %*s %*s %u %*s %lu", &state, &user, &inode) == 3) {
            return ownerOf(state, inode, user);
        }
    }
    return SocketOwner::unknown;
}

}  // namespace

/// A program may use an IPv6 socket for an IPv4 connection; it is in the table of the former then.
SocketOwner ownerInTables(const SystemAddress& end, const SystemAddress& other) {
    constexpr const char* tableV4 = "/proc/net/tcp";
    constexpr const char* tableV6 = "/proc/net/tcp6";
    RawAddress near = rawOf(end);
    RawAddress far = rawOf(other);
    if (end.family() == AF_INET6) return searchTable(tableV6, inTable(near, 4), inTable(far, 4));
    const SocketOwner owner = searchTable(tableV4, inTable(near, 1), inTable(far, 1));
    if (owner != SocketOwner::unknown) return owner;
    for (RawAddress* address : {&near, &far}) {
        address->words[3] = address->words[0];
        address->words[0] = 0;
        address->words[2] = htonl(0xffff);
    }
    const SocketOwner mapped = searchTable(tableV6, inTable(near, 4), inTable(far, 4));
    return mapped == SocketOwner::cannotTell ? owner : mapped;
}

SocketOwner ownerOfEnd(const SystemAddress& end, const SystemAddress& other) {
    const SocketOwner owner = askKernel(end.family(), rawOf(end), rawOf(other));
    return owner == SocketOwner::cannotTell ? ownerInTables(end, other) : owner;
}

}  // namespace qvplatform
