#include "RMesh.h"

#include "Progress.h"
#include "RECollapse.h"
#include "SideForest.h"
#include "sortMT.h"
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
    explicit OppositeCorners(const REdge& edge)
    {
        edge.getAliveT(vRT);
        for (const RTriangle* pRT : vRT)
            vNumbers.push_back(numberOf(pRT->getThirdPoint(edge.getVtx0(), edge.getVtx1())));
    }

    bool hasRepeated() const
    {
        std::vector<std::uint32_t> vSorted = vNumbers;
        std::sort(vSorted.begin(), vSorted.end());
        return std::adjacent_find(vSorted.begin(), vSorted.end()) != vSorted.end();
    }

    // Appends each triangle with an opposite corner that a triangle before it on the edge has.
    void collectLater(std::vector<RTriangle*>& vLaterT) const
    {
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
    std::vector<RTriangle*> vRT;
    std::vector<std::uint32_t> vNumbers; // parallel to vRT
};

// True if two triangles of the edge have the same opposite corner.
bool hasTwins(const REdge& edge)
{
    RTriangle *pT0 = nullptr, *pT1 = nullptr;
    if (edge.getAdjT(pT0, pT1, true)) // nearly all edges; this reads no vertex
        return pT0->getThirdPoint(edge.getVtx0(), edge.getVtx1()) ==
               pT1->getThirdPoint(edge.getVtx0(), edge.getVtx1());
    return edge.getDegree() > 2 && OppositeCorners(edge).hasRepeated();
}

bool hasTwin(const RTriangle& triangle)
{
    std::vector<RTriangle*> vRT;
    triangle.getRE(0)->getAliveT(vRT);
    return std::any_of(vRT.begin(), vRT.end(), [&](const RTriangle* pRT) {
        return pRT != &triangle && pRT->has(triangle.getCorner(0));
    });
}

bool isOnBorder(const RMesh& mesh, const Point3* pVtx)
{
    std::vector<REdge*> vRE;
    mesh.getIncidentRE(pVtx, vRE);
    return std::any_of(vRE.begin(), vRE.end(), [](const REdge* pRE) { return pRE->isBorder(); });
}

// True if the collapse of the edge onto its other endpoint would join what is apart: two triangles into
// twins, the sides of a tube, or two stretches of border in a vertex.
bool changesTopology(const RMesh& mesh, const Point3* pSrc, const REdge& edge)
{
    const Point3* pTrg = edge.getOtherPoint(pSrc);
    return MovingFan(mesh, pSrc).isPinchedBy(mesh, pTrg) ||
           (!edge.isBorder() && isOnBorder(mesh, pSrc) && isOnBorder(mesh, pTrg));
}

// By the endpoints: the order in which a map of all edges under their vertex pairs would be walked.
bool lessByEndpoints(const REdge* p0, const REdge* p1)
{
    const std::uint32_t low0 = numberOf(p0->getVtx0());
    const std::uint32_t low1 = numberOf(p1->getVtx0());
    return low0 != low1 ? low0 < low1 : numberOf(p0->getVtx1()) < numberOf(p1->getVtx1());
}

// What hangs together over edges of degree 2, and which of its triangles are turned against the first one. It
// is found by joining triangles in the order of creation, in which neighbours mostly lie near in memory: a
// walk from neighbour to neighbour waits for memory twice as long, and so does one over the edges, which
// flips have put out of order.
class Sheets
{
public:
    explicit Sheets(const std::vector<RTriangle*>& vT) : forest(vT.size())
    {
        // Slices in parallel, each within itself, then what reaches across; that is little.
        constexpr size_t SLICE_SIZE = 1 << 16;
        std::vector<Links> vLinks(vT.size() / SLICE_SIZE + 1);
        std::vector<std::vector<SideForest::Index>> vvOneSided(vLinks.size());
        forSlicesMT(
            vT.size(), SLICE_SIZE,
            [&](size_t from, size_t to) {
                for (size_t i = from; i < to; ++i)
                    if (vT[i]->isAlive())
                        joinToLower(*vT[i], from, vLinks[from / SLICE_SIZE], vvOneSided[from / SLICE_SIZE]);
            },
            [] {});
        for (const auto& vOfSlice : vvOneSided)
            vOneSided.insert(vOneSided.end(), vOfSlice.begin(), vOfSlice.end());
        for (const Links& links : vLinks)
            for (const auto& [pT0, pT1] : links)
                join(*pT0, *pT1, vOneSided);
        for (SideForest::Index& number : vOneSided)
            number = forest.find(number).index;
        std::sort(vOneSided.begin(), vOneSided.end());
    }

    // The triangle of the sheet with the lowest number.
    SideForest::Root rootOf(const RTriangle& triangle) { return forest.find(numberOf(&triangle)); }

