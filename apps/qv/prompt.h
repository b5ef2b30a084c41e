#pragma once
#include <string>

class Host;
class LineEditor;

/// The interactive prompt, for a person at a terminal. Its history is kept between runs in the
/// user's state directory.
class Prompt {
public:
    explicit Prompt(Host& host) : host_(host) {}

    /// Reads and runs lines until the user leaves.
    void run();
    /// Asks a question to be answered with yes or no; false is also the answer to end of input.
    bool ask(const std::string& question);
    /// A question answered by a text; false at the end of input.
    bool ask(const std::string& question, std::string& answer);

private:
    bool leave();

    Host& host_;
    LineEditor* editor_ = nullptr;
};

/// Tells of each open project with changes that are in no file; false when there is none.
bool listUnsaved();
