#include "qvutils/ui/plugins/qvplugin.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <exception>

#include "qvutils/common/diagnostics/diagnostics.h"
#include "qvutils/common/error/qverror.h"
#include "qvutils/common/materials/materialfiles.h"
#include "qvutils/common/platform/files.h"
#include "qvutils/ui/plugins/qvplugininfo.h"
#include "qvutils/ui/project/qvprojman.h"

namespace {

using Entry = void(PluginInfo&, const char** loaded, const char*& error, void* application);

/// The names under which compilers export qvInitPlugin, and that of one with C linkage.
const char* const entryNames[] = {
    "_Z12qvInitPluginR10PluginInfoPPKcRS2_Pv",
    "?qvInitPlugin@@YAXAEAUPluginInfo@@PEAPEBDAEAPEBDPEAX@Z",
    "qvInitPlugin",
};

void* findEntry(const qvplatform::SharedLibrary& library) {
    for (const char* name : entryNames) {
        if (void* entry = library.symbol(name)) return entry;
    }
    return nullptr;
}

/// The major version in a tag; empty when it is none.
std::string majorVersion(const char* tag) {
    char major[16];
    return std::sscanf(tag, "qvcore( %15[^. ]", major) == 1 ? major : "";
}

std::string textOf(const char* text) {
    return text ? text : "";
}

/// What may stand in a line of a project file.
bool isPlain(const std::string& text) {
    constexpr std::size_t longest = 100;
    return text.size() <= longest && text.find("//") == text.npos &&
           std::all_of(text.begin(), text.end(),
                       [](char c) { return static_cast<unsigned char>(c) >= ' ' && c != '\x7f'; });
}

bool isFunctionName(const std::string& name) {
    const auto isLetter = [](char c) {
        return c == '_' || std::isalpha(static_cast<unsigned char>(c));
    };
    return !name.empty() && isLetter(name[0]) && std::all_of(name.begin(), name.end(), [&](char c) {
        return isLetter(c) || std::isdigit(static_cast<unsigned char>(c));
    });
}

bool isFullPath(const std::string& path) {
    return qvplatform::isPathSeparator(path[0]) || (path.size() > 1 && path[1] == ':');
}

/// Registers a function for numbers of type T and notes it in `names`; a name that is taken keeps
/// its meaning.
template <class T>
void registerFunction(QVFormulaFunction<T> function, const qvPluginOffers::Function& offer,
                      const std::string& file, std::vector<std::string>& names) {
    if (!function) return;
    if (QVFuncParser<T>::TheFuncParser.RegisterFunction(function, offer.name.c_str(),
                                                        offer.arity)) {
        names.push_back(offer.name);
    } else if (std::find(names.begin(), names.end(), offer.name) == names.end()) {
        wlwrite(("plugin \"" + file + "\": the function \"" + offer.name + "\" exists already\n")
                    .c_str());
    }
}

template <class T>
void removeFunctions(std::vector<std::string>& names) {
    for (const std::string& name : names) {
        QVFuncParser<T>::TheFuncParser.RemoveFunction(name.c_str());
    }
    names.clear();
}

/// While one lives, node types that register themselves belong to the plug-in.
struct OwnedRegistrations {
    explicit OwnedRegistrations(const std::string& owner) {
        qvProjectNodeInfoClass::SetOwner(owner);
    }
    ~OwnedRegistrations() { qvProjectNodeInfoClass::SetOwner(""); }
    OwnedRegistrations(const OwnedRegistrations&) = delete;
    OwnedRegistrations& operator=(const OwnedRegistrations&) = delete;
};

}  // namespace

/// How much the registries hold before the plug-in's code runs, so that what it puts there itself
/// is known as its own.
struct qvPlugin::Known {
    int nodeTypes = getProjectManager().getMetaDataTable().size();
    int realFunctions = QVFuncParserR::TheFuncParser.getFunctions().size();
    int complexFunctions = QVFuncParserC::TheFuncParser.getFunctions().size();

    void noteNew(qvPlugin& plugin) const {
        const qvMetaDataTable& table = getProjectManager().getMetaDataTable();
        for (int i = nodeTypes + 1; i <= table.size(); ++i) {
            plugin.nodeTypes_.emplace_back(table.getMetaData(i)->signature.type);
        }
        noteFunctions<double>(realFunctions, plugin.realFunctions_);
        noteFunctions<std::complex<double>>(complexFunctions, plugin.complexFunctions_);
    }

    template <class T>
    static void noteFunctions(int before, std::vector<std::string>& names) {
        const auto& functions = QVFuncParser<T>::TheFuncParser.getFunctions();
        for (int i = before + 1; i <= functions.size(); ++i) {
            names.emplace_back(functions[i].name.Chars());
        }
    }
};

qvPlugin::qvPlugin(const std::string& directory, const std::string& file)
    : directory_(directory), file_(file), path_(qvplatform::joinPath(directory, file)) {}

