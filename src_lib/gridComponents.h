// Subsystem: grid. Builds on: Calc, RCDStore. Used by: Prepare, the wings.
// Connected parts of sets of cells, and the small neighbourhood tests that go with them. The forms for mesh
// edges are in meshComponents.h. None keeps state between calls.
#pragma once

#include "definitions.h"

#include <cstddef>
#include <vector>

namespace TESK_ZAN
{

// Components under shared corners (26-neighbourhood). vvCC is replaced. Components come in the order of their
// first cell in vRCD; each is sorted and holds a cell once, however often the input does. Linear in the
// number of cells but for the sorts of the components.
void createCC_RCD(const std::vector<u64>& vRCD, std::vector<std::vector<u64>>& vvCC);

// Components under shared faces (6-neighbourhood). vvCC is replaced. Components come in the order of their
// smallest cell. A component stands in the order of its discovery, which is a walk with a stack that pushes
// neighbours in the order of Calc::getNeigs6_RCD; it begins with its smallest cell and is not sorted.
void createCC6_RCD(const std::vector<u64>& vRCD, std::vector<std::vector<u64>>& vvCC);

// Appends those of the 26 neighbours of rcd that stand in the sorted vector, in the order of
// Calc::completeArray26_RCD. 26 binary searches.
void getNeigs26_RCD(const std::vector<u64>& vSortedRCD, u64 rcd, std::vector<u64>& vNeigs);

// True if the two cells differ and no axis differs by more than 1.
bool areNeigs26_RCD(u64 rcdA, u64 rcdB);

// True if a closed path leads through the cells. The path is looked for in one place only: at the first cell
// from startIndex on that has a lonely neighbour, one that touches none of the cell's other neighbours. It is
// found if that neighbour leads back to the cell other than by the direct step. A ring with a tail that comes
// first therefore counts as no ring. O(n log n).
bool hasRing_RCD(const std::vector<u64>& vSortedRCD, std::size_t startIndex);

} // namespace TESK_ZAN
