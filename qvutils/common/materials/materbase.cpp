#include "qvutils/common/materials/materbase.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <iterator>

#include "qvutils/common/blocks/signature.h"
#include "qvutils/common/diagnostics/diagnostics.h"
#include "qvutils/common/error/qverror.h"
#include "qvutils/common/materials/materialfiles.h"
#include "qvutils/common/materials/materloader.h"
#include "qvutils/common/platform/files.h"
#include "qvutils/common/platform/process.h"

char* materbaseDir = nullptr;

namespace {

constexpr int longestName = 100;

/// The loaded files. Never destroyed: materials may be given back while the program ends.
struct Registry {
    qvCritSection lock{"material files"};
    std::vector<Materbase*> files;
};

Registry& registry() {
    static Registry* const instance = new Registry;
    return *instance;
}

MaterB* makePlainMaterial(const char* name) {
    return new MaterB(name);
}

std::atomic<Materbase::NewMaterFn> factory{&makePlainMaterial};

/// The file of this name, or of this name in one of the usual directories; empty when there is
/// none.
std::string findFile(const char* name) {
    const std::string found = name ? qvFindMaterialFile(name) : "";
    return found.empty() ? found : qvmaterial::absolutePath(found);
}

}  // namespace

namespace qvmaterial {

MaterB* newMaterial(const char* name) {
    const Materbase::NewMaterFn make = factory;
    return make ? make(name) : nullptr;
}

bool hasMaterialFactory() {
    return factory != nullptr;
}

std::string absolutePath(const std::string& path) {
    const bool drive = path.size() > 1 && path[1] == ':' && qvplatform::pathSeparator() == '\\';
    const bool absolute = drive || (!path.empty() && qvplatform::isPathSeparator(path[0]));
    return absolute ? path : qvplatform::joinPath(qvplatform::currentDirectory(), path);
}

}  // namespace qvmaterial

MaterB* Materbase::Contents::find(std::string_view name) const {
    for (const auto& material : materials)
        if (name == material->getName()) return material.get();
    return nullptr;
}

Materbase::Contents::Block* Materbase::Contents::findBlock(std::string_view type,
                                                           std::string_view name,
                                                           bool report) const {
    const auto wordAt = [](std::string_view text, std::size_t start) {
        start = std::min(text.find_first_not_of(" \t", start), text.size());
        return text.substr(start, text.find_first_of(" \t", start) - start);
    };
    for (const auto& block : blocks) {
        const std::string_view first = wordAt(block->text, 0);
        if (first.size() < 2 || first.front() != '<' || first.back() != '>') {
            if (report)
                qverr().setf("Datablock type signature \"%.*s\" has incorrect format",
                             static_cast<int>(first.size()), first.data());
            return nullptr;
        }
        if (first.substr(1, first.size() - 2) == type && wordAt(block->text, first.size()) == name)
            return block.get();
    }
    return nullptr;
}

Materbase::Materbase(bool shared) : contents_(std::make_unique<Contents>()) {
    if (!qvmaterial::hasMaterialFactory()) CodeError("Materbase::Materbase", __FILE__, __LINE__);
    if (shared) registry().files.push_back(this);
}

Materbase::~Materbase() {
    std::erase(registry().files, this);
}

void Materbase::setNewMaterFn(NewMaterFn fn) {
    factory = fn;
}

void Materbase::Ref() {
    references_++;
}

void Materbase::UnRef() {
    const qvAutoLock guard(registry().lock);
    if (references_-- <= 0) delete this;
}

long Materbase::getRefCount() const {
    return references_;
}

MaterB* Materbase::MaterHandle(const char* name, bool report) {
    char plain[longestName];
    char arguments[longestName];
    parsefunc(name, plain, arguments, longestName);
    {
        const qvAutoLock guard(lock_);
        if (MaterB* material = contents_->find(plain)) return material;
    }
    if (report)
        qverr().setf(" Error:\n Material \"%s\" not found in\n database \"%s\" ", name, fileName_);
    return nullptr;
}

char* Materbase::DataBlockHandle(const char* type, const char* name, bool report) {
    const qvAutoLock guard(lock_);
    Contents::Block* block = contents_->findBlock(type, name, report);
    return block ? block->text.data() : nullptr;
}

bool Materbase::HasFileChanged() const {
    const qvAutoLock guard(lock_);
    return std::any_of(contents_->files.begin(), contents_->files.end(), [](const auto& file) {
        return qvplatform::fileSystem().status(file.path).modified != file.modified;
    });
}

int Materbase::getNMaterials() const {
    const qvAutoLock guard(lock_);
    return static_cast<int>(contents_->materials.size());
}

