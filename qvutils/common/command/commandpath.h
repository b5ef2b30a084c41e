#pragma once
#include <string_view>

/// One name of a path, with what follows it.
struct qvPathStep {
    std::string_view name;
    int indices[2] = {0, 0};
    int nIndices = 0;
    bool hasArgs = false;
    std::string_view args;  ///< what stands between the brackets of a call
};

/// Reads a path step by step:
///
///     path := step { "." step }
///     step := name { "[" integer "]" } [ "(" arguments ")" ]
///
/// Brackets in the arguments pair up, those inside double quotes do not count.
class qvPathScanner {
public:
    explicit qvPathScanner(std::string_view path) : path_(path), rest_(path) {}

    /// False at the end, and after a syntax error, which is posted to qverr().
    bool next(qvPathStep& step);
    bool atEnd() const { return rest_.empty(); }
    /// Reads all steps; false after a syntax error.
    static bool check(std::string_view path);

private:
    void skipBlanks();
    bool take(char c);
    bool name(qvPathStep& step);
    bool index(qvPathStep& step);
    bool arguments(qvPathStep& step);
    bool endOfStep();
    bool fail(const char* message);

    std::string_view path_;
    std::string_view rest_;
};
