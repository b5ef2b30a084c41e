// `qv send` as a shell uses it, against a server with answers from a list.
#include <gtest/gtest.h>

#include <cstdlib>
#include <map>
#include <string>

#include "qvutils/common/platform/files.h"
#include "tests/qvutils/common/server/talk.h"
#include "tests/support/temp_directory.h"

namespace {

const std::string several = "app.nodename()\nlast line\n";

const std::map<std::string, std::string> answers = {
    {"value", "RETVAL:3.5"},
    {"lines", "RETVAL:one\ntwo\n"},
    {"nothing", "RETVAL:\n"},
    {"empty", "RETVAL:"},
    {"mistake", "ERROR:could not find item \"mistake\"\n"},
    {"odd", "220 ready"},
    {several, "RETVAL:several"},
};

/// Answers on a thread of its own; what is not in the list gets no answer and is dropped.
class Answers {
public:
    Answers() : thread_([this] { run(); }) {}
    ~Answers() {
        stop_ = true;
        server_.interrupt();
        thread_.join();
    }
    std::string port() const { return std::to_string(port_); }

private:
    void run() {
        while (!stop_) {
            const char* const command = server_.getMessage(-1);
            if (!command) continue;
            const auto found = answers.find(command);
            if (found != answers.end()) {
                server_.sendMessage(found->second.c_str());
            } else if (std::string(command) != "wait") {
                server_.disconnect();
            }
        }
    }

    LoggedServer server_;
    const int port_ = server_.localport();
    std::atomic<bool> stop_ = false;
    std::thread thread_;
};

class Sending : public testing::Test {
protected:
    /// The exit status; 0 for success, 256 for what could not be run.
    int send(const std::string& arguments, const std::string& input = "") {
        const std::string inputFile = directory.write("in", input);
        std::string line = "\"" QV_PROGRAM "\" send " + arguments + " <\"" + inputFile + "\" >\"" +
                           directory.file("out") + "\" 2>\"" + directory.file("err") + "\"";
        const bool isWindows = qvplatform::pathSeparator() == '\\';
        if (isWindows) line = "\"" + line + "\"";
        const int status = std::system(line.c_str());
        out = textOf("out");
        err = textOf("err");
        return isWindows || status % 256 != 0 ? status : status / 256;
    }
    std::string textOf(const char* name) {
        std::string text = contentOf(directory.file(name));
        text.resize(qvplatform::translateLineEnds(text.data(), text.size()));
        return text;
    }

    TempDirectory directory;
    Answers server;
    std::string out;
    std::string err;
};

TEST_F(Sending, prints_the_value_or_the_error) {
    const struct {
        const char* command;
        int status;
        const char* out;
        const char* err;
    } cases[] = {
        {"value", 0, "3.5\n", ""},
        {"lines", 0, "one\ntwo\n", ""},
        {"nothing", 0, "", ""},
        {"empty", 0, "", ""},
        {"mistake", 1, "", "could not find item \"mistake\"\n"},
        {"odd", 1, "", "qv send: who answered does not execute commands\n"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(send("--port " + server.port() + " " + c.command), c.status) << c.command;
        EXPECT_EQ(out, c.out) << c.command;
        EXPECT_EQ(err, c.err) << c.command;
    }
    EXPECT_EQ(send("--host localhost --port " + server.port() + " -", several), 0) << err;
    EXPECT_EQ(out, "several\n");
}

TEST_F(Sending, tells_what_is_in_the_way) {
    const std::string port = "--port " + server.port() + " ";
    const struct {
        std::string arguments;
        int status;
        std::string complaint;
    } cases[] = {
        {port + "unknown", 1, "127.0.0.1 port " + server.port() + ": Client error: the server"},
        {port + "--timeout 0.1 wait", 1, ": Timeout"},
        {"--port 1 value", 1, "127.0.0.1 port 1: Client error"},
        {port + "--host \"no host\" value", 1, "Server not found"},
        {"--port 0 value", 2, "\"0\" is not NUMBER"},
        {"--timeout soon value", 2, "\"soon\" is not SECONDS"},
        {"", 2, "a command is needed"},
        {"two commands", 2, "one command only"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(send(c.arguments), c.status) << c.arguments;
        EXPECT_EQ(out, "") << c.arguments;
        EXPECT_NE(err.find("qv send: "), err.npos) << err;
        EXPECT_NE(err.find(c.complaint), err.npos) << err;
    }
    EXPECT_EQ(send(port + "-", std::string("value\0", 6)), 1);
    EXPECT_NE(err.find("NUL"), err.npos) << err;
}

}  // namespace
