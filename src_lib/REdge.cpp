#include "REdge.h"

#include "RMesh.h"
#include "RTriangle.h"
#include "freeFunctions.h"
#include "zanAssert.h"

#include <algorithm>

namespace TESK_ZAN
{

namespace
{

// The three corners of pRT from the one opposite the edge on, in order.
struct CornersFromOpp {
    CornersFromOpp(const RTriangle* pRT, const REdge* pRE)
    {
        const int ici = pRT->getICI(pRE->getVtx0(), pRE->getVtx1());
        pOpp = pRT->getCorner(ici);
        pNext = pRT->getCorner((ici + 1) % 3);
        pPrev = pRT->getCorner((ici + 2) % 3);
    }
    Point3* pOpp;
    Point3* pNext;
    Point3* pPrev;
};

// The normal of the three points exists and turns by at most a right angle against nnv.
bool staysUpright(const Point3* p0, const Point3* p1, const Point3* p2, const Vector3& nnv)
{
    constexpr double MAX_TURN_DEG = 90.0;
    bool bOK = false;
    const Vector3 normal = getNormalVector(p0, p1, p2, bOK);
    return bOK && normal.isNV() && getAngleDegree(normal, nnv) <= MAX_TURN_DEG;
}

} // namespace

REdge::REdge(Point3* p0, Point3* p1, std::uint32_t number_) : number(number_)
{
    setEndpoints(p0, p1);
}

void REdge::setEndpoints(Point3* p0, Point3* p1)
{
    const bool bAscending = numberOf(p0) < numberOf(p1);
    aEndpoints[0] = bAscending ? p0 : p1;
    aEndpoints[1] = bAscending ? p1 : p0;
}

Point3* REdge::getOtherPoint(const Point3* pVtx) const
{
    zanAssert(has(pVtx));
    return aEndpoints[0] == pVtx ? aEndpoints[1] : aEndpoints[0];
}

double REdge::getLength() const
{
    return (*aEndpoints[1] - *aEndpoints[0]).length();
}

RTriangle* REdge::getTriangle(bool bMustExist, bool bUnique) const
{
    zanAssert(!bMustExist || !vRT.empty());
    zanAssert(!bUnique || vRT.size() <= 1);
    return vRT.empty() ? nullptr : vRT[0];
}

bool REdge::hasTriangleAt(const Point3* pVtx) const
{
    return std::any_of(vRT.begin(), vRT.end(), [pVtx](const RTriangle* pRT) { return pRT->has(pVtx); });
}

void REdge::getAliveT(std::vector<RTriangle*>& vOut) const
{
    vOut.insert(vOut.end(), vRT.begin(), vRT.end());
}

void REdge::checkOut(const RTriangle* pRT)
{
    const auto pos = std::find(vRT.begin(), vRT.end(), pRT);
    zanAssert(pos != vRT.end());
    vRT.swapErase(static_cast<size_t>(pos - vRT.begin()));
}

void REdge::split(Point3* pMid, RMesh* pRMesh)
{
    zanAssert(isAlive());
    std::vector<RTriangle*> vOldT;
    getAliveT(vOldT);
    for (const RTriangle* pRT : vOldT) // before the first kill: a failure must not leave a hole
        zanAssert(!pRT->has(pMid));
    for (RTriangle* pRT : vOldT) {
        const CornersFromOpp c(pRT, this);
        pRT->kill(pRMesh);
        pRMesh->createT(c.pOpp, c.pNext, pMid);
        pRMesh->createT(c.pOpp, pMid, c.pPrev);
    }
}

REdge* REdge::tryFlipEdge(RMesh* pRMesh, RTriangle* pRT0, RTriangle* pRT1)
{
    if (pRT0 == nullptr) {
        zanAssert(pRT1 == nullptr);
        if (!getAdjT(pRT0, pRT1, true))
            return nullptr;
    }
    zanAssert(pRT1 != nullptr);
    if (!pRT0->isAlive() || !pRT1->isAlive())
        return nullptr;

    const CornersFromOpp c(pRT0, this);
    Point3* const pOpp0 = c.pOpp;
    Point3* const pOpp1 = pRT1->getThirdPoint(aEndpoints[0], aEndpoints[1]);
    zanAssert(pOpp0 != pOpp1);
    if (pRMesh->hasAliveEdge(pOpp0, pOpp1))
        return nullptr;
    if (isFlatAngle(*pOpp0, *pOpp1, *aEndpoints[0]) || isFlatAngle(*pOpp0, *pOpp1, *aEndpoints[1]))
        return nullptr;

    if (c.pNext == aEndpoints[0])
        return pRMesh->turnDiagonal(pRT0, pRT1, {pOpp0, aEndpoints[0], pOpp1, aEndpoints[1]});
    return pRMesh->turnDiagonal(pRT0, pRT1, {pOpp1, aEndpoints[0], pOpp0, aEndpoints[1]});
}

bool REdge::trySplitNeigsKillT(RMesh* pRMesh, RTriangle* pKillRT, int ici, std::vector<RTriangle*>& vNewT)
{
    zanAssert(pKillRT->isAlive());
    Point3* const pApex = pKillRT->getCorner(ici);
    std::vector<Point3*> vRingVtx;
    pRMesh->getRingVtx(pApex, vRingVtx);

    std::vector<RTriangle*> vSplitT;
    for (RTriangle* pRT : vRT) {
        if (pRT == pKillRT)
            continue;
        if (!canSplitAt(pRT, pApex, vRingVtx))
            return false;
        vSplitT.push_back(pRT);
    }

    pKillRT->kill(pRMesh);
    for (RTriangle* pRT : vSplitT) {
        const CornersFromOpp c(pRT, this);
        pRT->kill(pRMesh);
        vNewT.push_back(pRMesh->createT(c.pOpp, c.pNext, pApex));
        vNewT.push_back(pRMesh->createT(c.pOpp, pApex, c.pPrev));
    }
    return true;
}

// An opposite corner that is a neighbour of the apex already would give the edge between them a second time.
bool REdge::canSplitAt(RTriangle* pRT, Point3* pApex, const std::vector<Point3*>& vRingVtx) const
{
    bool bOK = false;
    const Vector3 nnv = pRT->getNNV(bOK);
    const CornersFromOpp c(pRT, this);
    return bOK && std::find(vRingVtx.begin(), vRingVtx.end(), c.pOpp) == vRingVtx.end() &&
           staysUpright(c.pOpp, c.pNext, pApex, nnv) && staysUpright(c.pOpp, pApex, c.pPrev, nnv);
}

} // namespace TESK_ZAN
