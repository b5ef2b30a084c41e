// The text of a buffer: storage, sharing, growth, files.
#include "qvutils/common/blocks/fbuff.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "qvutils/common/blocks/blockscan.h"
#include "qvutils/common/error/qverror.h"
#include "qvutils/common/platform/files.h"
#include "qvutils/common/platform/memory.h"

/// The characters follow the head in the same allocation, so that growing is one realloc.
struct FBuff::Store {
    std::atomic<std::uint32_t> users{1};
    /// What the growth rule gives; a little more may be reserved.
    std::uint32_t capacity = 0;
    std::uint32_t reserved = 0;
    /// The blocks found in the text so far; set once.
    std::atomic<const qvblocks::BlockIndex*> blocks{nullptr};

    char* data() { return reinterpret_cast<char*>(this + 1); }

    /// Room for `capacity` characters, in place of `old` when given; null leaves `old` as it was.
    static Store* allocate(Store* old, std::uint64_t capacity, std::uint64_t reserve) {
        void* memory = std::realloc(static_cast<void*>(old), sizeof(Store) + reserve);
        if (!memory) {
            return nullptr;
        }
        Store* store = old ? static_cast<Store*>(memory) : new (memory) Store;
        qvplatform::adviseLargePages(store, sizeof(Store) + reserve);
        store->capacity = static_cast<std::uint32_t>(capacity);
        store->reserved = static_cast<std::uint32_t>(reserve);
        return store;
    }
    /// For the only user, who is about to change the text.
    void forgetBlocks() { delete blocks.exchange(nullptr, std::memory_order_relaxed); }
    static void release(Store* store) {
        if (store && store->users.fetch_sub(1, std::memory_order_acq_rel) == 1) {
            store->forgetBlocks();
            store->~Store();
            std::free(store);
        }
    }
};

namespace {

constexpr std::uint64_t growthStep = 4096;
constexpr std::uint64_t largestText = UINT32_MAX;
/// From this size on an eighth more is reserved than the growth rule asks for: where realloc has to
/// copy, growing in fixed steps would take quadratic time.
constexpr std::uint64_t reserveFrom = std::uint64_t{1} << 20;

std::uint64_t reserveFor(std::uint64_t capacity) {
    return capacity < reserveFrom ? capacity : std::min(capacity + capacity / 8, largestText);
}

void outOfMemory() {
    qverr().set("not enough memory for a text this long\n");
}

}  // namespace

FBuff::FBuff(const FBuff& other)
    : store_(other.store_),
      begin_(other.begin_),
      length_(other.length_),
      posn_(other.posn_),
      flags_(other.flags_) {
    if (store_) {
        store_->users.fetch_add(1, std::memory_order_relaxed);
    }
}

FBuff::FBuff(FBuff&& other) noexcept {
    *this = std::move(other);
}

FBuff& FBuff::operator=(const FBuff& other) {
    if (this != &other) {
        share(other, 0, other.length_);
        posn_ = other.posn_;
        flags_ = other.flags_;
    }
    return *this;
}

FBuff& FBuff::operator=(FBuff&& other) noexcept {
    std::swap(store_, other.store_);
    std::swap(begin_, other.begin_);
    std::swap(length_, other.length_);
    std::swap(posn_, other.posn_);
    std::swap(flags_, other.flags_);
    line_ = std::move(other.line_);
    std::swap(comments_, other.comments_);
    return *this;
}

FBuff::~FBuff() {
    Store::release(store_);
}

void FBuff::dropStore() {
    Store::release(store_);
    store_ = nullptr;
    begin_ = length_ = posn_ = 0;
}

void FBuff::unalloc() {
    dropStore();
    line_.release();
}

void FBuff::clear() {
    if (owns()) {
        length_ = posn_ = 0;
    } else {
        dropStore();
    }
    line_.release();
}

void FBuff::share(const FBuff& other, unsigned from, unsigned to) {
    if (other.store_) {
        other.store_->users.fetch_add(1, std::memory_order_relaxed);
    }
    Store* store = other.store_;
    const std::uint32_t begin = other.begin_ + from;
    dropStore();
    store_ = store;
    begin_ = begin;
    length_ = to - from;
}

qvblocks::BlockExtent FBuff::blockAt(unsigned from, int maxDepth) const {
    const std::string_view all = text();
    std::vector<qvblocks::BlockSpan> nested;
    const auto* known = store_ ? store_->blocks.load(std::memory_order_acquire) : nullptr;
    if (!known) {
        const auto extent = qvblocks::scanBlock(all, from, maxDepth, nested);
        if (extent.status == qvblocks::Extent::whole && !nested.empty()) {
            for (qvblocks::BlockSpan& span : nested) {
                span.keyword += begin_;
                span.bodyStart += begin_;
                span.bodyEnd += begin_;
                span.end += begin_;
            }
            const auto* found = new qvblocks::BlockIndex(std::move(nested));
            if (!store_->blocks.compare_exchange_strong(known, found)) {
                delete found;
            }
        }
        return extent;
    }
    const std::size_t keyword = std::min(all.find_first_not_of(" \t", from), all.size());
    const auto* span = known->find(begin_ + static_cast<std::uint32_t>(keyword), lastBlock_);
    if (!span || span->end > begin_ + length_) {
        return qvblocks::scanBlock(all, from, maxDepth, nested);
    }
    return {qvblocks::Extent::whole, span->bodyStart - begin_, span->bodyEnd - begin_,
            span->end - begin_};
}

void FBuff::cutTo(unsigned length) {
    length_ = std::min<std::uint32_t>(length_, length);
    posn_ = std::min(posn_, length_);
}

