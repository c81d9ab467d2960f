#include "Top.h"

#include "CMesh.h"
#include "Calc.h"
#include "FreeRooms.h"
#include "Point3Hash.h"
#include "Progress.h"
#include "SheetChoice.h"
#include "freeFunctions.h"
#include "random.h"
#include "solidSheets.h"
#include "sortMT.h"
#include "stageTrace.h"
#include "surplusStrips.h"
#include "tesk_tools/FlatMap.h"

#include <algorithm>
#include <set>
#include <tuple>

namespace TESK_ZAN
{

namespace
{

constexpr u64 MAX_TINY_T_MELT = 8; // as MAX_TINY_T of a reconstruction: a soup has no specks of noise

constexpr u64 SEPARATION_SEED = 0x5a414e02; // any fixed number
constexpr std::uint32_t SHIFT_STEPS = 1000; // a shift is one of so many steps of
constexpr double SHIFT_STEP_CELLS = 1e-5;
constexpr double LEAST_EDGE_CELLS = 1e-5; // parts that meet often have corners a few digits apart
constexpr u64 MAX_SHIFTS = 16;            // then the numbers are too coarse for shifts

// A vertex with the hash of its position, which finds those with the same one.
struct PlacedBundle {
    u64 hash;
    Bundle* pBundle;
    bool bMade; // by the mesh: it moves rather than one of the input
};

bool operator<(const PlacedBundle& a, const PlacedBundle& b)
{
    return std::tie(a.hash, a.bMade, a.pBundle->ccd) < std::tie(b.hash, b.bMade, b.pBundle->ccd);
}

// The vertex of the cell in which p lies, if its position is p, or else null.
Bundle* findAtHome(const CMesh& mesh, const Point3& p)
{
    Bundle* pBundle = mesh.findBundle(mesh.getCalc()->getCCD(&p));
    return pBundle != nullptr && *pBundle->pVtx == p ? pBundle : nullptr;
}

// Where a vertex can have the position of another one: of two at one place a stray lies in a cell that is not
// its own, and strays are few. So these are all strays, and whoever is at home where a stray lies.
std::vector<PlacedBundle> bundlesRoundStrays(const CMesh& mesh)
{
    std::vector<Bundle*> vBundles;
    mesh.getBundlesByCode(vBundles);
    const Calc* pCalc = mesh.getCalc();
    std::vector<Bundle*> vChosen = selectMT(
        vBundles, [pCalc](const Bundle* pBundle) { return pCalc->getCCD(pBundle->pVtx) != pBundle->ccd; });
    for (std::size_t i = 0, numStrays = vChosen.size(); i < numStrays; ++i)
        if (Bundle* pHome = findAtHome(mesh, *vChosen[i]->pVtx))
            vChosen.push_back(pHome);

    std::vector<u64> vMadeCCD;
    for (const Bundle* pBundle : mesh.getOwnBundles())
        vMadeCCD.push_back(pBundle->ccd);
    std::sort(vMadeCCD.begin(), vMadeCCD.end());
    std::vector<PlacedBundle> vPlaced;
    transformMT(vChosen, vPlaced, [&](Bundle* pBundle) {
        return PlacedBundle{Point3Hash()(*pBundle->pVtx), pBundle,
                            std::binary_search(vMadeCCD.begin(), vMadeCCD.end(), pBundle->ccd)};
    });
    sortMT(vPlaced.begin(), vPlaced.end());
    const auto last =
        std::unique(vPlaced.begin(), vPlaced.end(),
                    [](const PlacedBundle& a, const PlacedBundle& b) { return a.pBundle == b.pBundle; });
    vPlaced.erase(last, vPlaced.end());
    return vPlaced;
}

// The positions that are in use while vertices move.
class UsedPositions
{
public:
    // The bundles round strays, sorted.
    UsedPositions(const CMesh& mesh_, const std::vector<PlacedBundle>& vPlaced_srt)
        : mesh(mesh_), vPlaced(vPlaced_srt)
    {
    }

