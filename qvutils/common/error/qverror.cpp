#include "qvutils/common/error/qverror.h"

#include <cstdarg>
#include <utility>

#include "qvutils/common/diagnostics/diagnostics.h"
#include "qvutils/common/platform/format.h"
#include "qvutils/common/platform/threads.h"

const char* Error::errTitle = "Error";

void Error::set(int number, const char* message) {
    // The message may be this object's own.
    std::string text = message ? message : "";
    number_ = number ? number : unnumbered;
    message_ = std::move(text);
}

void Error::setf(const char* fmt, ...) {
    va_list args;
    va_start(args, fmt);
    const std::string text = qvplatform::vformatText(fmt, args);
    va_end(args);
    set(unnumbered, text.c_str());
}

void Error::setf(int number, const char* fmt, ...) {
    va_list args;
    va_start(args, fmt);
    const std::string text = qvplatform::vformatText(fmt, args);
    va_end(args);
    set(number, text.c_str());
}

void Error::append(const char* message) {
    if (!number_) return set(message);
    message_ += message ? message : "";
}

const char* Error::chars_and_reset() {
    const char* text = chars();
    reset();
    return text;
}

void Error::transferto(Error& other) {
    if (!number_ || &other == this) return;
    other.number_ = std::exchange(number_, 0);
    other.message_ = std::exchange(message_, {});
}

void Error::display(int kind) const {
    if (!number_) return;
    const auto write = kind ? wlwrite : lwrite;
    std::string text = std::string(errTitle) + ": " + message_;
    if (text.back() != '\n') text += '\n';
    write(text.c_str());
}

namespace {

struct SyntaxErrors {
    int count = 0;
    int quiet = 0;
};
thread_local SyntaxErrors syntaxErrors;

}  // namespace

Error& qverr() { return qvplatform::perThread<Error>(); }

void CodeError(const char* function, const char* file, int line) {
    qverr().setf("Code Error: %s\nAt %s:%d\nPlease contact Orvelle", function, file, line);
}

void SyntaxErr(const char* fmt, ...) {
    if (syntaxErrors.quiet) return;
    va_list args;
    va_start(args, fmt);
    const std::string text = qvplatform::vformatText(fmt, args);
    va_end(args);
    ++syntaxErrors.count;
    wlwrite(text.c_str());
}

int qvSyntaxErrCount() { return syntaxErrors.count; }

void qvResetSyntaxErrCount() { syntaxErrors.count = 0; }

qvQuietSyntaxErrs::qvQuietSyntaxErrs() { ++syntaxErrors.quiet; }

qvQuietSyntaxErrs::~qvQuietSyntaxErrs() { --syntaxErrors.quiet; }
