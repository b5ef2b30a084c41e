#include "qvutils/ui/settings/qvsettingsstore.h"

#include <wx/init.h>

#include <cerrno>

#include "qvutils/common/diagnostics/diagnostics.h"
#include "qvutils/common/platform/filelock.h"
#include "qvutils/common/platform/files.h"
#include "qvutils/common/platform/process.h"
#include "qvutils/ui/settings/settingssource.h"

namespace {

constexpr int longestWait = 5000;  // milliseconds

std::string entryText(const wxConfigBase& config, const wxString& key) {
    if (config.GetEntryType(key) == wxConfigBase::Type_Integer)
        return std::to_string(config.ReadLong(key, 0));
    return fromToolkit(config.Read(key, wxString()));
}

// The entries of the group that `config` stands at.
qvSettingsEntries entriesOf(const wxConfigBase& config) {
    qvSettingsEntries entries;
    wxString key;
    long cookie = 0;
    for (bool more = config.GetFirstEntry(key, cookie); more;
         more = config.GetNextEntry(key, cookie)) {
        entries[fromToolkit(key)] = entryText(config, key);
    }
    return entries;
}

bool writeEntry(wxConfigBase& config, const std::string& key, const std::string& text) {
    wxString name;
    wxString value;
    if (!toToolkit(key, name) || !toToolkit(text, value)) {
        wlwrite(("the setting " + key + " is not UTF-8 text and is not kept\n").c_str());
        return false;
    }
    return config.Write(name, value);
}

bool replaceEntries(wxConfigBase& config, const qvSettingsEntries& before,
                    const qvSettingsEntries& after) {
    bool well = true;
    for (const auto& [key, text] : before) {
        if (!after.count(key)) well &= config.DeleteEntry(wxString::FromUTF8(key.c_str()), false);
    }
    for (const auto& [key, text] : after) {
        const auto known = before.find(key);
        if (known == before.end() || known->second != text) well &= writeEntry(config, key, text);
    }
    return well;
}

}  // namespace

void ToolkitMessages::DoLogRecord(wxLogLevel level, const wxString& text, const wxLogRecordInfo&) {
    if (level <= wxLOG_Warning) all_.push_back(fromToolkit(text));
}

bool toToolkit(const std::string& text, wxString& result) {
    result = wxString::FromUTF8(text.data(), text.size());
    return text.empty() || !result.empty();
}

std::string fromToolkit(const wxString& text) {
    return text.utf8_string();
}

qvSettingsPlace qvSettingsPlace::named(const std::string& text) {
    if (text.empty()) return {};
    if (text == "none") return {Kind::none, ""};
    return {Kind::file, text};
}

qvSettingsPlace qvSettingsPlace::chosen(const std::string& text) {
    std::string place = text;
    if (place.empty()) qvplatform::environmentVariable("QV_SETTINGS", place);
    return named(place);
}

// The toolkit's library is in use for as long as the store.
class qvSettingsStore::Toolkit {
    wxInitializer initializer_;
};

class qvSettingsStore::Impl {
public:
    explicit Impl(std::unique_ptr<SettingsSource> where) : source(std::move(where)) {}
    std::unique_ptr<SettingsSource> source;
};

qvSettingsStore::qvSettingsStore(const std::string& application, const qvSettingsPlace& place) {
    if (place.kind == qvSettingsPlace::Kind::none) return;
    toolkit_ = std::make_unique<Toolkit>();
    impl_ = std::make_unique<Impl>(place.kind == qvSettingsPlace::Kind::file
                                       ? settingsFile(qvplatform::fullPath(place.file))
                                       : userSettings(application));
}

qvSettingsStore::~qvSettingsStore() = default;

bool qvSettingsStore::readConfig(const std::function<void(wxConfigBase&)>& use) const {
    if (!impl_) return false;
    SettingsSource& source = *impl_->source;
    // A system may refuse to replace a file that is being read: the writers are kept waiting.
    qvplatform::FileLock turn;
    if (qvplatform::fileSystem().status(source.place()).isFile())
        turn.acquire(source.lockFile(), longestWait);
    const std::unique_ptr<wxConfigBase> config = source.open();
    if (!config) return false;
    const ToolkitMessages unshown;
    config->SetExpandEnvVars(false);
    use(*config);
    return true;
}

bool qvSettingsStore::changeConfig(const std::function<void(wxConfigBase&)>& change) {
    if (!impl_) return false;
    SettingsSource& source = *impl_->source;
    qvplatform::FileLock turn;
    const bool myTurn = turn.acquire(source.lockFile(), longestWait);
    const std::string cause = myTurn ? "" : ": " + qvplatform::errorText(errno);
    const std::unique_ptr<wxConfigBase> config = myTurn ? source.open() : nullptr;
    if (!config) {
        wlwrite(("the settings could not be kept in " + source.place() + cause + "\n").c_str());
        return false;
    }
    {
        const ToolkitMessages unshown;
        config->SetExpandEnvVars(false);
        change(*config);
    }
    return source.commit(*config);
}

qvSettingsEntries qvSettingsStore::read(const std::string& group) const {
    qvSettingsEntries entries;
    readConfig([&](wxConfigBase& config) {
        const wxString path = wxString::FromUTF8(group.c_str());
        if (!config.HasGroup(path)) return;
        config.SetPath("/" + path);
        entries = entriesOf(config);
    });
    return entries;
}

bool qvSettingsStore::edit(const std::string& group,
                           const std::function<void(qvSettingsEntries&)>& change) {
    bool well = true;
    const bool kept = changeConfig([&](wxConfigBase& config) {
        config.SetPath("/" + wxString::FromUTF8(group.c_str()));
        const qvSettingsEntries before = entriesOf(config);
        qvSettingsEntries after = before;
        change(after);
        well = replaceEntries(config, before, after);
        config.SetPath("/");
    });
    return kept && well;
}

std::string qvSettingsStore::place() const {
    return impl_ ? impl_->source->place() : "nowhere";
}
