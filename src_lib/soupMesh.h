// Subsystem: real mesh. Builds on: RMesh, Progress. Used by: zan_api_functions.
// A triangle soup as a mesh, as it is: nothing is sampled anew.
#pragma once

#include "Point3.h"

#include <memory>
#include <vector>

namespace TESK_ZAN
{

class RMesh;

// Equal corners are one vertex, with the colour of the first of them that has one. Triangles keep their order
// and winding; vertices are numbered by first use. Left out, with one warning each that counts them:
// triangles with a corner that is not finite or beyond 1e75, with two equal corners, and with the corners of
// an earlier one. Cell size: the mean edge length. Null, after a warning, if no triangle is left. A number of
// corners that is no multiple of three is a failed condition. Progress "RM_smVtx", "RM_smT". O(n log n).
std::unique_ptr<RMesh> makeSoupMesh(const std::vector<Point3>& vCorners);

// The same of shared vertices, which are numbered in their order. Null, after an error, if an index is none
// of a vertex. A number of indices that is no multiple of three is a failed condition. A cell size that is
// not above 0, or not finite, is the mean edge length.
std::unique_ptr<RMesh> makeIndexedMesh(const std::vector<Point3>& vVertices, const std::vector<int>& vIndices,
                                       double cellSize);

} // namespace TESK_ZAN
