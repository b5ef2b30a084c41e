// The text of a project file: whatever it is, it loads or is refused; what was loaded and written
// is read again as the same.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "qvutils/common/diagnostics/diagnostics.h"
#include "qvutils/common/error/qverror.h"
#include "qvutils/common/platform/files.h"
#include "qvutils/ui/nodes/qvnotesnode.h"
#include "qvutils/ui/nodes/qvparametersnode.h"
#include "qvutils/ui/nodes/qvscriptnode.h"
#include "qvutils/ui/nodes/qvshapenode.h"
#include "qvutils/ui/nodes/qvvariablesnode.h"
#include "qvutils/ui/project/qvprojman.h"

namespace {

enum class Notes { asTheyAre, decoded };

/// Loads a project and writes it again; empty when the text is refused.
std::string loadAndWrite(const std::string& text, Notes notes) {
    FBuff buffer;
    buffer.Append(text);
    buffer.setPosn(0);
    qvProjectFile file;
    std::string written;
    auto project = new qvProject;
    project->setName("p");
    getProjectManager().AddNode(project);
    if (file.parse(buffer)) {
        project->giveFile(std::move(file));
        TextBlock block;
        if (project->LoadFromFile("p.prj")) {
            qverr().reset();
            for (qvProjectNode* child : project->getNodes()) {
                auto* note = dynamic_cast<qvNotesNode*>(child);
                if (note && notes == Notes::decoded) note->getText();
            }
            if (!project->WriteTB(block)) std::abort();
            written = block.text();
        }
    }
    getProjectManager().RemoveNode(project, true);
    qverr().reset();
    return written;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const bool ready = [] {
        registerProjectNode();
        registerNotesNode();
        registerVariablesNode();
        registerParametersNode();
        registerScriptNode();
        registerShapeNode();
        setOutputHook([](int, const char*) {});
        return true;
    }();
    std::string text(reinterpret_cast<const char*>(data), size);
    if (!ready || text.find('\0') != text.npos) return 0;
    text.resize(qvplatform::translateLineEnds(text.data(), text.size()));
    for (Notes notes : {Notes::asTheyAre, Notes::decoded}) {
        const std::string first = loadAndWrite(text, notes);
        if (!first.empty() && loadAndWrite(first, notes) != first) std::abort();
    }
    return 0;
}
