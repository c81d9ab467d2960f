// Subsystem: holes. Builds on: Chain, ChainMgr, Loop, CMesh. Used by: Holex, HolePatcher.
// The driver that closes holes of a mesh on codes by ear cutting, each on a copy of its surroundings.
#pragma once

#include "definitions.h"

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace TESK_ZAN
{

class Calc;
class CEdge;
class Chain;
class ChainMgr;
class CMesh;
class CTriangle;
class Loop;
class Point3;
struct Bundle;

// Works on one mesh, which it does not own. What it cannot close stays as it was. A new vertex never comes
// up. In an oriented mesh the new triangles run like their neighbours.
class HoleToCCD
{
public:
    HoleToCCD(CMesh* pOldMesh, const Calc* pCalc);
    ~HoleToCCD();
    HoleToCCD(const HoleToCCD&) = delete;
    HoleToCCD& operator=(const HoleToCCD&) = delete;

    // Closes all good holes of the mesh; a border strip that is twisted is untied first. Appends three
    // corners for each new triangle, points of the mesh's bundles. True if there are any. The mesh is divided
    // into patches anew. O(n log n) in the border edges.
    bool run(std::vector<Point3*>& vCorners);

    // Closes one closed chain. False, with the mesh as it was, if it is no good hole or cannot be filled. O(n
    // log n) for n edges of the chain, as long as the vertices keep few triangles.
    bool fill(Chain* pChain);

    // What fill made so far.
    const std::vector<CTriangle*>& getOwnT() const { return vOwnT; }

    // A mesh of the triangles of the old one at the chain's vertices; vBorderCE are its edges that stand for
    // the chain's, in path order. Null if a vertex has no bundle. It uses bundles of the old mesh and a map
    // that stands until the next call.
    std::unique_ptr<CMesh> createBorderMesh(Chain* pChain, std::vector<CEdge*>& vBorderCE);

    // The edges must make up one loop. pMesh is theirs.
    static std::unique_ptr<Loop> createLoop(CMesh* pMesh, std::vector<CEdge*>& vBorderCE);

private:
    void createChains();
    bool untieTwists();
    void orientLikeNeighbours(const std::vector<CEdge*>& vChainCE,
                              const std::vector<CTriangle*>& vNewT) const;

    std::unique_ptr<ChainMgr> pChainMgr;
    CMesh* pOldMesh;                    // not owned
    const Calc* pCalc;                  // not owned
    std::map<u64, Bundle*> mCCD2Bundle; // those of the border mesh
    std::vector<CTriangle*> vOwnT;
};

} // namespace TESK_ZAN
