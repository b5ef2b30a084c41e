#include "qvutils/ui/nodes/scriptrun.h"

#include <cerrno>

#include "qvutils/common/command/command_line.h"
#include "qvutils/common/diagnostics/diagnostics.h"
#include "qvutils/common/error/qverror.h"
#include "qvutils/common/platform/childprocess.h"
#include "qvutils/common/platform/clock.h"
#include "qvutils/common/platform/files.h"
#include "qvutils/common/platform/process.h"
#include "qvutils/common/platform/programfiles.h"
#include "qvutils/common/statefiles/sfhandler.h"
#include "qvutils/common/tasks/runsignal.h"
#include "qvutils/ui/nodes/scriptoutput.h"
#include "qvutils/ui/project/qvprojman.h"
#include "qvutils/ui/project/qvscriptserver.h"

using qvplatform::ChildProcess;

namespace {

/// A script that is stopped may clean up for so long before it is killed.
constexpr int politeMs = 300;
/// How long the commands that a script has left in the connection are taken after its end.
constexpr std::int64_t lateNanoseconds = 500'000'000;

/// A file in a directory of its own, both private to the user: Python looks for modules beside the
/// file, and nobody else may put any there. They go with this object.
class PrivateFile {
public:
    PrivateFile()
        : directory_(SFHandler::privateCacheDir().Chars()),
          path_(qvplatform::joinPath(directory_, "script.py")) {}
    ~PrivateFile() { qvplatform::fileSystem().removeTree(directory_); }
    PrivateFile(const PrivateFile&) = delete;
    PrivateFile& operator=(const PrivateFile&) = delete;

    bool save(const QVString& text) const {
        qvplatform::FileSystem& files = qvplatform::fileSystem();
        if (!files.makeDirectory(directory_, true)) return false;
        FILE* file = files.open(path_, "wb");
        if (!file) return false;
        const bool written = files.write(file, text.Chars(), text.view().size());
        return files.close(file) && written;
    }
    const std::string& path() const { return path_; }

private:
    std::string directory_;
    std::string path_;
};

/// Where Python finds the client that comes with the application, after the user's own choices.
std::string modulePath() {
    std::string path;
    qvplatform::environmentVariable("PYTHONPATH", path);
    const std::string shipped = qvplatform::programDirectory("python");
    if (shipped.empty() || path.empty()) return path + shipped;
    return path + qvplatform::pathListSeparator() + shipped;
}

/// The run of a Python program: its process, what it prints, and the reasons to go on serving it.
class PythonRun {
public:
    explicit PythonRun(qvScriptServer& server) : server_(server) {}

    bool start(const std::string& path, const List<QVString>& parameters) {
        std::string program = qvplatform::findProgram("python");
        if (program.empty()) program = qvplatform::findProgram("python3");
        std::vector<std::string> arguments = {program, path};
        for (const QVString& parameter : parameters) arguments.emplace_back(parameter.Chars());
        // Unbuffered: what the script prints shall be seen while it runs.
        ChildProcess::Variables variables = {
            {"QV_SCRIPT_PORT", std::to_string(server_.localport())},
            {"PYTHONUNBUFFERED", "1"},
            {"PYTHONIOENCODING", "utf-8"}};
        if (const std::string modules = modulePath(); !modules.empty()) {
            variables.emplace_back("PYTHONPATH", modules);
        }
        if (!program.empty() && process_.start(arguments, variables)) return true;
        qverr().set("unable to run python script\n");
        qverr().append("make sure the python executable is in your path\n");
        return false;
    }

    void serve() {
        server_.serve([this] { return goOn(); }, qvScriptServer::usualInterval);
        if (process_.running()) stop();
        output_.showRest();
    }

    bool reportEnd() const {
        if (stopped_) {
            qverr().set("the python script was stopped\n");
        } else if (process_.exitStatus() != 0) {
            qverr().setf("the python script ended with exit status %d\n", process_.exitStatus());
        }
        return !qverr();
    }

private:
    bool goOn() {
        output_.show(process_);
        if (qvRunSignal::killRequested()) return false;
        if (process_.running()) return true;
        // What it had sent before its end counts, as far as it still arrives; what it has left
        // running in the background, with the connection still open, does not.
        const std::int64_t now = qvplatform::monotonicNanoseconds();
        if (endedAt_ == 0) endedAt_ = now;
        return server_.isConnected() && now - endedAt_ < lateNanoseconds;
    }

    void stop() {
        stopped_ = true;
        process_.interrupt();
        for (int waited = 0; waited < politeMs && !process_.wait(qvScriptServer::usualInterval);
             waited += qvScriptServer::usualInterval) {
            output_.show(process_);
        }
        process_.kill();
        constexpr int most = 1000;
        process_.wait(most);
        output_.show(process_);
    }

    qvScriptServer& server_;
    ChildProcess process_;
    ScriptOutput output_;
    std::int64_t endedAt_ = 0;
    bool stopped_ = false;
};

/// The script server, if a script can be started now.
qvScriptServer* freeServer() {
    qvScriptServer* server = getProjectManager().services().scriptServer();
    if (!server) {
        qverr().set("there is no script server: python scripts cannot be run\n");
    } else if (server->isExecuting()) {
        qverr().set(
            "a python script cannot be run by a command that comes through the script server\n");
    }
    return qverr() ? nullptr : server;
}

/// False without an error when the user wants to keep the program that is connected.
bool prepareServer(qvScriptServer& server) {
    if (!qvMayDisconnect(server) || qverr()) return false;
    lprintf("EXECUTING PYTHON SCRIPT...\n");
    return server.isInitialised() ? server.restart() : server.start(qvScriptServer::usualArgument);
}

bool run(qvScriptServer& server, const std::string& path, const List<QVString>& parameters) {
    const qvRunSignal running;
    const bool wasListening = server.isListening();
    PythonRun script(server);
    const bool started = prepareServer(server) && script.start(path, parameters);
    if (started) script.serve();
    // Who connects when nobody serves would wait for an answer in vain.
    if (!wasListening) server.stop();
    return started && script.reportEnd();
}

}  // namespace

bool qvRunCommandScript(QVString name, QVString text) {
    QVCommandBase* commands = getProjectManager().services().commandObject();
    if (!commands) {
        qverr().setf("there is nothing to run the commands of script \"%s\"\n", name.Chars());
        return false;
    }
    const qvRunSignal running;
    const bool succeeded = commands->Execute(text.Chars());
    if (qvRunSignal::killRequested()) {
        qverr().setf("script \"%s\" was stopped\n", name.Chars());
    } else if (!succeeded && !qverr()) {
        qverr().setf("a command of script \"%s\" failed\n", name.Chars());
    }
    return !qverr();
}

bool qvRunPythonText(QVString text, List<QVString> parameters) {
    qvScriptServer* server = freeServer();
    if (!server) return false;
    const PrivateFile file;
    if (!file.save(text)) {
        qverr().setf("could not open file:\n%s\n", file.path().c_str());
        return false;
    }
    return run(*server, file.path(), parameters);
}

bool qvRunPythonFile(const std::string& path, const List<QVString>& parameters) {
    qvScriptServer* server = freeServer();
    return server && run(*server, path, parameters);
}

bool qvMayDisconnect(qvScriptServer& server) {
    return !server.isConnected() || getProjectManager().services().askUser(
                                        "there is currently another program talking to the "
                                        "application\nif you continue you will disconnect them\n");
}
