#include "gapBridging.h"

#include "BridgeRims.h"
#include "Calc.h"
#include "CellBitSet.h"
#include "Filler.h"
#include "RCDMatrix.h"
#include "bridgeEvening.h"
#include "freeFunctions.h"
#include "messages.h"
#include "numberText.h"
#include "sortMT.h"
#include "stageTrace.h"

#include <algorithm>
#include <optional>
#include <string>

namespace TESK_ZAN
{

namespace
{

// The cells of vCells that are at a border, and the others.
void splitCells(const CellPoints& vCells, const std::vector<u64>& vBorderCCD, std::vector<u64>& vBorderRCD,
                std::vector<u64>& vAreaRCD)
{
    std::vector<u64> vCodes;
    transformMT(vBorderCCD, vCodes, &Calc::ccdToRCD);
    sortMT(vCodes.begin(), vCodes.end());
    for (const auto& [rcd, point] : vCells)
        (std::binary_search(vCodes.begin(), vCodes.end(), rcd) ? vBorderRCD : vAreaRCD).push_back(rcd);
}

// Values in the field round the rims: about two gigabytes for each ten millions.
constexpr double MAX_FIELD = 5e7;

// The cells within the grow steps of the rims, as tubes round them and a ball at their ends.
double fieldSize(size_t numBorder, double numSteps)
{
    return 3.0 * static_cast<double>(numBorder) * numSteps * numSteps + 4.0 * numSteps * numSteps * numSteps;
}

// False after a warning where the field would be too large.
bool isAffordable(size_t numBorder, int numGrowSteps)
{
    if (fieldSize(numBorder, numGrowSteps) <= MAX_FIELD)
        return true;
    int numSteps = 0;
    while (fieldSize(numBorder, numSteps + 1) <= MAX_FIELD)
        ++numSteps;
    ZAN_WARNING("no gap is bridged: " + std::to_string(numGrowSteps) + " grow steps from " +
                std::to_string(numBorder) + " cells along rims take about " +
                numberToText(fieldSize(numBorder, numGrowSteps)) + " values; use at most " +
                std::to_string(numSteps) + " steps");
    return false;
}

u64 nearestCell(const Point3& place)
{
    return xyzToRCD(truncateToCoord(place.x() + 0.5), truncateToCoord(place.y() + 0.5),
                    truncateToCoord(place.z() + 0.5));
}

// A new cell and the rim opposite to the one that is nearest to it.
struct Bridge {
    u64 rcd;
    Point3 far; // in cells
};

// Keeps grown cells inside the box of the surface's points, so that the grid of whoever makes a mesh of all
// points is the one of the surface alone: on another grid a cloud of one point a cell has empty cells. What
// is up to a cell outside moves to the wall, if there is room.
void keepInBox(const CellPoints& vCells, const Calc* pCalc, CellPoints& vGrown)
{
    Box3 box;
    for (const auto& [rcd, point] : vCells)
        box.add(point);
    const double maxSqMove = pCalc->getCellSize() * pCalc->getCellSize();
    for (auto& [rcd, point] : vGrown) {
        const Point3 inside = box.nearestTo(point);
        const bool bNear = sqDistance(inside, point) <= maxSqMove;
        rcd = bNear ? pCalc->getRCD(&inside) : FAILED_CODE;
        point = inside;
    }
    std::erase_if(vGrown, [](const auto& entry) { return entry.first == FAILED_CODE; });
    sortMT(vGrown.begin(), vGrown.end());
    const auto sameCell = [](const auto& a, const auto& b) { return a.first == b.first; };
    vGrown.erase(std::unique(vGrown.begin(), vGrown.end(), sameCell), vGrown.end());
}

// Of the grown cells those that lie in gaps. In a gap that is wider in the middle, as a round hole, cells
// near its rim are between rims that are near enough though those in the middle are not: what does not go all
// the way to the far rim is no bridge, and taking it away can break others.
class BridgeSet
{
public:
    BridgeSet(const CellPoints& vCells, const CellPoints& vGrown, const BridgeRims& rims)
    {
        for (const auto& [rcd, point] : vCells)
            sCells.insert(rcd);
        std::vector<std::optional<Point3>> vFar;
        transformMT(vGrown, vFar, [&](const auto& entry) { return rims.findFarRim(entry.first); });
        for (size_t i = 0; i < vGrown.size(); ++i)
            if (vFar[i] && !sCells.contains(vGrown[i].first))
                vBridges.push_back({vGrown[i].first, *vFar[i]});
    }

