#include "RMesh.h"

#include "Progress.h"
#include "RECollapse.h"
#include "SideForest.h"
#include "sortMT.h"
#include "stageTrace.h"

#include <algorithm>
#include <limits>

namespace TESK_ZAN
{

namespace
{

bool isFlat(const RTriangle& triangle)
{
    return isFlatAngle(*triangle.getCorner(0), *triangle.getCorner(1), *triangle.getCorner(2));
}

// The triangles of a mesh that are flat, the last one first, and in front of them whatever is pushed: what
// has changed. As a stack of all triangles, but those that nothing has to be done about are sorted out in
// parallel.
class FlatStack
{
public:
    explicit FlatStack(const std::vector<RTriangle*>& vT_) : vT(vT_), numLeft(vT_.size())
    {
        transformMT(vT, vMayBeFlat,
                    [](const RTriangle* pRT) -> char { return pRT->isAlive() && isFlat(*pRT) ? 1 : 0; });
    }

    void push(const std::vector<RTriangle*>& vMore)
    {
        vPushed.insert(vPushed.end(), vMore.begin(), vMore.end());
        for (const RTriangle* pRT : vMore)
            vMayBeFlat[numberOf(pRT)] = 1;
    }

    // Null when empty.
    RTriangle* pop()
    {
        if (!vPushed.empty()) {
            RTriangle* pRT = vPushed.back();
            vPushed.pop_back();
            return pRT;
        }
        while (numLeft > 0)
            if (vMayBeFlat[--numLeft] != 0)
                return vT[numLeft];
        return nullptr;
    }

private:
    const std::vector<RTriangle*>& vT;
    size_t numLeft;
    std::vector<char> vMayBeFlat; // by number
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
    explicit Sheets(const std::vector<RTriangle*>& vT) : forest(vT.size()), vAlive(vT.size(), 0)
    {
        // Slices in parallel, each within itself, then what reaches across; that is little.
        constexpr size_t SLICE_SIZE = 1 << 16;
        std::vector<Links> vLinks(vT.size() / SLICE_SIZE + 1);
        std::vector<std::vector<SideForest::Index>> vvOneSided(vLinks.size());
        forSlicesMT(
            vT.size(), SLICE_SIZE,
            [&](size_t from, size_t to) {
                for (size_t i = from; i < to; ++i) {
                    if (!vT[i]->isAlive())
                        continue;
                    vAlive[i] = 1;
                    joinToLower(*vT[i], from, vLinks[from / SLICE_SIZE], vvOneSided[from / SLICE_SIZE]);
                }
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

    bool isAlive(size_t number) const { return vAlive[number] != 0; }

    // The triangle of the sheet with the lowest number.
    SideForest::Index rootOf(size_t number) { return forest.find(SideForest::Index(number)).index; }

    // Turned against the triangle with the lowest number, and the sheet has two sides. For several threads;
    // one step after rootOf has been asked of all triangles in order, since each then hangs from a root.
    bool isTurned(size_t number) const
    {
        const SideForest::Root root = forest.look(SideForest::Index(number));
        return root.bTurned && !isOneSided(root.index);
    }

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
        const SideForest::Root root0 = forest.find(numberOf(&triangle0));
        const SideForest::Root root1 = forest.find(numberOf(&triangle1));
        const bool bTurned = triangle0.needFlip(&triangle1) != (root0.bTurned != root1.bTurned);
        if (root0.index != root1.index)
            forest.attach(std::max(root0.index, root1.index), std::min(root0.index, root1.index), bTurned);
        else if (bTurned)
            vFoundOneSided.push_back(root0.index);
    }

    SideForest forest;                        // of the triangles, by number
    std::vector<char> vAlive;                 // by number
    std::vector<SideForest::Index> vOneSided; // a triangle of each sheet that is; at last the roots, sorted
};

} // namespace

void RMesh::killDegenerate(bool bKeepTopology)
{
    collapseFlat(bKeepTopology);
    killDuplicateTriangles();
}

// Each collapse empties a vertex, so the loop ends.
size_t RMesh::collapseFlat(bool bKeepTopology)
{
    const StageTimer stage("RM_kdeg");
    Progress* pProgress = getRootProgress()->getChildProgressSetTodo("RM_kdeg", 3 * vT.size());
    FlatStack stack(vT);
    pProgress->tickN(vT.size());
    size_t numCollapses = 0;
    std::vector<RTriangle*> vTouchedT;
    while (RTriangle* pRT = stack.pop()) {
        pProgress->tick();
        if (!pRT->isAlive() || !isFlat(*pRT))
            continue;
        Point3* pSrc = nullptr;
        Point3* pTrg = nullptr;
        if (!findBestCollapse(pRT, bKeepTopology, pSrc, pTrg))
            continue;
        exchangeCorner(pSrc, pTrg);
        ++numCollapses;
        vTouchedT.clear();
        getIncidentT(pTrg, vTouchedT);
        stack.push(vTouchedT);
    }
    pProgress->finish(true);
    return numCollapses;
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
    constexpr std::uint32_t NONE = std::numeric_limits<std::uint32_t>::max();
    Sheets sheets(vT);
    std::vector<std::uint32_t> vPatchOf(vT.size(), NONE); // by number
    std::vector<std::vector<RTriangle*>> vvMembers;
    std::vector<RTriangle*> vOneSided;       // the first triangles of such sheets
    for (size_t i = 0; i < vT.size(); ++i) { // reads no triangle, they are far in memory
        if (!sheets.isAlive(i))
            continue;
        const SideForest::Index root = sheets.rootOf(i);
        if (root == i) { // the lowest number, so the others find its patch there
            vPatchOf[i] = static_cast<std::uint32_t>(vvMembers.size());
            vvMembers.emplace_back();
            if (sheets.isOneSided(root))
                vOneSided.push_back(vT[i]);
        }
        vPatchOf[i] = vPatchOf[root];
        vvMembers[vPatchOf[i]].push_back(vT[i]);
    }
    for (size_t id = 0; id < vvMembers.size(); ++id)
        vRP.push_back(std::make_unique<RPatch>(this, static_cast<int>(id), std::move(vvMembers[id])));
    forRangeMT(vT.size(), [&](size_t begin, size_t end) {
        for (size_t i = begin; i < end; ++i) {
            vT[i]->pPatch = vPatchOf[i] == NONE ? nullptr : vRP[vPatchOf[i]].get();
            if (sheets.isTurned(i))
                vT[i]->flipOrientation();
        }
    });
    for (RTriangle* pSeed : vOneSided)
        orientByWalk(pSeed);
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
