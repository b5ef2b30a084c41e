#include <wx/config.h>
#include <wx/msw/regconf.h>

#include "qvutils/common/diagnostics/diagnostics.h"
#include "qvutils/common/platform/files.h"
#include "qvutils/common/platform/process.h"
#include "qvutils/ui/settings/settingssource.h"

namespace {

/// A key of the registry, which writes each value at once.
class SettingsRegistry : public SettingsSource {
public:
    explicit SettingsRegistry(const std::string& application) : application_(application) {}

    std::unique_ptr<wxConfigBase> open() override {
        return std::make_unique<wxRegConfig>(wxString::FromUTF8(application_.c_str()), "", "", "",
                                             wxCONFIG_USE_LOCAL_FILE);
    }
    bool commit(wxConfigBase& config) override {
        if (config.Flush()) return true;
        wlwrite(("the settings could not be kept in " + place() + "\n").c_str());
        return false;
    }
    std::string place() const override { return "HKEY_CURRENT_USER\\Software\\" + application_; }
    std::string lockFile() const override {
        const std::string directory = qvplatform::stateDirectory(application_);
        qvplatform::makeDirectories(directory);
        return qvplatform::joinPath(directory, "settings.lock");
    }

private:
    std::string application_;
};

}  // namespace

std::unique_ptr<SettingsSource> userSettings(const std::string& application) {
    return std::make_unique<SettingsRegistry>(application);
}
