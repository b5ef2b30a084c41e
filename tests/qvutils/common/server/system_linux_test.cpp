// Connections of other users, which only a test run by root can make, and other faults that need
// the system's own calls.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

#include "qvutils/common/platform/socketaddress.h"
#include "qvutils/common/platform/threads.h"
#include "qvutils/common/server/client.h"
#include "tests/qvutils/common/server/talk.h"
#include "tests/support/captured_output.h"

namespace {

constexpr uid_t nobody = 65534;

/// A process of another user that connects, sends a frame and stays until the end of the test, or
/// closes its end at once.
class OtherUser {
public:
    OtherUser(int port, bool leaves) : process_(fork()) {
        if (process_ != 0) return;
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(static_cast<std::uint16_t>(port));
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        if (setuid(nobody) != 0) _exit(1);
        const int theirs = ::socket(AF_INET, SOCK_STREAM, 0);
        if (::connect(theirs, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) _exit(2);
        char frame[25] = "5";
        ::send(theirs, frame, sizeof frame, MSG_NOSIGNAL);
        if (leaves) _exit(0);
        pause();
    }
    ~OtherUser() {
        kill(process_, SIGKILL);
        waitpid(process_, nullptr, 0);
    }

private:
    pid_t process_;
};

TEST(OtherUsers, are_refused_unless_welcome) {
    if (geteuid() != 0) GTEST_SKIP() << "only root can try this";
    LoggedServer server;
    for (const bool leaves : {false, true}) {
        const OtherUser other(server.localport(), leaves);
        if (leaves) qvplatform::sleepMicroseconds(50'000);
        EXPECT_EQ(server.getMessage(1), nullptr) << "one that has left is nobody's";
        EXPECT_TRUE(server.logged("unauthorised connection attempted: 127.0.0.1:")) << server.log;
        EXPECT_FALSE(server.isConnected());
        server.log.clear();
        ASSERT_TRUE(server.Init(0)) << "which tells of each one again";
    }
    server.settings().anyUser = true;
    const OtherUser other(server.localport(), false);
    EXPECT_NE(server.getMessage(5), nullptr) << server.log;
}

/// The system's tables tell the same as the kernel does when it is asked.
TEST(OtherUsers, are_also_found_in_the_tables) {
    LoggedServer server;
    for (const char* host : {"127.0.0.1", "::1", "::ffff:127.0.0.1"}) {
        Stranger client(server.localport(), host);
        if (!client.connected) continue;
        ASSERT_TRUE(server.waitForClient(5)) << server.log;
        qvplatform::SocketAddress own;
        qvplatform::SocketAddress peer;
        ASSERT_TRUE(client.socket.localAddress(own) && client.socket.peerAddress(peer));
        qvplatform::SystemAddress end;
        qvplatform::SystemAddress other;
        ASSERT_TRUE(qvplatform::toSystem(own.host, own.port, end));
        ASSERT_TRUE(qvplatform::toSystem(peer.host, peer.port, other));
        EXPECT_EQ(qvplatform::ownerInTables(end, other), qvplatform::SocketOwner::thisUser) << host;
        EXPECT_EQ(qvplatform::ownerOfEnd(end, other), qvplatform::SocketOwner::thisUser) << host;
        client.socket.close();
        qvplatform::sleepMicroseconds(10'000);
        EXPECT_NE(qvplatform::ownerInTables(end, other), qvplatform::SocketOwner::thisUser);
        EXPECT_NE(qvplatform::ownerOfEnd(end, other), qvplatform::SocketOwner::thisUser);
        server.disconnect();
    }
}

TEST(FullProcess, takes_the_client_once_there_is_a_descriptor) {
    LoggedServer server;
    Stranger client(server);
    client.say(frameOf("patient"));
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
    const int next = dup(0);
    ::close(next);
    const rlimit none = {static_cast<rlim_t>(next), before.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
    EXPECT_EQ(server.getMessage(0, 150), nullptr);
    setrlimit(RLIMIT_NOFILE, &before);
    EXPECT_TRUE(server.logged("socket error: accept: ")) << server.log;
    EXPECT_LE(server.log.size(), 500u) << "it does not go on about it";
    EXPECT_NE(server.getMessage(5), nullptr);
}

TEST(TalkingClient, gives_up_when_nobody_answers) {
    qvplatform::TcpSocket full;
    ASSERT_EQ(full.listen("127.0.0.1", 0, 0), qvplatform::ListenResult::listening);
    qvplatform::SocketAddress address;
    full.localAddress(address);
    const Stranger taken(address.port);
    CapturedOutput output;
    Client client;
    client.setConnectTimeout(50);
    EXPECT_FALSE(client.Connect(address.port, "127.0.0.1"));
    EXPECT_EQ(output.takeWarnings(), "Timeout\n");
}

}  // namespace
