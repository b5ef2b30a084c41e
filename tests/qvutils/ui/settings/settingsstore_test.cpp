// Where settings are kept: several writers, files that are damaged, and disks that fail.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <wx/confbase.h>

#include <string>

#include "qvutils/common/error/qverror.h"
#include "qvutils/common/platform/filelock.h"
#include "qvutils/common/platform/files.h"
#include "qvutils/common/platform/process.h"
#include "qvutils/ui/app/qvapp.h"
#include "tests/support/captured_output.h"
#include "tests/support/failing_files.h"
#include "tests/support/temp_directory.h"

namespace {

using testing::HasSubstr;

struct SettingsStoreTest : testing::Test {
    UnsyncedFiles files;
    TempDirectory directory;
    CapturedOutput output;
    std::string path = directory.file("optics.conf");
    qvSettingsPlace place = qvSettingsPlace::named(path);

    /// Runs commands in an application of its own, which then ends.
    void run(const std::string& text) {
        qvCommandObject commands;
        qvApp app("optics", "7.3", commands, place);
        EXPECT_TRUE(commands.Execute(text.c_str())) << qverr().chars_and_reset();
    }
    std::string valueOf(const char* key) {
        qvSettings settings;
        settings.load(qvSettingsStore("optics", place));
        return qvFindSetting(key)->write(settings.values());
    }
};

TEST_F(SettingsStoreTest, what_was_not_changed_is_not_written) {
    run("app.numsubnodes()");
    EXPECT_FALSE(qvplatform::fileSystem().status(path).exists());
    run("app.settings.mainX = 5");
    EXPECT_EQ(contentOf(path).find("mainY"), std::string::npos);
    EXPECT_EQ(valueOf("mainX"), "5");
}

TEST_F(SettingsStoreTest, of_two_applications_each_keeps_what_it_changed) {
    run("app.settings.mainX = 1; app.settings.mainY = 1");
    qvSettingsStore first("optics", place);
    qvSettings settings;
    settings.load(first);
    run("app.settings.mainX = 2; app.settings.materialDir = \"/m\"");
    settings.set(*qvFindSetting("mainY"), "3");
    EXPECT_TRUE(settings.save(first));
    EXPECT_EQ(valueOf("mainX"), "2");
    EXPECT_EQ(valueOf("mainY"), "3");
    EXPECT_EQ(valueOf("materialDir"), "/m");
}

TEST_F(SettingsStoreTest, comments_and_strange_keys_stay) {
    directory.write("optics.conf",
                    "# mine\n[other]\nkey = value\n[options]\n; why\nmainX=1\nnew=2\n");
    run("app.settings.mainX = 7");
    const std::string text = contentOf(path);
    for (const char* kept : {"# mine", "key = value", "; why", "mainX=7", "new=2"})
        EXPECT_THAT(text, HasSubstr(kept));
}

TEST_F(SettingsStoreTest, recent_files_of_all_applications_come_together) {
    const std::string before = qvplatform::currentDirectory();
    ASSERT_TRUE(qvplatform::setCurrentDirectory(directory.path()));
    const auto save = [](const std::string& name) {
        return "app.addsubnode(\"projectTB\", \"" + name + "\"); app.findnode(\"" + name +
               "\").savetofile(\"" + name + "\")\n";
    };
    qvCommandObject commands;
    {
        qvApp app("optics", "7.3", commands, place);
        commands.Execute((save("a") + save("b") + save("a")).c_str());
        std::string many;
        for (char c = 'c'; c <= 'i'; ++c) many += save(std::string(1, c));
        qvSettingsStore other("optics", place);
        qvRecentFiles others;
        others.use("/elsewhere/x");
        others.use("/elsewhere/y");
        EXPECT_TRUE(others.save(other));
        commands.Execute(many.c_str());
    }
    qvApp app("optics", "7.3", commands, place);
    QVString text;
    commands.getPublishedElt("app.recentfiles[1]").getValueText(text);
    EXPECT_EQ(text, directory.file("i").c_str());
    commands.getPublishedElt("app.recentfiles[8]").getValueText(text);
    EXPECT_EQ(text, directory.file("a").c_str());
    EXPECT_TRUE(commands.Execute("app.openrecent(9); app.findnode(\"b\").numsubnodes()"));
    EXPECT_FALSE(commands.Execute("app.openrecent(10)"));
    EXPECT_STREQ(qverr().chars_and_reset(), "there is no recent file 10\n");
    EXPECT_TRUE(qvplatform::setCurrentDirectory(before));
}

TEST_F(SettingsStoreTest, parts_of_the_application_have_groups_of_their_own) {
    qvSettingsStore store("optics", place);
    EXPECT_TRUE(store.read("installed").empty());
    EXPECT_TRUE(store.edit("installed", [](qvSettingsEntries& entries) {
        entries = {{"script_1", "a b"}, {"script_2", ""}, {"scripts_dir", "/s\n\xC3\xA9"}};
    }));
    run("app.settings.mainX = 4");
    EXPECT_TRUE(store.edit("installed", [](qvSettingsEntries& entries) {
        EXPECT_EQ(entries.size(), 3u);
        entries.erase("script_1");
        entries["script_2"] = "c";
    }));
    EXPECT_EQ(store.read("installed"),
              (qvSettingsEntries{{"script_2", "c"}, {"scripts_dir", "/s\n\xC3\xA9"}}));
    EXPECT_EQ(store.read("options").at("mainX"), "4");
    EXPECT_FALSE(store.edit("g", [](qvSettingsEntries& entries) { entries["k"] = "\xFF"; }));
    EXPECT_THAT(output.takeWarnings(), HasSubstr("not UTF-8"));
}

TEST_F(SettingsStoreTest, a_damaged_file_is_told_and_does_not_end_anything) {
    const struct {
        std::string text;
        const char* warning;
        bool written;
    } cases[] = {
        {"[options]\nmainX=5\nmainY=\xFF\n", "line 3 holds bytes that are not UTF-8 text", true},
        {std::string("\0[options]\nmainX=5\n", 18), "line 1 holds bytes", true},
        {"[options\nmainX\n[options]\nmainX=5", "line 2: '=' expected", true},
        {"[options]\nmainX=5\n[a]\n[options]\nmainX=6", "", true},
        {"[options]\nmainX=5\nmainX=6\n", "more than once", true},
        {"[options]\nmainX=5\n" + std::string(300'000, '#'), "too large", false},
        {"[options]\nmainX=5\n[a" + std::string(100, '/') + "]\n", "too deep", false},
        {std::string(20'000, '\n') + std::string(5'000, '['), "unexpected character", true},
        {std::string(100'000, '=') + "\n\\\n=\"\n[..]\n[/]\n[]\n", "", true},
    };
    for (const auto& one : cases) {
        directory.write("optics.conf", one.text);
        run("app.settings.mainWidth = 2");
        EXPECT_THAT(output.takeWarnings(), HasSubstr(one.warning)) << one.text.substr(0, 50);
        output.takeNormal();
        EXPECT_EQ(valueOf("mainWidth"), one.written ? "2" : "1200") << one.text.substr(0, 50);
        if (!one.written) {
            EXPECT_EQ(contentOf(path), one.text);
        }
        output.takeWarnings();
    }
    directory.write("optics.conf", "[options]\nmainY=\xFF\n");
    run("app.settings.mainX = 2");
    EXPECT_EQ(contentOf(path + ".damaged"), "[options]\nmainY=\xFF\n");
}

TEST_F(SettingsStoreTest, what_cannot_be_written_is_told_and_left_as_it_was) {
    directory.write("optics.conf", "[options]\nmainX=5\n");
    place.file = directory.path();
    run("app.settings.mainX = 6");
    EXPECT_THAT(output.takeWarnings(), HasSubstr("could not"));
    place.file = path;
    run("app.settings.materialDir = " + std::string(300'000, 'x'));
    EXPECT_THAT(output.takeWarnings(), HasSubstr("too large"));
    EXPECT_EQ(valueOf("mainX"), "5");
    FailingFiles disk;
    run("app.settings.mainX = 6");
    const int total = disk.operations();
    for (int k = 1; k <= total; ++k) {
        disk.failNever();
        directory.write("optics.conf", "[options]\nmainX=5\n");
        disk.failAt(k);
        run("app.settings.mainX = 6");
        disk.failNever();
        const std::string kept = valueOf("mainX");
        EXPECT_TRUE(kept == "6" || (kept == "5" && !output.takeWarnings().empty())) << k;
        output.takeWarnings();
    }
}

TEST_F(SettingsStoreTest, nowhere_keeps_nothing) {
    place = qvSettingsPlace::named("none");
    run("app.settings.mainX = 6");
    qvCommandObject commands;
    const qvApp app("optics", "7.3", commands, place);
    EXPECT_FALSE(commands.Execute("app.settings.mainX = 6; app.savesettings()"));
    EXPECT_STREQ(qverr().chars_and_reset(), "the settings were not kept in nowhere\n");
}

TEST_F(SettingsStoreTest, the_users_own_store_is_shared_by_applications_of_a_name) {
    // Its own name keeps the test away from every real application.
    const std::string name = "qvcore-test-" + std::to_string(qvplatform::processId());
    qvSettingsStore store(name, {});
    qvSettings settings;
    settings.set(*qvFindSetting("mainX"), "-7");
    settings.set(*qvFindSetting("faceName"), "\xC3\xA9 %PATH% $HOME");
    EXPECT_TRUE(settings.save(store));
    EXPECT_TRUE(store.edit("installed", [](qvSettingsEntries& entries) { entries["k"] = "v\n"; }));

    const qvSettingsStore again(name, {});
    qvSettings read;
    read.load(again);
    EXPECT_EQ(read.values().mainX, -7);
    EXPECT_STREQ(read.values().faceName.Chars(), "\xC3\xA9 %PATH% $HOME");
    EXPECT_EQ(again.read("installed"), (qvSettingsEntries{{"k", "v\n"}}));
    EXPECT_EQ(again.read("options"), (qvSettingsEntries{{"mainX", "-7"}}));

    store.changeConfig([](wxConfigBase& config) { config.DeleteAll(); });
    EXPECT_TRUE(again.read("installed").empty());
    qvplatform::fileSystem().remove(store.place());
    EXPECT_EQ(output.takeWarnings(), "");
}

TEST(FileLock, has_one_holder_at_a_time) {
    const TempDirectory directory;
    const std::string path = directory.file("lock");
    qvplatform::FileLock first;
    qvplatform::FileLock second;
    EXPECT_TRUE(first.acquire(path, 0));
    EXPECT_FALSE(second.acquire(path, 20));
    EXPECT_EQ(errno, EAGAIN);
    first.release();
    EXPECT_TRUE(second.acquire(path, 0));
    EXPECT_FALSE(first.acquire(directory.file("no/lock"), 0));
}

}  // namespace
