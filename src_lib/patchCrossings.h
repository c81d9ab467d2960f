// Subsystem: holes. Builds on: CMesh, trianglesCross. Used by: HolePatcher.
// Where a patch runs through the surface round it.
#pragma once

#include <cstddef>
#include <vector>

namespace TESK_ZAN
{

class CMesh;
class CTriangle;

// How many of these alive triangles of the mesh are run through by others that have no corner in common with
// them. What only touches, or lies in one plane, does not count. About linear in the triangles of the mesh
// for triangles of like size.
std::size_t countCrossed(const CMesh& mesh, const std::vector<CTriangle*>& vPatchT);

} // namespace TESK_ZAN
