#pragma once
#include <memory>
#include <string>

#include "qvutils/common/object/qvobject.h"
#include "qvutils/ui/settings/qvsettingstable.h"

class qvSettingsStore;
class wxConfigBase;

/// An application's settings as the command language sees them: app.settings. What was changed is
/// remembered, so that only that is written back: another process may have changed the rest.
class QVCORE_API qvSettings : public QVObject {
public:
    QV_CLASS_INFO(qvSettings)

    /// Where an application keeps its settings in its store.
    static constexpr const char* group = "options";

    /// Without a store they are as they are at first. The listener, not owned, may be null.
    explicit qvSettings(qvSettingsListener* listener = nullptr);
    ~qvSettings() override;
    qvSettings(const qvSettings&) = delete;
    qvSettings& operator=(const qvSettings&) = delete;

    const qvSettingValues& values() const { return values_; }
    /// Sets a value from a text. Posts "%s must be %s, not \"%s\"\n" (key, type, text) for one that
    /// does not suit.
    void set(const qvSettingRow& row, const std::string& text);

    /// The same for a setting that the application keeps for itself; a text that does not suit is
    /// left aside without an error.
    void note(const char* key, const std::string& text);

    /// Reads and writes a group of a store, which holds the entries and the group "commandline".
    /// Values that do not suit are left as they were. False when there is no such group.
    bool read(wxConfigBase& config, const char* name);
    bool write(wxConfigBase& config, const char* name) { return writeRows(config, name, true); }

    void load(const qvSettingsStore& store);
    /// Writes what was changed since it was read or written. True when nothing is left to write.
    bool save(qvSettingsStore& store);

    QVObject* Clone() const override { return nullptr; }
    void OnPublish() override;
    void SetParam(QVCommandElt& element, const char* value, const char* name) override;

private:
    class Group;

    template <class Publisher>
    void publishRows(const char* name, Publisher& publisher);
    template <class T>
    void publish(const char* key, T& value, const char* help) {
        PublishVar(key, value, help);
    }
    bool writeRows(wxConfigBase& config, const char* name, bool all);
    bool isChanged(const qvSettingRow& row) const;
    void reset(const QVString& key);

    qvSettingsListener* listener_;
    qvSettingValues values_;
    qvSettingValues stored_;  ///< as last read or written
    std::unique_ptr<Group> commandline_;
};
