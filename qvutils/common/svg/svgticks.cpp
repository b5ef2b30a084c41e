#include "qvutils/common/svg/svgticks.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace qvsvg {

namespace {

/// A step of 1, 2 or 5 times a power of ten.
struct Step {
    int mantissa;
    int exponent;
};

double scaled(double value, int exponent) {
    const double power = std::pow(10.0, std::abs(exponent));
    return exponent < 0 ? value / power : value * power;
}

Step roundStep(double atLeast) {
    int exponent = static_cast<int>(std::floor(std::log10(atLeast)));
    for (int mantissa : {1, 2, 5}) {
        if (scaled(mantissa, exponent) >= atLeast * (1 - 1e-9)) return {mantissa, exponent};
    }
    return {1, exponent + 1};
}

// The number n times ten to the power `shift`, digit by digit, so that no rounding shows.
std::string decimalText(long long n, int shift) {
    std::string digits = std::to_string(std::llabs(n));
    if (shift > 0 && n != 0) digits.append(static_cast<std::size_t>(shift), '0');
    if (shift < 0) {
        const auto decimals = static_cast<std::size_t>(-shift);
        if (digits.size() <= decimals) digits.insert(0, decimals + 1 - digits.size(), '0');
        digits.insert(digits.size() - decimals, 1, '.');
    }
    return (n < 0 ? "\u2212" : "") + digits;
}

// The power of ten that very large and very small labels have in common.
int commonExponent(double largestLabel) {
    const int exponent = static_cast<int>(std::floor(std::log10(largestLabel) + 1e-9));
    if (exponent >= -3 && exponent <= 4) return 0;
    return static_cast<int>(std::floor(exponent / 3.0)) * 3;
}

void addBetween(std::vector<Tick>& marks, int decade, Range range) {
    for (int i = 2; i <= 9; ++i) {
        const double value = scaled(i, decade);
        if (value >= range.lo && value <= range.hi) marks.push_back({value, ""});
    }
}

std::string decadeLabel(int exponent) {
    if (exponent < -3 || exponent > 4) return powerOfTen(exponent);
    return decimalText(1, exponent);
}

}  // namespace

bool Range::isWide() const {
    const double size = std::max(std::abs(lo), std::abs(hi));
    return hi - lo > size * 1e-12 && hi - lo > smallest;
}

Ticks linearTicks(Range range, int most) {
    Ticks ticks;
    Step step = roundStep((range.hi - range.lo) / std::max(most, 1));
    long long first = 0;
    long long last = 0;
    // A little past the ends, where rounding may have put a limit that is itself a round number.
    for (;;) {
        const double size = scaled(step.mantissa, step.exponent);
        first = static_cast<long long>(std::ceil(range.lo / size - 1e-6));
        last = static_cast<long long>(std::floor(range.hi / size + 1e-6));
        if (last - first < std::max(most, 2)) break;
        step = roundStep(size * 1.5);
    }
    const double end = static_cast<double>(std::max(std::llabs(first), std::llabs(last)));
    if (end > 0) ticks.exponent = commonExponent(scaled(end * step.mantissa, step.exponent));
    for (long long i = first; i <= last; ++i) {
        const long long n = i * step.mantissa;
        const double value = scaled(static_cast<double>(n), step.exponent);
        ticks.marks.push_back({std::clamp(value, range.lo, range.hi),
                               decimalText(n, step.exponent - ticks.exponent)});
    }
    return ticks;
}

Ticks logTicks(Range range, int most) {
    constexpr double ends = 1e-9;
    const int first = static_cast<int>(std::ceil(std::log10(range.lo) - ends));
    const int last = static_cast<int>(std::floor(std::log10(range.hi) + ends));
    if (last <= first) return linearTicks(range, most);
    const int every = (last - first) / std::max(most, 1) + 1;
    Ticks ticks;
    if (every == 1) addBetween(ticks.marks, first - 1, range);
    for (int decade = first; decade <= last; ++decade) {
        const bool labelled = decade % every == 0;
        ticks.marks.push_back({std::clamp(scaled(1, decade), range.lo, range.hi),
                               labelled ? decadeLabel(decade) : ""});
        if (every == 1) addBetween(ticks.marks, decade, range);
    }
    return ticks;
}

std::string powerOfTen(int exponent) {
    static const char* const raised[] = {"\u2070", "\u00b9", "\u00b2", "\u00b3", "\u2074",
                                         "\u2075", "\u2076", "\u2077", "\u2078", "\u2079"};
    std::string text = exponent < 0 ? "10\u207b" : "10";
    for (char digit : std::to_string(std::abs(exponent))) text += raised[digit - '0'];
    return text;
}

}  // namespace qvsvg
