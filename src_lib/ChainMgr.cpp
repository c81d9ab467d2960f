#include "ChainMgr.h"

#include "CEdge.h"
#include "CMesh.h"
#include "Chain.h"
#include "zanAssert.h"

#include <algorithm>
#include <iterator>
#include <limits>
#include <map>

namespace TESK_ZAN
{

ChainMgr::ChainMgr(CMesh* pMeshGiven, const EdgeMap& mmVCD2CEGiven, bool bTryCloseGiven)
    : pMesh(pMeshGiven), mmVCD2CE(mmVCD2CEGiven), bTryClose(bTryCloseGiven)
{
    for (const auto& entry : mmVCD2CE)
        entry.second->setDirection(ED_NONE);
    createChains();
}

ChainMgr::~ChainMgr() = default;

Chain* ChainMgr::getChain(u64 i) const
{
    zanAssert(i < vChains.size());
    return vChains[i].get();
}

// Every closed chain takes its edges out of play, so that others can close that met it in a vertex. The first
// round without one changes nothing any more: the next one keeps the paths that it finds.
void ChainMgr::createChains()
{
    bool bFinal = false;
    while (true) {
        std::vector<CEdge*> vConnectorCE, vRemaining;
        removeBranchPoints(vConnectorCE);
        const bool bAnyClosed = makeChains(bFinal, vRemaining);
        if (bFinal)
            return;
        bFinal = !bAnyClosed;
        for (CEdge* pCE : vConnectorCE)
            if (pCE->getDirection() == ED_NONE) // the others closed a chain
                vRemaining.push_back(pCE);
        enterAgain(vRemaining);
    }
}

// Takes the edges out of the map that end at a vertex with more than two entries, and appends them.
void ChainMgr::removeBranchPoints(std::vector<CEdge*>& vConnectorCE)
{
    const std::size_t numBefore = vConnectorCE.size();
    for (auto first = mmVCD2CE.begin(); first != mmVCD2CE.end();) {
        const auto last = mmVCD2CE.upper_bound(first->first);
        if (std::distance(first, last) > 2)
            for (auto entry = first; entry != last; ++entry)
                vConnectorCE.push_back(entry->second);
        first = last;
    }
    const auto newOnes = vConnectorCE.begin() + std::ptrdiff_t(numBefore);
    std::sort(newOnes, vConnectorCE.end(), [](const CEdge* a, const CEdge* b) { return lessByNumber(a, b); });
    vConnectorCE.erase(std::unique(newOnes, vConnectorCE.end()), vConnectorCE.end());
    for (std::size_t i = numBefore; i < vConnectorCE.size(); ++i)
        removeEdge(mmVCD2CE, vConnectorCE[i]);
}

// Empties the map into chains. The closed ones are kept, in the final round all. The edges of the others are
// appended to vRemaining. True if one is closed.
bool ChainMgr::makeChains(bool bFinal, std::vector<CEdge*>& vRemaining)
{
    std::vector<std::unique_ptr<Chain>> vNew;
    while (!mmVCD2CE.empty())
        vNew.push_back(std::make_unique<Chain>(pMesh, mmVCD2CE));

    bool bAnyClosed = false;
    std::vector<CEdge*> vConnectorCE;
    for (std::unique_ptr<Chain>& pChain : vNew) {
        vConnectorCE.clear();
        if (bTryClose && tryCloseChain(pChain.get(), vConnectorCE) && !vConnectorCE.empty())
            pChain->addEdges(vConnectorCE);
        bAnyClosed = bAnyClosed || pChain->isClosed();
        if (pChain->isClosed() || bFinal)
            vChains.push_back(std::move(pChain));
        else
            pChain->getEdges(vRemaining);
    }
    return bAnyClosed;
}

void ChainMgr::enterAgain(std::vector<CEdge*>& vCE)
{
    std::sort(vCE.begin(), vCE.end(), [](const CEdge* a, const CEdge* b) { return lessByNumber(a, b); });
    for (CEdge* pCE : vCE) {
        pCE->setDirection(ED_NONE);
        enterEdge(mmVCD2CE, pCE);
    }
}

bool ChainMgr::tryCloseChain(const Chain* pChain, std::vector<CEdge*>& vConnectorCE) const
{
    if (pChain->isClosed())
        return true;
    u64 end0 = 0, end1 = 0;
    pChain->getEnds(end0, end1);

    // Members have a direction, so a free edge is none of them.
    const auto isFree = [](const CEdge* pCE) { return pCE->getDirection() == ED_NONE; };
    CEdge* pDirectCE = pMesh->getEdge(end0, end1);
    if (pDirectCE != nullptr && pDirectCE->getDegree() > 0 && isFree(pDirectCE)) {
        vConnectorCE.push_back(pDirectCE);
        return true;
    }

    std::map<u64, int> mVCD2Num;
    pChain->getVCDs(mVCD2Num);
    std::vector<CEdge*> vCE;
    pMesh->getIncidentCE(end0, vCE);
    CEdge *pBest0 = nullptr, *pBest1 = nullptr;
    int minSum = std::numeric_limits<int>::max();
    for (CEdge* pCE0 : vCE) {
        const u64 mid = pCE0->getOtherVCD(end0);
        if (!isFree(pCE0) || mVCD2Num.count(mid) != 0)
            continue;
        CEdge* pCE1 = pMesh->getEdge(mid, end1);
        if (pCE1 == nullptr || pCE1->getDegree() == 0 || !isFree(pCE1))
            continue;
        const int sum = pCE0->getDegree() + pCE1->getDegree();
        if (sum >= minSum)
            continue;
        minSum = sum;
        pBest0 = pCE0;
        pBest1 = pCE1;
    }
    if (pBest0 == nullptr)
        return false;
    vConnectorCE.insert(vConnectorCE.end(), {pBest0, pBest1});
    return true;
}

} // namespace TESK_ZAN
