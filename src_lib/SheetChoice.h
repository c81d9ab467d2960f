// Subsystem: mesh on codes. Builds on: CMesh, SideForest. Used by: Top.
// The last word on which pieces of an extracted surface stay: as many edges as possible with an even number
// of triangles.
#pragma once

#include "definitions.h"

#include <vector>

namespace TESK_ZAN
{

class CMesh;
class CTriangle;

// Passes that kill sheets decide on each by what they see of it, and where several meet one can go that
// others needed: then a border is left in a surface that was closed, or an edge of three triangles. This
// looks at all triangles that were there before, and takes pieces back or out, as long as the number of odd
// edges falls. Closed surfaces, touching or not, have none.
class SheetChoice
{
public:
    // Remembers the alive triangles. Until settle the mesh may lose triangles, but not get any.
    explicit SheetChoice(CMesh* pMesh);

    // A piece is a maximal set of alive triangles, or of dead ones, that hang together over edges that had
    // two triangles. Takes the step that makes the greatest difference first, of equal ones the earliest;
    // then small pieces that meet, two at a time. Large pieces stay in any case. Edges between two cells of
    // vBorderCCD_srt, where the surface is to end, do not count. Triangles that come back are new ones, at
    // the end of getT, and patches are void.
    //
    // Linear in triangles, n log n in those beside edges that are not regular.
    void settle(const std::vector<u64>& vBorderCCD_srt);

private:
    CMesh* pMesh;
    std::vector<CTriangle*> vCT; // as at the start
};

} // namespace TESK_ZAN
