// Subsystem: volumes. Builds on: Filler, BridgeRims. Used by: Hal.
// Closes gaps between the sheets of a rasterised surface with new cells.
#pragma once

#include "Component.h"
#include "definitions.h"

#include <vector>

namespace TESK_ZAN
{

class Calc;

// vBridges becomes the new cells with a point each, ascending. vCells: the cells of the surface with their
// points, sorted, each cell once. vBorderCCD: codes of cells along the borders of the surface, in any order,
// also repeated; those that are no cell of the surface do not count. Rims up to 1.5 * numGrowSteps cells from
// each other are joined (2 cells for one step). A gap that is wider stays as it is, and nothing is added
// anywhere else. None after a warning if the field round the rims would take more than some gigabytes.
// Condition "numGrowSteps>0". Extension of version 1.17.
void bridgeGaps(int numGrowSteps, const CellPoints& vCells, const std::vector<u64>& vBorderCCD,
                const Calc* pCalc, CellPoints& vBridges);

} // namespace TESK_ZAN
