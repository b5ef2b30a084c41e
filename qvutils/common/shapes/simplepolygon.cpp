#include "qvutils/common/shapes/simplepolygon.h"

#include <algorithm>
#include <iterator>
#include <numeric>
#include <set>
#include <vector>

namespace {

using Point = PointT<double>;

bool before(const Point& a, const Point& b) {
    return a.x != b.x ? a.x < b.x : a.y < b.y;
}

int sign(double side) {
    return (side > 0) - (side < 0);
}

/// A line goes over the polygon from left to right, at equal x from below, and keeps the edges that
/// it cuts in their order. Edges that meet stand side by side before the line reaches the place.
class Sweep {
public:
    explicit Sweep(const QVPoints& vertices);
    bool findsMeeting();

private:
    struct Edge {
        Point from;  ///< of the two ends the one that the line reaches first
        Point to;
    };
    struct Below {
        const Sweep* sweep;
        bool operator()(std::size_t a, std::size_t b) const { return sweep->isBelow(a, b); }
    };
    using Cut = std::set<std::size_t, Below>;

    bool isBelow(std::size_t a, std::size_t b) const;
    bool meet(std::size_t a, std::size_t b) const;
    bool begin(std::size_t edge);
    bool end(std::size_t edge);

    const QVPoints& vertices_;
    std::vector<Edge> edges_;  ///< number i goes from vertex i to the next
    Cut cut_;
    std::vector<Cut::iterator> places_;
};

Sweep::Sweep(const QVPoints& vertices)
    : vertices_(vertices), cut_(Below{this}), places_(vertices.size()) {
    for (std::size_t i = 0; i < vertices.size(); ++i) {
        const Point &a = vertices[i], &b = vertices[(i + 1) % vertices.size()];
        edges_.push_back(before(a, b) ? Edge{a, b} : Edge{b, a});
    }
}

/// For two edges that the line cuts. Of two in line it does not matter.
bool Sweep::isBelow(std::size_t a, std::size_t b) const {
    if (a == b) return false;
    const Edge &first = edges_[a], &second = edges_[b];
    const bool later = before(second.from, first.from);
    const Edge& whole = later ? second : first;
    const Edge& begun = later ? first : second;
    int side = sign(qvSide(whole.from, whole.to, begun.from));
    if (side == 0) side = sign(qvSide(whole.from, whole.to, begun.to));
    if (side == 0) return a < b;
    return later ? side < 0 : side > 0;
}

/// Whether two edges have a point in common; for neighbours, one beside their vertex.
bool Sweep::meet(std::size_t a, std::size_t b) const {
    const Edge &first = edges_[a], &second = edges_[b];
    const int side1 = sign(qvSide(first.from, first.to, second.from));
    const int side2 = sign(qvSide(first.from, first.to, second.to));
    const int side3 = sign(qvSide(second.from, second.to, first.from));
    const int side4 = sign(qvSide(second.from, second.to, first.to));
    const std::size_t n = edges_.size();
    const bool neighbours = (a + 1) % n == b || (b + 1) % n == a;
    if (side1 == 0 && side2 == 0 && side3 == 0 && side4 == 0) {
        const Point& from = before(first.from, second.from) ? second.from : first.from;
        const Point& to = before(first.to, second.to) ? first.to : second.to;
        return neighbours ? before(from, to) : !before(to, from);
    }
    return !neighbours && side1 * side2 <= 0 && side3 * side4 <= 0;
}

/// True when the edge meets one of those beside it.
bool Sweep::begin(std::size_t edge) {
    const Cut::iterator place = places_[edge] = cut_.insert(edge).first;
    const Cut::iterator above = std::next(place);
    return (place != cut_.begin() && meet(*std::prev(place), edge)) ||
           (above != cut_.end() && meet(edge, *above));
}

/// True when those that now stand side by side meet.
bool Sweep::end(std::size_t edge) {
    const Cut::iterator above = cut_.erase(places_[edge]);
    return above != cut_.begin() && above != cut_.end() && meet(*std::prev(above), *above);
}

bool Sweep::findsMeeting() {
    const std::size_t n = vertices_.size();
    std::vector<std::size_t> order(n);
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::sort(order.begin(), order.end(),
              [&](std::size_t a, std::size_t b) { return before(vertices_[a], vertices_[b]); });
    for (std::size_t i = 1; i < n; ++i) {
        if (vertices_[order[i]] == vertices_[order[i - 1]]) return true;
    }
    for (const std::size_t vertex : order) {
        const std::size_t edges[] = {vertex ? vertex - 1 : n - 1, vertex};
        for (const std::size_t edge : edges) {
            if (edges_[edge].to == vertices_[vertex] && end(edge)) return true;
        }
        for (const std::size_t edge : edges) {
            if (edges_[edge].from == vertices_[vertex] && begin(edge)) return true;
        }
    }
    return false;
}

}  // namespace

bool qvIsSimplePolygon(const QVPoints& vertices) {
    const bool finite = std::all_of(vertices.begin(), vertices.end(), [](const Point& p) {
        return std::isfinite(p.x) && std::isfinite(p.y);
    });
    return finite && vertices.size() >= 3 && !Sweep(vertices).findsMeeting();
}
