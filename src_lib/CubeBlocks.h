// Subsystem: mesh on codes. Builds on: RankedCells. Used by: Voro.
// A set of cells as blocks of bits, and the configurations of all cubes that touch it, in order of their
// keys.
#pragma once

#include "RankedCells.h"
#include "definitions.h"

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace TESK_ZAN
{

// Looks at the cells by blocks of 4x4x4: about 4 bytes a cell of a sheet, where a list of (cube, cell) pairs
// takes 128. Immutable between calls of build.
class CubeBlocks
{
    using Block = RankedCells::Block;

    // The blocks round a block of keys, null where there is none. Entry d lies d (a sum of tribits) below.
    using BlocksBelow = std::array<const Block*, 8>;

public:
    // The occupied cells of one cube during the walk.
    class Members
    {
    public:
        // The place of a member in the sorted list of cells. bit: its bit in the configuration, which must be
        // set. ccd: its code. O(1).
        std::uint32_t getRank(std::size_t bit, u64 ccd) const;

    private:
        friend class CubeBlocks;
        Members(const BlocksBelow& below_, u64 place_) : below(below_), place(place_) {}

        const BlocksBelow& below;
        u64 place; // of the key in its block
    };

    // Takes the cells over, which must be sorted and unique. No cell may lie at the high end of an axis of
    // the lattice of numLevels levels: condition "false", as its cubes would lie outside.
    void build(const std::vector<u64>& vCCD_srt, int numLevels);

    // Calls f(key, config) for each cube with at least one occupied cell, keys ascending. The cell bits of a
    // config are those of Calc::completeCubeMembers8.
    template <class F>
    void forEachCube(F f) const;

    // The same with a third argument, the Members of the cube.
    template <class F>
    void forEachCubeWithMembers(F f) const;

    // The configuration of the cube with this key, 0 if none of its cells is occupied. O(1).
    int getConfig(u64 key) const;

private:
    // The occupancy that the cubes of one block of keys see: word i has bit k set if member i of the cube at
    // place k of the block is occupied.
    using MemberWords = std::array<u64, 8>;

    // For each member of a cube the axes on which it lies one cell below the key, as a sum of tribits.
    static constexpr std::array<std::size_t, 8> MEMBER_AXES = {6, 2, 3, 7, 4, 0, 1, 5};

    void addKeyBlocks(const Block& block);
    BlocksBelow findBlocksBelow(u64 keyBlock) const;
    static MemberWords collectMembers(const BlocksBelow& below);

    RankedCells cells;
    std::vector<u64> vKeyBlocks; // ascending: the blocks in which keys of touched cubes lie
};

template <class F>
void CubeBlocks::forEachCube(F f) const
{
    forEachCubeWithMembers([&f](u64 key, int config, const Members&) { f(key, config); });
}

template <class F>
void CubeBlocks::forEachCubeWithMembers(F f) const
{
    for (const u64 keyBlock : vKeyBlocks) {
        const BlocksBelow below = findBlocksBelow(keyBlock);
        const MemberWords words = collectMembers(below);
        u64 touched = 0;
        for (const u64 word : words)
            touched |= word;
        for (; touched != 0; touched &= touched - 1) {
            const u64 k = u64(std::countr_zero(touched));
            int config = 0;
            for (int i = 0; i < 8; ++i)
                config |= int(words[std::size_t(i)] >> k & 1) << i;
            f(keyBlock << 6 | k, config, Members(below, k));
        }
    }
}

// The step down to a member leaves the key's block on the axes on which the key lies at the block's bottom.
inline std::uint32_t CubeBlocks::Members::getRank(std::size_t bit, u64 ccd) const
{
    const std::size_t atBottom = ~(place | place >> 3) & 7;
    return below[MEMBER_AXES[bit] & atBottom]->getRank(ccd);
}

} // namespace TESK_ZAN
