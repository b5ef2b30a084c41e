// Pattern text, a newline, then the text to search: no pattern may crash, hang or read outside.
#include <cstdint>
#include <cstdlib>

#include "qvutils/common/text/qvregex.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    setQVStringErrorHandler([](const char*, const char*) {});
    const QVString input(reinterpret_cast<const char*>(data), static_cast<int>(size));
    const QVRegex pattern(input.Before('\n'));
    QVString text = input.After('\n');
    int length = 0;
    const int pos = pattern.Search(text, length);
    if (pos >= 0 && (length < 0 || pos + length > text.Length())) std::abort();
    if (pos < 0 && pattern.SearchLast(text, length) >= 0) {
        // Only a search that was given up may miss what another way of looking finds.
        bool givenUp = false;
        static bool* flag;
        flag = &givenUp;
        setQVStringErrorHandler([](const char*, const char*) { *flag = true; });
        pattern.Search(text, length);
        if (!givenUp) std::abort();
    }
    text.GSub(pattern, "-");
    if (!text.OK()) std::abort();
    return 0;
}
