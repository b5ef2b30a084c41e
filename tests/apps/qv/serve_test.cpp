// qv serve, and how qv is stopped.
#include <gtest/gtest.h>

#include <cstdlib>
#include <thread>

#include "qvutils/common/platform/childprocess.h"
#include "qvutils/common/platform/clock.h"
#include "qvutils/common/server/client.h"
#include "qvutils/common/server/server.h"
#include "tests/support/temp_directory.h"

using qvplatform::ChildProcess;

namespace {

constexpr int patience = 20'000;

/// A run of qv.
class Qv {
public:
    explicit Qv(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), QV_PROGRAM);
        EXPECT_TRUE(process.start(arguments, {{"QV_SETTINGS", "none"}}));
    }
    /// Both streams, up to a text or to the end.
    std::string output(const std::string& until = "") {
        const std::int64_t start = qvplatform::monotonicNanoseconds();
        for (bool ended = false;;) {
            char buffer[4096];
            const std::size_t length = process.readOutput(buffer, sizeof buffer);
            text_.append(buffer, length);
            std::erase(text_, '\r');
            if (!until.empty() && text_.find(until) != text_.npos) return text_;
            if (length > 0) continue;
            if (ended) return text_;
            ended = process.wait(1);
            const auto waited = (qvplatform::monotonicNanoseconds() - start) / 1'000'000;
            if (waited > patience) return text_ + " ... and no end";
        }
    }
    /// The port that it has printed.
    int port() {
        output("port ");
        const std::string text = output("\n");
        const std::size_t start = text.find("port ");
        return start == text.npos ? 0 : std::atoi(text.c_str() + start + 5);
    }
    int status() {
        output();
        return process.wait(patience) ? process.exitStatus() : -1;
    }

    ChildProcess process;

private:
    std::string text_;
};

std::string ask(int port, const char* command) {
    Client client;
    if (!client.Connect(port, "127.0.0.1")) return "no connection";
    client.setReplyTimeout(patience);
    const char* answer = client.sendMessage(command);
    return answer ? answer : "no answer";
}

TEST(QvServe, opens_projects_serves_and_with_once_ends_after_the_first_client) {
    const TempDirectory directory;
    const std::string project = directory.write(
        "a.prj",
        "begin <projectTB(1.0)> \"Filter\"\n  begin <notesTB(1.0)> \"n\"\n    >x\n  end\nend\n");
    const std::string log = directory.file("log");
    Qv qv({"serve", project, "--port", "0", "--once", "--log", log});
    const int port = qv.port();
    ASSERT_NE(port, 0) << qv.output();
    {
        qvplatform::TcpSocket looks;
        looks.connect("127.0.0.1", port, patience);
    }
    EXPECT_EQ(ask(port, "app.subnodes[1].nodename()"), "RETVAL:Filter");
    EXPECT_EQ(qv.status(), 0);
    const std::string logged = contentOf(log);
    for (const char* line : {"listening on port", "client connected:127.0.0.1:",
                             " app.subnodes[1].nodename()\n", "Server reset", "stopped"}) {
        EXPECT_NE(logged.find(line), logged.npos) << line << " in:\n" << logged;
    }
}

TEST(QvServe, what_keeps_it_from_serving_is_told) {
    Server taken;
    ASSERT_TRUE(taken.Init(0));
    const std::string port = std::to_string(taken.localport());
    const struct {
        std::vector<std::string> arguments;
        int status;
        std::string told;
    } cases[] = {
        {{"--port", port}, 1, "could not listen on port " + port},
        {{"missing.prj"}, 1, "missing.prj"},
        {{"--log", "no such directory/log"}, 1, "no such directory/log: "},
        {{"--port", "65536"}, 2, "wrong use of --port"},
        {{"--port", "5101x"}, 2, "wrong use of --port"},
        {{"--stall-timeout", "nan"}, 2, "wrong use of --stall-timeout"},
        {{"--max-frame", "0"}, 2, "wrong use of --max-frame"},
        {{"--nonsense"}, 2, "unknown argument --nonsense"},
    };
    for (const auto& c : cases) {
        std::vector<std::string> arguments = {"serve", "--port", "0"};
        arguments.insert(arguments.end(), c.arguments.begin(), c.arguments.end());
        Qv qv(arguments);
        EXPECT_EQ(qv.status(), c.status) << c.told;
        EXPECT_NE(qv.output().find(c.told), std::string::npos) << qv.output();
    }
}

