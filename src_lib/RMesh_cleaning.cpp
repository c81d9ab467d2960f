#include "RMesh.h"

#include "Progress.h"
#include "stageTrace.h"

#include <algorithm>

namespace TESK_ZAN
{

namespace
{

// All triangles of a mesh, the last one first, and in front of them whatever is pushed. As a stack of all of
// them, without the memory.
class TriangleStack
{
public:
    explicit TriangleStack(const std::vector<RTriangle*>& vT_) : vT(vT_), numLeft(vT_.size()) {}

    void push(const std::vector<RTriangle*>& vMore)
    {
        vPushed.insert(vPushed.end(), vMore.begin(), vMore.end());
    }

    // Null when empty.
    RTriangle* pop()
    {
        if (!vPushed.empty()) {
            RTriangle* pRT = vPushed.back();
            vPushed.pop_back();
            return pRT;
        }
        return numLeft == 0 ? nullptr : vT[--numLeft];
    }

private:
    const std::vector<RTriangle*>& vT;
    size_t numLeft;
    std::vector<RTriangle*> vPushed;
};

// The triangles of an edge, each with the number of its corner opposite the edge.
class OppositeCorners
{
public:
    // True if two triangles have the same opposite corner.
    bool hasRepeated(const REdge& edge)
    {
        RTriangle *pT0 = nullptr, *pT1 = nullptr;
        if (edge.getAdjT(pT0, pT1, true)) // nearly all edges; this reads no vertex
            return pT0->getThirdPoint(edge.getVtx0(), edge.getVtx1()) ==
                   pT1->getThirdPoint(edge.getVtx0(), edge.getVtx1());
        if (edge.getDegree() < 2)
            return false;
        fill(edge);
        std::sort(vNumbers.begin(), vNumbers.end());
        return std::adjacent_find(vNumbers.begin(), vNumbers.end()) != vNumbers.end();
    }

    // Appends each triangle with an opposite corner that a triangle before it on the edge has.
    void collectLater(const REdge& edge, std::vector<RTriangle*>& vLaterT)
    {
        fill(edge);
        std::vector<std::uint32_t> vSeen;
        for (size_t i = 0; i < vRT.size(); ++i) {
            const auto pos = std::lower_bound(vSeen.begin(), vSeen.end(), vNumbers[i]);
            if (pos != vSeen.end() && *pos == vNumbers[i])
                vLaterT.push_back(vRT[i]);
            else
                vSeen.insert(pos, vNumbers[i]);
        }
    }

private:
    void fill(const REdge& edge)
    {
        vRT.clear();
        vNumbers.clear();
        edge.getAliveT(vRT);
        for (const RTriangle* pRT : vRT)
            vNumbers.push_back(numberOf(pRT->getThirdPoint(edge.getVtx0(), edge.getVtx1())));
    }

