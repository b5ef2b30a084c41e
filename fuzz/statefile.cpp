// State files: what is read from any bytes is a beginning of them, and is written back the same.
#include <cstdint>
#include <cstdio>
#include <string>

#include "fuzz/check.h"
#include "qvutils/common/diagnostics/diagnostics.h"
#include "qvutils/common/error/qverror.h"
#include "qvutils/common/platform/files.h"
#include "qvutils/common/platform/process.h"
#include "qvutils/common/statefiles/sfhandler.h"

namespace {

void discard(int, const char*) {}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    setOutputHook(discard);
    qverr().reset();
    static const QVString cache = SFHandler::privateCacheDir();
    check(SFHandler::InitialiseCacheDir(cache));
    qvplatform::FileSystem& files = qvplatform::fileSystem();
    const std::string path = qvplatform::joinPath(cache.Chars(), "in");
    FILE* file = files.open(path, "w+b");
    check(file && files.write(file, data, size));
    {
        StateFileRecords records;
        records.scan(file);
        StrayRecords strays;
        check(strays.Collect(records) && records.unclaimed().empty());
        FILE* out = files.open(path + "2", "w+b");
        check(out && strays.Store(out));
        files.seek(out, 0, SEEK_SET);
        std::string bytes(size + 1, '\0');
        bytes.resize(files.read(out, bytes.data(), bytes.size()));
        files.close(out);
        const std::string given(reinterpret_cast<const char*>(data), size);
        check(given.compare(0, bytes.size(), bytes) == 0);

        SFHandler owner;
        check(owner.ExtractSFiles(file, "key") &&
              owner.getNSFiles() == static_cast<int>(records.claim("key").size()));
    }
    files.close(file);
    return 0;
}
