#pragma once
#include <cstdint>

/// A number to a given count of significant digits: digits[0].digits[1...] * 10^exponent.
struct qvDecimal {
    std::uint64_t digits;
    int exponent;
};

/// Rounds a positive finite number to `precision` digits (1 to 17), to the nearest. False when the
/// number lies so close to the middle of two results that only longer arithmetic can tell.
bool qvRoundToDigits(double value, int precision, qvDecimal& result);
