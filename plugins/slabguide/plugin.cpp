// The plug-in slabguide: guided modes of planar multilayer waveguides.

#include "plugins/slabguide/qvslabnode.h"
#include "qvutils/ui/plugins/qvplugininfo.h"

QV_PLUGIN_EXPORT void qvInitPlugin(PluginInfo& info, const char** /*loaded*/,
                                   const char*& /*error*/, void* /*application*/) {
    info.describe("slabguide", "1.0", "The authors of qvcore");
    info.addNodeType(slabNodeInfo());
}
