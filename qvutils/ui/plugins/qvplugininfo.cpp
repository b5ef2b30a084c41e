#include "qvutils/ui/plugins/qvplugininfo.h"

#include "qvutils/ui/plugins/qvpluginoffers.h"

void PluginInfo::addNodeType(const qvProjectNodeInfo& record) {
    offers_.nodeTypes.push_back(record);
}

void PluginInfo::addCommands(QVObject& commands) {
    offers_.commands.push_back(&commands);
}

void PluginInfo::addFunction(const char* functionName, int arity, QVFormulaFunction<double> real,
                             QVFormulaFunction<std::complex<double>> complex) {
    offers_.functions.push_back({functionName, arity, real, complex});
}

void PluginInfo::addMaterialDirectory(const char* directory) {
    offers_.materialDirectories.emplace_back(directory);
}
