#include "pinholes.h"

#include "RMesh.h"
#include "freeFunctions.h"
#include "stageTrace.h"

#include <vector>

namespace TESK_ZAN
{

namespace
{

bool isBorderBetween(const RMesh& mesh, const Point3* p0, const Point3* p1)
{
    const REdge* pRE = mesh.getRE(p0, p1);
    return pRE != nullptr && pRE->isBorder();
}

// The third corner of the hole at a border edge; null if its border loop has more than three edges. vRE:
// working space.
Point3* getTip(const RMesh& mesh, const REdge& edge, std::vector<REdge*>& vRE)
{
    const RTriangle* pRT = edge.getTriangle(true, true);
    mesh.getIncidentRE(edge.getVtx0(), vRE);
    for (const REdge* pRE : vRE) {
        Point3* pTip = pRE->getOtherPoint(edge.getVtx0());
        if (pRE->isBorder() && !pRT->has(pTip) && isBorderBetween(mesh, pTip, edge.getVtx1()))
            return pTip;
    }
    return nullptr;
}

} // namespace

size_t closePinholes(RMesh& mesh)
{
    const StageTimer stage("RM_pinholes");
    std::vector<REdge*> vBorderRE;
    for (REdge* pRE : mesh.getAllRE())
        if (pRE->isBorder())
            vBorderRE.push_back(pRE);

    size_t numClosed = 0;
    std::vector<REdge*> vRE;
    for (const REdge* pRE : vBorderRE) {
        Point3* pTip = pRE->isBorder() ? getTip(mesh, *pRE, vRE) : nullptr;
        bool bHasArea = false;
        if (pTip != nullptr)
            getNormalVector(pRE->getVtx0(), pRE->getVtx1(), pTip, bHasArea);
        if (!bHasArea)
            continue;
        const RTriangle* pRT = pRE->getTriangle(true, true); // runs the other way along the edge
        const int ici = pRT->getICI(pRE->getVtx0(), pRE->getVtx1());
        mesh.createT(pRT->getCorner((ici + 2) % 3), pRT->getCorner((ici + 1) % 3), pTip);
        ++numClosed;
    }
    return numClosed;
}

} // namespace TESK_ZAN
