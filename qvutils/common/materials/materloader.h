#pragma once
#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "qvutils/common/materials/materb.h"
#include "qvutils/common/materials/materreader.h"
#include "qvutils/common/tasks/qvlocks.h"

/// What one loaded file holds.
struct Materbase::Contents {
    struct Block {
        std::string text;
        /// The function in it, once a parameter has asked for it.
        std::shared_ptr<const PolyOrSplineFunc2DBase> function;
    };
    struct File {
        std::string path;
        std::int64_t modified;
    };
    using Materials = std::vector<std::unique_ptr<MaterB>>;

    Materials materials;
    /// In no file any more, but perhaps still held by somebody.
    Materials vanished;
    std::vector<std::unique_ptr<Block>> blocks;
    /// The file and those that it includes, also one that could not be opened.
    std::vector<File> files;

    MaterB* find(std::string_view name) const;
    Block* findBlock(std::string_view type, std::string_view name, bool report) const;
};

/// Reads a material file, and the files that it includes, into contents.
class qvMaterialLoader {
public:
    /// With `mistakes` it notes each and goes on; else it stops at the first, which stays posted.
    qvMaterialLoader(Materbase& base, Materbase::Contents& contents,
                     std::vector<qvMaterialMistake>* mistakes = nullptr);
    ~qvMaterialLoader();
    qvMaterialLoader(const qvMaterialLoader&) = delete;
    qvMaterialLoader& operator=(const qvMaterialLoader&) = delete;

    bool load(const std::string& path);

    /// The function in a data block of the database that the calling thread is loading; null when
    /// there is none, with an error posted when the block is wrong.
    static std::shared_ptr<const PolyOrSplineFunc2DBase> function(const Materbase* base,
                                                                  std::string_view type,
                                                                  std::string_view name);

    /// Files longer than this have a mistake that makes everything wrong: no more are noted.
    static constexpr std::size_t maxMistakes = 100;

private:
    using Reader = qvmaterial::MaterReader;
    struct Place {
        std::string path;
        int line;
    };

    static qvMaterialLoader* loading(const Materbase* base);
    bool loadFile(const std::string& path, const std::string& includeLine);
    bool readItems(Reader& in);
    bool readItem(Reader& in);
    bool checkSignature(Reader& in);
    bool readMaterial(Reader& in, std::int64_t start, const std::string& line);
    MaterB* beginMaterial(Reader& in, const std::string& name, const std::string& base);
    bool readBody(Reader& in, MaterB& material);
    bool readParameter(Reader& in, MaterB& material, const std::string& keyword);
    void skipToKeyword(Reader& in);
    bool readDataBlock(Reader& in, std::int64_t start, const std::string& line);
    bool include(Reader& in, std::int64_t start, const std::string& line);
    std::string findIncluded(const Reader& in, const std::string& name) const;
    bool completeMaterials();
    /// After a mistake was posted: true when reading goes on.
    bool goOn();
    bool goOnAfterItem(Reader& in);

    Materbase& base_;
    Materbase::Contents& contents_;
    std::vector<qvMaterialMistake>* mistakes_;
    std::vector<std::string> including_;
    /// Where each material begins.
    std::vector<Place> places_;
    qvMaterialLoader* outer_;
};

namespace qvmaterial {

/// A material from the installed factory; null when there is none.
MaterB* newMaterial(const char* name);
bool hasMaterialFactory();

/// A path that does not depend on the working directory.
std::string absolutePath(const std::string& path);

}  // namespace qvmaterial