TEST(QvServe, its_limits_can_be_set) {
    Qv qv({"serve", "--port", "0", "--max-frame", "20", "--stall-timeout", "0.1"});
    const int port = qv.port();
    EXPECT_EQ(ask(port, "app.numsubnodes()"), "RETVAL:0");
    EXPECT_EQ(ask(port, "app.numsubnodes()     "), "no answer");
    qvplatform::TcpSocket stalls;
    ASSERT_EQ(stalls.connect("127.0.0.1", port, patience), qvplatform::ConnectResult::connected);
    char header[qvFrameHeaderSize];
    qvWriteFrameHeader(header, 18);
    EXPECT_EQ(stalls.send(header, sizeof header, nullptr, 0, patience), long{sizeof header});
    EXPECT_EQ(ask(port, "app.numsubnodes()"), "RETVAL:0");
    qv.process.kill();
}

// Asking a program to stop as Ctrl-C does is only possible where processes have signals.
#ifdef QV_HAS_SIGNALS

TEST(QvServe, ctrl_c_stops_it_when_nothing_runs) {
    Qv qv({"serve", "--port", "0"});
    const int port = qv.port();
    EXPECT_EQ(ask(port, "app.numsubnodes()"), "RETVAL:0");
    Client open;
    ASSERT_TRUE(open.Connect(port, "127.0.0.1"));
    qv.process.interrupt();
    EXPECT_EQ(qv.status(), 0);
    EXPECT_EQ(ask(port, "app.numsubnodes()"), "no connection");
}

TEST(QvServe, ctrl_c_stops_the_command_that_runs_and_leaves_the_server) {
    Qv qv({"serve", "--port", "0"});
    const int port = qv.port();
    ask(port, "app.addsubnode(projectTB, P); Ref& p = app.subnodes[1]; p.addsubnode(scriptTB, s)");
    ask(port, "Ref& s = p.subnodes[1]; s.text = \"app.numsubnodes()\"");
    std::string many;
    for (int i = 0; i < 200'000; ++i) many += "s.runscript();";
    std::thread user([&qv] {
        qv.output("1\n1\n1\n");
        qv.process.interrupt();
    });
    const std::string answer = ask(port, many.c_str());
    EXPECT_TRUE(answer == "ERROR:script \"s\" was stopped\n" || answer == "ERROR:stopped\n")
        << answer;
    user.join();
    EXPECT_EQ(ask(port, "app.numsubnodes()"), "RETVAL:1");
    qv.process.interrupt();
    EXPECT_EQ(qv.status(), 0);
}

TEST(QvRun, ctrl_c_stops_a_script_and_with_it_the_rest) {
    if (qvplatform::findProgram("python3").empty()) GTEST_SKIP() << "there is no Python here";
    const std::string text =
        "app.addsubnode(projectTB, P); app.subnodes[1].addsubnode(scriptTB, s); "
        "Ref& s = app.findnode(\"P/s\"); s.language = 1; "
        "s.text = \"import time\\nprint('begun')\\ntime.sleep(60)\\n\"; s.runscript(); "
        "app.numsubnodes()";
    Qv qv({"-c", text, "-c", "app.numsubnodes()"});
    EXPECT_NE(qv.output("begun\n").find("begun\n"), std::string::npos) << qv.output();
    const std::int64_t start = qvplatform::monotonicNanoseconds();
    qv.process.interrupt();
    EXPECT_EQ(qv.status(), 1);
    EXPECT_LT(qvplatform::monotonicNanoseconds() - start, 10'000'000'000);
    const std::string text2 = qv.output();
    EXPECT_NE(text2.find("the python script was stopped\n"), text2.npos) << text2;
    EXPECT_NE(text2.find("qv: stopped\n"), text2.npos) << text2;
    EXPECT_EQ(text2.find("\n1\n"), text2.npos) << text2;
}

TEST(QvRun, a_second_ctrl_c_ends_what_does_not_stop) {
    if (qvplatform::findProgram("python3").empty()) GTEST_SKIP() << "there is no Python here";
    Qv qv({"-c",
           "app.addsubnode(projectTB, P); app.subnodes[1].addsubnode(scriptTB, s); "
           "Ref& s = app.findnode(\"P/s\"); s.language = 1; s.text = \"import signal, time\\n"
           "signal.signal(signal.SIGINT, signal.SIG_IGN)\\nprint('begun')\\ntime.sleep(60)\\n\"; "
           "s.runscript()"});
    qv.output("begun\n");
    qv.process.interrupt();
    qv.process.wait(100);
    qv.process.interrupt();
    EXPECT_EQ(qv.status(), 128 + 2);
}

#endif

}  // namespace
