#include "qvutils/ui/app/qvapp.h"

#include <cerrno>
#include <list>

#include "qvutils/common/diagnostics/diagnostics.h"
#include "qvutils/common/error/qverror.h"
#include "qvutils/common/materials/materbase.h"
#include "qvutils/common/platform/clock.h"
#include "qvutils/common/platform/files.h"
#include "qvutils/common/platform/format.h"
#include "qvutils/common/platform/priority.h"
#include "qvutils/common/platform/process.h"
#include "qvutils/ui/project/qvprojman.h"

namespace {

constexpr int partlyLoaded = 504;

// The application that messages go through, and where they went before.
qvApp* current = nullptr;
qvOutputHook outputBefore = nullptr;

}  // namespace

const qvClassInfo qvApp::cinfo_qvApp("qvApp", qvAppBase::getStaticClassInfo());

void qvSetMaterialDirectory(const std::string& directory) {
    // Whoever looks for a file on another thread may be reading the text that was set before.
    static auto* texts = new std::list<std::string>;
    texts->push_back(directory);
    materbaseDir = texts->back().data();
}

qvApp::qvApp(const char* name, const char* version, qvCommandObject& commands,
             const qvSettingsPlace& place)
    : qvAppBase(name, version, commands),
      commands_(commands),
      store_(name, place),
      settings_(this) {
    current = this;
    outputBefore = setOutputHook(passOutput);
    settings_.load(store_);
    recent_.load(store_);
    scripts().useStore(&store_);
    commands_.setObserver(this);
    if (settings_.values().diagnosticlevel > 1)
        lwrite(("settings: " + store_.place() + "\n").c_str());
}

qvApp::~qvApp() {
    commands_.setObserver(nullptr);
    scripts().useStore(nullptr);
    settings_.save(store_);
    recent_.save(store_);
    if (!settings_.values().materialDir.Empty()) qvSetMaterialDirectory("");
    setOutputHook(outputBefore);
    current = nullptr;
}

void qvApp::OnPublish() {
    PublishVar("settings", settings_, "the settings of the application; see help app.settings");
    PublishList("recentfiles", recent_.all(), "the project files used last, the latest first",
                true);
    PublishFn("openrecent", &qvApp::openRecent, "( i ): open the i-th of the recent files");
    PublishFn("savesettings", &qvApp::save,
              "(): write the changed settings now; else it is done at the end");
    PublishFn("runfile", &qvApp::runFile, "( filename ): run a command file");
    PublishFn("saverecord", &qvApp::saveRecord,
              "( filename ): save the recorded commands as a command file; see enableRecord");
    PublishFn(
        "clearrecord", [](qvApp& app) { app.record_.clear(); }, "(): forget the recorded commands");
    PublishFn("showmain", &qvApp::showMain, "(): show main window");
    qvAppBase::OnPublish();
}

// Settings.

bool qvApp::ReadOptions(wxConfigBase& config, const char* group) {
    return settings_.read(config, group);
}

bool qvApp::WriteOptions(wxConfigBase& config, const char* group) {
    return settings_.write(config, group);
}

void qvApp::save() {
    const bool well = settings_.save(store_);
    if (!recent_.save(store_) || !well)
        qverr().setf("the settings were not kept in %s\n", store_.place().c_str());
}

void qvApp::priorityChanged() {
    const int level = settings_.values().cpuPriority;
    if (qvplatform::setProcessPriority(level)) return;
    wlprintf("could not set processor priority %d: %s\n", level,
             qvplatform::errorText(errno).c_str());
}

void qvApp::materialDirChanged() {
    qvSetMaterialDirectory(settings_.values().materialDir.Chars());
}

void qvApp::logsChanged() {
    commandLog_.open(settings_.values().commandLogFile.Chars(), heading());
    outputLog_.open(settings_.values().outputLogFile.Chars(), heading());
}

// Directories and files.

void qvApp::enterStartupDirectory(bool orLast) {
    const qvSettingValues& values = settings_.values();
    const QVString& path =
        values.startupDir.Empty() && orLast ? values.currentDir : values.startupDir;
    if (path.Empty() || qvplatform::setCurrentDirectory(path.Chars())) return;
    const std::string cause = qvplatform::errorText(errno);
    wlwrite((std::string("could not change to directory \"") + path.Chars() + "\": " + cause + "\n")
                .c_str());
}

void qvApp::SetWorkingDirectory(const QVString& path) {
    qvAppBase::SetWorkingDirectory(path);
    if (!qverr()) settings_.note("currentDir", qvplatform::currentDirectory());
}

void qvApp::projectFileUsed(const std::string& path) {
    recent_.use(path);
}

void qvApp::openRecent(int i) {
    if (i < 1 || i > recent_.all().size()) {
        qverr().setf("there is no recent file %d\n", i);
        return;
    }
    const QVString path = recent_.all()[i];
    getProjectManager().ProjectOpen(path.Chars(), "");
}

void qvApp::runFile(const QVString& path) {
    commands_.RunFile(path.Chars());
}

void qvApp::showMain() {
    qverr().set("there is no main window to show\n");
}

// What is run and what is shown.

std::string qvApp::heading() const {
    const qvplatform::LocalTime now = qvplatform::localTime();
    return "// " + applicationName() + " " +
           qvplatform::formatText("%.4d-%.2d-%.2d %.2d:%.2d:%.2d", now.year, now.month, now.day,
                                  now.hour, now.minute, now.second);
}

void qvApp::saveRecord(const QVString& path) {
    recording_ = false;
    record_.save(path.Chars(), heading());
}

void qvApp::statementBegins(const char* command, bool outermost) {
    ranOthers_ = !outermost;
    if (!outermost) return;
    recording_ = settings_.values().enableRecord;
    if (*command) commandLog_.addLine(command);
}

void qvApp::statementEnded(const char* command, bool outermost) {
    if (!outermost) return;
    // A command file with an error in it has done the rest: it is to be run again.
    const bool failed = qverr() && qverr() != partlyLoaded && !ranOthers_;
    if (qverr()) commandLog_.add(qvAsComment(std::string("error: ") + qverr().chars()));
    if (recording_ && settings_.values().enableRecord && *command) record_.add(command, failed);
}

void qvApp::shown(const char* text) {
    outputLog_.addLine(text);
}

bool qvApp::wants(int kind) const {
    return settings_.values().diagnosticlevel >= (kind == qvOutputWarning ? 0 : 1);
}

void qvApp::passOutput(int kind, const char* piece) {
    if (!current || !current->wants(kind)) return;
    current->outputLog_.add(piece);
    if (outputBefore) {
        outputBefore(kind, piece);
    } else {
        std::fputs(piece, stdout);
    }
}
