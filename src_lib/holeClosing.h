// Subsystem: real mesh. Builds on: RMesh, borderLoops, HoleBridge, HolePatcher, Chain, Progress. Used by:
// zan_api_functions. Closes the holes of a finished mesh.
#pragma once

#include <cstddef>

namespace TESK_ZAN
{

class RMesh;

struct HoleReport {
    std::size_t numClosed = 0;
    std::size_t numRims = 0;     // closed borders that are no holes: outer rims of open surfaces
    std::size_t numLeftOpen = 0; // holes that no patch fits
};

// Closes every hole of at most maxEdges border edges, 0: of any size. The mesh must be oriented; where it is
// two-manifold it stays so, and no vertex moves; triangles go only where the surface was
// folded at a rim, or the patch would be, and some vertices may be left without any. New vertices lie on a
// surface that continues the one round the hole; they have no colour yet. Phase "HO_close" of the thread's
// progress root. Holes that stay open are counted in one warning, border edges that are in no loop in
// another. Linear in the mesh for the search, then in the holes; a hole of r cells in diameter takes about
// r^2 times its depth. An extension of version 1.17.
HoleReport closeHoles(RMesh& mesh, int maxEdges);

} // namespace TESK_ZAN
