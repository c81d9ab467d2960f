// Subsystem: volumes. Builds on: PointIndex3, HoleTrend. Used by: gapBridging.
// Takes the waves out of the points that bridge gaps.
#pragma once

#include "Component.h"

namespace TESK_ZAN
{

// Moves the points of vBridges onto the quadratic trend of what is around them, in rounds: the zero level of
// a field waves by a cell or two beside rims that are crooked on the grid. The points of vCells stay, as do
// the codes. Parallel. A point and round costs a radius query and a fit to its points, up to some hundred.
void evenBridges(const CellPoints& vCells, double cellSize, CellPoints& vBridges);

} // namespace TESK_ZAN
