#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <ctime>
#include <filesystem>
#include <string>
#include <system_error>

#include "qvutils/common/platform/files.h"
#include "qvutils/common/platform/lefttemporaries.h"

namespace qvplatform {

namespace {

/// A name that no other file in the directory is likely to have.
std::string temporaryName() {
    static std::atomic<unsigned> counter = 0;
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    const auto time = static_cast<unsigned long long>(now.tv_nsec);
    return ".qv" + std::to_string(getpid()) + "-" + std::to_string(time) + "-" +
           std::to_string(counter++) + ".tmp";
}

bool isDirectory(int descriptor) {
    struct stat info {};
    return fstat(descriptor, &info) == 0 && S_ISDIR(info.st_mode);
}

/// fsync is interrupted by signals only on some file systems.
bool flush(int descriptor) {
    int result = 0;
    do {
        result = fsync(descriptor);
    } while (result != 0 && errno == EINTR);
    return result == 0;
}

}  // namespace

FILE* FileSystem::open(const std::string& path, const char* mode) {
    FILE* const file = std::fopen(path.c_str(), (std::string(mode) + "e").c_str());
    // Opening a directory for reading succeeds; only its first read would tell.
    if (file && isDirectory(fileno(file))) {
        std::fclose(file);
        errno = EISDIR;
        return nullptr;
    }
    return file;
}

bool FileSystem::seek(FILE* file, std::int64_t offset, int origin) {
    return fseeko(file, static_cast<off_t>(offset), origin) == 0;
}

std::int64_t FileSystem::tell(FILE* file) { return ftello(file); }

bool FileSystem::sync(FILE* file) { return std::fflush(file) == 0 && flush(fileno(file)); }

bool FileSystem::rename(const std::string& from, const std::string& to) {
    return ::rename(from.c_str(), to.c_str()) == 0;
}

FileStatus FileSystem::status(const std::string& path) {
    FileStatus status;
    struct stat info {};
    if (stat(path.c_str(), &info) != 0) return status;
    status.kind = S_ISREG(info.st_mode)   ? FileKind::file
                  : S_ISDIR(info.st_mode) ? FileKind::directory
                                          : FileKind::other;
    status.size = info.st_size;
    status.modified = std::int64_t{info.st_mtim.tv_sec} * 1000000000 + info.st_mtim.tv_nsec;
    // The system lets its administrator write to anything; a file without any write permission
    // is meant to stay as it is all the same.
    const bool marked = (info.st_mode & (S_IWUSR | S_IWGRP | S_IWOTH)) == 0;
    status.writable = !marked && access(path.c_str(), W_OK) == 0;
    return status;
}

bool FileSystem::makeDirectory(const std::string& path, bool privateToUser) {
    if (mkdir(path.c_str(), privateToUser ? 0700 : 0777) == 0) return true;
    return errno == EEXIST && status(path).isDirectory();
}

FILE* FileSystem::openTemporary(const std::string& directory, std::string& path,
                                bool privateToUser) {
    removeLeftTemporaries(directory);
    constexpr int attempts = 100;
    const mode_t rights = privateToUser ? 0600 : 0666;
    for (int i = 0; i < attempts; ++i) {
        path = joinPath(directory, temporaryName());
        const int descriptor = ::open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, rights);
        if (descriptor >= 0) return fdopen(descriptor, "w+");
        if (errno != EEXIST) break;
    }
    path.clear();
    return nullptr;
}

bool FileSystem::copyPermissions(const std::string& from, const std::string& to) {
    struct stat source {};
    struct stat target {};
    if (stat(from.c_str(), &source) != 0 || stat(to.c_str(), &target) != 0) return false;
    mode_t mode = source.st_mode & 07777;
    if (source.st_uid != target.st_uid || source.st_gid != target.st_gid) {
        // Only the administrator may give files away. Rights of a group that the file cannot be
        // given to are not handed to another group.
        const bool given = chown(to.c_str(), source.st_uid, source.st_gid) == 0 ||
                           chown(to.c_str(), static_cast<uid_t>(-1), source.st_gid) == 0;
        if (!given) mode &= ~static_cast<mode_t>(S_ISUID | S_ISGID | S_IRWXG);
    }
    return chmod(to.c_str(), mode) == 0;
}

bool FileSystem::syncDirectory(const std::string& path) {
    const int descriptor = ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor < 0) return false;
    // Some file systems have no such thing and say so with EINVAL.
    const bool done = flush(descriptor) || errno == EINVAL;
    ::close(descriptor);
    return done;
}

std::string followLinks(const std::string& path) {
    constexpr int mostLinks = 40;
    std::filesystem::path target = path;
    std::error_code error;
    for (int i = 0; i < mostLinks; ++i) {
        const std::filesystem::path next = std::filesystem::read_symlink(target, error);
        if (error) break;
        target = target.parent_path() / next;
    }
    return target.string();
}

char pathSeparator() { return '/'; }

char pathListSeparator() { return ':'; }

bool isPathSeparator(char c) { return c == '/'; }

}  // namespace qvplatform
