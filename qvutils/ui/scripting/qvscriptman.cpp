#include "qvutils/ui/scripting/qvscriptman.h"

#include <charconv>
#include <cstring>
#include <map>

#include "qvutils/common/diagnostics/diagnostics.h"
#include "qvutils/common/error/qverror.h"
#include "qvutils/common/platform/files.h"
#include "qvutils/common/platform/process.h"
#include "qvutils/ui/nodes/scriptrun.h"
#include "qvutils/ui/project/qvprojman.h"
#include "qvutils/ui/project/qvscriptserver.h"
#include "qvutils/ui/scripting/qvcommandobject.h"

namespace {

constexpr const char* group = "installed";
constexpr const char* directoryKey = "scripts_dir";
constexpr std::string_view scriptKey = "script_";
constexpr int highestPort = 65535;

/// False unless all of the text is a number in the range.
bool readNumber(std::string_view text, int least, int most, int& value) {
    int number = 0;
    const auto [rest, failure] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (failure != std::errc() || rest != text.data() + text.size()) return false;
    if (number < least || number > most) return false;
    value = number;
    return true;
}

/// The number of a script's key; -1 for another key.
int numberOf(const std::string& key) {
    int number = -1;
    if (key.starts_with(scriptKey)) {
        readNumber(std::string_view(key).substr(scriptKey.size()), 0, 1'000'000, number);
    }
    return number;
}

/// By their numbers, which another program may have left with gaps.
void readEntries(const qvSettingsEntries& entries, List<QVString>& scripts, QVString& directory) {
    std::map<int, std::string> byNumber;
    for (const auto& [key, value] : entries) {
        if (numberOf(key) >= 0 && !value.empty()) byNumber[numberOf(key)] = value;
    }
    scripts.unalloc();
    for (const auto& [number, script] : byNumber) {
        if (scripts.size() < qvScriptManager::maxScripts) scripts.append(script.c_str());
    }
    const auto found = entries.find(directoryKey);
    directory = found == entries.end() ? "" : found->second.c_str();
}

void writeEntries(const List<QVString>& scripts, const QVString& directory,
                  qvSettingsEntries& entries) {
    std::erase_if(entries, [](const auto& entry) { return numberOf(entry.first) >= 0; });
    int number = 0;
    for (const QVString& script : scripts) {
        entries[std::string(scriptKey) + std::to_string(++number)] = script.Chars();
    }
    entries[directoryKey] = directory.Chars();
}

std::string lastPart(const std::string& path) {
    std::size_t start = path.size();
    while (start > 0 && !qvplatform::isPathSeparator(path[start - 1])) --start;
    return path.substr(start);
}

/// Without the separators at its end; empty for a name alone.
std::string directoryPart(const std::string& path) {
    std::string directory = path.substr(0, path.size() - lastPart(path).size());
    while (directory.size() > 1 && qvplatform::isPathSeparator(directory.back())) {
        directory.pop_back();
    }
    return directory;
}

bool isFullPath(const std::string& path) {
    return !path.empty() &&
           (qvplatform::isPathSeparator(path[0]) || (path.size() > 1 && path[1] == ':'));
}

bool isFile(const std::string& path) {
    return qvplatform::fileSystem().status(path).isFile();
}

bool isPython(const std::string& path) {
    return path.ends_with(".py") || path.ends_with(".PY");
}

}  // namespace

const qvClassInfo qvScriptManager::cinfo_qvScriptManager("qvScriptManager",
                                                         QVObject::getStaticClassInfo());

void qvScriptManager::OnPublish() {
    PublishList("installed", scripts_, "installed scripts, in their order", true);
    PublishVar("directory", directory_, "directory of the scripts without a full path");
    PublishFn("install", &qvScriptManager::Install,
              "( filename ): add a script file to the end of the list");
    PublishFn("uninstall", &qvScriptManager::Uninstall,
              "( name ): remove the specified script from the list");
    PublishFn("up", &qvScriptManager::Up, "( name ): move the specified script up the list");
    PublishFn("down", &qvScriptManager::Down, "( name ): move the specified script down the list");
    PublishFn("run", &qvScriptManager::Run,
              "( name[, port] ): run the specified script; port=the port that it expects",
              qvRequiredArgs(1));
}

// The directory is the one value that can be set.
void qvScriptManager::SetParam(QVCommandElt&, const char* value, const char*) {
    change([&](List<QVString>&, QVString& directory) { directory = value; });
}

void qvScriptManager::useStore(qvSettingsStore* store) {
    store_ = store;
    if (store_) readEntries(store_->read(group), scripts_, directory_);
}

