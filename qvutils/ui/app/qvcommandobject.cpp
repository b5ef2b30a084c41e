#include "qvutils/ui/app/qvcommandobject.h"

#include <cstring>
#include <tuple>
#include <utility>

#include "qvutils/common/diagnostics/diagnostics.h"
#include "qvutils/common/error/qverror.h"

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
    // Texts that run each other too deep fail without a statement of this one.
    if (!succeeded && !answer.failed) answer = {true, false, qverr().chars()};
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

bool qvCommandObject::OnParseCommand(const char*, const char* result, int flags) {
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
