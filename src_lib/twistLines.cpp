#include "twistLines.h"

#include "RMesh.h"
#include "SideForest.h"
#include "sortMT.h"
#include "stageTrace.h"
#include "tesk_tools/sortUnique.h"
#include "twistCut.h"

#include <algorithm>
#include <cstdint>
#include <iterator>

namespace TESK_ZAN
{

namespace
{

constexpr size_t MAX_SHORTEST_CUT = 20; // edges: longer ways around a passage are not looked for

int countTwisted(const RTriangle& triangle)
{
    int num = 0;
    for (int ici = 0; ici < 3; ++ici)
        num += isTwisted(*triangle.getRE(ici)) ? 1 : 0;
    return num;
}

// An edge between two triangles of a twisted component.
struct Link {
    double fold; // -1 flat, 1 folded back or not known
    REdge* pRE;
};

double foldAt(const REdge& edge)
{
    RTriangle* pT0 = nullptr;
    RTriangle* pT1 = nullptr;
    edge.getAdjT(pT0, pT1, true);
    bool bOK0 = false;
    bool bOK1 = false;
    const double cosine = pT0->getNNV(bOK0) * pT1->getNNV(bOK1);
    if (!bOK0 || !bOK1)
        return 1.0;
    return pT0->needFlip(pT1) ? cosine : -cosine;
}

// The patches that have one of these edges, by number.
std::vector<int> patchesAt(const std::vector<REdge*>& vTwistedRE)
{
    std::vector<int> vPatchIds;
    for (const REdge* pRE : vTwistedRE)
        vPatchIds.push_back(pRE->getTriangle(true, false)->getPatch()->getId());
    TESK_TOOLS::sortUnique(vPatchIds);
    return vPatchIds;
}

std::vector<RTriangle*> aliveTriangles(const RMesh& mesh, int patchId)
{
    std::vector<RTriangle*> vRT;
    const auto& vPatchT = mesh.getPatches()[static_cast<size_t>(patchId)]->getTriangles();
    std::copy_if(vPatchT.begin(), vPatchT.end(), std::back_inserter(vRT),
                 [](const RTriangle* pRT) { return pRT->isAlive(); });
    return vRT;
}

// Each edge of degree 2 of these triangles once, the flattest first.
std::vector<Link> collectLinks(const std::vector<RTriangle*>& vRT)
{
    std::vector<REdge*> vRE;
    for (const RTriangle* pRT : vRT)
        for (int ici = 0; ici < 3; ++ici)
            if (pRT->getRE(ici)->getDegree() == 2)
                vRE.push_back(pRT->getRE(ici));
    sortUniqueByNumber(vRE);
    std::vector<Link> vLinks;
    for (REdge* pRE : vRE)
        vLinks.push_back({foldAt(*pRE), pRE});
    std::sort(vLinks.begin(), vLinks.end(), [](const Link& a, const Link& b) {
        return a.fold != b.fold ? a.fold < b.fold : numberOf(a.pRE) < numberOf(b.pRE);
    });
    return vLinks;
}

// Joins over one link after the other where that joins two groups, and turns each triangle as its group says.
// All triangles that the links reach beside vRT are one group from the start, and stay as they are.
void orientByLinks(const RMesh& mesh, const std::vector<RTriangle*>& vRT, const std::vector<Link>& vLinks)
{
    std::vector<SideForest::Index> vIndexOfT(mesh.getAllT().size(), 0);
    for (size_t i = 0; i < vRT.size(); ++i)
        vIndexOfT[numberOf(vRT[i])] = static_cast<SideForest::Index>(i + 1);
    SideForest forest(vRT.size() + 1);
    for (const Link& link : vLinks) {
        RTriangle* pT0 = nullptr;
        RTriangle* pT1 = nullptr;
        link.pRE->getAdjT(pT0, pT1, true);
        const SideForest::Root root0 = forest.find(vIndexOfT[numberOf(pT0)]);
        const SideForest::Root root1 = forest.find(vIndexOfT[numberOf(pT1)]);
        if (root0.index != root1.index)
            forest.attach(root1.index, root0.index, pT0->needFlip(pT1) != (root0.bTurned != root1.bTurned));
    }
    const bool bRestTurned = forest.find(0).bTurned;
    for (size_t i = 0; i < vRT.size(); ++i)
        if (forest.find(static_cast<SideForest::Index>(i + 1)).bTurned != bRestTurned)
            vRT[i]->flipOrientation();
}

// Each turn leaves fewer twisted edges, so it ends.
void turnOutvoted(std::vector<RTriangle*> vQueue)
{
    while (!vQueue.empty()) {
        RTriangle* pRT = vQueue.back();
        vQueue.pop_back();
        if (countTwisted(*pRT) < 2)
            continue;
        pRT->flipOrientation();
        for (int ici = 0; ici < 3; ++ici)
            if (RTriangle* pNeig =
                    pRT->getRE(ici)->getDegree() == 2 ? pRT->getRE(ici)->getOtherT(pRT) : nullptr)
                vQueue.push_back(pNeig);
    }
}

} // namespace

bool isTwisted(const REdge& edge)
{
    RTriangle* pT0 = nullptr;
    RTriangle* pT1 = nullptr;
    return edge.getAdjT(pT0, pT1, true) && pT0->needFlip(pT1);
}

std::vector<REdge*> findTwistedRE(const RMesh& mesh)
{
    return selectMT(mesh.getAllRE(), [](const REdge* pRE) { return isTwisted(*pRE); });
}

std::vector<REdge*> orientTwisted(RMesh& mesh)
{
    const StageTimer stage("RM_twist");
    for (const int patchId : patchesAt(findTwistedRE(mesh))) {
        const std::vector<RTriangle*> vRT = aliveTriangles(mesh, patchId);
        std::vector<RTriangle*> vLooseT;
        if (!orientByShortestCut(vRT, MAX_SHORTEST_CUT, vLooseT))
            vLooseT = vRT;
        orientByLinks(mesh, vLooseT, collectLinks(vLooseT));
        turnOutvoted(vLooseT);
    }
    return findTwistedRE(mesh);
}

} // namespace TESK_ZAN
