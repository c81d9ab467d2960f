// Subsystem: intake. Builds on: CellBlocks, removalRules.
// Used by: Prepare.
// The thinning of the cells that hold points to a layer one cell thick.
#pragma once

#include "CellBlocks.h"
#include "removalRules.h"

#include <cstddef>
#include <vector>

namespace TESK_ZAN
{

// Removes cells in passes, each in ascending order of (weight, RCD): every cell whose removal opens no gap
// and that is no border cell goes, and the alive neighbours of the removed cells are the candidates of the
// next pass. The result is that of RemoveDeciderFast::prune with borders that stay, but reached without
// sorting.
//
// Whether a cell goes depends on its neighbours alone. So a pass walks through space, not through the sorted
// list, and decides a cell as soon as all neighbours that come before it in the order are decided: each cell
// meets the very neighbourhood that it would meet in the global order, and the walk stays in the cache.
class Thinning
{
public:
    // alive: the cells, all of them candidates of the first pass; run removes some. vWeights: by the numbers
    // of ranks, which counts alive as given. None is owned.
    Thinning(const CellBlocks& blocks, CellLayer& alive, const CellRanks& ranks,
             const std::vector<double>& vWeights);

    // All passes. Linear in the number of cells as a rule; a pass looks at its candidates only.
    void run();

private:
    size_t runPass();
    void decide(CellPos pos);
    CellPos getEarlierNeig(CellPos pos) const;

    const RemovalRules& rules;
    const CellBlocks& blocks;
    CellLayer& alive;
    const CellRanks& ranks;
    const std::vector<double>& vWeights;
    CellLayer pending;           // candidates of this pass that are not decided
    CellLayer next;              // candidates of the next pass, some of which may die in this one
    std::vector<CellPos> vStack; // each waits for the one behind it, which comes before it in the order
    size_t numRemoved = 0;       // in this pass
};

} // namespace TESK_ZAN
