#include "qvutils/common/blocks/valuetext.h"

#include <array>
#include <cstddef>
#include <numbers>

#include "qvutils/common/platform/format.h"

const char* Str(std::complex<double> z, bool polar) {
    thread_local std::array<std::array<char, 64>, 16> texts;
    thread_local std::size_t next = 0;
    auto& text = texts[next++ % texts.size()];
    if (polar) {
        qvplatform::format(text.data(), text.size(), "P{%12.5g %6.1f}", std::abs(z),
                           std::arg(z) * 180 / std::numbers::pi);
    } else {
        qvplatform::format(text.data(), text.size(), "{%12.5g %12.5g}", z.real(), z.imag());
    }
    return text.data();
}
