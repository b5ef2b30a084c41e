#include <algorithm>
#include <cerrno>
#include <limits>

#include "qvutils/common/platform/files.h"

namespace qvplatform {

namespace {

/// The length of an opened file; 0 where it cannot be told (a pipe), as it is only a first guess.
/// Negative when the file was left at its end and would read as empty.
std::int64_t lengthOf(FILE* file) {
    FileSystem& system = fileSystem();
    if (!system.seek(file, 0, SEEK_END)) return 0;
    const std::int64_t end = system.tell(file);
    if (!system.seek(file, 0, SEEK_SET)) return -1;
    return std::max<std::int64_t>(end, 0);
}

bool readAll(FILE* file, const std::function<char*(std::size_t)>& room, std::size_t& length) {
    FileSystem& system = fileSystem();
    // The byte more than the length lets the end of the file show in the first read.
    const std::int64_t first = lengthOf(file);
    if (first < 0) return false;
    std::size_t size = static_cast<std::size_t>(first) + 1;
    length = 0;
    for (;;) {
        char* const buffer = room(size);
        if (!buffer) {
            errno = ENOMEM;
            return false;
        }
        const std::size_t wanted = size - length;
        const std::size_t got = system.read(file, buffer + length, wanted);
        length += got;
        if (got < wanted) return std::feof(file) && !std::ferror(file);
        size += size / 2 + 4096;
    }
}

}  // namespace

bool readWholeFile(const std::string& path, const std::function<char*(std::size_t)>& room,
                   std::size_t& length) {
    FILE* const file = fileSystem().open(path, "r");
    if (!file) return false;
    const bool read = readAll(file, room, length);
    const int cause = errno;
    fileSystem().close(file);
    if (!read) errno = cause ? cause : EIO;
    return read;
}

bool readWholeFile(const std::string& path, std::string& text) {
    std::size_t length = 0;
    const auto room = [&text](std::size_t size) {
        text.resize(size);
        return text.data();
    };
    if (!readWholeFile(path, room, length)) return false;
    text.resize(length);
    return true;
}

}  // namespace qvplatform
