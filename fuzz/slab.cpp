// Slab waveguides: a block that is read writes a text that reads back as the same, and a scan that
// is read from any bytes is written back as those bytes.
#include <cstdint>
#include <cstdio>
#include <string>

#include "fuzz/check.h"
#include "plugins/slabguide/qvslabnode.h"
#include "qvutils/common/diagnostics/diagnostics.h"
#include "qvutils/common/error/qverror.h"
#include "qvutils/common/platform/files.h"
#include "qvutils/common/platform/process.h"
#include "qvutils/ui/project/qvprojman.h"

namespace {

void discard(int, const char*) {}

std::string rewritten(qvSlabNode& node, const std::string& text) {
    TextBlock block, written;
    if (!block.LoadBlock(text.c_str()) || !node.ReadBlock(block)) return "";
    qverr().reset();
    check(node.WriteTB(written));
    return std::string(written.text());
}

void tryBlock(std::string text) {
    std::erase(text, '\r');  // one before a line end goes each time a text is read
    static qvSlabNode& node = [&]() -> qvSlabNode& {
        static const qvProjectNodeInfoClass registration(slabNodeInfo());
        registerProjectNode();
        qvProjectManager& manager = getProjectManager();
        check(manager.AddSubnode("projectTB", "p"));
        check(manager.getNodes()[1]->AddSubnode("slabTB", "s"));
        return *static_cast<qvSlabNode*>(manager.getNodes()[1]->getNodes()[1]);
    }();
    const std::string once = rewritten(node, text);
    qverr().reset();
    if (!once.empty()) check(rewritten(node, once) == once);
}

void tryScan(const std::string& bytes) {
    qvplatform::FileSystem& files = qvplatform::fileSystem();
    std::string path;
    FILE* file = files.openTemporary(qvplatform::temporaryDirectory(), path);
    check(file && files.write(file, bytes.data(), bytes.size()) && files.close(file));
    SlabScan scan;
    file = files.open(path, "rb");
    const bool isRead = scan.read(file);
    files.close(file);
    if (isRead) {
        file = files.open(path, "w+b");
        check(scan.write(file) && files.seek(file, 0, SEEK_SET));
        std::string again(bytes.size() + 1, '\0');
        again.resize(files.read(file, again.data(), again.size()));
        files.close(file);
        // A polarisation that is none of the two counts as TE.
        check(again.size() > 4 && again.compare(4, again.npos, bytes, 4, again.size() - 4) == 0);
    }
    files.remove(path);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    setOutputHook(discard);
    qverr().reset();
    const std::string text(reinterpret_cast<const char*>(data), size);
    text.find("begin") < 4 ? tryBlock(text) : tryScan(text);
    return 0;
}
