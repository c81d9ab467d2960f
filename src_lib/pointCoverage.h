// Subsystem: real mesh. Builds on: RMesh, Calc. Used by: Hal.
// How much of a cloud its surface has reached.
#pragma once

#include <vector>

namespace TESK_ZAN
{

class Point3;
class RMesh;

// The share of the points, from 0 to 1, in whose cell and the 26 around it no vertex of a triangle lies:
// these are more than a cell away from the surface. Estimated from at most 10,000 points, evenly spread over
// the input, so the figure is good to about half a percent. The mesh must know its lattice (RMesh::getCalc),
// in which the points lie; points that are not finite do not count. 0 for no points. Linear in the vertices.
// Extension of 1.17.
double shareOutOfReach(const RMesh& mesh, const std::vector<Point3>& vPoints);

} // namespace TESK_ZAN
