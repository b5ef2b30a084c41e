// Number text against the C library: what is read and what is written must agree.
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "fuzz/check.h"
#include "qvutils/common/text/qvnumber.h"

namespace {

bool same(double a, double b) {
    return std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b);
}

void checkWritten(double value) {
    char expected[64];
    std::snprintf(expected, sizeof expected, "%.16g", value);
    check(std::isnan(value) || numtoA(value) == expected);
    std::snprintf(expected, sizeof expected, "%.8g", value);
    check(std::isnan(value) || qvNumberToString(value) == expected);
    // The largest numbers overflow when they are rounded to 16 digits.
    double again = 0;
    if (std::isfinite(value) && std::fabs(value) < 1e308)
        check(qvStringToNumber(numtoA(value), again));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const QVString text(reinterpret_cast<const char*>(data), static_cast<int>(size));
    double value = 0;
    if (qvStringToNumber(text, value)) {
        // Where there are no digits the two may differ in the sign of the zero.
        const double expected = std::strtod(text, nullptr);
        check(same(value, expected) || (value == 0 && expected == 0));
        checkWritten(value);
    }
    std::complex<double> complex;
    int integer = 0, failed = 0;
    if (qvStringToNumber(text, integer)) check(std::fabs(value - integer) <= 0.5);
    if (qvStringToNumber(text, complex)) qvStringToNumber(numtoA(complex), complex);
    atoI(text, failed);
    atoD(text, failed);
    hexatoL(text, failed);
    if (size >= sizeof value) {
        std::memcpy(&value, data, sizeof value);
        checkWritten(value);
    }
    return 0;
}
