#pragma once
#include <string>
#include <vector>

#include "qvutils/common/command/command_line.h"
#include "qvutils/common/platform/qvexport.h"

/// What a text has to say to somebody who is not at the output.
struct qvCommandAnswer {
    bool failed = false;
    bool hasValue = false;  ///< some statement gave one, though perhaps an empty text
    std::string text;       ///< the values, or the error
};

/// The command language of an application: every path begins at the one root object, "app", or at
/// a global variable. Results and errors go to the output hook (lprintf, wlprintf); a program that
/// shows them otherwise overrides OnParseCommand.
class QVCORE_API qvCommandObject : public QVCommandBase {
public:
    static constexpr const char* rootName = "app";

    /// The object called "app", not owned; null until the application sets it.
    void setRoot(QVObject* root) { root_ = root; }

    /// Runs a text for somebody who waits for the answer, in place of showing results: the values of
    /// its statements, one per line, or the error of the first one that fails, which ends the text.
    /// What texts that it runs in turn show is shown. Nothing is pending in qverr() afterwards.
    qvCommandAnswer ExecuteForAnswer(const char* text);

    QVObject* FindInApp(const char* name) override;
    bool IsKeyword(const char* name) override;
    bool OnParseCommand(const char* command, const char* result, int flags) override;
    void OnListRoots(std::vector<std::string>& names) override;

protected:
    /// The statement that has begun or ended belongs to a text that is run for its answer: what
    /// overrides OnParseCommand or OnCommandError leaves it to this class.
    bool isForAnswer() const { return answer_ && getNesting() == answerNesting_; }

private:
    bool addToAnswer(const char* result);

    QVObject* root_ = nullptr;
    qvCommandAnswer* answer_ = nullptr;
    int answerNesting_ = 0;
};
