// Subsystem: real mesh. Builds on: RMesh. Used by: Hal.
// Closes the small holes of a finished mesh that its input did not have.
#pragma once

#include "Point3.h"

#include <cstddef>
#include <functional>

namespace TESK_ZAN
{

class RMesh;

// Fills each border loop of at most maxEdges edges with the triangles between its corners that have the least
// area together; returns how many loops. A loop stays if isMeant is true of half of its vertices, if it is
// the rim of a small piece of surface rather than a hole, or if no fill does without an edge that the mesh
// already has, or without a side shorter than a thousandth of a cell. The mesh must be two-manifold and
// oriented, and is so afterwards. Patches are invalid then. Linear, and O(n^3) for a loop of n edges.
// Extension of 1.17.
size_t closeSmallHoles(RMesh& mesh, size_t maxEdges, const std::function<bool(const Point3&)>& isMeant);

} // namespace TESK_ZAN
