#include "FoldCutter.h"

#include "CMesh.h"
#include "PolygonFiller.h"
#include "freeFunctions.h"
#include "tesk_tools/sortUnique.h"

#include <algorithm>
#include <map>

namespace TESK_ZAN
{

namespace
{

constexpr int MAX_RINGS = 8; // then some 60 triangles
constexpr std::size_t MAX_LOOP_EDGES = 60;

bool isBefore(const CTriangle* a, const CTriangle* b)
{
    return lessByNumber(a, b);
}

bool contains(const std::vector<CTriangle*>& vCT_srt, const CTriangle* pCT)
{
    return std::binary_search(vCT_srt.begin(), vCT_srt.end(), pCT, isBefore);
}

// The triangles at the vertices, by number.
std::vector<CTriangle*> getTrianglesAt(const CMesh& mesh, const std::vector<u64>& vVCD)
{
    std::vector<CTriangle*> vCT;
    for (const u64 vcd : vVCD)
        mesh.getIncidentT(vcd, vCT);
    TESK_TOOLS::sortUnique(vCT, isBefore);
    return vCT;
}

bool isFold(const CMesh& mesh, const CEdge& edge)
{
    CTriangle *pCT0 = nullptr, *pCT1 = nullptr;
    if (!edge.getTwoTriangles(pCT0, pCT1, true))
        return false;
    bool bOK0 = false, bOK1 = false;
    Vector3 nnv0, nnv1;
    pCT0->getNNV(&mesh, nnv0, bOK0);
    pCT1->getNNV(&mesh, nnv1, bOK1);
    return bOK0 && bOK1 && getAngleDegree(nnv0, nnv1) > FOLD_DEGREES;
}

// Of the edges of the triangles, by number.
std::vector<CEdge*> getFolds(const CMesh& mesh, const std::vector<CTriangle*>& vCT)
{
    std::vector<CEdge*> vCE;
    for (const CTriangle* pCT : vCT)
        for (int ici = 0; ici < 3; ++ici)
            if (isFold(mesh, *pCT->getCEdge(ici)))
                vCE.push_back(pCT->getCEdge(ici));
    TESK_TOOLS::sortUnique(vCE, [](const CEdge* a, const CEdge* b) { return lessByNumber(a, b); });
    return vCE;
}

// The edges round a region of sorted triangles that run alike, in path order. Empty if they are no simple
// loop, or if the region has a border or an edge of three triangles.
std::vector<CEdge*> getLoopRound(const std::vector<CTriangle*>& vRegionT)
{
    std::map<u64, CEdge*> mSource2CE;
    u64 source = 0, target = 0;
    for (const CTriangle* pCT : vRegionT)
        for (int ici = 0; ici < 3; ++ici) {
            CEdge* pCE = pCT->getCEdge(ici);
            const CTriangle* pOtherCT = pCE->getOtherT(pCT);
            if (pOtherCT == nullptr || pOtherCT->needFlip(pCT))
                return {};
            if (contains(vRegionT, pOtherCT))
                continue;
            pCT->getEdgeCCDs(ici, source, target);
            if (!mSource2CE.emplace(source, pCE).second)
                return {};
        }
    std::vector<CEdge*> vLoopCE;
    if (mSource2CE.empty())
        return vLoopCE;
    const u64 start = mSource2CE.begin()->first;
    u64 vcd = start;
    do {
        vLoopCE.push_back(mSource2CE.at(vcd)); // as many edges enter a vertex as leave it
        vcd = vLoopCE.back()->getOtherVCD(vcd);
    } while (vcd != start);
    return vLoopCE.size() == mSource2CE.size() ? vLoopCE : std::vector<CEdge*>();
}

} // namespace

std::size_t countFolds(const CMesh& mesh, const std::vector<CTriangle*>& vCT)
{
    return getFolds(mesh, vCT).size();
}

void FoldCutter::run(const std::vector<CTriangle*>& vCT)
{
    vFoldCE = getFolds(*pMesh, vCT);
    for (std::size_t i = 0; i < vFoldCE.size(); ++i)
        if (isFold(*pMesh, *vFoldCE[i])) // else it went with another one
            cutAt(*vFoldCE[i]);
}

void FoldCutter::cutAt(const CEdge& edge)
{
    std::vector<CTriangle*> vRegionT;
    edge.getTriangles(vRegionT);
    TESK_TOOLS::sortUnique(vRegionT, isBefore);
    for (int ring = 0; ring < MAX_RINGS && !cutOut(vRegionT); ++ring) {
        const std::size_t numInside = vRegionT.size();
        for (std::size_t i = 0; i < numInside; ++i)
            for (int ici = 0; ici < 3; ++ici)
                vRegionT[i]->getCEdge(ici)->getTriangles(vRegionT);
        TESK_TOOLS::sortUnique(vRegionT, isBefore);
    }
}

// If that leaves fewer folds. Tried on a copy of the surroundings.
bool FoldCutter::cutOut(const std::vector<CTriangle*>& vRegionT)
{
    const std::vector<CEdge*> vLoopCE = getLoopRound(vRegionT);
    if (vLoopCE.empty() || vLoopCE.size() > MAX_LOOP_EDGES)
        return false;
    std::vector<u64> vLoopVCD;
    for (const CEdge* pCE : vLoopCE)
        vLoopVCD.insert(vLoopVCD.end(), {pCE->getV0(), pCE->getV1()});
    std::vector<CTriangle*> vAroundT = getTrianglesAt(*pMesh, vLoopVCD);
    std::erase_if(vAroundT, [&](const CTriangle* pCT) { return contains(vRegionT, pCT); });

    std::map<u64, Bundle*> mCCD2Bundle;
    for (const CTriangle* pCT : vAroundT)
        for (int ici = 0; ici < 3; ++ici)
            mCCD2Bundle.insert(*pMesh->getBundles().find(pCT->getCorner(ici)));
    CMesh copy(nullptr, pMesh->getCalc(), &mCCD2Bundle, std::vector<u64>());
    for (const CTriangle* pCT : vAroundT)
        copy.createT(pCT->getC0(), pCT->getC1(), pCT->getC2(), pCT->getVCD(), pCT->getCfg());
    std::vector<CEdge*> vCopyCE;
    for (const CEdge* pCE : vLoopCE)
        vCopyCE.push_back(copy.getEdge(pCE->getV0(), pCE->getV1()));
    if (!PolygonFiller(&copy, vCopyCE).run())
        return false;
    const std::vector<CTriangle*> vFillT(copy.getT().begin() + std::ptrdiff_t(vAroundT.size()),
                                         copy.getT().end());
    if (countFolds(copy, vFillT) >= countFolds(*pMesh, vRegionT))
        return false;
    exchange(vRegionT, vFillT);
    return true;
}

void FoldCutter::exchange(const std::vector<CTriangle*>& vOldT, const std::vector<CTriangle*>& vFillT)
{
    for (CTriangle* pCT : vOldT) {
        pCT->kill(pMesh);
        vGoneT.push_back(pCT);
    }
    std::vector<CTriangle*> vNewT;
    for (const CTriangle* pCT : vFillT)
        vNewT.push_back(pMesh->createT(pCT->getC0(), pCT->getC1(), pCT->getC2(), 0, 0));
    const std::vector<CEdge*> vLeftCE = getFolds(*pMesh, vNewT);
    vFoldCE.insert(vFoldCE.end(), vLeftCE.begin(), vLeftCE.end());
}

} // namespace TESK_ZAN
