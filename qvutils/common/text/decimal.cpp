#include "qvutils/common/text/decimal.h"

#include <array>
#include <bit>

// The number m * 2^e is multiplied by a power of ten that brings the wanted digits before the
// point. The powers are tabled with 128 bits, so the product is known to about 2^-64 of the last
// digit: in all but rare cases that decides the rounding. See Adams, "Ryu revisited: printf
// floating point conversion", 2019, for the idea; here the rare cases are left to the caller.

namespace {

__extension__ using Wide = unsigned __int128;

constexpr int lowestPower = -310;
constexpr int highestPower = 344;

/// 10^q is (high * 2^64 + low) * 2^(binaryExponent(q)), cut to 128 bits with the top bit set.
struct Power {
    std::uint64_t high;
    std::uint64_t low;
};

constexpr int binaryExponent(int q) {
    return ((q * 217706) >> 16) - 127;
}

/// 256 bits with the top bit set, lowest first: enough for 344 steps of a factor of ten.
struct Mantissa {
    std::array<std::uint64_t, 4> limb = {0, 0, 0, 1ull << 63};
    int exponent = -255;

    constexpr void timesTen() {
        std::uint64_t carry = 0;
        for (std::uint64_t& l : limb) {
            const Wide product = Wide{l} * 10 + carry;
            l = static_cast<std::uint64_t>(product);
            carry = static_cast<std::uint64_t>(product >> 64);
        }
        const int shift = 64 - std::countl_zero(carry);
        for (std::size_t i = 0; i < 4; ++i) {
            const std::uint64_t above = i < 3 ? limb[i + 1] : carry;
            limb[i] = limb[i] >> shift | above << (64 - shift);
        }
        exponent += shift;
    }

    constexpr void overTen() {
        std::uint64_t rest = 0;
        for (std::size_t i = 4; i-- > 0;) {
            const Wide dividend = Wide{rest} << 64 | limb[i];
            limb[i] = static_cast<std::uint64_t>(dividend / 10);
            rest = static_cast<std::uint64_t>(dividend % 10);
        }
        const int shift = std::countl_zero(limb[3]);
        for (std::size_t i = 4; i-- > 0;)
            limb[i] = limb[i] << shift | (i > 0 ? limb[i - 1] >> (64 - shift) : 0);
        exponent -= shift;
    }

    constexpr Power cut() const { return {limb[3], limb[2]}; }
};

constexpr auto powersOfTen = [] {
    std::array<Power, highestPower - lowestPower + 1> table{};
    Mantissa up, down;
    bool exponentsAgree = true;
    for (int q = 0; q <= highestPower; ++q, up.timesTen()) {
        table[static_cast<std::size_t>(q - lowestPower)] = up.cut();
        exponentsAgree = exponentsAgree && up.exponent + 128 == binaryExponent(q);
    }
    for (int q = 0; q >= lowestPower; --q, down.overTen()) {
        table[static_cast<std::size_t>(q - lowestPower)] = down.cut();
        exponentsAgree = exponentsAgree && down.exponent + 128 == binaryExponent(q);
    }
    return exponentsAgree ? table : throw "the formula for the exponents is wrong";
}();

constexpr auto smallPowers = [] {
    std::array<std::uint64_t, 19> table{};
    std::uint64_t power = 1;
    for (std::uint64_t& entry : table) {
        entry = power;
        power *= 10;
    }
    return table;
}();

}  // namespace

bool qvRoundToDigits(double value, int precision, qvDecimal& result) {
    const auto bits = std::bit_cast<std::uint64_t>(value);
    const int biased = static_cast<int>(bits >> 52);
    std::uint64_t mantissa = bits & ((1ull << 52) - 1);
    if (biased > 0) mantissa |= 1ull << 52;
    const int shift = std::countl_zero(mantissa);
    mantissa <<= shift;
    const int exponent = (biased > 0 ? biased : 1) - 1075 - shift;

    // The decimal exponent by way of the binary one: right, or one too small.
    int decimal = ((exponent + 63) * 78913) >> 18;
    const std::uint64_t limit = smallPowers[static_cast<std::size_t>(precision)];
    for (;; ++decimal) {
        const int q = precision - 1 - decimal;
        const Power& power = powersOfTen[static_cast<std::size_t>(q - lowestPower)];
        // The upper 128 bits of the product; the true one is less than 3 larger.
        const Wide product = Wide{mantissa} * power.high +
                             static_cast<std::uint64_t>(Wide{mantissa} * power.low >> 64);
        const int point = -(exponent + binaryExponent(q) + 64);
        std::uint64_t digits = static_cast<std::uint64_t>(product >> point);
        if (digits >= limit) continue;
        const Wide half = Wide{1} << (point - 1);
        const Wide fraction = product & (2 * half - 1);
        if (fraction > half)
            ++digits;
        else if (fraction + 3 > half)
            return false;
        if (digits == limit) {
            digits /= 10;
            ++decimal;
        }
        result = {digits, decimal};
        return true;
    }
}
