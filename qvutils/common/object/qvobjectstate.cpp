// The state file of an object: a header that says whose it is, then what the class writes.
#include <cstdint>
#include <cstring>

#include "qvutils/common/diagnostics/diagnostics.h"
#include "qvutils/common/error/qverror.h"
#include "qvutils/common/object/qvobject.h"
#include "qvutils/common/platform/files.h"
#include "qvutils/common/statefiles/sfhandler.h"

namespace {

constexpr std::size_t classNameSize = 16;
constexpr std::size_t reservedSize = 16;
constexpr std::size_t headerSize = 4 + classNameSize + 4 + reservedSize;
constexpr std::int32_t headerFormat = 1;

void putInt(unsigned char* bytes, std::int32_t value) {
    for (int i = 0; i < 4; ++i) {
        bytes[i] = static_cast<unsigned char>(static_cast<std::uint32_t>(value) >> (8 * i));
    }
}

std::int32_t getInt(const unsigned char* bytes) {
    std::uint32_t value = 0;
    for (int i = 0; i < 4; ++i) value |= static_cast<std::uint32_t>(bytes[i]) << (8 * i);
    return static_cast<std::int32_t>(value);
}

struct Header {
    unsigned char bytes[headerSize] = {};

    Header() = default;
    Header(const char* className, int version) {
        putInt(bytes, headerFormat);
        std::strncpy(reinterpret_cast<char*>(bytes + 4), className, classNameSize);
        putInt(bytes + 4 + classNameSize, version);
    }
    int version() const { return getInt(bytes + 4 + classNameSize); }
    bool isFor(const char* className) const {
        const Header expected(className, version());
        return std::memcmp(bytes, expected.bytes, headerSize) == 0;
    }
};

}  // namespace

void QVObject::setSFHandle(SFHandler& handler, const char* name) {
    if (!name || !*name) return CodeError("QVObject::setSFHandle", "qvobject", __LINE__);
    sfHandler_ = &handler;
    sfName_ = name;
}

void QVObject::DeleteSFHandle() {
    if (sfHandler_) sfHandler_->ReleaseSFile(sfName_);
    sfHandler_ = nullptr;
    sfName_ = QVString();
}

bool QVObject::stateFilePath(bool toWrite, std::string& path) {
    if (!sfHandler_ || sfName_.Empty()) {
        qverr().set("no state file specified\n");
        return false;
    }
    if (SFHandler::getCacheDir().Empty()) return false;
    path = sfHandler_->getSFile(sfName_);
    if (path.empty() && toWrite) path = sfHandler_->UseSFile(sfName_);
    return !path.empty();
}

bool QVObject::SaveState() {
    return writeState(nullptr, 0);
}

bool QVObject::LoadState() {
    return readState(nullptr, 0);
}

bool QVObject::writeState(const void* preamble, std::size_t size) {
    std::string path;
    if (!stateFilePath(true, path)) return false;
    qvplatform::SafeFile file;
    if (!file.open(path)) {
        lwrite(("could not open state file \n" + path + "\n").c_str());
        lprintf("State not saved\n");
        return false;
    }
    const Header header(getClassName(), objectVersion_);
    if (file.write(header.bytes, headerSize) && (size == 0 || file.write(preamble, size))) {
        OnSaveState(file.stream());
    }
    if (qverr()) return false;
    if (!file.commit()) {
        qverr().setf("%s\n", file.error().c_str());
        return false;
    }
    modified_ = false;
    return true;
}

bool QVObject::readState(void* preamble, std::size_t size) {
    std::string path;
    if (!stateFilePath(false, path)) return false;
    qvplatform::FileSystem& files = qvplatform::fileSystem();
    FILE* file = files.open(path, "rb");
    if (!file) return false;
    Header header;
    bool loaded = false;
    if (files.read(file, header.bytes, headerSize) == headerSize && header.isFor(getClassName()) &&
        (size == 0 || files.read(file, preamble, size) == size)) {
        loaded = OnLoadState(file, header.version());
    } else {
        qverr().setf("the state file is damaged or not one of a %s\n%s\n", getClassName(),
                     path.c_str());
    }
    files.close(file);
    if (loaded) modified_ = false;
    return loaded;
}
