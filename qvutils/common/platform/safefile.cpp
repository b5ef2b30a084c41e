#include <cerrno>
#include <utility>

#include "qvutils/common/platform/files.h"

namespace qvplatform {

namespace {

std::string directoryOf(const std::string& path) {
    std::size_t end = path.size();
    while (end > 0 && !isPathSeparator(path[end - 1])) --end;
    if (end > 0) return path.substr(0, end);
    const bool drive = path.size() > 1 && path[1] == ':' && pathSeparator() == '\\';
    return drive ? path.substr(0, 2) : ".";
}

}  // namespace

SafeFile::~SafeFile() { discard(); }

bool SafeFile::fail(const char* action, const std::string& path) {
    const int cause = errno ? errno : EIO;
    if (error_.empty()) {
        error_ = std::string("could not ") + action + " \"" + path + "\": " + errorText(cause);
    }
    discard();
    errno = cause;
    return false;
}

bool SafeFile::open(const std::string& path, bool privateToUser) {
    discard();
    error_.clear();
    finished_ = false;
    target_ = followLinks(path);

    FileSystem& system = fileSystem();
    errno = 0;
    const FileStatus status = system.status(target_);
    if (status.isDirectory()) errno = EISDIR;
    if (status.isFile() && !status.writable) errno = EACCES;
    if (status.isDirectory() || (status.isFile() && !status.writable)) return fail("write", path);

    errno = 0;
    if (status.kind == FileKind::other) {
        file_ = system.open(target_, "w");
    } else {
        file_ = system.openTemporary(directoryOf(target_), temporary_, privateToUser);
    }
    if (!file_) return fail("write", path);
    // Before anything is written: a private file's text is private in the temporary file too.
    if (!temporary_.empty() && status.exists() && !system.copyPermissions(target_, temporary_)) {
        return fail("set the access rights of", path);
    }
    return true;
}

bool SafeFile::write(const void* data, std::size_t size) {
    if (!file_) return false;
    errno = 0;
    return fileSystem().write(file_, data, size) || fail("write", target_);
}

bool SafeFile::finish() {
    if (finished_) return true;
    if (!file_) return false;
    FileSystem& system = fileSystem();
    errno = 0;
    if (std::ferror(file_)) return fail("write", target_);
    if (!temporary_.empty() && !system.sync(file_)) return fail("write", target_);
    FILE* const file = std::exchange(file_, nullptr);
    if (!system.close(file)) return fail("write", target_);
    finished_ = true;
    return true;
}

bool SafeFile::commit() {
    if (!finish()) return false;
    finished_ = false;
    if (temporary_.empty()) return true;
    errno = 0;
    if (!fileSystem().rename(temporary_, target_)) return fail("replace", target_);
    temporary_.clear();
    // The new file is in place whatever comes of this: nothing is left to undo.
    fileSystem().syncDirectory(directoryOf(target_));
    return true;
}

void SafeFile::discard() {
    if (file_) fileSystem().close(file_);
    if (!temporary_.empty()) fileSystem().remove(temporary_);
    file_ = nullptr;
    temporary_.clear();
    finished_ = false;
}

}  // namespace qvplatform
