#include "RECollapse.h"

#include "RMesh.h"
#include "freeFunctions.h"

#include <algorithm>

namespace TESK_ZAN
{

namespace
{

// With more triangles pTrg is a hub, whose list is not walked.
constexpr size_t MAX_WALKED = 16;

// False where the length under- or overflows.
bool makeUnit(Vector3& v, double len)
{
    if (!(len > 0.0))
        return false;
    v /= len;
    return v.isNV();
}

} // namespace

void MovingFan::set(const RMesh& mesh, const Point3* pVtx)
{
    pSrc = pVtx;
    vSides.clear();
    for (const std::uint32_t number : recordOf(pSrc).vTNumbers) {
        const RTriangle* pRT = mesh.getAllT()[number];
        const int ici = pRT->getICI(pSrc);
        vSides.push_back({pRT->getCorner(nextIndex3(ici)), pRT->getCorner(prevIndex3(ici)), pRT->getRE(ici),
                          Vector3(), false, false});
    }
}

TurnedTriangles MovingFan::turn(const Point3* pTrg, const Point3& target, double maxAngleRad)
{
    TurnedTriangles turned;
    for (Side& side : vSides) {
        if (side.has(pTrg))
            ++turned.numDying;
        else
            addTurn(side, *pSrc, target, maxAngleRad, turned);
        if (!turned.bAllowed)
            break;
    }
    return turned;
}

void MovingFan::addTurn(Side& side, const Point3& src, const Point3& target, double maxAngleRad,
                        TurnedTriangles& turned)
{
    constexpr double MIN_ALT_CROSS = 1e-10;
    const Point3& prev = *side.pPrev;
    const Vector3 prevToNext = *side.pNext - prev;
    if (!side.bUnitKnown) {
        side.bUnitKnown = true;
        side.unit = crossProd(prevToNext, src - prev);
        side.bDegenerate = !makeUnit(side.unit, side.unit.length());
    }
    if (side.bDegenerate) {
        ++turned.numDegenerate;
        return;
    }
    Vector3 altUnit = crossProd(prevToNext, target - prev);
    const double altLen = altUnit.length();
    if (altLen < MIN_ALT_CROSS || !makeUnit(altUnit, altLen)) {
        turned.bAllowed = false;
        return;
    }
    const double angleRad = getAngleRad(side.unit, altUnit);
    turned.bAllowed = angleRad <= maxAngleRad;
    turned.angleSumRad += angleRad;
    ++turned.numTurned;
}

bool MovingFan::hasCommonRingEdge(const RMesh& mesh, const Point3* pTrg) const
{
    // The other triangle hangs on the ring edge as well, so a hub need not be walked.
    if (recordOf(pTrg).vTNumbers.size() > MAX_WALKED)
        return std::any_of(vSides.begin(), vSides.end(), [pTrg](const Side& side) {
            return !side.has(pTrg) && side.pRingRE->hasTriangleAt(pTrg);
        });
    for (const std::uint32_t number : recordOf(pTrg).vTNumbers) {
        const RTriangle* pRT = mesh.getAllT()[number];
        if (pRT->has(pSrc))
            continue;
        const REdge* pRingRE = pRT->getRE(pRT->getICI(pTrg));
        for (const Side& side : vSides)
            if (side.pRingRE == pRingRE && !side.has(pTrg))
                return true;
    }
    return false;
}

// The third corner of a triangle of the edge.
bool MovingFan::isThird(const Point3* pVtx, const Point3* pTrg) const
{
    return std::any_of(vSides.begin(), vSides.end(),
                       [=](const Side& side) { return side.has(pTrg) && side.has(pVtx); });
}

bool MovingFan::isBareNeighbour(const Point3* pVtx, const Point3* pTrg) const
{
    bool bNeighbour = false;
    for (const Side& side : vSides) {
        if (!side.has(pVtx))
            continue;
        if (side.has(pTrg))
            return false;
        bNeighbour = true;
    }
    return bNeighbour;
}

bool MovingFan::isPinchedBy(const RMesh& mesh, const Point3* pTrg) const
{
    if (recordOf(pTrg).vTNumbers.size() > MAX_WALKED)
        return isPinchedByHub(mesh, pTrg);
    for (const std::uint32_t number : recordOf(pTrg).vTNumbers) {
        const RTriangle* pRT = mesh.getAllT()[number];
        const int ici = pRT->getICI(pTrg);
        const Point3* pNext = pRT->getCorner(nextIndex3(ici));
        const Point3* pPrev = pRT->getCorner(prevIndex3(ici));
        if (pNext == pSrc || pPrev == pSrc)
            continue;
        // Most often neither is a neighbour of both. A common ring edge has two such corners.
        if (isBareNeighbour(pNext, pTrg) || isBareNeighbour(pPrev, pTrg))
            return true;
        const REdge* pRingRE = pRT->getRE(ici);
        for (const Side& side : vSides)
            if (side.pRingRE == pRingRE && !side.has(pTrg))
                return true;
    }
    return false;
}

bool MovingFan::isPinchedByHub(const RMesh& mesh, const Point3* pTrg) const
{
    const auto isBare = [&](const Point3* pRing) {
        return !isThird(pRing, pTrg) && mesh.hasAliveEdge(pRing, pTrg);
    };
    return hasCommonRingEdge(mesh, pTrg) || std::any_of(vSides.begin(), vSides.end(), [&](const Side& side) {
               return !side.has(pTrg) && (isBare(side.pNext) || isBare(side.pPrev));
           });
}

} // namespace TESK_ZAN
