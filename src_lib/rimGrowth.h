// Subsystem: real mesh. Builds on: RMesh, LocalChange. Used by: Hal.
// Lets the rim of an open surface reach the points beyond it.
#pragma once

#include <cstddef>
#include <vector>

namespace TESK_ZAN
{

class Point3;
class RMesh;

// A cell has one vertex, near the middle of its points, so a rim stays up to more than a cell behind the
// outermost ones. This puts a triangle on a rim edge with such a point as its tip where that continues the
// surface: a quarter of a cell or more beyond the edge, hardly bent, without a small angle, away from
// everything else. Nothing that is there changes. vPoints: the points that may become vertices; of equally
// good ones the first does. Returns the number of triangles. The mesh must be two-manifold and oriented, and
// is so afterwards. Patches are invalid then. Linear in the vertices, n log n in points and border edges; a
// closed mesh costs a look at its edges. Extension of 1.17.
size_t growRims(RMesh& mesh, const std::vector<Point3>& vPoints);

} // namespace TESK_ZAN
