#include "qvutils/ui/plugins/qvplugins.h"

#include <algorithm>
#include <cerrno>
#include <set>
#include <string_view>

#include "qvutils/common/diagnostics/diagnostics.h"
#include "qvutils/common/error/qverror.h"
#include "qvutils/common/platform/files.h"
#include "qvutils/common/platform/process.h"
#include "qvutils/common/tasks/qvtask.h"
#include "qvutils/ui/plugins/qvlicence.h"
#include "qvutils/ui/plugins/qvplugin.h"

namespace {

/// Without the file's name and the separator before it; the root keeps its own.
std::string directoryOf(const std::string& path) {
    std::size_t end = path.size();
    while (end > 0 && !qvplatform::isPathSeparator(path[end - 1])) --end;
    return path.substr(0, end > 1 ? end - 1 : end);
}

bool isPluginName(std::string_view name) {
    const std::string_view suffix = qvPlugins::suffix;
    return name.size() > suffix.size() && name.substr(name.size() - suffix.size()) == suffix;
}

void warn(const std::string& text) {
    wlwrite(text.c_str());
}

/// What was pending before, put back at the end unless something new is.
class SetAside {
public:
    SetAside() { qverr().transferto(before_); }
    ~SetAside() {
        if (!qverr()) before_.transferto(qverr());
    }
    SetAside(const SetAside&) = delete;
    SetAside& operator=(const SetAside&) = delete;

private:
    Error before_;
};

}  // namespace

qvPlugins::qvPlugins() = default;

qvPlugins::~qvPlugins() {
    unload();
}

std::string qvPlugins::programDirectory() {
    return directoryOf(qvplatform::executablePath());
}

void qvPlugins::load(const std::vector<std::string>& directories, const qvLicence& licence,
                     const std::string& applicationName, QVObject* application) {
    const SetAside before;
    const qvPluginHost host{applicationName, application};
    bool allLoaded = true;
    std::set<std::string> seen;
    for (const std::string& directory : directories) {
        // The path of a file in it is the same with and without "/" or "/." at the directory's end.
        std::string inside = qvplatform::fullPath(qvplatform::joinPath(directory, "x"));
        std::replace_if(inside.begin(), inside.end(), qvplatform::isPathSeparator, '/');
        if (!seen.insert(inside).second) continue;
        if (!loadDirectory(directory, licence, host)) allLoaded = false;
    }
    if (!allLoaded) qverr().set(loadFailed, "a plugin failed to load - see Warnings");
}

bool qvPlugins::loadDirectory(const std::string& directory, const qvLicence& licence,
                              const qvPluginHost& host) {
    qvplatform::FileSystem& files = qvplatform::fileSystem();
    std::vector<std::string> names;
    if (!files.status(directory).isDirectory()) {
        warn("plugin dir \"" + directory + "\" does not exist");
        warn("\n");
        return true;
    }
    if (!files.listDirectory(directory, names)) {
        warn("plugin dir \"" + directory + "\" cannot be read: " + qvplatform::errorText(errno) +
             "\n");
        return true;
    }
    bool allLoaded = true;
    for (const std::string& name : names) {
        if (!isPluginName(name)) continue;
        if (!files.status(qvplatform::joinPath(directory, name)).isFile()) continue;
        if (size() >= most) {
            warn("plugin dir \"" + directory + "\": more than " + std::to_string(most) +
                 " plugins, the rest is left out\n");
            return false;
        }
        if (!loadFile(directory, name, licence, host)) allLoaded = false;
    }
    return allLoaded;
}

bool qvPlugins::loadFile(const std::string& directory, const std::string& file,
                         const qvLicence& licence, const qvPluginHost& host) {
    std::string reason;
    if (!licence.allowsPlugin(file, reason)) {
        warn("plugin \"" + file + "\" is not allowed by the licence:\n  " + reason + "\n");
        return true;
    }
    std::vector<const qvPlugin*> before;
    for (const auto& plugin : plugins_) before.push_back(plugin.get());
    auto plugin = std::make_unique<qvPlugin>(directory, file);
    switch (plugin->load(host, before, reason)) {
        case qvPlugin::Outcome::noPlugin:
            warn("\"" + file + "\" is not a plugin! Ignoring...\n");
            return true;
        case qvPlugin::Outcome::failed:
            while (!reason.empty() && reason.back() == '\n') reason.pop_back();
            warn("plugin \"" + file + "\" load failed:\n  " + reason + "\n");
            return false;
        case qvPlugin::Outcome::loaded:
            lwrite(("loaded plugin \"" + file + "\"\n").c_str());
            plugins_.push_back(std::move(plugin));
    }
    return true;
}

void qvPlugins::unload() {
    if (plugins_.empty()) return;
    // They may keep things of their own that the code of a plug-in has to destroy.
    qvTask::StopWorkerThreads();
    while (!plugins_.empty()) plugins_.pop_back();
}

QVString qvPlugins::listing() const {
    std::string text;
    for (const auto& plugin : plugins_) {
        const qvPluginDescription& own = plugin->description();
        if (!text.empty()) text += '\n';
        text += own.name + ' ' + own.version + ", " + own.author + ", " + plugin->path();
    }
    return text.c_str();
}

std::vector<QVObject*> qvPlugins::commands() const {
    std::vector<QVObject*> all;
    for (const auto& plugin : plugins_) {
        all.insert(all.end(), plugin->commands().begin(), plugin->commands().end());
    }
    return all;
}
