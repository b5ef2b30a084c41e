#pragma once
#include <string>
#include <vector>

/// What the command line asks for.
struct Options {
    enum class Action { prompt, files, text, eval, material, serve, send, licence, help, version };

    Action action = Action::prompt;
    /// The files of `run`, the texts of -c, or all that follows `eval`, `material`,
    /// `serve`, `send` or `licence`.
    std::vector<std::string> inputs;
    bool stopOnError = false;
    bool echo = false;
    /// Where the settings are kept: "none", a file, or empty for what the environment says.
    std::string settings;
    /// A further directory of plug-ins; "none" for no plug-ins, also not those beside the program.
    std::string plugins;
    /// The licence file; empty for what the environment says.
    std::string licence;
};

/// Reads the arguments (the program's name left out). On wrong usage returns false and `error` says
/// what is wrong.
bool parseOptions(const std::vector<std::string>& arguments, Options& options, std::string& error);

/// The text of --help.
std::string usage();
