#include "qvutils/ui/scripting/qvscriptserving.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "qvutils/common/error/qverror.h"
#include "qvutils/common/server/client.h"
#include "qvutils/common/tasks/runsignal.h"
#include "qvutils/ui/app/qvappBase.h"
#include "qvutils/ui/project/qvprojman.h"
#include "tests/support/captured_output.h"

namespace {

class ServingTest : public testing::Test {
protected:
    ServingTest() {
        commands.Execute("app.addsubnode(\"projectTB\", \"P\"); Ref& p = app.subnodes[1]");
        commands.Execute("p.addsubnode(\"notesTB\", \"n\")");
    }
    std::string answerTo(const std::string& text) {
        return serving.answerTo(text.c_str(), static_cast<unsigned>(text.size() + 1));
    }
    /// Serves on a free port while `talk` runs on a thread of its own.
    void serveDuring(const std::function<void(int port)>& talk) {
        ASSERT_TRUE(serving.listen(0));
        std::atomic<bool> ended = false;
        std::thread other([&] {
            talk(serving.localport());
            ended = true;
        });
        serving.serve([&] { return !ended; }, 10);
        other.join();
        serving.stop();
    }

    CapturedOutput output;
    qvCommandObject commands;
    qvAppBase application{"optics", "7.3", commands};
    qvScriptServing& serving = *application.scriptServer();
};

TEST_F(ServingTest, answers_are_values_or_the_first_error) {
    const struct {
        const char* text;
        const char* answer;
    } cases[] = {
        {"", "RETVAL:\n"},
        {"// nothing", "RETVAL:\n"},
        {"app.numsubnodes()", "RETVAL:1"},
        {"app.numsubnodes(); app.subnodes[1].nodename()\np.numsubnodes()", "RETVAL:1\nP\n1"},
        {"p.setdirty(0)", "RETVAL:\n"},
        {"p.setdirty(0); p.getdirty()", "RETVAL:0"},
        {"p.subnodes[1].text", "RETVAL:"},
        {"p.subnodes[1].text; p.nodename()", "RETVAL:\nP"},
        {"p.subnodes[1].text = \"x\\ny\\n\"; p.subnodes[1].text; p.nodename()", "RETVAL:x\ny\nP"},
        {"Ref& q = p; q.nodename()", "RETVAL:P"},
        {"p.nodename(); nonsense; p.rename(\"other\")", "ERROR:could not find item \"nonsense\"\n"},
        {"p.nodename()", "RETVAL:P"},
        {"GET / HTTP/1.1\r\nHost: x\r\n", "ERROR:could not find item \"GET / HTTP/1.1\"\n"},
    };
    for (const auto& c : cases) EXPECT_EQ(answerTo(c.text), c.answer) << c.text;
    EXPECT_EQ(serving.answerTo("p.nodename()", 12), "RETVAL:P") << "the NUL may be missing";
    EXPECT_EQ(serving.answerTo("p.nodename()\0p", 15), "ERROR:the text holds a NUL byte\n");
    EXPECT_EQ(output.takeNormal() + output.takeWarnings(), "") << "answers are no output";
    EXPECT_FALSE(qverr());
}

TEST_F(ServingTest, what_a_command_prints_is_output) {
    EXPECT_EQ(answerTo("p.savetofile(\"no such directory/x.prj\")").substr(0, 6), "ERROR:");
    commands.Execute("p.addsubnode(\"scriptTB\", \"s\"); Ref& s = p.findnode(\"s\")");
    commands.Execute("s.text = \"p.nodename()\"");
    output.takeNormal();
    EXPECT_EQ(answerTo("s.runscript(); p.numsubnodes()"), "RETVAL:2");
    EXPECT_EQ(output.takeNormal(), "P\n") << "what a script shows is no part of the answer";
}

TEST_F(ServingTest, a_text_that_is_stopped_is_an_error) {
    const qvRunSignal running;
    qvRunSignal::requestQuietKill();
    EXPECT_EQ(answerTo("p.rename(\"Q\")"), "ERROR:stopped\n");
    EXPECT_NE(getProjectManager().FindNode("P"), nullptr);
}

TEST_F(ServingTest, serves_clients_over_sockets_one_after_the_other) {
    serveDuring([](int port) {
        for (int i = 0; i < 3; ++i) {
            Client client;
            ASSERT_TRUE(client.Connect(port, "127.0.0.1"));
            EXPECT_STREQ(client.sendMessage("app.numsubnodes()"), "RETVAL:1");
            unsigned size = 0;
            EXPECT_STREQ(client.sendData(size, nullptr, 0), "RETVAL:\n");
            EXPECT_EQ(size, 9u);
        }
    });
    EXPECT_EQ(serving.executed(), 6u);
}

TEST_F(ServingTest, a_command_may_close_everything_it_is_about) {
    serveDuring([](int port) {
        Client client;
        ASSERT_TRUE(client.Connect(port, "127.0.0.1"));
        EXPECT_STREQ(client.sendMessage("p.close()"), "RETVAL:\n");
        EXPECT_STREQ(client.sendMessage("p.nodename()"),
                     "ERROR:could not find item \"p.nodename\"\n");
        EXPECT_STREQ(client.sendMessage("app.closeall(); app.numsubnodes()"), "RETVAL:0");
    });
}

TEST_F(ServingTest, the_usual_port_gives_way_to_the_next_free_one_but_a_given_one_does_not) {
    Server taken;
    ASSERT_TRUE(taken.Init(0));
    const int port = taken.localport();
    EXPECT_FALSE(serving.listen(port));
    EXPECT_NE(std::string(qverr().chars_and_reset()).find(std::to_string(port)), std::string::npos);
    EXPECT_FALSE(serving.isInitialised());
    ASSERT_TRUE(serving.start(port - qvScriptServer::portBase));
    EXPECT_NE(serving.localport(), port);
    const int next = serving.localport();
    serving.stop();
    EXPECT_TRUE(serving.isInitialised());
    EXPECT_FALSE(serving.isListening());
    ASSERT_TRUE(serving.restart());
    EXPECT_EQ(serving.localport(), next);
}

TEST_F(ServingTest, log_tells_who_connected_and_what_ran) {
    std::string log;
    serving.setLog([&log](const std::string& line, bool) { log += line + "\n"; });
    serveDuring([](int port) {
        Client client;
        ASSERT_TRUE(client.Connect(port, "127.0.0.1"));
        client.sendMessage("p.nodename()\np.numsubnodes()");
        client.sendMessage("nonsense");
    });
    EXPECT_NE(log.find("client connected:127.0.0.1:"), log.npos);
    EXPECT_NE(log.find("\np.nodename() p.numsubnodes()\n"), log.npos) << log;
    EXPECT_NE(log.find("\nnonsense  -> ERROR:could not find item"), log.npos) << log;
    serving.setLog(nullptr);
}

}  // namespace
