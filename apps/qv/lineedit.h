#pragma once
#include <functional>
#include <string>
#include <vector>

/// Lines typed by a person at a terminal. Two sources implement it: one with editing, history and
/// completion, one that leaves the editing to the console.
class LineEditor {
public:
    /// Given a line up to the cursor, the texts that could stand in its place.
    using Completer = std::function<std::vector<std::string>(const std::string& line)>;

    /// Only one may exist at a time.
    LineEditor(Completer completer, const std::vector<std::string>& history);
    ~LineEditor();
    LineEditor(const LineEditor&) = delete;
    LineEditor& operator=(const LineEditor&) = delete;

    /// The next line without its end; false at the end of the input.
    bool read(const std::string& prompt, std::string& line);
    /// Adds a line to those that the arrow keys bring back.
    void remember(const std::string& line);
};
