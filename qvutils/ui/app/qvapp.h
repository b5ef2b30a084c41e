#pragma once
#include <string>

#include "qvutils/ui/app/qvappBase.h"
#include "qvutils/ui/scripting/qvcommandlog.h"
#include "qvutils/ui/settings/qvrecentfiles.h"
#include "qvutils/ui/settings/qvsettings.h"
#include "qvutils/ui/settings/qvsettingsstore.h"

/// An application with settings: they are read when it begins, have their effect, and what was
/// changed is written back when it ends. There is one at a time.
class QVCORE_API qvApp : public qvAppBase, private qvSettingsListener, private qvCommandObserver {
public:
    QV_CLASS_INFO(qvApp)

    /// Reads the settings. Messages go through the application from now on: the output hook that is
    /// installed gets those that the setting diagnosticlevel lets through.
    qvApp(const char* name, const char* version, qvCommandObject& commands,
          const qvSettingsPlace& place = {});
    ~qvApp() override;

    void OnPublish() override;

    /// Reads the settings from a group of a store; values that cannot be read or are out of their
    /// range are left as they were. False when there is no such group.
    bool ReadOptions(wxConfigBase& config, const char* group);
    /// Writes all settings into a group of a store; other keys there stay. False when one could
    /// not be written.
    bool WriteOptions(wxConfigBase& config, const char* group);

    qvSettings& settings() { return settings_; }
    /// For other parts of the application to keep a group of their own in.
    qvSettingsStore& settingsStore() { return store_; }

    /// Goes to the directory that the setting startupDir names, if any; with `orLast` and none
    /// named, to the one that was last set. A warning when that fails.
    void enterStartupDirectory(bool orLast);

    void SetWorkingDirectory(const QVString& path) override;
    void projectFileUsed(const std::string& path) override;

private:
    void priorityChanged() override;
    void materialDirChanged() override;
    void logsChanged() override;
    void statementBegins(const char* command, bool outermost) override;
    void statementEnded(const char* command, bool outermost) override;
    void shown(const char* text) override;

    static void passOutput(int kind, const char* piece);
    bool wants(int kind) const;
    std::string heading() const;
    void save();
    void runFile(const QVString& path);
    void openRecent(int i);
    void saveRecord(const QVString& path);
    void showMain();

    qvCommandObject& commands_;
    qvSettingsStore store_;
    qvSettings settings_;
    qvRecentFiles recent_;
    qvLogFile commandLog_;
    qvLogFile outputLog_;
    qvCommandRecord record_;
    bool recording_ = false;  ///< the statement that runs began while commands were recorded
    bool ranOthers_ = false;  ///< the statement has run others, as those of a file
};

/// Lets material files be looked for in a directory; an empty text for none.
QVCORE_API void qvSetMaterialDirectory(const std::string& directory);
