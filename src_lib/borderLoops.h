// Subsystem: real mesh. Builds on: RMesh. Used by: holeClosing.
// The border of a mesh as closed loops.
#pragma once

#include <vector>

namespace TESK_ZAN
{

class REdge;
class RMesh;

// Appends each loop of border edges once, its edges in path order, the loops in order of their first created
// edges. At each vertex a loop goes on along the same fan of triangles, so where fans touch in a vertex a
// loop may pass it twice. A border that runs into an edge of a degree above 2 is in no loop. Linear.
void getBorderLoops(const RMesh& mesh, std::vector<std::vector<REdge*>>& vLoops);

} // namespace TESK_ZAN
