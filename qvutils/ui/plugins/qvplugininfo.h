#pragma once
#include <memory>

#include "qvutils/common/formula/funcparser.h"
#include "qvutils/common/platform/pluginexport.h"
#include "qvutils/common/platform/qvexport.h"
#include "qvutils/ui/project/qvnodeinfo.h"

class QVObject;
class qvPluginOffers;

/// The tag of the library that a source is compiled with. Its major version, the digits between
/// "qvcore(" and the first ".", is what a plug-in and the application that loads it must share.
inline constexpr const char* qvCoreVersionTag = "qvcore(39.1)";

/// What an application and a plug-in tell each other. The entry point of a plug-in fills it in:
///
///     QV_PLUGIN_EXPORT void qvInitPlugin(PluginInfo& info, const char** loaded,
///                                        const char*& error, void* application) {
///         info.describe("beam", "1.0", "A. Author");
///         info.addNodeType(...);
///     }
///
/// `loaded` lists the names of the plug-ins loaded before, a null pointer at its end. `error` is
/// null at first; a plug-in that cannot work points it to a text, which must last until the plug-in
/// is unloaded. `application` is the QVObject called "app", null in a program without one.
///
/// What is offered here, and node types registered by static qvProjectNodeInfoClass objects, is
/// accepted when the entry point has returned without an error and the major version is the
/// application's. It is taken back before the plug-in is unloaded, when all projects are closed.
struct QVCORE_API PluginInfo {
    // By the application. The texts last as long as the plug-in is loaded.
    const char* hostVersion = qvCoreVersionTag;  ///< the tag of the library in use
    const char* applicationName = "";
    const char* path = "";  ///< of the plug-in's file

    // By the plug-in. The texts must last until it is unloaded. Name and version have up to 100
    // characters, no control characters and no "//": they are written into project files.
    const char* name = "";
    const char* version = "";
    const char* author = "";
    const char* coreVersion = "";  ///< the tag of the library it was built against

    explicit PluginInfo(qvPluginOffers& offers) : offers_(offers) {}
    PluginInfo(const PluginInfo&) = delete;
    PluginInfo& operator=(const PluginInfo&) = delete;

    /// The last argument is left to its default, which is the tag of what the caller was built
    /// against.
    void describe(const char* pluginName, const char* pluginVersion, const char* pluginAuthor,
                  const char* builtAgainst = qvCoreVersionTag) {
        name = pluginName;
        version = pluginVersion;
        author = pluginAuthor;
        coreVersion = builtAgainst;
    }

    void addNodeType(const qvProjectNodeInfo& record);
    /// All that the object publishes becomes part of what "app" publishes. It is not owned and must
    /// last until the plug-in is unloaded.
    void addCommands(QVObject& commands);
    /// A function for formulas; `arity` is the number of its arguments, at least 1, or -1 for any.
    void addFunction(const char* functionName, int arity, QVFormulaFunction<double> real,
                     QVFormulaFunction<std::complex<double>> complex);
    /// Where the plug-in's material files lie; a relative path starts at the plug-in's directory.
    void addMaterialDirectory(const char* directory);

private:
    qvPluginOffers& offers_;
};
