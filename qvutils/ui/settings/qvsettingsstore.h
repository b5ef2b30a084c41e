#pragma once
#include <functional>
#include <map>
#include <memory>
#include <string>

#include "qvutils/common/platform/qvexport.h"

class wxConfigBase;

/// Where an application keeps its settings.
struct qvSettingsPlace {
    enum class Kind {
        user,  ///< in the user's own store: a file NAME.conf, on Windows a key of the registry
        file,  ///< in a file of its own
        none   ///< nowhere: nothing is read or kept
    };

    Kind kind = Kind::user;
    std::string file;

    /// What a user says: "none", the path of a file, or nothing for the user's own store.
    static QVCORE_API qvSettingsPlace named(const std::string& text);
    /// The same; without a text the environment variable QV_SETTINGS is asked.
    static QVCORE_API qvSettingsPlace chosen(const std::string& text);
};

/// The entries of a group: key and text.
using qvSettingsEntries = std::map<std::string, std::string>;

/// The store of an application's settings, where each part of the application has a group of its
/// own. Texts are UTF-8. Processes may use one store at the same time: each change is made to what
/// the store holds at that moment, while other processes wait, and only what was changed is
/// written. A store that cannot be read or written gives warnings, never errors.
class QVCORE_API qvSettingsStore {
public:
    /// `application` names the user's own store: "qv" is qv.conf in the user's configuration
    /// directory, or HKEY_CURRENT_USER\Software\qv.
    qvSettingsStore(const std::string& application, const qvSettingsPlace& place);
    ~qvSettingsStore();
    qvSettingsStore(const qvSettingsStore&) = delete;
    qvSettingsStore& operator=(const qvSettingsStore&) = delete;

    /// The entries of a group ("installed", or "a/b" for one inside another), as texts; groups
    /// inside it are left out. Empty when there is no such group.
    qvSettingsEntries read(const std::string& group) const;
    /// Changes a group: `change` gets its entries as they are in the store and edits them; what is
    /// missing afterwards is removed. False, with a warning given, when the store cannot keep it.
    bool edit(const std::string& group, const std::function<void(qvSettingsEntries&)>& change);

    /// The same by the toolkit's own interface, at the root of the store. Nothing is called when
    /// there is no store. `use` may not keep the object.
    bool readConfig(const std::function<void(wxConfigBase&)>& use) const;
    bool changeConfig(const std::function<void(wxConfigBase&)>& change);

    /// Where the settings are, for the user to read: a path, a key of the registry, or "nowhere".
    std::string place() const;

private:
    class Toolkit;
    class Impl;
    std::unique_ptr<Toolkit> toolkit_;
    std::unique_ptr<Impl> impl_;
};
