#include "qvutils/ui/project/loadresult.h"

#include "qvutils/common/error/qverror.h"

SyntaxErrorReport::SyntaxErrorReport() {
    qvResetSyntaxErrCount();
}

void SyntaxErrorReport::take() {
    any_ = qvSyntaxErrCount() > 0;
    if (qverr() == syntaxErrors) {
        any_ = true;
        message_ = qverr().chars_and_reset();
    }
}

void SyntaxErrorReport::post() const {
    if (!any_) return;
    std::string text;
    if (qverr()) text = std::string(qverr().chars()) + "\n\n";
    text +=
        "Parts of the project could not be loaded due to syntax errors.\n"
        "See the Warnings window for details.";
    if (!message_.empty()) text += "\n\n" + message_;
    qverr().set(syntaxErrors, text.c_str());
}
