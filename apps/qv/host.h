#pragma once
#include <functional>
#include <string>
#include <utility>

#include "apps/qv/options.h"
#include "qvutils/ui/scripting/qvcommandobject.h"
#include "qvutils/ui/settings/qvsettingstable.h"

/// Runs commands for qv: results go to standard output, errors to standard error with the place
/// they come from.
class Host : public qvCommandObject {
public:
    enum class Answer { yes, no, all };
    /// Asks whether to go on; only with `offerAll` is the answer "all" possible.
    using Asker = std::function<Answer(const std::string& question, bool offerAll)>;

    explicit Host(const Options& options) : options_(options) {}

    /// How command files are run: stopOnError, pauseOnError and stepByStep are looked at before and
    /// after each statement. Not owned.
    void setSettings(const qvSettingValues* settings, Asker ask) {
        settings_ = settings;
        ask_ = std::move(ask);
    }

    /// Runs a text whose first line is line `firstLine` of `source`. False when the rest of the
    /// input is not to be run.
    bool run(const std::string& source, const char* text, int firstLine = 1);
    /// Runs a command file; "-" is standard input. A file that cannot be read is an error too.
    bool runFile(const std::string& path);
    bool RunFile(const std::string& path) override;
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
    bool stopsOnError() const {
        return options_.stopOnError || (settings_ && settings_->stopOnError);
    }
    bool isKilled();
    bool mayRun(const char* command);
    bool mayGoOn();
    void echo(const char* command);

    const Options& options_;
    const qvSettingValues* settings_ = nullptr;
    Asker ask_;
    bool inFile_ = false;       ///< the statements of a command file are run
    bool runsTheRest_ = false;  ///< the user does not want to be asked before each command again
    std::string source_;
    int firstLine_ = 1;
    int sourceNesting_ = 1;  ///< how deep its texts are; a script that they run is deeper
    bool hidePlaces_ = false;
    bool failed_ = false;
    bool stopped_ = false;   ///< the user does not want the rest to be run
    int answers_ = 0;        ///< that were given whether to go on after an error
    bool wasAsked_ = false;  ///< about an error in the file that the statement has run
    bool afterStatement_ = false;
};
