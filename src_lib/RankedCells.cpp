#include "RankedCells.h"

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

} // namespace TESK_ZAN
