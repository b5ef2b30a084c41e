// A plug-in with one node type: a Gaussian beam that tells its radius at a distance.
#include <qvcore.h>

#include <cmath>

namespace {

constexpr TBlockSig signature{"beamTB", 1, 0};

class BeamNode : public qvProjectNode {
public:
    QV_CLASS_INFO(BeamNode)

    // Siegman, "Lasers" (1986), section 17.1: w(z) = w0 sqrt(1 + (z lambda / (pi w0^2))^2).
    double radius(double z) {
        const double far = z * lambda_ / (3.141592653589793 * waist_ * waist_);
        return waist_ * std::sqrt(1 + far * far);
    }

    void OnPublish() override {
        PublishVar("waist", waist_, "1/e^2 radius of the waist in um");
        PublishVar("lambda", lambda_, "wavelength in um");
        PublishFn("radius", &BeamNode::radius, "( z ): 1/e^2 radius in um, z um off the waist");
        qvProjectNode::OnPublish();
    }

    bool ReadTB(TextBlock& block) override {
        return block.CheckStartRead(signature, true) &&
               block.scanline("%lf %lf", &waist_, &lambda_) == 2;
    }

    bool WriteTB(TextBlock& block) const override {
        StartNodeBlock(block);
        block.writeline("%.13g %.13g // waist lambda", waist_, lambda_);
        block.EndWrite();
        return !qverr();
    }

private:
    double waist_ = 1;
    double lambda_ = 1.55;
};

const qvClassInfo BeamNode::cinfo_BeamNode("BeamNode", qvProjectNode::getStaticClassInfo(), nullptr,
                                           qvCreateObject<BeamNode>);

}  // namespace

QV_PLUGIN_EXPORT void qvInitPlugin(PluginInfo& info, const char**, const char*&, void*) {
    info.describe("beam", "1.0", "A. Developer");
    qvProjectNodeInfo type;
    type.classInfo = BeamNode::getStaticClassInfo();
    type.signature = signature;
    type.displayName = "Gaussian beam";
    type.parentTypes = {"projectTB"};
    info.addNodeType(type);
}
