#include "edgeSharpening.h"

#include "LocalChange.h"
#include "Progress.h"
#include "RMesh.h"
#include "SharpEdgePlan.h"

#include "stageTrace.h"
#include "trianglesCross.h"

#include <algorithm>
#include <array>
#include <tuple>
#include <vector>

namespace TESK_ZAN
{

namespace
{

constexpr double CROWDED_CELLS = 0.4; // between new vertices: half of what is usual in a mesh
constexpr double MAX_SHIFT_CELLS = 0.1;
constexpr double COS_10 = 0.984807753012208;
constexpr double COS_20 = 0.9396926207859084;
constexpr int MAX_ROUNDS = 4;
constexpr size_t MAX_NEAR = 100; // vertices around a vertex that are looked at: no hubs

std::array<const Point3*, 3> cornersOf(const RTriangle& triangle)
{
    return {triangle.getCorner(0), triangle.getCorner(1), triangle.getCorner(2)};
}

// Ends: each step is a pass over the new vertices, repeated a few times at most.
class EdgeSharpener
{
public:
    explicit EdgeSharpener(RMesh& mesh_) : mesh(mesh_), cell(mesh_.getCellSize()), changer(mesh_) {}

    size_t run(double featureAngle)
    {
        constexpr size_t NUM_STEPS = 3;
        Progress* pProgress = getRootProgress()->getChildProgressSetTodo("SH_edges", NUM_STEPS);
        const SharpEdgePlan plan(mesh, featureAngle);
        pProgress->tick();
        split(plan);
        pProgress->tick();
        thinOut();
        repeat([this](Point3* pVtx) { return mend(pVtx); });
        repeat([this](Point3* pVtx) { return takeBack(pVtx); });
        pProgress->finish(true);
        return countAdded();
    }

private:
    void split(const SharpEdgePlan& plan);
    void thinOut();
    void collectCrowded(std::vector<REdge*>& vRE) const;
    bool join(REdge* pRE);
    bool mend(Point3* pVtx);
    bool takeBack(Point3* pVtx);
    bool crossesNearby(const Point3* pVtx) const;
    size_t countAdded() const;

    // Visits the new vertices until a round changes nothing, or often enough.
    template <class F>
    void repeat(F changes)
    {
        for (int round = 0; round < MAX_ROUNDS; ++round) {
            bool bChanged = false;
            for (size_t i = firstNew; i < mesh.getNumVtx(); ++i)
                bChanged = changes(mesh.getVtx(i)) || bChanged;
            if (!bChanged)
                return;
        }
    }

    bool isNew(const Point3* pVtx) const { return numberOf(pVtx) >= firstNew; }
    bool isCorner(const Point3* pVtx) const { return numberOf(pVtx) >= firstCorner; }

    RMesh& mesh;
    double cell;
    LocalChanger changer;
    size_t firstNew = 0;           // the number of the first new vertex
    size_t firstCorner = 0;        // of the first one that stands in a corner: they come last
    std::vector<RTriangle*> vNewT; // of the last change
};

// The best of some changes so far.
struct BestChange {
    LocalChange change;
    Shape after;

