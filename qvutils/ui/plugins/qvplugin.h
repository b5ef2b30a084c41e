#pragma once
#include <string>
#include <vector>

#include "qvutils/common/platform/sharedlibrary.h"
#include "qvutils/ui/plugins/qvpluginoffers.h"

class QVObject;

/// What a plug-in has said of itself.
struct qvPluginDescription {
    std::string name;
    std::string version;
    std::string author;
    std::string coreVersion;
};

/// What every plug-in is told.
struct qvPluginHost {
    std::string applicationName;
    QVObject* application = nullptr;
};

/// One plug-in, loaded while this object lives.
class qvPlugin {
public:
    enum class Outcome { loaded, failed, noPlugin };

    /// `directory` and `file` are the two parts of its path.
    qvPlugin(const std::string& directory, const std::string& file);
    ~qvPlugin();
    qvPlugin(const qvPlugin&) = delete;
    qvPlugin& operator=(const qvPlugin&) = delete;

    /// Opens the library, lets the plug-in describe itself, and accepts what it offers. `before`
    /// are the plug-ins that are loaded already. When the outcome is `failed`, `error` says why.
    /// Nothing of the plug-in is registered then.
    Outcome load(const qvPluginHost& host, const std::vector<const qvPlugin*>& before,
                 std::string& error);

    const std::string& file() const { return file_; }
    const std::string& path() const { return path_; }
    const qvPluginDescription& description() const { return description_; }
    const std::vector<QVObject*>& commands() const { return offers_.commands; }

private:
    struct Known;

    bool enter(void* entry, const qvPluginHost& host, const std::vector<const qvPlugin*>& before,
               std::string& error);
    bool fits(const std::vector<const qvPlugin*>& before, std::string& error) const;
    bool accept(std::string& error);
    void takeBack();

    std::string directory_;
    std::string file_;
    std::string path_;
    qvplatform::SharedLibrary library_;
    qvPluginDescription description_;
    qvPluginOffers offers_;
    /// What it has in the registries.
    std::vector<std::string> nodeTypes_;
    std::vector<std::string> realFunctions_;
    std::vector<std::string> complexFunctions_;
    std::vector<std::string> materialDirectories_;
};
