// A licence file, whatever is in it, is taken or refused with one error, and answers. With a
// key it is taken once it is signed, and never before.
#include <cstdint>
#include <cstdlib>

#include "qvutils/common/error/qverror.h"
#include "qvutils/ui/plugins/qvlicencefile.h"
#include "qvutils/ui/plugins/qvlicencesignature.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    qvLicenceFile licence;
    const bool taken = licence.parse("f", {reinterpret_cast<const char*>(data), size});
    if (taken == (qverr() != 0)) std::abort();
    qverr().reset();
    std::string reason;
    if (!licence.allowsPlugin("slabguide.plugin", reason) && reason.empty()) std::abort();
    if (!taken && licence.allowsInstallation(reason)) std::abort();
    static const std::string secretKey = qvMakeLicenceKey();
    qvLicenceFile strict(qvPublicLicenceKey(secretKey));
    const std::string text(reinterpret_cast<const char*>(data), size);
    if (strict.parse("f", text)) std::abort();  // nobody has the key
    qverr().reset();
    const bool signedWell = strict.parse("f", qvSignLicence(text, secretKey));
    qverr().reset();
    if (taken && !signedWell) std::abort();
    return licence.number().empty();
}