    void consider(const LocalChange& other, const Shape& otherAfter)
    {
        if (change.pRE != nullptr && !otherAfter.isClearlyBetterThan(after))
            return;
        change = other;
        after = otherAfter;
    }
};

// Splits of two edges of a triangle give its sharp edge at once, since the second new vertex is opposite an
// edge that ends at the first. In a triangle with three of them the first is joined to the corner opposite,
// and on that edge the corner vertex finds its place between all others.
void EdgeSharpener::split(const SharpEdgePlan& plan)
{
    firstNew = mesh.getNumVtx();
    for (const EdgeSplit& split : plan.getSplits())
        split.pRE->split(mesh.createVtxBeside(split.place), &mesh);
    firstCorner = mesh.getNumVtx();
    for (const CornerSplit& corner : plan.getCorners())
        if (REdge* pRE = mesh.getRE(mesh.getVtx(firstNew + corner.split), corner.pOpp))
            pRE->split(mesh.createVtxBeside(corner.place), &mesh);
}

void EdgeSharpener::thinOut()
{
    std::vector<REdge*> vRE;
    for (int round = 0; round < MAX_ROUNDS; ++round) {
        collectCrowded(vRE);
        bool bChanged = false;
        for (REdge* pRE : vRE) // an earlier collapse may have made it longer
            if (pRE->isAlive() && pRE->getLength() < CROWDED_CELLS * cell)
                bChanged = join(pRE) || bChanged;
        if (!bChanged)
            return;
    }
}

// The short edges between new vertices, the shortest first.
void EdgeSharpener::collectCrowded(std::vector<REdge*>& vRE) const
{
    vRE.clear();
    std::vector<REdge*> vIncidentRE;
    for (size_t i = firstNew; i < mesh.getNumVtx(); ++i) {
        mesh.getIncidentRE(mesh.getVtx(i), vIncidentRE);
        for (REdge* pRE : vIncidentRE)
            if (pRE->getVtx0() == mesh.getVtx(i) && isNew(pRE->getVtx1()) &&
                pRE->getLength() < CROWDED_CELLS * cell)
                vRE.push_back(pRE);
    }
    std::sort(vRE.begin(), vRE.end(), [](const REdge* pRE0, const REdge* pRE1) {
        return std::tuple(pRE0->getLength(), pRE0->getNumber()) <
               std::tuple(pRE1->getLength(), pRE1->getNumber());
    });
}

// Onto the end that leaves the better triangles, or that is a corner.
bool EdgeSharpener::join(REdge* pRE)
{
    BestChange best;
    for (int i = 0; i < 2; ++i) {
        const LocalChange change{pRE, pRE->getVertex(i)};
        if (isCorner(change.pSrc) && !isCorner(pRE->getVertex(1 - i)))
            continue;
        Shape before, after;
        double shift = 0.0;
        if (changer.foresee(change, before, after, shift) && shift <= MAX_SHIFT_CELLS * cell &&
            after.numFolds <= before.numFolds &&
            after.leastAngleCos <= std::max(before.leastAngleCos, COS_20))
            best.consider(change, after);
    }
    if (best.change.pRE == nullptr)
        return false;
    changer.apply(best.change, vNewT);
    return true;
}

// A flip beside the vertex, or its collapse along the surface, if that makes the triangles better.
bool EdgeSharpener::mend(Point3* pVtx)
{
    BestChange best;
    const auto consider = [&](const LocalChange& change) {
        Shape after;
        if (changer.improves(change, Allowance{}, after))
            best.consider(change, after);
    };
    std::vector<REdge*> vRE;
    mesh.getIncidentRE(pVtx, vRE);
    for (REdge* pRE : vRE) {
        consider({pRE, nullptr});
        if (!isCorner(pVtx))
            consider({pRE, pVtx});
    }
    vRE.clear();
    mesh.getRingRE(pVtx, vRE);
    for (REdge* pRE : vRE)
        consider({pRE, nullptr});
    if (best.change.pRE == nullptr)
        return false;
    changer.apply(best.change, vNewT);
    return true;
}

// Where a fold, a small angle or a crossing is left, the new vertex goes along the edge that leaves the best
// triangles, even if the chamfer comes back there.
bool EdgeSharpener::takeBack(Point3* pVtx)
{
    BestChange best;
    std::vector<REdge*> vRE;
    mesh.getIncidentRE(pVtx, vRE);
    const bool bCrosses = crossesNearby(pVtx);
    for (REdge* pRE : vRE) {
        Shape before, after;
        double shift = 0.0;
        const LocalChange change{pRE, pVtx};
        if (!changer.foresee(change, before, after, shift))
            continue;
        const bool bBad = before.numFolds > 0 || before.leastAngleCos > COS_10;
        const bool bNoWorse = after.numFolds <= before.numFolds &&
                              after.leastAngleCos <= std::max(before.leastAngleCos, COS_10);
        if ((bBad && after.isClearlyBetterThan(before)) || (bCrosses && bNoWorse))
            best.consider(change, after);
    }
    if (best.change.pRE == nullptr)
        return false;
    changer.apply(best.change, vNewT);
    return true;
}

// True if a triangle at the vertex runs through one that is no more than three edges away.
bool EdgeSharpener::crossesNearby(const Point3* pVtx) const
{
    std::vector<RTriangle*> vStarT, vNearT;
    mesh.getIncidentT(pVtx, vStarT);
    std::vector<Point3*> vFront, vRing, vNext = {mesh.getVtx(numberOf(pVtx))};
    for (int ring = 0; ring < 2; ++ring) {
        vFront.swap(vNext);
        vNext.clear();
        for (const Point3* p : vFront) {
            mesh.getRingVtx(p, vRing);
            vNext.insert(vNext.end(), vRing.begin(), vRing.end());
        }
        sortUniqueByNumber(vNext);
        if (vNext.size() > MAX_NEAR)
            return false;
    }
    for (const Point3* p : vNext)
        mesh.getIncidentT(p, vNearT);
    sortUniqueByNumber(vNearT);
    for (const RTriangle* pStarT : vStarT)
        for (const RTriangle* pNearT : vNearT)
            if (trianglesCross(cornersOf(*pStarT), cornersOf(*pNearT)))
                return true;
    return false;
}

size_t EdgeSharpener::countAdded() const
{
    size_t num = 0;
    for (size_t i = firstNew; i < mesh.getNumVtx(); ++i)
        num += recordOf(mesh.getVtx(i)).vTNumbers.size() > 0 ? 1 : 0;
    return num;
}

} // namespace

size_t sharpenEdges(RMesh& mesh, double featureAngle)
{
    const StageTimer stage("SH_edges");
    return EdgeSharpener(mesh).run(featureAngle);
}

} // namespace TESK_ZAN
