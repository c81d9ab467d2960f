#include "BridgeRims.h"

#include "Calc.h"
#include "Component.h"
#include "sortMT.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>

namespace TESK_ZAN
{

namespace
{

constexpr int REACH = 4; // in cells: how far round a border cell its sheet is looked at
// Of the distance to the mean of the sheet round a cell on a straight rim, which is 0.42 of the reach: a cell
// with less has sheet on all sides, as along a crack that is narrower than a cell.
constexpr double MIN_SHARE = 0.4;
constexpr double STRAIGHT_RIM = 0.42 * REACH;
constexpr double MIN_EXCESS = 0.85;

// The cells of one sheet with their points.
class Sheet
{
public:
    Sheet(const Component& component, const CellPoints& vCells, double cellSize_)
        : vRCD(component.getAllRCD()), cellSize(cellSize_)
    {
        transformMT(vRCD, vPoints, [&](u64 rcd) {
            return std::lower_bound(vCells.begin(), vCells.end(), rcd,
                                    [](const auto& entry, u64 code) { return entry.first < code; })
                ->second;
        });
    }

    // The way out of the sheet at one of its cells, from the mean of the points round it; none in its middle.
    std::optional<Vector3> getOutward(u64 rcd) const
    {
        const Point3 here = vPoints[static_cast<size_t>(find(rcd) - vRCD.begin())];
        Vector3 sum;
        int num = 0;
        for (int dx = -REACH; dx <= REACH; ++dx)
            for (int dy = -REACH; dy <= REACH; ++dy) {
                const int rest = REACH * REACH - dx * dx - dy * dy;
                if (rest < 0)
                    continue;
                // A run along z is one piece of the sorted codes.
                const u64 column =
                    rcd + static_cast<u64>(dx) * RCD_STEP_X + static_cast<u64>(dy) * RCD_STEP_Y;
                const u64 maxDz = static_cast<u64>(std::sqrt(rest));
                for (auto it = find(column - maxDz); it != vRCD.end() && *it <= column + maxDz; ++it, ++num)
                    sum += vPoints[static_cast<size_t>(it - vRCD.begin())] - here;
            }
        const double length = sum.length() / cellSize;
        if (length < MIN_SHARE * STRAIGHT_RIM * num)
            return std::nullopt;
        return normalize(-1.0 * sum);
    }

private:
    std::vector<u64>::const_iterator find(u64 rcd) const
    {
        return std::lower_bound(vRCD.begin(), vRCD.end(), rcd);
    }

    const std::vector<u64>& vRCD;
    double cellSize;
    std::vector<Point3> vPoints; // parallel to vRCD
};

} // namespace

BridgeRims::BridgeRims(const std::vector<const Component*>& vComponents, const CellPoints& vCells,
                       const Calc& calc, double maxGap_)
    : maxGap(maxGap_)
{
    for (const Component* pComponent : vComponents) {
        const std::vector<u64>& vBorderRCD = pComponent->getBorderRCD();
        const Sheet sheet(*pComponent, vCells, calc.getCellSize());
        std::vector<std::optional<Vector3>> vOutward;
        transformMT(vBorderRCD, vOutward, [&](u64 rcd) { return sheet.getOutward(rcd); });
        for (size_t i = 0; i < vBorderRCD.size(); ++i)
            if (vOutward[i]) {
                const Point3 place = latticePoint(vBorderRCD[i]);
                rimIndex.add(place, {place, *vOutward[i]});
            }
    }
    rimIndex.build();
}

// Of the nearest rims, within a cell of distance, the one that points best at the cell: beside a rim the ways
// to its single cells differ by much. Null for none.
const BridgeRims::Sight* BridgeRims::nearestOf(const std::vector<Sight>& vSights)
{
    double minDist = std::numeric_limits<double>::max();
    for (const Sight& sight : vSights)
        minDist = std::min(minDist, sight.dist);
    const Sight* pBest = nullptr;
    for (const Sight& sight : vSights)
        if (sight.dist <= minDist + 1.0 && (pBest == nullptr || sight.cosine > pBest->cosine))
            pBest = &sight;
    return pBest;
}

std::optional<Point3> BridgeRims::findFarRim(u64 rcd) const
{
    const Point3 place = latticePoint(rcd);
    std::vector<std::pair<double, Rim>> vHits;
    rimIndex.getInRadius(place, maxGap, vHits);
    std::vector<Sight> vBefore; // rims that the cell is before
    for (const auto& [sqDist, rim] : vHits) {
        const double dist = std::max(std::sqrt(sqDist), 1.0); // a cell of a rim itself is in no gap
        const Vector3 toRim = (rim.place - place) / dist;
        const double cosine = -1.0 * (toRim * rim.outward);
        if (cosine > 0.0)
            vBefore.push_back({dist, cosine, toRim});
    }
    const Sight* pNear = nearestOf(vBefore);
    const Sight* pFar = nullptr;
    for (const Sight& far : vBefore) {
        if (far.dist + pNear->dist > maxGap || (pFar != nullptr && far.dist >= pFar->dist))
            continue;
        // 2 * cos(a / 2), from cos(a).
        const double facing = std::sqrt(std::max(2.0 + 2.0 * (far.toRim * pNear->toRim), 0.0));
        if (far.cosine + pNear->cosine - facing >= MIN_EXCESS)
            pFar = &far;
    }
    if (pFar == nullptr)
        return std::nullopt;
    return place + pFar->toRim * pFar->dist;
}

} // namespace TESK_ZAN
