#pragma once
#include <complex>
#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

#include "qvutils/common/materials/materbase.h"
#include "qvutils/common/platform/qvexport.h"

/// Reading of material files: lines, words and numbers of a FILE, and where a mistake stands.
namespace qvmaterial {

/// What the calling thread is reading: the files, each included by the one before, and where the
/// last mistake was.
struct OpenFile {
    FILE* file;
    const std::string* path;
};
struct ReadingState {
    std::vector<OpenFile> files;
    qvMaterialMistake mistake;
    bool hasMistake = false;
};
ReadingState& readingState();

/// Reads words from the place where the file stands and leaves the file right after them, so that
/// others may read from the same file in between. `//` starts a comment to the end of the line.
class MaterReader {
public:
    explicit MaterReader(FILE* file);

    /// The next word; false at the end of the file. With `entries` an "=" is a word of its own.
    bool word(std::string& text, bool entries = false);
    /// The next word without taking it.
    bool peek(std::string& text, bool entries = false);
    /// The next thing when that is text in double quotes (given without them).
    enum class Quoted { yes, no, unfinished };
    Quoted quoted(std::string& text);
    bool number(double& value);
    /// Also "(re, im)".
    bool number(std::complex<double>& value);
    bool number(int& value);
    /// The next word; one that begins with "(" goes on to the ")", blanks and all.
    bool bracketed(std::string& text);
    /// The rest of the line, without its end.
    bool restOfLine(std::string& text);

    std::int64_t position() const;
    void goTo(std::int64_t position);
    bool atEnd();
    /// Was the last word the first one of its line?
    bool beganLine() const { return newLine_; }
    int lineOf(std::int64_t position);
    /// Says that this word was read just before, by another reader.
    void noteWord(std::string_view text) {
        word_ = text;
        read_ = static_cast<std::int64_t>(text.size());
    }

    /// Posts the message, followed by where the last word stands. Returns false.
    bool fail(const char* fmt, ...) QV_PRINTF_LIKE(2, 3);
    /// The same for a message that is pending already.
    bool fail();
    /// The same for the line at a position; `word` is shown.
    bool failAt(std::int64_t position, std::string_view word);

    FILE* file() const { return file_; }
    const std::string& path() const { return path_; }

private:
    int next() {
        ++read_;
        return std::getc(file_);
    }
    void back(int c) {
        --read_;
        if (c != EOF) std::ungetc(c, file_);
    }
    int skipBlank();
    bool commentBegins();

    FILE* file_;
    std::string path_;
    /// The last word, and how many characters were read since its start.
    std::string word_;
    std::int64_t read_ = 0;
    bool newLine_ = false;
};

/// Case of letters ignored.
bool sameWord(std::string_view a, std::string_view b);

}  // namespace qvmaterial
