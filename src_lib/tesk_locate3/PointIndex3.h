// Subsystem: volumes. Builds on: Octree. Used by: Filler, BridgeRims.
// Items of any kind by their place: the items near a point, the nearest one of another class.
#pragma once

#include "tesk_octree/Octree.h"

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace TESK_ZAN
{

// add all, build once, then ask, from any thread. Item is copyable: a pointer or a number as a rule.
template <class Item>
class PointIndex3
{
public:
    void reserve(std::size_t num)
    {
        vItems.reserve(num);
        vPoints.reserve(num);
        vLabels.reserve(num);
    }

    // label: a class of items, such as an owner's number, that getNearestOther can pass over; below
    // Octree::NO_LABEL.
    void add(const Point3& place, const Item& item, std::uint32_t label = 0)
    {
        vItems.push_back(item);
        vPoints.push_back(place);
        vLabels.push_back(label);
    }

    void build()
    {
        octree = Octree(vPoints, vLabels);
        vPoints = {};
        vLabels = {};
    }

    std::size_t size() const { return vItems.size(); }

    // Replaces vHits by the items within the radius, its rim included, with their squared distances; in an
    // order that depends on the items alone. Give the same vector again and again: it keeps its room.
    void getInRadius(const Point3& centre, double radius, std::vector<std::pair<double, Item>>& vHits) const
    {
        vHits.clear();
        octree.forEachInRadius(centre, radius, [&](const Octree::Hit& hit) {
            vHits.emplace_back(hit.sqDist, vItems[hit.index]);
        });
    }

    // The nearest item of another label within maxSqDist for which accept(squared distance, item) is true; of
    // equally near ones that which was added first. False if there is none.
    template <class F>
    bool getNearestOther(const Point3& centre, double maxSqDist, std::uint32_t ownLabel, const F& accept,
                         std::pair<double, Item>& nearest) const
    {
        Octree::Hit hit;
        const bool bFound = octree.findNearest(
            centre, maxSqDist, ownLabel,
            [&](const Octree::Hit& candidate) { return accept(candidate.sqDist, vItems[candidate.index]); },
            hit);
        if (bFound)
            nearest = {hit.sqDist, vItems[hit.index]};
        return bFound;
    }

private:
    std::vector<Item> vItems;
    std::vector<Point3> vPoints; // until build
    std::vector<std::uint32_t> vLabels;
    Octree octree;
};

} // namespace TESK_ZAN
