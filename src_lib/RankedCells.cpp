#include "RankedCells.h"

#include "tesk_tools/mixBits.h"
#include "zanAssert.h"

namespace TESK_ZAN
{

void RankedCells::clear()
{
    vBlocks.clear();
    vSlots.clear();
    numCells = 0;
}

void RankedCells::append(u64 ccd)
{
    zanAssert(numCells < NONE);
    if (vBlocks.empty() || vBlocks.back().code != ccd >> 6)
        vBlocks.push_back({ccd >> 6, 0, numCells});
    vBlocks.back().bits |= u64{1} << (ccd & 63);
    ++numCells;
}

void RankedCells::makeIndex()
{
    vBlocks.shrink_to_fit();
    vSlots.assign(std::bit_ceil(vBlocks.size() + vBlocks.size() / 2 + 1), NONE);
    for (std::size_t i = 0; i < vBlocks.size(); ++i)
        vSlots[probe(vBlocks[i].code)] = std::uint32_t(i);
}

// The slot of the block, or else the empty slot where it belongs. There must be slots.
std::size_t RankedCells::probe(u64 blockCode) const
{
    const std::size_t mask = vSlots.size() - 1;
    std::size_t slot = std::size_t(TESK_TOOLS::mixBits(blockCode + TESK_TOOLS::GOLDEN_STEP)) & mask;
    while (vSlots[slot] != NONE && vBlocks[vSlots[slot]].code != blockCode)
        slot = (slot + 1) & mask;
    return slot;
}

const RankedCells::Block* RankedCells::findBlock(u64 blockCode) const
{
    if (vSlots.empty())
        return nullptr;
    const std::uint32_t place = vSlots[probe(blockCode)];
    return place == NONE ? nullptr : &vBlocks[place];
}

std::uint32_t RankedCells::find(u64 ccd) const
{
    const Block* pBlock = findBlock(ccd >> 6);
    return pBlock != nullptr && pBlock->has(ccd) ? pBlock->getRank(ccd) : NONE;
}

} // namespace TESK_ZAN
