// Subsystem: real mesh. Builds on: RMesh. Used by: Hal.
// Closes the holes of a finished mesh that a single triangle fills.
#pragma once

#include <cstddef>

namespace TESK_ZAN
{

class RMesh;

// Puts a triangle into each border loop of three edges; returns how many. Such a hole is no gap between the
// points: it stays where two sheets met around it and one of them went. The loop of a lone triangle is none,
// nor is one without an area. The mesh must be two-manifold and oriented, and is so afterwards. Patches are
// invalid then. Linear. Extension of 1.17.
size_t closePinholes(RMesh& mesh);

} // namespace TESK_ZAN
