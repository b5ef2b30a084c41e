// Scripts in processes of their own, with a real Python.
#include <gtest/gtest.h>

#include <thread>

#include "qvutils/common/error/qverror.h"
#include "qvutils/common/platform/childprocess.h"
#include "qvutils/common/platform/clock.h"
#include "qvutils/common/platform/files.h"
#include "qvutils/common/platform/process.h"
#include "qvutils/common/platform/threads.h"
#include "qvutils/common/server/server.h"
#include "qvutils/common/tasks/runsignal.h"
#include "qvutils/ui/app/qvappBase.h"
#include "qvutils/ui/nodes/qvscriptnode.h"
#include "qvutils/ui/project/qvprojman.h"
#include "tests/support/captured_output.h"
#include "tests/support/temp_directory.h"

namespace {

/// Connects, and gives `say(text)`, which sends a command and returns the answer.
constexpr const char* clientText = R"py(import os, socket, sys, time
port = int(os.environ["QV_SCRIPT_PORT"])
def connect():
    return socket.create_connection(("127.0.0.1", port))
def post(s, text):
    data = text.encode() + b"\0"
    s.sendall(str(len(data)).encode().ljust(20, b"\0") + data)
def read(s, n):
    data = b""
    while len(data) < n:
        more = s.recv(n - len(data))
        if not more: raise EOFError
        data += more
    return data
def say(text):
    global s
    post(s, text)
    n = int(read(s, 20).split(b"\0")[0])
    return read(s, n)[:-1].decode()
)py";

/// A second is meant; a busy machine may take longer.
constexpr int patience = 10'000;

class Application : public qvAppBase {
public:
    explicit Application(qvCommandObject& commands) : qvAppBase("optics", "7.3", commands) {}
    bool askUser(const std::string& question) override {
        questions += question;
        return answer;
    }

    std::string questions;
    bool answer = false;
};

class ScriptRunTest : public testing::Test {
protected:
    void SetUp() override {
        if (qvplatform::findProgram("python3").empty()) GTEST_SKIP() << "there is no Python here";
        commands.Execute(
            "app.addsubnode(\"projectTB\", \"P\"); Ref& p = app.subnodes[1]; "
            "p.addsubnode(\"scriptTB\", \"s\"); Ref& s = p.findnode(\"s\")");
        node = static_cast<qvScriptNode*>(getProjectManager().FindNode("P/s"));
        node->setLanguage(qvScriptNode::python);
    }
    /// Runs the script; the result is the error.
    std::string run(const std::string& text, bool withClient = true) {
        node->setText(((withClient ? clientText : "") + text).c_str());
        start = qvplatform::monotonicNanoseconds();
        node->RunScript();
        return qverr().chars_and_reset();
    }
    std::int64_t milliseconds() const {
        return (qvplatform::monotonicNanoseconds() - start) / 1'000'000;
    }
    /// What the script printed.
    std::string printed() {
        std::string text = output.takeNormal();
        EXPECT_EQ(text.rfind("EXECUTING PYTHON SCRIPT...\n", 0), 0u) << text;
        text.erase(0, text.find('\n') + 1);
        for (const char* line : {"client connected:", "Client not talking anymore."}) {
            for (std::size_t at; (at = text.find(line)) != text.npos;) {
                text.erase(at, text.find('\n', at) + 1 - at);
            }
        }
        return text;
    }

    CapturedOutput output;
    qvCommandObject commands;
    Application application{commands};
    qvScriptNode* node = nullptr;
    std::int64_t start = 0;
};

TEST_F(ScriptRunTest, commands_are_executed_and_answered_and_prints_shown_in_order) {
    EXPECT_EQ(run(R"py(s = connect()
print("a", say("p.numsubnodes()"))
print(say('s.appendpar("x")'), end="")
print(say("s.nonsense"), end="")
print(say("app.setwdir(\"no such\"); 1")[:26])
print("last \u00e9"))py"),
              "");
    EXPECT_EQ(printed(),
              "a RETVAL:1\nRETVAL:\nERROR:could not find item \"nonsense\"\n"
              "ERROR:could not change to \nlast \xC3\xA9\n");
    EXPECT_EQ(node->getParameters().size(), 1);
    EXPECT_FALSE(application.scriptServer()->isListening());
}

