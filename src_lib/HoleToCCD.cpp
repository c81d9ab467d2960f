#include "HoleToCCD.h"

#include "CMesh.h"
#include "Chain.h"
#include "ChainMgr.h"
#include "Loop.h"
#include "tesk_tools/sortUnique.h"
#include "zanAssert.h"

#include <algorithm>

namespace TESK_ZAN
{

HoleToCCD::HoleToCCD(CMesh* pOldMesh_, const Calc* pCalc_) : pOldMesh(pOldMesh_), pCalc(pCalc_) {}

HoleToCCD::~HoleToCCD() = default;

bool HoleToCCD::run(std::vector<Point3*>& vCorners)
{
    pOldMesh->createCCPatches();
    createChains();
    if (untieTwists())
        createChains();
    const std::size_t numBefore = vOwnT.size();
    for (u64 i = 0; i < pChainMgr->getNumChains(); ++i)
        if (pChainMgr->getChain(i)->isClosed())
            fill(pChainMgr->getChain(i));
    for (std::size_t i = numBefore; i < vOwnT.size(); ++i)
        for (int ici = 0; ici < 3; ++ici)
            vCorners.push_back(pOldMesh->getVtx(vOwnT[i]->getCorner(ici)));
    return vOwnT.size() > numBefore;
}

void HoleToCCD::createChains()
{
    std::vector<CEdge*> vBorder;
    pOldMesh->getDegN(1, vBorder);
    pChainMgr.reset(); // an older one clears the directions of edges when it goes
    pChainMgr = std::make_unique<ChainMgr>(pOldMesh, getEdgeMap(vBorder), true);
}

bool HoleToCCD::untieTwists()
{
    bool bRepaired = false;
    for (u64 i = 0; i < pChainMgr->getNumChains(); ++i) {
        Chain* pChain = pChainMgr->getChain(i);
        if (!pChain->isClosed() || !pChain->hasMoebius())
            continue;
        pChain->fixMoebius();
        bRepaired = true;
    }
    return bRepaired;
}

bool HoleToCCD::fill(Chain* pChain)
{
    zanAssertText(pChain->isClosed(), "pChain->isClosed()");
    if (!pChain->isGoodHole())
        return false;
    std::vector<CEdge*> vBorderCE;
    const std::unique_ptr<CMesh> pNewMesh = createBorderMesh(pChain, vBorderCE);
    if (pNewMesh == nullptr)
        return false;
    const std::unique_ptr<Loop> pLoop = createLoop(pNewMesh.get(), vBorderCE);
    zanAssertText(pLoop->isClosed(), "pLoop->isClosed()");
    if (!pLoop->run())
        return false;

    std::vector<CTriangle*> vNewT;
    for (const CTriangle* pCT : pLoop->getNewT())
        vNewT.push_back(pOldMesh->createT(pCT->getC2(), pCT->getC1(), pCT->getC0(), 0, 0));
    std::vector<CEdge*> vChainCE;
    pChain->getEdges(vChainCE);
    orientLikeNeighbours(vChainCE, vNewT);
    vOwnT.insert(vOwnT.end(), vNewT.begin(), vNewT.end());
    return !vNewT.empty();
}

std::unique_ptr<CMesh> HoleToCCD::createBorderMesh(Chain* pChain, std::vector<CEdge*>& vBorderCE)
{
    std::map<u64, int> mVCD2Num;
    pChain->getVCDs(mVCD2Num);
    std::vector<CTriangle*> vCT;
    for (const auto& [vcd, num] : mVCD2Num)
        pOldMesh->getIncidentT(vcd, vCT);
    TESK_TOOLS::sortUnique(vCT, [](const CTriangle* a, const CTriangle* b) { return lessByNumber(a, b); });

    mCCD2Bundle.clear();
    const std::map<u64, Bundle*>& mOldBundles = pOldMesh->getBundles();
    for (const CTriangle* pCT : vCT)
        for (int ici = 0; ici < 3; ++ici) {
            const auto found = mOldBundles.find(pCT->getCorner(ici));
            if (found == mOldBundles.end())
                return nullptr;
            mCCD2Bundle.insert(*found);
        }
    auto pNewMesh = std::make_unique<CMesh>(nullptr, pCalc, &mCCD2Bundle, std::vector<u64>());
    for (const CTriangle* pCT : vCT)
        pNewMesh->createT(pCT->getC0(), pCT->getC1(), pCT->getC2(), pCT->getVCD(), pCT->getCfg());

    std::vector<CEdge*> vChainCE;
    pChain->getEdges(vChainCE);
    for (const CEdge* pCE : vChainCE) {
        CEdge* pBorderCE = pNewMesh->getEdge(pCE->getV0(), pCE->getV1());
        zanAssertText(pBorderCE != nullptr, "pBorderCE!=0");
        vBorderCE.push_back(pBorderCE);
    }
    return pNewMesh;
}

std::unique_ptr<Loop> HoleToCCD::createLoop(CMesh* pMesh, std::vector<CEdge*>& vBorderCE)
{
    EdgeMap mmVCD2CE = getEdgeMap(vBorderCE);
    auto pLoop = std::make_unique<Loop>(mmVCD2CE, pMesh);
    zanAssertText(mmVCD2CE.empty(), "mmVCD2CE.empty()");
    return pLoop;
}

// The new triangles agree with each other. Whether they agree with the old ones depends on the way in which
// the loop was walked.
void HoleToCCD::orientLikeNeighbours(const std::vector<CEdge*>& vChainCE,
                                     const std::vector<CTriangle*>& vNewT) const
{
    for (const CEdge* pCE : vChainCE) {
        CTriangle *pCT0 = nullptr, *pCT1 = nullptr;
        if (!pCE->getTwoTriangles(pCT0, pCT1, true))
            continue;
        if (pCT0->needFlip(pCT1))
            for (CTriangle* pCT : vNewT)
                pCT->flipOrientation();
        return;
    }
}

} // namespace TESK_ZAN
