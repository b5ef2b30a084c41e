#pragma once
#include <compare>
#include <concepts>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <string_view>

#include "qvutils/common/platform/qvexport.h"

class QVRegex;
class QVString;

/// A string's storage: one block that holds the two counts and the characters.
struct QVStrRep {
    std::uint32_t len;  ///< characters, without the NUL
    std::uint32_t sz;   ///< capacity in characters
    char s[1];          ///< the characters, always followed by a NUL
};

/// Stands for every empty string; never written and never freed.
extern QVCORE_API QVStrRep QV_nilStrRep;

/// Every error of the string classes goes to one handler. The default one writes
/// "className: message" to the standard error stream and returns.
using QVStringErrorHandler = void (*)(const char* className, const char* message);
/// Returns the handler installed before; null brings the default back.
QVCORE_API QVStringErrorHandler setQVStringErrorHandler(QVStringErrorHandler handler);
QVCORE_API void qvStringError(const char* className, const char* message);

/// A part of a string. It refers to its owner, so it shows what the owner holds when it is read;
/// what lies past the owner's end reads as absent.
class QVCORE_API QVSubString {
public:
    QVSubString(const QVString& owner, int pos, int len);

    int Start() const { return pos_; }
    int Length() const { return static_cast<int>(view().size()); }
    bool Empty() const { return view().empty(); }
    std::string_view view() const;
    /// Ends the program when `pos` is out of the view's bounds.
    char operator[](int pos) const;

private:
    const QVString* owner_;
    int pos_;
    int len_;
};

/// Any text given as an argument. It does not outlive the text that it was made of.
class QVText {
public:
    QVText(const char* s) : view_(checked(s)) {}
    QVText(std::string_view s) : view_(s) {}
    inline QVText(const QVString& s);
    QVText(const QVSubString& s) : view_(s.view()) {}

    std::string_view view() const { return view_; }
    const char* data() const { return view_.data(); }
    int Length() const { return static_cast<int>(view_.size()); }

private:
    static std::string_view checked(const char* s) {
        if (!s) refuseNull();
        return s;
    }
    [[noreturn]] QVCORE_API static void refuseNull();

    std::string_view view_;
};

/// What the search operations look for: a character, a text or a regular expression.
class QVPattern {
public:
    enum Kind { character, text, regex };

    QVPattern(char c) : kind_(character), char_(c) {}
    QVPattern(const char* s) : kind_(text), text_(checked(s)) {}
    QVPattern(std::string_view s) : kind_(text), text_(s) {}
    inline QVPattern(const QVString& s);
    QVPattern(const QVSubString& s) : kind_(text), text_(s.view()) {}
    QVPattern(const QVRegex& r) : kind_(regex), regex_(&r) {}

    Kind kind() const { return kind_; }
    char getChar() const { return char_; }
    std::string_view getText() const { return text_; }
    const QVRegex& getRegex() const { return *regex_; }

private:
    static std::string_view checked(const char* s) {
        if (!s) refuseNull();
        return s;
    }
    [[noreturn]] QVCORE_API static void refuseNull();

    Kind kind_;
    char char_ = 0;
    std::string_view text_;
    const QVRegex* regex_ = nullptr;
};

/// The string of the whole library: bytes of any value with a NUL after the last one. Each string
/// owns its characters alone. Positions count from 0; a position before the start or past the end
/// finds nothing and edits nothing beyond the text. "Not found" is position -1 or an empty view.
class QVCORE_API QVString {
public:
    enum CaseCompare { exact, ignoreCase };
    enum StripType { leading = 1, trailing = 2, both = 3 };

    QVString() : rep_(&QV_nilStrRep) {}
    QVString(const QVString& s);
    QVString(QVString&& s) noexcept : rep_(s.rep_) { s.rep_ = &QV_nilStrRep; }
    QVString(const QVSubString& s);
    QVString(char c);
    QVString(const char* s);
    QVString(const char* s, int length);
    explicit QVString(std::string_view s);
    ~QVString() { freeRep(); }

    QVString& operator=(const QVString& s);
    QVString& operator=(QVString&& s) noexcept {
        std::swap(rep_, s.rep_);
        return *this;
    }
    QVString& operator=(QVText s);
    QVString& operator=(const QVSubString& s) { return *this = QVText(s); }
    QVString& operator=(const char* s) { return *this = QVText(s); }
    QVString& operator=(char c);
    /// Replaces the contents with printf-style output of any length, in the C locale.
    QVString& sprintf(const char* format, ...) QV_PRINTF_LIKE(2, 3);
    QVString Copy() const { return *this; }

