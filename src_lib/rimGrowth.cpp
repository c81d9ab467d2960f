#include "rimGrowth.h"

#include "LocalChange.h"
#include "RMesh.h"
#include "freeFunctions.h"
#include "stageTrace.h"
#include "tesk_tools/FlatMap.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <tuple>
#include <utility>

namespace TESK_ZAN
{

namespace
{

constexpr double MIN_HEIGHT = 0.25; // from edge to tip, in cells
constexpr double MAX_HEIGHT = 1.5;
constexpr double LEAST_ANGLE_COS = 0.9659258262890683;   // 15 degrees
constexpr double SHARPEST_TURN_COS = 0.7071067811865476; // 45 degrees
constexpr int MAX_ROUNDS = 20;
constexpr std::int64_t REACH = 2;  // cells that a search looks around, MAX_HEIGHT rounded up
constexpr std::int64_t COARSE = 4; // cells on a side of a coarse cell

// A cell of a local lattice with room for neighbours, packed so that neighbours along z follow each other.
struct LatticeCell {
    std::int64_t x, y, z;

    u64 getCode() const
    {
        return static_cast<u64>(x) << 42 | static_cast<u64>(y) << 21 | static_cast<u64>(z);
    }
    LatticeCell coarse() const { return {x / COARSE + REACH, y / COARSE + REACH, z / COARSE + REACH}; }
};

class Lattice
{
public:
    Lattice(const std::vector<Point3>& vPoints, const std::vector<Point3*>& vVtx, double cell_) : cell(cell_)
    {
        for (const Point3& p : vPoints)
            widen(p);
        for (const Point3* p : vVtx)
            widen(*p);
    }

    LatticeCell cellOf(const Point3& p) const
    {
        return {indexOf(p.x() - min[0]), indexOf(p.y() - min[1]), indexOf(p.z() - min[2])};
    }

private:
    void widen(const Point3& p)
    {
        min[0] = std::min(min[0], p.x());
        min[1] = std::min(min[1], p.y());
        min[2] = std::min(min[2], p.z());
    }

    // A run's grid has fewer cells than this; where a mesh is larger, the last ones are shared.
    std::int64_t indexOf(double offset) const
    {
        constexpr double LAST = (1 << 21) - 1 - REACH;
        return static_cast<std::int64_t>(std::clamp(offset / cell, 0.0, LAST - REACH)) + REACH;
    }

    double cell;
    double min[3] = {std::numeric_limits<double>::max(), std::numeric_limits<double>::max(),
                     std::numeric_limits<double>::max()};
};

using CodeSet = TESK_TOOLS::FlatMap<u64, char, TESK_TOOLS::U64Hash>;
template <class T>
using CodeList = std::vector<std::pair<u64, T>>; // sorted by code

// Calls f with each cell within range of a cell.
template <class F>
void forEachAround(const LatticeCell& c, std::int64_t range, F f)
{
    for (std::int64_t x = c.x - range; x <= c.x + range; ++x)
        for (std::int64_t y = c.y - range; y <= c.y + range; ++y)
            for (std::int64_t z = c.z - range; z <= c.z + range; ++z)
                f(LatticeCell{x, y, z});
}

// Calls f with what the list has in the cells within REACH of a cell.
template <class T, class F>
void forEachNear(const CodeList<T>& vList, const LatticeCell& c, F f)
{
    for (std::int64_t x = c.x - REACH; x <= c.x + REACH; ++x)
        for (std::int64_t y = c.y - REACH; y <= c.y + REACH; ++y) {
            const u64 last = LatticeCell{x, y, c.z + REACH}.getCode();
            auto it = std::lower_bound(vList.begin(), vList.end(), LatticeCell{x, y, c.z - REACH}.getCode(),
                                       [](const auto& entry, u64 code) { return entry.first < code; });
            for (; it != vList.end() && it->first <= last; ++it)
                f(it->second);
        }
}

// A rim edge and the point that is to be the tip over it.
struct Growth {
    REdge* pRE = nullptr; // null: none
    size_t iPoint = 0;
    double height = 0.0;
};

class RimGrower
{
public:
    RimGrower(RMesh& mesh_, const std::vector<Point3>& vPoints_, const std::vector<Point3*>& vVtx)
        : mesh(mesh_), vPoints(vPoints_), cell(mesh_.getCellSize()), lattice(vPoints_, vVtx, cell),
          vOpen(vPoints_.size())
    {
        for (size_t i = 0; i < vOpen.size(); ++i)
            vOpen[i] = i;
        collectVertices(vVtx);
    }

