#include "RECollapse.h"

#include "RMesh.h"
#include "freeFunctions.h"

#include <algorithm>

namespace TESK_ZAN
{

namespace
{

// False where the length under- or overflows.
bool makeUnit(Vector3& v)
{
    const double len = v.length();
    if (!(len > 0.0))
        return false;
    v /= len;
    return v.isNV();
}

// How a triangle turns whose corner behind pNext and before pPrev moves to target.
void addTurn(const RTriangle* pRT, const Point3* pSrc, const Point3& target, double maxAngleRad,
             TurnedTriangles& turned)
{
    constexpr double MIN_ALT_CROSS = 1e-10;
    const int ici = pRT->getICI(pSrc);
    const Point3& next = *pRT->getCorner(nextIndex3(ici));
    const Point3& prev = *pRT->getCorner(prevIndex3(ici));
    const Vector3 prevToNext = next - prev;
    Vector3 cross = crossProd(prevToNext, *pSrc - prev);
    if (!makeUnit(cross)) {
        ++turned.numDegenerate;
        return;
    }
    Vector3 altCross = crossProd(prevToNext, target - prev);
    if (altCross.length() < MIN_ALT_CROSS || !makeUnit(altCross)) {
        turned.bAllowed = false;
        return;
    }
    const double angleRad = getAngleRad(cross, altCross);
    turned.bAllowed = angleRad <= maxAngleRad;
    turned.angleSumRad += angleRad;
    ++turned.numTurned;
}

} // namespace

TurnedTriangles turnTriangles(const std::vector<RTriangle*>& vSrcT, const Point3* pSrc, const Point3* pTrg,
                              const Point3& target, double maxAngleRad)
{
    TurnedTriangles turned;
    for (const RTriangle* pRT : vSrcT) {
        if (pRT->has(pTrg))
            ++turned.numDying;
        else
            addTurn(pRT, pSrc, target, maxAngleRad, turned);
        if (!turned.bAllowed)
            break;
    }
    return turned;
}

bool hasCommonRingEdge(const RMesh& mesh, const std::vector<RTriangle*>& vSrcT, const Point3* pSrc,
                       const Point3* pTrg)
{
    constexpr size_t MAX_COMPARED = 16;
    const auto& vTrgNumbers = recordOf(pTrg).vTNumbers;
    const bool bHub = vTrgNumbers.size() > MAX_COMPARED;
    const REdge* aTrgRingRE[MAX_COMPARED];
    const REdge** pEnd = aTrgRingRE;
    for (size_t i = 0; !bHub && i < vTrgNumbers.size(); ++i) {
        const RTriangle* pRT = mesh.getAllT()[vTrgNumbers[i]];
        if (!pRT->has(pSrc))
            *pEnd++ = pRT->getRE(pRT->getICI(pTrg));
    }
    for (const RTriangle* pRT : vSrcT) {
        if (pRT->has(pTrg))
            continue;
        const REdge* pRingRE = pRT->getRE(pRT->getICI(pSrc));
        // The other triangle hangs on the ring edge as well, so a hub need not be walked.
        if (bHub ? pRingRE->hasTriangleAt(pTrg) : std::find(aTrgRingRE, pEnd, pRingRE) != pEnd)
            return true;
    }
    return false;
}

bool hasBareCommonNeighbour(const RMesh& mesh, const std::vector<RTriangle*>& vSrcT, const Point3* pSrc,
                            const Point3* pTrg)
{
    constexpr size_t MAX_COMPARED = 16;
    TESK_TOOLS::SmallVector<const Point3*, 4> vThird; // of the triangles of the edge
    for (const RTriangle* pRT : vSrcT)
        if (pRT->has(pTrg))
            vThird.push_back(pRT->getThirdPoint(pSrc, pTrg));

    const auto& vTrgNumbers = recordOf(pTrg).vTNumbers;
    const bool bHub = vTrgNumbers.size() > MAX_COMPARED;
    const Point3*
        aTrgRing[3 * MAX_COMPARED]; // with pTrg itself, which pSrc meets in triangles of the edge only
    const Point3** pEnd = aTrgRing;
    for (size_t i = 0; !bHub && i < vTrgNumbers.size(); ++i)
        for (int ici = 0; ici < 3; ++ici)
            *pEnd++ = mesh.getAllT()[vTrgNumbers[i]]->getCorner(ici);

    const auto isBare = [&](const Point3* pRing) {
        return pRing != pSrc && std::find(vThird.begin(), vThird.end(), pRing) == vThird.end() &&
               (bHub ? mesh.hasAliveEdge(pRing, pTrg) : std::find(aTrgRing, pEnd, pRing) != pEnd);
    };
    return std::any_of(vSrcT.begin(), vSrcT.end(), [&](const RTriangle* pRT) {
        return !pRT->has(pTrg) &&
               (isBare(pRT->getCorner(0)) || isBare(pRT->getCorner(1)) || isBare(pRT->getCorner(2)));
    });
}

} // namespace TESK_ZAN
