#include <locale.h>

#include <cstdio>
#include <cstring>
#include <string>

#include "qvutils/common/platform/format.h"

namespace qvplatform {

namespace {

/// Puts the calling thread into the C locale for a while. Programs that never set a locale, the
/// usual case, only pay for a look.
class CLocale {
public:
    CLocale() {
        if (std::strcmp(localeconv()->decimal_point, ".") == 0) return;
        mode_ = _configthreadlocale(_ENABLE_PER_THREAD_LOCALE);
        before_ = setlocale(LC_NUMERIC, nullptr);
        setlocale(LC_NUMERIC, "C");
    }
    ~CLocale() {
        if (before_.empty()) return;
        setlocale(LC_NUMERIC, before_.c_str());
        if (mode_ != -1) _configthreadlocale(mode_);
    }
    CLocale(const CLocale&) = delete;
    CLocale& operator=(const CLocale&) = delete;

private:
    int mode_ = -1;
    std::string before_;
};

}  // namespace

int vformat(char* buffer, std::size_t size, const char* fmt, va_list args) {
    const CLocale plain;
    return std::vsnprintf(buffer, size, fmt, args);
}

int vscan(const char* text, const char* fmt, va_list args) {
    const CLocale plain;
    return std::vsscanf(text, fmt, args);
}

}  // namespace qvplatform
