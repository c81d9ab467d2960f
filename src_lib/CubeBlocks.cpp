#include "CubeBlocks.h"

#include "Calc.h"
#include "sortMT.h"
#include "zanAssert.h"

#include <algorithm>

namespace TESK_ZAN
{

namespace
{

// The place of a cell in its block is the six low bits of its code: the coordinate on an axis has its high
// bit at 5, 4, 3 (x, y, z) and its low bit at 2, 1, 0.
constexpr u64 cellsWhere(u64 axisBits, u64 value)
{
    u64 word = 0;
    for (u64 place = 0; place < 64; ++place)
        if ((place & axisBits) == value)
            word |= u64{1} << place;
    return word;
}

struct Axis {
    u64 codeMask;               // the axis in a block code: these are CCDs of a coarser lattice
    u64 at0, at1, at2, at3;     // the cells with this coordinate
    int step01, step12, step03; // how far apart the places of two coordinates are; 2 to 3 is as 0 to 1
};

constexpr Axis makeAxis(u64 tribit)
{
    const u64 low = tribit, high = tribit << 3;
    return {CCD_Z * tribit,
            cellsWhere(high | low, 0),
            cellsWhere(high | low, low),
            cellsWhere(high | low, high),
            cellsWhere(high | low, high | low),
            int(low),
            int(high - low),
            int(high + low)};
}

constexpr Axis AXES[3] = {makeAxis(AXIS_X), makeAxis(AXIS_Y), makeAxis(AXIS_Z)};

u64 stepDown(u64 blockCode, const Axis& axis)
{
    return (blockCode & ~axis.codeMask) | (((blockCode & axis.codeMask) - 1) & axis.codeMask);
}

u64 stepUp(u64 blockCode, const Axis& axis)
{
    return (blockCode & ~axis.codeMask) | (((blockCode | ~axis.codeMask) + 1) & axis.codeMask);
}

// What a block sees when it looks one cell down an axis: its own cells one place up, and the topmost cells of
// the block below at its bottom.
u64 lookDown(u64 own, u64 below, const Axis& axis)
{
    return (own & (axis.at0 | axis.at2)) << axis.step01 | (own & axis.at1) << axis.step12 |
           (below & axis.at3) >> axis.step03;
}

} // namespace

void CubeBlocks::build(const std::vector<u64>& vCCD_srt, int numLevels)
{
    const u64 levelMask = (u64{1} << (3 * numLevels)) - 1;
    cells.clear();
    vKeyBlocks.clear();
    for (const u64 ccd : vCCD_srt) {
        for (const Axis& axis : AXES)
            if ((ccd & axis.codeMask & levelMask) == (axis.codeMask & levelMask)) [[unlikely]]
                zanFail();
        cells.append(ccd);
    }
    cells.makeIndex();
    for (const Block& block : cells.getBlocks())
        addKeyBlocks(block);
    sortUniqueMT(vKeyBlocks);
    vKeyBlocks.shrink_to_fit();
}

// The cubes of a cell have keys up to one step above it: the block itself, and the blocks above its high
// sides.
void CubeBlocks::addKeyBlocks(const Block& block)
{
    for (std::size_t axes = 0; axes < 8; ++axes) {
        u64 bits = block.bits, code = block.code;
        for (std::size_t a = 0; a < 3; ++a)
            if (axes >> a & 1) {
                bits &= AXES[a].at3;
                code = stepUp(code, AXES[a]);
            }
        if (bits != 0)
            vKeyBlocks.push_back(code);
    }
}

CubeBlocks::BlocksBelow CubeBlocks::findBlocksBelow(u64 keyBlock) const
{
    BlocksBelow below{};
    for (std::size_t d = 0; d < 8; ++d) {
        u64 code = keyBlock;
        for (const Axis& axis : AXES)
            if (d & (axis.codeMask & 7))
                code = stepDown(code, axis); // below 0 this wraps to a coordinate beyond all blocks
        below[d] = cells.findBlock(code);
    }
    return below;
}

// seen[d] is first the block at offset d, then, axis by axis, what the block of keys sees of it.
CubeBlocks::MemberWords CubeBlocks::collectMembers(const BlocksBelow& below)
{
    std::array<u64, 8> seen{};
    for (std::size_t d = 0; d < 8; ++d)
        seen[d] = below[d] == nullptr ? 0 : below[d]->bits;
    for (const Axis& axis : AXES)
        for (std::size_t d = 0; d < 8; ++d)
            if (d & (axis.codeMask & 7))
                seen[d] = lookDown(seen[d ^ (axis.codeMask & 7)], seen[d], axis);

    MemberWords words{};
    for (std::size_t i = 0; i < 8; ++i)
        words[i] = seen[MEMBER_AXES[i]];
    return words;
}

int CubeBlocks::getConfig(u64 key) const
{
    const MemberWords words = collectMembers(findBlocksBelow(key >> 6));
    int config = 0;
    for (std::size_t i = 0; i < 8; ++i)
        config |= int(words[i] >> (key & 63) & 1) << i;
    return config;
}

} // namespace TESK_ZAN
