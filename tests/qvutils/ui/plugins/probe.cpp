// A plug-in that brings one of everything.
#include <stdexcept>

#include "qvutils/ui/plugins/qvplugininfo.h"
#include "qvutils/ui/project/qvprojnode.h"

namespace {

constexpr TBlockSig signature{"probeTB", 1, 0};

class ProbeNode : public qvProjectNode {
public:
    QV_CLASS_INFO(ProbeNode)

    void OnPublish() override {
        PublishVar("depth", depth_, "how deep it goes");
        qvProjectNode::OnPublish();
    }
    bool ReadTB(TextBlock& block) override {
        return block.CheckStartRead(signature, true) && block.scanline("%lf", &depth_) == 1;
    }
    bool WriteTB(TextBlock& block) const override {
        StartNodeBlock(block);
        block.writeline("%g // depth", depth_);
        block.EndWrite();
        return !qverr();
    }

private:
    double depth_ = 1;
};

const qvClassInfo ProbeNode::cinfo_ProbeNode("ProbeNode", qvProjectNode::getStaticClassInfo(),
                                             nullptr, qvCreateObject<ProbeNode>);

class Commands : public QVObject {
public:
    QV_CLASS_INFO(Commands)

    explicit Commands(std::string text) : text_(std::move(text)) {}
    void OnPublish() override {
        PublishFn("probe", &Commands::probe, "(): what the plug-in knows of its surroundings");
        PublishFn("makeprobe", &Commands::make, "(): an object of the plug-in");
        PublishFn("failprobe", &Commands::fail, "(): throw an exception");
    }
    QVString probe() { return text_.c_str(); }
    std::unique_ptr<QVObject> make() { return std::make_unique<Commands>("made"); }
    void fail() { throw std::runtime_error("no light"); }

private:
    std::string text_;
};

const qvClassInfo Commands::cinfo_Commands("ProbeCommands", QVObject::getStaticClassInfo());

qvProjectNodeInfo probeType() {
    qvProjectNodeInfo record;
    record.classInfo = ProbeNode::getStaticClassInfo();
    record.signature = signature;
    record.displayName = "Probe";
    record.parentTypes = {"projectTB"};
    return record;
}

const qvProjectNodeInfoClass registration(probeType());

template <class T>
T twice(const ParList<T>& arguments) {
    return 2.0 * arguments[0];
}

template <class T>
T dark(const ParList<T>&) {
    throw std::runtime_error("no light");
}

}  // namespace

// As a compiler with other names for its functions would export it.
extern "C" QV_PLUGIN_EXPORT void qvInitPlugin(PluginInfo& info, const char** loaded, const char*&,
                                              void* application) {
    info.describe("probe", "2.1", "A. Tester");
    std::string text = std::string(info.applicationName) + ", " + info.hostVersion;
    text += application ? ", an application" : ", no application";
    for (; *loaded; ++loaded) text += std::string(", ") + *loaded;
    static Commands commands(text);
    info.addCommands(commands);
    info.addFunction("twice", 1, twice<double>, twice<std::complex<double>>);
    info.addFunction("dark", 1, dark<double>, dark<std::complex<double>>);
    info.addMaterialDirectory("materials");
}
