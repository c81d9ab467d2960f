// Subsystem: holes. Builds on: CMesh, PolygonFiller. Used by: HolePatcher.
// Cuts folds out of a mesh on codes.
#pragma once

#include "definitions.h"

#include <cstddef>
#include <vector>

namespace TESK_ZAN
{

class CEdge;
class CMesh;
class CTriangle;

// Neighbours that turn further than this against each other are a fold.
constexpr double FOLD_DEGREES = 150.0;

std::size_t countFolds(const CMesh& mesh, const std::vector<CTriangle*>& vCT); // at their edges, each once

// A fold is cut out with the triangles round it, and the gap gets the triangulation that bends least: first
// with those beside its edge, then with rings of neighbours, until there are fewer folds than before. No
// vertex moves, but one within the gap loses its triangles. Nothing is torn or joined, and borders stay; a
// fold near a border or an edge of three triangles is left. One fold costs as much as filling some loops of a
// few dozen edges.
class FoldCutter
{
public:
    explicit FoldCutter(CMesh* pMesh_) : pMesh(pMesh_) {} // not owned

    // Looks at the edges of these alive triangles. What it makes comes at the end of the mesh's list.
    void run(const std::vector<CTriangle*>& vCT);

    // What it took away, its own triangles included.
    const std::vector<CTriangle*>& getGoneT() const { return vGoneT; }

private:
    void cutAt(const CEdge& edge);
    bool cutOut(const std::vector<CTriangle*>& vRegionT);
    void exchange(const std::vector<CTriangle*>& vOldT, const std::vector<CTriangle*>& vFillT);

    CMesh* pMesh;
    std::vector<CTriangle*> vGoneT;
    std::vector<CEdge*> vFoldCE; // grows by the folds that are left in a gap
};

} // namespace TESK_ZAN
