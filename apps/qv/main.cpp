#include <cstdio>
#include <memory>

#include "apps/qv/evaluate.h"
#include "apps/qv/host.h"
#include "apps/qv/licencecommand.h"
#include "apps/qv/lineedit.h"
#include "apps/qv/materialcommand.h"
#include "apps/qv/options.h"
#include "apps/qv/prompt.h"
#include "apps/qv/sendcommand.h"
#include "apps/qv/servecommand.h"
#include "apps/qv/startup.h"
#include "apps/qv/stopping.h"
#include "qvutils/common/diagnostics/diagnostics.h"
#include "qvutils/common/platform/console.h"
#include "qvutils/common/tasks/runsignal.h"
#include "qvutils/ui/app/qvapp.h"

namespace {

constexpr int wrongUsage = 2;

// Warnings are no results: a script that reads standard output must not see them. What a long run
// tells is to be seen while it goes on, also in a file or by a program.
void showDiagnostics(int kind, const char* piece) {
    FILE* stream = kind == qvOutputWarning ? stderr : stdout;
    if (stream == stderr) std::fflush(stdout);
    std::fputs(piece, stream);
    std::fflush(stream);
}

/// The application behind qv. Questions go to the prompt; without one they are answered "cancel".
class Application : public qvApp {
public:
    Application(Host& host, const Options& options)
        : qvApp("qv", QV_VERSION, host, qvSettingsPlace::chosen(options.settings)) {
        host.setSettings(&settings().values(), [this](const std::string& question, bool offerAll) {
            return askToGoOn(question, offerAll);
        });
    }

    bool askUser(const std::string& question) override {
        if (prompt_) return prompt_->ask(question);
        tellNobodyIsThere(question, "cancel");
        return false;
    }

    bool askText(const std::string& title, const std::string& question,
                 std::string& answer) override {
        if (!prompt_) return qvApp::askText(title, question, answer);
        std::string typed;
        if (!prompt_->ask(question + " [" + answer + "] ", typed)) return false;
        if (!typed.empty()) answer = typed;
        return true;
    }

    void runPrompt(Host& host) {
        Prompt prompt(host);
        prompt_ = &prompt;
        prompt.run();
        prompt_ = nullptr;
    }

private:
    static void tellNobodyIsThere(const std::string& question, const char* answer) {
        std::fflush(stdout);
        std::fprintf(stderr, "%s\nqv: nobody is there to ask; the answer is \"%s\"\n",
                     question.c_str(), answer);
    }

    // About the commands of a file, which may run without a prompt.
    Host::Answer askToGoOn(const std::string& question, bool offerAll) {
        std::string answer;
        if (!prompt_ && !qvplatform::inputIsTerminal()) {
            tellNobodyIsThere(question, "no");
            return Host::Answer::no;
        }
        // A line editor asks in one line.
        const size_t last = question.rfind('\n') + 1;
        std::fputs(question.substr(0, last).c_str(), stdout);
        std::fflush(stdout);
        if (!readAnswer(question.substr(last) + (offerAll ? " [Y/n/all] " : " [Y/n] "), answer))
            return Host::Answer::no;
        if (offerAll && answer == "all") return Host::Answer::all;
        return answer.empty() || answer[0] == 'y' || answer[0] == 'Y' ? Host::Answer::yes
                                                                      : Host::Answer::no;
    }

    bool readAnswer(const std::string& question, std::string& answer) {
        if (prompt_) return prompt_->ask(question, answer);
        const auto noCompletion = [](const std::string&) { return std::vector<std::string>(); };
        return LineEditor(noCompletion, {}).read(question, answer);
    }

    Prompt* prompt_ = nullptr;
};

void runInputs(const Options& options, Host& host) {
    for (const std::string& input : options.inputs) {
        const bool goOn = options.action == Options::Action::text ? host.run("-c", input.c_str())
                                                                  : host.runFile(input);
        if (!goOn) break;
    }
}

// Holds the run signal, so that Ctrl-C, or a request to end, stops what runs and with it the rest of
// the inputs.
void runWithoutPrompt(const Options& options, Host& host) {
    const qvRunSignal running;
    stopOperationsOnRequest();
    if (options.action == Options::Action::prompt)
        host.runInput();
    else
        runInputs(options, host);
    if (qvRunSignal::killRequested()) std::fputs("qv: stopped\n", stderr);
    listUnsaved();
}

// Formulas and materials are asked about without an application around them.
int runEvalCommand(const Options& options) {
    qvPlugins plugins;
    return startUp(options, plugins) ? runEval(options.inputs) : 1;
}

int runMaterialCommand(const Options& options) {
    const qvSettingsStore store("qv", qvSettingsPlace::chosen(options.settings));
    qvSettings settings;
    settings.load(store);
    qvSetMaterialDirectory(settings.values().materialDir.Chars());
    qvPlugins plugins;
    return startUp(options, plugins) ? runMaterial(options.inputs) : 1;
}

int runCommands(const Options& options) {
    stopOperationsOnInterrupt();
    Host host(options);
    Application application(host, options);
    if (!startUp(options, application)) return 1;
    if (options.action == Options::Action::prompt && qvplatform::inputIsTerminal()) {
        application.enterStartupDirectory(false);
        application.runPrompt(host);
    } else {
        runWithoutPrompt(options, host);
    }
    return host.failed() ? 1 : 0;
}

}  // namespace

int main(int argc, char** argv) {
    std::vector<std::string> arguments = qvplatform::utf8Arguments(argc, argv);
    arguments.erase(arguments.begin());
    Options options;
    std::string error;
    if (!parseOptions(arguments, options, error)) {
        std::fprintf(stderr, "qv: %s\n\n%s", error.c_str(), usage().c_str());
        return wrongUsage;
    }
    qvplatform::prepareConsole();
    setOutputHook(showDiagnostics);
    int status = 0;
    if (options.action == Options::Action::help) {
        std::fputs(usage().c_str(), stdout);
    } else if (options.action == Options::Action::version) {
        std::printf("qv %s, %s\n", QV_VERSION, qvAppBase::versionTag());
    } else if (options.action == Options::Action::eval) {
        status = runEvalCommand(options);
    } else if (options.action == Options::Action::material) {
        status = runMaterialCommand(options);
    } else if (options.action == Options::Action::serve) {
        status = runServe(options);
    } else if (options.action == Options::Action::send) {
        status = runSend(options.inputs);
    } else if (options.action == Options::Action::licence) {
        status = runLicence(options.inputs);
    } else {
        status = runCommands(options);
    }
    if (std::fflush(stdout) != 0 || std::ferror(stdout)) {
        std::fputs("qv: could not write to standard output\n", stderr);
        return 1;
    }
    return status;
}
