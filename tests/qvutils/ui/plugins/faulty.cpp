// A plug-in that fails in the way QV_WAY, after it has registered something that must not stay.
#include <stdexcept>
#include <string>
#include <string_view>

#include "qvutils/common/error/qverror.h"
#include "qvutils/ui/plugins/qvplugininfo.h"
#include "qvutils/ui/project/qvprojman.h"

namespace {

constexpr std::string_view way = QV_WAY;

class FaultyNode : public qvProjectNode {
public:
    QV_CLASS_INFO(FaultyNode)
};

const qvClassInfo FaultyNode::cinfo_FaultyNode("FaultyNode", qvProjectNode::getStaticClassInfo(),
                                               nullptr, qvCreateObject<FaultyNode>);

qvProjectNodeInfo faultyType(const char* blockType) {
    qvProjectNodeInfo record;
    record.classInfo = FaultyNode::getStaticClassInfo();
    record.signature = {blockType, 1, 0};
    record.displayName = blockType;
    record.parentTypes = {"projectTB"};
    return record;
}

const qvProjectNodeInfoClass registration(faultyType("faultyStaticTB"));

double faulty(const ParList<double>&) {
    return 1;
}

std::complex<double> faultyComplex(const ParList<std::complex<double>>&) {
    return 1;
}

struct Initialiser {
    Initialiser() {
        const std::string missing(way == "initialiser" ? "no calibration" : "");
        if (!missing.empty()) throw std::runtime_error(missing);
    }
} const initialiser;

}  // namespace

void symbolThatNobodyHas();

#if defined(QV_MISSING_SYMBOL)
void (*volatile needed)() = symbolThatNobodyHas;
#endif

QV_PLUGIN_EXPORT void
#if defined(QV_NO_ENTRY)
qvInitOther
#else
qvInitPlugin
#endif
    (PluginInfo& info, const char**, const char*& error, void*) {
    info.describe(way == "nameless" ? nullptr : QV_WAY, "1.0", "A. Tester");
    info.addNodeType(faultyType("faultyTB"));
    info.addFunction("faulty", 1, faulty, faultyComplex);
    getProjectManager().getMetaDataTable().AddNode(faultyType("faultyDirectTB"));
    QVFuncParserR::TheFuncParser.RegisterFunction(faulty, "faultyDirect", 1);
    QVFuncParserC::TheFuncParser.RegisterFunction(faultyComplex, "faultyDirect", 1);
    qvProjectNodeInfoClass::Register();
    if (way == "throws") throw std::runtime_error("no laser found");
    if (way == "throwsnumber") throw 7;
    if (way == "posts") qverr().set("posted an error");
    if (way == "refuses") error = "the dongle is not plugged in";
    if (way == "old") info.coreVersion = "qvcore(38.4)";
    if (way == "ageless") info.coreVersion = "39";
    if (way == "twin") info.name = "probe";
    if (way == "breaksline") info.version = "1\nend";
    if (way == "misnames") info.addFunction("2x", 1, faulty, nullptr);
    if (way == "typeless") info.addNodeType(qvProjectNodeInfo());
}