TEST_F(ScriptRunTest, each_parameter_is_one_argument) {
    for (const char* parameter : {"a b", "", "\"", "$HOME", "'; echo x"}) {
        node->AppendParameter(parameter);
    }
    EXPECT_EQ(run("import sys\nprint(sys.argv[1:])", false), "");
    EXPECT_EQ(printed(), "['a b', '', '\"', '$HOME', \"'; echo x\"]\n");
}

TEST_F(ScriptRunTest, the_text_lies_in_a_private_file_that_is_removed) {
    EXPECT_EQ(run(R"py(import os, stat, sys
print(sys.argv[0])
print(oct(os.stat(os.path.dirname(sys.argv[0])).st_mode & 0o77)))py",
                  false),
              "");
    const std::string text = printed();
    const std::string path = text.substr(0, text.find('\n'));
    EXPECT_EQ(text.substr(path.size()), "\n0o0\n");
    EXPECT_FALSE(qvplatform::fileSystem().status(path).exists());
}

/// Makes a file when a certain text is shown.
std::string fileToMake;
void makeFile(int, const char* piece) {
    if (std::string(piece) != "first\n") return;
    FILE* file = qvplatform::fileSystem().open(fileToMake, "w");
    qvplatform::fileSystem().close(file);
}

TEST_F(ScriptRunTest, output_arrives_while_it_runs) {
    const TempDirectory directory;
    fileToMake = directory.file("seen");
    node->AppendParameter(fileToMake.c_str());
    const qvOutputHook before = setOutputHook(makeFile);
    EXPECT_EQ(run(R"py(import os, sys, time
print("first")
for i in range(1000):
    if os.path.exists(sys.argv[1]): sys.exit(0)
    time.sleep(0.01)
sys.exit(1))py",
                  false),
              "");
    setOutputHook(before);
}

TEST_F(ScriptRunTest, a_flood_of_output_does_not_keep_it_from_ending) {
    EXPECT_EQ(run(R"py(s = connect()
for i in range(20): sys.stdout.write("x" * 199999 + "\n")
post(s, "help app;" * 20000)
for i in range(20): sys.stdout.write("y" * 199999 + "\n")
n = int(read(s, 20).split(b"\0")[0])
print(len(read(s, n)) > 1000000))py"),
              "");
    const std::string text = printed();
    EXPECT_EQ(text.size(), 40u * 200000u + 5);
    EXPECT_EQ(text.substr(text.size() - 5), "True\n");
}

TEST_F(ScriptRunTest, failures_of_the_script_are_told) {
    EXPECT_EQ(run("raise SystemExit(3)", false), "the python script ended with exit status 3\n");
    output.takeNormal();
    EXPECT_EQ(run("nonsense here", false), "the python script ended with exit status 1\n");
    EXPECT_NE(printed().find("SyntaxError"), std::string::npos);
    EXPECT_EQ(run("import os\nos.kill(os.getpid(), 9)", false),
              "the python script ended with exit status 137\n");
    // In the middle of a message, or with one that is none.
    EXPECT_EQ(run("s = connect()\ns.sendall(b'100')"), "");
    EXPECT_NE(
        run("s = connect()\ns.sendall(b'GET / HTTP/1.1\\r\\n\\r\\n' * 10)\nprint(read(s, 9))"), "");
    output.takeNormal();
    EXPECT_EQ(run("s = connect()\nprint(say('p.numsubnodes()'))"), "") << "still usable";
    EXPECT_EQ(printed(), "RETVAL:1\n");
}

