// Subsystem: real mesh. Builds on: RMesh, SideForest, twistCut. Used by: manifoldRepair.
// Orients what has no orientation, with as little disagreement as is easily found.
#pragma once

#include <vector>

namespace TESK_ZAN
{

class REdge;
class RMesh;

// True if two triangles disagree over the edge: both run through it in the same direction. An edge of another
// degree is not twisted.
bool isTwisted(const REdge& edge);

// All twisted edges, by number.
std::vector<REdge*> findTwistedRE(const RMesh& mesh);

// Orients each component anew that has a twisted edge, and returns those that are left. As few as possible if
// that is found (orientByShortestCut); else triangles are joined over the flattest edges first, so what does
// not fit is found where the surface is folded most, and not somewhere far behind a small tangle; then single
// triangles that disagree with two neighbours are turned. Needs fresh patches. O(n log n) in the triangles of
// the components with a twist.
std::vector<REdge*> orientTwisted(RMesh& mesh);

} // namespace TESK_ZAN
