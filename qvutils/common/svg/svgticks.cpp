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

/// The multiples of a step in a range.
struct Multiples {
    long long first;
    long long last;

    long long count() const { return last - first + 1; }
};

// A little past the ends, where rounding may have put a limit that is itself a round number.
Multiples multiplesIn(Range range, Step step) {
    const double size = scaled(step.mantissa, step.exponent);
    return {static_cast<long long>(std::ceil(range.lo / size - 1e-6)),
            static_cast<long long>(std::floor(range.hi / size + 1e-6))};
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

}  // namespace

bool Range::isWide() const {
    const double size = std::max(std::abs(lo), std::abs(hi));
    return hi - lo > size * 1e-12 && hi - lo > smallest;
}

Ticks linearTicks(Range range, int most) {
    Step step = roundStep((range.hi - range.lo) / std::max(most, 1));
    Multiples multiples = multiplesIn(range, step);
    while (multiples.count() > std::max(most, 2)) {
        step = roundStep(1.5 * scaled(step.mantissa, step.exponent));
        multiples = multiplesIn(range, step);
    }
    while (multiples.count() < 2) {
        step = roundStep(0.4 * scaled(step.mantissa, step.exponent));
        multiples = multiplesIn(range, step);
    }
    Ticks ticks;
    const long long end = std::max(std::llabs(multiples.first), std::llabs(multiples.last));
    if (end > 0)
        ticks.exponent =
            commonExponent(scaled(static_cast<double>(end * step.mantissa), step.exponent));
    for (long long i = multiples.first; i <= multiples.last; ++i) {
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
    const bool plain = first >= -3 && last <= 4;
    Ticks ticks;
    if (every == 1) addBetween(ticks.marks, first - 1, range);
    for (int decade = first; decade <= last; ++decade) {
        std::string label;
        if (decade % every != 0 && every > 10) continue;
        if (decade % every == 0) label = plain ? decimalText(1, decade) : powerOfTen(decade);
        ticks.marks.push_back({std::clamp(scaled(1, decade), range.lo, range.hi), label});
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
