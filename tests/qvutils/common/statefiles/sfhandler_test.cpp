#include "qvutils/common/statefiles/sfhandler.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <string>

#include "qvutils/common/error/qverror.h"
#include "qvutils/common/platform/files.h"
#include "tests/support/captured_output.h"
#include "tests/support/failing_files.h"
#include "tests/support/temp_directory.h"

namespace fs = std::filesystem;

namespace {

std::string number(std::uint32_t n) {
    std::string bytes;
    for (int i = 0; i < 4; ++i) {
        bytes += static_cast<char>(n >> 8 * i);
    }
    return bytes;
}

std::string record(const std::string& key, const std::string& name, const std::string& content) {
    return "FILENAME_VER2" + number(static_cast<std::uint32_t>(key.size())) + key +
           number(static_cast<std::uint32_t>(name.size())) + name +
           number(static_cast<std::uint32_t>(content.size())) + content;
}

const char* const damaged = "***WARNING*** invalid project state file\n";

class SideFiles : public testing::Test {
protected:
    SideFiles() {
        qverr().reset();
        EXPECT_TRUE(SFHandler::InitialiseCacheDir(cache.c_str()));
    }
    ~SideFiles() override {
        handler.DeleteAll();
        SFHandler::InitialiseCacheDir(nullptr);
        qverr().reset();
    }
    void use(const char* name, const std::string& content) {
        std::ofstream(handler.UseSFile(name), std::ios::binary) << content;
    }
    /// The state file that a save would leave; its failures are errors.
    bool store(const char* key) {
        FILE* file = qvplatform::FileSystem().open(state, "wb");
        const bool stored = handler.StoreSFiles(file, key);
        qvplatform::FileSystem().close(file);
        return stored;
    }
    bool extract(const std::string& bytes, const char* key = "wg") {
        FILE* file = qvplatform::FileSystem().open(directory.write("in.sta", bytes), "rb");
        const bool extracted = handler.ExtractSFiles(file, key);
        qvplatform::FileSystem().close(file);
        return extracted;
    }
    /// The handler's side files.
    std::map<std::string, std::string> held() const {
        std::map<std::string, std::string> all;
        for (int i = 0; const char* name = handler.getSFileName(i); ++i) {
            all[name] = contentOf(handler.getSFile(name));
        }
        return all;
    }
    int filesInCache() const {
        return static_cast<int>(std::distance(fs::directory_iterator(cache), {}));
    }
    using Held = std::map<std::string, std::string>;

