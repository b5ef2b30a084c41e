#include "qvutils/common/shapes/preparedpolygon.h"

#include <algorithm>
#include <bit>
#include <limits>
#include <tuple>
#include <utility>

#include "qvutils/common/shapes/polygoncontainment.h"

namespace {

using Point = PointT<double>;

/// Where an edge passes a height, and how far rounding may have moved that.
struct Passage {
    double x;
    double doubt;
};

Passage passage(const Point& low, const Point& high, double y) {
    if (y == low.y) return {low.x, 0};
    if (y == high.y) return {high.x, 0};
    const double part = (y - low.y) / (high.y - low.y);
    constexpr double roundings = 8 * std::numeric_limits<double>::epsilon();
    return {low.x + part * (high.x - low.x), roundings * (std::fabs(low.x) + std::fabs(high.x))};
}

}  // namespace

PreparedPolygon::PreparedPolygon(QVPoints vertices) : vertices_(std::move(vertices)) {
    usable_ = std::all_of(vertices_.begin(), vertices_.end(), [](const Point& p) {
        // The differences of coordinates must be finite too.
        constexpr double most = std::numeric_limits<double>::max() / 4;
        return std::fabs(p.x) <= most && std::fabs(p.y) <= most;
    });
    if (!usable_ || vertices_.empty()) return;
    rect_ = qvBoundingRect(vertices_);
    for (const Point& vertex : vertices_) heights_.push_back(vertex.y);
    std::sort(heights_.begin(), heights_.end());
    heights_.erase(std::unique(heights_.begin(), heights_.end()), heights_.end());
    collectEdges();
    collectStretches();
    buildTree();
}

void PreparedPolygon::collectEdges() {
    for (std::size_t i = 0; i < vertices_.size(); ++i) {
        const Point& a = vertices_[i ? i - 1 : vertices_.size() - 1];
        const Point& b = vertices_[i];
        if (a.y < b.y) edges_.push_back({a, b, 1});
        if (b.y < a.y) edges_.push_back({b, a, -1});
    }
}

void PreparedPolygon::collectStretches() {
    for (std::size_t i = 0; i < vertices_.size(); ++i) {
        const Point& a = vertices_[i ? i - 1 : vertices_.size() - 1];
        const Point& b = vertices_[i];
        const double from = a.y == b.y ? a.x : b.x;
        stretches_.push_back({b.y, std::min(from, b.x), std::max(from, b.x)});
    }
    std::sort(stretches_.begin(), stretches_.end(), [](const Stretch& a, const Stretch& b) {
        return std::tie(a.y, a.left) < std::tie(b.y, b.left);
    });
    std::size_t kept = 0;
    for (const Stretch& stretch : stretches_) {
        Stretch* last = kept ? &stretches_[kept - 1] : nullptr;
        if (last && last->y == stretch.y && stretch.left <= last->right)
            last->right = std::max(last->right, stretch.right);
        else
            stretches_[kept++] = stretch;
    }
    stretches_.resize(kept);
}

/// Calls `visit` with each node at which an edge stands.
template <class Visit>
void PreparedPolygon::forEachNodeOf(const Edge& edge, Visit visit) const {
    std::size_t first = slabOf(edge.low.y) + leaves_;
    std::size_t last = slabOf(edge.high.y) + leaves_;
    for (; first < last; first /= 2, last /= 2) {
        if (first & 1) visit(first++);
        if (last & 1) visit(--last);
    }
}

void PreparedPolygon::buildTree() {
    const std::size_t slabs = heights_.size() - 1;
    if (slabs == 0) return;
    leaves_ = std::bit_ceil(slabs + 1);
    bucketsPerHeight_ = static_cast<double>(slabs) / (heights_.back() - heights_.front());
    usable_ = std::isfinite(bucketsPerHeight_);
    if (!usable_) return;
    for (std::size_t i = 0, slab = 0; i <= slabs; ++i) {
        const double y = heights_.front() + static_cast<double>(i) / bucketsPerHeight_;
        while (slab + 1 < slabs && heights_[slab + 1] <= y) ++slab;
        buckets_.push_back(static_cast<std::uint32_t>(slab));
    }
    starts_.assign(2 * leaves_ + 1, 0);
    for (const Edge& edge : edges_)
        forEachNodeOf(edge, [&](std::size_t node) { ++starts_[node + 1]; });
    for (std::size_t node = 0; node < 2 * leaves_; ++node) starts_[node + 1] += starts_[node];
    entries_.resize(starts_.back());
    std::vector<std::size_t> next(starts_.begin(), starts_.end() - 1);
    for (std::size_t i = 0; i < edges_.size(); ++i) {
        forEachNodeOf(edges_[i], [&](std::size_t node) {
            entries_[next[node]++] = {static_cast<std::uint32_t>(i), 0};
        });
    }
    ordered_.assign(2 * leaves_, true);
    for (std::size_t node = 1; node < 2 * leaves_; ++node) arrange(node);
}

