#include "shapeRepair.h"

#include "LocalChange.h"
#include "RMesh.h"
#include "sortMT.h"
#include "stageTrace.h"

#include <algorithm>
#include <cstdint>
#include <vector>

namespace TESK_ZAN
{

namespace
{

constexpr double COS_10 = 0.984807753012208;
constexpr double COS_60 = 0.5;

// Each in turn, for what those before have left. On a clean cloud that is next to nothing; where there is
// more, noise of a few tenths of a cell has made it, and the surface is not known any better.
constexpr Allowance ALLOWANCES[] = {{}, {0.2, COS_60}, {0.3, COS_60}, {0.5, COS_60}};

double leastAngleCos(const RTriangle& triangle)
{
    return leastAngleCos(*triangle.getCorner(0), *triangle.getCorner(1), *triangle.getCorner(2));
}

// Of a regular edge. Reads cached normals.
bool isFold(const REdge& edge)
{
    RTriangle *pT0 = nullptr, *pT1 = nullptr;
    return edge.getAdjT(pT0, pT1, true) && pT0->getCachedNNV() * pT1->getCachedNNV() < FOLD_COS &&
           isRegular(edge);
}

// The cosine of the least angle, and 2 more for each fold.
double badnessOf(const RTriangle& triangle)
{
    constexpr double PER_FOLD = 2.0;
    double badness = leastAngleCos(triangle);
    for (int ici = 0; ici < 3; ++ici)
        badness += isFold(*triangle.getRE(ici)) ? PER_FOLD : 0.0;
    return badness;
}

// By number: 1 if the triangle has an angle below 10 degrees. Fills the cached normals, while the corners are
// at hand.
std::vector<char> findSlivers(const std::vector<RTriangle*>& vT)
{
    std::vector<char> vSliver(vT.size(), 0);
    forRangeMT(vT.size(), [&](size_t begin, size_t end) {
        for (size_t i = begin; i < end; ++i) {
            if (!vT[i]->isAlive())
                continue;
            vT[i]->fillNNV();
            vSliver[i] = leastAngleCos(*vT[i]) > COS_10 ? 1 : 0;
        }
    });
    return vSliver;
}

// By number of the edge. The cached normals must be filled.
std::vector<char> findFolds(const std::vector<REdge*>& vRE)
{
    std::vector<char> vFold(vRE.size(), 0);
    forRangeMT(vRE.size(), [&](size_t begin, size_t end) {
        for (size_t i = begin; i < end; ++i)
            vFold[i] = isFold(*vRE[i]) ? 1 : 0;
    });
    return vFold;
}

// Ends: each change takes away a vertex, or else a fold, or else raises the least of the angles that it
// changes. These are the same bits in each plan, however few digits tell them.
class ShapeRepair
{
public:
    explicit ShapeRepair(RMesh& mesh_) : mesh(mesh_), changer(mesh_) {}

    ShapeReport run(double maxShiftCells)
    {
        findBad();
        report.numBad = vHeap.size();
        for (const Allowance& allowance : ALLOWANCES) {
            if (allowance.shiftCells > maxShiftCells)
                break;
            emptyHeap(allowance);
            enqueueLeft();
        }
        return report;
    }

private:
    struct Entry {
        double badness;
        std::uint32_t number; // of the triangle
    };
    static bool comesLater(const Entry& e0, const Entry& e1)
    {
        return e0.badness != e1.badness ? e0.badness < e1.badness : e0.number > e1.number;
    }

    void findBad();
    void emptyHeap(const Allowance& allowance);
    void enqueueLeft();
    bool mend(const RTriangle& triangle, const Allowance& allowance);
    LocalChange findBest(const RTriangle& triangle, const Allowance& allowance);
    void enqueue(const RTriangle& triangle);
    void enqueueAround();

