#pragma once
#include <string>

#include "apps/qv/options.h"
#include "qvutils/ui/app/qvcommandobject.h"

/// Runs commands for qv: results go to standard output, errors to standard error with the place
/// they come from.
class Host : public qvCommandObject {
public:
    explicit Host(const Options& options) : options_(options) {}

    /// Runs a text whose first line is line `firstLine` of `source`. False when the rest of the
    /// input is not to be run.
    bool run(const std::string& source, const char* text, int firstLine = 1);
    /// Runs a command file; "-" is standard input. A file that cannot be read is an error too.
    bool runFile(const std::string& path);
    /// Runs standard input line by line, so that each answer comes before the next line is read.
    bool runInput();

    /// At a terminal an error needs no place: the line stands just above.
    void hidePlaces() { hidePlaces_ = true; }
    /// Some statement failed, or some file could not be read.
    bool failed() const { return failed_; }

    bool OnParseCommand(const char* command, const char* result, int flags) override;
    void OnCommandError(int line, const char* statement, const char* message) override;

private:
    bool fail();
    void echo(const char* command);

    const Options& options_;
    std::string source_;
    int firstLine_ = 1;
    bool hidePlaces_ = false;
    bool failed_ = false;
    bool afterStatement_ = false;
};
