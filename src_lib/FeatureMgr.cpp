#include "FeatureMgr.h"

#include "freeFunctions.h"
#include "sortMT.h"

#include <algorithm>
#include <span>

namespace TESK_ZAN
{

namespace
{

constexpr double MAX_TURN = 60.0; // degrees

// Where more edges meet than this there is no telling which goes on, and looking at all of them from each
// would be quadratic.
constexpr size_t MAX_EDGES_AT_POINT = 1000;

using EdgesAtPoint = std::span<const std::pair<Point3*, FeatureEdge*>>;

EdgesAtPoint edgesAt(const PointFeatureEdges& mmPoint2Edge, const Point3* pPoint)
{
    const auto isBefore = [](const auto& entry, const Point3* p) { return entry.first < p; };
    const auto first = std::lower_bound(mmPoint2Edge.begin(), mmPoint2Edge.end(), pPoint, isBefore);
    const auto last = std::lower_bound(first, mmPoint2Edge.end(), pPoint + 1, isBefore);
    const EdgesAtPoint edges(first, last);
    return edges.size() > MAX_EDGES_AT_POINT ? EdgesAtPoint{} : edges;
}

Point3* otherEnd(const FeatureEdge& edge, const Point3* pEnd)
{
    return edge.pSrc == pEnd ? edge.pTrg : edge.pSrc;
}

// The free edge that continues a chain beyond its last edge end, whose outer end is pOuter. Null if the
// straightest continuation turns too much or belongs to a chain: a second best is no continuation.
FeatureEdge* findContinuation(const FeatureEdge& end, const Point3* pOuter,
                              const PointFeatureEdges& mmPoint2Edge)
{
    const Vector3 outward = normalize(*pOuter - *otherEnd(end, pOuter));
    FeatureEdge* pBest = nullptr;
    double minAngle = 361.0;
    for (const auto& [pPoint, pCandidate] : edgesAt(mmPoint2Edge, pOuter)) {
        if (pCandidate == &end || pCandidate->isBorder() != end.isBorder())
            continue;
        const double angle = getAngleDegree(outward, normalize(*otherEnd(*pCandidate, pOuter) - *pOuter));
        if (angle > MAX_TURN || !(angle < minAngle))
            continue;
        minAngle = angle;
        pBest = pCandidate;
    }
    return pBest == nullptr || pBest->pChain != nullptr ? nullptr : pBest;
}

} // namespace

FeatureChain::FeatureChain(FeatureEdge* pSeed, const PointFeatureEdges& mmPoint2Edge)
    : pFirst(pSeed), pLast(pSeed)
{
    pSeed->pChain = this;
    while (growBack(mmPoint2Edge)) {
    }
    while (growFront(mmPoint2Edge)) {
    }
    double num = 0.0;
    for (const FeatureEdge* pEdge = pFirst; pEdge != nullptr; pEdge = pEdge->pNext) {
        val += pEdge->val;
        num += 1.0;
    }
    val /= num;
}

bool FeatureChain::growBack(const PointFeatureEdges& mmPoint2Edge)
{
    FeatureEdge* pNextFE = findContinuation(*pLast, pLast->pTrg, mmPoint2Edge);
    if (pNextFE == nullptr)
        return false;
    if (pNextFE->pSrc != pLast->pTrg)
        std::swap(pNextFE->pSrc, pNextFE->pTrg);
    pNextFE->pChain = this;
    pNextFE->pPrev = pLast;
    pLast->pNext = pNextFE;
    pLast = pNextFE;
    return pLast->pTrg != pFirst->pSrc; // else the ring is closed
}

bool FeatureChain::growFront(const PointFeatureEdges& mmPoint2Edge)
{
    FeatureEdge* pPrevFE = findContinuation(*pFirst, pFirst->pSrc, mmPoint2Edge);
    if (pPrevFE == nullptr)
        return false;
    if (pPrevFE->pTrg != pFirst->pSrc)
        std::swap(pPrevFE->pSrc, pPrevFE->pTrg);
    pPrevFE->pChain = this;
    pPrevFE->pNext = pFirst;
    pFirst->pPrev = pPrevFE;
    pFirst = pPrevFE;
    return pFirst->pSrc != pLast->pTrg;
}

FeatureMgr::FeatureMgr(const std::vector<FeatureRecord>& vFeatureRecords)
{
    vFeatureEdges.reserve(vFeatureRecords.size());
    PointFeatureEdges mmPoint2Edge;
    mmPoint2Edge.reserve(2 * vFeatureRecords.size());
    for (const auto& [angle, ends] : vFeatureRecords) {
        vFeatureEdges.push_back({ends.first, ends.second, angle});
        mmPoint2Edge.emplace_back(ends.first, &vFeatureEdges.back());
        mmPoint2Edge.emplace_back(ends.second, &vFeatureEdges.back());
    }
    sortMT(mmPoint2Edge.begin(), mmPoint2Edge.end()); // the addresses of the edges ascend with the records

    vChains.reserve(vFeatureEdges.size());
    for (FeatureEdge& edge : vFeatureEdges)
        if (edge.pChain == nullptr)
            vChains.emplace_back(&edge, mmPoint2Edge);
}

void FeatureMgr::getOrderedPairs(std::vector<FeatureRecord>& vOut) const
{
    std::vector<std::pair<double, const FeatureChain*>> vByVal;
    vByVal.reserve(vChains.size());
    for (const FeatureChain& chain : vChains)
        vByVal.emplace_back(chain.getVal(), &chain); // the addresses ascend with the seeds
    sortMT(vByVal.begin(), vByVal.end());
    vOut.reserve(vOut.size() + vFeatureEdges.size());
    for (const auto& [val, pChain] : vByVal)
        for (const FeatureEdge* pEdge = pChain->getFirst(); pEdge != nullptr; pEdge = pEdge->pNext)
            vOut.emplace_back(pEdge->val, std::make_pair(pEdge->pSrc, pEdge->pTrg));
}

} // namespace TESK_ZAN