    std::vector<RTriangle*> vRT;
    std::vector<std::uint32_t> vNumbers;
};

// By the endpoints: the order in which a map of all edges under their vertex pairs would be walked.
bool lessByEndpoints(const REdge* p0, const REdge* p1)
{
    const std::uint32_t low0 = numberOf(p0->getVtx0());
    const std::uint32_t low1 = numberOf(p1->getVtx0());
    return low0 != low1 ? low0 < low1 : numberOf(p0->getVtx1()) < numberOf(p1->getVtx1());
}

} // namespace

// Each collapse empties a vertex, so the loop ends.
void RMesh::killDegenerate()
{
    const StageTimer stage("RM_kdeg");
    Progress* pProgress = getRootProgress()->getChildProgressSetTodo("RM_kdeg", 3 * vT.size());
    TriangleStack stack(vT);
    std::vector<RTriangle*> vTouchedT;
    while (RTriangle* pRT = stack.pop()) {
        pProgress->tick();
        if (!pRT->isAlive() || !isFlatAngle(*pRT->getCorner(0), *pRT->getCorner(1), *pRT->getCorner(2)))
            continue;
        Point3* pSrc = nullptr;
        Point3* pTrg = nullptr;
        if (!findBestCollapse(pRT, pSrc, pTrg))
            continue;
        exchangeCorner(pSrc, pTrg);
        vTouchedT.clear();
        getIncidentT(pTrg, vTouchedT);
        stack.push(vTouchedT);
    }
    killDuplicateTriangles();
    pProgress->finish(true);
}

// The move of a corner of pRT along one of the corner's edges that turns the worst of the corner's triangles
// least. The first of equal ones: corners in order, edges by number. False if no move can be judged.
bool RMesh::findBestCollapse(const RTriangle* pRT, Point3*& pSrc, Point3*& pTrg) const
{
    double bestDev = 361.0; // above all that getDevAngle gives
    std::vector<RTriangle*> vCornerT;
    std::vector<REdge*> vCornerRE;
    for (Point3* pCorner : pRT->aCorners) {
        vCornerT.clear();
        getIncidentT(pCorner, vCornerT);
        getIncidentRE(pCorner, vCornerRE);
        for (const REdge* pRE : vCornerRE) {
            Point3* pOther = pRE->getOtherPoint(pCorner);
            double worstDev = 0.0;
            for (size_t i = 0; i < vCornerT.size() && worstDev < bestDev; ++i)
                worstDev =
                    std::max(worstDev, vCornerT[i]->getDevAngle(vCornerT[i]->getICI(pCorner), pOther, true));
            if (worstDev >= bestDev)
                continue;
            bestDev = worstDev;
            pSrc = pCorner;
            pTrg = pOther;
        }
    }
    return pSrc != nullptr;
}

size_t RMesh::killDuplicateTriangles()
{
    const StageTimer stage("RM_kdup");
    OppositeCorners oppCorners;
    std::vector<REdge*> vFoundRE;
    std::copy_if(vRE.begin(), vRE.end(), std::back_inserter(vFoundRE),
                 [&](const REdge* pRE) { return oppCorners.hasRepeated(*pRE); });
    std::sort(vFoundRE.begin(), vFoundRE.end(), lessByEndpoints);

    std::vector<RTriangle*> vKillT;
    for (const REdge* pRE : vFoundRE)
        oppCorners.collectLater(*pRE, vKillT);
    for (RTriangle* pRT : vKillT)
        if (pRT->isAlive())
            pRT->kill(this);
    return vKillT.size();
}

size_t RMesh::createPatchesOrient()
{
    const StageTimer stage("RM_cpo");
    Progress* pProgress = getRootProgress()->getChildProgressSetTodo("RM_cpo", vT.size());
    vRP.clear();
    for (RTriangle* pRT : vT) {
        pRT->bVisited = false;
        pRT->pPatch = nullptr;
    }
    std::vector<RTriangle*> vQueue;
    vQueue.reserve(vT.size());
    for (RTriangle* pRT : vT) {
        if (!pRT->isAlive() || pRT->bVisited)
            continue;
        vRP.push_back(std::make_unique<RPatch>(this, static_cast<int>(vRP.size())));
        growPatch(pRT, *vRP.back(), vQueue, pProgress);
    }
    pProgress->finish(true);
    return vRP.size();
}

// vQueue: working memory only.
void RMesh::growPatch(RTriangle* pSeed, RPatch& patch, std::vector<RTriangle*>& vQueue, Progress* pProgress)
{
    vQueue.assign(1, pSeed);
    pSeed->bVisited = true;
    for (size_t front = 0; front < vQueue.size(); ++front) {
        RTriangle* pRT = vQueue[front];
        pProgress->tick();
        pRT->pPatch = &patch;
        for (const REdge* pRE : pRT->aOppRE) {
            RTriangle* pNeig = pRE->getDegree() == 2 ? pRE->getOtherT(pRT) : nullptr;
            if (pNeig == nullptr || pNeig->bVisited)
                continue;
            vQueue.push_back(pNeig);
            if (pRT->needFlip(pNeig))
                pNeig->flipOrientation();
            pNeig->bVisited = true;
        }
    }
    patch.setTriangles(vQueue);
}

} // namespace TESK_ZAN
