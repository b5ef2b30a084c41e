#pragma once
#include <complex>
#include <cstddef>
#include <cstdint>

#include "qvutils/common/platform/qvexport.h"
#include "qvutils/common/text/qvstring.h"

/// A running sum over definitions: equal sums mean equal definitions, for all practical purposes.
/// The order counts, and each item is delimited ("ab","c" differs from "a","bc"). The value is the
/// same on every system and in every run; it is no protection against forgery.
class QVCORE_API CheckSum {
public:
    CheckSum& Append(int value) { return Append(static_cast<long long>(value)); }
    CheckSum& Append(long long value) { return mix(static_cast<std::uint64_t>(value)); }
    /// 0 and -0 count as equal, and so do all values that are not numbers.
    CheckSum& Append(double value);
    CheckSum& Append(const std::complex<double>& value) {
        return Append(value.real()).Append(value.imag());
    }
    CheckSum& Append(QVText text);
    CheckSum& Append(const CheckSum& sum) { return mix(sum.value_); }
    CheckSum& AppendBytes(const void* data, std::size_t size);

    /// Nothing has been added yet.
    bool Empty() const { return value_ == seed; }
    void Reset() { value_ = seed; }
    std::uint64_t Value() const { return value_; }
    bool operator==(const CheckSum&) const = default;

private:
    static constexpr std::uint64_t seed = 0x9E3779B97F4A7C15u;

    CheckSum& mix(std::uint64_t word);

    std::uint64_t value_ = seed;
};
