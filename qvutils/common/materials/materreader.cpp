#include "qvutils/common/materials/materreader.h"

#include <algorithm>
#include <cstdarg>

#include "qvutils/common/error/qverror.h"
#include "qvutils/common/platform/files.h"
#include "qvutils/common/platform/format.h"
#include "qvutils/common/platform/threads.h"
#include "qvutils/common/text/qvnumber.h"

namespace qvmaterial {

namespace {

/// How much of a word a message shows.
constexpr std::size_t shownWord = 80;

/// Control characters, a NUL too, count as blanks; bytes of UTF-8 do not.
bool isBlank(int c) {
    return c >= 0 && c <= ' ';
}

std::string shown(std::string_view word) {
    if (word.size() <= shownWord) return std::string(word);
    return std::string(word.substr(0, shownWord)) + "...";
}

}  // namespace

ReadingState& readingState() {
    return qvplatform::perThread<ReadingState>();
}

bool sameWord(std::string_view a, std::string_view b) {
    auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? c | 0x20 : static_cast<int>(c); };
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [&](char x, char y) { return lower(x) == lower(y); });
}

MaterReader::MaterReader(FILE* file) : file_(file) {
    for (const OpenFile& open : readingState().files)
        if (open.file == file) path_ = *open.path;
}

std::int64_t MaterReader::position() const {
    return qvplatform::fileSystem().tell(file_);
}

void MaterReader::goTo(std::int64_t position) {
    qvplatform::fileSystem().seek(file_, position, SEEK_SET);
}

/// Reads over blanks and comments; returns the character after them, which is read as well.
int MaterReader::skipBlank() {
    newLine_ = false;
    for (int c = next();; c = next()) {
        if (c == '/' && commentBegins())
            while (c != '\n' && c != EOF) c = next();
        if (!isBlank(c)) return c;
        newLine_ |= c == '\n';
    }
}

/// After a "/": is another one next? Goes back by seeking, since only one character may be put
/// back.
bool MaterReader::commentBegins() {
    const std::int64_t after = position();
    const bool begins = std::getc(file_) == '/';
    goTo(after);
    return begins;
}

bool MaterReader::atEnd() {
    const int c = skipBlank();
    back(c);
    return c == EOF;
}

bool MaterReader::word(std::string& text, bool entries) {
    int c = skipBlank();
    read_ = 1;
    word_.clear();
    while (c != EOF && !isBlank(c)) {
        if (c == '/' && commentBegins()) break;
        const bool equals = entries && c == '=';
        if (equals && !word_.empty()) break;
        word_ += static_cast<char>(c);
        c = next();
        if (equals) break;
    }
    back(c);
    text = word_;
    return !word_.empty();
}

bool MaterReader::peek(std::string& text, bool entries) {
    const std::int64_t start = position();
    const std::string last = word_;
    const std::int64_t read = read_;
    const bool found = word(text, entries);
    goTo(start);
    word_ = last;
    read_ = read;
    return found;
}

MaterReader::Quoted MaterReader::quoted(std::string& text) {
    int c = skipBlank();
    back(c);
    if (c != '"') {
        // The word that stands in its place is shown if this is a mistake.
        const std::int64_t start = position();
        word(text);
        goTo(start);
        read_ = 0;
        return Quoted::no;
    }
    next();
    read_ = 1;
    word_ = "\"";
    for (c = next(); c != EOF && c != '"'; c = next()) word_ += static_cast<char>(c);
    text = word_.substr(1);
    if (c == EOF) return Quoted::unfinished;
    word_ += '"';
    return Quoted::yes;
}

bool MaterReader::bracketed(std::string& text) {
    int c = skipBlank();
    back(c);
    if (c != '(') return word(text);
    word_.clear();
    read_ = 0;
    do {
        c = next();
        if (c == EOF || c == '\n') break;
        word_ += static_cast<char>(c);
    } while (c != ')');
    text = word_;
    return true;
}

bool MaterReader::number(double& value) {
    std::string text;
    return word(text) && qvStringToNumber(std::string_view(text), value);
}

bool MaterReader::number(std::complex<double>& value) {
    std::string text;
    return bracketed(text) && qvStringToNumber(std::string_view(text), value);
}

bool MaterReader::number(int& value) {
    std::string text;
    // Digits alone: 2.5 is no count.
    return word(text) && text.find_first_not_of("0123456789") == std::string::npos &&
           qvStringToNumber(std::string_view(text), value);
}

bool MaterReader::restOfLine(std::string& text) {
    text.clear();
    int c = next();
    if (c == EOF) return false;
    for (; c != '\n' && c != EOF; c = next()) text += static_cast<char>(c);
    while (!text.empty() && text.back() == '\r') text.pop_back();
    return true;
}

int MaterReader::lineOf(std::int64_t wanted) {
    const std::int64_t here = position();
    goTo(0);
    int line = 1;
    for (std::int64_t i = 0; i < wanted; ++i) {
        const int c = std::getc(file_);
        if (c == EOF) break;
        line += c == '\n';
    }
    goTo(here);
    return line;
}

bool MaterReader::fail(const char* fmt, ...) {
    va_list args;
    va_start(args, fmt);
    qverr().set(qvplatform::vformatText(fmt, args).c_str());
    va_end(args);
    return fail();
}

bool MaterReader::fail() {
    return failAt(position() - read_, word_);
}

bool MaterReader::failAt(std::int64_t place, std::string_view word) {
    std::string message = qverr().chars();
    while (!message.empty() && isBlank(message.back())) message.pop_back();
    const std::string at = word.empty() ? "" : "\"" + shown(word) + "\"";
    ReadingState& state = readingState();
    state.hasMistake = true;
    state.mistake = {path_, lineOf(place), at.empty() ? message : message + "\nat " + at};
    std::string where = qvplatform::formatText("line %d", state.mistake.line);
    if (!path_.empty()) where += " of " + path_;
    if (!at.empty()) where += ": " + at;
    const std::string_view posted = qverr().chars();
    const bool lineEnds = !posted.empty() && posted.back() == '\n';
    qverr().append(((lineEnds ? "" : "\n") + where + "\n").c_str());
    return false;
}

}  // namespace qvmaterial
