#include "tests/support/captured_output.h"

#include <utility>

CapturedOutput* CapturedOutput::current_ = nullptr;

CapturedOutput::CapturedOutput()
    : outer_(std::exchange(current_, this)), before_(setOutputHook(&collect)) {}

CapturedOutput::~CapturedOutput() {
    setOutputHook(before_);
    current_ = outer_;
}

std::string CapturedOutput::takeNormal() { return std::exchange(normal_, {}); }

std::string CapturedOutput::takeWarnings() { return std::exchange(warnings_, {}); }

void CapturedOutput::collect(int kind, const char* piece) {
    (kind == qvOutputNormal ? current_->normal_ : current_->warnings_) += piece;
}
