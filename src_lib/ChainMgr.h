// Subsystem: holes. Builds on: Chain, edgeMap. Used by: the drivers of hole closing.
// Sorts an unordered set of edges into chains.
#pragma once

#include "edgeMap.h"

#include <memory>
#include <vector>

namespace TESK_ZAN
{

class CEdge;
class CMesh;
class Chain;

// The chains never pass a vertex at which more than two edges of the set end. Where several cycles touch in
// such a vertex they are paths at first, and with bTryClose the two edges that lead to the vertex are added
// again. What cannot be closed stays an open path, and edges between branching vertices may be in no chain.
//
// One manager works on a mesh at a time: it clears the directions of the edges, which an older manager's
// chains rely on. Chains stand in order of their least vertex code, those of a later round behind.
class ChainMgr
{
public:
    // O(n log n) a round. Each round but the last two closes a chain; those around a cycle that touches only
    // one other close in the first.
    ChainMgr(CMesh* pMesh, const EdgeMap& mmVCD2CE, bool bTryClose);
    ~ChainMgr(); // the chains go with it
    ChainMgr(const ChainMgr&) = delete;
    ChainMgr& operator=(const ChainMgr&) = delete;

    // None of them is empty.
    u64 getNumChains() const { return vChains.size(); }
    Chain* getChain(u64 i) const;

    // The edges that close an open chain: one between its ends, or else two over a vertex that is not in it,
    // those with the least sum of degrees. They must have no direction: be in no chain. They need not be in
    // the set of this manager. True with vConnectorCE appended to, or if the chain is closed already.
    bool tryCloseChain(const Chain* pChain, std::vector<CEdge*>& vConnectorCE) const;

private:
    void createChains();
    void removeBranchPoints(std::vector<CEdge*>& vConnectorCE);
    bool makeChains(bool bFinal, std::vector<CEdge*>& vRemaining);
    void enterAgain(std::vector<CEdge*>& vCE);

    CMesh* pMesh; // not owned
    EdgeMap mmVCD2CE;
    std::vector<std::unique_ptr<Chain>> vChains;
    bool bTryClose;
};

} // namespace TESK_ZAN
