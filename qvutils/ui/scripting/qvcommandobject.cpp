#include "qvutils/ui/scripting/qvcommandobject.h"

#include <cstring>
#include <tuple>
#include <utility>

#include "qvutils/common/diagnostics/diagnostics.h"
#include "qvutils/common/error/qverror.h"
#include "qvutils/common/tasks/runsignal.h"
#include "qvutils/ui/scripting/qvcommandfile.h"

QVObject* qvCommandObject::FindInApp(const char* name) {
    return std::strcmp(name, rootName) == 0 ? root_ : nullptr;
}

bool qvCommandObject::IsKeyword(const char* name) {
    return std::strcmp(name, rootName) == 0;
}

qvCommandAnswer qvCommandObject::ExecuteForAnswer(const char* text) {
    qvCommandAnswer answer;
    const std::pair outer(answer_, answerNesting_);
    answer_ = &answer;
    answerNesting_ = getNesting() + 1;
    const bool succeeded = Execute(text);
    std::tie(answer_, answerNesting_) = outer;
    // Texts that run each other too deep, and those that are stopped, fail without a statement.
    if (!succeeded && !answer.failed) {
        answer = {true, false, qverr() ? qverr().chars() : "stopped\n"};
    }
    qverr().reset();
    return answer;
}

bool qvCommandObject::addToAnswer(const char* result) {
    if (qverr()) {
        *answer_ = {true, false, qverr().chars()};
        return false;
    }
    if (!gaveValue()) return true;
    std::string& text = answer_->text;
    if (answer_->hasValue && (text.empty() || text.back() != '\n')) text += '\n';
    answer_->hasValue = true;
    text += result;
    return true;
}

void qvCommandObject::observe(const char* command, int flags) {
    if (!observer_) return;
    const bool outermost = getNesting() == 1;
    if (flags == aboutToRun)
        observer_->statementBegins(command, outermost);
    else
        observer_->statementEnded(command, outermost);
}

bool qvCommandObject::RunFile(const std::string& path) {
    std::string text;
    std::string error;
    if (!qvReadCommandFile(path, text, error)) {
        qverr().set((error + "\n").c_str());
        return false;
    }
    const bool tooDeep = getNesting() == maxNesting;
    if (Execute(text.c_str())) return true;
    // What went wrong was shown with the statement.
    if (!tooDeep) qverr().setf("\"%s\" failed or was stopped\n", path.c_str());
    return false;
}

bool qvCommandObject::OnParseCommand(const char* command, const char* result, int flags) {
    // Whoever stops a statement wants the rest of the text to be left out too.
    if (flags == aboutToRun && qvRunSignal::killRequested()) return false;
    observe(command, flags);
    if (flags != hasRun) return true;
    if (isForAnswer()) return addToAnswer(result);
    if (qverr()) {
        qverr().display();
    } else if (*result) {
        lwrite(result);
        if (result[std::strlen(result) - 1] != '\n') lwrite("\n");
    }
    return true;
}

void qvCommandObject::OnListRoots(std::vector<std::string>& names) {
    names.push_back(rootName);
}
