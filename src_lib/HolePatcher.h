// Subsystem: holes. Builds on: Hole, HoleToCCD, PatchStitcher, PolygonFiller, CMesh. Used by: holeClosing.
// Closes a hole of a mesh on codes whole or not at all, by ears or by a volumetric patch.
#pragma once

#include "definitions.h"

#include <cstddef>
#include <map>
#include <vector>

namespace TESK_ZAN
{

class CEdge;
class Chain;
class CMesh;
class CTriangle;

// Lives for one chain, which must be closed and a good hole. The mesh must be oriented and hold all triangles
// at the chain's vertices. A success leaves each edge of the chain and of the new triangles with two
// triangles that run alike, and the new ones are a disc. A failure leaves the triangles of the mesh as they
// were. One success is all.
class HolePatcher
{
public:
    HolePatcher(CMesh* pMesh, Chain* pChain); // not owned

    // Triangles between the chain's vertices only. Good for holes that are small and flat.
    bool closeByEars();

    // A surface through cells of the lattice that continues the one round the hole; its vertices are new
    // bundles of the mesh, evened out. Gaps that are left at the rim are closed by the best triangulation.
    // The vertices of the mesh must be neighbours on its lattice, or there will be no patch.
    bool closeByVolume();

    // What the success made, by creation.
    const std::vector<CTriangle*>& getNewT() const { return vNewT; }

    // Its edges, the chain's included, where the surface turns back on itself. They are rarely avoidable
    // where the surroundings are folded at the rim. A patch with more of them than three quarters of the
    // chain's edges lies over its surroundings and is no success.
    std::size_t getNumFolds() const { return numFolds; }

private:
    bool growInto(Chain* pLoopChain, const std::vector<CEdge*>& vLoopCE, int depth);
    bool fillGap(const std::vector<CEdge*>& vGapCE, int depth);
    bool keepIfSound();
    void takeBack();
    void killFrom(std::size_t numT);
    bool isDisc() const;
    void relax();
    std::size_t countFolds() const;
    std::size_t countFansAt(u64 vcd) const;

    CMesh* pMesh;
    Chain* pChain;
    std::vector<CEdge*> vRimCE;
    std::map<u64, std::size_t> mNumFans; // of the rim's vertices, before the patch
    std::size_t numTBefore;
    std::vector<CTriangle*> vNewT;
    std::vector<u64> vInnerVCD; // the patch's vertices within the rim
    std::size_t numFolds = 0;
};

} // namespace TESK_ZAN
