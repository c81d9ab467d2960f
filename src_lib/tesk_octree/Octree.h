// Subsystem: volumes. Builds on: GSS_HC3, Box3, sortMT. Used by: PointIndex3.
// A tree over a fixed set of points: octants on octants, stored in the order of a Hilbert curve, so that what
// a query visits lies together in memory.
#pragma once

#include "Point3.h"
#include "definitions.h"
#include "tesk_octree/Box3.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <utility>
#include <vector>

namespace TESK_ZAN
{

// Immutable once built, safe to read from all threads. 32 bytes a point and about 20 for its share of the
// nodes.
//
// A node holds a piece of the curve and the tight box of its points. Below the last level of the curve a
// crowded node gets a curve of its own in its box, so neither an outlier nor a cluster makes long leaves;
// only points in one place share a leaf without limit. Octants that hold all points of the one above have no
// node, so there are fewer nodes than points.
class Octree
{
public:
    struct Hit {
        double sqDist;
        std::uint32_t index; // of the point in the input
    };

    Octree() = default; // of no points

    // Coordinates are finite, points may coincide, at most 2^32 - 2 of them: else a failed condition. vLabels
    // is empty or has a label for each point: a class of which a query can pass over all points. O(n log n),
    // on all threads.
    explicit Octree(const std::vector<Point3>& vPoints, const std::vector<std::uint32_t>& vLabels = {});

    std::size_t size() const { return vEntries.size(); }

    // Calls f(Hit) for every point with a squared distance of at most radius * radius; in the order of the
    // tree, which depends on the points alone.
    template <class F>
    void forEachInRadius(const Point3& centre, double radius, const F& f) const
    {
        if (!vNodes.empty())
            visit(0, centre, radius * radius, f);
    }

    // The nearest point of another label than ownLabel that accept(Hit) agrees to, within maxSqDist; of equal
    // distances the lowest index. False if there is none. NO_LABEL as ownLabel passes over no point.
    template <class F>
    bool findNearest(const Point3& centre, double maxSqDist, std::uint32_t ownLabel, const F& accept,
                     Hit& hit) const
    {
        hit = {maxSqDist, NONE};
        if (!vNodes.empty() && !vNodes[0].isAllOf(ownLabel))
            approach(0, centre, ownLabel, accept, hit);
        return hit.index != NONE;
    }

    static constexpr std::uint32_t NO_LABEL = std::numeric_limits<std::uint32_t>::max();

private:
    struct Entry {
        double x, y, z;
        std::uint32_t index;
        std::uint32_t label;

        Point3 getPoint() const { return Point3(x, y, z); }
        double sqDistanceTo(const Point3& p) const
        {
            const double dx = x - p.x(), dy = y - p.y(), dz = z - p.z();
            return dx * dx + dy * dy + dz * dz;
        }
    };

    struct Node {
        Box3 box;
        std::uint32_t first = 0; // entries [first, stop)
        std::uint32_t stop = 0;
        std::uint32_t firstChild = 0; // children lie side by side
        std::uint32_t numChildren = 0;
        std::uint32_t minLabel = NO_LABEL;
        std::uint32_t maxLabel = 0;

        bool isAllOf(std::uint32_t label) const { return minLabel == label && maxLabel == label; }
    };

    using Keys = std::vector<std::pair<u64, std::uint32_t>>; // place on the curve, position before

    static constexpr std::uint32_t NONE = std::numeric_limits<std::uint32_t>::max();
    static constexpr int BIT_LENGTH = 27; // 512 cells along an axis

    void build(std::uint32_t node);
    void sortAlongCurve(const Box3& box, std::uint32_t first, std::uint32_t stop, Keys& vKeys);
    void split(std::uint32_t node, const Keys& vKeys, std::uint32_t firstKey, int numLevels);
    void close(std::uint32_t node);

    template <class F>
    void visit(std::uint32_t node, const Point3& centre, double maxSqDist, const F& f) const;
    template <class F>
    void approach(std::uint32_t node, const Point3& centre, std::uint32_t ownLabel, const F& accept,
                  Hit& best) const;

    std::vector<Entry> vEntries; // along the curve
    std::vector<Node> vNodes;    // the root first
};

template <class F>
void Octree::visit(std::uint32_t node, const Point3& centre, double maxSqDist, const F& f) const
{
    const Node& here = vNodes[node];
    if (here.box.sqDistanceTo(centre) > maxSqDist)
        return;
    for (std::uint32_t child = 0; child < here.numChildren; ++child)
        visit(here.firstChild + child, centre, maxSqDist, f);
    if (here.numChildren > 0)
        return;
    for (std::uint32_t i = here.first; i < here.stop; ++i) {
        const double sqDist = vEntries[i].sqDistanceTo(centre);
        if (sqDist <= maxSqDist)
            f(Hit{sqDist, vEntries[i].index});
    }
}

// Nearest children first: they shrink the sphere for the others.
template <class F>
void Octree::approach(std::uint32_t node, const Point3& centre, std::uint32_t ownLabel, const F& accept,
                      Hit& best) const
{
    const Node& here = vNodes[node];
    if (here.numChildren == 0) {
        for (std::uint32_t i = here.first; i < here.stop; ++i) {
            const Hit hit{vEntries[i].sqDistanceTo(centre), vEntries[i].index};
            const bool bNearer =
                hit.sqDist < best.sqDist || (hit.sqDist == best.sqDist && hit.index < best.index);
            if (bNearer && (vEntries[i].label != ownLabel || ownLabel == NO_LABEL) && accept(hit))
                best = hit;
        }
        return;
    }
    std::pair<double, std::uint32_t> order[8]; // ascending
    std::uint32_t num = 0;
    for (std::uint32_t child = here.firstChild; child < here.firstChild + here.numChildren; ++child) {
        if (ownLabel != NO_LABEL && vNodes[child].isAllOf(ownLabel))
            continue;
        const std::pair<double, std::uint32_t> entry(vNodes[child].box.sqDistanceTo(centre), child);
        std::uint32_t place = num++;
        for (; place > 0 && entry < order[place - 1]; --place)
            order[place] = order[place - 1];
        order[place] = entry;
    }
    for (std::uint32_t i = 0; i < num && order[i].first <= best.sqDist; ++i)
        approach(order[i].second, centre, ownLabel, accept, best);
}

} // namespace TESK_ZAN
