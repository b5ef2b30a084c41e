#include "qvutils/ui/settings/qvsettings.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "qvutils/common/error/qverror.h"
#include "qvutils/ui/settings/qvsettingsstore.h"
#include "qvutils/ui/settings/settingssource.h"

namespace {

// What the command language tells of a setting: meaning, values, and the one at first.
const char* helpOf(const qvSettingRow& row) {
    static const std::vector<std::string> all = [] {
        std::vector<std::string> texts;
        for (const qvSettingRow& one : qvSettingRows()) {
            const std::string atFirst = *one.atFirst ? one.atFirst : "empty";
            texts.push_back(std::string(one.help) + " [" + one.type() + "; " + atFirst + "]");
        }
        return texts;
    }();
    return all[static_cast<std::size_t>(&row - qvSettingRows().data())].c_str();
}

const void* addressOf(const qvSettingRow& row, const qvSettingValues& values) {
    return std::visit([&values](auto field) -> const void* { return &(values.*field); }, row.field);
}

// The path of a row's entry inside the group of the settings.
wxString entryOf(const qvSettingRow& row) {
    return *row.group ? wxString(row.group) + "/" + row.key : wxString(row.key);
}

// The stored text of a setting; false when there is none, or one of another type.
bool readEntry(const wxConfigBase& config, const qvSettingRow& row, std::string& text) {
    const wxString entry = entryOf(row);
    if (!config.HasEntry(entry)) return false;
    if (row.isText()) {
        wxString value;
        if (!config.Read(entry, &value)) return false;
        text = fromToolkit(value);
        return true;
    }
    long number = 0;
    if (config.Read(entry, &number)) {
        // Any number but 0 is a flag that is set.
        text = std::to_string(row.isFlag() ? number != 0 : number);
        return true;
    }
    wxString word;
    if (!row.isFlag() || !config.Read(entry, &word)) return false;
    text = fromToolkit(word);
    return true;
}

bool writeEntry(wxConfigBase& config, const qvSettingRow& row, const std::string& text) {
    if (!row.isText()) return config.Write(entryOf(row), std::strtol(text.c_str(), nullptr, 10));
    wxString value;
    return toToolkit(text, value) && config.Write(entryOf(row), value);
}

// Stands in a group of a store while it lives.
class InGroup {
public:
    InGroup(wxConfigBase& config, const char* group) : config_(config), before_(config.GetPath()) {
        config_.SetPath(wxString::FromUTF8(group));
    }
    ~InGroup() { config_.SetPath(before_.empty() ? wxString("/") : before_); }
    InGroup(const InGroup&) = delete;
    InGroup& operator=(const InGroup&) = delete;

private:
    wxConfigBase& config_;
    wxString before_;
};

}  // namespace

const qvClassInfo qvSettings::cinfo_qvSettings("qvSettings", QVObject::getStaticClassInfo());

/// The settings of a group inside that of the application.
class qvSettings::Group : public QVObject {
public:
    Group(qvSettings& settings, const char* name) : settings_(settings), name_(name) {}
    QVObject* Clone() const override { return nullptr; }
    void OnPublish() override { settings_.publishRows(name_, *this); }
    void SetParam(QVCommandElt& element, const char* value, const char* name) override {
        settings_.SetParam(element, value, name);
    }
    template <class T>
    void publish(const char* key, T& value, const char* help) {
        PublishVar(key, value, help);
    }

private:
    qvSettings& settings_;
    const char* name_;
};

qvSettings::qvSettings(qvSettingsListener* listener)
    : listener_(listener), commandline_(std::make_unique<Group>(*this, "commandline")) {}

qvSettings::~qvSettings() = default;

bool qvSettings::isChanged(const qvSettingRow& row) const {
    return row.write(values_) != row.write(stored_);
}

void qvSettings::set(const qvSettingRow& row, const std::string& text) {
    wxString asStored;
    const std::string before = row.write(values_);
    if (!toToolkit(text, asStored) || !row.read(values_, text)) {
        qverr().setf("%s must be %s, not \"%s\"\n", row.key, row.type().c_str(), text.c_str());
    } else if (row.changed && listener_ && row.write(values_) != before) {
        (listener_->*row.changed)();
    }
}

void qvSettings::note(const char* key, const std::string& text) {
    const qvSettingRow* row = qvFindSetting(key);
    wxString asStored;
    if (row && toToolkit(text, asStored)) row->read(values_, text);
}

bool qvSettings::read(wxConfigBase& config, const char* name) {
    if (!config.HasGroup(wxString::FromUTF8(name))) return false;
    const InGroup inside(config, name);
    for (const qvSettingRow& row : qvSettingRows()) {
        std::string text;
        if (!readEntry(config, row, text)) continue;
        const std::string before = row.write(values_);
        if (!row.read(values_, text)) continue;
        row.read(stored_, text);
        if (row.changed && listener_ && row.write(values_) != before) (listener_->*row.changed)();
    }
    return true;
}

bool qvSettings::writeRows(wxConfigBase& config, const char* name, bool all) {
    const InGroup inside(config, name);
    bool well = true;
    for (const qvSettingRow& row : qvSettingRows()) {
        if (all || isChanged(row)) well &= writeEntry(config, row, row.write(values_));
    }
    return well;
}

void qvSettings::load(const qvSettingsStore& store) {
    store.readConfig([this](wxConfigBase& config) { read(config, group); });
}

bool qvSettings::save(qvSettingsStore& store) {
    const auto rows = qvSettingRows();
    const auto changed = [this](const qvSettingRow& row) { return isChanged(row); };
    if (std::none_of(rows.begin(), rows.end(), changed)) return true;
    bool well = true;
    const bool kept = store.changeConfig(
        [this, &well](wxConfigBase& config) { well = writeRows(config, group, false); });
    if (kept && well) stored_ = values_;
    return kept && well;
}

void qvSettings::reset(const QVString& key) {
    if (const qvSettingRow* row = qvFindSetting(key.Chars())) return set(*row, row->atFirst);
    qverr().setf("there is no setting \"%s\"\n", key.Chars());
}

template <class Publisher>
void qvSettings::publishRows(const char* name, Publisher& publisher) {
    for (const qvSettingRow& row : qvSettingRows()) {
        if (std::strcmp(row.group, name) != 0) continue;
        std::visit([&](auto field) { publisher.publish(row.key, values_.*field, helpOf(row)); },
                   row.field);
    }
}

void qvSettings::OnPublish() {
    publishRows("", *this);
    PublishVar("commandline", *commandline_, "how the command window looks");
    PublishFn("reset", &qvSettings::reset,
              "( key ): give a setting the value that it had at first");
}

void qvSettings::SetParam(QVCommandElt& element, const char* value, const char* name) {
    for (const qvSettingRow& row : qvSettingRows()) {
        if (addressOf(row, values_) == element.getScalarPtr()) return set(row, value);
    }
    QVObject::SetParam(element, value, name);
}