qvPlugin::~qvPlugin() {
    takeBack();
}

qvPlugin::Outcome qvPlugin::load(const qvPluginHost& host,
                                 const std::vector<const qvPlugin*>& before, std::string& error) {
    const OwnedRegistrations owned(path_);
    const Known known;
    const int registrations = qvProjectNodeInfoClass::TheInfoList().size();
    const bool opened = library_.open(path_, error);
    // Some systems drop a library that fails half-way without destroying what it has made.
    if (!opened) qvProjectNodeInfoClass::Forget(registrations);
    void* const entry = findEntry(library_);
    const bool entered = entry && enter(entry, host, before, error);
    known.noteNew(*this);
    if (entered && fits(before, error) && accept(error)) return Outcome::loaded;
    takeBack();
    library_.close();
    qverr().reset();
    return opened && !entry ? Outcome::noPlugin : Outcome::failed;
}

/// Calls the entry point; what it throws or posts is an error like the text it may give back.
bool qvPlugin::enter(void* entry, const qvPluginHost& host,
                     const std::vector<const qvPlugin*>& before, std::string& error) {
    std::vector<const char*> loaded;
    for (const qvPlugin* plugin : before) loaded.push_back(plugin->description_.name.c_str());
    loaded.push_back(nullptr);
    PluginInfo info(offers_);
    info.applicationName = host.applicationName.c_str();
    info.path = path_.c_str();
    const char* text = nullptr;
    try {
        reinterpret_cast<Entry*>(entry)(info, loaded.data(), text, host.application);
        if (text)
            error = text;
        else if (qverr())
            error = qverr().chars();
        else {
            description_ = {textOf(info.name), textOf(info.version), textOf(info.author),
                            textOf(info.coreVersion)};
            return true;
        }
    } catch (const Error& thrown) {
        error = thrown.chars();
    } catch (const std::exception& thrown) {
        error = thrown.what();
    } catch (...) {
        error = "its entry point threw an exception";
    }
    return false;
}

bool qvPlugin::fits(const std::vector<const qvPlugin*>& before, std::string& error) const {
    const std::string& name = description_.name;
    const std::string major = majorVersion(description_.coreVersion.c_str());
    if (name.empty()) {
        error = "it does not tell its name";
    } else if (!isPlain(name) || !isPlain(description_.version)) {
        error = "its name or version is too long or has characters that are not allowed";
    } else if (major.empty()) {
        error = "it does not tell what version of the library it was built against";
    } else if (major != majorVersion(qvCoreVersionTag)) {
        error = "it was built against " + description_.coreVersion + ", this program has " +
                qvCoreVersionTag;
    }
    for (const qvPlugin* other : before) {
        if (other->description_.name == name) {
            error = "a plug-in \"" + name + "\" is loaded already, from " + other->path_;
        }
    }
    return error.empty();
}

bool qvPlugin::accept(std::string& error) {
    const std::string plugin = description_.name + ' ' + description_.version;
    qvMetaDataTable& table = getProjectManager().getMetaDataTable();
    for (qvProjectNodeInfo& record : offers_.nodeTypes) {
        record.plugin = plugin;
        if (table.AddNode(record))
            nodeTypes_.emplace_back(record.signature.type);
        else if (!qverr()) {
            wlwrite(QVString().sprintf("failure in registering node type \"%s\"\n",
                                       record.signature.type));
        }
    }
    qvProjectNodeInfoClass::Register(path_, plugin);
    for (const qvPluginOffers::Function& offer : offers_.functions) {
        if (!isFunctionName(offer.name) || offer.arity < -1 || offer.arity == 0) {
            error = "wrong name or number of arguments of a function: \"" + offer.name + "\"";
            return false;
        }
        registerFunction(offer.real, offer, file_, realFunctions_);
        registerFunction(offer.complex, offer, file_, complexFunctions_);
    }
    for (const std::string& directory : offers_.materialDirectories) {
        const std::string path = !directory.empty() && isFullPath(directory)
                                     ? directory
                                     : qvplatform::joinPath(directory_, directory);
        qvAddMaterialDirectory(path);
        materialDirectories_.push_back(path);
    }
    if (qverr()) error = qverr().chars_and_reset();
    return error.empty();
}

void qvPlugin::takeBack() {
    for (const std::string& path : materialDirectories_) qvRemoveMaterialDirectory(path);
    materialDirectories_.clear();
    removeFunctions<double>(realFunctions_);
    removeFunctions<std::complex<double>>(complexFunctions_);
    for (const std::string& type : nodeTypes_) {
        getProjectManager().getMetaDataTable().RemoveNode(type.c_str());
    }
    nodeTypes_.clear();
    qvProjectNodeInfoClass::Withdraw(path_);
    offers_ = {};
}
