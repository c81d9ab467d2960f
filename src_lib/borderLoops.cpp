#include "borderLoops.h"

#include "RMesh.h"

namespace TESK_ZAN
{

namespace
{

// The other border edge of the fan at pVtx that begins with pRE; null if the fan ends at an overfull edge.
REdge* getNextBorderRE(REdge* pRE, const Point3* pVtx)
{
    const RTriangle* pRT = pRE->getTriangle(true, true);
    while (pRT != nullptr) {
        const int ici = pRT->getICI(pVtx);
        REdge* pNextRE = pRT->getRE((ici + 1) % 3);
        if (pNextRE == pRE)
            pNextRE = pRT->getRE((ici + 2) % 3);
        if (pNextRE->isBorder())
            return pNextRE;
        pRE = pNextRE;
        pRT = pRE->getOtherT(pRT);
    }
    return nullptr;
}

// False if the walk ends before it is back.
bool walkLoop(REdge* pStartRE, std::vector<bool>& vSeen, std::vector<REdge*>& vLoopRE)
{
    const Point3* pVtx = pStartRE->getVtx1();
    REdge* pRE = pStartRE;
    do {
        vSeen[numberOf(pRE)] = true;
        vLoopRE.push_back(pRE);
        pRE = getNextBorderRE(pRE, pVtx);
        if (pRE == nullptr)
            return false;
        pVtx = pRE->getOtherPoint(pVtx);
    } while (!vSeen[numberOf(pRE)]);
    return pRE == pStartRE;
}

} // namespace

void getBorderLoops(const RMesh& mesh, std::vector<std::vector<REdge*>>& vLoops)
{
    std::vector<bool> vSeen(mesh.getAllRE().size(), false); // by number
    std::vector<REdge*> vLoopRE;
    for (REdge* pRE : mesh.getAllRE()) {
        if (!pRE->isBorder() || vSeen[numberOf(pRE)])
            continue;
        vLoopRE.clear();
        if (walkLoop(pRE, vSeen, vLoopRE))
            vLoops.push_back(vLoopRE);
    }
}

} // namespace TESK_ZAN
