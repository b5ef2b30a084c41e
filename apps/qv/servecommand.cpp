#include "apps/qv/servecommand.h"

#include <cerrno>
#include <cstdio>
#include <utility>

#include "apps/qv/host.h"
#include "apps/qv/prompt.h"
#include "apps/qv/serveoptions.h"
#include "apps/qv/startup.h"
#include "apps/qv/stopping.h"
#include "qvutils/common/diagnostics/diagnostics.h"
#include "qvutils/common/error/qverror.h"
#include "qvutils/common/platform/clock.h"
#include "qvutils/common/platform/files.h"
#include "qvutils/ui/app/qvapp.h"
#include "qvutils/ui/project/qvprojman.h"

namespace {

constexpr int wrongUsage = 2;
/// How often a server without work looks whether it is to end, in milliseconds.
constexpr int idleInterval = 100;

// Standard output is for the port and for what scripts show: programs read it.
void showOnStandardError(int, const char* piece) {
    std::fflush(stdout);
    std::fputs(piece, stderr);
}

bool complain(const std::string& message) {
    std::fflush(stdout);
    const bool ended = !message.empty() && message.back() == '\n';
    std::fprintf(stderr, "qv serve: %s%s", message.c_str(), ended ? "" : "\n");
    return false;
}

/// A file to which lines are added as they come, each with the time.
class LogFile {
public:
    LogFile() = default;
    ~LogFile() {
        if (file_) qvplatform::fileSystem().close(file_);
    }
    LogFile(const LogFile&) = delete;
    LogFile& operator=(const LogFile&) = delete;

    bool open(const std::string& path) {
        if (path.empty()) return true;
        path_ = path;
        file_ = qvplatform::fileSystem().open(path, "ab");
        return file_ || complain(path_ + ": " + qvplatform::errorText(errno));
    }
    void add(const std::string& line) {
        if (!file_) return;
        const qvplatform::LocalTime t = qvplatform::localTime();
        std::fprintf(file_, "%04d-%02d-%02d %02d:%02d:%02d %s\n", t.year, t.month, t.day, t.hour,
                     t.minute, t.second, line.c_str());
        const bool written = std::fflush(file_) == 0 && !std::ferror(file_);
        if (!written && !std::exchange(told_, true)) {
            complain("the log is not complete: " + path_ + ": " + qvplatform::errorText(errno));
        }
        std::clearerr(file_);
    }

private:
    std::string path_;
    FILE* file_ = nullptr;
    bool told_ = false;
};

bool openProjects(const std::vector<std::string>& files) {
    for (const std::string& file : files) {
        const bool opened = getProjectManager().ProjectOpen(file.c_str(), "");
        if (qverr()) complain(file + ": " + qverr().chars_and_reset());
        if (!opened) return false;
    }
    return true;
}

void configure(const ServeOptions& options, qvScriptServing& serving) {
    constexpr double millisecondsPerSecond = 1000;
    ServerSettings& settings = serving.settings();
    settings.anyUser = options.anyUser;
    settings.largestMessage = options.largestMessage;
    settings.stallTimeoutMs = static_cast<int>(options.stallSeconds * millisecondsPerSecond);
}

bool listenAndServe(const ServeOptions& options, qvScriptServing& serving, LogFile& log) {
    const StopWatch watch;
    if (!serving.listen(options.port)) return complain(qverr().chars_and_reset());
    std::printf("port %d\n", serving.localport());
    std::fflush(stdout);
    log.add("listening on port " + std::to_string(serving.localport()));
    serving.serve(
        [&] {
            if (StopWatch::stopRequested()) return false;
            return !options.once || serving.executed() == 0 || serving.isConnected();
        },
        idleInterval);
    serving.stop();
    log.add("stopped");
    return true;
}

bool serve(const ServeOptions& options, qvScriptServing& serving) {
    LogFile log;
    if (!log.open(options.log)) return false;
    configure(options, serving);
    serving.setLog([&log](const std::string& line, bool isFailure) {
        log.add(line);
        if (isFailure) complain(line);
    });
    const bool well = listenAndServe(options, serving, log);
    serving.setLog(nullptr);
    return well;
}

}  // namespace

int runServe(const Options& options) {
    ServeOptions serveOptions;
    std::string error;
    if (!parseServeOptions(options.inputs, serveOptions, error)) {
        std::fprintf(stderr, "qv serve: %s\n\n%s", error.c_str(), serveUsage().c_str());
        return wrongUsage;
    }
    if (serveOptions.help) {
        std::fputs(serveUsage().c_str(), stdout);
        return 0;
    }
    setOutputHook(showOnStandardError);
    Host host(options);
    qvApp application("qv", QV_VERSION, host, qvSettingsPlace::chosen(options.settings));
    if (!startUp(options, application)) return 1;
    const bool well =
        openProjects(serveOptions.files) && serve(serveOptions, *application.scriptServer());
    listUnsaved();
    return well ? 0 : 1;
}
