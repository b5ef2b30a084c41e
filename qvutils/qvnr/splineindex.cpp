#include <cmath>

#include "qvutils/qvnr/Splinfit.h"

namespace {

/// A cell with more points than this is divided.
constexpr int few = 4;
/// Points that crowd together at ever smaller scales are bisected from here on.
constexpr int maxDepth = 6;

}  // namespace

/// The width of the root's cells is such that the last cell begins at the last point.
void CSplineIndex::build(const double* x, int n, int cells) {
    cells_.clear();
    parts_.clear();
    cells_.reserve(static_cast<std::size_t>(cells) + 1);
    root_ = {x[0], (cells - 1) / (x[n - 1] - x[0]), cells - 1., 0, 0};
    fill(x, root_, 1, n - 1);
    markCrowds(x, root_);
    for (std::size_t i = 0; i < parts_.size(); ++i) markCrowds(x, Part(parts_[i]));
}

/// Appends the cells of a part that holds the points from `low` to `high` - 1, and one cell more as
/// the end of the last. In cell i stands the first point k with (x[k] - first) * density >= i, but
/// at most `high`.
void CSplineIndex::fill(const double* x, const Part& part, int low, int high) {
    cells_.resize(cells_.size() + static_cast<std::size_t>(part.last) + 2);
    Cell* const first = cells_.data() + part.offset;
    Cell* const end = cells_.data() + cells_.size();
    Cell* cell = first;
    for (int k = low; k < high; ++k) {
        Cell* const last = first + static_cast<std::int64_t>((x[k] - part.first) * part.density);
        while (cell <= last) *cell++ = {static_cast<std::uint16_t>(k), 0};
    }
    while (cell < end) *cell++ = {static_cast<std::uint16_t>(high), 0};
}

void CSplineIndex::markCrowds(const double* x, const Part& part) {
    const int last = part.offset + static_cast<int>(part.last);
    for (int i = part.offset; i <= last; ++i) {
        const int low = cells_[i].point;
        const int high = cells_[i + 1].point;
        if (high - low <= 1) continue;
        const bool divided = divide(x, part.depth + 1, low, high);
        cells_[i].crowd = divided ? static_cast<std::uint16_t>(parts_.size()) : undivided;
    }
}

/// Makes a part of the points from `low` to `high` - 1, unless they are few or cannot be told
/// apart.
bool CSplineIndex::divide(const double* x, int depth, int low, int high) {
    const int cells = 2 * (high - low);
    const double density = (cells - 1) / (x[high - 1] - x[low]);
    if (high - low <= few || depth > maxDepth || parts_.size() + 1 == undivided ||
        !std::isfinite(density)) {
        return false;
    }
    parts_.push_back({x[low], density, cells - 1., static_cast<int>(cells_.size()), depth});
    fill(x, Part(parts_.back()), low, high);
    return true;
}

/// The cells of ever smaller parts, then a bisection in which no branch depends on the data.
std::size_t CSplineIndex::findInCrowd(const Cell* cell, const double* x, double value) const {
    while (cell->crowd && cell->crowd != undivided) {
        const Part& part = parts_[cell->crowd - 1];
        const double place = (value - part.first) * part.density;
        const double inside = place > 0 ? (place < part.last ? place : part.last) : 0;
        cell = cells_.data() + part.offset + static_cast<int>(inside);
    }
    const double* from = x + cell[0].point;
    for (int length = cell[1].point - cell[0].point; length > 0;) {
        const int half = (length + 1) / 2;
        from += half & -static_cast<int>(from[half - 1] < value);
        length -= half;
    }
    return static_cast<std::size_t>(from - x);
}
