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

/// Follows what a command object runs.
class QVCORE_API qvCommandObserver {
public:
    virtual ~qvCommandObserver() = default;
    /// `outermost` tells a statement that was typed or stands in a text that was, from one that
    /// another statement runs. The command is the statement with its comment.
    virtual void statementBegins(const char* /*command*/, bool /*outermost*/) {}
    /// An error is pending in qverr() when it failed.
    virtual void statementEnded(const char* /*command*/, bool /*outermost*/) {}
    /// A text that was shown in another way than by lprintf and wlprintf.
    virtual void shown(const char* /*text*/) {}
};

/// The command language of an application: every path begins at the one root object, "app", or at
/// a global variable. Results and errors go to the output hook (lprintf, wlprintf); a program that
/// shows them otherwise overrides OnParseCommand.
class QVCORE_API qvCommandObject : public QVCommandBase {
public:
    static constexpr const char* rootName = "app";

    /// The object called "app", not owned; null until the application sets it.
    void setRoot(QVObject* root) { root_ = root; }

    /// Not owned; null takes it away.
    void setObserver(qvCommandObserver* observer) { observer_ = observer; }

    /// Runs a command file (see docs/command-language.md) inside the statement that asks for it.
    /// False, with an error posted, when it cannot be read or one of its statements has failed.
    virtual bool RunFile(const std::string& path);

    /// Runs a text for somebody who waits for the answer, in place of showing results: the values of
    /// its statements, one per line, or the error of the first one that fails, which ends the text.
    /// What texts that it runs in turn show is shown. Nothing is pending in qverr() afterwards.
    qvCommandAnswer ExecuteForAnswer(const char* text);

    QVObject* FindInApp(const char* name) override;
    bool IsKeyword(const char* name) override;
    bool OnParseCommand(const char* command, const char* result, int flags) override;
    void OnListRoots(std::vector<std::string>& names) override;

protected:
    /// Tells the observer. What overrides OnParseCommand without calling this class's calls observe
    /// first, and noteShown with each text that it shows by itself.
    void observe(const char* command, int flags);
    void noteShown(const char* text) {
        if (observer_) observer_->shown(text);
    }
    /// The statement that has begun or ended belongs to a text that is run for its answer: what
    /// overrides OnParseCommand or OnCommandError leaves it to this class.
    bool isForAnswer() const { return answer_ && getNesting() == answerNesting_; }

private:
    bool addToAnswer(const char* result);

    QVObject* root_ = nullptr;
    qvCommandObserver* observer_ = nullptr;
    qvCommandAnswer* answer_ = nullptr;
    int answerNesting_ = 0;
};
