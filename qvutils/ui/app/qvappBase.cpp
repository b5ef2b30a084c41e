#include "qvutils/ui/app/qvappBase.h"

#include <cerrno>

#include "qvutils/common/error/qverror.h"
#include "qvutils/common/platform/files.h"
#include "qvutils/common/platform/process.h"
#include "qvutils/common/statefiles/sfhandler.h"
#include "qvutils/ui/nodes/qvnotesnode.h"
#include "qvutils/ui/nodes/qvparametersnode.h"
#include "qvutils/ui/nodes/qvscriptnode.h"
#include "qvutils/ui/nodes/qvshapenode.h"
#include "qvutils/ui/nodes/qvvariablesnode.h"
#include "qvutils/ui/project/qvprojman.h"

const qvClassInfo qvAppBase::cinfo_qvAppBase("qvAppBase", QVObject::getStaticClassInfo());

qvAppBase::qvAppBase(const char* name, const char* version, qvCommandObject& commands)
    : name_(name), version_(version), commands_(commands), serving_(commands), scripts_(commands) {
    registerProjectNode();
    registerNotesNode();
    registerVariablesNode();
    registerParametersNode();
    registerScriptNode();
    registerShapeNode();
    SFHandler::InitialiseCacheDir(SFHandler::privateCacheDir().Chars());
    getProjectManager().setServices(this);
    commands_.setRoot(this);
}

qvAppBase::~qvAppBase() {
    commands_.setRoot(nullptr);
    getProjectManager().ClearNodes();
    getProjectManager().clearClipboard();
    commands_.RemoveGvars();
    plugins_.unload();
    getProjectManager().setServices(nullptr);
}

// There is one application; a copy of it means nothing.
QVObject* qvAppBase::Clone() const {
    return nullptr;
}

void qvAppBase::OnPublish() {
    PublishAll(getProjectManager());
    PublishFn("plugins", &qvAppBase::listPlugins, "(): list the plug-ins that are loaded");
    PublishFn("setwdir", &qvAppBase::SetWorkingDirectory, "(dirpath): set working directory");
    PublishFn("getwdir", &qvAppBase::GetWorkingDirectory,
              "(): get working directory (stored in wdir)");
    PublishFn("material", &qvAppBase::material,
              "( filename, name ): a material of a material file, for its index and the like");
    PublishVar("scripts", scripts_, "the installed scripts; see help app.scripts");
    for (QVObject* commands : plugins_.commands()) PublishAll(*commands);
}

std::string qvAppBase::versionAndLicence() const {
    return version_ + ' ' + licence_->number();
}

void qvAppBase::loadPlugins(const std::vector<std::string>& directories) {
    plugins_.load(directories, *licence_, name_, this);
}

void qvAppBase::SetWorkingDirectory(const QVString& path) {
    if (!qvplatform::setCurrentDirectory(path.Chars())) {
        qverr().setf("could not change to directory \"%s\": %s\n", path.Chars(),
                     qvplatform::errorText(errno).c_str());
    }
}

QVString qvAppBase::GetWorkingDirectory() {
    const QVString path(qvplatform::currentDirectory().c_str());
    QVCommandElt wdir;
    wdir.InitOwned(std::make_shared<QVString>(path), qvKindString);
    commands_.AddGvar("wdir", wdir);
    return path;
}

qvMaterialObject* qvAppBase::material(const QVString& file, const QVString& name) {
    std::vector<std::string> besideProjects;
    for (const qvProjectNode* node : getProjectManager().getNodes()) {
        const auto* project = dynamic_cast<const qvProject*>(node);
        std::string directory = project ? project->getFilename().Chars() : "";
        while (!directory.empty() && !qvplatform::isPathSeparator(directory.back()))
            directory.pop_back();
        if (!directory.empty()) besideProjects.push_back(directory);
    }
    return materials_.find(file.Chars(), name.Chars(), besideProjects);
}
