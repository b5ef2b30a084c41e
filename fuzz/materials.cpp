// Material files: whatever the text is, it loads or is refused with a message, and a check that
// finds nothing wrong means that it loads.
#include <cerrno>
#include <cstdint>
#include <string>

#include "fuzz/check.h"
#include "qvutils/common/diagnostics/diagnostics.h"
#include "qvutils/common/error/qverror.h"
#include "qvutils/common/materials/materb.h"
#include "qvutils/common/platform/files.h"
#include "qvutils/common/platform/process.h"

namespace {

/// Knows one file by two names, so that what is tried can include nothing else.
class OneFile : public qvplatform::FileSystem {
public:
    OneFile() {
        const char* const candidates[] = {"TMPDIR", "TEMP"};
        std::string directory = "/tmp";
        for (const char* name : candidates) qvplatform::environmentVariable(name, directory);
        FILE* file = openTemporary(directory, path_);
        check(file);
        close(file);
    }
    ~OneFile() override { FileSystem::remove(path_); }

    void put(const std::string& text) {
        FILE* file = FileSystem::open(path_, "wb");
        check(file && FileSystem::write(file, text.data(), text.size()) && close(file));
    }
    FILE* open(const std::string& path, const char* mode) override {
        if (known(path)) return FileSystem::open(path_, mode);
        errno = ENOENT;
        return nullptr;
    }
    qvplatform::FileStatus status(const std::string& path) override {
        return known(path) ? FileSystem::status(path_) : qvplatform::FileStatus();
    }

private:
    static bool known(const std::string& path) {
        return path == "/one.mat" || path == "/other.mat";
    }
    std::string path_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static OneFile files;
    files.put(std::string(reinterpret_cast<const char*>(data), size));
    qvplatform::FileSystem* before = qvplatform::setFileSystem(&files);
    const qvOutputHook output = setOutputHook([](int, const char*) {});
    qverr().reset();
    const std::vector<qvMaterialMistake> mistakes = qvCheckMaterialFile("/one.mat");
    check(!qverr());
    Materbase* base = LoadMaterbase("/one.mat");
    if (base) {
        check(!qverr());
        for (int i = 0; i < base->getNMaterials(); ++i) {
            const MaterB* material = base->getMaterial(i);
            check(base->MaterHandle(material->getName(), true) == material);
            material->getModelName();
            material->getmxName();
        }
        base->UnRef();
    } else {
        check(qverr() && !mistakes.empty());
        qverr().reset();
    }
    setOutputHook(output);
    qvplatform::setFileSystem(before);
    return 0;
}
