#pragma once
#include <cstddef>
#include <string_view>

/// A statement of a text, trimmed, without its comment.
struct qvStatement {
    std::string_view text;
    std::string_view comment;  ///< from its "//" on; empty when there is none
    int line = 0;              ///< from 1
};

/// Cuts a text into statements. A line ends at each carriage return or line feed (the two together
/// count as one line end); in it, outside double quotes, ';' separates statements and "//" begins a
/// comment, which goes with the last statement of the line.
class qvStatementReader {
public:
    explicit qvStatementReader(std::string_view text) : rest_(text) {}

    /// False at the end of the text. Statements without text and comment are left out.
    bool next(qvStatement& statement);

private:
    qvStatement cut();

    std::string_view rest_;
    int line_ = 1;
};

std::string_view qvTrimmed(std::string_view text);

/// Where the "=" of an assignment stands: outside double quotes and brackets, and not doubled;
/// npos when there is none.
std::size_t qvFindAssignment(std::string_view statement);

/// The first word (up to the first blank) is taken off the front, with the blanks after it.
std::string_view qvTakeWord(std::string_view& text);
