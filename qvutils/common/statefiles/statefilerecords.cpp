#include "qvutils/common/statefiles/statefilerecords.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "qvutils/common/diagnostics/diagnostics.h"
#include "qvutils/common/error/qverror.h"
#include "qvutils/common/platform/files.h"
#include "qvutils/common/platform/threads.h"

namespace {

constexpr std::string_view magic = "FILENAME_VER2";
constexpr std::size_t chunkSize = 10000;
constexpr std::int64_t sizeLimit = std::int64_t{1} << 31;

qvplatform::FileSystem& files() {
    return qvplatform::fileSystem();
}

void appendNumber(std::string& bytes, std::size_t number) {
    for (int shift = 0; shift < 32; shift += 8) {
        bytes += static_cast<char>(number >> shift & 0xff);
    }
}

/// Those that have scanned a file, for handlers that are only given the file.
std::vector<StateFileRecords*>& scanned() {
    return qvplatform::perThread<std::vector<StateFileRecords*>>();
}

void postFailure(const char* action, const std::string& path) {
    const std::string cause = qvplatform::errorText(errno);
    qverr().setf("Failed to %s side file \"%s\": %s\n", action, path.c_str(), cause.c_str());
}

/// Copies exactly `size` bytes, in chunks.
bool copyBytes(FILE* from, FILE* to, std::int64_t size) {
    char chunk[chunkSize];
    while (size > 0) {
        const auto n = static_cast<std::size_t>(std::min<std::int64_t>(size, chunkSize));
        errno = EIO;  // should the file end early
        if (files().read(from, chunk, n) != n || !files().write(to, chunk, n)) {
            return false;
        }
        size -= static_cast<std::int64_t>(n);
    }
    return true;
}

}  // namespace

/// Reads from a file of known length and never past its end.
class StateFileRecords::Reader {
public:
    explicit Reader(FILE* file) : file_(file) {
        sound_ = files().seek(file, 0, SEEK_END) && (size_ = files().tell(file)) >= 0 &&
                 files().seek(file, 0, SEEK_SET);
    }
    /// False once the file has turned out damaged or unreadable.
    bool sound() const { return sound_; }
    bool atEnd() const { return posn_ >= size_; }
    std::int64_t posn() const { return posn_; }

    bool take(void* data, std::size_t size) {
        if (left() < static_cast<std::int64_t>(size) || files().read(file_, data, size) != size) {
            return false;
        }
        posn_ += static_cast<std::int64_t>(size);
        return true;
    }
    bool takeMagic() {
        char bytes[magic.size()];
        return take(bytes, sizeof bytes) && std::memcmp(bytes, magic.data(), sizeof bytes) == 0;
    }
    /// A length of what follows in the file.
    bool takeLength(std::int32_t& length) {
        unsigned char bytes[4];
        if (!take(bytes, sizeof bytes)) {
            return false;
        }
        std::uint32_t number = 0;
        for (int i = 3; i >= 0; --i) {
            number = number << 8 | bytes[i];
        }
        length = static_cast<std::int32_t>(number);
        return length >= 0 && length <= left();
    }
    bool takeText(std::string& text) {
        std::int32_t length = 0;
        if (!takeLength(length)) {
            return false;
        }
        text.resize(static_cast<std::size_t>(length));
        return take(text.data(), text.size());
    }
    bool takeHead(StateFileRecord& record) {
        sound_ =
            takeMagic() && takeText(record.key) && takeText(record.name) && takeLength(record.size);
        return sound_;
    }
    void skip(std::int64_t size) {
        posn_ += size;
        sound_ = files().seek(file_, posn_, SEEK_SET);
    }

private:
    std::int64_t left() const { return size_ - posn_; }

    FILE* file_;
    bool sound_ = true;
    std::int64_t posn_ = 0;
    std::int64_t size_ = 0;
};

bool StateFileRecords::open(const char* path) {
    close();
    FILE* file = files().open(path, "rb");
    if (file) {
        scan(file);
        owned_ = true;
    }
    return file != nullptr;
}

void StateFileRecords::scan(FILE* file) {
    close();
    file_ = file;
    scanned().push_back(this);
    Reader reader(file);
    for (StateFileRecord record; reader.sound() && !reader.atEnd() && reader.takeHead(record);) {
        if (record.size == 0) {
            return;
        }
        record.offset = reader.posn();
        byKey_[record.key].push_back(records_.size());
        records_.push_back(record);
        reader.skip(record.size);
    }
    if (!reader.sound()) {
        wlprintf("***WARNING*** invalid project state file\n");
    }
}

void StateFileRecords::close() {
    if (owned_) {
        files().close(file_);
    }
    if (file_) {
        std::erase(scanned(), this);
    }
    file_ = nullptr;
    owned_ = false;
    records_.clear();
    byKey_.clear();
}

StateFileRecords* StateFileRecords::of(FILE* file) {
    for (StateFileRecords* records : scanned()) {
        if (records->file_ == file) {
            return records;
        }
    }
    return nullptr;
}

std::vector<std::size_t> StateFileRecords::claim(std::string_view key) {
    const auto found = byKey_.find(std::string(key));
    if (found == byKey_.end()) {
        return {};
    }
    for (std::size_t i : found->second) {
        records_[i].claimed = true;
    }
    return found->second;
}

std::vector<std::size_t> StateFileRecords::unclaimed() const {
    std::vector<std::size_t> free;
    for (std::size_t i = 0; i < records_.size(); ++i) {
        if (!records_[i].claimed) {
            free.push_back(i);
        }
    }
    return free;
}

bool StateFileRecords::extract(std::size_t i, const std::string& path) const {
    const StateFileRecord& record = records_[i];
    FILE* out = files().open(path, "wb");
    if (!out) {
        postFailure("create", path);
        return false;
    }
    bool copied =
        files().seek(file_, record.offset, SEEK_SET) && copyBytes(file_, out, record.size);
    const int cause = errno;
    copied = files().close(out) && copied;
    if (!copied) {
        errno = cause;
        postFailure("extract", path);
        files().remove(path);
    }
    return copied;
}

bool storeStateRecord(FILE* file, std::string_view key, std::string_view name,
                      const std::string& path) {
    const std::int64_t size = files().status(path).size;
    if (size >= sizeLimit) {
        wlwrite(("***WARNING*** side file \"" + std::string(name) +
                 "\" is not stored: it has 2 GiB or more\n")
                    .c_str());
        return true;
    }
    if (size <= 0) {
        return true;
    }
    FILE* content = files().open(path, "rb");
    if (!content) {
        postFailure("open", path);
        return false;
    }
    std::string head(magic);
    appendNumber(head, key.size());
    head += key;
    appendNumber(head, name.size());
    head += name;
    appendNumber(head, static_cast<std::size_t>(size));
    const bool stored =
        files().write(file, head.data(), head.size()) && copyBytes(content, file, size);
    if (!stored) {
        postFailure("store", path);
    }
    files().close(content);
    return stored;
}
