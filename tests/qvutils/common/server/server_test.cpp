#include "qvutils/common/server/server.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "qvutils/common/platform/files.h"
#include "qvutils/common/platform/threads.h"
#include "tests/qvutils/common/server/talk.h"
#include "tests/support/captured_output.h"

namespace {

int milliseconds(const std::chrono::steady_clock::time_point& since) {
    const auto passed = std::chrono::steady_clock::now() - since;
    return static_cast<int>(std::chrono::duration_cast<std::chrono::milliseconds>(passed).count());
}

std::string text(const char* message) {
    return message ? message : "(none)";
}

class Serving : public testing::Test {
protected:
    /// The server still takes a client and understands it.
    void expectAlive() {
        Stranger next(server);
        ASSERT_TRUE(next.connected);
        ASSERT_TRUE(next.say(frameOf(std::string("still there?\0", 13))));
        EXPECT_EQ(text(server.getMessage(5)), "still there?") << server.log;
        EXPECT_TRUE(server.sendMessage("yes"));
        EXPECT_EQ(next.hear(24), frameOf(std::string("yes\0", 4)));
        server.disconnect();
    }

    LoggedServer server;
};

TEST_F(Serving, exchanges_frames_byte_for_byte) {
    Stranger client(server);
    const std::string data("\0\x01\xFF\0", 4);
    client.say(frameOf(std::string("first\0", 6)) + frameOf(data) + frameOf(""));
    EXPECT_EQ(text(server.getMessage(5)), "first");
    EXPECT_TRUE(server.isConnected());
    EXPECT_TRUE(server.logged("client connected:" + server.peer()));
    unsigned size = 0;
    const char* received = server.getData(size, 5);
    EXPECT_EQ(std::string(received, size), data);
    EXPECT_EQ(text(server.getData(size, 5)), "");
    EXPECT_EQ(size, 0u);
    EXPECT_EQ(server.getMessage(), nullptr) << "nothing more has been sent";

    EXPECT_TRUE(server.sendMessage("RETVAL:\n"));
    EXPECT_TRUE(server.sendData(data.data(), 4));
    EXPECT_TRUE(server.sendData(nullptr, 0));
    EXPECT_EQ(client.hear(20 + 9 + 20 + 4 + 20),
              frameOf(std::string("RETVAL:\n\0", 9)) + frameOf(data) + frameOf(""));
}

TEST_F(Serving, keeps_texts_apart) {
    Stranger client(server);
    client.say(frameOf(std::string(100'000, 'x')) + frameOf("short"));
    EXPECT_EQ(text(server.getMessage(5)).size(), 100'000u);
    EXPECT_EQ(text(server.getMessage(5)), "short") << "a NUL is put behind what has none";
}

TEST_F(Serving, drops_who_does_not_speak_the_protocol) {
    std::mt19937 random(1);
    std::string noise(500, '\0');
    for (char& c : noise) c = static_cast<char>(random());
    server.settings().largestMessage = 1000;
    const struct {
        std::string bytes;
        const char* complaint;
    } cases[] = {
        {noise, "the header holds no length"},
        {"GET /?command=app.exit() HTTP/1.1\r\nHost: localhost\r\n\r\n", "holds no length"},
        {"quit\n", "getMessage error! retbytes=5"},
        {frameOf("a header in pieces").substr(0, 7), "getMessage error! retbytes=7"},
        {std::string("-1\0", 3) + std::string(40, 'x'), "holds no length"},
        {std::string("1001\0", 5) + std::string(40, 'x'), "longer than 1000 bytes"},
        {std::string("99999999999\0", 12) + std::string(40, 'x'), "longer than 1000 bytes"},
    };
    for (const auto& c : cases) {
        server.log.clear();
        Stranger stranger(server);
        ASSERT_TRUE(stranger.say(c.bytes));
        EXPECT_EQ(server.getMessage(5), nullptr);
        EXPECT_FALSE(server.isConnected());
        EXPECT_TRUE(server.logged(c.complaint)) << server.log;
        EXPECT_TRUE(server.logged("Client not talking anymore. Server reset."));
        EXPECT_EQ(stranger.hear(), "");
        expectAlive();
    }
}

TEST_F(Serving, survives_clients_that_leave_anywhere_in_a_frame) {
    const std::string frame = frameOf("0123456789");
    // Under wine it takes long to learn whose a connection is, and fewer have to do.
    const std::size_t step = qvplatform::pathSeparator() == '/' ? 1 : 8;
    for (std::size_t length = 0; length < frame.size(); length += step) {
        for (const bool byReset : {false, true}) {
            {
                Stranger stranger(server);
                ASSERT_TRUE(stranger.connected);
                ASSERT_TRUE(server.waitForClient(5)) << server.log;
                // Closing with something unread resets the connection.
                if (byReset) server.sendMessage("unread");
                if (length > 0) stranger.say(frame.substr(0, length));
            }
            EXPECT_EQ(server.getMessage(5), nullptr) << length;
            EXPECT_FALSE(server.isConnected()) << length;
        }
    }
    expectAlive();
}

TEST_F(Serving, notices_a_client_that_has_gone) {
    {
        Stranger stranger(server);
        ASSERT_TRUE(server.waitForClient(5));
        EXPECT_TRUE(server.checkClient());
    }
    qvplatform::sleepMicroseconds(20'000);
    EXPECT_FALSE(server.checkClient());
    EXPECT_FALSE(server.sendMessage("to nobody"));
    expectAlive();
}

TEST_F(Serving, tells_of_many_refused_connections_in_two_lines) {
    constexpr int times = 5;
    for (int i = 0; i < times; ++i) Stranger leavesAtOnce(server);
    qvplatform::sleepMicroseconds(20'000);
    for (int i = 0; i < times; ++i) EXPECT_FALSE(server.waitForClient(0, 100));
    EXPECT_EQ(server.log.find("unauthorised connection attempted: "), 0u);
    EXPECT_EQ(server.log.find('\n'), server.log.size() - 1) << server.log;
    server.Close();
    EXPECT_TRUE(server.logged("unauthorised connection attempted: 4 more\n")) << server.log;
}

TEST_F(Serving, answers_who_stops_sending_but_listens_on) {
    Stranger client(server);
    client.say(frameOf("last words"));
    client.socket.shutdownSending();
    EXPECT_EQ(text(server.getMessage(5)), "last words");
    EXPECT_TRUE(server.sendMessage("goodbye"));
    EXPECT_EQ(server.getMessage(5), nullptr);
    EXPECT_EQ(client.hear(), frameOf(std::string("goodbye\0", 8)));
}

TEST_F(Serving, takes_one_client_after_the_other) {
    Stranger first(server);
    Stranger second(server);
    first.say(frameOf("1"));
    second.say(frameOf("2"));
    EXPECT_EQ(text(server.getMessage(5)), "1");
    EXPECT_EQ(server.getMessage(0, 50), nullptr) << "the first one is still there";
    first.socket.close();
    EXPECT_EQ(server.getMessage(5), nullptr);
    EXPECT_EQ(text(server.getMessage(5)), "2");
}

TEST_F(Serving, drops_who_stops_in_the_middle) {
    server.settings().stallTimeoutMs = 50;
    Stranger sender(server);
    sender.say(frameOf("0123456789").substr(0, 25));
    EXPECT_EQ(server.getMessage(5), nullptr);
    EXPECT_TRUE(server.logged("stopped in a message")) << server.log;
    EXPECT_EQ(sender.hear(), "");

    Stranger receiver(server);
    ASSERT_TRUE(server.waitForClient(5));
    const std::vector<char> much(100'000'000);
    EXPECT_FALSE(server.sendData(much.data(), much.size()));
    EXPECT_TRUE(server.logged("sendMessage error!")) << server.log;
    EXPECT_FALSE(server.isConnected());
    server.settings().stallTimeoutMs = 5000;
    expectAlive();
}

TEST_F(Serving, wakes_at_once_and_calls_while_it_waits) {
    int calls = 0;
    const auto count = [](void* number) { ++*static_cast<int*>(number); };
    server.setWaitCallback(count, 10, &calls);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(server.getMessage(0, 100), nullptr);
    EXPECT_GE(milliseconds(start), 95);
    EXPECT_GE(calls, 2);
    calls = 0;
    EXPECT_EQ(server.getMessage(), nullptr);
    EXPECT_EQ(calls, 0) << "a look does not wait";

    server.setWaitCallback(count, 60'000, &calls);
    Stranger client(server);
    std::thread late([&client] {
        qvplatform::sleepMicroseconds(30'000);
        client.say(frameOf("now"));
    });
    EXPECT_EQ(text(server.getMessage(30)), "now");
    late.join();
    EXPECT_LT(milliseconds(start), 20'000);
}

TEST_F(Serving, can_be_interrupted_while_it_waits) {
    server.setWaitCallback([](void* self) { static_cast<Server*>(self)->interrupt(); }, 10,
                           static_cast<Server*>(&server));
    EXPECT_EQ(server.getMessage(-1), nullptr);
    server.setWaitCallback(nullptr, 0, nullptr);
    server.interrupt();
    EXPECT_FALSE(server.waitForClient(-1)) << "or before it waits";

    Stranger client(server);
    ASSERT_TRUE(server.waitForClient(5));
    std::thread other([this] {
        qvplatform::sleepMicroseconds(30'000);
        server.interrupt();
    });
    EXPECT_EQ(server.getMessage(-1), nullptr);
    other.join();
    EXPECT_TRUE(server.isConnected());
    client.say(frameOf("going on"));
    EXPECT_EQ(text(server.getMessage(5)), "going on");
}

TEST_F(Serving, can_be_closed_while_it_waits) {
    const auto callback = [](void* self) {
        auto& server = *static_cast<Server*>(self);
        EXPECT_TRUE(!server.isConnected() || !server.getMessage(-1)) << "one wait at a time";
        server.Close();
    };
    Stranger client(server);
    ASSERT_TRUE(server.waitForClient(5));
    server.setWaitCallback(callback, 10, static_cast<Server*>(&server));
    EXPECT_EQ(server.getMessage(-1), nullptr);
    EXPECT_FALSE(server.isInitialised());
    EXPECT_EQ(server.localport(), 0);
    EXPECT_EQ(server.getMessage(-1), nullptr);
    ASSERT_TRUE(server.Init(0));
    EXPECT_EQ(server.getMessage(-1), nullptr) << "also while it waits for a client";
}

TEST_F(Serving, holds_its_port_alone) {
    const int port = server.localport();
    Server second;
    CapturedOutput output;
    EXPECT_FALSE(second.Init(port));
    EXPECT_NE(second.lastError().find(std::to_string(port)), std::string::npos);
    EXPECT_EQ(output.takeWarnings(), second.lastError() + "\n");
    EXPECT_FALSE(second.isInitialised());

    Stranger client(server);
    ASSERT_TRUE(server.waitForClient(5));
    EXPECT_TRUE(server.Init(port)) << "it begins anew at once: " << server.log;
    EXPECT_FALSE(server.isConnected());
    EXPECT_EQ(client.hear(), "");
    expectAlive();
    server.Close();
    EXPECT_TRUE(second.Init(port));
    EXPECT_FALSE(second.localhost().Empty());
}

TEST_F(Serving, listens_where_it_is_told) {
    const Stranger byV6(server.localport(), "::1");
    qvplatform::TcpSocket probe;
    const bool hasV6 = probe.listen("::1", 0, 1) == qvplatform::ListenResult::listening;
    EXPECT_EQ(byV6.connected, hasV6);
    server.disconnect();

    server.settings().address = "*";
    ASSERT_TRUE(server.Init(0));
    expectAlive();
    server.settings().address = "not an address";
    EXPECT_FALSE(server.Init(0));
}

TEST_F(Serving, copies_share_the_sockets) {
    {
        Server copy = server;
        Stranger client(copy);
        ASSERT_TRUE(copy.waitForClient(5));
        EXPECT_TRUE(server.isConnected());
        client.say(frameOf("to one of them"));
        EXPECT_EQ(text(server.getMessage(5)), "to one of them");
        copy = server;
        EXPECT_EQ(copy.localport(), server.localport());
    }
    EXPECT_TRUE(server.isInitialised()) << "open until the last copy is gone";
    server.disconnect();
    expectAlive();
    Server copy = server;
    copy.Close();
    EXPECT_FALSE(server.isInitialised());
}

}  // namespace