MaterB* Materbase::getMaterial(int i) const {
    const qvAutoLock guard(lock_);
    const auto& materials = contents_->materials;
    const bool exists = i >= 0 && i < static_cast<int>(materials.size());
    return exists ? materials[static_cast<std::size_t>(i)].get() : nullptr;
}

int Materbase::getNDataBlocks() const {
    const qvAutoLock guard(lock_);
    return static_cast<int>(contents_->blocks.size());
}

bool Materbase::Load(const char* path) {
    qvMaterialLoader loader(*this, *contents_);
    if (!loader.load(path)) return false;
    const std::size_t length = std::min(std::strlen(path), sizeof fileName_ - 1);
    std::copy_n(path, length, fileName_);
    fileName_[length] = '\0';
    path_ = path;
    return true;
}

/// Reads the file into new contents and takes over what is in them. Materials that exist already
/// take on their new parameters in place; those that are in the file no more stay for who holds
/// them. A file with a mistake changes nothing.
bool Materbase::Reload() {
    Contents fresh;
    const bool good = qvMaterialLoader(*this, fresh).load(path_);
    const qvAutoLock guard(lock_);
    contents_->files = std::move(fresh.files);
    if (!good) return false;
    Contents::Materials old = std::move(contents_->materials);
    std::move(contents_->vanished.begin(), contents_->vanished.end(), std::back_inserter(old));
    contents_->vanished.clear();
    contents_->materials.clear();
    for (auto& material : fresh.materials) {
        const auto same = std::find_if(old.begin(), old.end(), [&](const auto& known) {
            return std::strcmp(known->getName(), material->getName()) == 0;
        });
        if (same == old.end()) {
            contents_->materials.push_back(std::move(material));
            continue;
        }
        (*same)->Copy(*material);
        contents_->materials.push_back(std::move(*same));
        old.erase(same);
    }
    contents_->vanished = std::move(old);
    contents_->blocks = std::move(fresh.blocks);
    return true;
}

/// After the file has changed on disk.
void Materbase::refresh() {
    wlwrite(("NOTICE! reloading file altered on disk:\n  " + path_ + "\n").c_str());
    if (Reload()) return;
    const std::string why = qverr().chars_and_reset();
    wlwrite(
        ("WARNING: the last good contents are kept, since it could not be loaded:\n" + why + "\n")
            .c_str());
}

Materbase* LoadMaterbase(const char* fileName) {
    if (qverr()) return nullptr;
    Registry& all = registry();
    const qvAutoLock guard(all.lock);
    const std::string path = findFile(fileName);
    if (path.empty()) {
        qverr().setf("Could not find material file %s\n", fileName ? fileName : "");
        return nullptr;
    }
    const auto known = std::find_if(all.files.begin(), all.files.end(),
                                    [&](const Materbase* file) { return file->path_ == path; });
    if (known != all.files.end()) {
        Materbase* base = *known;
        base->Ref();
        if (base->HasFileChanged()) base->refresh();
        return base;
    }
    if (all.files.size() >= Materbase::maxFiles) {
        qverr().setf("Too many .mat files loaded (max %d)", Materbase::maxFiles);
        return nullptr;
    }
    Materbase* base = new Materbase(true);
    base->Ref();
    if (qverr() || !base->Load(path.c_str())) {
        const std::string why = qverr().chars();
        qverr().setf(qverr(), " Fatal error while processing %s: \r\n %s", fileName, why.c_str());
        delete base;
        return nullptr;
    }
    if (base->getNMaterials() == 0)
        wlwrite(("WARNING: No valid materials found in " + path + "\n").c_str());
    return base;
}

void ChangeMaterbase(Materbase*& current, const char* fileName) {
    Materbase* old = current;
    current = LoadMaterbase(fileName);
    if (old) old->UnRef();
}

std::vector<qvMaterialMistake> qvCheckMaterialFile(const char* fileName) {
    std::vector<qvMaterialMistake> mistakes;
    Error pending;
    qverr().transferto(pending);
    const std::string path = findFile(fileName);
    if (path.empty()) {
        const std::string name = fileName ? fileName : "";
        mistakes.push_back({name, 0, "Could not find material file " + name});
    } else {
        const qvAutoLock guard(registry().lock);
        Materbase base(false);
        if (!qvMaterialLoader(base, *base.contents_, &mistakes).load(path) && qverr() &&
            mistakes.size() < qvMaterialLoader::maxMistakes)
            mistakes.push_back({path, 0, qverr().chars()});
    }
    qverr().reset();
    pending.transferto(qverr());
    return mistakes;
}
