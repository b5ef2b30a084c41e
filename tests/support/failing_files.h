#pragma once
#include <cerrno>
#include <cstdio>

#include "qvutils/common/platform/files.h"

/// The real file system, in place from construction to destruction, that does not wait for the
/// disk: on a busy machine each wait may take seconds.
class UnsyncedFiles : public qvplatform::FileSystem {
public:
    UnsyncedFiles() : before_(qvplatform::setFileSystem(this)) {}
    ~UnsyncedFiles() override { qvplatform::setFileSystem(before_); }

    bool sync(FILE* file) override { return std::fflush(file) == 0; }
    bool syncDirectory(const std::string&) override { return true; }

private:
    qvplatform::FileSystem* before_;
};

/// The same with one operation that fails.
///
///     FailingFiles files;
///     save();
///     const int total = files.operations();
///     for (int k = 1; k <= total; ++k) {
///         files.failAt(k);
///         save();   // … and look at what is left
///     }
class FailingFiles : public UnsyncedFiles {
public:
    /// What counts as an operation and may fail. Asking for the status always works.
    enum Operation : unsigned {
        opening = 1,
        reading = 2,
        writing = 4,
        seeking = 8,
        syncing = 16,
        closing = 32,
        renaming = 64,
        removing = 128,
        directories = 256,
        permissions = 512,
        all = 1023
    };
    enum After { worksAgain, failsOn };

    explicit FailingFiles(unsigned counted = all) : counted_(counted) {}

    /// The k-th operation from now on fails with this cause, half of a write done. With `failsOn`
    /// all later ones fail as well, counted or not, as if the process had been stopped there.
    void failAt(int k, After after = worksAgain, int cause = ENOSPC);
    void failNever() { failAt(0); }
    /// How many operations there were since the last failAt or the beginning.
    int operations() const { return done_; }
    bool hasFailed() const { return failed_; }

    FILE* open(const std::string& path, const char* mode) override;
    std::size_t read(FILE* file, void* data, std::size_t size) override;
    bool write(FILE* file, const void* data, std::size_t size) override;
    bool seek(FILE* file, std::int64_t offset, int origin) override;
    bool sync(FILE* file) override;
    bool close(FILE* file) override;
    bool rename(const std::string& from, const std::string& to) override;
    bool remove(const std::string& path) override;
    bool makeDirectory(const std::string& path, bool privateToUser) override;
    bool removeTree(const std::string& path) override;
    bool listDirectory(const std::string& path, std::vector<std::string>& names) override;
    FILE* openTemporary(const std::string& directory, std::string& path,
                        bool privateToUser) override;
    bool copyPermissions(const std::string& from, const std::string& to) override;
    bool syncDirectory(const std::string& path) override;

private:
    bool fails(Operation operation);

    unsigned counted_;
    int done_ = 0;
    int failing_ = 0;
    After after_ = worksAgain;
    int cause_ = ENOSPC;
    bool failed_ = false;
};
