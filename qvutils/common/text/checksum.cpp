#include "qvutils/common/text/checksum.h"

#include <algorithm>
#include <bit>
#include <limits>

/// The finalising steps of a 64-bit avalanche hash: every bit of the word and of the sum so far
/// changes about half of the result's bits (constants of Stafford's "mix 13").
CheckSum& CheckSum::mix(std::uint64_t word) {
    std::uint64_t x = std::rotl(value_, 23) + word * seed + seed;
    x = (x ^ (x >> 30)) * 0xBF58476D1CE4E5B9u;
    x = (x ^ (x >> 27)) * 0x94D049BB133111EBu;
    value_ = x ^ (x >> 31);
    return *this;
}

CheckSum& CheckSum::Append(double value) {
    if (value == 0) value = 0;
    if (value != value) value = std::numeric_limits<double>::quiet_NaN();
    return mix(std::bit_cast<std::uint64_t>(value));
}

CheckSum& CheckSum::Append(QVText text) {
    return AppendBytes(text.data(), text.view().size());
}

CheckSum& CheckSum::AppendBytes(const void* data, std::size_t size) {
    const auto* bytes = static_cast<const unsigned char*>(data);
    for (std::size_t done = 0; done < size; done += 8) {
        std::uint64_t word = 0;
        const std::size_t n = std::min<std::size_t>(8, size - done);
        for (std::size_t i = 0; i < n; ++i) word |= std::uint64_t{bytes[done + i]} << (8 * i);
        mix(word);
    }
    return mix(size);
}
