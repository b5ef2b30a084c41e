// The table of settings, reading and writing them, and their effects.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <wx/fileconf.h>
#include <wx/init.h>
#include <wx/mstream.h>

#include <set>
#include <string>

#include "qvutils/common/error/qverror.h"
#include "qvutils/common/materials/materialfiles.h"
#include "qvutils/common/platform/files.h"
#include "qvutils/common/platform/priority.h"
#include "qvutils/common/platform/process.h"
#include "qvutils/ui/app/qvapp.h"
#include "tests/support/captured_output.h"
#include "tests/support/failing_files.h"
#include "tests/support/temp_directory.h"

namespace {

using testing::HasSubstr;

// A path as an argument of a command.
std::string quoted(const std::string& path) {
    std::string text = "\"";
    for (char c : path) text += c == '\\' ? "\\\\" : std::string(1, c);
    return text + "\"";
}

const qvSettingsPlace nowhere = qvSettingsPlace::named("none");

/// An application without a store, and a configuration of the toolkit beside it.
struct SettingsTest : testing::Test {
    wxInitializer toolkit;
    CapturedOutput output;
    qvCommandObject commands;
    qvApp app{"optics", "7.3", commands, nowhere};

    static std::unique_ptr<wxFileConfig> config(const std::string& text) {
        wxMemoryInputStream stream(text.data(), text.size());
        return std::make_unique<wxFileConfig>(stream, wxConvUTF8);
    }
    bool execute(const std::string& text) { return commands.Execute(text.c_str()); }
    const qvSettingValues& values() { return app.settings().values(); }
};

TEST(SettingsTable, every_row_has_a_key_of_its_own_a_help_and_a_value_at_first) {
    std::set<std::string> keys;
    const qvSettingValues atFirst;
    for (const qvSettingRow& row : qvSettingRows()) {
        EXPECT_TRUE(keys.insert(row.key).second) << row.key;
        EXPECT_EQ(std::string(row.key).find_first_of(" ./=[]"), std::string::npos) << row.key;
        EXPECT_STRNE(row.help, "") << row.key;
        EXPECT_EQ(row.write(atFirst), row.atFirst) << row.key;
        EXPECT_EQ(qvFindSetting(row.key), &row);
    }
}

TEST(SettingsTable, a_number_is_taken_within_its_range_alone) {
    const struct {
        const char* key;
        const char* taken[3];
        const char* refused[5];
    } cases[] = {
        {"mainX", {"-100000", "1000000", "0"}, {"-100001", "1000001", "", "1x", "0x10"}},
        {"mainHeight", {"1", "10000", "800"}, {"0", "10001", "1.5", " 7", "99999999999999999999"}},
        {"cpuPriority", {"1", "5", "3"}, {"0", "6", "three", "-1", "+2"}},
        {"projectWindowShown", {"0", "1", "1"}, {"2", "-1", "yes", "true", ""}},
        {"diagnosticlevel",
         {"-2147483648", "2147483647", "2"},
         {"2147483648", "", "-", "a", "1 2"}},
        {"stopOnError", {"0", "1", "true"}, {"2", "", "yes", "-1", "True"}},
    };
    for (const auto& one : cases) {
        const qvSettingRow& row = *qvFindSetting(one.key);
        qvSettingValues values;
        for (const char* text : one.taken) EXPECT_TRUE(row.read(values, text)) << one.key << text;
        const std::string last = row.write(values);
        for (const char* text : one.refused)
            EXPECT_FALSE(row.read(values, text)) << one.key << text;
        EXPECT_EQ(row.write(values), last);
    }
}

TEST(SettingsTable, is_the_one_in_the_document) {
    const std::string document = contentOf(QV_SETTINGS_DOCUMENT);
    std::string table;
    for (const qvSettingRow& row : qvSettingRows()) {
        const std::string key = (*row.group ? std::string(row.group) + "." : "") + row.key;
        table +=
            "| `" + key + "` | " + row.type() + " | " + row.atFirst + " | " + row.help + " |\n";
    }
    EXPECT_THAT(document, HasSubstr("|---|---|---|---|\n" + table + "\n"));
}

TEST_F(SettingsTest, all_come_back_as_they_were_written) {
    ASSERT_TRUE(execute(
        "app.settings.mainX = -5; app.settings.SoundsEnabled = false\n"
        "app.settings.startupDir = \" a=b # $HOME %PATH% [x] \\\\ \\\"q\\\" \\n\xC3\xA0 \"\n"
        "app.settings.commandline.faceName = \"Mono\"; app.settings.commandline.bgColour = -1"));
    const auto file = config("top=1\n[mine]\nstranger=kept\nmainY=7\n");
    file->SetExpandEnvVars(false);
    file->SetPath("/elsewhere");
    EXPECT_TRUE(app.WriteOptions(*file, "/mine"));
    EXPECT_EQ(file->GetPath(), "/elsewhere");
    file->SetPath("/");
    EXPECT_EQ(file->Read("mine/stranger", ""), "kept");
    EXPECT_EQ(file->Read("top", ""), "1");

    qvSettings other;
    EXPECT_TRUE(other.read(*file, "mine"));
    EXPECT_EQ(file->GetPath(), "");
    for (const qvSettingRow& row : qvSettingRows())
        EXPECT_EQ(row.write(other.values()), row.write(values())) << row.key;
    EXPECT_EQ(other.values().mainY, 100);
}

TEST_F(SettingsTest, what_does_not_suit_is_left_aside_on_reading) {
    const auto file = config(
        "[o]\nmainX=100000000\nmainWidth=wide\ncpuPriority=0\npauseOnError=7\nSoundsEnabled="
        "false\nstopOnError=x\n"
        "mainHeight=\nmainY=-100000\nstrange=1\nmaterialDir=/m\n[o/commandline]\npointSize=12\n"
        "fgColour=red\n[o/mainX]\na=b\n");
    ASSERT_TRUE(execute("app.settings.mainX = 11"));
    EXPECT_TRUE(app.ReadOptions(*file, "o"));
    EXPECT_EQ(values().mainX, 11);
    EXPECT_EQ(values().mainWidth, 1200);
    EXPECT_EQ(values().cpuPriority, 3);
    EXPECT_TRUE(values().pauseOnError);
    EXPECT_FALSE(values().SoundsEnabled);
    EXPECT_FALSE(values().stopOnError);
    EXPECT_EQ(values().mainY, -100000);
    EXPECT_STREQ(values().materialDir.Chars(), "/m");
    EXPECT_EQ(values().pointSize, 12);
    EXPECT_EQ(values().fgColour, 0);
    EXPECT_FALSE(app.ReadOptions(*file, "nothing here"));
    EXPECT_EQ(output.takeWarnings(), "");
}

TEST_F(SettingsTest, are_set_by_the_command_language_within_their_range) {
    EXPECT_TRUE(execute("app.settings.cpuPriority = 3; app.settings.commandline.pointSize = 14"));
    EXPECT_EQ(values().pointSize, 14);
    EXPECT_FALSE(execute("app.settings.cpuPriority = 6"));
    EXPECT_STREQ(qverr().chars_and_reset(), "cpuPriority must be 1 to 5, not \"6\"\n");
    EXPECT_FALSE(execute("app.settings.materialDir = \"\xFF\""));
    qverr().reset();
    EXPECT_EQ(values().cpuPriority, 3);
    EXPECT_TRUE(execute("app.settings.reset(\"pointSize\")"));
    EXPECT_EQ(values().pointSize, 10);
    EXPECT_FALSE(execute("app.settings.reset(\"pointsize\")"));
    EXPECT_STREQ(qverr().chars_and_reset(), "there is no setting \"pointsize\"\n");
}

TEST_F(SettingsTest, have_their_effect_at_once) {
    const TempDirectory directory;
    directory.write("only-here.mat", "");
    EXPECT_EQ(qvFindMaterialFile("only-here.mat"), "");
    EXPECT_TRUE(execute("app.settings.materialDir = " + quoted(directory.path())));
    EXPECT_EQ(qvFindMaterialFile("only-here.mat"), directory.file("only-here.mat"));
    EXPECT_TRUE(execute("app.settings.reset(\"materialDir\")"));
    EXPECT_EQ(qvFindMaterialFile("only-here.mat"), "");

    EXPECT_TRUE(execute("app.settings.cpuPriority = 2"));
    EXPECT_EQ(qvplatform::processPriority(), 2);
    qvplatform::setProcessPriority(3);  // where that is allowed

    const std::string before = qvplatform::currentDirectory();
    EXPECT_TRUE(execute("app.setwdir(" + quoted(directory.path()) + ")"));
    EXPECT_EQ(values().currentDir, qvplatform::currentDirectory().c_str());
    EXPECT_TRUE(qvplatform::setCurrentDirectory(before));
    app.enterStartupDirectory(false);
    EXPECT_EQ(qvplatform::currentDirectory(), before);
    app.enterStartupDirectory(true);
    EXPECT_EQ(values().currentDir, qvplatform::currentDirectory().c_str());
    EXPECT_TRUE(qvplatform::setCurrentDirectory(before));
    EXPECT_TRUE(execute("app.settings.startupDir = " + quoted(directory.file("none"))));
    app.enterStartupDirectory(true);
    EXPECT_EQ(qvplatform::currentDirectory(), before);
    EXPECT_THAT(output.takeWarnings(), HasSubstr("could not change to directory"));
}

TEST(DiagnosticLevel, lets_warnings_and_messages_through) {
    CapturedOutput output;
    qvCommandObject commands;
    qvApp app("optics", "7.3", commands, nowhere);
    const struct {
        const char* level;
        const char* normal;
        const char* warning;
    } cases[] = {{"-1", "", ""}, {"0", "", "w\n"}, {"1", "n\n", "w\n"}, {"9", "n\n", "w\n"}};
    for (const auto& one : cases) {
        commands.Execute((std::string("app.settings.diagnosticlevel = ") + one.level).c_str());
        lprintf("n\n");
        wlprintf("w\n");
        EXPECT_EQ(output.takeNormal(), one.normal) << one.level;
        EXPECT_EQ(output.takeWarnings(), one.warning) << one.level;
    }
}

struct RecordTest : SettingsTest {
    UnsyncedFiles files;
    TempDirectory directory;

