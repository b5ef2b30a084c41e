#include <locale.h>

#include <cstdio>

#include "qvutils/common/platform/format.h"

namespace qvplatform {

namespace {

/// Puts the calling thread into the C locale for a while.
class CLocale {
public:
    CLocale() : before_(uselocale(plain())) {}
    ~CLocale() { uselocale(before_); }
    CLocale(const CLocale&) = delete;
    CLocale& operator=(const CLocale&) = delete;

private:
    static locale_t plain() {
        static const locale_t locale = newlocale(LC_ALL_MASK, "C", locale_t{});
        return locale;
    }
    locale_t before_;
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
