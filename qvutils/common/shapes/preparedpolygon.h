#pragma once
#include <cstdint>
#include <vector>

#include "qvutils/common/shapes/planegeometry.h"

/// A polygon made ready for many questions whether a point lies inside; the answers are those of
/// QVWindingCount, in about the square of log n steps instead of n.
///
/// The heights of the vertices cut the plane into slabs. A binary tree over the slabs keeps each
/// edge at the O(log n) nodes whose slabs it spans together; there the edges, which do not cross,
/// stand from left to right with the turns that those up to each make. The way from a slab to the
/// root meets every edge that spans it. Memory: n log n. Edges of a node that cross each other are
/// looked through one by one.
class PreparedPolygon {
public:
    explicit PreparedPolygon(QVPoints vertices);

    bool contains(const PointT<double>& point) const;

private:
    struct Edge {
        PointT<double> low;
        PointT<double> high;
        int direction;  ///< 1 upwards, -1 downwards
    };
    struct Entry {
        std::uint32_t edge;
        int turns;  ///< of the edges of the node up to this one
    };
    /// A stretch of a horizontal line that edges or vertices lie on.
    struct Stretch {
        double y;
        double left;
        double right;
    };

    void collectEdges();
    void collectStretches();
    void buildTree();
    void arrange(std::size_t node);
    bool standInOrder(const Entry* first, const Entry* last, double bottom, double top) const;
    std::size_t slabOf(double y) const;
    bool onStretch(const PointT<double>& point) const;
    template <class Visit>
    void forEachNodeOf(const Edge& edge, Visit visit) const;

    QVPoints vertices_;
    bool usable_ = true;  ///< all coordinates are finite
    RectT<double> rect_;
    std::vector<double> heights_;     ///< slab i reaches from heights_[i] to heights_[i + 1]
    std::vector<Edge> edges_;         ///< those that are not horizontal
    std::vector<Stretch> stretches_;  ///< by height, then from left to right; they do not overlap
    std::vector<std::uint32_t> buckets_;  ///< the slab at the bottom of equal parts of the height
    double bucketsPerHeight_ = 0;
    std::size_t leaves_ = 1;           ///< a power of two; leaf i is node leaves_ + i
    std::vector<std::size_t> starts_;  ///< of the entries of each node
    std::vector<Entry> entries_;
    std::vector<bool> ordered_;
};
