#include "HoleBridge.h"

#include "RMesh.h"
#include "freeCell.h"
#include "zanAssert.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <map>
#include <set>
#include <utility>

namespace TESK_ZAN
{

namespace
{

// Edges of a reconstruction are this many cells long on the average.
constexpr double EDGE_CELLS = 1.25;

// From this edge length on, in cells, the mesh has been reduced and its own lattice is too fine.
constexpr double MAX_EDGE_CELLS = 2.0;

// Free cells round the rows: for the array of a Hole, and its cubes.
constexpr int LATTICE_MARGIN = 12;

constexpr int MAX_FINER = 5;
constexpr double FINER_FACTOR = 4.0;

// How far round a hole its surroundings reach where they fill a box, in edges of the border: as far as the
// array of a Hole, whose cells are not longer.
constexpr double BOX_MARGIN_EDGES = 9.0;

constexpr int NUM_ROWS = 3;

// A point beyond the lattice comes out at its ends.
bool isInside(const Calc& calc, const Point3& point)
{
    u64 x, y, z;
    rcdToXYZ(calc.getRCD(&point), x, y, z);
    const u64 end = u64{1} << calc.getNumLevels();
    return std::min({x, y, z}) >= LATTICE_MARGIN && std::max({x, y, z}) + LATTICE_MARGIN < end;
}

} // namespace

double getMeanLength(const std::vector<REdge*>& vRE)
{
    double sum = 0.0;
    for (const REdge* pRE : vRE)
        sum += pRE->getLength();
    return sum / static_cast<double>(vRE.size());
}

struct HoleBridge::Box {
    double lo[3] = {std::numeric_limits<double>::max(), std::numeric_limits<double>::max(),
                    std::numeric_limits<double>::max()};
    double hi[3] = {std::numeric_limits<double>::lowest(), std::numeric_limits<double>::lowest(),
                    std::numeric_limits<double>::lowest()};

