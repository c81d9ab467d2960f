// Subsystem: real mesh. Builds on: RMesh. Used by: holeClosing.
// The border of a mesh as closed loops.
#pragma once

#include <cstddef>
#include <vector>

namespace TESK_ZAN
{

class REdge;
class RMesh;

// Appends each loop of border edges once, its edges in path order, the loops in order of the first created
// edge of their walk. No loop passes a vertex twice. Where holes touch in a vertex each is a loop of its own:
// there a walk goes on across the gap, to the next fan of triangles round the vertex. A border that ends at
// an edge of a degree above 2 where others do is in no loop. In a mesh that is not oriented holes that touch
// may come as other loops, or as none. Returns the number of border edges that are in no loop. Linear in the
// mesh, O(degree) at each vertex.
std::size_t getBorderLoops(const RMesh& mesh, std::vector<std::vector<REdge*>>& vLoops);

} // namespace TESK_ZAN
