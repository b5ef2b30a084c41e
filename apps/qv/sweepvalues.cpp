#include "apps/qv/sweepvalues.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdlib>

#include "qvutils/common/text/qvnumber.h"

namespace {

constexpr double mostValues = 10'000'000;
/// Up to here whole numbers, and powers of ten, are exact.
constexpr double mostExact = 9007199254740992.0;
constexpr int mostExactPower = 22;

/// A number as digits times a power of ten.
struct Decimal {
    double digits;
    int exponent;
};

Decimal decimalOf(double value) {
    char buffer[32];
    char* end =
        std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::scientific).ptr;
    char* mark = std::find(buffer, end, 'e');
    Decimal decimal{0, 0};
    std::from_chars(mark[1] == '+' ? mark + 2 : mark + 1, end, decimal.exponent);
    char* point = std::find(buffer, mark, '.');
    if (point != mark) {
        std::copy(point + 1, mark, point);
        decimal.exponent -= static_cast<int>(mark - point) - 1;
        --mark;
    }
    std::from_chars(buffer, mark, decimal.digits);
    return decimal;
}

// Puts the digits of both at the same power of ten; false when that is not exact.
bool align(Decimal& a, Decimal& b) {
    if (a.digits == 0) a.exponent = b.exponent;
    Decimal& larger = a.exponent > b.exponent ? a : b;
    const int smallest = std::min(a.exponent, b.exponent);
    const int shift = larger.exponent - smallest;
    if (shift > mostExactPower || std::abs(smallest) > mostExactPower) return false;
    larger.digits *= std::pow(10.0, shift);
    larger.exponent = smallest;
    return true;
}

std::string text(double value) {
    return qvShortestText(value).Chars();
}

// Splits at the colons that stand in no brackets.
std::vector<std::string> splitAtColons(const std::string& text) {
    std::vector<std::string> parts(1);
    int depth = 0;
    for (char c : text) {
        if (c == '(' || c == '[') ++depth;
        if (c == ')' || c == ']') --depth;
        if (c == ':' && depth == 0) {
            parts.emplace_back();
        } else {
            parts.back() += c;
        }
    }
    return parts;
}

}  // namespace

bool splitSweep(const std::string& text, SweepText& sweep) {
    const std::vector<std::string> parts = splitAtColons(text);
    if (parts.size() != 3) return false;
    sweep = {parts[0], parts[1], parts[2]};
    return true;
}

bool sweepValues(double lo, double hi, double step, std::vector<double>& values,
                 std::string& error) {
    const double steps = (hi - lo) / step;
    if (!std::isfinite(hi - lo) || !std::isfinite(step)) {
        error = "the limits and the step of a sweep must be finite";
    } else if (step == 0) {
        error = "the step of a sweep must not be 0";
    } else if (steps < 0) {
        error = "steps of " + text(step) + " do not lead from " + text(lo) + " to " + text(hi);
    } else if (!(steps < mostValues)) {
        error = "the sweep has too many values, " + text(mostValues) + " is the most";
    }
    if (!error.empty()) return false;

    const auto last = static_cast<std::size_t>(std::floor(steps + 1e-10 * std::max(steps, 1.0)));
    Decimal from = decimalOf(lo);
    Decimal by = decimalOf(step);
    const bool isExact =
        align(from, by) &&
        std::abs(from.digits) + std::abs(by.digits) * static_cast<double>(last) < mostExact;
    const double power = std::pow(10.0, std::abs(from.exponent));
    values.clear();
    values.reserve(last + 1);
    for (std::size_t i = 0; i <= last; ++i) {
        const double n = static_cast<double>(i);
        const double sum = from.digits + n * by.digits;
        values.push_back(!isExact ? lo + n * step : from.exponent < 0 ? sum / power : sum * power);
    }
    return true;
}
