#include "qvutils/common/server/client.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/qvutils/common/server/talk.h"
#include "tests/support/captured_output.h"

namespace {

std::string text(const char* message) {
    return message ? message : "(none)";
}

TEST(TalkingClient, gets_a_reply_to_each_message) {
    EchoThread echo;
    Client client;
    ASSERT_TRUE(client.Connect(echo.port, "localhost")) << client.lastError();
    ASSERT_EQ(text(client.sendMessage("app.name")), "RETVAL:app.name") << echo.server.log;
    const std::string large(300'000, 'x');
    EXPECT_TRUE(text(client.sendMessage(large.c_str())) == "RETVAL:" + large);
    EXPECT_EQ(text(client.sendMessage("")), "RETVAL:");

    Client copy = client;
    EXPECT_TRUE(copy.sendMessageBlind("first"));
    unsigned size = 0;
    EXPECT_EQ(text(client.sendData(size, "second", 6)), "RETVAL:first");
    EXPECT_EQ(size, 13u);
    copy.CloseConnection();
    EXPECT_FALSE(client.IsConnected()) << "copies share the connection";
}

TEST(TalkingClient, says_why_there_is_no_connection) {
    CapturedOutput output;
    Client client;
    EXPECT_EQ(client.sendMessage("nobody there"), nullptr);
    EXPECT_FALSE(client.sendMessageBlind("nobody there"));
    output.takeWarnings();
    EXPECT_FALSE(client.Connect(5101, nullptr));
    EXPECT_EQ(output.takeWarnings(), "CODEERROR in Client::Init: serverName=NULL\n");
    EXPECT_FALSE(client.Connect(5101, "not a host name"));
    EXPECT_EQ(output.takeWarnings(), "Server not found\n");

    qvplatform::TcpSocket taken;
    ASSERT_EQ(taken.listen("127.0.0.1", 0, 1), qvplatform::ListenResult::listening);
    qvplatform::SocketAddress address;
    taken.localAddress(address);
    taken.close();
    EXPECT_FALSE(client.Connect(address.port, "127.0.0.1"));
    EXPECT_EQ(output.takeWarnings().find("Client error"), 0u);
    EXPECT_FALSE(client.IsConnected());
}

/// Takes one client, says the same bytes to whatever it hears, and closes or waits for it to go.
class Impostor {
public:
    Impostor(const std::string& bytes, bool closes) {
        EXPECT_EQ(listener_.listen("127.0.0.1", 0, 1), qvplatform::ListenResult::listening);
        qvplatform::SocketAddress address;
        listener_.localAddress(address);
        port = address.port;
        thread_ = std::thread([this, bytes, closes] {
            qvplatform::TcpSocket client;
            if (qvplatform::TcpSocket::waitReadable(&listener_, 1, 5000) != 0) return;
            listener_.accept(client);
            char heard[100];
            client.receive(heard, sizeof heard, 5000);
            client.send(bytes.data(), bytes.size(), nullptr, 0, 5000);
            if (!closes) client.receive(heard, sizeof heard, 5000);
        });
    }
    ~Impostor() { thread_.join(); }

    int port = 0;

private:
    qvplatform::TcpSocket listener_;
    std::thread thread_;
};

TEST(TalkingClient, does_not_believe_everything) {
    const struct {
        std::string bytes;
        bool closes;
        const char* complaint;
    } cases[] = {
        {"HTTP/1.1 400 Bad Request\r\n", false, "the header holds no length"},
        {"220 ready\n", false, "getMessage error! retbytes=10"},
        {frameOf(std::string(1001, 'x')), false, "longer than 1000 bytes"},
        {frameOf("0123456789").substr(0, 25), false, "stopped in a message"},
        {frameOf("0123456789").substr(0, 25), true, "the server closed the connection"},
        {"", true, "the server closed the connection"},
        {"", false, "Timeout"},
    };
    CapturedOutput output;
    for (const auto& c : cases) {
        const Impostor server(c.bytes, c.closes);
        Client client;
        client.setReplyTimeout(100);
        client.setStallTimeout(100);
        client.setLargestMessage(1000);
        int calls = 0;
        client.setWaitCallback([](void* count) { ++*static_cast<int*>(count); }, 10, &calls);
        ASSERT_TRUE(client.Connect(server.port, "127.0.0.1"));
        EXPECT_EQ(client.sendMessage("hello"), nullptr) << c.complaint;
        EXPECT_NE(client.lastError().find(c.complaint), std::string::npos) << client.lastError();
        EXPECT_FALSE(client.IsConnected());
        EXPECT_TRUE(calls > 0 || c.bytes != "" || c.closes) << "it calls while it waits";
    }
}

}  // namespace