    QVString& Append(QVText s);
    QVString& Append(const char* s, int length);
    QVString& Append(char c) {
        if (rep_->len < rep_->sz && rep_ != &QV_nilStrRep) {
            rep_->s[rep_->len++] = c;
            rep_->s[rep_->len] = '\0';
            return *this;
        }
        return appendSlowly(c);
    }
    QVString& Append(char c, int n);
    QVString& Prepend(QVText s);
    QVString& Prepend(char c, int n = 1);
    QVString& operator+=(QVText s) { return Append(s); }
    QVString& operator+=(char c) { return Append(c); }

    int Length() const { return static_cast<int>(rep_->len); }
    bool Empty() const { return rep_->len == 0; }
    bool IsNull() const { return !rep_ || rep_ == &QV_nilStrRep; }
    bool IsDefined() const { return !IsNull(); }
    /// Every byte is below 128; is a letter A-Z or a-z; is a decimal digit.
    bool IsAscii() const;
    bool IsWord() const;
    bool IsNumber() const;
    char Firstchar() const { return Empty() ? '\0' : rep_->s[0]; }
    char Lastchar() const { return Empty() ? '\0' : rep_->s[rep_->len - 1]; }
    /// Past the end this reports "invalid index" and reads as NUL.
    char Elem(int i) const { return inBounds(i) ? rep_->s[i] : invalidElement(); }
    template <std::integral I>
    char operator[](I i) const {
        return inBounds(i) ? rep_->s[i] : invalidElement();
    }
    template <std::integral I>
    char& operator[](I i) {
        return inBounds(i) ? rep_->s[i] : invalidElement();
    }
    const char* Chars() const { return rep_->s; }
    const char* GetData() const { return rep_->s; }
    operator const char*() const { return rep_->s; }
    std::string_view view() const { return {rep_->s, rep_->len}; }

    /// Makes room for at least n characters.
    void Alloc(int n);
    int Allocation() const { return static_cast<int>(rep_->sz); }
    /// Checks the representation; reports "invariant failure" when it is damaged.
    bool OK() const;
    /// Calls the error handler for class "QVString".
    void Error(const char* message) const;

    /// Negative, 0 or positive. ignoreCase folds a-z to A-Z, compares over the shorter length, then
    /// returns the difference of the lengths.
    int CompareTo(QVText s, CaseCompare mode = exact) const;

    /// The first occurrence at or after `start`, or -1.
    int Index(char c, int start = 0) const {
        return start < 0 ? -1 : static_cast<int>(view().find(c, static_cast<std::size_t>(start)));
    }
    int Index(QVText s, int start = 0) const {
        return start < 0 ? -1
                         : static_cast<int>(view().find(s.view(), static_cast<std::size_t>(start)));
    }
    int Index(const QVRegex& r, int start = 0) const { return find(r, start).pos; }
    int Index(QVText s, CaseCompare mode) const { return Index(s, 0, mode); }
    int Index(QVText s, int start, CaseCompare mode) const;
    int Search(const QVPattern& p, int start = 0) const { return find(p, start).pos; }
    int First(const QVPattern& p) const { return find(p, 0).pos; }
    /// The last occurrence, or -1.
    int Last(const QVPattern& p) const;
    /// Does it occur at or after `start`?
    bool Contains(const QVPattern& p, int start = 0) const { return find(p, start).pos >= 0; }
    bool Contains(QVText s, CaseCompare mode) const { return Index(s, mode) >= 0; }
    /// Is it all of the text from `start` to the end?
    bool Matches(const QVPattern& p, int start = 0) const;
    /// How many occurrences that do not overlap.
    int Freq(const QVPattern& p) const;

    /// The occurrence itself; what is before it; what is before it and it; it and what is after;
    /// what is after it.
    QVSubString At(int pos, int len) const { return {*this, pos, len}; }
    QVSubString At(char c, int start = 0) const { return At(QVPattern(c), start); }
    QVSubString At(const QVPattern& p, int start = 0) const;
    QVSubString Before(int pos) const { return {*this, 0, pos}; }
    QVSubString Before(char c, int start = 0) const { return Before(QVPattern(c), start); }
    QVSubString Before(const QVPattern& p, int start = 0) const;
    QVSubString Through(int pos) const { return {*this, 0, inBounds(pos) ? pos + 1 : 0}; }
    QVSubString Through(char c, int start = 0) const { return Through(QVPattern(c), start); }
    QVSubString Through(const QVPattern& p, int start = 0) const;
    QVSubString From(int pos) const { return {*this, pos, Length()}; }
    QVSubString From(char c, int start = 0) const { return From(QVPattern(c), start); }
    QVSubString From(const QVPattern& p, int start = 0) const;
    QVSubString After(int pos) const { return {*this, inBounds(pos) ? pos + 1 : -1, Length()}; }
    QVSubString After(char c, int start = 0) const { return After(QVPattern(c), start); }
    QVSubString After(const QVPattern& p, int start = 0) const;
    QVSubString operator()(int pos, int len) const { return {*this, pos, len}; }
    QVString SubString(int pos, int len) const { return QVString(At(pos, len)); }

