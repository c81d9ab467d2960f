// Subsystem: mesh on codes. Builds on: CEdge, CTriangle. Used by: Top, CPatch, holes.
// Sets of mesh edges split into connected parts, and the edges of a set of triangles by degree.
#pragma once

#include <vector>

namespace TESK_ZAN
{

class CEdge;
class CTriangle;

// The components of the edges under shared vertices, in order of their first edge in vCE; within a component
// the edges ascend by creation number. vvCC is appended to. An edge given twice is a failed condition
// ("num==vCE.size()"). O(n log n).
void createCC(const std::vector<CEdge*>& vCE, std::vector<std::vector<CEdge*>>& vvCC);

// Counts for each edge how many alive triangles of vCT hold it and appends the edges whose count fits deg, in
// ascending order of creation number: -4 even and above 2, -3 above 2, -2 even, -1 odd, any other value
// exactly this count. Triangles outside vCT do not count. O(n log n).
void getDegN_CT(int deg, const std::vector<CTriangle*>& vCT, std::vector<CEdge*>& vCE);

} // namespace TESK_ZAN
