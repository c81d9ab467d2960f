// Component: the signed field of a master, from the strips along its rims to the corners round them.
#include "Calc.h"
#include "Component.h"
#include "FieldInflation.h"
#include "SheetCells.h"
#include "messages.h"
#include "tesk_tools/sortUnique.h"
#include "zanAssert.h"

#include <algorithm>
#include <cmath>
#include <iterator>

namespace TESK_ZAN
{

namespace
{

constexpr int LOWER = 0;
constexpr int UPPER = 1;
constexpr int NUM_STRIP_ROUNDS = 10;

std::vector<u64> cornersOf(const std::vector<Facet*>& vFacets)
{
    std::vector<u64> vRCC(4 * vFacets.size());
    for (size_t i = 0; i < vFacets.size(); ++i)
        vFacets[i]->getCorners(vRCC.data() + 4 * i);
    TESK_TOOLS::sortUnique(vRCC);
    return vRCC;
}

std::vector<u64> minus(const std::vector<u64>& vA, const std::vector<u64>& vB)
{
    std::vector<u64> vDifference;
    std::set_difference(vA.begin(), vA.end(), vB.begin(), vB.end(), std::back_inserter(vDifference));
    return vDifference;
}

} // namespace

bool Component::runForMasters(CellPoints& vResultPoints, std::vector<std::pair<u64, int>>& vAffilEdges)
{
    zanAssertText(numGrowSteps > 0, "numGrowSteps>0");
    assignFirstDistances();
    FieldInflation(*pCornerStore, spacing, numGrowSteps, fieldBox()).icn_inflateCtrlNew();
    icn_getZeroRCD(vResultPoints, vAffilEdges);
    return true;
}

// The box of the cells, wide enough for the grow steps. Corners at the ends of the lattice are left out: some
// of the cells round them would lie beyond it.
CornerBox Component::fieldBox() const
{
    constexpr int MARGIN = 30;
    const int margin = std::max(MARGIN, numGrowSteps + 2);
    const int numCells = 1 << pCalc->getNumLevels();
    CornerBox box = {{0x7fffffff, 0x7fffffff, 0x7fffffff}, {0, 0, 0}};
    for (const u64 rcd : vAllRCD) {
        int aXYZ[3];
        rcdToXYZ(rcd, aXYZ[0], aXYZ[1], aXYZ[2]);
        for (size_t i = 0; i < 3; ++i) {
            box.aMin[i] = std::min(box.aMin[i], aXYZ[i]);
            box.aMax[i] = std::max(box.aMax[i], aXYZ[i] + 1);
        }
    }
    for (size_t i = 0; i < 3; ++i) {
        zanAssert(vAllRCD.empty() || (box.aMin[i] > 0 && box.aMax[i] < numCells));
        box.aMin[i] = std::max(box.aMin[i] - margin, 1);
        box.aMax[i] = box.aMax[i] < numCells - margin ? box.aMax[i] + margin : numCells - 1;
    }
    return box;
}

void Component::assignFirstDistances()
{
    FacetPtrs vLowerStrip, vUpperStrip;
    getBorderStrip(LOWER, vLowerStrip, NUM_STRIP_ROUNDS);
    getBorderStrip(UPPER, vUpperStrip, NUM_STRIP_ROUNDS);
    createStripCorners(vLowerStrip, vUpperStrip);
    markBorderCorners();
    assignDistancesToSideStrip(vLowerStrip, -1.0f);
    assignDistancesToSideStrip(vUpperStrip, 1.0f);
}

// Appends the facets of one side that lie within numRounds steps of a cell that has a facet without a side.
void Component::getBorderStrip(int side, FacetPtrs& vStrip, int numRounds)
{
    std::vector<char> vInStrip(vVisibleFacets.size(), 0);
    const auto reach = [&](Facet* pFacet) {
        char& bInStrip = vInStrip[static_cast<size_t>(pFacet - vVisibleFacets.data())];
        if (pFacet->componentIndex == side && bInStrip == 0) {
            bInStrip = 1;
            vStrip.push_back(pFacet);
        }
    };
    for (const Facet& facet : vVisibleFacets) {
        if (facet.componentIndex >= 0)
            continue;
        const auto [pFirst, pEnd] = pCells->findFacets(facet.rcd);
        for (Facet* pFacet = pFirst; pFacet != pEnd; ++pFacet)
            reach(pFacet);
    }
    size_t begin = 0;
    for (int round = 0; round < numRounds; ++round) {
        const size_t end = vStrip.size();
        for (; begin < end; ++begin) {
            const std::array<Facet*, 4> aNeigs = vStrip[begin]->aNeigs;
            for (Facet* pNeig : aNeigs)
                reach(pNeig);
        }
    }
}

void Component::createStripCorners(const FacetPtrs& vLowerStrip, const FacetPtrs& vUpperStrip)
{
    const std::vector<u64> vLowerRCC = cornersOf(vLowerStrip);
    const std::vector<u64> vUpperRCC = cornersOf(vUpperStrip);
    std::vector<u64> vDualRCC;
    std::set_intersection(vLowerRCC.begin(), vLowerRCC.end(), vUpperRCC.begin(), vUpperRCC.end(),
                          std::back_inserter(vDualRCC));
    FacetPtrs vAllFacets;
    for (Facet& facet : vVisibleFacets)
        vAllFacets.push_back(&facet);
    const std::vector<u64> vNonStripRCC = minus(minus(cornersOf(vAllFacets), vLowerRCC), vUpperRCC);

    pCornerStore =
        std::make_unique<CornerStore>(pCalc, vNonStripRCC.size() + vLowerRCC.size() + vUpperRCC.size());
    const auto createAll = [this](const std::vector<u64>& vRCC, CornerState state) {
        for (const u64 rcc : vRCC) {
            Corner* pCorner = pCornerStore->createCorner(rcc);
            pCorner->state = state;
            if (pCorner->isNoEmitter())
                pCorner->val = 0.0f;
        }
    };
    createAll(vDualRCC, ST_DUAL_NO_EMITTER);
    createAll(minus(vLowerRCC, vDualRCC), ST_LOWER_AREA);
    createAll(minus(vUpperRCC, vDualRCC), ST_UPPER_AREA);
    createAll(vNonStripRCC, ST_AREA_NO_EMITTER);
}

void Component::markBorderCorners()
{
    for (const Facet& facet : vVisibleFacets) {
        if (facet.componentIndex >= 0)
            continue;
        u64 aRCC[4];
        facet.getCorners(aRCC);
        for (const u64 rcc : aRCC) {
            Corner* pCorner = pCornerStore->find(rcc);
            if (pCorner->state == ST_LOWER_AREA)
                pCorner->state = ST_LOWER_BORDER;
            else if (pCorner->state == ST_UPPER_AREA)
                pCorner->state = ST_UPPER_BORDER;
        }
    }
}

// Each corner of the strip gets its distance to the sheet, as near as the cells whose facets meet there have
// it: to the plane through the points about, so that the field rises evenly to both sides and goes on
// straight beyond the rim, however unevenly the cells end there. Distances to the points themselves, which
// lie anywhere in their cells, would bend it.
void Component::assignDistancesToSideStrip(const FacetPtrs& vStrip, float sign)
{
    const float nearest = 0.001f * spacing; // a point on the corner itself must not take away its sign
    for (const Facet* pFacet : vStrip) {
        const auto it = std::lower_bound(vRCDPoint.begin(), vRCDPoint.end(), pFacet->rcd,
                                         [](const auto& entry, u64 rcd) { return entry.first < rcd; });
        zanAssertText(it != vRCDPoint.end() && it->first == pFacet->rcd,
                      "q_it!=vRCDPoint.end() && q_it->first==rcd");
        Vector3 normal;
        const bool bPlane = pCells->estimateNormal(pFacet->rcd, vRCDPoint, normal);
        u64 aRCC[4];
        pFacet->getCorners(aRCC);
        for (const u64 rcc : aRCC) {
            Corner* pCorner = pCornerStore->find(rcc);
            const int state = pCorner->state;
            if (state == ST_DUAL_NO_EMITTER)
                continue;
            if (state < ST_LOWER_BORDER || state > ST_AREA_NO_EMITTER || state == ST_GROWN) {
                ZAN_ERROR("Bug, state=" + std::to_string(state));
                zanFail();
            }
            const Vector3 way = pCornerStore->getPoint(rcc) - it->second;
            const double distance = bPlane ? std::fabs(way * normal) : way.length();
            const float value = std::max(static_cast<float>(distance), nearest);
            if (value < std::fabs(pCorner->val))
                pCorner->val = sign * value;
        }
    }
}

} // namespace TESK_ZAN
