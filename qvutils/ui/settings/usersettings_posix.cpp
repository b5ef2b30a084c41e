#include "qvutils/common/platform/files.h"
#include "qvutils/common/platform/process.h"
#include "qvutils/ui/settings/settingssource.h"

std::unique_ptr<SettingsSource> userSettings(const std::string& application) {
    return settingsFile(
        qvplatform::joinPath(qvplatform::configDirectory(""), application + ".conf"));
}
