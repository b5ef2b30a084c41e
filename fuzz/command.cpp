// Command text of any form, run on a published tree; completion of its last line.
#include <cstddef>
#include <cstdint>
#include <string>

#include "tests/qvutils/common/command/sample_tree.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    SampleSession session;
    session.run("app.add(a).add(b); Ref& r = app.find(a); Set c = app.copyof()");
    session.run(text);
    session.completions(text.substr(text.rfind('\n') + 1).c_str());
    qverr().reset();
    return 0;
}
