#include "smallHoles.h"

#include "RMesh.h"
#include "freeFunctions.h"
#include "stageTrace.h"
#include "tesk_tools/FlatMap.h"

#include <algorithm>
#include <limits>
#include <vector>

namespace TESK_ZAN
{

namespace
{

constexpr size_t MAX_PIECE_PER_EDGE =
    4;                              // triangles: a surface of so few for each edge of its rim has no hole
constexpr double LEAST_SIDE = 1e-3; // cells
constexpr double NO_FILL = std::numeric_limits<double>::infinity();

using LoopVtx =
    std::vector<Point3*>; // each next to the one before, in the direction of the triangles to come

// Border edges as the way from vertex to vertex around each hole.
class HoleWalk
{
public:
    explicit HoleWalk(const RMesh& mesh)
    {
        for (const REdge* pRE : mesh.getAllRE()) {
            if (!pRE->isBorder())
                continue;
            const RTriangle* pRT = pRE->getTriangle(true, true); // runs the other way along the edge
            const int ici = pRT->getICI(pRE->getVtx0(), pRE->getVtx1());
            Point3* pFrom = pRT->getCorner(prevIndex3(ici));
            vStarts.push_back(pFrom);
            mNext.tryEmplace(numberOf(pFrom), {pRT->getCorner(nextIndex3(ici)), false});
        }
    }

    // In order of the edges. Calls f(loop) for each loop of at most maxEdges edges.
    template <class F>
    void forEachLoop(size_t maxEdges, F f)
    {
        LoopVtx loop;
        for (Point3* pStart : vStarts) {
            loop.clear();
            Point3* pVtx = pStart;
            do {
                Step* pStep = mNext.find(numberOf(pVtx));
                if (pStep == nullptr || pStep->bTaken)
                    break;
                pStep->bTaken = true;
                loop.push_back(pVtx);
                pVtx = pStep->pNext;
            } while (pVtx != pStart);
            if (pVtx == pStart && loop.size() >= 3 && loop.size() <= maxEdges)
                f(loop);
        }
    }

private:
    struct Step {
        Point3* pNext;
        bool bTaken;
    };

    std::vector<Point3*> vStarts;
    TESK_TOOLS::FlatMap<u64, Step, TESK_TOOLS::U64Hash> mNext; // by vertex number
};

// The triangulation of a loop with the least area, over all of its chords (i, j), i < j.
class LeastFill
{
public:
    LeastFill(const RMesh& mesh_, const LoopVtx& loop_)
        : mesh(mesh_), loop(loop_), vArea(loop.size() * loop.size(), 0.0), vTip(loop.size() * loop.size(), 0)
    {
        for (size_t width = 2; width < loop.size(); ++width)
            for (size_t i = 0; i + width < loop.size(); ++i)
                solve(i, i + width);
    }

    bool exists() const { return vArea[at(0, loop.size() - 1)] < NO_FILL; }

    // Appends the corners of the triangles.
    void appendTo(std::vector<Point3*>& vCorners) const { append(0, loop.size() - 1, vCorners); }

private:
    size_t at(size_t i, size_t j) const { return i * loop.size() + j; }

    bool isFreeChord(size_t i, size_t j) const
    {
        return j == i + 1 || (i == 0 && j + 1 == loop.size()) || !mesh.hasAliveEdge(loop[i], loop[j]);
    }

    // Vertices at one position, as where the repair has parted sheets, give triangles that are none in a
    // file.
    bool isNeedle(size_t i, size_t k, size_t j) const
    {
        const double sqLeast = LEAST_SIDE * LEAST_SIDE * mesh.getCellSize() * mesh.getCellSize();
        return sqDistance(*loop[i], *loop[k]) < sqLeast || sqDistance(*loop[k], *loop[j]) < sqLeast ||
               sqDistance(*loop[j], *loop[i]) < sqLeast;
    }

    void solve(size_t i, size_t j)
    {
        double& least = vArea[at(i, j)];
        least = NO_FILL;
        if (!isFreeChord(i, j))
            return;
        for (size_t k = i + 1; k < j; ++k) {
            bool bHasArea = false;
            getNormalVector(loop[i], loop[k], loop[j], bHasArea);
            const double area = vArea[at(i, k)] + vArea[at(k, j)] + getArea(*loop[i], *loop[k], *loop[j]);
            if (bHasArea && area < least && !isNeedle(i, k, j)) {
                least = area;
                vTip[at(i, j)] = k;
            }
        }
    }

    void append(size_t i, size_t j, std::vector<Point3*>& vCorners) const
    {
        if (j < i + 2)
            return;
        const size_t k = vTip[at(i, j)];
        vCorners.insert(vCorners.end(), {loop[i], loop[k], loop[j]});
        append(i, k, vCorners);
        append(k, j, vCorners);
    }

    const RMesh& mesh;
    const LoopVtx& loop;
    std::vector<double> vArea;
    std::vector<size_t> vTip;
};

// The surface that the loop bounds has at most so many triangles: the loop is its rim.
bool boundsAtMost(const RMesh& mesh, const LoopVtx& loop, size_t maxT)
{
    std::vector<RTriangle*> vRT = {mesh.getRE(loop[0], loop[1])->getTriangle(true, true)};
    for (size_t numDone = 0; numDone < vRT.size(); ++numDone)
        for (int i = 0; i < 3; ++i) {
            RTriangle* pNeig = vRT[numDone]->getRE(i)->getOtherT(vRT[numDone]);
            if (pNeig == nullptr || std::find(vRT.begin(), vRT.end(), pNeig) != vRT.end())
                continue;
            vRT.push_back(pNeig);
            if (vRT.size() > maxT)
                return false;
        }
    return true;
}

} // namespace

size_t closeSmallHoles(RMesh& mesh, size_t maxEdges, const std::function<bool(const Point3&)>& isMeant)
{
    const StageTimer stage("RM_smallHoles");
    size_t numClosed = 0;
    std::vector<Point3*> vCorners;
    HoleWalk(mesh).forEachLoop(maxEdges, [&](const LoopVtx& loop) {
        const auto numMeant =
            std::count_if(loop.begin(), loop.end(), [&](const Point3* pVtx) { return isMeant(*pVtx); });
        if (2 * size_t(numMeant) >= loop.size())
            return;
        const LeastFill fill(mesh, loop);
        vCorners.clear();
        if (fill.exists())
            fill.appendTo(vCorners);
        if (vCorners.empty() || boundsAtMost(mesh, loop, MAX_PIECE_PER_EDGE * loop.size()))
            return;
        for (size_t i = 0; i < vCorners.size(); i += 3)
            mesh.createT(vCorners[i], vCorners[i + 1], vCorners[i + 2]);
        ++numClosed;
    });
    return numClosed;
}

} // namespace TESK_ZAN
