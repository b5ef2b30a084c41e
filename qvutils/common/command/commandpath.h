#pragma once
#include <cstddef>
#include <string_view>

#include "qvutils/common/object/qvsmallarray.h"

/// One name of a path, with what follows it.
struct qvPathStep {
    std::string_view name;
    int indices[2] = {0, 0};
    int nIndices = 0;
    bool hasArgs = false;
    std::string_view args;  ///< what stands between the brackets of a call
};

/// A path cut into its steps:
///
///     path := step { "." step }
///     step := name { "[" integer "]" } [ "(" arguments ")" ]
///
/// Brackets in the arguments pair up, those inside double quotes do not count.
class qvPath {
public:
    /// A syntax error is posted to qverr(), and the path is then empty.
    explicit qvPath(std::string_view text);
    /// Where a syntax error stands: from there to the end of the text.
    std::string_view fault() const { return fault_; }

    std::size_t size() const { return steps_.size(); }
    const qvPathStep& operator[](std::size_t i) const { return steps_[i]; }
    /// The text of the path without the arguments of a call at its end.
    std::string_view withoutCall(std::string_view text) const {
        const qvPathStep& last = steps_[size() - 1];
        if (!last.hasArgs) return text;
        return text.substr(0, static_cast<std::size_t>(last.args.data() - text.data()) - 1);
    }

private:
    bool step(qvPathStep& step);
    bool name(qvPathStep& step);
    bool index(qvPathStep& step);
    bool arguments(qvPathStep& step);
    bool endOfStep();
    void skipBlanks();
    bool take(char c);
    bool fail(const char* message) { return fail(message, rest_); }
    bool fail(const char* message, std::string_view fault);

    std::string_view text_;
    std::string_view rest_;
    std::string_view fault_;
    qvSmallArray<qvPathStep, 4> steps_;
};
