#pragma once
#include <string>

/// An empty directory of its own that goes, with all in it, at destruction.
class TempDirectory {
public:
    TempDirectory();
    ~TempDirectory();
    TempDirectory(const TempDirectory&) = delete;
    TempDirectory& operator=(const TempDirectory&) = delete;

    const std::string& path() const { return path_; }
    /// The path of a file in it.
    std::string file(const std::string& name) const;
    /// The path of a file in it that is written at once; the test fails when it cannot be.
    std::string write(const std::string& name, const std::string& content) const;

private:
    std::string path_;
};

/// A file's bytes; the test fails when it cannot be read.
std::string contentOf(const std::string& path);
