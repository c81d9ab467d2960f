#include "HoleFiller.h"

#include "CEdge.h"
#include "CMesh.h"
#include "CTriangle.h"
#include "freeFunctions.h"
#include "messages.h"
#include "zanAssert.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>
#include <ostream>

namespace TESK_ZAN
{

namespace
{

using Pair = std::array<CEdge*, 2>;

// The triangles at a vertex: those that hang together with the first one over edges at the vertex, and the
// others.
void splitGroups(const CMesh* pMesh, u64 vcd, std::vector<CTriangle*>& vGroup0,
                 std::vector<CTriangle*>& vGroup1)
{
    std::vector<CTriangle*> vCT;
    pMesh->getIncidentT(vcd, vCT);
    if (vCT.empty())
        return;
    TESK_TOOLS::FlatMap<u64, bool, TESK_TOOLS::U64Hash> sSeen;
    vGroup0.push_back(vCT[0]);
    sSeen.tryEmplace(vCT[0]->getNumber(), true);
    for (std::size_t i = 0; i < vGroup0.size(); ++i) {
        for (int k = 0; k < 3; ++k) {
            const CEdge* pCE = vGroup0[i]->getCEdge(k);
            if (!pCE->hasVertex(vcd))
                continue;
            for (CTriangle* pCT : pCE->getCTs())
                if (sSeen.tryEmplace(pCT->getNumber(), true).second)
                    vGroup0.push_back(pCT);
        }
    }
    for (CTriangle* pCT : vCT)
        if (sSeen.find(pCT->getNumber()) == nullptr)
            vGroup1.push_back(pCT);
}

// Parts four border edges by the group that holds their triangle; false unless each gets two.
bool assignEdges(const std::vector<CEdge*>& vCE, const std::vector<CTriangle*>& vGroup0, Pair& vCE0,
                 Pair& vCE1)
{
    std::size_t num0 = 0, num1 = 0;
    for (CEdge* pCE : vCE) {
        const bool bIn0 = std::find(vGroup0.begin(), vGroup0.end(), pCE->getCTs()[0]) != vGroup0.end();
        Pair& pair = bIn0 ? vCE0 : vCE1;
        std::size_t& num = bIn0 ? num0 : num1;
        if (num == 2)
            return false;
        pair[num++] = pCE;
    }
    return true;
}

double getSqDistanceOfEnds(const CMesh* pMesh, u64 vcd, const CEdge* pCE0, const CEdge* pCE1)
{
    return sqDistance(pMesh->getAvgPoint(pCE0->getOtherVCD(vcd)), pMesh->getAvgPoint(pCE1->getOtherVCD(vcd)));
}

// The cosine of the angle between two edges at a vertex; -2.0 if one has no length.
double getCosineAt(const CMesh* pMesh, u64 vcd, const CEdge* pCE0, const CEdge* pCE1)
{
    const Point3 mid = pMesh->getAvgPoint(vcd);
    const Vector3 vec0 = pMesh->getAvgPoint(pCE0->getOtherVCD(vcd)) - mid;
    const Vector3 vec1 = pMesh->getAvgPoint(pCE1->getOtherVCD(vcd)) - mid;
    const double len = vec0.length() * vec1.length();
    return len > 0.0 ? vec0 * vec1 / len : -2.0;
}

// Brings the edges of group 1 into the order of their partners across the gaps: the edges of group 0 must
// each be nearer to another one. False if that tells nothing.
bool pairAcrossGaps(const CMesh* pMesh, u64 vcd, const Pair& vCE0, Pair& vCE1)
{
    const auto gain = [&](std::size_t i) {
        return getCosineAt(pMesh, vcd, vCE0[i], vCE1[0]) - getCosineAt(pMesh, vcd, vCE0[i], vCE1[1]);
    };
    const double gain0 = gain(0), gain1 = gain(1);
    if (!(gain0 * gain1 < 0.0))
        return false;
    if (gain0 < 0.0)
        std::swap(vCE1[0], vCE1[1]);
    return true;
}

// One of the two borders runs towards the vertex, seen along the triangles, and the other away from it.
bool fitInOrientation(u64 vcd, const CEdge* pCE0, const CEdge* pCE1)
{
    const auto runsAway = [vcd](const CEdge* pCE) {
        return pCE->getCTs()[0]->getHEDirection2(vcd, pCE->getOtherVCD(vcd)) == HE_SAME;
    };
    return runsAway(pCE0) != runsAway(pCE1);
}

} // namespace

HoleFiller::HoleFiller(CMesh* pMeshGiven) : pMesh(pMeshGiven) {}

HoleFiller::~HoleFiller() = default;

std::size_t HoleFiller::run()
{
    std::vector<CEdge*> vBorderEdges;
    pMesh->getDegN(1, vBorderEdges);
    std::size_t numFilled = 0;
    int numFails = 0;
    do {
        ++numFails;
        createLoopsStrategy(vBorderEdges);
        vBorderEdges.clear();
        for (const std::unique_ptr<Loop>& pLoop : vLoops) {
            if (!pLoop->isClosed()) {
                ZAN_WARNING("Open loop, impossible");
            } else if (pLoop->run()) {
                numFails = 0;
                ++numFilled;
            }
            pLoop->getEdges(vBorderEdges);
        }
        vLoops.clear();
        std::erase_if(vBorderEdges, [](const CEdge* pCE) { return !pCE->isBorder(); });
    } while (numFails < 2);
    removeIdleBridges();
    return numFilled;
}

void HoleFiller::createLoopsStrategy(std::vector<CEdge*>& vBorderEdges)
{
    for (const CEdge* pCE : vBorderEdges)
        zanAssertText(pCE->getDegree() == 1, "pCE->getDegree()==1");
    vLoops.clear();
    strands.clear();
    EdgeMap mmVCD2CE = getEdgeMap(vBorderEdges);

    std::vector<u64> vMultiVCD;
    for (auto first = mmVCD2CE.begin(); first != mmVCD2CE.end();) {
        const auto last = mmVCD2CE.upper_bound(first->first);
        if (std::distance(first, last) > 2)
            vMultiVCD.push_back(first->first);
        first = last;
    }
    for (const u64 vcd : vMultiVCD)
        solveMultiVCD(vcd, mmVCD2CE);
    for (const auto& entry : mmVCD2CE)
        zanAssertText(entry.second->getDegree() == 1, "pCE->getDegree()==1");
    while (!mmVCD2CE.empty())
        vLoops.push_back(std::make_unique<Loop>(mmVCD2CE, pMesh, &strands));
}

void HoleFiller::solveMultiVCD(u64 vcd, EdgeMap& mmVCD2CE)
{
    std::vector<CEdge*> vCE;
    const auto [first, last] = mmVCD2CE.equal_range(vcd);
    std::transform(first, last, std::back_inserter(vCE), [](const auto& entry) { return entry.second; });
    std::vector<CTriangle*> vGroup0, vGroup1;
    splitGroups(pMesh, vcd, vGroup0, vGroup1);
    if (vGroup0.empty() || vGroup1.empty()) {
        ZAN_WARNING("empty groups");
        messageStream() << "vGroup0=" << vGroup0.size() << ", vGroup1=" << vGroup1.size() << std::endl;
        return;
    }
    Pair vCE0{}, vCE1{};
    if (vCE.size() != 4 || !assignEdges(vCE, vGroup0, vCE0, vCE1))
        return;
    if (!pairAcrossGaps(pMesh, vcd, vCE0, vCE1)) {
        bridgeNearestEnds(vcd, vCE0, vCE1, mmVCD2CE);
        return;
    }
    for (std::size_t i = 0; i < 2; ++i) {
        strands.tryEmplace({vcd, vCE0[i]->getNumber()}, vCE1[i]);
        strands.tryEmplace({vcd, vCE1[i]->getNumber()}, vCE0[i]);
    }
}

// Of the pairs of edges across the groups the one with the nearest ends gets a triangle, those before that
// fit in orientation. Nothing happens if no edge could take it.
void HoleFiller::bridgeNearestEnds(u64 vcd, const Pair& vCE0, const Pair& vCE1, EdgeMap& mmVCD2CE)
{
    CEdge *pBest0 = nullptr, *pBest1 = nullptr;
    bool bBestFits = false;
    double minSq = 0.0;
    for (CEdge* pCE0 : vCE0) {
        for (CEdge* pCE1 : vCE1) {
            const CEdge* pThirdCE = pMesh->getEdge(pCE0->getOtherVCD(vcd), pCE1->getOtherVCD(vcd));
            if (pThirdCE != nullptr && pThirdCE->getDegree() > 1)
                continue;
            const bool bFits = fitInOrientation(vcd, pCE0, pCE1);
            const double sq = getSqDistanceOfEnds(pMesh, vcd, pCE0, pCE1);
            if (pBest0 != nullptr && (bFits != bBestFits ? bBestFits : sq >= minSq))
                continue;
            pBest0 = pCE0;
            pBest1 = pCE1;
            bBestFits = bFits;
            minSq = sq;
        }
    }
    if (pBest0 == nullptr)
        return;
    messageStream() << "Distance is " << std::sqrt(minSq) << std::endl;
    putBridge(vcd, pBest0, pBest1, mmVCD2CE);
}

void HoleFiller::putBridge(u64 vcd, CEdge* pCE0, CEdge* pCE1, EdgeMap& mmVCD2CE)
{
    const u64 end0 = pCE0->getOtherVCD(vcd), end1 = pCE1->getOtherVCD(vcd);
    const bool bAway = pCE0->getCTs()[0]->getHEDirection2(vcd, end0) == HE_SAME;
    vBridgeT.push_back(bAway ? pMesh->createT(end0, vcd, end1, 0, 0) : pMesh->createT(vcd, end0, end1, 0, 0));
    removeEdge(mmVCD2CE, pCE0);
    removeEdge(mmVCD2CE, pCE1);
    CEdge* pThirdCE = pMesh->getEdge(end0, end1);
    if (pThirdCE->isBorder())
        enterEdge(mmVCD2CE, pThirdCE);
    else
        removeEdge(mmVCD2CE, pThirdCE);
}

// The holes beside these bridges stay open: so the mesh stays as it was there. The last first, a bridge may
// stand on an older one.
void HoleFiller::removeIdleBridges()
{
    for (auto place = vBridgeT.rbegin(); place != vBridgeT.rend(); ++place) {
        CTriangle* pCT = *place;
        if (pCT->getCEdge(0)->isBorder() || pCT->getCEdge(1)->isBorder() || pCT->getCEdge(2)->isBorder())
            pCT->kill(pMesh);
    }
    vBridgeT.clear();
}

} // namespace TESK_ZAN