    bool has(const Point3& p) const
    {
        if (sNew.find(p) != nullptr || findAtHome(mesh, p) != nullptr)
            return true;
        const u64 hash = Point3Hash()(p);
        auto it = std::partition_point(vPlaced.begin(), vPlaced.end(),
                                       [hash](const PlacedBundle& placed) { return placed.hash < hash; });
        for (; it != vPlaced.end() && it->hash == hash; ++it)
            if (*it->pBundle->pVtx == p)
                return true;
        return false;
    }
    void add(const Point3& p) { sNew.tryEmplace(p, true); }

private:
    const CMesh& mesh;
    const std::vector<PlacedBundle>& vPlaced;
    TESK_TOOLS::FlatMap<Point3, bool, Point3Hash> sNew;
};

double shiftAt(u64 trial, u64 ccd, u64 axis)
{
    const double step = randomAt(SEPARATION_SEED, 3 * trial + axis, ccd) * SHIFT_STEPS;
    return double(std::uint32_t(step)) * SHIFT_STEP_CELLS;
}

// The shifts are large enough to leave the triangles there an area.
Point3 freePlaceBeside(const Point3& p, u64 ccd, double cellSize, const UsedPositions& used)
{
    for (u64 trial = 0; trial < MAX_SHIFTS; ++trial) {
        const Point3 moved(p.x() + cellSize * shiftAt(trial, ccd, 0),
                           p.y() + cellSize * shiftAt(trial, ccd, 1),
                           p.z() + cellSize * shiftAt(trial, ccd, 2));
        if (!used.has(moved))
            return moved;
    }
    Point3 moved = p;
    while (used.has(moved)) // each step is to a new place, and the used ones are so many and no more
        moveBySmallestStep(moved);
    return moved;
}

// Of the vertices at one position all but the first move.
void partEqual(const std::vector<PlacedBundle>& vPlaced_srt, const Calc& calc, UsedPositions& used)
{
    for (std::size_t first = 0, last = 0; first < vPlaced_srt.size(); first = last) {
        while (last < vPlaced_srt.size() && vPlaced_srt[last].hash == vPlaced_srt[first].hash)
            ++last;
        for (std::size_t i = first + 1; i < last; ++i) {
            Bundle* pBundle = vPlaced_srt[i].pBundle;
            Point3& p = *pBundle->pVtx;
            const auto isThere = [&](const PlacedBundle& placed) { return *placed.pBundle->pVtx == p; };
            if (!std::any_of(vPlaced_srt.begin() + std::ptrdiff_t(first),
                             vPlaced_srt.begin() + std::ptrdiff_t(i), isThere))
                continue; // two positions with one hash
            p.set(freePlaceBeside(p, pBundle->ccd, calc.getCellSize(), used));
            used.add(p);
        }
    }
}

// In order of the edges. A move can make another edge short, which counts if it comes later.
void partShortEdges(const CMesh& mesh, UsedPositions& used)
{
    const double cellSize = mesh.getCalc()->getCellSize();
    const double least = LEAST_EDGE_CELLS * cellSize;
    const auto isTooShort = [&mesh, least](const CEdge* pCE) {
        return pCE->getDegree() > 0 &&
               !((*mesh.getVtx(pCE->getV1()) - *mesh.getVtx(pCE->getV0())).sqLength() >= least * least);
    };
    std::set<std::uint32_t> sNumbers;
    for (const CEdge* pCE : selectMT(mesh.getE(), isTooShort))
        sNumbers.insert(sNumbers.end(), pCE->getNumber());
    std::vector<CEdge*> vCE;
    while (!sNumbers.empty()) {
        const CEdge* pCE = mesh.getE()[*sNumbers.begin()];
        sNumbers.erase(sNumbers.begin());
        if (!isTooShort(pCE))
            continue;
        Point3& p1 = *mesh.getVtx(pCE->getV1());
        p1.set(freePlaceBeside(p1, pCE->getV1(), cellSize, used));
        used.add(p1);
        vCE.clear();
        mesh.getIncidentCE(pCE->getV1(), vCE);
        for (const CEdge* pMovedCE : vCE)
            if (pMovedCE->getNumber() > pCE->getNumber())
                sNumbers.insert(pMovedCE->getNumber());
    }
}

} // namespace

void Top::runMelt(Voro* pVoro)
{
    {
        const StageTimer timer("TP_unif");
        Progress* pProgress = getRootProgress()->getChildProgressSetTodo("TP_unif", 1);
        unifyDiagonals();
        pProgress->tick();
        pProgress->finish(true);
    }
    if (!pMesh->isRegular()) {
        bBoundsBodies = killSurplusOfSolids();
        if (!bBoundsBodies)
            settleSheets(pVoro);
    }
    finishMelt();
}

void Top::settleSheets(Voro* pVoro)
{
    cbsComplete(pVoro);
    cbsComplete(pVoro); // the cells of the first one can complete further cubes
    integrateBorders(MAX_TINY_T_MELT);
    SheetChoice choice(pMesh);
    dividePatches();
    solvePatchPairs(true);
    killSurplus();
    {
        const StageTimer timer("TP_choice");
        choice.settle(vInputBorderCCD);
    }
}

// False if the bodies are not to be told from what lies between them; nothing is killed then.
bool Top::killSurplusOfSolids()
{
    const StageTimer timer("TP_solids");
    std::vector<CTriangle*> vSurplus;
    if (!findInside || !getSurplusOfSolids(*pMesh, findInside, vSurplus))
        return false;
    for (CTriangle* pCT : vSurplus)
        pCT->kill(pMesh);
    return true;
}

// Each turn but the last has killed something. A strip that is gone can leave a pocket.
void Top::killSurplus()
{
    const StageTimer timer("TP_surplus");
    std::vector<CEdge*> vMeetingCE;
    pMesh->getDegN(-1, vMeetingCE);
    if (vMeetingCE.empty())
        return;
    const FreeRooms rooms(pMesh->getCellsWithBundle());
    std::vector<CTriangle*> vSurplus;
    do {
        solvePatchPairs(false);
        vSurplus.clear();
        getSurplusTriangles(pMesh, rooms, vSurplus);
        for (CTriangle* pCT : vSurplus)
            pCT->kill(pMesh);
        pMesh->updatePatches(vSurplus);
    } while (!vSurplus.empty());
}

void Top::finishMelt()
{
    const StageTimer timer("TP_fin");
    Progress* pProgress = getRootProgress()->getChildProgressSetTodo("TP_fin", 3);
    killTinyBorderPatches(MAX_TINY_T_MELT);
    pProgress->tick();
    pMesh->averageAllBundles(); // not the points on the input: they carry its corners and edges
    pMesh->splitDegenerate();
    pProgress->tick();
    separateVertices();
    pProgress->tick();
    pProgress->finish(true);
}

void Top::separateVertices()
{
    const std::vector<PlacedBundle> vPlaced = bundlesRoundStrays(*pMesh);
    UsedPositions used(*pMesh, vPlaced);
    partEqual(vPlaced, *pCalc, used);
    partShortEdges(*pMesh, used);
}

} // namespace TESK_ZAN