    bool isOneSided(SideForest::Index root) const
    {
        return std::binary_search(vOneSided.begin(), vOneSided.end(), root);
    }

private:
    using Links = std::vector<std::pair<const RTriangle*, const RTriangle*>>;

    // Joins the triangle to its neighbours with lower numbers, but only notes those below first.
    void joinToLower(const RTriangle& triangle, size_t first, Links& linksAcross,
                     std::vector<SideForest::Index>& vFoundOneSided)
    {
        for (int ici = 0; ici < 3; ++ici) {
            const REdge* pRE = triangle.getRE(ici);
            const RTriangle* pNeig = pRE->getDegree() == 2 ? pRE->getOtherT(&triangle) : nullptr;
            if (pNeig == nullptr || numberOf(pNeig) > numberOf(&triangle))
                continue;
            if (numberOf(pNeig) < first)
                linksAcross.emplace_back(pNeig, &triangle);
            else
                join(*pNeig, triangle, vFoundOneSided);
        }
    }

    void join(const RTriangle& triangle0, const RTriangle& triangle1,
              std::vector<SideForest::Index>& vFoundOneSided)
    {
        const SideForest::Root root0 = rootOf(triangle0);
        const SideForest::Root root1 = rootOf(triangle1);
        const bool bTurned = triangle0.needFlip(&triangle1) != (root0.bTurned != root1.bTurned);
        if (root0.index != root1.index)
            forest.attach(std::max(root0.index, root1.index), std::min(root0.index, root1.index), bTurned);
        else if (bTurned)
            vFoundOneSided.push_back(root0.index);
    }

    SideForest forest;                        // of the triangles, by number
    std::vector<SideForest::Index> vOneSided; // a triangle of each sheet that is; at last the roots, sorted
};

} // namespace

// Each collapse empties a vertex, so the loop ends.
void RMesh::killDegenerate(bool bKeepTopology)
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
        if (!findBestCollapse(pRT, bKeepTopology, pSrc, pTrg))
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
bool RMesh::findBestCollapse(const RTriangle* pRT, bool bKeepTopology, Point3*& pSrc, Point3*& pTrg) const
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
            if (worstDev >= bestDev || (bKeepTopology && changesTopology(*this, pCorner, *pRE)))
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
    std::vector<RTriangle*> vKillT;
    getDuplicateTriangles(vRE, vKillT);
    killTwins(vKillT);
    return vKillT.size();
}

size_t RMesh::killTwins(const std::vector<RTriangle*>& vLaterT)
{
    size_t numKilled = 0;
    for (RTriangle* pRT : vLaterT) {
        if (!pRT->isAlive() || !hasTwin(*pRT))
            continue; // was found at another edge; was the later one here, and the earlier one there
        pRT->kill(this);
        ++numKilled;
    }
    return numKilled;
}

void RMesh::getDuplicateTriangles(const std::vector<REdge*>& vAmongRE, std::vector<RTriangle*>& vLaterT) const
{
    std::vector<REdge*> vFoundRE = selectMT(vAmongRE, [](const REdge* pRE) { return hasTwins(*pRE); });
    std::sort(vFoundRE.begin(), vFoundRE.end(), lessByEndpoints);
    for (const REdge* pRE : vFoundRE)
        OppositeCorners(*pRE).collectLater(vLaterT);
}

size_t RMesh::createPatchesOrient()
{
    const StageTimer stage("RM_cpo");
    Progress* pProgress = getRootProgress()->getChildProgressSetTodo("RM_cpo", vT.size());
    vRP.clear();
    Sheets sheets(vT);
    for (RTriangle* pRT : vT) {
        pRT->pPatch = nullptr;
        if (!pRT->isAlive())
            continue;
        pProgress->tick();
        const SideForest::Root root = sheets.rootOf(*pRT);
        if (root.index == numberOf(pRT)) {
            vRP.push_back(std::make_unique<RPatch>(this, static_cast<int>(vRP.size())));
            vRP.back()->addTriangle(pRT);
            if (sheets.isOneSided(root.index))
                orientByWalk(pRT);
            continue;
        }
        vT[root.index]->pPatch->addTriangle(pRT);
        if (root.bTurned && !sheets.isOneSided(root.index))
            pRT->flipOrientation();
    }
    pProgress->finish(true);
    return vRP.size();
}

// Turns each triangle of a sheet as its neighbour nearer to the seed has it.
void RMesh::orientByWalk(RTriangle* pSeed)
{
    std::vector<RTriangle*> vQueue{pSeed};
    pSeed->bVisited = true;
    for (size_t front = 0; front < vQueue.size(); ++front) {
        RTriangle* pRT = vQueue[front];
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
    for (RTriangle* pRT : vQueue)
        pRT->bVisited = false;
}

} // namespace TESK_ZAN
