#include "qvutils/common/text/qvnumber.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <type_traits>

#include "qvutils/common/text/decimal.h"

namespace {

constexpr int largestExponent = 308;

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

template <class... Args>
char* write(char* buffer, Args... args) {
    return std::to_chars(buffer, buffer + qvNumberTextSize, args...).ptr;
}

/// Drops the zeros at the end and returns the number of digits left.
int dropZeros(std::uint64_t& digits, int count) {
    if (digits % 100000000 == 0) {
        digits /= 100000000;
        count -= 8;
    }
    while (digits % 10 == 0) {
        digits /= 10;
        --count;
    }
    return count;
}

char* fillZeros(char* to, int count) {
    for (; count > 0; --count) *to++ = '0';
    return to;
}

/// Printf's layout of "%g" for a number of `precision` digits.
char* layOut(char* to, qvDecimal decimal, int precision) {
    const int count = dropZeros(decimal.digits, precision);
    const int exponent = decimal.exponent;
    const bool scientific = exponent < -4 || exponent >= precision;
    if (exponent < 0 && !scientific) {
        *to++ = '0';
        *to++ = '.';
        return write(fillZeros(to, -exponent - 1), decimal.digits);
    }
    // The digits go one place to the right of where they will be, those before the point then back.
    const int before = scientific ? 1 : exponent + 1;
    char* end = write(to + 1, decimal.digits);
    std::memmove(to, to + 1, static_cast<std::size_t>(std::min(before, count)));
    if (count > before)
        to[before] = '.';
    else
        end = fillZeros(to + count, before - count);
    if (!scientific) return end;
    *end++ = 'e';
    *end++ = exponent < 0 ? '-' : '+';
    const int size = std::abs(exponent);
    if (size < 10) *end++ = '0';
    return write(end, size);
}

QVString toText(double value, int precision) {
    char buffer[qvNumberTextSize];
    return QVString(buffer, static_cast<int>(qvFormatG(buffer, value, precision) - buffer));
}

QVString toText(const std::complex<double>& value, int precision, const char* separator) {
    char buffer[2 * qvNumberTextSize];
    char* end = buffer;
    *end++ = '(';
    end = qvFormatG(end, value.real(), precision);
    while (*separator) *end++ = *separator++;
    end = qvFormatG(end, value.imag(), precision);
    *end++ = ')';
    return QVString(buffer, static_cast<int>(end - buffer));
}

template <class T>
QVString shortest(T value) {
    if (std::isnan(value)) return "nan";
    char buffer[qvNumberTextSize];
    return QVString(buffer, static_cast<int>(write(buffer, value) - buffer));
}

/// The scanner's states, in the order in which a text can pass through them.
enum State { start, sign, integer, fraction, exponent, exponentDigits, trailing };

/// Decides whether the text is a number, and finds the part that std::from_chars shall read: from
/// the sign or first digit on. The states are loose: "1e" is 1 and "- " is -0.
class NumberScanner {
public:
    bool scan(std::string_view text) {
        for (const char *c = text.data(), *end = c + text.size(); c != end; ++c)
            if (!step(c)) return false;
        return state_ > sign && (exponentIsNegative_ || exponent_ <= largestExponent);
    }
    const char* begin() const { return begin_; }
    bool isNegative() const { return isNegative_; }
    bool hasDigits() const { return hasDigits_; }

private:
    bool step(const char* c) {
        switch (*c) {
            case ' ':
                if (state_ != start) state_ = trailing;
                return true;
            case '+':
                if (state_ != start && state_ != exponent) return false;
                state_ = state_ == start ? sign : exponentDigits;
                return true;
            case '-':
                return minus(c);
            case '.':
                if (state_ > integer) return false;
                state_ = fraction;
                note(c);
                return true;
            case 'e':
            case 'E':
                if (state_ != integer && state_ != fraction) return false;
                state_ = exponent;
                return true;
            default:
                return isDigit(*c) && digit(c);
        }
    }

