// Searching, slicing and the operations on letters.
#include <algorithm>
#include <cctype>

#include "qvutils/common/text/qvregex.h"
#include "qvutils/common/text/qvstring.h"

namespace {

bool isUpper(char c) {
    return c >= 'A' && c <= 'Z';
}
bool isLower(char c) {
    return c >= 'a' && c <= 'z';
}
bool isDigit(char c) {
    return c >= '0' && c <= '9';
}
bool isLetter(char c) {
    return isUpper(c) || isLower(c);
}
char toUpper(char c) {
    return isLower(c) ? static_cast<char>(c - 'a' + 'A') : c;
}
char toLower(char c) {
    return isUpper(c) ? static_cast<char>(c - 'A' + 'a') : c;
}
bool equalFolded(char a, char b) {
    return toUpper(a) == toUpper(b);
}

int toPosition(std::size_t pos) {
    return pos == std::string_view::npos ? -1 : static_cast<int>(pos);
}

}  // namespace

bool QVString::IsAscii() const {
    return std::ranges::all_of(view(), [](char c) { return static_cast<unsigned char>(c) < 128; });
}

bool QVString::IsWord() const {
    return std::ranges::all_of(view(), isLetter);
}
bool QVString::IsNumber() const {
    return std::ranges::all_of(view(), isDigit);
}

int QVString::CompareTo(QVText s, CaseCompare mode) const {
    const std::string_view a = view(), b = s.view();
    if (mode == exact) return a.compare(b);
    const std::size_t common = std::min(a.size(), b.size());
    for (std::size_t i = 0; i < common; ++i) {
        const auto left = static_cast<unsigned char>(toUpper(a[i]));
        const auto right = static_cast<unsigned char>(toUpper(b[i]));
        if (left != right) return left - right;
    }
    return static_cast<int>(a.size()) - static_cast<int>(b.size());
}

QVString::Found QVString::find(const QVPattern& p, int start) const {
    switch (p.kind()) {
        case QVPattern::character:
            return {Index(p.getChar(), start), 1};
        case QVPattern::text:
            return {Index(p.getText(), start), static_cast<int>(p.getText().size())};
        case QVPattern::regex:
            break;
    }
    int length = 0;
    const int pos = p.getRegex().Search(*this, length, start);
    return {pos, length};
}

int QVString::Index(QVText s, int start, CaseCompare mode) const {
    if (mode == exact) return Index(s, start);
    if (start < 0 || start > Length()) return -1;
    const std::string_view all = view(), wanted = s.view();
    const auto found =
        std::search(all.begin() + start, all.end(), wanted.begin(), wanted.end(), equalFolded);
    if (found == all.end() && !wanted.empty()) return -1;
    return static_cast<int>(found - all.begin());
}

int QVString::Last(const QVPattern& p) const {
    if (p.kind() == QVPattern::character) return toPosition(view().rfind(p.getChar()));
    if (p.kind() == QVPattern::text) return toPosition(view().rfind(p.getText()));
    int length = 0;
    return p.getRegex().SearchLast(*this, length);
}

bool QVString::Matches(const QVPattern& p, int start) const {
    if (start < 0 || start > Length()) return false;
    const std::string_view rest = view().substr(static_cast<std::size_t>(start));
    switch (p.kind()) {
        case QVPattern::character:
            return rest.size() == 1 && rest[0] == p.getChar();
        case QVPattern::text:
            return rest == p.getText();
        case QVPattern::regex:
            break;
    }
    return p.getRegex().MatchesAll(*this, start);
}

int QVString::Freq(const QVPattern& p) const {
    int count = 0;
    for (Found f = find(p, 0); f.pos >= 0; f = find(p, f.pos + std::max(f.len, 1))) ++count;
    return count;
}

QVSubString QVString::At(const QVPattern& p, int start) const {
    const Found f = find(p, start);
    return {*this, f.pos, f.len};
}

QVSubString QVString::Before(const QVPattern& p, int start) const {
    return {*this, 0, find(p, start).pos};
}

QVSubString QVString::Through(const QVPattern& p, int start) const {
    const Found f = find(p, start);
    return {*this, 0, f.pos < 0 ? 0 : f.pos + f.len};
}

QVSubString QVString::From(const QVPattern& p, int start) const {
    return {*this, find(p, start).pos, Length()};
}

QVSubString QVString::After(const QVPattern& p, int start) const {
    const Found f = find(p, start);
    return {*this, f.pos < 0 ? -1 : f.pos + f.len, Length()};
}

bool QVString::Del(const QVPattern& p, int start) {
    const Found f = find(p, start);
    if (f.pos < 0) return false;
    edit(f.pos, f.len, std::string_view());
    return true;
}

int QVString::GSub(const QVPattern& p, QVText replacement) {
    QVString result;
    int count = 0, copied = 0;
    for (Found f = find(p, 0); f.pos >= 0; f = find(p, f.pos + std::max(f.len, 1))) {
        result.Append(At(copied, f.pos - copied)).Append(replacement);
        copied = f.pos + f.len;
        ++count;
    }
    if (count == 0) return 0;
    result.Append(From(copied));
    *this = std::move(result);
    return count;
}

void QVString::Upcase() {
    std::transform(rep_->s, rep_->s + rep_->len, rep_->s, toUpper);
}
void QVString::Downcase() {
    std::transform(rep_->s, rep_->s + rep_->len, rep_->s, toLower);
}

void QVString::Capitalize() {
    bool inWord = false;
    for (char* c = rep_->s; c != rep_->s + rep_->len; ++c) {
        *c = inWord ? toLower(*c) : toUpper(*c);
        inWord = isLetter(*c) || isDigit(*c);
    }
}

void QVString::Reverse() {
    std::reverse(rep_->s, rep_->s + rep_->len);
}

QVSubString QVString::Strip(StripType type, char c) const {
    const std::string_view all = view();
    std::size_t first = 0, end = all.size();
    if (type & leading) first = std::min(all.find_first_not_of(c), end);
    if (type & trailing)
        while (end > first && all[end - 1] == c) --end;
    return {*this, static_cast<int>(first), static_cast<int>(end - first)};
}
