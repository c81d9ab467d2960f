// Subsystem: grid. Builds on: definitions, FlatMap.
// Used by: Thinning, FillPass, Prepare.
// A sparse lattice of cells in blocks of 8x8x8, one bit per cell. Unlike RCDStore it holds many sets (layers)
// over the same blocks, works on 64 cells at a time where it can, and numbers the cells of a set, so that
// records of cells can stand in flat arrays.
#pragma once

#include "definitions.h"
#include "tesk_tools/FlatMap.h"

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace TESK_ZAN
{

// The cells of one block. Bit 8*y+z of word[x] is the cell (x, y, z) of the block, so bits ascend as RCDs do.
struct CellBits {
    u64 word[8] = {};

    bool any() const;
    size_t count() const;
};

// A place in the lattice: block number * 512 + number of the cell in its block (64*x + 8*y + z).
// Positions ascend with the creation of blocks, not with the codes.
using CellPos = u64;
constexpr CellPos NO_CELL = ~u64{0};

// A set of cells: the bits of each block of one CellBlocks. A layer knows the blocks that existed when it was
// last sized; CellBlocks::fit brings it up to date.
class CellLayer
{
public:
    bool test(CellPos pos) const { return (vBits[pos >> 9].word[(pos >> 6) & 7] >> (pos & 63)) & 1; }
    void set(CellPos pos) { vBits[pos >> 9].word[(pos >> 6) & 7] |= u64{1} << (pos & 63); }
    void clear(CellPos pos) { vBits[pos >> 9].word[(pos >> 6) & 7] &= ~(u64{1} << (pos & 63)); }

    CellBits& operator[](size_t block) { return vBits[block]; }
    const CellBits& operator[](size_t block) const { return vBits[block]; }
    size_t numBlocks() const { return vBits.size(); }
    void resize(size_t numBlocks) { vBits.resize(numBlocks); }
    size_t count() const; // O(blocks)

    // Set operations with a layer of the same number of blocks.
    void add(const CellLayer& other);
    void subtract(const CellLayer& other);
    void intersect(const CellLayer& other);

    // Calls f(pos) for each cell, positions ascending. f may clear cells that were already visited.
    template <class F>
    void forEach(F f) const
    {
        for (size_t block = 0; block < vBits.size(); ++block)
            for (size_t x = 0; x < 8; ++x)
                for (u64 rest = vBits[block].word[x]; rest != 0; rest &= rest - 1)
                    f(CellPos{block << 9 | x << 6 | static_cast<u64>(std::countr_zero(rest))});
    }

private:
    std::vector<CellBits> vBits;
};

// The blocks themselves: who lies where, and beside whom. Blocks are created on demand and never removed.
// 150 bytes a block, 64 more for each layer.
class CellBlocks
{
public:
    static constexpr std::uint32_t NO_BLOCK = 0xffffffff;
    static constexpr int CENTRE = 13;

    // Makes room for what numCells cells of a surface need.
    void reserve(size_t numCells);
    size_t numBlocks() const { return vCorner.size(); }
    void fit(CellLayer& layer) const { layer.resize(numBlocks()); }

    // The position of a cell; touch creates the block, find gives NO_CELL where there is none.
    CellPos touch(u64 rcd);
    CellPos find(u64 rcd) const;

    u64 getRCD(CellPos pos) const
    {
        return vCorner[pos >> 9] | (pos >> 6 & 7) * RCD_STEP_X | (pos >> 3 & 7) * RCD_STEP_Y | (pos & 7);
    }

    // The neighbour in direction dir27 = (dz+1)*9 + (dy+1)*3 + (dx+1), or NO_CELL where no block exists.
    CellPos step(CellPos pos, int dir27) const
    {
        const unsigned target = STEPS[pos & 511][static_cast<size_t>(dir27)];
        const std::uint32_t block = vNeigs[pos >> 9][target >> 9];
        return block == NO_BLOCK ? NO_CELL : CellPos{block} << 9 | (target & 511);
    }

    // Which cells of the 3x3x3 block around pos stand in the layer: bit dir27 for each, bit 13 for pos.
    std::uint32_t getConfiguration(const CellLayer& layer, CellPos pos) const;

    // Calls f(neig, dir27) for each of the 26 neighbours that stands in the layer and whose direction is set
    // in dirs, a configuration. The layer may change meanwhile.
    template <class F>
    void forEachNeig(const CellLayer& layer, CellPos pos, std::uint32_t dirs, F f) const
    {
        dirs &= getConfiguration(layer, pos) & ~(std::uint32_t{1} << CENTRE);
        for (; dirs != 0; dirs &= dirs - 1) {
            const int dir = std::countr_zero(dirs);
            f(step(pos, dir), dir);
        }
    }

    // The cells of a block whose six face neighbours all stand in the layer.
    CellBits getInner(const CellLayer& layer, size_t block) const;

    // Adds all cells within numRings 6-steps of the layer; creates the blocks for them, never beyond the
    // lattice. Stops early, after a whole ring, once the layer has more than maxCells cells.
    // Gives the number of rings grown. Cost follows the blocks of each ring.
    int grow6(CellLayer& layer, int numRings, size_t maxCells);

private:
    struct Growth;
    std::uint32_t touchBlock(u64 corner);
    std::uint32_t findNeig(u64 corner, int dir27) const;
    static bool getNeigCorner(u64 corner, int dir27, u64& neigCorner); // false beyond the lattice
    void spread(Growth& growth, std::uint32_t block);

    // For each cell of a block and each direction: block direction << 9 | cell.
    static const std::array<std::array<std::uint16_t, 27>, 512> STEPS;

    TESK_TOOLS::FlatMap<u64, std::uint32_t, TESK_TOOLS::U64Hash> mCorner2Block;
    std::uint32_t lastTouched = NO_BLOCK;
    std::vector<u64> vCorner;                          // RCD of each block's lowest cell
    std::vector<std::array<std::uint32_t, 27>> vNeigs; // by dir27; the centre entry is the block itself
};

// Numbers the cells of a layer from 0 in ascending position, for flat arrays of records. Holds a copy of the
// cells, so that a look-up reads one place: the layer may change or go. 128 bytes a block.
class CellRanks
{
public:
    explicit CellRanks(const CellLayer& layer);

    size_t size() const { return numCells; }

    // The number of a cell, which must have stood in the layer.
    size_t operator()(CellPos pos) const
    {
        const Entry& entry = vEntries[pos >> 6];
        const u64 below = entry.word & ((u64{1} << (pos & 63)) - 1);
        return entry.first + static_cast<size_t>(std::popcount(below));
    }

private:
    struct Entry {
        u64 word;
        u64 first; // cells in earlier words
    };
    std::vector<Entry> vEntries; // 8 for each block
    size_t numCells = 0;
};

// Finds the small connected components of a layer without walking the large ones more than once.
// The layer must not change while the object lives.
class SmallComponents
{
public:
    enum class Neighbourhood { FACES, ALL };

    // Components of more than maxCells cells are large.
    SmallComponents(const CellBlocks& blocks, const CellLayer& layer, Neighbourhood neighbourhood,
                    size_t maxCells);

    // If pos stands in a small component that was not delivered yet, replaces vPos by its cells, in order of
    // discovery, and gives true.
    bool next(CellPos pos, std::vector<CellPos>& vPos);

private:
    bool visitNeigs(CellPos pos, std::vector<CellPos>& vPos);

    const CellBlocks& blocks;
    const CellLayer& layer;
    const std::vector<int> vDirs;
    const size_t maxCells;
    CellLayer seen;  // cells of delivered components and of the current one
    CellLayer large; // cells known to belong to a large component
};

} // namespace TESK_ZAN