    bool minus(const char* c) {
        if (state_ == start) {
            isNegative_ = true;
            state_ = sign;
            note(c);
            return true;
        }
        if (state_ != exponent) return false;
        exponentIsNegative_ = true;
        state_ = exponentDigits;
        return true;
    }

    bool digit(const char* c) {
        if (state_ == trailing) return false;
        if (state_ < fraction) state_ = integer;
        if (state_ <= fraction) {
            hasDigits_ = true;
            note(c);
            return true;
        }
        state_ = exponentDigits;
        if (exponent_ <= largestExponent) exponent_ = exponent_ * 10 + (*c - '0');
        return true;
    }

    void note(const char* c) {
        if (!begin_) begin_ = c;
    }

    State state_ = start;
    bool isNegative_ = false;
    bool exponentIsNegative_ = false;
    bool hasDigits_ = false;
    int exponent_ = 0;
    const char* begin_ = nullptr;
};

/// The conversion of a text whose value lies outside the range of double: too small a value is 0,
/// too large a one is none. The text has a digit other than 0.
bool isTiny(const char* c, const char* end) {
    long long position = 0;  // of the first digit other than 0, counted from the point
    bool seen = false, afterPoint = false;
    for (; c != end && (isDigit(*c) || *c == '.' || *c == '-'); ++c) {
        if (*c == '-') continue;
        if (*c == '.') {
            afterPoint = true;
            continue;
        }
        seen = seen || *c != '0';
        if (seen && !afterPoint) ++position;
        if (!seen && afterPoint) --position;
    }
    if (c == end || (*c != 'e' && *c != 'E')) return position < 0;
    ++c;
    if (c != end && *c == '+') ++c;
    int power = 0;
    const bool isNegative = c != end && *c == '-';
    if (std::from_chars(c, end, power).ec == std::errc::result_out_of_range) return isNegative;
    return power + position < 0;
}

/// The text between the blanks, for the readers of the beginning of a text.
struct Head {
    explicit Head(QVText text) : begin(text.data()), end(begin + text.view().size()) {
        while (begin != end && std::strchr(" \t\n\v\f\r", *begin) && *begin) ++begin;
        isNegative = begin != end && *begin == '-';
        if (begin != end && (*begin == '+' || *begin == '-')) ++begin;
    }
    const char* begin;
    const char* end;
    bool isNegative;
};

template <class T>
T readInteger(QVText text, int base, int& failed) {
    Head head(text);
    if (base == 16 && head.end - head.begin > 2 && head.begin[0] == '0' &&
        (head.begin[1] == 'x' || head.begin[1] == 'X') &&
        std::isxdigit(static_cast<unsigned char>(head.begin[2])))
        head.begin += 2;
    using Unsigned = std::make_unsigned_t<T>;
    Unsigned magnitude = 0;
    if (head.begin != head.end && *head.begin == '-') head.begin = head.end;
    const auto result = std::from_chars(head.begin, head.end, magnitude, base);
    failed = result.ec == std::errc::invalid_argument;
    const Unsigned limit = static_cast<Unsigned>(std::numeric_limits<T>::max()) + head.isNegative;
    if (result.ec == std::errc::result_out_of_range || magnitude > limit) magnitude = limit;
    return static_cast<T>(head.isNegative ? 0 - magnitude : magnitude);
}

}  // namespace

char* qvFormatG(char* buffer, double value, int precision) {
    qvDecimal decimal;
    if (value == 0 || !std::isfinite(value) ||
        !qvRoundToDigits(std::fabs(value), precision, decimal))
        return write(buffer, value, std::chars_format::general, precision);
    if (value < 0) *buffer++ = '-';
    return layOut(buffer, decimal, precision);
}

char* qvFormatInteger(char* buffer, long long value) {
    return write(buffer, value);
}

int qvRoundDoubleToNearestInt(double value) {
    return static_cast<int>(std::lround(value));
}

