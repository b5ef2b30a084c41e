#include <cctype>
#include <charconv>
#include <string>

#include "qvutils/common/formula/formularesolver.h"
#include "qvutils/common/platform/format.h"

namespace {

/// Too large or too small for a double: rare, so left to the slow conversion.
double readOutOfRange(std::string_view token) {
    double value = 0;
    qvplatform::scan(std::string(token).c_str(), "%lf", &value);
    return value;
}

bool mayBeginNumber(char c) {
    const char lower = static_cast<char>(c | 0x20);
    return (c >= '0' && c <= '9') || c == '.' || lower == 'i' || lower == 'n';
}

}  // namespace

bool qvReadFormulaNumber(std::string_view token, double& value) {
    if (token.empty() || !mayBeginNumber(token[0])) return false;
    const bool hexadecimal = token.size() > 2 && token[0] == '0' && (token[1] | 0x20) == 'x';
    const char* const begin = token.data() + (hexadecimal ? 2 : 0);
    const char* const end = token.data() + token.size();
    // The conversion takes a sign and the words inf and nan after the 0x as well.
    if (hexadecimal && !std::isxdigit(static_cast<unsigned char>(*begin)) && *begin != '.') {
        return false;
    }
    double read = 0;
    const auto [stop, error] = std::from_chars(
        begin, end, read, hexadecimal ? std::chars_format::hex : std::chars_format::general);
    if (stop != end || error == std::errc::invalid_argument) return false;
    value = error == std::errc::result_out_of_range ? readOutOfRange(token) : read;
    return true;
}
