#include "apps/qv/options.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <utility>

namespace {

using Action = Options::Action;

struct Word {
    const char* name;
    /// Shown in the help after the name; empty for a word without arguments.
    const char* argument;
    const char* help;
    /// Returns false when the arguments from `next` on do not suit; moves `next` past those it
    /// takes.
    bool (*apply)(Options&, const std::vector<std::string>& arguments, size_t& next);
};

bool chooseAction(Options& options, Action action) {
    if (options.action != Action::prompt && options.action != action) return false;
    options.action = action;
    return true;
}

// A subcommand reads all arguments that follow.
template <Action action>
bool chooseSubcommand(Options& options, const std::vector<std::string>& arguments, size_t& next) {
    if (!chooseAction(options, action)) return false;
    options.inputs.assign(arguments.begin() + static_cast<std::ptrdiff_t>(next), arguments.end());
    next = arguments.size();
    return true;
}

bool takeText(const std::vector<std::string>& arguments, size_t& next, std::string& text) {
    if (next == arguments.size() || arguments[next].empty()) return false;
    text = arguments[next++];
    return true;
}

// "help" alone, or before a subcommand that has a help of its own.
bool chooseHelp(Options& options, const std::string& of, size_t& next) {
    static const std::pair<const char*, Action> subcommands[] = {{"eval", Action::eval},
                                                                 {"material", Action::material},
                                                                 {"serve", Action::serve},
                                                                 {"send", Action::send},
                                                                 {"licence", Action::licence}};
    for (const auto& [name, action] : subcommands) {
        if (of != name) continue;
        options.inputs.assign(1, "--help");
        ++next;
        return chooseAction(options, action);
    }
    return chooseAction(options, Action::help);
}

const Word words[] = {
    {"run", " FILE...", "execute command files; \"-\" is standard input",
     [](Options& options, const std::vector<std::string>&, size_t&) {
         return chooseAction(options, Action::files);
     }},
    {"-c", " TEXT", "execute TEXT",
     [](Options& options, const std::vector<std::string>& arguments, size_t& next) {
         if (next == arguments.size() || !chooseAction(options, Action::text)) return false;
         options.inputs.push_back(arguments[next++]);
         return true;
     }},
    {"eval", " FORMULA...", "evaluate formulas; \"qv eval --help\" tells more",
     chooseSubcommand<Action::eval>},
    {"material", " FILE...", "ask a material file; \"qv material --help\" tells more",
     chooseSubcommand<Action::material>},
    {"serve", " [FILE...]", "let programs command this one; \"qv serve --help\" tells more",
     chooseSubcommand<Action::serve>},
    {"send", " COMMAND", "command such a program; \"qv send --help\" tells more",
     chooseSubcommand<Action::send>},
    {"licence", " WORD...", "keys and signatures of licences; \"qv licence --help\" tells more",
     chooseSubcommand<Action::licence>},
    {"--stop-on-error", "", "stop at the first statement that fails",
     [](Options& options, const std::vector<std::string>&, size_t&) {
         return options.stopOnError = true;
     }},
    {"--echo", "", "print each statement before its result",
     [](Options& options, const std::vector<std::string>&, size_t&) {
         return options.echo = true;
     }},
    {"--settings", " FILE", "keep the settings in FILE; \"none\" for no settings",
     [](Options& options, const std::vector<std::string>& arguments, size_t& next) {
         return takeText(arguments, next, options.settings);
     }},
    {"--plugins", " DIR", "load the plug-ins in DIR too; \"none\" for no plug-ins",
     [](Options& options, const std::vector<std::string>& arguments, size_t& next) {
         return takeText(arguments, next, options.plugins);
     }},
    {"--licence", " FILE", "keep to the licence FILE; qv.licence beside qv comes before it",
     [](Options& options, const std::vector<std::string>& arguments, size_t& next) {
         return takeText(arguments, next, options.licence);
     }},
    {"--version", "", "print the version",
     [](Options& options, const std::vector<std::string>&, size_t&) {
         return chooseAction(options, Action::version);
     }},
    {"help", " [SUBCOMMAND]", "print this help, or that of a subcommand",
     [](Options& options, const std::vector<std::string>& arguments, size_t& next) {
         return chooseHelp(options, next < arguments.size() ? arguments[next] : "", next);
     }},
    {"--help", "", "print this help",
     [](Options& options, const std::vector<std::string>&, size_t&) {
         return chooseAction(options, Action::help);
     }},
};

const Word* findWord(const std::string& name) {
    for (const Word& word : words) {
        if (name == word.name) return &word;
    }
    return nullptr;
}

}  // namespace

bool parseOptions(const std::vector<std::string>& arguments, Options& options, std::string& error) {
    bool onlyFiles = false;
    for (size_t next = 0; next < arguments.size();) {
        const std::string& argument = arguments[next++];
        const bool isFile =
            options.action == Action::files && (onlyFiles || argument == "-" || argument[0] != '-');
        if (isFile) {
            options.inputs.push_back(argument);
        } else if (options.action == Action::files && argument == "--") {
            onlyFiles = true;
        } else if (const Word* word = findWord(argument)) {
            if (!word->apply(options, arguments, next)) {
                error = "wrong use of " + argument;
                return false;
            }
        } else {
            error = "unknown argument " + argument;
            return false;
        }
    }
    if (options.action == Action::files && options.inputs.empty()) {
        error = "run needs a file";
        return false;
    }
    return true;
}

std::string usage() {
    std::string text =
        "usage: qv [OPTION...] run FILE...   execute command files\n"
        "       qv [OPTION...] -c TEXT       execute a text\n"
        "       qv eval FORMULA...           a calculator\n"
        "       qv material FILE NAME        what a material is like\n"
        "       qv serve [FILE...]           take commands from programs outside\n"
        "       qv send COMMAND              give a command to such a program\n"
        "       qv [OPTION...]               type commands; end with Ctrl-D or \"quit\"\n\n";
    for (const Word& word : words) {
        std::string left = std::string("  ") + word.name + word.argument;
        left.resize(std::max<std::size_t>(22, left.size() + 1), ' ');
        text += left + word.help + "\n";
    }
    return text +
           "\nResults go to standard output, errors to standard error.\n"
           "Exit status: 0 all well, 1 a command failed, 2 wrong usage.\n"
           "Begin with:  qv -c \"help app\"\n";
}