QVString qvIntegerToText(long long value) {
    char buffer[qvNumberTextSize];
    return QVString(buffer, static_cast<int>(write(buffer, value) - buffer));
}

template <class T>
QVString qvNumberToString(const T& value) {
    if constexpr (std::is_integral_v<T>)
        return qvIntegerToText(value);
    else if constexpr (std::is_floating_point_v<T>)
        return toText(value, 8);
    else
        return toText(value, 8, ", ");
}

template <class T>
QVString qvWriteNumber(const T& value) {
    if constexpr (std::is_same_v<T, double>)
        return toText(value, 10);
    else if constexpr (std::is_same_v<T, std::complex<double>>)
        return toText(value, 10, ", ");
    else
        return qvNumberToString(value);
}

template QVString qvNumberToString<int>(const int&);
template QVString qvNumberToString<long>(const long&);
template QVString qvNumberToString<float>(const float&);
template QVString qvNumberToString<double>(const double&);
template QVString qvNumberToString<std::complex<double>>(const std::complex<double>&);
template QVString qvWriteNumber<int>(const int&);
template QVString qvWriteNumber<long>(const long&);
template QVString qvWriteNumber<float>(const float&);
template QVString qvWriteNumber<double>(const double&);
template QVString qvWriteNumber<std::complex<double>>(const std::complex<double>&);

QVString numtoA(float value) {
    return toText(value, 6);
}
QVString numtoA(double value) {
    return toText(value, 16);
}
QVString numtoA(const std::complex<double>& value) {
    return toText(value, 16, ",");
}

QVString qvShortestText(int value) {
    return qvIntegerToText(value);
}
QVString qvShortestText(float value) {
    return shortest(value);
}
QVString qvShortestText(double value) {
    return shortest(value);
}
QVString qvShortestText(const std::complex<double>& value) {
    return "(" + shortest(value.real()) + "," + shortest(value.imag()) + ")";
}

QVString hexnumtoA(int value) {
    char buffer[qvNumberTextSize];
    return QVString(buffer,
                    static_cast<int>(write(buffer, static_cast<unsigned>(value), 16) - buffer));
}

QVString hexnumtoA(long value) {
    char buffer[qvNumberTextSize];
    char* end = write(buffer, static_cast<unsigned long>(value), 16);
    return QVString(buffer, static_cast<int>(end - buffer));
}

/// Reads the plain form: an optional "-", digits with at most one ".", and an exponent, nothing
/// else. Texts of that form are all accepted by the scanner, but for a large exponent.
template <class T>
static bool readPlain(std::string_view text, T& value) {
    const char *c = text.data(), *end = c + text.size();
    if (c != end && *c == '-') ++c;
    if (c == end || (!isDigit(*c) && *c != '.')) return false;
    T result;
    const auto [stop, error] = std::from_chars(c, end, result);
    if (error != std::errc() || stop != end) return false;
    std::size_t e = text.find('e');
    if (e == text.npos) e = text.find('E');
    if (e != text.npos && text[e + 1] != '-' && text.size() - e > 3) return false;
    value = c == text.data() ? result : -result;
    return true;
}

// Not through double for a float: it would be rounded twice.
template <class T>
static bool readReal(QVText text, T& value) {
    if (readPlain(text.view(), value)) return true;
    NumberScanner scanner;
    if (!scanner.scan(text.view())) return false;
    T result = 0;
    if (scanner.hasDigits()) {
        const char* end = text.data() + text.view().size();
        const auto error = std::from_chars(scanner.begin(), end, result).ec;
        if (error == std::errc::result_out_of_range) {
            if (!isTiny(scanner.begin(), end)) return false;
            result = scanner.isNegative() ? -T(0) : T(0);
        }
    } else if (scanner.isNegative()) {
        result = -T(0);
    }
    value = result;
    return true;
}

template <>
bool qvStringToNumber<double>(QVText text, double& value) {
    return readReal(text, value);
}