    size_t runRound();

private:
    void collectVertices(const std::vector<Point3*>& vVtx);
    void collectRim();
    bool isUsed(const Point3& p);
    Growth getGrowth(size_t iPoint) const;
    bool fits(const REdge& edge, const Point3& tip) const;
    bool isFree(const Point3* pFrom, const Point3* pTo, const Point3& tip, const Vector3& normal) const;
    void grow(const Growth& growth);

    RMesh& mesh;
    const std::vector<Point3>& vPoints;
    double cell;
    Lattice lattice;
    std::vector<size_t> vOpen;           // the points that are no used vertices, ascending
    CodeList<REdge*> vRim;               // the border edges, by the cells of their middles and endpoints
    CodeList<Point3*> vNearVtx;          // the vertices near the points
    std::vector<const Point3*> vRimVtx;  // sorted by address, for look-up only
    std::vector<RTriangle*> vIncidentRT; // working space
};

// Only what a search from one of the points can reach: most of a mesh is far from its rim.
void RimGrower::collectVertices(const std::vector<Point3*>& vVtx)
{
    CodeSet near;
    for (const Point3& p : vPoints)
        forEachAround(lattice.cellOf(p).coarse(), 1,
                      [&](const LatticeCell& c) { near.tryEmplace(c.getCode(), 1); });
    for (Point3* pVtx : vVtx) {
        const LatticeCell c = lattice.cellOf(*pVtx);
        if (near.find(c.coarse().getCode()) != nullptr)
            vNearVtx.emplace_back(c.getCode(), pVtx);
    }
    std::stable_sort(vNearVtx.begin(), vNearVtx.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });
}

void RimGrower::collectRim()
{
    vRim.clear();
    vRimVtx.clear();
    for (REdge* pRE : mesh.getAllRE()) {
        if (!pRE->isBorder())
            continue;
        const Point3 &p0 = *pRE->getVtx0(), &p1 = *pRE->getVtx1();
        const Point3 mid((p0.x() + p1.x()) / 2, (p0.y() + p1.y()) / 2, (p0.z() + p1.z()) / 2);
        for (const Point3* p : {&p0, &p1, &mid})
            vRim.emplace_back(lattice.cellOf(*p).getCode(), pRE);
        vRimVtx.insert(vRimVtx.end(), {&p0, &p1});
    }
    std::stable_sort(vRim.begin(), vRim.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });
    std::sort(vRimVtx.begin(), vRimVtx.end());
}

// A vertex that no triangle uses, from a cell that no surface came through, is as good as a new one.
bool RimGrower::isUsed(const Point3& p)
{
    if (!mesh.hasVtx(p))
        return false;
    vIncidentRT.clear();
    mesh.getIncidentT(mesh.createVtx(p, false), vIncidentRT);
    return !vIncidentRT.empty();
}

// The furthest tips first. Those near one that has been taken wait: they may have a nearer edge now.
size_t RimGrower::runRound()
{
    collectRim();
    std::erase_if(vOpen, [&](size_t iPoint) { return isUsed(vPoints[iPoint]); });
    std::vector<Growth> vGrowth;
    for (const size_t iPoint : vOpen) {
        const Growth growth = getGrowth(iPoint);
        if (growth.pRE != nullptr)
            vGrowth.push_back(growth);
    }
    std::stable_sort(vGrowth.begin(), vGrowth.end(),
                     [](const Growth& a, const Growth& b) { return a.height > b.height; });
    CodeSet taken;
    size_t numGrown = 0;
    for (const Growth& growth : vGrowth) {
        const LatticeCell c = lattice.cellOf(vPoints[growth.iPoint]).coarse();
        if (taken.find(c.getCode()) != nullptr)
            continue;
        forEachAround(c, 1, [&](const LatticeCell& neig) { taken.tryEmplace(neig.getCode(), 1); });
        grow(growth);
        ++numGrown;
    }
    std::stable_sort(vNearVtx.begin(), vNearVtx.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });
    return numGrown;
}

