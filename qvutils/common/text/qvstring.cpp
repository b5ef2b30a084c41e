#include "qvutils/common/text/qvstring.h"

#include <algorithm>
#include <atomic>
#include <bit>
#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>

#include "qvutils/common/diagnostics/diagnostics.h"
#include "qvutils/common/platform/format.h"

QVStrRep QV_nilStrRep = {0, 1, {'\0'}};

namespace {

constexpr std::uint64_t minBlock = 4;
constexpr std::uint64_t maxBlock = 0x40000002;

void printError(const char* className, const char* message) {
    std::fprintf(stderr, "%s: %s\n", className, message);
}

std::atomic<QVStringErrorHandler> errorHandler = printError;

void require(bool holds, const char* condition) {
    if (!holds) exitfn("Assertion failed: %s, file qvstring\n", condition);
}

/// The size class that holds n characters: the block is P - 4 bytes, its capacity P - 16. The
/// characters begin at byte 8, so the NUL after the last one still fits.
std::uint64_t sizeClass(std::uint64_t n) {
    return n == 0 ? 16 : std::max<std::uint64_t>(32, std::bit_ceil(n + 16));
}

/// The size class for n characters, or 0, and a report, when there is none so large.
std::uint64_t checkedSizeClass(std::uint64_t n) {
    const std::uint64_t size = n > maxBlock ? maxBlock + 1 : sizeClass(n);
    if (size >= minBlock && size <= maxBlock) return size;
    qvStringError("QVString", "Requested length out of range");
    return 0;
}

QVStrRep* withCapacity(void* block, std::uint64_t size) {
    if (!block) throw std::bad_alloc();
    auto* rep = static_cast<QVStrRep*>(block);
    rep->sz = static_cast<std::uint32_t>(size - 16);
    return rep;
}

void setText(QVStrRep* rep, std::string_view s) {
    std::memmove(rep->s, s.data(), s.size());
    rep->s[s.size()] = '\0';
    rep->len = static_cast<std::uint32_t>(s.size());
}

QVStrRep* newRep(std::string_view s) {
    if (s.empty()) return &QV_nilStrRep;
    const std::uint64_t size = checkedSizeClass(s.size());
    if (!size) return &QV_nilStrRep;
    QVStrRep* rep = withCapacity(std::malloc(size - 4), size);
    setText(rep, s);
    return rep;
}

}  // namespace

QVStringErrorHandler setQVStringErrorHandler(QVStringErrorHandler handler) {
    return errorHandler.exchange(handler ? handler : printError);
}

void qvStringError(const char* className, const char* message) {
    errorHandler.load()(className, message);
}

void QVText::refuseNull() {
    exitfn("Assertion failed: %s, file qvstring\n", "cs!=NULL");
}
void QVPattern::refuseNull() {
    exitfn("Assertion failed: %s, file qvstring\n", "pattern!=NULL");
}

QVSubString::QVSubString(const QVString& owner, int pos, int len)
    : owner_(&owner), pos_(pos), len_(len) {
    const int length = owner.Length();
    if (pos < 0 || pos > length || len < 0) pos_ = len_ = 0;
    if (len_ > length - pos_) len_ = length - pos_;
}

std::string_view QVSubString::view() const {
    const std::string_view all = owner_->view();
    const auto pos = static_cast<std::size_t>(pos_);
    return pos > all.size() ? std::string_view() : all.substr(pos, static_cast<std::size_t>(len_));
}

char QVSubString::operator[](int pos) const {
    require(pos >= 0 && pos < Length(), "pos < len");
    return view()[static_cast<std::size_t>(pos)];
}

QVString::QVString(std::string_view s) : rep_(newRep(s)) {}
QVString::QVString(const QVString& s) : rep_(newRep(s.view())) {}
QVString::QVString(const QVSubString& s) : rep_(newRep(s.view())) {}
QVString::QVString(const char* s) : rep_(newRep(QVText(s).view())) {}
QVString::QVString(char c) : rep_(newRep({&c, 1})) {}

QVString::QVString(const char* s, int length) : QVString() {
    require(s, "s != NULL");
    if (length > 0) rep_ = newRep({s, static_cast<std::size_t>(length)});
}

QVString& QVString::operator=(const QVString& s) {
    if (this != &s) assign(s.view());
    return *this;
}

QVString& QVString::operator=(QVText s) {
    assign(s.view());
    return *this;
}

QVString& QVString::operator=(char c) {
    assign({&c, 1});
    return *this;
}

bool QVString::aliases(std::string_view s) const {
    const std::less_equal<const char*> notAfter;
    return notAfter(rep_->s, s.data()) && notAfter(s.data(), rep_->s + rep_->len);
}

/// Makes the representation writable with room for n characters. The contents stay.
bool QVString::reserve(std::size_t n) {
    if (n <= rep_->sz && !IsNull()) return true;
    const std::uint64_t size = checkedSizeClass(n);
    if (!size) return false;
    if (IsNull()) {
        rep_ = withCapacity(std::malloc(size - 4), size);
        setLength(0);
    } else {
        rep_ = withCapacity(std::realloc(rep_, size - 4), size);
    }
    return true;
}