template <>
bool qvStringToNumber<float>(QVText text, float& value) {
    return readReal(text, value);
}

template <>
bool qvStringToNumber<int>(QVText text, int& value) {
    double wide;
    if (!qvStringToNumber(text, wide) || std::fabs(wide) > INT_MAX) return false;
    value = qvRoundDoubleToNearestInt(wide);
    return true;
}

template <class Reader>
static bool readComplex(std::string_view all, std::complex<double>& value, Reader readPart) {
    double re = 0, im = 0;
    if (readPart(QVText(all), re)) {
        value = re;
        return true;
    }
    const std::size_t open = all.find_first_not_of(' ');
    if (open == all.npos || all[open] != '(') return false;
    const std::size_t comma = all.find(',', open);
    if (comma == all.npos) return false;
    const std::size_t close = all.find(')', comma);
    if (close == all.npos || all.find_first_not_of(' ', close + 1) != all.npos) return false;
    if (!readPart(QVText(all.substr(open + 1, comma - open - 1)), re) ||
        !readPart(QVText(all.substr(comma + 1, close - comma - 1)), im))
        return false;
    value = {re, im};
    return true;
}

template <>
bool qvStringToNumber<std::complex<double>>(QVText text, std::complex<double>& value) {
    return readComplex(text.view(), value, qvStringToNumber<double>);
}

template <class T>
bool qvReadShortest(QVText text, T& value) {
    if constexpr (std::is_floating_point_v<T>) {
        constexpr T infinity = std::numeric_limits<T>::infinity();
        if (text.view() == "inf") return value = infinity, true;
        if (text.view() == "-inf") return value = -infinity, true;
        if (text.view() == "nan") return value = std::numeric_limits<T>::quiet_NaN(), true;
    }
    return qvStringToNumber(text, value);
}

template bool qvReadShortest<int>(QVText, int&);
template bool qvReadShortest<float>(QVText, float&);
template bool qvReadShortest<double>(QVText, double&);

template <>
bool qvReadShortest<std::complex<double>>(QVText text, std::complex<double>& value) {
    return readComplex(text.view(), value, qvReadShortest<double>);
}

template <>
void qvComplexToNumber<std::complex<double>>(const std::complex<double>& number,
                                             std::complex<double>& value) {
    value = number;
}

template <>
void qvComplexToNumber<double>(const std::complex<double>& number, double& value) {
    value = number.real();
}

template <>
void qvComplexToNumber<float>(const std::complex<double>& number, float& value) {
    value = static_cast<float>(number.real());
}

template <>
void qvComplexToNumber<int>(const std::complex<double>& number, int& value) {
    const double re = number.real();
    if (re < -INT_MAX)
        value = -INT_MAX;
    else if (re > INT_MAX)
        value = INT_MAX;
    else
        value = re == re ? qvRoundDoubleToNearestInt(re) : 0;
}

int atoI(QVText text, int& failed) {
    return readInteger<int>(text, 10, failed);
}
long atoL(QVText text, int& failed) {
    return readInteger<long>(text, 10, failed);
}

/// What hexnumtoA writes for a negative number is read as that number.
int hexatoI(QVText text, int& failed) {
    const long long value = readInteger<long long>(text, 16, failed);
    failed = 0;
    return static_cast<int>(value);
}

long hexatoL(QVText text, int& failed) {
    const long value = readInteger<long>(text, 16, failed);
    failed = 0;
    return value;
}

double atoD(QVText text, int& failed) {
    const Head head(text);
    double value = 0;
    const auto result = std::from_chars(head.begin, head.end, value);
    failed =
        result.ec == std::errc::invalid_argument || (head.begin != head.end && *head.begin == '-');
    if (failed) return 0;
    if (result.ec == std::errc::result_out_of_range)
        value = isTiny(head.begin, result.ptr) ? 0 : HUGE_VAL;
    return head.isNegative ? -value : value;
}

float atoF(QVText text, int& failed) {
    return static_cast<float>(atoD(text, failed));
}
