// Subsystem: mesh on codes. Builds on: CEdge, CMesh, CPatch. Used by: CPatch.
// How a closed patch goes on across one of its edges: straight on, or round a fold to its other side.
#pragma once

#include "CEdge.h"

namespace TESK_ZAN
{

class CMesh;
class CPatch;

// Plain values as of the construction. A walk takes the entry with the least angle first, of equal angles the
// one that was made first: flat continuations, then folds from the sharpest on, then edges where the patch
// meets itself more than twice.
struct ConEdge {
    // The edge must have a degree above 1 (condition "deg>1") and, above 2, at least two triangles of the
    // patch (condition "vMemT.size()>=2").
    ConEdge(const CMesh* pMesh, CEdge* pCE, const CPatch* pPatch);

    CEdge* pCE;
    int deg;
    double angle;                // degrees; 90.0 without a normal, 181.0 for more than two members
    bool bSameSide;              // false exactly at a fold: two members on an edge of degree above 2
    CEdge::TriangleList vMemT{}; // the triangles of the edge that are members; all of them at degree 2

private:
    double angleOfMembers(const CMesh* pMesh) const;
};

} // namespace TESK_ZAN