/// Puts the edges of a node from left to right and counts their turns.
void PreparedPolygon::arrange(std::size_t node) {
    Entry* first = entries_.data() + starts_[node];
    Entry* last = entries_.data() + starts_[node + 1];
    if (first == last) return;
    double bottom = -std::numeric_limits<double>::infinity();
    double top = std::numeric_limits<double>::infinity();
    for (const Entry* entry = first; entry != last; ++entry) {
        bottom = std::max(bottom, edges_[entry->edge].low.y);
        top = std::min(top, edges_[entry->edge].high.y);
    }
    const double middle = bottom + (top - bottom) / 2;
    std::vector<std::pair<double, std::uint32_t>> places;
    for (const Entry* entry = first; entry != last; ++entry) {
        const Edge& edge = edges_[entry->edge];
        places.emplace_back(passage(edge.low, edge.high, middle).x, entry->edge);
    }
    std::sort(places.begin(), places.end());
    int turns = 0;
    for (std::size_t i = 0; i < places.size(); ++i) {
        turns += edges_[places[i].second].direction;
        first[i] = {places[i].second, turns};
    }
    ordered_[node] = standInOrder(first, last, bottom, top);
}

/// Whether each edge is left of the next one all the way from bottom to top, but for points that
/// they share there.
bool PreparedPolygon::standInOrder(const Entry* first, const Entry* last, double bottom,
                                   double top) const {
    for (const Entry* entry = first; entry + 1 < last; ++entry) {
        const Edge &left = edges_[entry[0].edge], &right = edges_[entry[1].edge];
        for (double y : {bottom, top}) {
            const Passage a = passage(left.low, left.high, y);
            const Passage b = passage(right.low, right.high, y);
            if (!(b.x - a.x > a.doubt + b.doubt) && !(a.x == b.x && a.doubt + b.doubt == 0))
                return false;
        }
    }
    return true;
}

/// The slab whose bottom is the highest that is not above y, which is within the polygon's height.
std::size_t PreparedPolygon::slabOf(double y) const {
    const double place = (y - heights_.front()) * bucketsPerHeight_;
    const auto bucket = std::min(static_cast<std::size_t>(place), buckets_.size() - 1);
    // A bucket may hold many slabs: bisect when it does. Rounding may be a bucket off.
    const std::size_t low = buckets_[bucket ? bucket - 1 : 0];
    const std::size_t high =
        bucket + 2 < buckets_.size() ? buckets_[bucket + 2] + 2 : heights_.size();
    const auto begin = heights_.begin();
    return static_cast<std::size_t>(
        std::upper_bound(begin + static_cast<std::ptrdiff_t>(low),
                         begin + static_cast<std::ptrdiff_t>(std::min(high, heights_.size())), y) -
        begin - 1);
}

bool PreparedPolygon::onStretch(const Point& point) const {
    const auto next = std::upper_bound(
        stretches_.begin(), stretches_.end(), point, [](const Point& p, const Stretch& stretch) {
            return std::tie(p.y, p.x) < std::tie(stretch.y, stretch.left);
        });
    if (next == stretches_.begin()) return false;
    const Stretch& stretch = *(next - 1);
    return stretch.y == point.y && point.x <= stretch.right;
}

bool PreparedPolygon::contains(const Point& p) const {
    if (!usable_) return qvPolygonContains(vertices_, p);
    if (!(rect_.left <= p.x && p.x < rect_.right && rect_.bottom <= p.y && p.y < rect_.top))
        return false;
    const std::size_t slab = slabOf(p.y);
    if (heights_[slab] == p.y && onStretch(p)) return true;
    const auto side = [&](const Entry& entry) {
        const Edge& edge = edges_[entry.edge];
        if (p.x < edge.low.x && p.x < edge.high.x) return 1.0;
        if (p.x > edge.low.x && p.x > edge.high.x) return -1.0;
        return qvSide(edge.low, edge.high, p);
    };
    int turns = 0;
    for (std::size_t node = leaves_ + slab; node > 0; node /= 2) {
        const Entry* first = entries_.data() + starts_[node];
        const Entry* last = entries_.data() + starts_[node + 1];
        if (first == last) continue;
        if (!ordered_[node]) {
            for (; first != last; ++first) {
                const double s = side(*first);
                if (s == 0) return true;
                if (s > 0) turns += edges_[first->edge].direction;
            }
            continue;
        }
        const Entry* right =
            std::partition_point(first, last, [&](const Entry& e) { return side(e) < 0; });
        if (right != last && side(*right) == 0) return true;
        turns += last[-1].turns - (right == first ? 0 : right[-1].turns);
    }
    return turns != 0;
}
