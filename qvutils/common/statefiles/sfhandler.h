#pragma once
#include <cstddef>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

#include "qvutils/common/platform/qvexport.h"
#include "qvutils/common/statefiles/statefilerecords.h"
#include "qvutils/common/text/qvstring.h"

/// Keeps the side files of one owner: large results and caches that live as files in the process's
/// cache directory while a project is open, and are packed into its state file when it is saved.
/// The handler owns the files; they go with it.
class QVCORE_API SFHandler {
public:
    SFHandler() = default;
    SFHandler(const SFHandler&) = delete;
    SFHandler& operator=(const SFHandler&) = delete;
    ~SFHandler();

    /// Sets the cache directory of the process, making it private to the user when it does not
    /// exist; null or empty switches state files off. False with an error when it cannot be made.
    /// A directory made here is removed, with all in it, when another is set and when the process
    /// ends.
    static bool InitialiseCacheDir(const char* path);
    /// Empty when state files are switched off.
    static QVString getCacheDir();
    /// A path for a cache directory of this process alone, inside `parent` (the system's directory
    /// of temporary files when null).
    static QVString privateCacheDir(const char* parent = nullptr);

    /// Puts a side file to use and returns the path under which the owner writes and reads it.
    /// Empty, without an error, when state files are switched off.
    std::string UseSFile(const char* name);
    /// The path of a side file in use, empty when there is none of this name.
    std::string getSFile(const char* name) const;
    /// Undoes one UseSFile. A side file no longer in use is removed.
    void ReleaseSFile(const char* name);
    int getNSFiles() const { return static_cast<int>(entries_.size()); }
    /// Names count from 0; null beyond the last.
    const char* getSFileName(int i) const;

    /// Writes a record for each side file in use. False after a failure, with an error pending.
    bool StoreSFiles(FILE* file, const char* key);
    /// Replaces the side files by those that a state file holds for `key`. Given a file that no
    /// StateFileRecords has scanned, this reads through the whole of it. False after a failure,
    /// with an error pending.
    bool ExtractSFiles(FILE* file, const char* key);
    bool ExtractSFiles(StateFileRecords& records, const char* key);
    /// Forgets all side files and removes their files.
    void DeleteAll();
    /// Replaces the side files by copies of another's. False with an error pending after a failure.
    bool Copy(const SFHandler& other);

    /// While busy, storing and extracting are code errors.
    void setBusy(bool busy) { busy_ = busy; }
    bool isBusy() const { return busy_; }
    /// The key of the last ExtractSFiles, or what was copied.
    const char* getKey() const { return key_.c_str(); }

private:
    struct Entry {
        int inUse = 0;
        std::string name;
        std::string path;
    };
    bool checkNotBusy(const char* function) const;
    Entry* find(const char* name);
    Entry& add(const std::string& name);

    std::vector<Entry> entries_;
    std::string key_;
    bool busy_ = false;
};

/// Keeps records that belong to nobody, those of nodes of an unknown type say, and writes them back
/// as they were.
class QVCORE_API StrayRecords {
public:
    StrayRecords() = default;
    StrayRecords(const StrayRecords&) = delete;
    StrayRecords& operator=(const StrayRecords&) = delete;
    ~StrayRecords() { DeleteAll(); }

    /// Takes all records that no owner has claimed, in addition to those held, and claims them.
    /// To be called after all owners have extracted theirs.
    bool Collect(StateFileRecords& records);
    bool Store(FILE* file) const;
    /// An owner has a new key, and so have the owners below it, whose keys go on with a "/".
    void Rename(std::string_view oldKey, std::string_view newKey);
    void DeleteAll();
    bool empty() const { return strays_.empty(); }

private:
    struct Stray {
        std::string key;
        std::string name;
        std::string path;
    };
    std::vector<Stray> strays_;
};

/// The state file that belongs to a project file: beside it, the last "." of the name replaced by
/// "_" and ".sta" added ("chip.prj" gives "chip_prj.sta", "model" gives "model_.sta").
QVCORE_API QVString getCacheFileName(const char* projectFile);
