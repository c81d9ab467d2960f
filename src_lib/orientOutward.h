// Subsystem: real mesh. Builds on: RMesh, SideForest. Used by: Hal.
// Turns surfaces so that their normals point outward.
#pragma once

#include <cstddef>

namespace TESK_ZAN
{

class RMesh;

// Each component of negative volume is turned as a whole; returns how many were. Components hang together by
// edges of degree 2. An open one is taken as closed by a cone over its rim, whose apex is the mean of the
// rim: a scan with holes comes out like the closed body. What has no volume (a flat sheet) or no orientation
// (a one-sided band) stays as it is. Linear. Extension of 1.17.
size_t orientOutward(RMesh& mesh);

} // namespace TESK_ZAN
