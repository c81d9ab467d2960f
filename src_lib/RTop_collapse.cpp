#include "RTop.h"

#include "RMesh.h"
#include "freeFunctions.h"

namespace TESK_ZAN
{

namespace
{

// Both endpoints may move to target: no triangle turns too far, and no two coincide.
bool canCollapseTo(const RMesh& mesh, const REdge& edge, const Point3& target, double maxSqLen,
                   double maxAngleDeg)
{
    if (!edge.isAlive() || sqDistance(*edge.getVtx0(), *edge.getVtx1()) > maxSqLen)
        return false;
    for (int i = 0; i < 2; ++i) {
        MovingFan fan(mesh, edge.getVertex(i));
        const Point3* pOther = edge.getVertex(1 - i);
        if (!fan.turn(pOther, target, maxAngleDeg * RADIANS_PER_DEGREE).bAllowed ||
            fan.hasCommonRingEdge(mesh, pOther))
            return false;
    }
    return true;
}

void enqueueEdgesAt(const RMesh& mesh, const Point3* pVtx, double maxSqLen,
                    std::multimap<double, REdge*>& mmPrioq)
{
    std::vector<REdge*> vIncRE;
    mesh.getIncidentRE(pVtx, vIncRE);
    for (REdge* pRE : vIncRE) {
        const double sqLen = sqDistance(*pRE->getVtx0(), *pRE->getVtx1());
        if (sqLen <= maxSqLen)
            mmPrioq.emplace(sqLen, pRE);
    }
}

} // namespace

bool RTop::tryCollapseMid(REdge* pRE, const Point3& midPoint, double maxSqLen, double maxAngle,
                          std::multimap<double, REdge*>& mmPrioq)
{
    if (!canCollapseTo(*pRMesh, *pRE, midPoint, maxSqLen, maxAngle))
        return false;
    Point3* pMid = pRMesh->createVtx(midPoint, true);
    if (pMid == nullptr)
        return false;
    Point3* const pVtx0 = pRE->getVtx0(); // the first exchange gives the edge another endpoint
    Point3* const pVtx1 = pRE->getVtx1();
    pRMesh->exchangeCorner(pVtx0, pMid);
    pRMesh->exchangeCorner(pVtx1, pMid);
    enqueueEdgesAt(*pRMesh, pMid, maxSqLen, mmPrioq);
    return true;
}

bool RTop::tryCollapseEnd(REdge* pRE, Point3* pEnd, double maxSqLen, double maxAngle,
                          std::multimap<double, REdge*>& mmPrioq)
{
    Point3* const pSrc = pRE->getOtherPoint(pEnd);
    if (!canCollapseTo(*pRMesh, *pRE, *pEnd, maxSqLen, maxAngle))
        return false;
    pRMesh->exchangeCorner(pSrc, pEnd);
    enqueueEdgesAt(*pRMesh, pEnd, maxSqLen, mmPrioq);
    return true;
}

void RTop::laplacianSmoothing(int iterations)
{
    pRMesh->laplacianSmoothing(iterations, false);
}

} // namespace TESK_ZAN
