#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>

#include "qvutils/common/platform/files.h"
#include "tests/support/failing_files.h"
#include "tests/support/temp_directory.h"

namespace fs = std::filesystem;
using qvplatform::fileSystem;
using qvplatform::SafeFile;

namespace {

bool replace(const std::string& path, const std::string& content) {
    SafeFile file;
    return file.open(path) && file.write(content.data(), content.size() / 2) &&
           file.write(content.substr(content.size() / 2)) && file.finish() && file.commit();
}

std::vector<std::string> namesIn(const TempDirectory& directory) {
    std::vector<std::string> names;
    EXPECT_TRUE(qvplatform::FileSystem().listDirectory(directory.path(), names));
    return names;
}

using Names = std::vector<std::string>;

TEST(SafeFile, creates_and_replaces) {
    const TempDirectory directory;
    const std::string path = directory.file("\xC3\xBC \xE2\x82\xAC.txt");
    ASSERT_TRUE(replace(path, "first, and longer"));
    ASSERT_TRUE(replace(path, "second"));
    EXPECT_EQ(contentOf(path), "second");
    EXPECT_EQ(namesIn(directory), Names{"\xC3\xBC \xE2\x82\xAC.txt"});
}

TEST(SafeFile, removes_what_killed_saves_have_left_behind) {
    const TempDirectory directory;
    const auto yesterday = fs::file_time_type::clock::now() - std::chrono::hours(25);
    const Names names = {".qv1-2-3.tmp", ".qv4.tmp", ".qvx.tmp"};
    for (const std::string& name : names) {
        fs::last_write_time(directory.write(name, "x"), yesterday);
    }
    directory.write(names[1], "still being written");
    ASSERT_TRUE(replace(directory.file("a"), "new"));
    EXPECT_EQ(namesIn(directory), (Names{names[1], names[2], "a"}));
}

TEST(SafeFile, leaves_the_target_alone_until_commit_and_when_abandoned) {
    const TempDirectory directory;
    const std::string path = directory.write("a", "old");
    {
        SafeFile file;
        ASSERT_TRUE(file.open(path) && file.write("new"));
        ASSERT_TRUE(file.finish());
        EXPECT_EQ(contentOf(path), "old");
    }
    EXPECT_EQ(contentOf(path), "old");
    EXPECT_EQ(namesIn(directory), Names{"a"});
}

TEST(SafeFile, any_failing_step_leaves_the_old_file_or_the_whole_new_one) {
    const TempDirectory directory;
    const std::string path = directory.write("a", "old");
    const std::string big(100'000, 'x');
    FailingFiles files;
    ASSERT_TRUE(replace(path, big));
    const int total = files.operations();
    for (const auto after : {FailingFiles::worksAgain, FailingFiles::failsOn}) {
        for (int k = 1; k <= total; ++k) {
            directory.write("a", "old");
            files.failAt(k, after);
            const bool replaced = replace(path, big);
            EXPECT_TRUE(files.hasFailed());
            EXPECT_EQ(contentOf(path), replaced ? big : "old") << "step " << k;
            if (after == FailingFiles::worksAgain) {
                EXPECT_EQ(namesIn(directory), Names{"a"}) << "step " << k;
            }
        }
    }
}

TEST(SafeFile, explains_the_first_failure_and_stays_failed) {
    const TempDirectory directory;
    FailingFiles files(FailingFiles::writing);
    SafeFile file;
    ASSERT_TRUE(file.open(directory.file("a")));
    files.failAt(1, FailingFiles::worksAgain, ENOSPC);
    EXPECT_FALSE(file.write("text"));
    EXPECT_NE(file.error().find(qvplatform::errorText(ENOSPC)), std::string::npos) << file.error();
    EXPECT_FALSE(file.write("more") || file.finish() || file.commit());
    EXPECT_EQ(namesIn(directory), Names{});
}

TEST(SafeFile, refuses_directories_read_only_files_and_missing_folders) {
    const TempDirectory directory;
    SafeFile file;
    EXPECT_FALSE(file.open(directory.path()));
    EXPECT_FALSE(file.open(directory.file("none/a")));

    const std::string path = directory.write("fixed", "old");
    fs::permissions(path, fs::perms::owner_read);
    EXPECT_FALSE(file.open(path));
    EXPECT_EQ(file.error(),
              "could not write \"" + path + "\": " + qvplatform::errorText(EACCES));
    EXPECT_EQ(contentOf(path), "old");
    fs::permissions(path, fs::perms::owner_write, fs::perm_options::add);
}

TEST(SafeFile, keeps_access_rights) {
    const TempDirectory directory;
    const std::string path = directory.write("a", "old");
    const fs::perms before = fs::status(path).permissions();
    fs::permissions(path, fs::perms::owner_read | fs::perms::owner_write | fs::perms::owner_exec);
    const fs::perms rights = fs::status(path).permissions();
    SafeFile file;
    ASSERT_TRUE(file.open(path));
    for (const std::string& name : namesIn(directory)) {
        EXPECT_EQ(fs::status(directory.file(name)).permissions(), rights) << "while it is written";
    }
    ASSERT_TRUE(file.write("new") && file.commit());
    EXPECT_EQ(fs::status(path).permissions(), rights);
    ASSERT_TRUE(replace(directory.file("b"), "new"));
    EXPECT_EQ(fs::status(directory.file("b")).permissions(), before) << "as any new file";
}

TEST(SafeFile, writes_through_symbolic_links) {
    const TempDirectory directory;
    const std::string target = directory.write("target", "old");
    std::error_code error;
    fs::create_symlink("target", directory.file("link"), error);
    if (error) GTEST_SKIP() << "no symbolic links here";
    fs::create_symlink("link", directory.file("link2"));
    fs::create_symlink("later", directory.file("dangling"));
    ASSERT_TRUE(replace(directory.file("link2"), "new"));
    ASSERT_TRUE(replace(directory.file("dangling"), "made"));
    EXPECT_EQ(contentOf(target), "new");
    EXPECT_EQ(contentOf(directory.file("later")), "made");
    EXPECT_TRUE(fs::is_symlink(directory.file("link")));
    EXPECT_TRUE(fs::is_symlink(directory.file("link2")));
    EXPECT_TRUE(fs::is_symlink(directory.file("dangling")));
}

TEST(SafeFile, a_device_is_written_and_not_replaced) {
    if (fileSystem().status("/dev/null").kind != qvplatform::FileKind::other) GTEST_SKIP();
    EXPECT_TRUE(replace("/dev/null", "text"));
    EXPECT_EQ(fileSystem().status("/dev/null").kind, qvplatform::FileKind::other);
}

}  // namespace
