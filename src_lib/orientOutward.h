// Subsystem: real mesh. Builds on: RMesh. Used by: Hal.
// Turns closed surfaces so that their normals point outward.
#pragma once

#include <cstddef>

namespace TESK_ZAN
{

class RMesh;

// Each closed component of negative volume is turned as a whole; returns how many were. Components hang
// together by edges of degree 2; one is closed if all of its edges have two triangles that run through them
// in opposite directions. Others stay as they are, and so does a closed one without volume. Linear. Extension
// of 1.17.
size_t orientOutward(RMesh& mesh);

} // namespace TESK_ZAN
