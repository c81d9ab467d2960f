// Subsystem: grid. Builds on: Calc, sortMT. Used by: Prepare, the wings.
// Growth of sets of cells. All sets are plain vectors of RCDs.
#pragma once

#include "definitions.h"

#include <vector>

namespace TESK_ZAN
{

// Appends the 6 face neighbours of each cell to vOut, in the order of Calc::getNeigs6_RCD; with bSort true
// the whole of vOut is then sorted and made unique. No range check at the ends of the lattice. Parallel.
void getAll6Neigs(const std::vector<u64>& vIn, bool bSort, std::vector<u64>& vOut);

// Appends the 8 corners (RCCs) of each cell, in the order of Calc::completeCellCorners8; bSort as above.
void getAll8Corners(const std::vector<u64>& vIn, bool bSort, std::vector<u64>& vOut);

// vOut becomes the sorted list of all cells within numRings face steps of vIn, without the cells of vIn
// itself when bKeepSeeds is false. vIn may be unsorted and may hold a cell twice. Cells beyond the ends of
// the lattice are left out. A ring costs the number of runs of 64 cells along z that have been reached so far
// (16 bytes each), which for a thick set is many times less than the number of cells. Parallel.
void growRCDs(const std::vector<u64>& vIn, int numRings, bool bKeepSeeds, std::vector<u64>& vOut);

} // namespace TESK_ZAN