    // What replaying a command file makes, as text.
    std::string projectMadeBy(const std::string& file) {
        execute("app.closeall()");
        commands.RunFile(file);
        qverr().reset();
        QVString text;
        commands.getPublishedElt("app.subnodes[1].writeblock()").getValueText(text);
        return text.Chars();
    }
};

TEST_F(RecordTest, what_is_recorded_and_what_is_logged_replay_to_the_same_project) {
    const std::string log = directory.file("commands.qv");
    const std::string record = directory.file("record.qv");
    const std::string inner = directory.write("inner.qv", "p.addsubnode(\"notesTB\", \"n;1\")\nno.such\n");
    execute("app.settings.commandLogFile = " + quoted(log) +
            "; app.settings.enableRecord = 1\n"
            "app.addsubnode(\"projectTB\", \"P\"); Ref& p = app.subnodes[1] // the one\n"
            "app.runfile(" +
            quoted(inner) +
            "); nonsense(\n"
            "p.subnodes[1].text = \"a // b; \\\"c\\\"\"; app.saverecord(" +
            quoted(record) +
            ")\n"
            "app.settings.enableRecord = 0; p.subnodes[1].rename(\"m\")");
    qverr().reset();
    QVString made;
    commands.getPublishedElt("app.subnodes[1].writeblock()").getValueText(made);

    const std::string recorded = contentOf(record);
    EXPECT_THAT(recorded, HasSubstr("Ref& p = app.subnodes[1]  // the one\n"));
    EXPECT_THAT(recorded, HasSubstr("// failed: nonsense(\n"));
    EXPECT_THAT(recorded, testing::Not(HasSubstr("n;1")));
    EXPECT_THAT(contentOf(log), HasSubstr("nonsense(\n// error: parse error: missing ')' ?\n"));
    execute("app.settings.commandLogFile = \"\"");
    EXPECT_EQ(projectMadeBy(log), made.Chars());
    made.GSub("\"m\"", "\"n;1\"");
    EXPECT_EQ(projectMadeBy(record), made.Chars());
}

TEST_F(RecordTest, the_output_log_has_results_messages_and_errors) {
    const std::string log = directory.write("output.txt", "of yesterday\n");
    execute("app.settings.outputLogFile = " + quoted(log) + "\napp.numsubnodes(); zzz");
    wlprintf("warned\n");
    EXPECT_THAT(contentOf(log), testing::StartsWith("of yesterday\n// optics 2"));
    EXPECT_THAT(contentOf(log),
                testing::EndsWith("\n0\nError: could not find item \"zzz\"\nwarned\n"));
    output.takeWarnings();
    execute("app.settings.outputLogFile = " + quoted(directory.path()));
    EXPECT_THAT(output.takeWarnings(), HasSubstr("could not write the log file"));
    EXPECT_TRUE(execute("app.numsubnodes()"));
}

TEST_F(RecordTest, a_command_file_that_cannot_be_run_is_an_error) {
    const std::string itself = directory.file("itself.qv");
    directory.write("itself.qv", "app.runfile(" + quoted(itself) + ")");
    EXPECT_FALSE(execute("app.runfile(" + quoted(itself) + ")"));
    EXPECT_THAT(output.takeWarnings(), HasSubstr("more than 64 deep"));
    EXPECT_FALSE(execute("app.runfile(" + quoted(directory.file("none.qv")) + ")"));
    EXPECT_THAT(qverr().chars_and_reset(), HasSubstr("none.qv: No such file"));
}

}  // namespace