    TempDirectory directory;
    const std::string cache = directory.file("cache");
    const std::string state = directory.file("out.sta");
    CapturedOutput output;
    SFHandler handler;
};

TEST_F(SideFiles, are_stored_byte_for_byte) {
    const std::string large(25001, 'L');
    use("modes", std::string("a\0\r\n\x1A\xFF", 6));
    use("large", large);
    use("empty", "");
    handler.UseSFile("never written");
    use("unused", "x");
    handler.ReleaseSFile("unused");
    ASSERT_TRUE(store("p/wg"));
    const std::string expected =
        record("p/wg", "modes", std::string("a\0\r\n\x1A\xFF", 6)) + record("p/wg", "large", large);
    EXPECT_EQ(contentOf(state), expected);
    ASSERT_TRUE(extract(expected, "p/wg"));
    EXPECT_EQ(held(), (Held{{"modes", std::string("a\0\r\n\x1A\xFF", 6)}, {"large", large}}));
    EXPECT_EQ(output.takeWarnings(), "");
}

TEST_F(SideFiles, belong_to_the_owner_with_the_key) {
    const std::string bytes = record("other", "a", "1") + record("wg", "b", "2") +
                              record("w", "c", "3") + record("wg", "d", "4");
    use("old", "gone");
    ASSERT_TRUE(extract(bytes));
    EXPECT_EQ(held(), (Held{{"b", "2"}, {"d", "4"}}));
    EXPECT_EQ(filesInCache(), 2);
    ASSERT_TRUE(extract(bytes, "nobody"));
    EXPECT_EQ(filesInCache(), 0);
}

TEST_F(SideFiles, after_a_record_without_content_are_not_read) {
    ASSERT_TRUE(extract(record("wg", "a", "1") + record("x", "b", "") + record("wg", "c", "3")));
    EXPECT_EQ(held(), (Held{{"a", "1"}}));
    EXPECT_EQ(output.takeWarnings(), "");
}

TEST_F(SideFiles, before_the_damage_are_kept) {
    const std::string good = record("wg", "a", "1");
    const std::string next = record("wg", "name", "content");
    for (std::size_t length = 1; length < next.size(); ++length) {
        EXPECT_TRUE(extract(good + next.substr(0, length)));
        EXPECT_EQ(held(), (Held{{"a", "1"}})) << length;
        EXPECT_EQ(output.takeWarnings(), damaged) << length;
    }
    for (const std::size_t field : {13, 19, 27}) {  // the three lengths
        for (const std::uint32_t length : {0x7fffffffu, 0x80000000u, 0xffffffffu, 1000u}) {
            std::string bad = next;
            bad.replace(field, 4, number(length));
            EXPECT_TRUE(extract(good + bad));
            EXPECT_EQ(held(), (Held{{"a", "1"}})) << field;
            EXPECT_EQ(output.takeWarnings(), damaged) << field;
        }
    }
    EXPECT_FALSE(qverr());
}

TEST_F(SideFiles, never_leave_the_cache_directory) {
    std::string bytes;
    for (const char* name : {"../../up", "/tmp/abs", "C:\\x", "CON", "..", "", "a/b:c*?\"<>|\n."}) {
        bytes += record("../../wg", name, "x");
    }
    bytes += record("../../wg", std::string(500, 'n'), "x");
    ASSERT_TRUE(extract(bytes, "../../wg"));
    EXPECT_EQ(handler.getNSFiles(), 8);
    EXPECT_EQ(filesInCache(), 8);
    ASSERT_TRUE(store("../../wg"));
    EXPECT_EQ(contentOf(state), bytes);
}

TEST_F(SideFiles, of_2_GiB_are_named_and_not_stored) {
    use("huge", "");
    fs::resize_file(handler.getSFile("huge"), std::uintmax_t{1} << 31);
    EXPECT_TRUE(store("wg"));
    EXPECT_EQ(contentOf(state), "");
    EXPECT_NE(output.takeWarnings().find("\"huge\" is not stored"), std::string::npos);
}

TEST_F(SideFiles, are_copied_with_their_content) {
    use("a", "1");
    {
        SFHandler copy;
        ASSERT_TRUE(copy.Copy(handler));
        EXPECT_NE(copy.getSFile("a"), handler.getSFile("a"));
        EXPECT_EQ(contentOf(copy.getSFile("a")), "1");
        EXPECT_EQ(filesInCache(), 2);
    }
    EXPECT_EQ(filesInCache(), 1);
}

TEST_F(SideFiles, of_a_busy_handler_are_left_alone) {
    use("a", "1");
    handler.setBusy(true);
    EXPECT_FALSE(store("wg"));
    EXPECT_NE(std::string(qverr().chars_and_reset()).find("SFHandler::StoreSFiles"),
              std::string::npos);
    EXPECT_FALSE(extract(record("wg", "b", "2")));
    EXPECT_NE(std::string(qverr().chars_and_reset()).find("SFHandler::ExtractSFiles"),
              std::string::npos);
    EXPECT_EQ(held(), (Held{{"a", "1"}}));
}

TEST_F(SideFiles, survive_a_failure_of_any_operation_or_say_so) {
    const std::string content(15000, 'x');
    use("a", content);
    const std::string expected = record("wg", "a", content);
    FailingFiles files;
    for (int k = 1; k <= 12; ++k) {
        files.failAt(k);
        const bool stored = store("wg");
        const bool failed = files.hasFailed();
        files.failNever();
        EXPECT_EQ(stored, !qverr()) << k;
        EXPECT_TRUE(failed || stored) << k;
        EXPECT_TRUE(!stored || contentOf(state) == expected) << k;
        qverr().reset();
    }
    FILE* file = qvplatform::FileSystem().open(state, "rb");
    for (int k = 1; k <= 20; ++k) {
        SFHandler other;
        files.failAt(k);
        const bool extracted = other.ExtractSFiles(file, "wg");
        const bool failed = files.hasFailed();
        files.failNever();
        EXPECT_EQ(extracted, !qverr()) << k;
        qverr().reset();
        EXPECT_EQ(filesInCache(), 1 + other.getNSFiles()) << k;
        if (other.getNSFiles()) {
            EXPECT_EQ(contentOf(other.getSFile("a")), content) << k;
        } else {
            EXPECT_TRUE(failed && (!extracted || output.takeWarnings() == damaged)) << k;
        }
    }
    qvplatform::FileSystem().close(file);
}

TEST_F(SideFiles, that_nobody_owns_are_written_back) {
    const std::string first = record("lost", "a", "1");
    const std::string second = record("lost", "a", "2") + record("", "", "3");
    const std::string path = directory.write("in.sta", first + record("wg", "b", "4") + second);
    StateFileRecords records;
    ASSERT_TRUE(records.open(path.c_str()));
    EXPECT_FALSE(StateFileRecords().open(directory.file("none").c_str()));
    ASSERT_TRUE(handler.ExtractSFiles(records, "wg"));
    EXPECT_EQ(held(), (Held{{"b", "4"}}));
    StrayRecords strays;
    ASSERT_TRUE(strays.Collect(records));
    EXPECT_TRUE(records.unclaimed().empty());
    FILE* file = qvplatform::fileSystem().open(state, "wb");
    EXPECT_TRUE(strays.Store(file));
    qvplatform::fileSystem().close(file);
    EXPECT_EQ(contentOf(state), first + second);
    strays.DeleteAll();
    EXPECT_EQ(filesInCache(), 1);
}

TEST_F(SideFiles, of_many_owners_are_found_in_one_pass) {
    FILE* file = qvplatform::fileSystem().open(
        directory.write("in.sta", record("wg", "a", "1") + record("b", "b", "2") + "damage"), "rb");
    {
        StateFileRecords records;
        records.scan(file);
        EXPECT_EQ(output.takeWarnings(), damaged);
        EXPECT_TRUE(handler.ExtractSFiles(file, "wg"));
        EXPECT_EQ(output.takeWarnings(), "");
        EXPECT_EQ(records.unclaimed(), std::vector<std::size_t>{1});
    }
    EXPECT_TRUE(handler.ExtractSFiles(file, "wg"));
    EXPECT_EQ(output.takeWarnings(), damaged);
    qvplatform::fileSystem().close(file);
}

TEST_F(SideFiles, have_a_directory_that_comes_and_goes) {
    const fs::perms rights = fs::status(cache).permissions();
    if (qvplatform::pathSeparator() == '/') {
        EXPECT_EQ(rights & (fs::perms::group_all | fs::perms::others_all), fs::perms::none);
    }
    EXPECT_EQ(SFHandler::getCacheDir().view(), cache);
    use("a", "1");
    EXPECT_FALSE(SFHandler::InitialiseCacheDir(directory.write("file", "x").c_str()));
    EXPECT_TRUE(qverr());
    EXPECT_FALSE(fs::exists(cache));
    EXPECT_EQ(SFHandler::getCacheDir().view(), "");
    EXPECT_EQ(handler.UseSFile("b"), "");
    EXPECT_NE(SFHandler::privateCacheDir().view(), SFHandler::privateCacheDir().view());

    EXPECT_TRUE(SFHandler::InitialiseCacheDir(directory.path().c_str()));
    SFHandler::InitialiseCacheDir("");
    EXPECT_TRUE(fs::exists(directory.path()));  // was there before
}

TEST(StateFileName, stands_beside_the_project_file) {
    const std::string separator(1, qvplatform::pathSeparator());
    const std::map<std::string, std::string> cases = {
        {"chip.prj", "chip_prj.sta"},
        {"a.b.c", "a.b_c.sta"},
        {"C:\\work\\model", "C:\\work\\model_.sta"},
        {"/home/a.b/wg[1].prj", "/home/a.b/wg[1]_prj.sta"},
        {"/wg]2.prj", "/wg]2_prj.sta"},
        {"D:model.prj", "D:." + separator + "model_prj.sta"},
    };
    for (const auto& [project, expected] : cases) {
        EXPECT_EQ(getCacheFileName(project.c_str()).view(), expected);
    }
}

}  // namespace
