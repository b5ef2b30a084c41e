#include "apps/qv/startup.h"

#include <cstdio>

#include "qvutils/common/diagnostics/diagnostics.h"
#include "qvutils/common/error/qverror.h"
#include "qvutils/common/platform/files.h"
#include "qvutils/common/platform/process.h"
#include "qvutils/ui/plugins/qvlicencefile.h"

namespace {

constexpr const char* none = "none";

/// The installation's own file, qv.licence beside the program, which nothing overrides; where there
/// is none, the file that the options or the environment name; else empty.
std::string licencePath(const Options& options) {
    const std::string beside = qvplatform::joinPath(qvPlugins::programDirectory(), "qv.licence");
    if (qvplatform::fileSystem().status(beside).exists()) return beside;
    std::string path = options.licence;
    if (path.empty()) qvplatform::environmentVariable("QV_LICENCE", path);
    return path == none ? "" : path;
}

/// Null when qv may not run; the reason has been printed.
const qvLicence* findLicence(const Options& options) {
    static const qvLicence everything;
    static qvLicenceFile file(QV_LICENCE_KEY);
    const bool isNeeded = *QV_LICENCE_KEY != '\0';
    const std::string path = licencePath(options);
    if (path.empty() && !isNeeded) return &everything;
    if (path.empty()) {
        std::fputs("qv: a licence is needed: qv.licence beside qv, or a file named by --licence\n",
                   stderr);
        return nullptr;
    }
    file.load(path);
    qverr().reset();  // the licence gives it as its reason
    std::string reason;
    if (file.allowsInstallation(reason)) return &file;
    std::fflush(stdout);
    std::fprintf(stderr, "qv: %s\n", reason.c_str());
    return nullptr;
}

std::vector<std::string> pluginDirectories(const Options& options) {
    std::string chosen;
    qvplatform::environmentVariable("QV_PLUGINS", chosen);
    std::vector<std::string> directories;
    if (chosen != none && options.plugins != none) {
        directories.push_back(qvPlugins::programDirectory());
    }
    for (const std::string& directory : {chosen, options.plugins}) {
        if (!directory.empty() && directory != none) directories.push_back(directory);
    }
    return options.plugins == none ? std::vector<std::string>() : directories;
}

/// While one lives, only warnings are printed: a program that reads the results of qv does not want
/// to read which plug-ins were loaded.
class WarningsOnly {
public:
    WarningsOnly() { shown_ = setOutputHook(pass); }
    ~WarningsOnly() { setOutputHook(shown_); }
    WarningsOnly(const WarningsOnly&) = delete;
    WarningsOnly& operator=(const WarningsOnly&) = delete;

private:
    static void pass(int kind, const char* piece) {
        if (kind == qvOutputWarning && shown_) shown_(kind, piece);
    }
    static inline qvOutputHook shown_ = nullptr;
};

/// Error 508.
void tellOfFailures() {
    if (!qverr()) return;
    wlwrite(qverr().chars_and_reset());
    wlwrite("\n");
}

}  // namespace

bool startUp(const Options& options, qvApp& application) {
    const qvLicence* licence = findLicence(options);
    if (!licence) return false;
    application.setLicence(licence);
    if (application.settings().values().diagnosticlevel > 1) {
        application.loadPlugins(pluginDirectories(options));
    } else {
        const WarningsOnly quiet;
        application.loadPlugins(pluginDirectories(options));
    }
    tellOfFailures();
    return true;
}

bool startUp(const Options& options, qvPlugins& plugins) {
    const qvLicence* licence = findLicence(options);
    if (!licence) return false;
    {
        const WarningsOnly quiet;
        plugins.load(pluginDirectories(options), *licence, "qv", nullptr);
    }
    tellOfFailures();
    return true;
}
