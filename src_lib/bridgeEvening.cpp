#include "bridgeEvening.h"

#include "HoleTrend.h"
#include "freeFunctions.h"
#include "sortMT.h"
#include "tesk_locate3/PointIndex3.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace TESK_ZAN
{

namespace
{

using Index = PointIndex3<const Point3*>;

// How far a point looks around: to the surface and this many cells further, so that it sees how the surface
// comes to its end. Far from it the points next to it must do.
constexpr double MARGIN_CELLS = 3.5;
constexpr double MAX_CELLS = 8.0;

// A round carries the trend of the surface over some cells: after this many, gaps of ten cells are even.
constexpr int NUM_ROUNDS = 16;

Index indexOf(const CellPoints& vCells)
{
    Index index;
    index.reserve(vCells.size());
    for (const auto& [rcd, point] : vCells)
        index.add(point, &point);
    index.build();
    return index;
}

double reachOf(const Point3& point, double cellSize, const Index& surface)
{
    constexpr std::uint32_t NO_OWN_LABEL = 1; // theirs is 0
    const double maxDist = MAX_CELLS * cellSize;
    std::pair<double, const Point3*> nearest;
    const auto acceptAll = [](double, const Point3*) { return true; };
    if (!surface.getNearestOther(point, maxDist * maxDist, NO_OWN_LABEL, acceptAll, nearest))
        return maxDist;
    return std::min(maxDist, std::sqrt(nearest.first) + MARGIN_CELLS * cellSize);
}

// The place of the point on the trend of all points near it.
Point3 onTrendAround(const Point3& point, double reach, const Index& surface, const Index& bridges)
{
    std::vector<std::pair<double, const Point3*>> vHits;
    std::vector<Point3> vNear;
    for (const Index* pIndex : {&surface, &bridges}) {
        pIndex->getInRadius(point, reach, vHits);
        for (const auto& [sqDist, pHit] : vHits)
            vNear.push_back(*pHit);
    }
    std::vector<Point3*> vPoints;
    for (Point3& near : vNear)
        vPoints.push_back(&near);
    Vector3 normal;
    Point3 centroid;
    if (!estimateNNV(vPoints, normal, centroid))
        return point;
    const HoleTrend trend(vPoints, {normal});
    return point - normal * (trend.isValid() ? trend.signedDistance(point) : (point - centroid) * normal);
}

} // namespace

void evenBridges(const CellPoints& vCells, double cellSize, CellPoints& vBridges)
{
    const Index surface = indexOf(vCells);
    std::vector<double> vReach;
    transformMT(vBridges, vReach,
                [&](const auto& entry) { return reachOf(entry.second, cellSize, surface); });
    for (int round = 0; round < NUM_ROUNDS; ++round) {
        const CellPoints vBefore = vBridges;
        const Index bridges = indexOf(vBefore);
        forRangeMT(vBridges.size(), [&](size_t begin, size_t end) {
            for (size_t i = begin; i < end; ++i)
                vBridges[i].second = onTrendAround(vBefore[i].second, vReach[i], surface, bridges);
        });
    }
}

} // namespace TESK_ZAN
