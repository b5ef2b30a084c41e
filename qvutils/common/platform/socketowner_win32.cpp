#include "qvutils/common/platform/socketaddress.h"

#include <iphlpapi.h>

#include <cstring>
#include <memory>
#include <optional>
#include <vector>

namespace qvplatform {

namespace {

struct CloseHandleOf {
    using pointer = HANDLE;
    void operator()(HANDLE handle) const { CloseHandle(handle); }
};
using Handle = std::unique_ptr<HANDLE, CloseHandleOf>;

/// The system's table of connections with their processes; empty on failure.
std::vector<char> connections(ULONG family) {
    std::vector<char> table(16'384);
    DWORD size = static_cast<DWORD>(table.size());
    DWORD result = ERROR_INSUFFICIENT_BUFFER;
    // Connections come and go between two calls.
    for (int attempt = 0; attempt < 10; ++attempt) {
        result =
            GetExtendedTcpTable(table.data(), &size, FALSE, family, TCP_TABLE_OWNER_PID_ALL, 0);
        if (result != ERROR_INSUFFICIENT_BUFFER) break;
        size += size / 4;
        table.resize(size);
    }
    if (result != NO_ERROR) table.clear();
    return table;
}

bool isEnd(const MIB_TCPROW_OWNER_PID& row, const SystemAddress& end, const SystemAddress& other) {
    const auto& local = *reinterpret_cast<const sockaddr_in*>(&end.storage);
    const auto& remote = *reinterpret_cast<const sockaddr_in*>(&other.storage);
    return row.dwLocalAddr == local.sin_addr.s_addr &&
           static_cast<USHORT>(row.dwLocalPort) == local.sin_port &&
           row.dwRemoteAddr == remote.sin_addr.s_addr &&
           static_cast<USHORT>(row.dwRemotePort) == remote.sin_port;
}

bool isEnd(const MIB_TCP6ROW_OWNER_PID& row, const SystemAddress& end, const SystemAddress& other) {
    const auto& local = *reinterpret_cast<const sockaddr_in6*>(&end.storage);
    const auto& remote = *reinterpret_cast<const sockaddr_in6*>(&other.storage);
    return std::memcmp(row.ucLocalAddr, &local.sin6_addr, sizeof row.ucLocalAddr) == 0 &&
           static_cast<USHORT>(row.dwLocalPort) == local.sin6_port &&
           std::memcmp(row.ucRemoteAddr, &remote.sin6_addr, sizeof row.ucRemoteAddr) == 0 &&
           static_cast<USHORT>(row.dwRemotePort) == remote.sin6_port;
}

/// The process that has the end, 0 while the system has not said which; nothing when no open
/// connection has this end.
template <class Table>
std::optional<DWORD> processOf(const std::vector<char>& bytes, const SystemAddress& end,
                const SystemAddress& other) {
    const auto& table = *reinterpret_cast<const Table*>(bytes.data());
    for (DWORD i = 0; i < table.dwNumEntries; ++i) {
        const auto& row = table.table[i];
        const bool isOpen =
            row.dwState == MIB_TCP_STATE_ESTAB || row.dwState == MIB_TCP_STATE_FIN_WAIT1 ||
            row.dwState == MIB_TCP_STATE_FIN_WAIT2 || row.dwState == MIB_TCP_STATE_CLOSE_WAIT;
        if (!isOpen || !isEnd(row, end, other)) continue;
        // An end that its process has closed lives on without one until all has been received.
        const bool isAbandoned = row.dwOwningPid == 0 && row.dwState != MIB_TCP_STATE_ESTAB;
        if (!isAbandoned) return row.dwOwningPid;
    }
    return std::nullopt;
}

/// The user of a process as TOKEN_USER; empty when this process may not ask.
std::vector<char> userOf(HANDLE process) {
    HANDLE opened = nullptr;
    if (!OpenProcessToken(process, TOKEN_QUERY, &opened)) return {};
    const Handle token(opened);
    DWORD size = 0;
    GetTokenInformation(token.get(), TokenUser, nullptr, 0, &size);
    std::vector<char> user(size);
    if (size == 0 || !GetTokenInformation(token.get(), TokenUser, user.data(), size, &size)) {
        return {};
    }
    return user;
}

PSID sidOf(std::vector<char>& user) {
    return reinterpret_cast<TOKEN_USER*>(user.data())->User.Sid;
}

/// Like processOf, in a table read anew; `known` is false when there is none.
std::optional<DWORD> lookUpProcess(const SystemAddress& end, const SystemAddress& other,
                                   bool& known) {
    const std::vector<char> table = connections(static_cast<ULONG>(end.family()));
    known = !table.empty();
    if (!known) return std::nullopt;
    return end.family() == AF_INET ? processOf<MIB_TCPTABLE_OWNER_PID>(table, end, other)
                                   : processOf<MIB_TCP6TABLE_OWNER_PID>(table, end, other);
}

}  // namespace

SocketOwner ownerOfEnd(const SystemAddress& end, const SystemAddress& other) {
    bool known = false;
    std::optional<DWORD> id = lookUpProcess(end, other, known);
    // The process may be named only a moment after the connection stands.
    for (int attempt = 0; id == 0u && attempt < 20; ++attempt) {
        Sleep(10);
        id = lookUpProcess(end, other, known);
    }
    if (!known) return SocketOwner::cannotTell;
    if (id.value_or(0) == 0) return SocketOwner::unknown;
    const Handle process(OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, *id));
    // What belongs to others may not be asked about.
    if (!process) return SocketOwner::otherUser;
    std::vector<char> theirs = userOf(process.get());
    std::vector<char> ours = userOf(GetCurrentProcess());
    if (ours.empty()) return SocketOwner::cannotTell;
    if (theirs.empty()) return SocketOwner::otherUser;
    return EqualSid(sidOf(theirs), sidOf(ours)) ? SocketOwner::thisUser : SocketOwner::otherUser;
}

}  // namespace qvplatform
