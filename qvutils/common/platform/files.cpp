#include "qvutils/common/platform/files.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <system_error>

#include "qvutils/common/platform/process.h"

namespace qvplatform {

namespace fs = std::filesystem;

namespace {

std::atomic<FileSystem*> replacement = nullptr;

fs::path native(const std::string& utf8) {
    return fs::path(std::u8string(utf8.begin(), utf8.end()));
}

std::string utf8(const fs::path& path) {
    const std::u8string text = path.u8string();
    return {text.begin(), text.end()};
}

bool succeeded(const std::error_code& error) {
    if (!error) return true;
    errno = error.default_error_condition().value();
    return false;
}

}  // namespace

FileSystem& fileSystem() {
    static FileSystem real;
    FileSystem* const set = replacement;
    return set ? *set : real;
}

FileSystem* setFileSystem(FileSystem* system) { return replacement.exchange(system); }

std::string errorText(int errorNumber) { return std::generic_category().message(errorNumber); }

FileSystem::~FileSystem() = default;

std::size_t FileSystem::read(FILE* file, void* data, std::size_t size) {
    return std::fread(data, 1, size, file);
}

bool FileSystem::write(FILE* file, const void* data, std::size_t size) {
    return std::fwrite(data, 1, size, file) == size;
}

bool FileSystem::close(FILE* file) {
    const bool failedBefore = std::ferror(file) != 0;
    return std::fclose(file) == 0 && !failedBefore;
}

bool FileSystem::remove(const std::string& path) {
    std::error_code error;
    if (fs::remove(native(path), error)) return true;
    if (!error) error = std::make_error_code(std::errc::no_such_file_or_directory);
    return succeeded(error);
}

bool FileSystem::removeTree(const std::string& path) {
    std::error_code error;
    fs::remove_all(native(path), error);
    return succeeded(error);
}

bool FileSystem::listDirectory(const std::string& path, std::vector<std::string>& names) {
    names.clear();
    std::error_code error;
    for (fs::directory_iterator entry(native(path), error), end; !error && entry != end;
         entry.increment(error)) {
        names.push_back(utf8(entry->path().filename()));
    }
    std::sort(names.begin(), names.end());
    return succeeded(error);
}

std::string joinPath(const std::string& directory, const std::string& name) {
    if (directory.empty() || isPathSeparator(directory.back())) return directory + name;
    return directory + pathSeparator() + name;
}

namespace {

// "a/./b" is "a/b". A path of a device, "\\.\name", is not.
std::string withoutDots(const std::string& path) {
    std::string result;
    for (std::size_t i = 0; i < path.size(); ++i) {
        result += path[i];
        if (i < 2 || !isPathSeparator(path[i])) continue;
        while (i + 2 < path.size() && path[i + 1] == '.' && isPathSeparator(path[i + 2])) i += 2;
    }
    return result;
}

}  // namespace

std::string fullPath(const std::string& path) {
    const bool hasDrive = path.size() > 1 && path[1] == ':' && isPathSeparator('\\');
    if (path.empty() || isPathSeparator(path[0]) || hasDrive) return withoutDots(path);
    return withoutDots(joinPath(currentDirectory(), path));
}

std::string fileNameOf(const std::string& path) {
    return path.substr(path.find_last_of("/\\") + 1);
}

bool makeDirectories(const std::string& path) {
    std::size_t end = path.size();
    while (end > 0 && isPathSeparator(path[end - 1])) --end;
    const std::string whole = path.substr(0, end);
    if (whole.empty() || fileSystem().status(whole).isDirectory()) return true;
    while (end > 0 && !isPathSeparator(path[end - 1])) --end;
    return makeDirectories(path.substr(0, end)) && fileSystem().makeDirectory(whole, true);
}

std::size_t translateLineEnds(char* text, std::size_t length) {
    const char* read = text;
    const char* const end = text + length;
    char* write = text;
    while (read < end) {
        const auto left = static_cast<std::size_t>(end - read);
        const char* cr = static_cast<const char*>(std::memchr(read, '\r', left));
        const char* const stop = cr ? cr : end;
        const auto run = static_cast<std::size_t>(stop - read);
        if (write != read) std::memmove(write, read, run);
        write += run;
        read = stop;
        if (!cr) break;
        const bool lineEnd = read + 1 < end && read[1] == '\n';
        if (!lineEnd) *write++ = '\r';
        ++read;
    }
    return static_cast<std::size_t>(write - text);
}

}  // namespace qvplatform
