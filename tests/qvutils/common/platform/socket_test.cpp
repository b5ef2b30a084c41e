#include "qvutils/common/platform/socket.h"

#include <gtest/gtest.h>

#include <utility>

using qvplatform::ConnectResult;
using qvplatform::ListenResult;
using qvplatform::SocketAddress;
using qvplatform::TcpSocket;

namespace {

class Sockets : public testing::Test {
protected:
    Sockets() {
        EXPECT_EQ(listener.listen("127.0.0.1", 0, 5), ListenResult::listening);
        EXPECT_TRUE(listener.localAddress(address));
        EXPECT_EQ(client.connect(address.host, address.port, 5000), ConnectResult::connected);
        EXPECT_EQ(TcpSocket::waitReadable(&listener, 1, 5000), 0);
        EXPECT_EQ(listener.accept(server), qvplatform::AcceptResult::accepted);
    }

    TcpSocket listener;
    TcpSocket client;
    TcpSocket server;
    SocketAddress address;
    char buffer[100] = "";
};

TEST_F(Sockets, carry_bytes_until_one_end_closes) {
    EXPECT_EQ(server.receive(buffer, 10, 0), TcpSocket::notYet);
    EXPECT_EQ(server.receive(buffer, 10, 20), TcpSocket::notYet);
    EXPECT_EQ(client.send("ab", 2, "cde", 3, 1000), 5);
    EXPECT_EQ(server.receive(buffer, 10, 5000), 5);
    EXPECT_STREQ(buffer, "abcde");
    client.send("12", 2, nullptr, 0, 1000);
    EXPECT_EQ(server.receive(buffer, 10, 50, true), 2) << "all of them did not come in time";

    TcpSocket moved = std::move(client);
    EXPECT_FALSE(client.isOpen());
    EXPECT_TRUE(server.peerIsThere());
    client = std::move(moved);
    EXPECT_TRUE(client.close() && client.close());
    EXPECT_EQ(server.receive(buffer, 10, 5000), TcpSocket::closedByPeer);
    EXPECT_FALSE(server.peerIsThere());
    EXPECT_EQ(client.receive(buffer, 10, 5000), TcpSocket::closedByPeer);
}

TEST_F(Sockets, take_no_more_than_the_other_side_makes_room_for) {
    const std::string much(10'000'000, 'x');
    long sent = 0;
    long total = 0;
    while ((sent = client.send(much.data(), much.size(), nullptr, 0, 20)) > 0) total += sent;
    EXPECT_EQ(sent, TcpSocket::notYet);
    EXPECT_GT(total, 0);
    EXPECT_EQ(server.receive(buffer, sizeof buffer, 5000, true), long{sizeof buffer});
}

TEST_F(Sockets, know_both_ends) {
    SocketAddress own;
    SocketAddress peer;
    ASSERT_TRUE(client.localAddress(own) && server.peerAddress(peer));
    EXPECT_EQ(own.text(), peer.text());
    EXPECT_EQ(address.text(), "127.0.0.1:" + std::to_string(address.port));
    EXPECT_EQ((SocketAddress{"::1", 80}).text(), "[::1]:80");
    EXPECT_EQ(server.peerOwner(), qvplatform::SocketOwner::thisUser);
    client.close();
    EXPECT_FALSE(client.localAddress(own) || client.peerAddress(own));
    EXPECT_EQ(client.peerOwner(), qvplatform::SocketOwner::unknown);
}

TEST_F(Sockets, go_only_where_there_is_a_port) {
    TcpSocket other;
    EXPECT_EQ(other.listen("127.0.0.1", address.port, 1), ListenResult::portTaken);
    EXPECT_EQ(qvplatform::socketErrorText().empty(), false);
    for (const int port : {-1, 65536, 65536 + address.port}) {
        EXPECT_EQ(other.listen("127.0.0.1", port, 1), ListenResult::failed) << port;
        EXPECT_EQ(other.connect("127.0.0.1", port, 1000), ConnectResult::failed) << port;
    }
    EXPECT_EQ(other.listen("localhost", 0, 1), ListenResult::failed) << "not in numbers";
    listener.close();
    EXPECT_EQ(other.connect("127.0.0.1", address.port, 1000), ConnectResult::failed);
    EXPECT_FALSE(other.isOpen());
}

TEST(SocketAddresses, of_hosts_and_of_this_machine) {
    const std::vector<std::string> local = qvplatform::addressesOfHost("localhost");
    ASSERT_FALSE(local.empty());
    for (const std::string& host : local) EXPECT_TRUE(qvplatform::isLocalAddress(host)) << host;
    EXPECT_TRUE(qvplatform::isLocalAddress("127.3.2.1"));
    EXPECT_FALSE(qvplatform::isLocalAddress("192.0.2.1")) << "an address of no machine";
    EXPECT_TRUE(qvplatform::addressesOfHost("no host").empty());
}

}  // namespace
