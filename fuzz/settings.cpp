// The bytes of a settings file: whatever they are, reading them ends well, and where the file is
// taken at all, what is written to it can be read again.
#include <cstdint>
#include <cstdlib>
#include <string>

#include "qvutils/common/diagnostics/diagnostics.h"
#include "qvutils/common/platform/files.h"
#include "qvutils/common/platform/process.h"
#include "qvutils/ui/settings/qvsettings.h"
#include "qvutils/ui/settings/qvsettingsstore.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const std::string path =
        qvplatform::joinPath(qvplatform::temporaryDirectory(),
                             "qvfuzz" + std::to_string(qvplatform::processId()) + ".conf");
    setOutputHook([](int, const char*) {});
    FILE* file = qvplatform::fileSystem().open(path, "w");
    if (!file) std::abort();
    qvplatform::fileSystem().write(file, data, size);
    qvplatform::fileSystem().close(file);

    qvSettingsStore store("fuzz", qvSettingsPlace::named(path));
    qvSettings settings;
    settings.load(store);
    const std::string wanted = settings.values().mainX == 7 ? "8" : "7";
    settings.set(*qvFindSetting("mainX"), wanted);
    if (settings.save(store)) {
        qvSettings again;
        again.load(store);
        if (std::to_string(again.values().mainX) != wanted) std::abort();
    }
    store.read("options/recentfiles");
    for (const char* left : {"", ".damaged"}) qvplatform::fileSystem().remove(path + left);
    return 0;
}
