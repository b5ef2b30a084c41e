// A licence file, whatever is in it, is taken or refused with one error, and answers.
#include <cstdint>
#include <cstdlib>

#include "qvutils/common/error/qverror.h"
#include "qvutils/ui/plugins/qvlicencefile.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    qvLicenceFile licence;
    const bool taken = licence.parse("f", {reinterpret_cast<const char*>(data), size});
    if (taken == (qverr() != 0)) std::abort();
    qverr().reset();
    std::string reason;
    if (!licence.allowsPlugin("slabguide.plugin", reason) && reason.empty()) std::abort();
    if (!taken && licence.allowsInstallation(reason)) std::abort();
    return licence.number().empty();
}
