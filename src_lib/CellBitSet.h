// Subsystem: grid. Builds on: definitions, FlatMap. Used by: Pixel, Cloud.
// The set of cells that are taken, for loops over millions of cells in walking order; and pairs of cells.
#pragma once

#include "definitions.h"
#include "tesk_tools/FlatMap.h"

#include <utility>
#include <vector>

namespace TESK_ZAN
{

// Codes of two neighbouring cells, the lower first.
using CellPairs = std::vector<std::pair<CCD, CCD>>;

// One bit a cell in blocks of 4x4x4: about two bytes a cell for surfaces, and neighbouring cells mostly share
// a block. Reading is safe from several threads while none writes.
class CellBitSet
{
public:
    // False if the cell was there.
    bool insert(u64 rcd)
    {
        u64& bits = *mBlockBits.tryEmplace(rcd & BLOCK_MASK, 0).first;
        if ((bits & bitOf(rcd)) != 0)
            return false;
        bits |= bitOf(rcd);
        return true;
    }

    bool contains(u64 rcd) const
    {
        const u64* pBits = mBlockBits.find(rcd & BLOCK_MASK);
        return pBits != nullptr && (*pBits & bitOf(rcd)) != 0;
    }

private:
    static constexpr u64 BLOCK_MASK = ~(RCD_STEP_X * 3 | RCD_STEP_Y * 3 | RCD_STEP_Z * 3);

    static u64 bitOf(u64 rcd) { return u64{1} << ((rcd >> 42 & 3) << 4 | (rcd >> 21 & 3) << 2 | (rcd & 3)); }

    TESK_TOOLS::FlatMap<u64, u64, TESK_TOOLS::U64Hash> mBlockBits; // by the code of the block's lowest cell
};

} // namespace TESK_ZAN
