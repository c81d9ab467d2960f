#include "borderLoops.h"

#include "RMesh.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>

namespace TESK_ZAN
{

namespace
{

constexpr std::size_t NO_PLACE = std::numeric_limits<std::size_t>::max();

// True if the hole beside a border edge has pVtx as the edge's end, running against the triangle.
bool isArriving(const REdge* pRE, const Point3* pVtx)
{
    const RTriangle* pRT = pRE->getTriangle(true, true);
    return pRT->getCorner((pRT->getICI(pVtx) + 1) % 3) == pRE->getOtherPoint(pVtx);
}

// The other border edge of the fan at pVtx that begins with pRE; null if the fan ends at an overfull edge.
REdge* getOtherEnd(REdge* pRE, const Point3* pVtx)
{
    const RTriangle* pRT = pRE->getTriangle(true, true);
    while (pRT != nullptr) {
        const int ici = pRT->getICI(pVtx);
        REdge* pNextRE = pRT->getRE((ici + 1) % 3);
        if (pNextRE == pRE)
            pNextRE = pRT->getRE((ici + 2) % 3);
        if (pNextRE->isBorder())
            return pNextRE;
        pRE = pNextRE;
        pRT = pRE->getOtherT(pRT);
    }
    return nullptr;
}

// An open fan, seen from above with the edge on which a hole arrives at its clockwise end:
//
//      leaving   fan   arriving
//            \  ....  /
//             \ .... /    gap: to the leaving edge of the next fan clockwise
//               pVtx
struct Fan {
    REdge* pArrivingRE;
    REdge* pLeavingRE;
    double angle; // of the arriving edge
};

// The fans between these border edges at pVtx, clockwise. Empty if one ends at an overfull edge, or if its
// triangles do not run alike.
std::vector<Fan> getFansClockwise(const RMesh& mesh, const Point3* pVtx, const std::vector<REdge*>& vBorderRE)
{
    std::vector<RTriangle*> vRT;
    mesh.getIncidentT(pVtx, vRT);
    Vector3 up;
    for (RTriangle* pRT : vRT) {
        bool bOK = false;
        up += pRT->getNNV(bOK);
    }
    const Vector3 ahead = *vBorderRE.front()->getOtherPoint(pVtx) - *pVtx;
    const Vector3 aside = crossProd(up, ahead);
    std::vector<Fan> vFans;
    for (REdge* pRE : vBorderRE) {
        if (!isArriving(pRE, pVtx))
            continue;
        REdge* pLeavingRE = getOtherEnd(pRE, pVtx);
        if (pLeavingRE == nullptr || isArriving(pLeavingRE, pVtx))
            return {};
        const Vector3 way = *pRE->getOtherPoint(pVtx) - *pVtx;
        const double angle = std::atan2(way * aside, way * ahead * up.length());
        vFans.push_back({pRE, pLeavingRE, std::isfinite(angle) ? angle : 0.0});
    }
    if (2 * vFans.size() != vBorderRE.size())
        return {};
    std::stable_sort(vFans.begin(), vFans.end(),
                     [](const Fan& a, const Fan& b) { return a.angle > b.angle; });
    return vFans;
}

// The edge on which the walk that came on pRE leaves pVtx; null if there is none.
REdge* getNextRE(const RMesh& mesh, REdge* pRE, const Point3* pVtx)
{
    std::vector<REdge*> vBorderRE;
    mesh.getIncidentRE(pVtx, vBorderRE);
    std::erase_if(vBorderRE, [](const REdge* pOneRE) { return !pOneRE->isBorder(); });
    if (vBorderRE.size() == 2)
        return vBorderRE[vBorderRE[0] == pRE ? 1 : 0];
    const std::vector<Fan> vFans = getFansClockwise(mesh, pVtx, vBorderRE);
    for (std::size_t i = 0; i < vFans.size(); ++i)
        if (vFans[i].pArrivingRE == pRE)
            return vFans[(i + 1) % vFans.size()].pLeavingRE;
    return getOtherEnd(pRE, pVtx);
}

// The edges of one walk, each with the vertex that it leaves.
struct Walk {
    std::vector<REdge*> vRE;
    std::vector<const Point3*> vFrom;
};

// False if the walk ends before it is back where it began.
bool walkRound(const RMesh& mesh, REdge* pStartRE, std::vector<bool>& vSeen, Walk& walk)
{
    walk.vRE.clear();
    walk.vFrom.clear();
    REdge* pRE = pStartRE;
    const Point3* pVtx = isArriving(pRE, pRE->getVtx0()) ? pRE->getVtx1() : pRE->getVtx0();
    do {
        vSeen[numberOf(pRE)] = true;
        walk.vRE.push_back(pRE);
        walk.vFrom.push_back(pVtx);
        pVtx = pRE->getOtherPoint(pVtx);
        pRE = getNextRE(mesh, pRE, pVtx);
    } while (pRE != nullptr && !vSeen[numberOf(pRE)]);
    return pRE == pStartRE && pVtx == walk.vFrom.front();
}

// Cuts a walk where it comes to a vertex again, so that each loop passes its vertices once. vPlaceOf: by
// number of a vertex, its place on the part that is not yet cut off; NO_PLACE before and after.
void appendLoops(const Walk& walk, std::vector<std::size_t>& vPlaceOf,
                 std::vector<std::vector<REdge*>>& vLoops)
{
    std::vector<std::size_t> vPath; // indices into the walk
    const auto cutOff = [&](std::size_t place) {
        std::vector<REdge*>& vLoopRE = vLoops.emplace_back();
        for (std::size_t i = place; i < vPath.size(); ++i) {
            vLoopRE.push_back(walk.vRE[vPath[i]]);
            vPlaceOf[numberOf(walk.vFrom[vPath[i]])] = NO_PLACE;
        }
        vPath.resize(place);
    };
    for (std::size_t i = 0; i < walk.vRE.size(); ++i) {
        std::size_t& placeOf = vPlaceOf[numberOf(walk.vFrom[i])];
        if (placeOf != NO_PLACE)
            cutOff(placeOf);
        placeOf = vPath.size();
        vPath.push_back(i);
    }
    cutOff(0);
}

} // namespace

std::size_t getBorderLoops(const RMesh& mesh, std::vector<std::vector<REdge*>>& vLoops)
{
    std::size_t numInNoLoop = 0;
    std::vector<bool> vSeen(mesh.getAllRE().size(), false);        // by number
    std::vector<std::size_t> vPlaceOf(mesh.getNumVtx(), NO_PLACE); // by number
    Walk walk;
    for (REdge* pRE : mesh.getAllRE()) {
        if (!pRE->isBorder() || vSeen[numberOf(pRE)])
            continue;
        if (walkRound(mesh, pRE, vSeen, walk))
            appendLoops(walk, vPlaceOf, vLoops);
        else
            numInNoLoop += walk.vRE.size();
    }
    return numInNoLoop;
}

} // namespace TESK_ZAN
