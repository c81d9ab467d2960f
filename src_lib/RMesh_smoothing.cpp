#include "RMesh.h"

#include "Progress.h"
#include "sortMT.h"
#include "stageTrace.h"

#include <algorithm>
#include <string>

namespace TESK_ZAN
{

namespace
{

// Opens phases on the thread's root, or does nothing where none are wanted.
class OptionalPhase
{
public:
    OptionalPhase(bool bWanted, const std::string& name, u64 numTodo)
        : pProgress(bWanted ? getRootProgress()->getChildProgressSetTodo(name, numTodo) : nullptr)
    {
    }
    void tickN(u64 n)
    {
        if (pProgress != nullptr)
            pProgress->tickN(n);
    }
    void finish()
    {
        if (pProgress != nullptr)
            pProgress->finish(true);
    }

private:
    Progress* pProgress;
};

template <class PointerIter>
Point3 meanOf(PointerIter first, PointerIter last)
{
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;
    for (PointerIter it = first; it != last; ++it)
        (*it)->addOwnCoords(x, y, z);
    const auto num = static_cast<double>(last - first);
    return {x / num, y / num, z / num};
}

// Moves the vertex unless the place is taken, by itself or by another one.
bool moveIfFree(RMesh& mesh, Point3* pVtx, const Point3& place)
{
    if (!place.isFinite() || mesh.hasVtx(place))
        return false;
    mesh.updateVertex(pVtx, place);
    return true;
}

std::vector<bool> borderVertices(const RMesh& mesh)
{
    std::vector<bool> vBorderVtx(mesh.getNumVtx(), false); // by number
    for (const REdge* pRE : mesh.getAllRE())
        if (pRE->isBorder())
            for (int i = 0; i < 2; ++i)
                vBorderVtx[numberOf(pRE->getVertex(i))] = true;
    return vBorderVtx;
}

// The vertices that may move, and for each the vertices to whose mean it moves.
class NeighbourLists
{
public:
    // One entry for each direction of each edge that does not start on a border, by number of the source,
    // then of the edge. Linear.
    NeighbourLists(const RMesh& mesh_, const std::vector<bool>& vBorderVtx) : mesh(mesh_)
    {
        vStart.assign(mesh.getNumVtx() + 1, 0);
        forEachDirection(vBorderVtx, [this](const Point3* pSrc, Point3*) { ++vStart[numberOf(pSrc) + 1]; });
        for (size_t i = 1; i < vStart.size(); ++i)
            vStart[i] += vStart[i - 1];
        vNeig.resize(vStart.back());
        std::vector<size_t> vEnd(vStart.begin(), vStart.end() - 1);
        forEachDirection(vBorderVtx,
                         [&](const Point3* pSrc, Point3* pNeig) { vNeig[vEnd[numberOf(pSrc)]++] = pNeig; });
    }

    size_t size() const { return vNeig.size(); }

    // vMean: by vertex number, the mean of the neighbours where there are any. In parallel.
    void getMeans(std::vector<Point3>& vMean) const
    {
        vMean.resize(vStart.size() - 1);
        forRangeMT(vMean.size(), [&](size_t begin, size_t end) {
            for (size_t i = begin; i < end; ++i)
                if (isListed(i))
                    vMean[i] = meanOf(&vNeig[vStart[i]], vNeig.data() + vStart[i + 1]);
        });
    }

    bool isListed(size_t number) const { return vStart[number] != vStart[number + 1]; }

private:
    template <class F>
    void forEachDirection(const std::vector<bool>& vBorderVtx, F f) const
    {
        for (const REdge* pRE : mesh.getAllRE())
            for (int i = 0; i < 2; ++i)
                if (!vBorderVtx[numberOf(pRE->getVertex(i))])
                    f(pRE->getVertex(i), pRE->getVertex(1 - i));
    }

    const RMesh& mesh;
    std::vector<size_t> vStart; // by vertex number, and one more: where its neighbours begin in vNeig
    std::vector<Point3*> vNeig;
};

// All means come from the old positions, then the vertices move. False if none has moved.
bool smoothOnce(RMesh& mesh, const NeighbourLists& lists, std::vector<Point3>& vMean)
{
    lists.getMeans(vMean);
    bool bMoved = false;
    for (size_t i = 0; i < vMean.size(); ++i)
        if (lists.isListed(i) && moveIfFree(mesh, mesh.getVtx(i), vMean[i]))
            bMoved = true;
    return bMoved;
}

// The rounds of one smoothing, spread over at most MAX_SMOOTHING_PHASES phases. A round in which nothing
// moves is the last one that could change something.
void smoothRounds(RMesh& mesh, const NeighbourLists& lists, int iterations, bool bProgress)
{
    std::vector<Point3> vMean;
    const int numPhases = std::min(iterations, MAX_SMOOTHING_PHASES);
    int done = 0;
    for (int phase = 0; phase < numPhases; ++phase) {
        const int end = static_cast<int>((phase + 1LL) * iterations / numPhases);
        OptionalPhase progress(bProgress, "it%" + std::to_string(phase),
                               lists.size() * static_cast<u64>(end - done));
        for (; done < end; ++done) {
            if (!smoothOnce(mesh, lists, vMean))
                return;
            progress.tickN(lists.size());
        }
        progress.finish();
    }
}

// A vertex and its neighbours; without entries if the vertex lies on a border.
using AxisPlusRing = TESK_TOOLS::SmallVector<Point3*, 8>;

AxisPlusRing axisPlusRing(const RMesh& mesh, Point3* pVtx, std::vector<REdge*>& vIncRE)
{
    AxisPlusRing vAxisPlusRing;
    mesh.getIncidentRE(pVtx, vIncRE);
    if (std::any_of(vIncRE.begin(), vIncRE.end(), [](const REdge* pRE) { return pRE->isBorder(); }))
        return vAxisPlusRing;
    vAxisPlusRing.push_back(pVtx);
    for (const REdge* pRE : vIncRE)
        vAxisPlusRing.push_back(pRE->getOtherPoint(pVtx));
    return vAxisPlusRing;
}

} // namespace

void RMesh::laplacianSmoothing(int iterations, bool bProgress)
{
    {
        const StageTimer stage("RM_smooth");
        OptionalPhase border(bProgress, "border", vRE.size());
        const std::vector<bool> vBorderVtx = borderVertices(*this);
        border.finish();
        OptionalPhase list(bProgress, "list", vRE.size());
        const NeighbourLists lists(*this, vBorderVtx);
        list.finish();
        smoothRounds(*this, lists, iterations, bProgress);
    }
    killDegenerate(true);
}

void RMesh::smoothZeros(int iterations)
{
    constexpr size_t MIN_ENTRIES = 4;
    const StageTimer stage("RM_zeros");
    std::vector<AxisPlusRing> vvAxisPlusRing(vZeroVtx.size());
    forRangeMT(vZeroVtx.size(), [&](size_t begin, size_t end) {
        std::vector<REdge*> vIncRE;
        for (size_t i = begin; i < end; ++i)
            vvAxisPlusRing[i] = axisPlusRing(*this, vZeroVtx[i], vIncRE);
    });
    bool bMoved = true;
    for (int i = 0; i < iterations && bMoved; ++i) {
        bMoved = false;
        for (const AxisPlusRing& vP : vvAxisPlusRing)
            if (vP.size() >= MIN_ENTRIES && moveIfFree(*this, vP[0], meanOf(vP.begin(), vP.end())))
                bMoved = true;
    }
}

} // namespace TESK_ZAN