// The growth over the nearest rim edge; over a vertex, where two are nearest, the one with the better
// triangle.
Growth RimGrower::getGrowth(size_t iPoint) const
{
    const Point3& tip = vPoints[iPoint];
    Growth best;
    best.iPoint = iPoint;
    double bestCos = 0.0;
    forEachNear(vRim, lattice.cellOf(tip), [&](REdge* pRE) {
        const double height = distanceToSegment(*pRE->getVtx0(), *pRE->getVtx1(), tip);
        if (best.pRE != nullptr && height > best.height)
            return;
        const double angleCos = leastAngleCos(*pRE->getVtx0(), *pRE->getVtx1(), tip);
        const auto rank = [](double h, double c, const REdge* p) { return std::tuple(h, c, p->getNumber()); };
        if (best.pRE != nullptr && rank(best.height, bestCos, best.pRE) <= rank(height, angleCos, pRE))
            return;
        best.pRE = pRE;
        best.height = height;
        bestCos = angleCos;
    });
    const bool bGood = best.pRE != nullptr && best.height >= MIN_HEIGHT * cell &&
                       best.height <= MAX_HEIGHT * cell && fits(*best.pRE, tip);
    return bGood ? best : Growth{};
}

bool RimGrower::fits(const REdge& edge, const Point3& tip) const
{
    RTriangle* pRT = edge.getTriangle(true, true); // runs the other way along the edge
    const int ici = pRT->getICI(edge.getVtx0(), edge.getVtx1());
    const Point3 *pFrom = pRT->getCorner((ici + 2) % 3), *pTo = pRT->getCorner((ici + 1) % 3);
    bool bOK = false, bOKOld = false;
    const Vector3 normal = getNormalVector(pFrom, pTo, &tip, bOK);
    const Vector3 oldNormal = pRT->getNNV(bOKOld);
    return bOK && bOKOld && normal * oldNormal >= SHARPEST_TURN_COS &&
           leastAngleCos(*pFrom, *pTo, tip) <= LEAST_ANGLE_COS && isFree(pFrom, pTo, tip, normal);
}

// No vertex stands in the triangle or within a cell above or below it, and the tip is near no inside of a
// sheet: that would be another one.
bool RimGrower::isFree(const Point3* pFrom, const Point3* pTo, const Point3& tip, const Vector3& normal) const
{
    const double sqReach = std::min(sqDistance(tip, *pFrom), sqDistance(tip, *pTo));
    const Point3* corners[3] = {pFrom, pTo, &tip};
    bool bFree = true;
    forEachNear(vNearVtx, lattice.cellOf(tip), [&](const Point3* pVtx) {
        if (!bFree || pVtx == pFrom || pVtx == pTo || *pVtx == tip)
            return;
        const bool bRim = std::binary_search(vRimVtx.begin(), vRimVtx.end(), pVtx);
        bool bInside = std::abs((*pVtx - *pFrom) * normal) < cell;
        for (int i = 0; i < 3 && bInside; ++i) {
            const Vector3 side = *corners[(i + 1) % 3] - *corners[i];
            bInside = crossProd(side, *pVtx - *corners[i]) * normal >= 0.0;
        }
        bFree = !bInside && (bRim || sqDistance(*pVtx, tip) >= sqReach);
    });
    return bFree;
}

void RimGrower::grow(const Growth& growth)
{
    const RTriangle* pRT = growth.pRE->getTriangle(true, true);
    const int ici = pRT->getICI(growth.pRE->getVtx0(), growth.pRE->getVtx1());
    Point3* pTip = mesh.createVtx(vPoints[growth.iPoint], false);
    mesh.createT(pRT->getCorner((ici + 2) % 3), pRT->getCorner((ici + 1) % 3), pTip);
    vNearVtx.emplace_back(lattice.cellOf(*pTip).getCode(), pTip);
}

} // namespace

size_t growRims(RMesh& mesh, const std::vector<Point3>& vPoints)
{
    const StageTimer stage("RM_rims");
    const std::vector<REdge*>& vRE = mesh.getAllRE();
    if (vPoints.empty() || !(mesh.getCellSize() > 0.0) ||
        std::none_of(vRE.begin(), vRE.end(), [](const REdge* pRE) { return pRE->isBorder(); }))
        return 0;
    std::vector<Point3*> vVtx;
    mesh.getPoints(vVtx);
    RimGrower grower(mesh, vPoints, vVtx);
    size_t numGrown = 0;
    for (int round = 0; round < MAX_ROUNDS; ++round) {
        const size_t numNow = grower.runRound();
        numGrown += numNow;
        if (numNow == 0)
            break;
    }
    return numGrown;
}

} // namespace TESK_ZAN
