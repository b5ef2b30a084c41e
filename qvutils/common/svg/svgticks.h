#pragma once
#include <string>
#include <vector>

#include "qvutils/common/platform/qvexport.h"

/// The marks of an axis.
namespace qvsvg {

struct Tick {
    double value;
    /// Empty for a mark between the labelled ones.
    std::string label;
};

struct Ticks {
    std::vector<Tick> marks;
    /// The labels are to be multiplied by ten to this power.
    int exponent = 0;
};

/// The largest magnitude that an axis shows, and the smallest difference.
inline constexpr double largest = 1e300;
inline constexpr double smallest = 1e-290;

struct Range {
    double lo;
    double hi;

    /// Far enough apart that ticks between them can be told from each other.
    bool isWide() const;
};

/// Ticks at whole multiples of 1, 2 or 5 times a power of ten, at most `most` of them, but two
/// or more. The range must be wide and within the largest magnitude.
QVCORE_API Ticks linearTicks(Range range, int most);
/// Ticks of a logarithmic axis (0 < lo < hi): at powers of ten, or as on a linear axis when the
/// range holds fewer than two of them.
QVCORE_API Ticks logTicks(Range range, int most);

/// "10" with the exponent set high.
QVCORE_API std::string powerOfTen(int exponent);

}  // namespace qvsvg
