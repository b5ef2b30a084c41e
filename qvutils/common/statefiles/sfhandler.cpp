#include "qvutils/common/statefiles/sfhandler.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <random>
#include <string_view>

#include "qvutils/common/error/qverror.h"
#include "qvutils/common/platform/files.h"
#include "qvutils/common/platform/process.h"

namespace {

constexpr std::size_t longestPart = 60;

qvplatform::FileSystem& files() {
    return qvplatform::fileSystem();
}

/// The process's cache directory. One that was made here goes with all in it.
struct CacheDirectory {
    // The file system is named here so that it outlives this object.
    CacheDirectory() { files(); }
    ~CacheDirectory() { forget(); }
    void forget() {
        if (made) {
            files().removeTree(path);
        }
        path.clear();
        made = false;
    }

    std::string path;
    bool made = false;
};

CacheDirectory& cacheDirectory() {
    static CacheDirectory directory;
    return directory;
}

bool isLetter(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}

/// A text from outside as a part of a file name on any system.
std::string safePart(std::string_view text) {
    std::string part(text.substr(0, longestPart));
    for (char& c : part) {
        const bool safe = isLetter(c) || (c >= '0' && c <= '9') || c == '.' || c == '-';
        c = safe ? c : '_';
    }
    if (!part.empty() && part.back() == '.') {
        part.back() = '_';
    }
    return part;
}

/// A path in the cache directory that no other side file has. The number keeps the names apart and
/// from being special to the system; key and name only help whoever looks into the directory.
std::string newPath(std::string_view key, std::string_view name) {
    static std::atomic<unsigned> last{0};
    return qvplatform::joinPath(
        cacheDirectory().path, std::to_string(++last) + '-' + safePart(key) + '-' + safePart(name));
}

bool copyFile(const std::string& from, const std::string& to) {
    if (!files().status(from).exists()) {
        return true;  // never written
    }
    FILE* in = files().open(from, "rb");
    FILE* out = in ? files().open(to, "wb") : nullptr;
    bool copied = out != nullptr;
    char chunk[10000];
    for (std::size_t n = sizeof chunk; copied && n == sizeof chunk;) {
        n = files().read(in, chunk, sizeof chunk);
        copied = (n == sizeof chunk || std::feof(in)) && files().write(out, chunk, n);
    }
    const int cause = errno;
    if (in) {
        files().close(in);
    }
    if (out && !files().close(out)) {
        copied = false;
    }
    if (!copied) {
        qverr().setf("Failed to copy side file \"%s\": %s\n", from.c_str(),
                     qvplatform::errorText(cause).c_str());
        files().remove(to);
    }
    return copied;
}

}  // namespace

SFHandler::~SFHandler() {
    DeleteAll();
}

bool SFHandler::InitialiseCacheDir(const char* path) {
    CacheDirectory& cache = cacheDirectory();
    const std::string wanted = path ? path : "";
    if (wanted == cache.path) {
        return true;
    }
    cache.forget();
    if (wanted.empty()) {
        return true;
    }
    const bool existed = files().status(wanted).exists();
    errno = ENOTDIR;
    if (!files().makeDirectory(wanted, true) || !files().status(wanted).isDirectory()) {
        qverr().setf("Failed to make cache directory \"%s\": %s\n", wanted.c_str(),
                     qvplatform::errorText(errno).c_str());
        return false;
    }
    cache.path = wanted;
    cache.made = !existed;
    return true;
}

QVString SFHandler::getCacheDir() {
    return QVString(cacheDirectory().path.c_str());
}

QVString SFHandler::privateCacheDir(const char* parent) {
    // Nobody else can have made a directory of this name beforehand.
    std::random_device random;
    const std::string name = "qvcore-" + std::to_string(qvplatform::processId()) + '-' +
                             std::to_string(random()) + std::to_string(random());
    const std::string directory = parent ? parent : qvplatform::temporaryDirectory();
    return QVString(qvplatform::joinPath(directory, name).c_str());
}

SFHandler::Entry* SFHandler::find(const char* name) {
    const auto found = std::find_if(entries_.begin(), entries_.end(),
                                    [name](const Entry& entry) { return entry.name == name; });
    return found == entries_.end() ? nullptr : &*found;
}

SFHandler::Entry& SFHandler::add(const std::string& name) {
    entries_.push_back({1, name, newPath(key_, name)});
    return entries_.back();
}

std::string SFHandler::UseSFile(const char* name) {
    if (cacheDirectory().path.empty()) {
        return {};
    }
    if (Entry* entry = find(name)) {
        ++entry->inUse;
        return entry->path;
    }
    return add(name).path;
}

