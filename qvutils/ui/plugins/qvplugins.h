#pragma once
#include <memory>
#include <string>
#include <vector>

#include "qvutils/common/platform/qvexport.h"
#include "qvutils/common/text/qvstring.h"

class QVObject;
class qvLicence;
class qvPlugin;
struct qvPluginHost;

/// The plug-ins of an application, in the order in which they were loaded.
class QVCORE_API qvPlugins {
public:
    static constexpr int loadFailed = 508;
    static constexpr const char* suffix = ".plugin";
    /// More plug-ins are not loaded.
    static constexpr int most = 1000;

    qvPlugins();
    /// Unloads them.
    ~qvPlugins();
    qvPlugins(const qvPlugins&) = delete;
    qvPlugins& operator=(const qvPlugins&) = delete;

    /// The directory in which the program lies; plug-ins lie beside it.
    static std::string programDirectory();

    /// Loads every file NAME.plugin in the directories that the licence allows; a directory named
    /// twice counts once. What cannot be loaded costs a warning; error 508 then tells that there was
    /// one. `application` is what plug-ins get to know as "app", and may be null.
    void load(const std::vector<std::string>& directories, const qvLicence& licence,
              const std::string& applicationName, QVObject* application);
    /// Takes back what the plug-ins have registered and unloads them, the last one first. Their
    /// nodes, and all else made by their code, must be gone; the worker threads are stopped.
    void unload();

    int size() const { return static_cast<int>(plugins_.size()); }
    /// A line for each: name, version, author, file.
    QVString listing() const;
    /// What the objects of all plug-ins publish.
    std::vector<QVObject*> commands() const;

private:
    bool loadDirectory(const std::string& directory, const qvLicence& licence,
                       const qvPluginHost& host);
    bool loadFile(const std::string& directory, const std::string& file, const qvLicence& licence,
                  const qvPluginHost& host);

    std::vector<std::unique_ptr<qvPlugin>> plugins_;
};
