#pragma once
#include <string>

#include "qvutils/common/diagnostics/diagnostics.h"

/// Collects diagnostic text from construction to destruction, of all threads but without a lock.
class CapturedOutput {
public:
    CapturedOutput();
    ~CapturedOutput();
    CapturedOutput(const CapturedOutput&) = delete;
    CapturedOutput& operator=(const CapturedOutput&) = delete;

    /// What came since the last call, and is then forgotten.
    std::string takeNormal();
    std::string takeWarnings();

private:
    static void collect(int kind, const char* piece);

    static CapturedOutput* current_;
    CapturedOutput* outer_;
    qvOutputHook before_;
    std::string normal_;
    std::string warnings_;
};
