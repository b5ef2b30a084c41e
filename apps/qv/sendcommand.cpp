#include "apps/qv/sendcommand.h"

#include <cstdio>

#include "apps/qv/input.h"
#include "apps/qv/optionwords.h"
#include "qvutils/common/diagnostics/diagnostics.h"
#include "qvutils/common/platform/process.h"
#include "qvutils/common/server/client.h"

namespace {

constexpr int wrongUsage = 2;
constexpr int usualPort = 5101;
constexpr const char* portVariable = "QV_SCRIPT_PORT";

struct SendOptions {
    /// 0 for that of the environment or else the usual one.
    int port = 0;
    std::string host = "127.0.0.1";
    /// How long to wait for the answer; negative without end.
    double timeoutSeconds = -1;
    std::string command;
    bool help = false;
};

bool readPort(const std::string& text, int& port) {
    return readNumber(text, 1, 65535, port);
}

const OptionWord<SendOptions> words[] = {
    {"--port", "NUMBER", "the port of the server; 5101 or that of QV_SCRIPT_PORT when left out",
     [](SendOptions& options, const std::string& text) { return readPort(text, options.port); }},
    {"--host", "NAME", "the machine of the server; this one when left out",
     [](SendOptions& options, const std::string& text) {
         options.host = text;
         return !text.empty();
     }},
    {"--timeout", "SECONDS", "how long to wait for the answer; without end when left out",
     [](SendOptions& options, const std::string& text) {
         return readNumber(text, 0.001, 1e6, options.timeoutSeconds);
     }},
    {"--help", "", "print this help",
     [](SendOptions& options, const std::string&) { return options.help = true; }},
};

bool parse(const std::vector<std::string>& arguments, SendOptions& options, std::string& error) {
    std::vector<std::string> operands;
    if (!readOptionWords(words, arguments, options, operands, error)) return false;
    if (options.help) return true;
    if (operands.size() != 1) {
        error = operands.empty() ? "a command is needed" : "one command only, in quotes";
        return false;
    }
    options.command = operands[0];
    std::string text;
    if (options.port == 0 && qvplatform::environmentVariable(portVariable, text) &&
        !readPort(text, options.port)) {
        error = std::string(portVariable) + " is no port: \"" + text + "\"";
    }
    return error.empty();
}

std::string sendUsage() {
    return "usage: qv send [OPTION...] COMMAND   has a command executed by \"qv serve\" or by an\n"
           "                                     application that takes commands\n\n" +
           optionHelp(words) +
           "\nCOMMAND may have several lines; \"-\" stands for standard input. The answer goes to\n"
           "standard output, an error to standard error. Exit status: 0 all well, 1 the command\n"
           "failed or nobody answered, 2 wrong usage. For example:\n"
           "  qv send 'app.subnodes[1].nodename()'\n";
}

bool fail(const std::string& message) {
    std::fprintf(stderr, "qv send: %s\n", message.c_str());
    return false;
}

bool readInput(std::string& command) {
    command.clear();
    std::string line;
    while (readLine(stdin, line)) command += line + "\n";
    if (std::ferror(stdin)) return fail("could not read standard input");
    return true;
}

void printWithLineEnd(FILE* stream, const std::string& text) {
    if (text.empty() || text == "\n") return;
    std::fputs(text.c_str(), stream);
    if (text.back() != '\n') std::fputs("\n", stream);
}

bool printReply(const std::string& reply) {
    static const std::string value = "RETVAL:";
    static const std::string error = "ERROR:";
    if (reply.starts_with(value)) {
        printWithLineEnd(stdout, reply.substr(value.size()));
        return true;
    }
    if (!reply.starts_with(error)) return fail("who answered does not execute commands");
    printWithLineEnd(stderr, reply.substr(error.size()));
    return false;
}

bool send(SendOptions& options) {
    if (options.command == "-" && !readInput(options.command)) return false;
    if (options.command.find('\0') != std::string::npos) return fail("the text holds a NUL byte");
    // What the client reports is told with the place it concerns.
    setOutputHook([](int, const char*) {});
    const int port = options.port == 0 ? usualPort : options.port;
    const std::string place = options.host + " port " + std::to_string(port) + ": ";
    Client client;
    if (options.timeoutSeconds > 0) {
        client.setReplyTimeout(static_cast<int>(options.timeoutSeconds * 1000 + 0.5));
    }
    client.setLargestMessage(qvFrameHighestLimit);
    if (!client.Connect(port, options.host.c_str())) return fail(place + client.lastError());
    const char* const reply = client.sendMessage(options.command.c_str());
    return reply ? printReply(reply) : fail(place + client.lastError());
}

}  // namespace

int runSend(const std::vector<std::string>& arguments) {
    SendOptions options;
    std::string error;
    if (!parse(arguments, options, error)) {
        std::fprintf(stderr, "qv send: %s\n\n%s", error.c_str(), sendUsage().c_str());
        return wrongUsage;
    }
    if (options.help) {
        std::fputs(sendUsage().c_str(), stdout);
        return 0;
    }
    return send(options) ? 0 : 1;
}