TEST_F(ScriptRunTest, a_kill_request_stops_it_within_a_second) {
    for (const char* text :
         {"time.sleep(60)", "while True: pass", "s = connect()\ns.sendall(b'50')\ntime.sleep(60)",
          "import signal\nsignal.signal(signal.SIGINT, signal.SIG_IGN)\ntime.sleep(60)",
          "while True: print('x' * 1000)", "os.fork()\ntime.sleep(60)",
          "s = connect()\nwhile True: say('p.numsubnodes()')"}) {
        std::thread user([] {
            qvplatform::sleepMicroseconds(200'000);
            qvRunSignal::requestQuietKill();
        });
        EXPECT_EQ(run(text), "the python script was stopped\n") << text;
        EXPECT_LT(milliseconds(), 200 + patience) << text;
        user.join();
        output.takeNormal();
        EXPECT_EQ(run("s = connect()\nprint(say('p.numsubnodes()'))"), "") << text;
        EXPECT_EQ(printed(), "RETVAL:1\n") << text;
    }
}

TEST_F(ScriptRunTest, ends_with_its_process_whatever_that_leaves_behind) {
    EXPECT_EQ(run("pass", false), "");
    EXPECT_LT(milliseconds(), patience);
    EXPECT_EQ(run("s = connect()\nif os.fork() == 0: time.sleep(20)"), "");
    EXPECT_LT(milliseconds(), patience);
    // Its last command, whose answer it does not wait for.
    EXPECT_EQ(run("s = connect()\nsay('1')\npost(s, 's.appendpar(x)')"), "");
    EXPECT_EQ(node->getParameters().size(), 1);
}

TEST_F(ScriptRunTest, may_close_the_project_that_it_is_in) {
    EXPECT_EQ(run("s = connect()\nprint(say('p.close()'), say('app.numsubnodes()'))"), "");
    EXPECT_EQ(printed(), "RETVAL:\n RETVAL:0\n");
}

TEST_F(ScriptRunTest, cannot_run_a_python_script_by_a_command_but_one_of_commands) {
    commands.Execute(
        "p.addsubnode(\"scriptTB\", \"c\"); p.findnode(\"c\").text = \"s.nodename()\"");
    EXPECT_EQ(run(R"py(s = connect()
print(say("s.runscript()"),
              end = "")
print(say("Ref& c = p.findnode(\"c\"); c.runscript()"), end="")
print(say("c.language = 1; c.runscript()"), end=""))py"),
              "");
    EXPECT_EQ(printed(),
              "ERROR:script \"s\" is running\ns\nRETVAL:\nERROR:a python script cannot be run by a "
              "command that comes through the script server\n");
}

TEST_F(ScriptRunTest, takes_another_port_when_the_usual_one_is_taken) {
    Server taken;
    taken.setLog([](void*, const char*, bool) {}, nullptr);
    taken.Init(qvScriptServer::portBase +
               qvScriptServer::usualArgument);  // or somebody else has it
    EXPECT_EQ(run("s = connect()\nprint(say('p.numsubnodes()'), port == 5101)"), "");
    EXPECT_EQ(printed(), "RETVAL:1 False\n");
}

TEST_F(ScriptRunTest, asks_before_a_program_that_is_connected_is_dropped) {
    qvScriptServing& serving = *application.scriptServer();
    ASSERT_TRUE(serving.listen(0));
    qvplatform::TcpSocket other;
    ASSERT_EQ(other.connect("127.0.0.1", serving.localport(), 5000),
              qvplatform::ConnectResult::connected);
    int asked = 0;
    serving.serve([&] { return ++asked < 20 && !serving.isConnected(); }, 10);
    ASSERT_TRUE(serving.isConnected());
    output.takeNormal();
    EXPECT_EQ(run("print(1)", false), "");
    EXPECT_EQ(application.questions,
              "there is currently another program talking to the application\n"
              "if you continue you will disconnect them\n");
    EXPECT_EQ(output.takeNormal(), "") << "it was not to be run";
    const int port = serving.localport();
    application.answer = true;
    EXPECT_EQ(run("print(1)", false), "");
    EXPECT_EQ(printed(), "1\n");
    EXPECT_FALSE(other.peerIsThere());
    EXPECT_TRUE(serving.isListening()) << "it did before";
    EXPECT_EQ(serving.localport(), port);
}

TEST_F(ScriptRunTest, without_python_says_what_is_missing) {
    std::string before;
    qvplatform::environmentVariable("PATH", before);
    ASSERT_EQ(setenv("PATH", "/nowhere:relative", 1), 0);
    EXPECT_EQ(run("", false),
              "unable to run python script\n"
              "make sure the python executable is in your path\n");
    setenv("PATH", before.c_str(), 1);
}

}  // namespace
