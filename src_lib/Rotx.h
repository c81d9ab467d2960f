// Subsystem: mesh on codes. Builds on: CMesh, Calc, FlatMap. Used by: Top.
// The order of the triangles around an edge of any degree, from codes alone: third cells by their direction
// around a pair of adjacent cells, in a table.
#pragma once

#include "definitions.h"
#include "tesk_tools/FlatMap.h"

#include <utility>
#include <vector>

namespace TESK_ZAN
{

class CEdge;
class CMesh;
class CTriangle;

// The table covers pairs of cells that touch and third cells that touch both in one lattice corner, as the
// extraction makes them. After flips and collapses a mesh must not be sorted any more.
//
// Directions turn about the vector from the first to the second cell: counterclockwise if that points towards
// the viewer. Cells within one degree share an index.
class Rotx
{
public:
    // With bBuild false there is no table, and every look-up fails. The mesh is not owned.
    Rotx(CMesh* pMesh, bool bBuild);

    // Reorders the triangles of the edge: pRefCT, which must be one of them, first, the others in the order
    // in which they turn about the edge, taken in the direction in which pRefCT runs along it. False, with a
    // message, if two triangles lie in one direction; these stand in no particular order then.
    bool sortStar(CTriangle* pRefCT, CEdge* pCE);

    // The place of a third cell around the ordered pair, from 0; coordinates of the pair are 1 or 2 each. A
    // triple outside the table is a failed condition ("q_it!=mEncoded2Index.end()"). O(1).
    int getIdx(u64 rcd0, u64 rcd1, u64 rcd2) const;

    // Sorts by the angle around the pair, from the direction of the first entry on; stable. No cell may lie
    // on the line through the pair.
    void sortThirdRCDs(u64 rcd0, u64 rcd1, std::vector<u64>& vThirdRCDs) const;

    // The ordered pairs of the cells of a block of 2x2x2, and the number of triples in the table.
    const std::vector<std::pair<u64, u64>>& getPairs() const { return vPairs; }
    std::size_t getNumTriples() const { return mEncoded2Index.size(); }

private:
    void buildTable();
    void enterThirds(u64 rcd0, u64 rcd1);

    CMesh* pMesh; // not owned
    std::vector<std::pair<u64, u64>> vPairs;
    TESK_TOOLS::FlatMap<u64, int, TESK_TOOLS::U64Hash> mEncoded2Index;
};

} // namespace TESK_ZAN
