#pragma once
#include <string_view>
#include <vector>

#include "qvutils/common/text/qvstring.h"

/// The text of function blocks and data files, for the sources of this room.
namespace qvfunctiontext {

/// Reads a text word by word. Words end at blanks and line ends; `//` begins a comment that goes to
/// the end of the line. A word that is not what was asked for is not consumed.
class WordReader {
public:
    explicit WordReader(std::string_view text) : rest_(text) { skipBlanks(); }

    bool atEnd() const { return rest_.empty(); }
    bool readInt(int& value);
    /// A finite number.
    bool readNumber(double& value);
    /// No text has more words than this.
    std::size_t mostWords() const { return (rest_.size() + 1) / 2; }

private:
    std::string_view word() const;
    void skipBlanks();
    void take(std::size_t length);

    std::string_view rest_;
};

struct Pair {
    double x;
    double y;
};

enum class DataText { read, unrecognised, rowTooLong };

/// data: { row "\n" }
/// row:  [ number separator number [ separator anything ] ] [ "//" comment ]
/// The separator is blank space, a comma or a semicolon, with blank space around it. Rows without
/// numbers are left out; one row at least has them.
DataText readPairs(std::string_view text, std::vector<Pair>& pairs);

/// The two columns in the order of x; pairs of the same x stay in theirs.
void sortPairs(std::vector<Pair>& pairs, std::vector<double>& x, std::vector<double>& y);

/// The shortest text that reads back as the same number.
QVString numberText(double value);

}  // namespace qvfunctiontext