    void dropBroken()
    {
        for (size_t numBefore = vBridges.size() + 1; vBridges.size() < numBefore;) {
            numBefore = vBridges.size();
            sBridges = CellBitSet();
            for (const Bridge& bridge : vBridges)
                sBridges.insert(bridge.rcd);
            vBridges = selectMT(vBridges, [this](const Bridge& bridge) { return isWhole(bridge); });
        }
    }

    // The bridges, and those of the grown cells that close the seam where a bridge meets the surface.
    CellPoints select(const CellPoints& vGrown) const
    {
        return selectMT(vGrown, [this](const std::pair<u64, Point3>& entry) {
            const u64 rcd = entry.first;
            return !sCells.contains(rcd) &&
                   (sBridges.contains(rcd) || (isNear(sCells, rcd) && isNear(sBridges, rcd)));
        });
    }

    // Takes away what has got into cells of the surface.
    void dropTaken(CellPoints& vPoints) const
    {
        std::erase_if(vPoints, [this](const auto& entry) { return sCells.contains(entry.first); });
    }

private:
    // True if there are cells along the straight way to the far rim, beside it at the most.
    bool isWhole(const Bridge& bridge) const
    {
        const Point3 start = latticePoint(bridge.rcd);
        const Vector3 way = bridge.far - start;
        const int numSteps = static_cast<int>(way.length());
        for (int step = 1; step < numSteps; ++step)
            if (const u64 rcd = nearestCell(start + way * (static_cast<double>(step) / numSteps));
                !isNear(sCells, rcd) && !isNear(sBridges, rcd))
                return false;
        return true;
    }

    static bool isNear(const CellBitSet& sSet, u64 rcd)
    {
        return std::any_of(RCD_OFFSETS_27.begin(), RCD_OFFSETS_27.end(),
                           [&](u64 offset) { return sSet.contains(rcd + offset); });
    }

    CellBitSet sCells; // of the surface
    CellBitSet sBridges;
    std::vector<Bridge> vBridges;
};

} // namespace

void bridgeGaps(int numGrowSteps, const CellPoints& vCells, const std::vector<u64>& vBorderCCD,
                const Calc* pCalc, CellPoints& vBridges)
{
    std::vector<u64> vBorderRCD, vAreaRCD;
    splitCells(vCells, vBorderCCD, vBorderRCD, vAreaRCD);
    vBridges.clear();
    if (vBorderRCD.empty() || !isAffordable(vBorderRCD.size(), numGrowSteps))
        return;
    Filler filler(numGrowSteps, vBorderRCD, vAreaRCD, vCells, pCalc);
    CellPoints vGrown;
    std::vector<std::pair<u64, int>> vAffilEdges;
    filler.run(vGrown, vAffilEdges);

    const StageTimer stage("FI_bridges");
    std::vector<const Component*> vComponents;
    for (const auto& pComponent : filler.getComponents())
        vComponents.push_back(pComponent.get());
    const BridgeRims rims(vComponents, vCells, *pCalc, Filler::affiliationRadius(numGrowSteps));
    keepInBox(vCells, pCalc, vGrown);
    BridgeSet bridges(vCells, vGrown, rims);
    bridges.dropBroken();
    vBridges = bridges.select(vGrown);
    evenBridges(vCells, pCalc->getCellSize(), vBridges);
    keepInBox(vCells, pCalc, vBridges);
    bridges.dropTaken(vBridges);
}

} // namespace TESK_ZAN
