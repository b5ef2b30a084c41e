#include <gtest/gtest.h>

#include "qvutils/common/platform/files.h"
#include "tests/support/failing_files.h"
#include "tests/support/temp_directory.h"

using qvplatform::FileKind;
using qvplatform::fileSystem;
using qvplatform::joinPath;
using qvplatform::readWholeFile;

namespace {

std::string withoutCr(std::string text) {
    text.resize(qvplatform::translateLineEnds(text.data(), text.size()));
    return text;
}

TEST(Files, only_cr_lf_is_translated) {
    EXPECT_EQ(withoutCr("a\r\nb\r\n\r\n"), "a\nb\n\n");
    EXPECT_EQ(withoutCr("a\rb\r\r\nc\n\r"), "a\rb\r\nc\n\r");
    const std::string odd("\x1A\0\r\n\x1A\0", 6);
    EXPECT_EQ(withoutCr(odd), std::string("\x1A\0\n\x1A\0", 5));
    EXPECT_EQ(withoutCr(""), "");
}

TEST(Files, whole_file_is_read_in_binary_with_one_request_for_room) {
    const TempDirectory directory;
    std::string bytes;
    for (int i = 0; i < 100'000; ++i) bytes += static_cast<char>(i * 7 + i / 256);
    const std::string path = directory.write("bytes", bytes);
    std::string text;
    ASSERT_TRUE(readWholeFile(path, text));
    EXPECT_EQ(text, bytes);

    int requests = 0;
    std::size_t length = 0;
    const auto room = [&](std::size_t size) {
        ++requests;
        EXPECT_LE(size, bytes.size() + 1);
        text.resize(size);
        return text.data();
    };
    ASSERT_TRUE(readWholeFile(path, room, length));
    EXPECT_EQ(requests, 1);
    EXPECT_EQ(length, bytes.size());
}

TEST(Files, whole_file_is_read_where_the_length_is_not_known) {
    const TempDirectory directory;
    const std::string bytes(30'000, 'x');
    const std::string path = directory.write("bytes", bytes);
    FailingFiles files(FailingFiles::seeking);
    files.failAt(1, FailingFiles::worksAgain, ESPIPE);
    std::string text;
    ASSERT_TRUE(readWholeFile(path, text));
    EXPECT_EQ(text, bytes);
}

TEST(Files, missing_files_and_directories_cannot_be_read) {
    const TempDirectory directory;
    std::string text = "kept";
    EXPECT_FALSE(readWholeFile(directory.file("none"), text));
    EXPECT_EQ(errno, ENOENT);
    EXPECT_FALSE(readWholeFile(directory.path(), text));
    EXPECT_EQ(errno, EISDIR);
    EXPECT_EQ(text, "kept");
}

TEST(Files, status_tells_what_is_there) {
    const TempDirectory directory;
    const std::string path = directory.write("a", "12345");
    EXPECT_EQ(fileSystem().status(path).kind, FileKind::file);
    EXPECT_EQ(fileSystem().status(path).size, 5);
    EXPECT_TRUE(fileSystem().status(path).writable);
    EXPECT_TRUE(fileSystem().status(directory.path()).isDirectory());
    EXPECT_FALSE(fileSystem().status(directory.file("none")).exists());
}

TEST(Files, directories_are_made_listed_and_removed) {
    const TempDirectory directory;
    const std::string inner = directory.file("inner");
    EXPECT_TRUE(fileSystem().makeDirectory(inner, true));
    EXPECT_TRUE(fileSystem().makeDirectory(inner)) << "it is there already";
    directory.write("inner/b", "");
    directory.write("inner/\xC3\xA4", "");
    EXPECT_FALSE(fileSystem().makeDirectory(directory.file("inner/b"))) << "a file";
    EXPECT_FALSE(fileSystem().makeDirectory(directory.file("x/y")));

    std::vector<std::string> names;
    EXPECT_TRUE(fileSystem().listDirectory(inner, names));
    EXPECT_EQ(names, (std::vector<std::string>{"b", "\xC3\xA4"}));
    EXPECT_FALSE(fileSystem().listDirectory(directory.file("none"), names));
    EXPECT_FALSE(fileSystem().remove(inner)) << "not empty";
    EXPECT_TRUE(fileSystem().removeTree(inner));
    EXPECT_TRUE(fileSystem().removeTree(inner)) << "gone already";
    EXPECT_FALSE(fileSystem().remove(inner));
    EXPECT_EQ(errno, ENOENT);
}

TEST(Files, paths_are_joined_with_one_separator) {
    const std::string separator(1, qvplatform::pathSeparator());
    EXPECT_EQ(joinPath("a", "b"), "a" + separator + "b");
    EXPECT_EQ(joinPath("a/", "b"), "a/b");
    EXPECT_EQ(joinPath("", "b"), "b");
    EXPECT_EQ(qvplatform::fullPath("./b/././c"), qvplatform::fullPath("b/c"));
}

}  // namespace
