// Subsystem: holes. Builds on: Hole, HoleToCCD, PatchStitcher, PolygonFiller, Membrane,
// loopCorners, freeCell, FoldCutter, patchCrossings, CMesh. Used by: holeClosing.
// Closes a hole of a mesh on codes whole or not at all, by ears, by a volumetric patch or by
// a membrane.
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
class Point3;

// Lives for one chain, which must be closed and a good hole. The mesh must be oriented and hold all triangles
// at the chain's vertices. A success leaves each edge of the chain and of the new triangles with two
// triangles that run alike, and the new ones are a disc. Where the surface turns back on itself at the rim or
// in the patch, some triangles round the fold, old ones too, are exchanged for others. A failure leaves the
// triangles of the mesh as they were, though some in new records. One success is all.
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

    // A sheet as a soap film would hang in the rim, of triangles as wide as the rim's edges are long. For
    // what is wide open: the mouth of a cup, whose walls do not lead across. The loop must look like a
    // polygon from somewhere.
    bool closeByMembrane();

    // What the success made, by creation.
    const std::vector<CTriangle*>& getNewT() const { return vNewT; }

    // What it took away of the mesh, by creation.
    const std::vector<CTriangle*>& getGoneT() const { return vGoneT; }

    // The folds that are left at the edges of the new triangles. A patch that has more of them at first than
    // three quarters of the chain's edges lies over its surroundings and is no success. Nor is one of whose
    // triangles other parts of the mesh run through more than a quarter of the chain's edges: torn rims round
    // thin walls lead to such.
    std::size_t getNumFolds() const { return numFolds; }

private:
    bool growInto(Chain* pLoopChain, const std::vector<CEdge*>& vLoopCE, int depth);
    bool fillGap(const std::vector<CEdge*>& vGapCE, int depth);
    bool fillByMembrane(const std::vector<CEdge*>& vLoopCE);
    u64 createVertex(const Point3& point);
    bool keepIfSound();
    void takeBack();
    void killFrom(std::size_t numT);
    bool isDisc() const;
    void collectNewT();
    void relax();
    bool isFolded() const;
    void cutFolds();
    std::size_t countFansAt(u64 vcd) const;

    CMesh* pMesh;
    Chain* pChain;
    std::vector<CEdge*> vRimCE;
    std::map<u64, std::size_t> mNumFans; // of the rim's vertices, before the patch
    std::size_t numTBefore;
    std::vector<CTriangle*> vNewT;
    std::vector<CTriangle*> vGoneT;
    std::vector<u64> vInnerVCD; // the patch's vertices within the rim
    std::size_t numFolds = 0;
};

} // namespace TESK_ZAN
