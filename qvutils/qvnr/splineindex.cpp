#include <cmath>
#include <limits>

#include "qvutils/qvnr/Splinfit.h"

namespace {

/// A cell that more points than this lie in is divided.
constexpr int crowd = 4;
/// Points that crowd together at ever smaller scales are bisected from here on.
constexpr int maxDepth = 6;

}  // namespace

/// The width of the root's cells is such that the last cell begins at the last point.
void CSplineIndex::build(const double* x, int n, int cells) {
    cells_.clear();
    parts_.clear();
    cells_.reserve(static_cast<std::size_t>(cells) + 1);
    root_ = {x[0], (cells - 1) / (x[n - 1] - x[0]), cells - 1., 0, 0};
    fill(x, root_, 0, n - 2);
    divideCrowds(x, root_);
    for (std::size_t i = 0; i < parts_.size(); ++i) divideCrowds(x, Part(parts_[i]));
}

/// Appends the cells of a part that holds the points from low + 1 to high, and one cell more as the
/// end of the last. In cell i stands the largest segment k with (x[k] - first) * density < i, but
/// at least `low`.
void CSplineIndex::fill(const double* x, const Part& part, int low, int high) {
    cells_.resize(cells_.size() + static_cast<std::size_t>(part.last) + 2);
    Cell* cell = cells_.data() + part.offset;
    Cell* const end = cells_.data() + cells_.size();
    for (int k = low; k < high; ++k) {
        Cell* const last =
            cells_.data() + part.offset + static_cast<int>((x[k + 1] - part.first) * part.density);
        while (cell <= last) *cell++ = {static_cast<std::uint16_t>(k), 0};
    }
    while (cell < end) *cell++ = {static_cast<std::uint16_t>(high), 0};
}

void CSplineIndex::divideCrowds(const double* x, const Part& part) {
    if (part.depth == maxDepth) return;
    const int last = part.offset + static_cast<int>(part.last);
    for (int i = part.offset; i <= last; ++i) {
        const int low = cells_[i].segment;
        const int high = cells_[i + 1].segment;
        if (high - low <= crowd) continue;
        const int cells = 2 * (high - low);
        const double density = (cells - 1) / (x[high] - x[low + 1]);
        const bool full = parts_.size() == std::numeric_limits<std::uint16_t>::max();
        if (full || !std::isfinite(density)) continue;
        parts_.push_back(
            {x[low + 1], density, cells - 1., static_cast<int>(cells_.size()), part.depth + 1});
        cells_[i].finer = static_cast<std::uint16_t>(parts_.size());
        fill(x, parts_.back(), low, high);
    }
}

/// For a crowd that is too dense for cells; no branch depends on the data.
int CSplineIndex::bisect(const double* x, double value, int low, int high) {
    const double* from = x + low + 1;
    for (int length = high - low; length > 0;) {
        const int half = (length + 1) / 2;
        from += half & -static_cast<int>(from[half - 1] < value);
        length -= half;
    }
    return static_cast<int>(from - x) - 1;
}