bool FBuff::owns() const {
    return store_ && begin_ == 0 && store_->users.load(std::memory_order_acquire) == 1;
}

/// Room for `need` bytes of text of one's own, the text so far kept; null after posting an error.
char* FBuff::makeRoom(std::uint64_t need) {
    const bool own = owns();
    const std::uint64_t capacity = own ? store_->capacity : 0;
    if (need > largestText) {
        outOfMemory();
        return nullptr;
    }
    if (own) {
        store_->forgetBlocks();
    }
    if (own && need <= capacity) {
        return store_->data();
    }
    const std::uint64_t grown = std::min(
        capacity + (need - capacity - 1) / growthStep * growthStep + growthStep, largestText);
    if (own && grown <= store_->reserved) {
        store_->capacity = static_cast<std::uint32_t>(grown);
        return store_->data();
    }
    Store* store = Store::allocate(own ? store_ : nullptr, grown, reserveFor(grown));
    if (!store) {
        outOfMemory();
        return nullptr;
    }
    if (!own && store_) {
        std::memcpy(store->data(), store_->data() + begin_, length_);
        Store::release(store_);
        begin_ = 0;
    }
    store_ = store;
    return store->data();
}

/// Adds text without indent.
void FBuff::appendRaw(std::string_view text) {
    const char* own = store_ ? store_->data() : nullptr;
    if (own && !text.empty() && text.data() >= own && text.data() < own + store_->reserved) {
        // A part of our own text, which is about to move.
        appendRaw(std::string(text));
        return;
    }
    const std::uint64_t length = length_ + std::uint64_t{text.size()};
    char* data = makeRoom(length + 1);
    if (!data) {
        return;
    }
    if (!text.empty()) {
        std::memcpy(data + length_, text.data(), text.size());
    }
    data[length] = '\0';
    length_ = static_cast<std::uint32_t>(length);
    posn_ += static_cast<std::uint32_t>(text.size());
}

void FBuff::Append(std::string_view text) {
    static const std::string blanks(indentMask, ' ');
    if (const std::uint32_t indent = flags_ & indentMask) {
        appendRaw({blanks.data(), indent});
    }
    appendRaw(text);
}

void FBuff::Append(const FBuff& other) {
    Append(other.text());
}

void FBuff::setBlockIndent(int spaces) {
    flags_ = (flags_ & ~indentMask) | static_cast<std::uint32_t>(std::clamp(spaces, 0, 255));
}

void FBuff::setPosn(unsigned posn) const {
    if (posn <= length_) {
        posn_ = posn;
    }
}

std::string_view FBuff::text() const {
    return store_ ? std::string_view(store_->data() + begin_, length_) : std::string_view();
}

const char* FBuff::chars() const {
    if (!store_) {
        return "";
    }
    // Every store has a NUL after its text, so there is always a byte to look at.
    if (store_->data()[begin_ + length_] != '\0') {
        const_cast<FBuff*>(this)->compact();
        if (store_->data()[begin_ + length_] != '\0') {
            return "";
        }
    }
    return store_->data() + begin_;
}

unsigned FBuff::capacity() const {
    return owns() ? store_->capacity : 0;
}

void FBuff::compact() {
    if (!store_ || (owns() && store_->reserved == length_ + 1)) {
        return;
    }
    const bool own = owns();
    const std::uint64_t size = std::uint64_t{length_} + 1;
    Store* store = Store::allocate(own ? store_ : nullptr, size, size);
    if (!store) {
        outOfMemory();
        return;
    }
    if (!own) {
        std::memcpy(store->data(), store_->data() + begin_, length_);
        Store::release(store_);
        begin_ = 0;
    }
    store->data()[length_] = '\0';
    store_ = store;
}

bool FBuff::LoadFile(const char* path) {
    if (qverr()) {
        return false;
    }
    Store* store = nullptr;
    bool tooLong = false;
    auto room = [&](std::size_t size) -> char* {
        tooLong = size > largestText;
        Store* larger = tooLong ? nullptr : Store::allocate(store, size, size);
        store = larger ? larger : store;
        return larger ? store->data() : nullptr;
    };
    std::size_t length = 0;
    const bool read = qvplatform::readWholeFile(path, room, length);
    const int cause = errno;
    const char* nul =
        read ? static_cast<const char*>(std::memchr(store->data(), 0, length)) : nullptr;
    if (tooLong) {
        qverr().setf(500, "File \"%s\" is longer than 4 GiB\n", path);
    } else if (!read) {
        qverr().setf(500, "Failed to open file \"%s\"\n", path);
        if (qvplatform::fileSystem().status(path).exists()) {
            qverr().append((qvplatform::errorText(cause) + "\n").c_str());
        }
    } else if (nul) {
        qverr().setf(500, "File \"%s\" is not a text: it holds a NUL character at byte %llu\n",
                     path, static_cast<unsigned long long>(nul - store->data()));
    }
    if (!read || nul) {
        Store::release(store);
        return false;
    }
    unalloc();
    store_ = store;
    length_ = static_cast<std::uint32_t>(qvplatform::translateLineEnds(store->data(), length));
    store->data()[length_] = '\0';
    return true;
}

bool FBuff::SaveFile(const char* path) const {
    if (qverr()) {
        return false;
    }
    qvplatform::SafeFile file;
    if (!file.open(path)) {
        qverr().setf(500, "Failed to open file \"%s\"\n", path);
        if (qvplatform::fileSystem().status(path).isFile()) {
            qverr().append("File was read only?\n");
        }
        return false;
    }
    if (!file.write(text().data(), length_) || !file.commit()) {
        qverr().setf(500, "Failed to write file \"%s\"\n%s\n", path, file.error().c_str());
        return false;
    }
    return true;
}
