#pragma once
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "qvutils/common/platform/qvexport.h"
#include "qvutils/common/tasks/atomiccounter.h"
#include "qvutils/common/tasks/qvlocks.h"

class MaterB;

/// The directory where material files are looked for that are not found as named; null or empty
/// for none. Set before files are loaded; the text is not copied.
extern QVCORE_API char* materbaseDir;

/// Something wrong in a material file.
struct qvMaterialMistake {
    std::string file;
    int line = 0;
    std::string message;
};

/// One loaded material file: its materials and data blocks. Made by LoadMaterbase only; all
/// members but the constructor may be used on several threads.
class QVCORE_API Materbase {
public:
    static constexpr int maxMaterials = 50;
    static constexpr int maxDataBlocks = 20;
    static constexpr int maxFiles = 20;
    static constexpr int maxPath = 260;
    /// Files that include one another deeper are refused.
    static constexpr int maxIncludeDepth = 20;

    Materbase(const Materbase&) = delete;
    Materbase& operator=(const Materbase&) = delete;

    /// Makes each new material, so that an application's own class of material is made. At first
    /// a plain MaterB is made; with null nothing can be loaded.
    using NewMaterFn = MaterB* (*)(const char* name);
    static void setNewMaterFn(NewMaterFn fn);

    void Ref();
    /// Deletes the database when nobody refers to it any more.
    void UnRef();
    long getRefCount() const;

    /// The material of this name, or of the part of the name before a bracket: "GaAs(0.3)" is
    /// GaAs. Owned by the database. `report` posts an error when there is none.
    MaterB* MaterHandle(const char* name, bool report);
    /// The text of a data block "<type> name ...", which lasts until the file is loaded again.
    char* DataBlockHandle(const char* type, const char* name, bool report);
    /// The file, or one that it includes, is not as it was loaded.
    bool HasFileChanged() const;

    int getNMaterials() const;
    /// The i-th material from 0, in the order of the file; null beyond.
    MaterB* getMaterial(int i) const;
    int getNDataBlocks() const;
    const char* getFileName() const { return fileName_; }

private:
    friend class qvMaterialLoader;
    friend QVCORE_API Materbase* LoadMaterbase(const char* fileName);
    friend QVCORE_API void ChangeMaterbase(Materbase*& current, const char* fileName);
    friend QVCORE_API std::vector<qvMaterialMistake> qvCheckMaterialFile(const char* fileName);

    struct Contents;

    explicit Materbase(bool shared);
    ~Materbase();
    bool Load(const char* path);
    bool Reload();
    void refresh();

    char fileName_[maxPath] = "";
    std::string path_;
    AtomicCounter references_ = 0;
    /// Guards the tables, not the materials in them.
    mutable qvCritSection lock_{"material file"};
    std::unique_ptr<Contents> contents_;
};

/// Loads a material file (see docs/material-files.md), or finds it again: a file that is loaded
/// already is shared, and read again when it has changed on disk. The caller holds one reference.
/// Null with an error, and nothing is loaded, when anything in the file is wrong. A file that has
/// changed but cannot be loaded again keeps its last good contents, and a warning says why.
QVCORE_API Materbase* LoadMaterbase(const char* fileName);

/// Loads the new file, then gives up the reference to the old one: null when it fails.
QVCORE_API void ChangeMaterbase(Materbase*& current, const char* fileName);

/// All that is wrong in a material file and the files it includes, not only the first thing.
/// Nothing stays loaded, and no error is posted.
QVCORE_API std::vector<qvMaterialMistake> qvCheckMaterialFile(const char* fileName);
