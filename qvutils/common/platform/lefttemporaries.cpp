#include "qvutils/common/platform/lefttemporaries.h"

#include <chrono>
#include <filesystem>
#include <mutex>
#include <string_view>
#include <system_error>

namespace qvplatform {

namespace fs = std::filesystem;

namespace {

/// ".qv" numbers ".tmp", as FileSystem::openTemporary calls them.
bool isTemporaryName(std::string_view name) {
    constexpr std::string_view start = ".qv";
    constexpr std::string_view end = ".tmp";
    if (!name.starts_with(start) || !name.ends_with(end)) return false;
    name.remove_prefix(start.size());
    name.remove_suffix(end.size());
    return !name.empty() && name.find_first_not_of("0123456789-") == name.npos;
}

/// False when it was also the last directory that was asked about.
bool isAnother(const std::string& directory) {
    static std::mutex mutex;
    static std::string last;
    const std::lock_guard lock(mutex);
    if (directory == last) return false;
    last = directory;
    return true;
}

void removeFrom(const std::string& directory) {
    const auto tooOld = fs::file_time_type::clock::now() - std::chrono::hours(24);
    std::error_code error;
    const fs::path path(std::u8string(directory.begin(), directory.end()));
    for (fs::directory_iterator entry(path, error), end; !error && entry != end;
         entry.increment(error)) {
        if (!isTemporaryName(entry->path().filename().string())) continue;
        std::error_code ignored;
        const bool isFile = fs::is_regular_file(entry->symlink_status(ignored));
        const auto written = isFile ? entry->last_write_time(ignored) : fs::file_time_type::max();
        if (!ignored && written < tooOld) fs::remove(entry->path(), ignored);
    }
}

}  // namespace

void removeLeftTemporaries(const std::string& directory) {
    if (!isAnother(directory)) return;
    try {
        removeFrom(directory);
    } catch (const fs::filesystem_error&) {
        // On Windows, a name that is no Unicode: no reason not to save.
    }
}

}  // namespace qvplatform
