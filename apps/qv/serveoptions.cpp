#include "apps/qv/serveoptions.h"

#include "apps/qv/optionwords.h"

namespace {

constexpr double shortestStall = 0.001;
constexpr double longestStall = 1e6;

const OptionWord<ServeOptions> words[] = {
    {"--port", "NUMBER", "the port to listen on, 5101 when left out; 0 for a free one",
     [](ServeOptions& options, const std::string& text) {
         return readNumber(text, 0, 65535, options.port);
     }},
    {"--once", "", "end when the first program that gave a command has gone",
     [](ServeOptions& options, const std::string&) { return options.once = true; }},
    {"--log", "FILE", "write down who connects and what runs, at the end of FILE",
     [](ServeOptions& options, const std::string& text) {
         options.log = text;
         return !text.empty();
     }},
    {"--any-user", "", "serve programs of all users of this machine, not only your own",
     [](ServeOptions& options, const std::string&) { return options.anyUser = true; }},
    {"--stall-timeout", "SECONDS", "drop a program that stops in the middle of a message; 10 s",
     [](ServeOptions& options, const std::string& text) {
         return readNumber(text, shortestStall, longestStall, options.stallSeconds);
     }},
    {"--max-frame", "BYTES", "drop a program that sends a longer message; 268435456 (256 MiB)",
     [](ServeOptions& options, const std::string& text) {
         return readNumber(text, 1u, qvFrameHighestLimit, options.largestMessage);
     }},
    {"--help", "", "print this help",
     [](ServeOptions& options, const std::string&) { return options.help = true; }},
};

}  // namespace

bool parseServeOptions(const std::vector<std::string>& arguments, ServeOptions& options,
                       std::string& error) {
    if (!readOptionWords(words, arguments, options, options.files, error)) return false;
    for (const std::string& file : options.files) {
        if (file.empty()) error = "a file needs a name";
    }
    return error.empty();
}

std::string serveUsage() {
    return "usage: qv [--settings FILE] serve [FILE...] [OPTION...]\n"
           "       opens projects and executes the commands that programs send\n\n" +
           optionHelp(words) +
           "\nPrints \"port NUMBER\" when it is ready. Ctrl-C stops the command that runs, or "
           "else\n"
           "the server. Exit status: 0 all well, 1 a file or the port cannot be opened, 2 wrong\n"
           "usage. For example, in one terminal and in another:\n"
           "  qv serve filter.prj\n"
           "  qv send 'app.subnodes[1].nodename()'\n";
}
