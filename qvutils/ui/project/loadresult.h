#pragma once
#include <string>

/// What becomes of the syntax errors of a read. They leave it successful, so a pending error 504 is
/// taken back before the tree is completed, and told to the user when all is done.
class SyntaxErrorReport {
public:
    static constexpr int syntaxErrors = 504;

    /// Begins to count anew.
    SyntaxErrorReport();
    /// Notes the syntax errors since then and takes back an error 504.
    void take();
    /// Posts error 504 when there were any.
    void post() const;

private:
    bool any_ = false;
    std::string message_;
};
