#pragma once
#include <wx/confbase.h>
#include <wx/debug.h>
#include <wx/log.h>

#include <memory>
#include <string>
#include <vector>

/// Where a settings store has its contents.
class SettingsSource {
public:
    virtual ~SettingsSource() = default;
    /// What is there now, at its root; null, with a warning given, when that cannot be told.
    virtual std::unique_ptr<wxConfigBase> open() = 0;
    /// Keeps what was changed; a warning and false when that fails.
    virtual bool commit(wxConfigBase& config) = 0;
    /// For the user to read.
    virtual std::string place() const = 0;
    /// The file by which processes take turns. Makes its directory when that is missing.
    virtual std::string lockFile() const = 0;
};

/// A file.
std::unique_ptr<SettingsSource> settingsFile(const std::string& path);
/// The user's own store. One of two sources implements it: a file, or the registry.
std::unique_ptr<SettingsSource> userSettings(const std::string& application);

/// While it lives, what the toolkit has to say is collected instead of shown. It also doubts itself
/// aloud about some damaged files, though it goes on well: that is left out.
class ToolkitMessages : private wxLog {
public:
    ToolkitMessages()
        : before_(wxLog::SetActiveTarget(this)), doubtsBefore_(wxSetAssertHandler(nullptr)) {}
    ~ToolkitMessages() override {
        wxSetAssertHandler(doubtsBefore_);
        wxLog::SetActiveTarget(before_);
    }
    const std::vector<std::string>& all() const { return all_; }

private:
    void DoLogRecord(wxLogLevel level, const wxString& text, const wxLogRecordInfo&) override;

    wxLog* before_;
    wxAssertHandler_t doubtsBefore_;
    std::vector<std::string> all_;
};

/// Between the texts of the toolkit and UTF-8. False for bytes that are not UTF-8.
bool toToolkit(const std::string& text, wxString& result);
std::string fromToolkit(const wxString& text);