/// What other processes have done to the list in the meantime stays.
void qvScriptManager::change(const Change& change) {
    bool done = false;
    const auto apply = [&](qvSettingsEntries& entries) {
        List<QVString> scripts;
        QVString directory;
        readEntries(entries, scripts, directory);
        change(scripts, directory);
        done = true;
        if (qverr()) return;
        writeEntries(scripts, directory, entries);
        scripts_ = scripts;
        directory_ = directory;
    };
    if (store_) store_->edit(group, apply);
    if (done) return;
    qvSettingsEntries own;
    writeEntries(scripts_, directory_, own);
    apply(own);
}

/// The position of a script; 0, with an error posted, when there is none or which is not clear.
int qvScriptManager::find(const List<QVString>& scripts, const QVString& name) {
    int found = 0;
    int position = 0;
    int count = 0;
    for (const QVString& script : scripts) {
        ++position;
        if (script == name) return position;
        if (lastPart(script.Chars()) != name.Chars()) continue;
        found = position;
        ++count;
    }
    if (count == 1) return found;
    qverr().setf(count == 0 ? "script \"%s\" is not installed\n"
                            : "several installed scripts are called \"%s\": give the full path\n",
                 name.Chars());
    return 0;
}

std::string qvScriptManager::pathOf(const QVString& script) const {
    if (isFullPath(script.Chars())) return script.Chars();
    return qvplatform::joinPath(directory_.Chars(), script.Chars());
}

void qvScriptManager::Install(const QVString& file) {
    std::string path = file.Chars();
    if (std::strpbrk(file.Chars(), "\r\n")) {
        return qverr().setf("invalid file name \"%s\"\n", file.Chars());
    }
    if (!isFullPath(path)) path = qvplatform::joinPath(qvplatform::currentDirectory(), path);
    if (!isFile(path)) path = pathOf(file);
    if (!isFile(path)) return qverr().setf("could not find script file \"%s\"\n", file.Chars());
    change([&](List<QVString>& scripts, QVString& directory) {
        const std::string place = directoryPart(path);
        if (directory.Empty()) directory = place.c_str();
        const bool isBeside = place == directory.Chars();
        const QVString script((isBeside ? lastPart(path) : path).c_str());
        for (const QVString& other : scripts) {
            if (other == script) {
                return qverr().setf("script \"%s\" is installed already\n", script.Chars());
            }
        }
        if (scripts.size() == maxScripts) {
            return qverr().setf("no more than %d scripts can be installed\n", maxScripts);
        }
        scripts.append(script);
    });
}

void qvScriptManager::Uninstall(const QVString& name) {
    change([&](List<QVString>& scripts, QVString&) {
        if (const int position = find(scripts, name)) scripts.erase(position);
    });
}

void qvScriptManager::Up(const QVString& name) {
    move(name, -1);
}

void qvScriptManager::Down(const QVString& name) {
    move(name, 1);
}

void qvScriptManager::move(const QVString& name, int step) {
    change([&](List<QVString>& scripts, QVString&) {
        const int position = find(scripts, name);
        const int target = position + step;
        if (position && target >= 1 && target <= scripts.size()) scripts.move(position, target);
    });
}

void qvScriptManager::Run(const QVString& name, int port) {
    const int position = find(scripts_, name);
    if (!position) return;
    const std::string path = pathOf(scripts_[position]);
    if (!isFile(path)) {
        qverr().setf("Error executing script: installed script file \"%s\" not found in \"%s\"",
                     lastPart(path).c_str(), directoryPart(path).c_str());
    } else if (!isPython(path)) {
        commands_.RunFile(path);
    } else if (choosePort(port)) {
        qvRunPythonFile(path, {});
    }
}

/// The port is known to the script server afterwards. False when the user cancels or with an error
/// posted.
bool qvScriptManager::choosePort(int port) {
    qvScriptServer* server = getProjectManager().services().scriptServer();
    if (!server || server->isExecuting()) return true;  // the run will say so
    const bool wasListening = server->isListening();
    if (port != 0 && !(wasListening && port == server->localport())) {
        if (!qvMayDisconnect(*server) || !server->listen(port)) return false;
    } else if (!server->isInitialised() && !askPort(*server)) {
        return false;
    }
    // It listens for the length of the run.
    if (!wasListening) server->stop();
    return true;
}

/// Asks until the server listens.
bool qvScriptManager::askPort(qvScriptServer& server) {
    std::string answer = std::to_string(qvScriptServer::portBase + qvScriptServer::usualArgument);
    for (;;) {
        if (!getProjectManager().services().askText(
                "Set script server port",
                "Script server is not running. Enter the server port number that the script is "
                "expecting:",
                answer)) {
            return false;
        }
        int port = 0;
        if (!readNumber(answer, 1, highestPort, port)) continue;
        if (server.listen(port)) return true;
        wlwrite(qverr().chars_and_reset());
    }
}
