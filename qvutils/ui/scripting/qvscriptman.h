#pragma once
#include <functional>
#include <string>

#include "qvutils/common/object/qvobject.h"
#include "qvutils/ui/settings/qvsettingsstore.h"

class qvCommandObject;
class qvScriptServer;

/// The installed scripts: files that are run by name. They are kept, in an order of the user's, in
/// the settings group "installed": script_1, script_2, ... and scripts_dir, the directory in which
/// scripts without a full path lie. Published as app.scripts.
class QVCORE_API qvScriptManager : public QVObject {
public:
    QV_CLASS_INFO(qvScriptManager)

    static constexpr int maxScripts = 1000;

    /// `commands` runs the scripts that are no Python programs. Not owned.
    explicit qvScriptManager(qvCommandObject& commands) : commands_(commands) {}
    qvScriptManager(const qvScriptManager&) = delete;
    qvScriptManager& operator=(const qvScriptManager&) = delete;

    QVObject* Clone() const override { return nullptr; }
    void OnPublish() override;
    void SetParam(QVCommandElt& element, const char* value, const char* name) override;

    /// Takes the list from the store and keeps it there from now on. Not owned; null: it lasts as
    /// long as this object.
    void useStore(qvSettingsStore* store);

    const List<QVString>& scripts() const { return scripts_; }
    const QVString& directory() const { return directory_; }

    // The names are those of the list, or the last part of one if no other ends in it. Failures
    // are posted to qverr().

    /// Adds a file to the end of the list. The directory of the first one becomes that of the
    /// scripts; those that lie elsewhere are listed with their full path.
    void Install(const QVString& file);
    void Uninstall(const QVString& name);
    /// One place towards the beginning or the end; at that place already, nothing happens.
    void Up(const QVString& name);
    void Down(const QVString& name);
    /// Files that end in ".py" are run by Python, others as commands. A Python script is told no
    /// port: `port` is what it expects. With 0 the script server's is used, or the user asked.
    void Run(const QVString& name, int port);

private:
    using Change = std::function<void(List<QVString>& scripts, QVString& directory)>;

    void change(const Change& change);
    void move(const QVString& name, int step);
    static int find(const List<QVString>& scripts, const QVString& name);
    std::string pathOf(const QVString& script) const;
    static bool choosePort(int port);
    static bool askPort(qvScriptServer& server);

    qvCommandObject& commands_;
    qvSettingsStore* store_ = nullptr;
    List<QVString> scripts_;
    QVString directory_;
};
