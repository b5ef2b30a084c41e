// Weighting functions: a definition that is read must be written so that it reads back as the same,
// and one that is refused must leave the function as it was. Whatever is read can be asked.
#include <cmath>
#include <cstdint>
#include <string>

#include "fuzz/check.h"
#include "qvutils/common/diagnostics/diagnostics.h"
#include "qvutils/common/error/qverror.h"
#include "qvutils/common/formula/limits.h"
#include "qvutils/common/shapes/weightfunc.h"
#include "qvutils/common/variables/qvnamespace.h"

namespace {

qvNameSpace& space() {
    static qvNameSpace* const made = [] {
        setOutputHook([](int, const char*) {});
        qvSetMostLoopRounds(1e4);
        auto* all = new qvNameSpace;
        all->Add("n")->SetValue(2);
        return all;
    }();
    return *made;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    // A name may be that of any file of the machine.
    if (text.find("FILE") != text.npos) return 0;
    WeightFunc function(&space());
    check(function.ParseString("POWER 3"));
    if (!function.ParseString(text)) {
        check(function.getDefString() == "POWER 3");
    } else {
        const QVString written = function.getDefString();
        WeightFunc again(&space());
        check(again.ParseString(written.view()) && again.getDefString() == written);
        for (const double t : {-1e300, 0., 0.3, 1., 7.}) {
            const WeightType weights = function.WeightVal(t);
            check(std::isfinite(weights.x) && std::isfinite(weights.y) &&
                  std::isfinite(weights.angle));
            qverr().reset();
        }
    }
    qverr().reset();
    return 0;
}
