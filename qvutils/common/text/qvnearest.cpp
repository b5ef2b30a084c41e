#include "qvutils/common/text/qvnearest.h"

#include <algorithm>

namespace {

constexpr std::size_t longestComparedName = 64;
constexpr std::size_t mostNames = 3;

char folded(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

/// The number of characters to insert, delete, replace or swap with their neighbour to turn one
/// name into the other, case ignored (the distance of Damerau and Levenshtein, each place edited
/// once).
std::size_t editDistance(std::string_view a, std::string_view b) {
    std::size_t rows[3][longestComparedName + 1];
    std::size_t* before = rows[0];
    std::size_t* last = rows[1];
    std::size_t* row = rows[2];
    for (std::size_t j = 0; j <= b.size(); ++j) last[j] = j;
    for (std::size_t i = 1; i <= a.size(); ++i) {
        row[0] = i;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            const bool same = folded(a[i - 1]) == folded(b[j - 1]);
            row[j] = std::min({last[j] + 1, row[j - 1] + 1, last[j - 1] + (same ? 0 : 1)});
            const bool swapped = i > 1 && j > 1 && folded(a[i - 1]) == folded(b[j - 2]) &&
                                 folded(a[i - 2]) == folded(b[j - 1]);
            if (swapped) row[j] = std::min(row[j], before[j - 2] + 1);
        }
        std::swap(before, last);
        std::swap(last, row);
    }
    return last[b.size()];
}

}  // namespace

void QVNearestNames::offer(std::string_view candidate) {
    const std::size_t limit = std::max<std::size_t>(1, (name_.size() + 1) / 3);
    const std::size_t n = name_.size();
    const std::size_t m = candidate.size();
    const std::size_t excess = n < m ? m - n : n - m;
    if (std::max(n, m) > longestComparedName || excess > limit) return;
    const std::size_t distance = editDistance(name_, candidate);
    if (distance > limit || distance >= n) return;
    const auto further = [&](const Near& known) { return known.distance > distance; };
    near_.insert(std::find_if(near_.begin(), near_.end(), further),
                 {distance, std::string(candidate)});
    if (near_.size() > mostNames) near_.pop_back();
}

std::vector<std::string> QVNearestNames::names() const {
    std::vector<std::string> names;
    for (const Near& n : near_) names.push_back(n.name);
    return names;
}
