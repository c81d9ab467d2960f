// Subsystem: run. Builds on: Hole, Hal, CloudMgr, Visualizer3. Used by: developers; on no road.
// A look at what the points round a hole give for themselves.
#pragma once

#include <cstddef>
#include <string>

namespace TESK_ZAN
{

class Hole;

// Reconstructs the points of the first numRows rows of triangles round a hole as a cloud of their own, with
// the spacing that it has, and writes the triangles to the scene of this name. Returns how many there are; 0,
// without a scene, if the points are too few. The thread's progress root must have a name.
std::size_t reconstructHoleRows(const Hole& hole, int numRows, const std::string& sceneName);

} // namespace TESK_ZAN
