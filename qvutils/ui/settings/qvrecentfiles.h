#pragma once
#include <string>
#include <vector>

#include "qvutils/common/containers/list.h"
#include "qvutils/common/platform/qvexport.h"
#include "qvutils/common/text/qvstring.h"

class qvSettingsStore;

/// The project files that were used last, the latest first.
class QVCORE_API qvRecentFiles {
public:
    static constexpr int most = 9;

    void load(const qvSettingsStore& store);
    /// The file comes to the front.
    void use(const std::string& path);
    /// Puts the files used by this process before those that the store has by now. True when
    /// nothing is left to write.
    bool save(qvSettingsStore& store);

    List<QVString>& all() { return all_; }

private:
    List<QVString> all_;
    std::vector<std::string> used_;  ///< since the last load or save, the latest first
};
