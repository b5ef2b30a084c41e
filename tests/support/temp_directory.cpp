#include "tests/support/temp_directory.h"

#include <gtest/gtest.h>

#include "qvutils/common/platform/files.h"
#include "qvutils/common/platform/process.h"

// The real file system is named throughout: a test may have put a failing one in place.
using qvplatform::FileSystem;

TempDirectory::TempDirectory() {
    static int counter = 0;
    const std::string name =
        "qvtest-" + std::to_string(qvplatform::processId()) + "-" + std::to_string(counter++);
    path_ = qvplatform::joinPath(qvplatform::temporaryDirectory(), name);
    FileSystem().removeTree(path_);
    EXPECT_TRUE(FileSystem().makeDirectory(path_)) << path_;
}

TempDirectory::~TempDirectory() { FileSystem().removeTree(path_); }

std::string TempDirectory::file(const std::string& name) const {
    return qvplatform::joinPath(path_, name);
}

std::string TempDirectory::write(const std::string& name, const std::string& content) const {
    const std::string path = file(name);
    FILE* const out = FileSystem().open(path, "wb");
    EXPECT_NE(out, nullptr) << path;
    if (!out) return path;
    EXPECT_TRUE(FileSystem().write(out, content.data(), content.size()));
    EXPECT_TRUE(FileSystem().close(out));
    return path;
}

std::string contentOf(const std::string& path) {
    std::string content;
    FILE* const in = FileSystem().open(path, "rb");
    EXPECT_NE(in, nullptr) << path;
    if (!in) return content;
    char buffer[65536];
    for (std::size_t got = 0; (got = FileSystem().read(in, buffer, sizeof buffer)) > 0;) {
        content.append(buffer, got);
    }
    FileSystem().close(in);
    return content;
}
