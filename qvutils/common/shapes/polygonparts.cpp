#include "qvutils/common/shapes/polygonparts.h"

#include <algorithm>
#include <cmath>
#include <random>
#include <utility>
#include <vector>

#include "qvutils/common/shapes/simplepolygon.h"

namespace {

using Point = PointT<double>;

/// Where edge number `other` crosses, `part` of the way along an edge.
struct Crossing {
    double part;
    std::size_t other;
    std::size_t node;
    int turns;  ///< by how many the line winds more often around what comes behind it
};

/// The line, cut at its crossings into pieces. Those that it does not wind around on their right,
/// and once on their left, make up the edge. Vertices are moved by much less than they are exact,
/// so that no three edges meet and none lie upon each other; where they are in the result does not
/// change.
class CrossingLine {
public:
    CrossingLine(const QVPoints& line, double size);
    /// The outlines of the parts, counter-clockwise, and of the holes, clockwise. An empty one when
    /// rounding has left one open.
    std::vector<QVPoints> outlines();

private:
    const Point& end(std::size_t edge) const { return moved_[(edge + 1) % moved_.size()]; }
    void cross(std::size_t a, std::size_t b);
    int turnsAt(std::size_t lowest) const;
    void follow(std::size_t edge, int& turns);

    const QVPoints& line_;
    double size_;
    QVPoints moved_;
    QVPoints nodes_;  ///< first the vertices, then the crossings
    std::vector<std::vector<Crossing>> crossings_;
    std::vector<std::size_t> next_;  ///< the node after a node on the edge, or none
    static constexpr std::size_t none = static_cast<std::size_t>(-1);
};

CrossingLine::CrossingLine(const QVPoints& line, double size)
    : line_(line), size_(size), moved_(line), nodes_(line), crossings_(line.size()) {
    std::minstd_rand generator(1);  // the same one each time, so that the answer is the same too
    std::uniform_real_distribution<double> little(-1e-10 * size, 1e-10 * size);
    for (Point& p : moved_) p = {p.x + little(generator), p.y + little(generator)};
    for (std::size_t i = 0; i < moved_.size(); ++i) {
        for (std::size_t j = i + 2; j < moved_.size() - (i == 0); ++j) cross(i, j);
    }
    next_.assign(nodes_.size(), none);
}

void CrossingLine::cross(std::size_t a, std::size_t b) {
    const Point &p = moved_[a], &q = moved_[b];
    const bool fromLeft = qvSide(q, end(b), p) > 0;
    if (fromLeft == (qvSide(q, end(b), end(a)) > 0)) return;
    if ((qvSide(p, end(a), q) > 0) == (qvSide(p, end(a), end(b)) > 0)) return;
    const auto meeting = [](const Point& from, const Point& to, const Point& from2,
                            const Point& to2) {
        const Point u{to.x - from.x, to.y - from.y}, v{to2.x - from2.x, to2.y - from2.y};
        const double part =
            ((from2.x - from.x) * v.y - (from2.y - from.y) * v.x) / (u.x * v.y - u.y * v.x);
        return std::pair(part, Point{from.x + part * u.x, from.y + part * u.y});
    };
    const auto [partOfA, place] = meeting(p, end(a), q, end(b));
    const double partOfB = meeting(q, end(b), p, end(a)).first;
    const std::size_t n = line_.size();
    const Point exact = meeting(line_[a], line_[(a + 1) % n], line_[b], line_[(b + 1) % n]).second;
    // Not those of edges that lie upon each other.
    const bool isNear = std::hypot(exact.x - place.x, exact.y - place.y) < 1e-6 * size_;
    crossings_[a].push_back({partOfA, b, nodes_.size(), fromLeft ? -1 : 1});
    crossings_[b].push_back({partOfB, a, nodes_.size(), fromLeft ? 1 : -1});
    nodes_.push_back(isNear ? exact : place);
}

/// How often the line winds around what is on the right of it at its lowest vertex: below that is
/// the outside.
int CrossingLine::turnsAt(std::size_t lowest) const {
    const Point& before = moved_[lowest ? lowest - 1 : moved_.size() - 1];
    return qvSide(before, moved_[lowest], end(lowest)) > 0 ? 0 : -1;
}

/// `turns` is what the line winds around on the right of the edge, at first at its beginning.
void CrossingLine::follow(std::size_t edge, int& turns) {
    std::vector<Crossing>& crossings = crossings_[edge];
    std::sort(crossings.begin(), crossings.end(),
              [](const Crossing& a, const Crossing& b) { return a.part < b.part; });
    std::size_t node = edge;
    for (const Crossing& crossing : crossings) {
        if (turns == 0) next_[node] = crossing.node;
        node = crossing.node;
        turns += crossing.turns;
    }
    if (turns == 0) next_[node] = (edge + 1) % line_.size();
}

std::vector<QVPoints> CrossingLine::outlines() {
    const auto lowest = static_cast<std::size_t>(
        std::min_element(moved_.begin(), moved_.end(),
                         [](const Point& a, const Point& b) { return a.y < b.y; }) -
        moved_.begin());
    int turns = turnsAt(lowest);
    for (std::size_t i = 0; i < line_.size(); ++i) follow((lowest + i) % line_.size(), turns);
    std::vector<QVPoints> all;
    for (std::size_t start = 0; start < next_.size(); ++start) {
        QVPoints outline;
        std::size_t node = start;
        while (next_[node] != none) {
            outline.push_back(nodes_[node]);
            node = std::exchange(next_[node], none);
        }
        if (node != start) return {{}};
        if (!outline.empty()) all.push_back(std::move(outline));
    }
    return all;
}

/// Without the vertices at which the outline goes straight on.
QVPoints withoutStraightVertices(const QVPoints& vertices, double rounding) {
    QVPoints kept;
    const std::size_t n = vertices.size();
    for (std::size_t i = 0; i < n; ++i) {
        const Point& before = kept.empty() ? vertices[n - 1] : kept.back();
        const Point& after = vertices[(i + 1) % n];
        if (qvDistanceToSegment(before, after, vertices[i]) > rounding) kept.push_back(vertices[i]);
    }
    return kept;
}

}  // namespace

const char* qvOutlineOf(QVPoints& line, double size) {
    if (line.size() > mostLineVertices) return "it would fall into parts or have a hole";
    const double least = 1e-9 * size * size;
    QVPoints outline;
    bool hasHole = false;
    for (QVPoints& part : CrossingLine(line, size).outlines()) {
        if (part.empty()) return "what it becomes cannot be made out";
        const double area = qvSignedArea(part);
        hasHole = hasHole || area < -least;
        if (area < least) continue;
        if (!outline.empty()) return "it would fall into parts";
        outline = std::move(part);
    }
    if (outline.empty()) return "nothing would be left";
    if (hasHole) return "it would have a hole";
    outline = withoutStraightVertices(outline, 1e-9 * size);
    if (outline.size() < 3 || !qvIsSimplePolygon(outline))
        return "its edges would cross or touch each other";
    line = std::move(outline);
    return nullptr;
}
