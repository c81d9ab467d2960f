#include "tesk_octree/Octree.h"

#include "sortMT.h"
#include "tesk_locate3/GSS_HC3.h"
#include "zanAssert.h"

#include <algorithm>
#include <cmath>

namespace TESK_ZAN
{

namespace
{

constexpr std::uint32_t LEAF_SIZE = 12; // below it a node costs more than the points that it saves

} // namespace

Octree::Octree(const std::vector<Point3>& vPoints, const std::vector<std::uint32_t>& vLabels)
{
    zanAssert(vPoints.size() < NONE);
    zanAssert(vLabels.empty() || vLabels.size() == vPoints.size());
    if (vPoints.empty())
        return;
    vEntries.resize(vPoints.size());
    Box3 box;
    for (std::uint32_t i = 0; i < vPoints.size(); ++i) {
        const Point3& p = vPoints[i];
        zanAssert(p.isFinite());
        vEntries[i] = {p.x(), p.y(), p.z(), i, vLabels.empty() ? 0 : vLabels[i]};
        box.add(p);
    }
    vNodes.reserve(vPoints.size() / 3 + 1);
    Node root;
    root.box = box;
    root.stop = static_cast<std::uint32_t>(vPoints.size());
    vNodes.push_back(root);
    build(0);
}

// Sorts the entries of a node along a curve in its box, and parts them into octants.
void Octree::build(std::uint32_t node)
{
    const std::uint32_t first = vNodes[node].first, stop = vNodes[node].stop;
    Keys vKeys;
    if (stop - first > LEAF_SIZE)
        sortAlongCurve(vNodes[node].box, first, stop, vKeys);
    if (vKeys.empty() || vKeys.front().first == vKeys.back().first)
        close(node); // few points, or all in one place
    else
        split(node, vKeys, first, BIT_LENGTH / 3);
}

void Octree::sortAlongCurve(const Box3& box, std::uint32_t first, std::uint32_t stop, Keys& vKeys)
{
    const GSS_HC3 curve(box, BIT_LENGTH);
    vKeys.resize(stop - first);
    forRangeMT(vKeys.size(), [&](size_t begin, size_t end) {
        for (size_t i = begin; i < end; ++i)
            vKeys[i] = {curve.getKey(vEntries[first + i].getPoint()), first + static_cast<std::uint32_t>(i)};
    });
    // Positions ascend with indices: in the input, and in one cell of the curve before this one. So equal
    // keys stay in the order of the input.
    sortMT(vKeys.begin(), vKeys.end());
    std::vector<Entry> vSorted(vKeys.size());
    forRangeMT(vKeys.size(), [&](size_t begin, size_t end) {
        for (size_t i = begin; i < end; ++i)
            vSorted[i] = vEntries[vKeys[i].second];
    });
    std::copy(vSorted.begin(), vSorted.end(), vEntries.begin() + first);
}

// The children of a node whose points differ in place, by the next three bits of the places that are not all
// alike. Place i of vKeys is of entry firstKey + i; numLevels levels of the curve are left below the node.
void Octree::split(std::uint32_t node, const Keys& vKeys, std::uint32_t firstKey, int numLevels)
{
    const std::uint32_t first = vNodes[node].first, stop = vNodes[node].stop;
    const auto octantOf = [&](std::uint32_t entry) {
        return vKeys[entry - firstKey].first >> (3 * numLevels);
    };
    do
        --numLevels;
    while (octantOf(first) == octantOf(stop - 1));

    const std::uint32_t firstChild = static_cast<std::uint32_t>(vNodes.size());
    for (std::uint32_t begin = first; begin < stop;) {
        Node child;
        child.first = begin;
        const u64 octant = octantOf(begin);
        for (; begin < stop && octantOf(begin) == octant; ++begin)
            child.box.add(vEntries[begin].getPoint());
        child.stop = begin;
        vNodes.push_back(child);
    }
    const std::uint32_t numChildren = static_cast<std::uint32_t>(vNodes.size()) - firstChild;
    vNodes[node].firstChild = firstChild;
    vNodes[node].numChildren = numChildren;
    for (std::uint32_t child = firstChild; child < firstChild + numChildren; ++child) {
        const std::uint32_t begin = vNodes[child].first, last = vNodes[child].stop - 1;
        if (last - begin < LEAF_SIZE)
            close(child);
        else if (vKeys[begin - firstKey].first == vKeys[last - firstKey].first)
            build(child); // one cell of this curve
        else
            split(child, vKeys, firstKey, numLevels);
    }
    for (std::uint32_t child = firstChild; child < firstChild + numChildren; ++child) {
        vNodes[node].minLabel = std::min(vNodes[node].minLabel, vNodes[child].minLabel);
        vNodes[node].maxLabel = std::max(vNodes[node].maxLabel, vNodes[child].maxLabel);
    }
}

// A leaf; its labels are looked up here.
void Octree::close(std::uint32_t node)
{
    Node& leaf = vNodes[node];
    for (std::uint32_t i = leaf.first; i < leaf.stop; ++i) {
        leaf.minLabel = std::min(leaf.minLabel, vEntries[i].label);
        leaf.maxLabel = std::max(leaf.maxLabel, vEntries[i].label);
    }
}

} // namespace TESK_ZAN