    RMesh& mesh;
    LocalChanger changer;
    std::vector<Entry> vHeap;         // the worst in front, of equal ones the lowest number
    std::vector<std::uint32_t> vLeft; // numbers of the triangles that no change has mended
    std::vector<RTriangle*> vNewT;    // of the last change
    ShapeReport report;
};

void ShapeRepair::findBad()
{
    std::vector<char> vBad = findSlivers(mesh.getAllT());
    const std::vector<char> vFold = findFolds(mesh.getAllRE());
    for (size_t i = 0; i < vFold.size(); ++i) {
        RTriangle *pT0 = nullptr, *pT1 = nullptr;
        if (vFold[i] != 0 && mesh.getAllRE()[i]->getAdjT(pT0, pT1, true))
            vBad[numberOf(pT0)] = vBad[numberOf(pT1)] = 1;
    }
    for (size_t i = 0; i < vBad.size(); ++i)
        if (vBad[i] != 0)
            enqueue(*mesh.getAllT()[i]);
}

void ShapeRepair::enqueue(const RTriangle& triangle)
{
    const double badness = badnessOf(triangle);
    if (!(badness > COS_10))
        return;
    vHeap.push_back({badness, numberOf(&triangle)});
    std::push_heap(vHeap.begin(), vHeap.end(), comesLater);
}

void ShapeRepair::emptyHeap(const Allowance& allowance)
{
    while (!vHeap.empty()) {
        std::pop_heap(vHeap.begin(), vHeap.end(), comesLater);
        const Entry entry = vHeap.back();
        vHeap.pop_back();
        const RTriangle* pRT = mesh.getAllT()[entry.number];
        if (!pRT->isAlive() || badnessOf(*pRT) != entry.badness)
            continue; // it has changed, and is in again
        if (!mend(*pRT, allowance))
            vLeft.push_back(entry.number);
    }
}

void ShapeRepair::enqueueLeft()
{
    TESK_TOOLS::sortUnique(vLeft);
    for (const std::uint32_t number : vLeft)
        if (mesh.getAllT()[number]->isAlive())
            enqueue(*mesh.getAllT()[number]);
    vLeft.clear();
}

bool ShapeRepair::mend(const RTriangle& triangle, const Allowance& allowance)
{
    const LocalChange best = findBest(triangle, allowance);
    if (best.pRE == nullptr)
        return false;
    changer.apply(best, vNewT);
    if (vNewT.empty())
        return false;
    ++(best.pSrc == nullptr ? report.numFlips : report.numCollapses);
    enqueueAround();
    return true;
}

// A flip that mends costs no vertex, so it comes before all collapses.
LocalChange ShapeRepair::findBest(const RTriangle& triangle, const Allowance& allowance)
{
    LocalChange best;
    Shape bestAfter, after;
    const auto consider = [&](const LocalChange& change) {
        if (changer.improves(change, allowance, after) &&
            (best.pRE == nullptr || after.isClearlyBetterThan(bestAfter))) {
            best = change;
            bestAfter = after;
        }
    };
    for (int ici = 0; ici < 3; ++ici)
        consider({triangle.getRE(ici), nullptr});
    if (best.pRE != nullptr && bestAfter.numFolds == 0 && bestAfter.leastAngleCos < COS_10)
        return best;
    for (int ici = 0; ici < 3; ++ici)
        for (int i = 0; i < 2; ++i)
            consider({triangle.getRE(ici), triangle.getRE(ici)->getVertex(i)});
    return best;
}

// What is bad among the new triangles and their neighbours: those may have become better or worse by their
// fold, or may be mended now.
void ShapeRepair::enqueueAround()
{
    std::vector<RTriangle*> vAround = vNewT;
    for (const RTriangle* pRT : vNewT)
        for (int ici = 0; ici < 3; ++ici)
            if (RTriangle* pNeig = pRT->getRE(ici)->getOtherT(pRT))
                vAround.push_back(pNeig);
    sortUniqueByNumber(vAround);
    for (RTriangle* pRT : vAround)
        pRT->fillNNV();
    for (const RTriangle* pRT : vAround)
        enqueue(*pRT);
}

} // namespace

ShapeReport repairShapes(RMesh& mesh, double maxShiftCells)
{
    const StageTimer stage("RM_shapes");
    return ShapeRepair(mesh).run(maxShiftCells);
}

} // namespace TESK_ZAN
