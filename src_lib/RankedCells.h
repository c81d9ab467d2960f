// Subsystem: mesh on codes. Builds on: definitions, mixBits. Used by: CubeBlocks, VertexTable.
// A sorted list of cells as blocks of bits: the place of a code in the list without a search.
#pragma once

#include "definitions.h"
#include "tesk_tools/mixBits.h"

#include <bit>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace TESK_ZAN
{

// Holds 4x4x4 cells in one word; a sheet of cells takes about 3 bytes a cell. Bit i of a block is the cell
// whose six low code bits are i, so blocks and bits both ascend with the codes. The rank of a cell is its
// place in the list. Blocks are found by a hash, cells in a block by counting bits: walks along the codes
// stay in the few blocks that lie near.
class RankedCells
{
public:
    static constexpr std::uint32_t NONE = 0xffffffff;

    struct Block {
        u64 code; // the codes of the cells, without the six low bits
        u64 bits;
        std::uint32_t firstRank; // number of cells in all blocks before

        bool has(u64 ccd) const { return bits >> (ccd & 63) & 1; }

        // Of a cell of the block.
        std::uint32_t getRank(u64 ccd) const
        {
            return firstRank + std::uint32_t(std::popcount(bits & ((u64{1} << (ccd & 63)) - 1)));
        }
    };

    void clear();

    // Appends a cell, with a higher code than all before.
    void append(u64 ccd);

    // To be called after the last append and before the first look-up.
    void makeIndex();

    // Null where there is none. O(1).
    const Block* findBlock(u64 blockCode) const
    {
        if (vSlots.empty())
            return nullptr;
        const std::uint32_t place = vSlots[probe(blockCode)];
        return place == NONE ? nullptr : &vBlocks[place];
    }

    // The rank, NONE for a cell that is not in the list. O(1).
    std::uint32_t find(u64 ccd) const
    {
        const Block* pBlock = findBlock(ccd >> 6);
        return pBlock != nullptr && pBlock->has(ccd) ? pBlock->getRank(ccd) : NONE;
    }

    std::size_t size() const { return numCells; }
    const std::vector<Block>& getBlocks() const { return vBlocks; } // ascending

private:
    // The slot of the block, or else the empty slot where it belongs. There must be slots.
    std::size_t probe(u64 blockCode) const
    {
        const std::size_t mask = vSlots.size() - 1;
        std::size_t slot = std::size_t(TESK_TOOLS::mixBits(blockCode + TESK_TOOLS::GOLDEN_STEP)) & mask;
        while (vSlots[slot] != NONE && vBlocks[vSlots[slot]].code != blockCode)
            slot = (slot + 1) & mask;
        return slot;
    }

    std::vector<Block> vBlocks;
    std::vector<std::uint32_t> vSlots; // places in vBlocks or NONE; the size is 0 or a power of two
    std::uint32_t numCells = 0;
};

} // namespace TESK_ZAN
