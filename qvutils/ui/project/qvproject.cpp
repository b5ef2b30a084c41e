#include "qvutils/ui/project/qvproject.h"

#include "qvutils/common/diagnostics/diagnostics.h"
#include "qvutils/common/error/qverror.h"
#include "qvutils/common/platform/files.h"
#include "qvutils/ui/project/qvprojman.h"

const qvClassInfo qvProject::cinfo_qvProject("qvProject", qvProjectNode::getStaticClassInfo(),
                                             nullptr, qvCreateObject<qvProject>);

void registerProjectNode() {
    qvProjectNodeInfo info;
    info.classInfo = qvProject::getStaticClassInfo();
    info.signature = {"projectTB", 1, 0};
    info.displayName = "Project";
    info.fileSuffix = "prj";
    static const qvProjectNodeInfoClass registration(info);
    qvProjectNodeInfoClass::Register();
}

bool qvProject::CanEnSave() {
    return !filename_.Empty() && !qvplatform::fileNameOf(filename_.Chars()).empty();
}

bool qvProject::ReadTB(TextBlock& block) {
    const auto* info =
        getProjectManager().getMetaDataTable().FindMetaDataByBlockType(getTypeName());
    if (!info) return false;
    block.StartRead(info->signature, true);
    if (qverr()) return false;
    RememberBlock(block, true);
    // Comments at the start of the body lead the first child.
    block.GotoBody();
    block.SkipComments(false);
    return CreateChildNodes(block);
}

bool qvProject::WriteTB(TextBlock& block) const {
    StartNodeBlock(block);
    if (qverr() || !WriteChildNodes(block)) return false;
    block.EndWrite();
    return !qverr();
}

QVString qvProject::getDefaultExtension() const {
    const auto* info =
        getProjectManager().getMetaDataTable().FindMetaDataByClassInfo(getClassInfo());
    return info ? info->fileSuffix : QVString();
}

QVString qvProject::getWildcard() const {
    const auto* info =
        getProjectManager().getMetaDataTable().FindMetaDataByClassInfo(getClassInfo());
    if (!info) return {};
    return QVString().sprintf("%s files (*.%s)|*.%s", info->displayName.Chars(),
                              info->fileSuffix.Chars(), info->fileSuffix.Chars());
}

void qvProject::setFilename(const char* filename) {
    filename_ = qvplatform::fullPath(filename).c_str();
}

void qvProject::SetParam(QVCommandElt& element, const char* value, const char* name) {
    if (element.getScalarPtr() != &filename_) return qvProjectNode::SetParam(element, value, name);
    QVObject::SetParam(element, value, name);
    if (!qverr()) setFilename(QVString(filename_).Chars());
}
