#include "tests/support/failing_files.h"

void FailingFiles::failAt(int k, After after, int cause) {
    done_ = 0;
    failing_ = k;
    after_ = after;
    cause_ = cause;
    failed_ = false;
}

bool FailingFiles::fails(Operation operation) {
    bool failing = failed_ && after_ == failsOn;
    if ((counted_ & operation) != 0 && ++done_ == failing_) failing = failed_ = true;
    if (failing) errno = cause_;
    return failing;
}

FILE* FailingFiles::open(const std::string& path, const char* mode) {
    return fails(opening) ? nullptr : FileSystem::open(path, mode);
}

std::size_t FailingFiles::read(FILE* file, void* data, std::size_t size) {
    if (!fails(reading)) return FileSystem::read(file, data, size);
    // There is no portable way to set the error mark of a FILE: the end of the file stands for it.
    FileSystem::seek(file, 0, SEEK_END);
    return 0;
}

bool FailingFiles::write(FILE* file, const void* data, std::size_t size) {
    if (!fails(writing)) return FileSystem::write(file, data, size);
    const int cause = errno;
    FileSystem::write(file, data, size / 2);
    errno = cause;
    return false;
}

bool FailingFiles::seek(FILE* file, std::int64_t offset, int origin) {
    return !fails(seeking) && FileSystem::seek(file, offset, origin);
}

bool FailingFiles::sync(FILE* file) { return !fails(syncing) && UnsyncedFiles::sync(file); }

bool FailingFiles::close(FILE* file) {
    const bool closed = FileSystem::close(file);
    return !fails(closing) && closed;
}

bool FailingFiles::rename(const std::string& from, const std::string& to) {
    return !fails(renaming) && FileSystem::rename(from, to);
}

bool FailingFiles::remove(const std::string& path) {
    return !fails(removing) && FileSystem::remove(path);
}

bool FailingFiles::makeDirectory(const std::string& path, bool privateToUser) {
    return !fails(directories) && FileSystem::makeDirectory(path, privateToUser);
}

bool FailingFiles::removeTree(const std::string& path) {
    return !fails(removing) && FileSystem::removeTree(path);
}

bool FailingFiles::listDirectory(const std::string& path, std::vector<std::string>& names) {
    return !fails(directories) && FileSystem::listDirectory(path, names);
}

FILE* FailingFiles::openTemporary(const std::string& directory, std::string& path,
                                  bool privateToUser) {
    return fails(opening) ? nullptr : FileSystem::openTemporary(directory, path, privateToUser);
}

bool FailingFiles::copyPermissions(const std::string& from, const std::string& to) {
    return !fails(permissions) && FileSystem::copyPermissions(from, to);
}

bool FailingFiles::syncDirectory(const std::string& path) {
    return !fails(syncing) && UnsyncedFiles::syncDirectory(path);
}