void QVString::setLength(std::size_t n) {
    rep_->len = static_cast<std::uint32_t>(n);
    rep_->s[n] = '\0';
}

void QVString::assign(std::string_view s) {
    if (s.empty()) {
        if (!IsNull()) setLength(0);
        return;
    }
    // A text inside this string fits it already, so nothing is moved before it is copied.
    if (reserve(s.size())) setText(rep_, s);
}

void QVString::Alloc(int n) {
    if (n < 0) {
        Error("Requested length out of range");
        return;
    }
    reserve(static_cast<std::size_t>(n));
}

bool QVString::OK() const {
    const bool ok = rep_ && rep_->len <= rep_->sz && rep_->s[rep_->len] == '\0' &&
                    (!IsNull() || (rep_->len == 0 && rep_->sz == 1));
    if (!ok) Error("invariant failure");
    return ok;
}

void QVString::Error(const char* message) const {
    qvStringError("QVString", message);
}

char& QVString::invalidElement() const {
    Error("invalid index");
    thread_local char nothing;
    return nothing = '\0';
}

QVString& QVString::sprintf(const char* format, ...) {
    va_list args;
    va_start(args, format);
    char local[1024];
    std::unique_ptr<char[]> heap;
    std::size_t size = sizeof local;
    for (char* buffer = local;; buffer = heap.get()) {
        va_list again;
        va_copy(again, args);
        const int written = qvplatform::vformat(buffer, size, format, again);
        va_end(again);
        if (written >= 0 && static_cast<std::size_t>(written) < size) {
            assign({buffer, static_cast<std::size_t>(written)});
            break;
        }
        if (written < 0 || size > maxBlock) {
            Error("Requested length out of range");
            break;
        }
        while (size <= static_cast<std::size_t>(written)) size *= 2;
        heap = std::make_unique_for_overwrite<char[]>(size);
    }
    va_end(args);
    return *this;
}

QVString& QVString::Append(QVText text) {
    std::string_view s = text.view();
    if (s.empty()) return *this;
    const std::size_t length = rep_->len;
    const bool own = aliases(s);
    const std::ptrdiff_t offset = own ? s.data() - rep_->s : 0;
    if (!reserve(length + s.size())) return *this;
    std::memcpy(rep_->s + length, own ? rep_->s + offset : s.data(), s.size());
    setLength(length + s.size());
    return *this;
}

QVString& QVString::Append(const char* s, int length) {
    require(s, "s != NULL");
    return length > 0 ? Append(QVText(std::string_view(s, static_cast<std::size_t>(length))))
                      : *this;
}

QVString& QVString::appendSlowly(char c) {
    return Append(QVText(std::string_view(&c, 1)));
}

QVString& QVString::Append(char c, int n) {
    if (n <= 0) return *this;
    const std::size_t length = rep_->len, count = static_cast<std::size_t>(n);
    if (!reserve(length + count)) return *this;
    std::memset(rep_->s + length, c, count);
    setLength(length + count);
    return *this;
}

QVString& QVString::Prepend(QVText s) {
    edit(0, 0, s);
    return *this;
}

QVString& QVString::Prepend(char c, int n) {
    return Prepend(QV_Replicate(c, n));
}

/// The one way to change the middle: `len` characters from `pos` on make way for `s`.
void QVString::edit(int pos, int len, std::string_view s) {
    const std::size_t length = rep_->len;
    if (pos < 0 || len < 0) return;
    const std::size_t from = std::min(static_cast<std::size_t>(pos), length);
    const std::size_t gone = std::min(static_cast<std::size_t>(len), length - from);
    if (gone == 0 && s.empty()) return;
    if (aliases(s)) {
        const QVString copy(s);
        return edit(pos, len, copy.view());
    }
    const std::size_t result = length - gone + s.size();
    if (!reserve(result)) return;
    char* at = rep_->s + from;
    std::memmove(at + s.size(), at + gone, length - from - gone);
    if (!s.empty()) std::memcpy(at, s.data(), s.size());
    setLength(result);
}

QVString qvConcatenate(QVText a, QVText b) {
    QVString sum;
    sum.Alloc(a.Length() + b.Length());
    return std::move(sum.Append(a).Append(b));
}

QVString QV_Replicate(char c, int n) {
    QVString text;
    text.Append(c, n);
    return text;
}

QVString QV_Replicate(const QVString& s, int n) {
    QVString text;
    for (int i = 0; i < n; ++i) text.Append(s);
    return text;
}

void RemoveComments(QVString& text) {
    QVString line;
    bool inComment = false;
    const std::string_view all = text.view();
    for (std::size_t i = 0; i < all.size(); ++i) {
        if (all[i] == '\n') {
            inComment = false;
        } else if (!inComment) {
            inComment = all.substr(i, 2) == "//";
            if (!inComment) line.Append(all[i]);
        }
    }
    text = std::move(line);
}