std::string SFHandler::getSFile(const char* name) const {
    const Entry* entry = const_cast<SFHandler*>(this)->find(name);
    return entry ? entry->path : std::string();
}

void SFHandler::ReleaseSFile(const char* name) {
    Entry* entry = find(name);
    if (entry && --entry->inUse == 0) {
        files().remove(entry->path);
        entries_.erase(entries_.begin() + (entry - entries_.data()));
    }
}

const char* SFHandler::getSFileName(int i) const {
    return i >= 0 && i < getNSFiles() ? entries_[static_cast<std::size_t>(i)].name.c_str()
                                      : nullptr;
}

bool SFHandler::checkNotBusy(const char* function) const {
    if (busy_) {
        CodeError(function, "sfhandler", 1);
    }
    return !busy_;
}

bool SFHandler::StoreSFiles(FILE* file, const char* key) {
    if (!checkNotBusy("SFHandler::StoreSFiles")) {
        return false;
    }
    return std::all_of(entries_.begin(), entries_.end(), [&](const Entry& entry) {
        return storeStateRecord(file, key, entry.name, entry.path);
    });
}

bool SFHandler::ExtractSFiles(FILE* file, const char* key) {
    if (!checkNotBusy("SFHandler::ExtractSFiles")) {
        return false;
    }
    if (StateFileRecords* records = StateFileRecords::of(file)) {
        return ExtractSFiles(*records, key);
    }
    StateFileRecords records;
    records.scan(file);
    return ExtractSFiles(records, key);
}

bool SFHandler::ExtractSFiles(StateFileRecords& records, const char* key) {
    if (!checkNotBusy("SFHandler::ExtractSFiles")) {
        return false;
    }
    DeleteAll();
    key_ = key;
    if (cacheDirectory().path.empty()) {
        return true;
    }
    for (std::size_t i : records.claim(key)) {
        if (!records.extract(i, add(records[i].name).path)) {
            entries_.pop_back();
            return false;
        }
    }
    return true;
}

void SFHandler::DeleteAll() {
    for (const Entry& entry : entries_) {
        files().remove(entry.path);
    }
    entries_.clear();
}

bool SFHandler::Copy(const SFHandler& other) {
    if (&other == this) {
        return true;
    }
    DeleteAll();
    key_ = other.key_;
    for (const Entry& entry : other.entries_) {
        if (!copyFile(entry.path, add(entry.name).path)) {
            entries_.pop_back();
            return false;
        }
    }
    return true;
}

bool StrayRecords::Collect(StateFileRecords& records) {
    for (std::size_t i : records.unclaimed()) {
        const StateFileRecord& record = records[i];
        const std::string path = newPath(record.key, record.name);
        if (!records.extract(i, path)) {
            return false;
        }
        strays_.push_back({record.key, record.name, path});
    }
    for (const Stray& stray : strays_) {
        records.claim(stray.key);
    }
    return true;
}

bool StrayRecords::Store(FILE* file) const {
    return std::all_of(strays_.begin(), strays_.end(), [file](const Stray& stray) {
        return storeStateRecord(file, stray.key, stray.name, stray.path);
    });
}

void StrayRecords::Rename(std::string_view oldKey, std::string_view newKey) {
    for (Stray& stray : strays_) {
        const std::string_view rest =
            std::string_view(stray.key).substr(std::min(oldKey.size(), stray.key.size()));
        if (stray.key.starts_with(oldKey) && (rest.empty() || rest.front() == '/')) {
            stray.key = std::string(newKey).append(rest);
        }
    }
}

void StrayRecords::DeleteAll() {
    for (const Stray& stray : strays_) {
        files().remove(stray.path);
    }
    strays_.clear();
}

QVString getCacheFileName(const char* projectFile) {
    const std::string_view path = projectFile;
    const std::size_t separator = path.find_last_of("/\\");
    std::string result;
    std::string name(path);
    if (separator != path.npos) {
        result = path.substr(0, separator + 1);
        name = path.substr(separator + 1);
    } else if (path.size() > 1 && path[1] == ':' && isLetter(path[0])) {
        // A name relative to a drive's current directory.
        result = std::string(path.substr(0, 2)) + '.' + qvplatform::pathSeparator();
        name = path.substr(2);
    }
    const std::size_t dot = name.rfind('.');
    if (dot == name.npos) {
        name += '_';
    } else {
        name[dot] = '_';
    }
    return QVString((result + name + ".sta").c_str());
}
