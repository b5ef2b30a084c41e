// Loading and saving a project: its text and the state file beside it.

#include <utility>

#include "qvutils/common/diagnostics/diagnostics.h"
#include "qvutils/common/error/qverror.h"
#include "qvutils/common/platform/files.h"
#include "qvutils/ui/project/busy.h"
#include "qvutils/ui/project/loadresult.h"
#include "qvutils/ui/project/qvproject.h"
#include "qvutils/ui/project/qvprojman.h"
#include "qvutils/ui/project/qvunknownnode.h"
#include "qvutils/ui/project/spill.h"

namespace {

constexpr int fileError = 500;

bool holdsUnknownNodes(const qvProjectNode& node) {
    for (const qvProjectNode* child : node.getNodes()) {
        if (child->IsKindOf(qvUnknownNode::getStaticClassInfo()) || holdsUnknownNodes(*child)) {
            return true;
        }
    }
    return false;
}

void warnStateNotSaved(const std::string& path) {
    wlwrite(("failed to save statefile\n" + path + "\n").c_str());
}

bool postWriteError(const std::string& path, const qvplatform::SafeFile& file) {
    qverr().setf(fileError, "Failed to write file \"%s\"\n%s\n", path.c_str(),
                 file.error().c_str());
    return false;
}

bool openForSaving(qvplatform::SafeFile& file, const std::string& path) {
    if (file.open(path)) return true;
    qverr().setf(fileError, "Failed to open file \"%s\"\n", path.c_str());
    if (qvplatform::fileSystem().status(path).isFile()) {
        qverr().append("File was read only?\n");
    }
    return false;
}

/// A failure is known to the file and comes out when it is finished.
void write(qvplatform::SafeFile& file, std::string_view text) {
    if (!text.empty()) file.write(text.data(), text.size());
}

}  // namespace

bool qvProject::LoadFromFile(const char* filename) {
    if (qverr()) return false;
    const qvBusy busy;
    qvProjectFile file = std::exchange(file_, {});
    const bool read = file.block.Loaded() || file.load(filename);
    if (!read && qverr()) return false;
    const std::string name = qvplatform::fileNameOf(filename);
    setFilename(filename);
    qvResetSyntaxErrCount();
    qvNeededPlugins needed = std::exchange(needed_, {});
    needed_.read(file.header.view());
    if (!read || !replaceBody(file.block)) {
        needed_ = std::move(needed);
        wlwrite((name + " failed to load\n").c_str());
        return false;
    }
    file.block = TextBlock();
    file_ = std::move(file);

    const int errors = qvSyntaxErrCount();
    if (errors) {
        lwrite((name + " loaded with " + std::to_string(errors) + " syntax errors\n").c_str());
    } else {
        lwrite((name + " loaded successfully\n").c_str());
    }
    if (IsRootProject()) dirty_ = false;
    loadState();
    if (errors && !qverr()) qverr().set(SyntaxErrorReport::syntaxErrors, "");
    return true;
}

void qvProject::loadState() {
    strays_.DeleteAll();
    if (SFHandler::getCacheDir().Empty()) return;
    const QVString path = getCacheFileName(filename_);
    FILE* file = qvplatform::fileSystem().open(path.Chars(), "r");
    if (!file) return;
    lwrite(("loading statefile " + qvplatform::fileNameOf(path.Chars()) + " ...\n").c_str());
    StateFileRecords records;
    records.scan(file);
    if (ExtractSFiles(file) && holdsUnknownNodes(*this)) strays_.Collect(records);
    qvplatform::fileSystem().close(file);
}

bool qvProject::SaveToFile(const char* filename) {
    if (qverr()) return false;
    const qvBusy busy;
    const std::string path = qvplatform::fullPath(filename);
    if (!writeFiles(path)) return false;
    lwrite((qvplatform::fileNameOf(path) + " saved\n").c_str());
    setFilename(path.c_str());
    if (IsRootProject()) dirty_ = false;
    getProjectManager().services().projectFileUsed(path);
    return true;
}

/// Both files are complete on the disk before either takes the place of its predecessor.
bool qvProject::writeFiles(const std::string& path) {
    qvplatform::SafeFile project;
    if (!writeProject(project, path)) return false;

    qvplatform::SafeFile state;
    const std::string statePath =
        SFHandler::getCacheDir().Empty() ? "" : getCacheFileName(path.c_str()).Chars();
    StateKind stateKind = StateKind::none;
    if (!statePath.empty() && !writeState(state, statePath, stateKind)) return false;

    if (!project.commit()) return postWriteError(path, project);
    if (stateKind == StateKind::records) {
        if (!state.commit()) warnStateNotSaved(statePath);
    } else if (stateKind == StateKind::empty) {
        state.discard();
        qvplatform::FileSystem& files = qvplatform::fileSystem();
        if (files.status(statePath).isFile()) files.remove(statePath);
    }
    return true;
}

bool qvProject::writeProject(qvplatform::SafeFile& file, const std::string& path) {
    TextBlock header;
    needed_.collect(*this);
    if (!writeProjectFileHeader(header, file_.header, needed_) || !openForSaving(file, path)) return false;
    write(file, file_.before_header.view());
    write(file, header.text());
    write(file, file_.before_project.view());
    TextBlock block;
    qvSpill spill(block, file);
    if (!WriteTB(block)) return false;
    spill.flush();
    write(file, file_.after_project.view());
    return file.finish() || postWriteError(path, file);
}

bool qvProject::writeState(qvplatform::SafeFile& file, const std::string& path, StateKind& kind) {
    if (!file.open(path)) {
        warnStateNotSaved(path);
        return true;
    }
    if (!StoreSFiles(file.stream())) return false;
    if (!strays_.empty() && holdsUnknownNodes(*this) && !strays_.Store(file.stream())) return false;
    const bool any = qvplatform::fileSystem().tell(file.stream()) > 0;
    if (!file.finish()) return postWriteError(path, file);
    kind = any ? StateKind::records : StateKind::empty;
    return true;
}