    Box(const std::vector<Point3*>& vVtx, double margin)
    {
        for (const Point3* pVtx : vVtx) {
            const double c[3] = {pVtx->x(), pVtx->y(), pVtx->z()};
            for (int axis = 0; axis < 3; ++axis) {
                lo[axis] = std::min(lo[axis], c[axis] - margin);
                hi[axis] = std::max(hi[axis], c[axis] + margin);
            }
        }
    }
    double extent() const { return std::max({hi[0] - lo[0], hi[1] - lo[1], hi[2] - lo[2]}); }
    bool holds(const Point3& p) const
    {
        const double c[3] = {p.x(), p.y(), p.z()};
        for (int axis = 0; axis < 3; ++axis)
            if (c[axis] < lo[axis] || c[axis] > hi[axis])
                return false;
        return true;
    }
};

HoleBridge::HoleBridge(RMesh* pMesh_, const std::vector<REdge*>& vLoopRE, BridgeReach reach) : pMesh(pMesh_)
{
    for (const REdge* pRE : vLoopRE)
        for (int i = 0; i < 2; ++i)
            vRowVtx.push_back(pRE->getVertex(i));
    sortUniqueByNumber(vRowVtx);
    const Box box(vRowVtx, BOX_MARGIN_EDGES * getMeanLength(vLoopRE));
    if (reach == BR_ROWS)
        collectRows(NUM_ROWS, nullptr);
    else
        collectRows(std::numeric_limits<int>::max(), &box);

    const double edgeLen = getMeanEdgeLength();
    bool bPlaced = false;
    if (fitsMeshLattice(edgeLen)) {
        oCalc = *pMesh->getCalc();
        bPlaced = assignCells();
    }
    // Where vertices crowd, finer cells; triangles are wider than a cube then, which only ears can do with.
    double cellSize = edgeLen / EDGE_CELLS;
    for (int i = 0; i < MAX_FINER && !bPlaced; ++i, cellSize /= FINER_FACTOR)
        bPlaced = makeLattice(cellSize) && assignCells();
    if (bPlaced)
        makeCMesh(vLoopRE);
}

// Rows as long as they find new vertices in the box, if there is one.
void HoleBridge::collectRows(int numRows, const Box* pBox)
{
    TESK_TOOLS::FlatMap<u64, bool, TESK_TOOLS::U64Hash> sSeenVtx, sSeenRT; // by number
    for (const Point3* pVtx : vRowVtx)
        sSeenVtx.tryEmplace(numberOf(pVtx), true);
    std::vector<Point3*> vFrontVtx = vRowVtx, vNextVtx;
    std::vector<RTriangle*> vRT;
    for (int row = 0; row < numRows && !vFrontVtx.empty(); ++row) {
        vRT.clear();
        for (const Point3* pVtx : vFrontVtx)
            if (row == 0 || pBox == nullptr || pBox->holds(*pVtx))
                pMesh->getIncidentT(pVtx, vRT);
        std::erase_if(vRT,
                      [&](const RTriangle* pRT) { return !sSeenRT.tryEmplace(numberOf(pRT), true).second; });
        vNextVtx.clear();
        for (const RTriangle* pRT : vRT)
            for (int ici = 0; ici < 3; ++ici)
                if (sSeenVtx.tryEmplace(numberOf(pRT->getCorner(ici)), true).second)
                    vNextVtx.push_back(pRT->getCorner(ici));
        vRowRT.insert(vRowRT.end(), vRT.begin(), vRT.end());
        vRowVtx.insert(vRowVtx.end(), vNextVtx.begin(), vNextVtx.end());
        vFrontVtx.swap(vNextVtx);
    }
    sortUniqueByNumber(vRowVtx);
    sortUniqueByNumber(vRowRT);
}

double HoleBridge::getMeanEdgeLength() const
{
    double sum = 0.0;
    for (const RTriangle* pRT : vRowRT)
        for (int ici = 0; ici < 3; ++ici)
            sum += pRT->getRE(ici)->getLength();
    return sum / static_cast<double>(3 * vRowRT.size());
}

bool HoleBridge::fitsMeshLattice(double edgeLen) const
{
    const Calc* pCalc = pMesh->getCalc();
    return pCalc != nullptr && edgeLen < MAX_EDGE_CELLS * pCalc->getCellSize() &&
           std::all_of(vRowVtx.begin(), vRowVtx.end(),
                       [pCalc](const Point3* pVtx) { return isInside(*pCalc, *pVtx); });
}

bool HoleBridge::makeLattice(double cellSize)
{
    const Box box(vRowVtx, (LATTICE_MARGIN + 0.5) * cellSize);
    const double numCells = box.extent() / cellSize + 1.0;
    if (!(numCells < static_cast<double>(MAX_COORD))) // also without any extent
        return false;
    const int numLevels = static_cast<int>(std::ceil(std::log2(numCells)));
    const double size = std::ldexp(cellSize, numLevels);
    oCalc.emplace(box.lo[0], box.lo[1], box.lo[2], size, size, size, numLevels);
    return true;
}

bool HoleBridge::assignCells()
{
    mCCD2Vtx.clear();
    mNumber2CCD.clear();
    vBundles.clear();
    mCCDBundle.clear();
    for (Point3* pVtx : vRowVtx) {
        const u64 ccd =
            findFreeCell(*oCalc, *pVtx, [this](u64 code) { return mCCD2Vtx.find(code) != nullptr; });
        if (ccd == FAILED_CODE)
            return false;
        mCCD2Vtx.tryEmplace(ccd, pVtx);
        mNumber2CCD.tryEmplace(numberOf(pVtx), ccd);
        vBundles.push_back({pVtx, ccd});
        mCCDBundle[ccd] = &vBundles.back();
    }
    return true;
}

void HoleBridge::makeCMesh(const std::vector<REdge*>& vLoopRE)
{
    oCMesh.emplace(nullptr, &*oCalc, &mCCDBundle, std::vector<u64>());
    const auto codeOf = [this](const Point3* pVtx) { return *mNumber2CCD.find(numberOf(pVtx)); };
    for (const RTriangle* pRT : vRowRT)
        oCMesh->createT(codeOf(pRT->getCorner(0)), codeOf(pRT->getCorner(1)), codeOf(pRT->getCorner(2)), 0,
                        0);
    for (const REdge* pRE : vLoopRE)
        vLoopCE.push_back(oCMesh->getEdge(codeOf(pRE->getVtx0()), codeOf(pRE->getVtx1())));
}

bool HoleBridge::isWelcome(const std::vector<CTriangle*>& vNewT, const std::vector<CTriangle*>& vGoneT) const
{
    // By edge between vertices of the mesh: how many triangles the patch adds to it.
    std::map<std::pair<u64, u64>, int> mAdded;
    const auto count = [&](const CTriangle& triangle, int step) {
        for (int ici = 0; ici < 3; ++ici) {
            const auto [low, high] =
                std::minmax({triangle.getCorner((ici + 1) % 3), triangle.getCorner((ici + 2) % 3)});
            if (mCCD2Vtx.find(low) != nullptr && mCCD2Vtx.find(high) != nullptr)
                mAdded[{low, high}] += step;
        }
    };
    std::set<const RTriangle*> sGone; // for look-ups only: its order is that of addresses
    for (const CTriangle* pCT : vGoneT) {
        const std::vector<RTriangle*> vFound = findInMesh(*pCT);
        sGone.insert(vFound.begin(), vFound.end());
        if (!vFound.empty())
            count(*pCT, -1);
    }
    std::set<std::array<u64, 3>> sNew;
    for (const CTriangle* pCT : vNewT) {
        if (!pCT->isAlive())
            continue;
        std::array<u64, 3> corners{pCT->getC0(), pCT->getC1(), pCT->getC2()};
        std::sort(corners.begin(), corners.end());
        if (!sNew.insert(corners).second)
            return false;
        const std::vector<RTriangle*> vTwins = findInMesh(*pCT);
        if (std::any_of(vTwins.begin(), vTwins.end(),
                        [&](const RTriangle* pRT) { return !sGone.contains(pRT); }))
            return false;
        count(*pCT, 1);
    }
    std::vector<RTriangle*> vRT;
    return std::all_of(mAdded.begin(), mAdded.end(), [&](const auto& edgeAndNum) {
        const auto& [ends, numAdded] = edgeAndNum;
        vRT.clear();
        pMesh->getAdjacentT(*mCCD2Vtx.find(ends.first), *mCCD2Vtx.find(ends.second), vRT);
        return numAdded <= 0 || static_cast<int>(vRT.size()) + numAdded <= 2;
    });
}

void HoleBridge::bringBack(const std::vector<CTriangle*>& vNewT, const std::vector<CTriangle*>& vGoneT)
{
    for (const CTriangle* pCT : vGoneT)
        killInMesh(*pCT);
    const auto vtxOf = [&](u64 ccd) {
        const auto [ppVtx, bNew] = mCCD2Vtx.tryEmplace(ccd, nullptr);
        if (bNew)
            *ppVtx = pMesh->createVtxBeside(*oCMesh->getVtx(ccd));
        return *ppVtx;
    };
    for (const CTriangle* pCT : vNewT) {
        if (!pCT->isAlive())
            continue;
        Point3* p0 = vtxOf(pCT->getC0());
        Point3* p1 = vtxOf(pCT->getC1());
        Point3* p2 = vtxOf(pCT->getC2());
        pMesh->createT(p0, p1, p2);
    }
}

void HoleBridge::killInMesh(const CTriangle& triangle)
{
    for (RTriangle* pRT : findInMesh(triangle))
        pRT->kill(pMesh);
}

// None for one of a patch that another patch has cut: it has never come to the mesh.
std::vector<RTriangle*> HoleBridge::findInMesh(const CTriangle& triangle) const
{
    Point3* aVtx[3];
    for (int ici = 0; ici < 3; ++ici) {
        Point3* const* ppVtx = mCCD2Vtx.find(triangle.getCorner(ici));
        if (ppVtx == nullptr)
            return {};
        aVtx[ici] = *ppVtx;
    }
    std::vector<RTriangle*> vRT;
    pMesh->getAdjacentT(aVtx[0], aVtx[1], vRT);
    std::erase_if(vRT, [&](const RTriangle* pRT) { return !pRT->has(aVtx[2]); });
    return vRT;
}

} // namespace TESK_ZAN
