#pragma once
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "qvutils/common/platform/qvexport.h"

/// TCP over IPv4 and IPv6. Nothing here raises SIGPIPE, and no socket is inherited by child
/// processes.
namespace qvplatform {

/// Starts the system's socket library once for the process; false when that fails.
QVCORE_API bool startSockets();
/// What made the calling thread's last call in this header fail, in words.
QVCORE_API std::string socketErrorText();
/// The name of this machine; false when the system does not tell.
QVCORE_API bool hostName(std::string& name);

/// One end of a connection. An IPv4 address that came in the clothes of an IPv6 one is given as the
/// IPv4 address that it is.
struct SocketAddress {
    std::string host;  ///< in numbers: "127.0.0.1", "::1"
    int port = 0;

    /// "127.0.0.1:5101", "[::1]:5101"
    QVCORE_API std::string text() const;
};

/// The addresses that a host name stands for, IPv4 first; empty when it is unknown.
QVCORE_API std::vector<std::string> addressesOfHost(const std::string& name);

/// True for loopback addresses and the addresses of this machine's network interfaces.
QVCORE_API bool isLocalAddress(const std::string& host);

/// Who has the other end of a connection between two programs of this machine.
enum class SocketOwner {
    thisUser,
    otherUser,
    /// The end is closed, or belongs to a process that this one may not ask about.
    unknown,
    /// This system cannot tell of any connection.
    cannotTell
};

enum class ListenResult { listening, portTaken, failed };
enum class AcceptResult { accepted, nobody, failed };
enum class ConnectResult { connected, timeout, failed };

/// A listening or connected socket, closed at destruction. Not to be used from several threads at
/// once. Waiting ends early, as if the time were over, when a signal arrives.
class QVCORE_API TcpSocket {
public:
    /// What send and receive return besides a number of bytes.
    enum Outcome : long { closedByPeer = 0, notYet = -1, failed = -2 };

    TcpSocket() = default;
    ~TcpSocket() { close(); }
    TcpSocket(TcpSocket&& other) noexcept;
    TcpSocket& operator=(TcpSocket&& other) noexcept;

    bool isOpen() const { return handle_ != -1; }
    /// False when the system reports a failure; the socket is closed all the same.
    bool close();

    /// `address` in numbers; port 0 takes a free one. No other program can listen on the same
    /// address and port.
    ListenResult listen(const std::string& address, int port, int backlog);
    /// Takes the next client that waits at this listening socket, if there is one.
    AcceptResult accept(TcpSocket& client);
    /// `address` in numbers.
    ConnectResult connect(const std::string& address, int port, int timeoutMs);

    /// Up to `size` bytes, or an Outcome. Waits up to `waitMs` for the first byte; with `all`, for
    /// all of them, and may then return fewer when the time is over.
    long receive(void* data, std::size_t size, int waitMs, bool all = false);
    /// Sends the first block, then the second one, in as few packets as it takes. Waits up to
    /// `waitMs` for room and returns how many bytes of both have gone, or an Outcome.
    long send(const void* first, std::size_t firstSize, const void* second, std::size_t secondSize,
              int waitMs);
    /// Tells the peer that nothing more comes; receiving goes on.
    void shutdownSending();
    /// False when the peer has closed its end and all that it sent has been received. Does not
    /// wait.
    bool peerIsThere();

    /// Both return false, and leave `address` alone, when the socket has none.
    bool localAddress(SocketAddress& address) const;
    bool peerAddress(SocketAddress& address) const;
    SocketOwner peerOwner() const;

    /// Waits until one of the sockets has a client or data; those that are not open do not count.
    /// The index of one that has, notYet when the time is over, or failed.
    static long waitReadable(const TcpSocket* sockets, std::size_t count, int waitMs);

private:
    explicit TcpSocket(std::intptr_t handle) : handle_(handle) {}
    /// False once the connection has been reset or given up; a peer that only stopped sending is
    /// still there.
    bool isConnectedStill() const;
    /// Where nobody listens on a port that the system may also give to clients, a connection can
    /// find itself.
    bool isItsOwnPeer() const;
    bool setWait(int option, int& current, int waitMs);

    std::intptr_t handle_ = -1;
    int receiveWait_ = -1;
    int sendWait_ = -1;
};

}  // namespace qvplatform
