#include "Top.h"

#include "CMesh.h"
#include "Calc.h"
#include "Progress.h"
#include "Voro.h"
#include "meshComponents.h"
#include "sortMT.h"
#include "stageTrace.h"
#include "zanAssert.h"

#include <algorithm>

namespace TESK_ZAN
{

namespace
{

constexpr std::size_t CUBES_OF_CELL = 8;

// A piece of surface behind a border goes if it is small and this much of it is border.
constexpr std::size_t MIN_KEPT_T = 7;         // below this it goes in any case
constexpr std::size_t MIN_KEPT_T_BORDER = 25; // the same for one with more than one border edge

void appendCubeKeys(const Calc* pCalc, u64 ccd, std::vector<u64>& vVCD)
{
    u64 array[CUBES_OF_CELL];
    array[0] = ccd;
    pCalc->completeCubeKeys8(array);
    vVCD.insert(vVCD.end(), array, array + CUBES_OF_CELL);
}

// Sorts the keys and appends those that occur exactly num times.
void appendKeysFound(std::vector<u64>& vVCD, std::size_t num, std::vector<u64>& vFound)
{
    std::sort(vVCD.begin(), vVCD.end());
    for (std::size_t first = 0, last = 0; first < vVCD.size(); first = last) {
        while (last < vVCD.size() && vVCD[last] == vVCD[first])
            ++last;
        if (last - first == num)
            vFound.push_back(vVCD[first]);
    }
}

// The cubes that hold all three corners of the triangle of each border edge.
void appendCubesAtBorders(const Calc* pCalc, const std::vector<CEdge*>& vBorders, std::vector<u64>& vFound)
{
    std::vector<u64> vVCD24;
    for (const CEdge* pCE : vBorders) {
        const CEdge::TriangleList& vT = pCE->getCTs();
        zanAssertText(vT.size() == 1, "vT.size()==1");
        vVCD24.clear();
        for (int ici = 0; ici < 3; ++ici)
            appendCubeKeys(pCalc, vT[0]->getCorner(ici), vVCD24);
        zanAssertText(vVCD24.size() == 3 * CUBES_OF_CELL, "vVCD24.size()==24");
        appendKeysFound(vVCD24, 3, vFound);
    }
}

// The cubes that hold both ends of each edge.
void appendCubesAtEdges(const Calc* pCalc, const std::vector<CEdge*>& vCE, std::vector<u64>& vFound)
{
    std::vector<u64> vTmpVCD;
    for (const CEdge* pCE : vCE) {
        vTmpVCD.clear();
        appendCubeKeys(pCalc, pCE->getV0(), vTmpVCD);
        appendCubeKeys(pCalc, pCE->getV1(), vTmpVCD);
        appendKeysFound(vTmpVCD, 2, vFound);
    }
}

// What can be reached from a triangle over edges of degree 2, the start first. Stops beyond maxT triangles.
// The marks bVisited must be clear and are clear afterwards.
void growOverRegularEdges(CTriangle* pStart, u64 maxT, std::vector<CTriangle*>& vResult)
{
    std::vector<CTriangle*> vStack = {pStart};
    pStart->setVisited(true);
    while (!vStack.empty() && vResult.size() <= maxT) {
        CTriangle* pCT = vStack.back();
        vStack.pop_back();
        vResult.push_back(pCT);
        for (int ici = 0; ici < 3; ++ici) {
            const CEdge* pCE = pCT->getCEdge(ici);
            CTriangle* pNeig = pCE->getDegree() == 2 ? pCE->getOtherT(pCT) : nullptr;
            if (pNeig == nullptr || pNeig->isVisited())
                continue;
            pNeig->setVisited(true);
            vStack.push_back(pNeig);
        }
    }
    for (CTriangle* pCT : vResult)
        pCT->setVisited(false);
    for (CTriangle* pCT : vStack)
        pCT->setVisited(false);
}

bool isTinyBorderPatch(std::size_t numBorderCE, std::size_t numT)
{
    return numBorderCE >= numT || (numT < MIN_KEPT_T_BORDER && numBorderCE > 1) || numT < MIN_KEPT_T;
}

int numEdgesOfDegree(const CTriangle* pCT, int degree)
{
    return int{pCT->getCEdge(0)->getDegree() == degree} + int{pCT->getCEdge(1)->getDegree() == degree} +
           int{pCT->getCEdge(2)->getDegree() == degree};
}

// The edges of degree 1 at a vertex.
void getBorderEdgesAt(const CMesh* pMesh, u64 ccd, std::vector<CEdge*>& vCE)
{
    vCE.clear();
    pMesh->getIncidentCE(ccd, vCE);
    std::erase_if(vCE, [](const CEdge* pCE) { return !pCE->isBorder(); });
}

// A border line ends at the edge: exactly one border edge at one of its ends.
bool isEvilDeg3(const CMesh* pMesh, const CEdge* pCE)
{
    std::vector<CEdge*> vBorderCE;
    for (const u64 ccd : {pCE->getV0(), pCE->getV1()}) {
        getBorderEdgesAt(pMesh, ccd, vBorderCE);
        if (vBorderCE.size() == 1)
            return true;
    }
    return false;
}

// The neighbour of a triangle over one of its regular edges that itself hangs on that edge alone.
CTriangle* getLooseNeighbour(const CTriangle* pCT)
{
    for (int ici = 0; ici < 3; ++ici) {
        const CEdge* pCE = pCT->getCEdge(ici);
        if (pCE->getDegree() != 2)
            continue;
        CTriangle* pNeig = pCE->getOtherT(pCT);
        if (numEdgesOfDegree(pNeig, 1) == 2)
            return pNeig;
    }
    return nullptr;
}

void sortBySize(const CMesh* pMesh, std::vector<CTriangle*>& vCT)
{
    std::vector<std::pair<double, CTriangle*>> vArea2CT;
    for (CTriangle* pCT : vCT)
        vArea2CT.emplace_back(pCT->getArea(pMesh), pCT);
    std::sort(vArea2CT.begin(), vArea2CT.end(), [](const auto& a, const auto& b) {
        return a.first != b.first ? a.first < b.first : lessByNumber(a.second, b.second);
    });
    for (std::size_t i = 0; i < vCT.size(); ++i)
        vCT[i] = vArea2CT[i].second;
}

// The edge has degree 3. Kills the smallest of its triangles that has at most maxRegular regular edges.
bool killLooseAtDeg3(CMesh* pMesh, const CEdge* pCE, int maxRegular)
{
    std::vector<CTriangle*> vCT;
    pCE->getTriangles(vCT);
    sortBySize(pMesh, vCT);
    for (CTriangle* pCT : vCT)
        if (numEdgesOfDegree(pCT, 2) <= maxRegular) {
            pCT->kill(pMesh);
            return true;
        }
    return false;
}

// The edge has degree 3. Kills the smallest of its triangles that has a loose neighbour, with this.
void killWithNeighbourAtDeg3(CMesh* pMesh, const CEdge* pCE)
{
    std::vector<CTriangle*> vCT;
    pCE->getTriangles(vCT);
    sortBySize(pMesh, vCT);
    for (CTriangle* pCT : vCT)
        if (CTriangle* pNeig = getLooseNeighbour(pCT)) {
            pCT->kill(pMesh);
            pNeig->kill(pMesh);
            return;
        }
}

} // namespace

// ---- borders ---------------------------------------------------------------------------------------------

void Top::getBordersKillDeg1nn(std::vector<CEdge*>& vBorders)
{
    std::vector<CEdge*> vDeg1;
    pMesh->getDegN(1, vDeg1);
    for (CEdge* pCE : vDeg1) {
        const CEdge::TriangleList& vCT = pCE->getCTs();
        zanAssertText(vCT.size() == 1,
                      "vCT.size()==1"); // a fin has one border edge, so no kill reaches another
        CTriangle* pCT = vCT[0];
        int numManifold = 0;
        for (int ici = 0; ici < 3; ++ici)
            numManifold += int{pCT->getCEdge(ici)->getDegree() < 3};
        if (numManifold == 1)
            pCT->kill(pMesh);
        else
            vBorders.push_back(pCE);
    }
}

void Top::integrateCCD(CEdge* pCE)
{
    if (!pCE->isBorder())
        return;
    CTriangle* pCT = pCE->getCTs()[0];
    int numBorder = 0, iciDense = -1; // iciDense: opposite an edge of degree above 2
    for (int ici = 0; ici < 3; ++ici) {
        const int degree = pCT->getCEdge(ici)->getDegree();
        zanAssert(degree > 0);
        if (degree == 2)
            return;
        if (degree == 1)
            ++numBorder;
        else
            iciDense = ici;
    }
    if (numBorder == 2 && iciDense >= 0) {
        std::vector<CTriangle*> vKids;
        pCT->getCEdge(iciDense)->trySplitNeigsKillT(pMesh, pCT, iciDense, vKids);
    }
    if (numBorder >= 2 && pCT->isAlive())
        pCT->kill(pMesh);
}

void Top::killTinyBorderPatches(u64 maxT)
{
    std::vector<CEdge*> vBorders;
    pMesh->getDegN(1, vBorders);
    std::vector<std::vector<CEdge*>> vvCC;
    createCC(vBorders, vvCC);
    pMesh->clearVisited();
    std::vector<CTriangle*> vResult;
    for (const std::vector<CEdge*>& vCE : vvCC) {
        const auto pFirst =
            std::find_if(vCE.begin(), vCE.end(), [](const CEdge* pCE) { return pCE->getDegree() > 0; });
        if (pFirst == vCE.end())
            continue; // killed from another component of its border
        vResult.clear();
        growOverRegularEdges((*pFirst)->getCTs()[0], maxT, vResult);
        if (vResult.size() > maxT || !isTinyBorderPatch(vCE.size(), vResult.size()))
            continue;
        for (CTriangle* pCT : vResult)
            pCT->kill(pMesh);
    }
}

// ---- second extraction -----------------------------------------------------------------------------------

void Top::cbsComplete(Voro* pVoro)
{
    const StageTimer timer("TP_cbcpl");
    Progress* pProgress = getRootProgress()->getChildProgressSetTodo("TP_cbcpl", 7);
    std::vector<u64> vGeneratingVCDs;
    std::vector<CEdge*> vBorders;
    getBordersKillDeg1nn(vBorders);
    pProgress->tick();
    appendCubesAtBorders(pCalc, vBorders, vGeneratingVCDs);
    pProgress->tick();

    std::vector<CEdge*> vDeg4;
    pMesh->getDegN(4, vDeg4);
    pProgress->tick();
    appendCubesAtEdges(pCalc, vDeg4, vGeneratingVCDs);
    pProgress->tick();

    sortUniqueMT(vGeneratingVCDs);
    const bool bExtract = !vGeneratingVCDs.empty() || !isAsExtracted();
    if (bExtract)
        pMesh = pVoro->extractWithExtraCCDs(vGeneratingVCDs);
    pProgress->tick();

    pMesh->averageAllBundles();
    pProgress->tick();
    if (bExtract) // else they are settled: that kills
        unifyDiagonals();
    pProgress->tick();
    pProgress->finish(true);
}

// No pass has changed the mesh yet, so that the same cells would give the same triangles again. All passes
// that add triangles kill some.
bool Top::isAsExtracted() const
{
    const std::vector<CTriangle*>& vT = pMesh->getT();
    return std::all_of(vT.begin(), vT.end(), [](const CTriangle* pCT) { return pCT->isAlive(); });
}

// ---- leftovers -------------------------------------------------------------------------------------------

void Top::pruneCases()
{
    killOpenCase27(*pMesh);
}

void Top::killAtDeg3(bool bMayOpen)
{
    std::vector<CEdge*> vDeg3, vEvilDeg3;
    pMesh->getDegN(3, vDeg3);
    std::erase_if(vDeg3, [&](CEdge* pCE) {
        const bool bEvil = isEvilDeg3(pMesh, pCE);
        if (bEvil)
            vEvilDeg3.push_back(pCE);
        return bEvil;
    });
    for (const CEdge* pCE : vDeg3)
        if (pCE->getDegree() == 3 && !killLooseAtDeg3(pMesh, pCE, bMayOpen ? 1 : 0) && bMayOpen)
            killWithNeighbourAtDeg3(pMesh, pCE);
    std::vector<CEdge*> vIncBorderCE;
    if (bMayOpen)
        for (CEdge* pCE : vEvilDeg3)
            deleteAroundEvilDeg3(pCE, vIncBorderCE);
}

bool Top::deleteAroundEvilDeg3(CEdge* pCE, std::vector<CEdge*>& vIncBorderCE)
{
    if (pCE->getDegree() != 3)
        return false;
    for (CTriangle* pKillT : pCE->getCTs()) {
        for (int ici = 0; ici < 3; ++ici) {
            const CEdge* pBorderCE = pKillT->getCEdge(ici);
            if (!pBorderCE->isBorder())
                continue;
            const u64 ccdEnd = pBorderCE->hasVertex(pCE->getV0()) ? pCE->getV0() : pCE->getV1();
            pKillT->kill(pMesh);
            pMesh->getIncidentCE(ccdEnd, vIncBorderCE);
            return true;
        }
    }
    return false; // the border line ends at the vertex, but in another triangle
}

} // namespace TESK_ZAN