    void Del(int pos, int len) { edit(pos, len, {}); }
    /// Deletes the first occurrence at or after `start`; false when there is none.
    bool Del(char c, int start = 0) { return Del(QVPattern(c), start); }
    bool Del(const QVPattern& p, int start = 0);
    /// Replaces every occurrence (they do not overlap) and returns their number.
    int GSub(const QVPattern& p, QVText replacement);
    /// A position past the end inserts at the end.
    void Insert(int pos, QVText s) { edit(pos, 0, s); }
    void Replace(int pos, int len, QVText s) { edit(pos, len, s); }
    /// Removes everything from `pos` on.
    void Remove(int pos) { edit(pos, Length(), {}); }
    void Remove(int pos, int len) { edit(pos, len, {}); }
    void RemoveLast() { edit(Length() - 1, 1, {}); }

    /// Letters A-Z and a-z only; other bytes stay. Capitalize: each word's first letter becomes
    /// upper case, its others lower case.
    void Upcase();
    void Downcase();
    void UpperCase() { Upcase(); }
    void LowerCase() { Downcase(); }
    void Capitalize();
    void Reverse();
    /// The part without the leading and/or trailing run of c.
    QVSubString Strip(StripType type = both, char c = ' ') const;

private:
    struct Found {
        int pos;
        int len;
    };
    Found find(const QVPattern& p, int start) const;
    template <std::integral I>
    bool inBounds(I i) const {
        return static_cast<std::uint64_t>(i) < rep_->len;
    }
    char& invalidElement() const;
    QVString& appendSlowly(char c);
    bool aliases(std::string_view s) const;
    bool reserve(std::size_t n);
    void setLength(std::size_t n);
    void assign(std::string_view s);
    void edit(int pos, int len, std::string_view s);
    void edit(int pos, int len, QVText s) { edit(pos, len, s.view()); }
    void freeRep() {
        if (rep_ != &QV_nilStrRep) std::free(rep_);
    }

    QVStrRep* rep_;
};

inline QVText::QVText(const QVString& s) : view_(s.view()) {}
inline QVPattern::QVPattern(const QVString& s) : kind_(text), text_(s.view()) {}

/// Byte order. The three forms of each operator keep the conversion to a C string out of play.
inline bool operator==(const QVString& a, const QVString& b) {
    return a.view() == b.view();
}
inline bool operator==(const QVString& a, const QVSubString& b) {
    return a.view() == b.view();
}
inline bool operator==(const QVString& a, const char* b) {
    return a.view() == QVText(b).view();
}
inline bool operator==(const QVSubString& a, const QVSubString& b) {
    return a.view() == b.view();
}
inline bool operator==(const QVSubString& a, const char* b) {
    return a.view() == QVText(b).view();
}
inline auto operator<=>(const QVString& a, const QVString& b) {
    return a.view() <=> b.view();
}
inline auto operator<=>(const QVString& a, const QVSubString& b) {
    return a.view() <=> b.view();
}
inline auto operator<=>(const QVString& a, const char* b) {
    return a.view() <=> QVText(b).view();
}

QVCORE_API QVString qvConcatenate(QVText a, QVText b);
template <std::convertible_to<QVText> T>
QVString operator+(const QVString& a, const T& b) {
    return qvConcatenate(a, b);
}
template <std::convertible_to<QVText> T>
QVString operator+(QVString&& a, const T& b) {
    return std::move(a.Append(b));
}
inline QVString operator+(const char* a, const QVString& b) {
    return qvConcatenate(a, b);
}
inline QVString operator+(const QVString& a, char b) {
    return qvConcatenate(a, std::string_view(&b, 1));
}
inline QVString operator+(QVString&& a, char b) {
    return std::move(a.Append(b));
}
/// A number is not a character: adding one would be a mistake either way.
template <std::integral I>
QVString operator+(const QVString& a, I b) = delete;

/// n repetitions.
QVCORE_API QVString QV_Replicate(char c, int n);
QVCORE_API QVString QV_Replicate(const QVString& s, int n);

/// Deletes from each "//" to the end of its line, then every newline: the result is one line.
QVCORE_API void RemoveComments(QVString& text);

template <>
struct std::hash<QVString> {
    std::size_t operator()(const QVString& s) const {
        return std::hash<std::string_view>()(s.view());
    }
};
