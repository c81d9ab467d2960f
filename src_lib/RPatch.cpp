#include "RPatch.h"

#include "REdge.h"
#include "RTriangle.h"
#include "Visualizer3.h"
#include "messages.h"
#include "zanAssert.h"

#include <algorithm>
#include <utility>

namespace TESK_ZAN
{

RPatch::RPatch(RMesh* pRMesh_, int id_) : id(id_), pRMesh(pRMesh_) {}

RPatch::RPatch(RMesh* pRMesh_, int id_, std::vector<RTriangle*> vMembers)
    : id(id_), pRMesh(pRMesh_), vRT(std::move(vMembers))
{
}

void RPatch::addTriangle(RTriangle* pRT)
{
    if (pRT->pPatch == this)
        return;
    pRT->pPatch = this;
    bSorted = bSorted && (vRT.empty() || numberOf(vRT.back()) < numberOf(pRT));
    vRT.push_back(pRT);
}

size_t RPatch::getNumAliveT() const
{
    return static_cast<size_t>(
        std::count_if(vRT.begin(), vRT.end(), [](const RTriangle* pRT) { return pRT->isAlive(); }));
}

const std::vector<RTriangle*>& RPatch::getTriangles()
{
    if (!bSorted)
        sortUniqueByNumber(vRT);
    bSorted = true;
    return vRT;
}

// Three entries for each alive member, by number: an edge stands there once per member that it has.
void RPatch::collectEdgeSlots(std::vector<REdge*>& vOut) const
{
    for (const RTriangle* pRT : vRT)
        if (pRT->isAlive())
            for (int ici = 0; ici < 3; ++ici)
                vOut.push_back(pRT->getRE(ici));
    std::sort(vOut.begin(), vOut.end(),
              [](const REdge* p0, const REdge* p1) { return numberOf(p0) < numberOf(p1); });
}

void RPatch::getAllRE(std::vector<REdge*>& vOut) const
{
    zanAssert(vOut.empty());
    collectEdgeSlots(vOut);
    vOut.erase(std::unique(vOut.begin(), vOut.end()), vOut.end());
}

void RPatch::setBoundary()
{
    std::vector<REdge*> vSlots;
    collectEdgeSlots(vSlots);
    vBoundaryRE.clear();
    for (size_t from = 0, to = 0; from < vSlots.size(); from = to) {
        while (to < vSlots.size() && vSlots[to] == vSlots[from])
            ++to;
        if (to - from == 1)
            vBoundaryRE.push_back(vSlots[from]);
    }
}

void RPatch::showDeg(Visualizer3* pVisualizer) const
{
    constexpr int MAX_SHOWN = 4;
    constexpr int aColorByDegree[MAX_SHOWN + 1] = {0, 0, 1, 8, 11}; // indices of scene colours; 0 is not used
    std::vector<REdge*> vRE;
    getAllRE(vRE);
    for (const REdge* pRE : vRE) {
        const int degree = pRE->getDegree();
        if (degree > MAX_SHOWN)
            ZAN_WARNING("Huh, degree=" + std::to_string(degree));
        else
            pVisualizer->writeSegment(*pRE->getVtx0(), *pRE->getVtx1(), 1,
                                      Visualizer3::getSceneColor(aColorByDegree[degree]));
    }
}

} // namespace TESK_ZAN
