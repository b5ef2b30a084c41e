#include "qvutils/ui/scripting/qvscriptman.h"

#include <gtest/gtest.h>

#include "qvutils/common/error/qverror.h"
#include "qvutils/common/platform/childprocess.h"
#include "qvutils/common/platform/files.h"
#include "qvutils/common/platform/process.h"
#include "qvutils/ui/app/qvappBase.h"
#include "tests/support/captured_output.h"
#include "tests/support/temp_directory.h"

namespace {

class Application : public qvAppBase {
public:
    explicit Application(qvCommandObject& commands) : qvAppBase("optics", "7.3", commands) {}
    bool askText(const std::string& title, const std::string& question,
                 std::string& answer) override {
        asked += title + ": " + question + " [" + answer + "]\n";
        if (answers.empty()) return false;
        answer = answers.back();
        answers.pop_back();
        return true;
    }

    std::string asked;
    std::vector<std::string> answers;
};

class ScriptManagerTest : public testing::Test {
protected:
    /// The result is the error.
    std::string run(const std::string& text) {
        return commands.ExecuteForAnswer(text.c_str()).text;
    }
    std::string listed() const {
        std::string names;
        for (const QVString& script : manager.scripts()) names += script.Chars() + std::string(" ");
        return names;
    }

    TempDirectory directory;
    CapturedOutput output;
    qvCommandObject commands;
    Application application{commands};
    qvScriptManager& manager = application.scripts();
};

TEST_F(ScriptManagerTest, keeps_scripts_in_the_order_of_the_user) {
    for (const char* name : {"a.py", "b.qv", "c.py"}) {
        manager.Install(directory.write(name, "").c_str());
    }
    EXPECT_EQ(listed(), "a.py b.qv c.py ");
    EXPECT_EQ(manager.directory(), directory.path().c_str());
    EXPECT_EQ(run("app.scripts.up(\"c.py\"); app.scripts.up(\"a.py\"); app.scripts.down(\"a.py\")"),
              "");
    EXPECT_EQ(listed(), "c.py a.py b.qv ");
    EXPECT_EQ(run("app.scripts.installed"),
              "     [1]     c.py\n     [2]     a.py\n     [3]     b.qv\n");
    EXPECT_EQ(run("app.scripts.uninstall(\"a.py\")"), "");
    EXPECT_EQ(listed(), "c.py b.qv ");

    const TempDirectory elsewhere;
    const std::string other = elsewhere.write("b.qv", "");
    manager.Install(other.c_str());
    EXPECT_EQ(listed(), "c.py b.qv " + other + " ");
    manager.Down("b.qv");
    EXPECT_EQ(listed(), "c.py " + other + " b.qv ") << "the name as listed comes first";
    EXPECT_FALSE(qverr());
}

TEST_F(ScriptManagerTest, mistakes_are_told) {
    const std::string file = directory.write("a.py", "");
    manager.Install(file.c_str());
    const struct {
        std::string text;
        std::string error;
    } cases[] = {
        {"app.scripts.install(" + file + ")", "script \"a.py\" is installed already\n"},
        {"app.scripts.install(\"missing.py\")", "could not find script file \"missing.py\"\n"},
        {"app.scripts.up(\"b\")", "script \"b\" is not installed\n"},
        {"app.scripts.run(\"\")", "script \"\" is not installed\n"},
        {"app.scripts.installed[1] = \"x\"", "\"app.scripts.installed[1]\" is read only!\n"},
    };
    for (const auto& c : cases) EXPECT_EQ(run(c.text), c.error);
    EXPECT_EQ(listed(), "a.py ");
    qvplatform::fileSystem().remove(file);
    EXPECT_EQ(run("app.scripts.run(\"a.py\")"),
              "Error executing script: installed script file \"a.py\" not found in \"" +
                  directory.path() + "\"");
}

TEST_F(ScriptManagerTest, the_list_is_kept_among_the_settings_and_shared_with_other_processes) {
    qvSettingsPlace place;
    place.kind = qvSettingsPlace::Kind::file;
    place.file = directory.file("settings");
    qvSettingsStore store("optics", place);
    store.edit("installed", [&](qvSettingsEntries& entries) {
        entries = {{"script_10", "z.py"},
                   {"script_2", "b.py"},
                   {"script_x", "kept"},
                   {"scripts_dir", directory.path()}};
    });
    manager.useStore(&store);
    EXPECT_EQ(listed(), "b.py z.py ");
    store.edit("installed", [](qvSettingsEntries& entries) { entries["script_11"] = "other.py"; });
    manager.Install(directory.write("a b.py", "").c_str());
    manager.Up("z.py");
    EXPECT_EQ(store.read("installed"), (qvSettingsEntries{{"script_1", "z.py"},
                                                          {"script_2", "b.py"},
                                                          {"script_3", "other.py"},
                                                          {"script_4", "a b.py"},
                                                          {"script_x", "kept"},
                                                          {"scripts_dir", directory.path()}}));
    run("app.scripts.directory = \"/elsewhere\"");
    EXPECT_EQ(store.read("installed")["scripts_dir"], "/elsewhere");
    manager.useStore(nullptr);
}

TEST_F(ScriptManagerTest, runs_command_files) {
    manager.Install(
        directory.write("a.qv", "app.numsubnodes()\napp.addsubnode(projectTB, Q)\n").c_str());
    EXPECT_EQ(run("app.scripts.run(\"a.qv\"); app.numsubnodes()"), "1");
    EXPECT_EQ(output.takeNormal(), "0\n");
    EXPECT_EQ(application.asked, "");
}

TEST_F(ScriptManagerTest, asks_for_the_port_until_there_is_a_server) {
    if (qvplatform::findProgram("python3").empty()) GTEST_SKIP() << "there is no Python here";
    manager.Install(
        directory.write("a.py", "import os; print(os.environ['QV_SCRIPT_PORT'])").c_str());
    EXPECT_EQ(run("app.scripts.run(\"a.py\")"), "") << "cancelled";
    const std::string question =
        "Set script server port: Script server is not running. Enter the server port number that "
        "the script is expecting: ";
    EXPECT_EQ(application.asked, question + "[5101]\n");
    EXPECT_EQ(output.takeNormal(), "");

    Server taken;
    ASSERT_TRUE(taken.Init(0));
    Server free;
    ASSERT_TRUE(free.Init(0));
    const std::string port = std::to_string(free.localport());
    free.Close();
    application.asked = "";
    application.answers = {port, std::to_string(taken.localport()), "0", "x"};
    EXPECT_EQ(run("app.scripts.run(\"a.py\")"), "");
    EXPECT_EQ(application.asked, question + "[5101]\n" + question + "[x]\n" + question + "[0]\n" +
                                     question + "[" + std::to_string(taken.localport()) + "]\n");
    EXPECT_EQ(output.takeNormal(), "EXECUTING PYTHON SCRIPT...\n" + port + "\n");
    EXPECT_EQ(run("app.scripts.run(\"a.py\")"), "") << "the port is known now";
    EXPECT_EQ(output.takeNormal(), "EXECUTING PYTHON SCRIPT...\n" + port + "\n");

    qvScriptServing& serving = *application.scriptServer();
    ASSERT_TRUE(serving.listen(0));
    const int listening = serving.localport();
    const std::string toTaken =
        "app.scripts.run(\"a.py\", " + std::to_string(taken.localport()) + ")";
    EXPECT_EQ(run(toTaken).substr(0, 14), "socket error: ");
    EXPECT_TRUE(serving.isListening());
    EXPECT_EQ(serving.localport(), listening);

    qvplatform::TcpSocket other;
    ASSERT_EQ(other.connect("127.0.0.1", listening, 5000), qvplatform::ConnectResult::connected);
    serving.serve([&] { return !serving.isConnected(); }, 10);
    output.takeNormal();
    EXPECT_EQ(run("app.scripts.run(\"a.py\", " + port + ")"), "");
    EXPECT_TRUE(serving.isConnected()) << "nobody said that it may be dropped";
    EXPECT_EQ(output.takeNormal(), "");
}

TEST(ScriptManagerAlone, without_a_user_the_missing_port_is_an_error) {
    const TempDirectory directory;
    qvCommandObject commands;
    qvAppBase application("optics", "7.3", commands);
    application.scripts().Install(directory.write("a.py", "").c_str());
    application.scripts().Run("a.py", 0);
    EXPECT_NE(std::string(qverr().chars_and_reset()).find("nobody is there to answer"),
              std::string::npos);
}

}  // namespace
