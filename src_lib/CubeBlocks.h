// Subsystem: mesh on codes. Builds on: definitions. Used by: Voro.
// A set of cells as blocks of bits, and the configurations of all cubes that touch it, in order of their
// keys.
#pragma once

#include "definitions.h"

#include <array>
#include <bit>
#include <cstddef>
#include <vector>

namespace TESK_ZAN
{

// Holds 4x4x4 cells in one word; a sheet of cells takes about 1.5 bytes a cell where a list of (cube, cell)
// pairs takes 128. Bit i of a block is the cell whose six low code bits are i, so blocks and bits both ascend
// with the codes. Immutable between calls of build.
class CubeBlocks
{
public:
    // Takes the cells over, which must be sorted and unique. No cell may lie at the high end of an axis of
    // the lattice of numLevels levels: condition "false", as its cubes would lie outside.
    void build(const std::vector<u64>& vCCD_srt, int numLevels);

    // Calls f(key, config) for each cube with at least one occupied cell, keys ascending. The cell bits of a
    // config are those of Calc::completeCubeMembers8.
    template <class F>
    void forEachCube(F f) const;

    // The configuration of the cube with this key, 0 if none of its cells is occupied. O(log cells).
    int getConfig(u64 key) const;

private:
    struct Block {
        u64 code; // the codes of the cells, without the six low bits
        u64 bits;
    };

    // The occupancy that the cubes of one block of keys see: word i has bit k set if member i of the cube at
    // place k of the block is occupied.
    using MemberWords = std::array<u64, 8>;

    u64 bitsOf(u64 blockCode) const; // 0 where there is no block
    void addKeyBlocks(const Block& block);
    MemberWords collectMembers(u64 keyBlock) const;

    std::vector<Block> vBlocks;  // ascending
    std::vector<u64> vKeyBlocks; // ascending: the blocks in which keys of touched cubes lie
};

template <class F>
void CubeBlocks::forEachCube(F f) const
{
    for (const u64 keyBlock : vKeyBlocks) {
        const MemberWords words = collectMembers(keyBlock);
        u64 touched = 0;
        for (const u64 word : words)
            touched |= word;
        for (; touched != 0; touched &= touched - 1) {
            const u64 k = u64(std::countr_zero(touched));
            int config = 0;
            for (int i = 0; i < 8; ++i)
                config |= int(words[std::size_t(i)] >> k & 1) << i;
            f(keyBlock << 6 | k, config);
        }
    }
}

} // namespace TESK_ZAN
