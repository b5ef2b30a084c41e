#pragma once
#include <string>

#include "qvutils/common/materialobject/materialobject.h"
#include "qvutils/common/object/qvobject.h"
#include "qvutils/common/platform/qvexport.h"
#include "qvutils/ui/plugins/qvlicence.h"
#include "qvutils/ui/plugins/qvplugininfo.h"
#include "qvutils/ui/plugins/qvplugins.h"
#include "qvutils/ui/project/qvappservices.h"
#include "qvutils/ui/scripting/qvcommandobject.h"
#include "qvutils/ui/scripting/qvscriptman.h"
#include "qvutils/ui/scripting/qvscriptserving.h"

/// The application object: the root of the command language, called "app". It publishes what the
/// project manager publishes and the application's own commands, and it is what the project tree
/// asks for the services of the application. A program makes one, near the start of main().
class QVCORE_API qvAppBase : public QVObject, public qvAppServices {
public:
    QV_CLASS_INFO(qvAppBase)

    /// The tag of the library, "qvcore(39.1)".
    static const char* versionTag() { return qvCoreVersionTag; }

    /// Registers the library's node types, gives state files a place, and becomes the root of
    /// `commands`, which outlives this object. Name and version are written into project files.
    qvAppBase(const char* name, const char* version, qvCommandObject& commands);
    /// Closes all projects, without asking, and unloads the plug-ins.
    ~qvAppBase() override;
    qvAppBase(const qvAppBase&) = delete;
    qvAppBase& operator=(const qvAppBase&) = delete;

    QVObject* Clone() const override;
    void OnPublish() override;

    std::string applicationName() const override { return name_; }
    std::string versionAndLicence() const override;
    QVCommandBase* commandObject() override { return &commands_; }
    qvScriptServing* scriptServer() override { return &serving_; }

    /// The installed scripts; they last longer than the application once they have a store.
    qvScriptManager& scripts() { return scripts_; }

    /// Posts "could not change to directory \"%s\"\n" and the reason.
    virtual void SetWorkingDirectory(const QVString& path);
    /// Installs a licence screen, not owned; null: the one that allows everything. Before
    /// loadPlugins.
    void setLicence(const qvLicence* licence) { licence_ = licence ? licence : &no_licence_; }
    const qvLicence& licence() const { return *licence_; }

    /// Loads the plug-ins in these directories (see qvPlugins::directories). What they bring is
    /// there afterwards; error 508 is pending when one failed.
    void loadPlugins(const std::vector<std::string>& directories);
    const qvPlugins& plugins() const { return plugins_; }
    /// A line for each plug-in that is loaded.
    QVString listPlugins() const { return plugins_.listing(); }

    /// Also defines the global variable wdir.
    QVString GetWorkingDirectory();

    /// The object of a material, always the same for a file and a name. The file is looked for
    /// beside the open projects too. Null with an error posted.
    qvMaterialObject* material(const QVString& file, const QVString& name);

private:
    std::string name_;
    std::string version_;
    qvCommandObject& commands_;
    qvMaterialShelf materials_;
    qvScriptServing serving_;
    qvScriptManager scripts_;
    const qvLicence no_licence_;
    const qvLicence* licence_ = &no_licence_;
    qvPlugins plugins_;
};
