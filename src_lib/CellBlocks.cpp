#include "CellBlocks.h"

#include "zanAssert.h"

#include <algorithm>

namespace TESK_ZAN
{

namespace
{

constexpr u64 BLOCK_MASK = ~(RCD_STEP_X * 7 | RCD_STEP_Y * 7 | RCD_STEP_Z * 7); // an RCD's block

constexpr u64 LOW_Z = 0x0101010101010101; // the eight cells of a word whose z is lowest, or highest
constexpr u64 HIGH_Z = LOW_Z << 7;

constexpr size_t BLOCK_LEFT = 12; // directions of the six blocks that share a face, as dir27
constexpr size_t BLOCK_RIGHT = 14;
constexpr size_t BLOCK_FRONT = 10;
constexpr size_t BLOCK_BACK = 16;
constexpr size_t BLOCK_DOWN = 4;
constexpr size_t BLOCK_UP = 22;

struct Offset27 {
    int x, y, z;
};

constexpr Offset27 offset27(int dir27)
{
    return {dir27 % 3 - 1, dir27 / 3 % 3 - 1, dir27 / 9 - 1};
}

// Block part of a step along one axis: 0, 1, 2 for the block before, the same, the one behind.
constexpr int blockPart(int coord)
{
    return coord < 0 ? 0 : coord > 7 ? 2 : 1;
}

constexpr std::uint16_t stepTarget(int cell, int dir27)
{
    const Offset27 offset = offset27(dir27);
    const int x = (cell >> 6) + offset.x, y = (cell >> 3 & 7) + offset.y, z = (cell & 7) + offset.z;
    const int dirBlock = blockPart(z) * 9 + blockPart(y) * 3 + blockPart(x);
    return static_cast<std::uint16_t>(dirBlock << 9 | (x & 7) << 6 | (y & 7) << 3 | (z & 7));
}

constexpr std::array<std::array<std::uint16_t, 27>, 512> makeSteps()
{
    std::array<std::array<std::uint16_t, 27>, 512> steps{};
    for (int cell = 0; cell < 512; ++cell)
        for (int dir = 0; dir < 27; ++dir)
            steps[static_cast<size_t>(cell)][static_cast<size_t>(dir)] = stepTarget(cell, dir);
    return steps;
}

// The three low bits, dz ascending, to their places in a configuration: 9 apart.
constexpr std::uint32_t spreadRow(u64 row)
{
    return static_cast<std::uint32_t>((row & 1) | (row & 2) << 8 | (row & 4) << 16);
}

// The rows y-1, y, y+1 of one x, from z-1 on, where they do not lie in one block. getWord(dirY, dirZ) is the
// word of that x in the block in that direction (0, 1, 2 as in blockPart).
template <class GetWord>
u64 gatherRows(GetWord getWord, int y, int z)
{
    u64 rows = 0;
    for (int dy = -1; dy <= 1; ++dy) {
        const int dirY = blockPart(y + dy);
        const int shift = 8 * ((y + dy) & 7);
        u64 row = (getWord(dirY, 1) >> shift & 0xff) << 1; // bit z is the cell below, z+2 the one above
        if (z == 0)
            row |= getWord(dirY, 0) >> shift >> 7 & 1;
        else if (z == 7)
            row |= (getWord(dirY, 2) >> shift & 1) << 9;
        rows |= (row >> z & 7) << (8 * (dy + 1));
    }
    return rows;
}

} // namespace

constinit const std::array<std::array<std::uint16_t, 27>, 512> CellBlocks::STEPS = makeSteps();

bool CellBits::any() const
{
    return std::any_of(std::begin(word), std::end(word), [](u64 w) { return w != 0; });
}

size_t CellBits::count() const
{
    size_t num = 0;
    for (const u64 w : word)
        num += static_cast<size_t>(std::popcount(w));
    return num;
}

size_t CellLayer::count() const
{
    size_t num = 0;
    for (const CellBits& bits : vBits)
        num += bits.count();
    return num;
}

void CellLayer::add(const CellLayer& other)
{
    zanAssert(vBits.size() == other.vBits.size());
    for (size_t block = 0; block < vBits.size(); ++block)
        for (size_t i = 0; i < 8; ++i)
            vBits[block].word[i] |= other[block].word[i];
}

void CellLayer::subtract(const CellLayer& other)
{
    zanAssert(vBits.size() == other.vBits.size());
    for (size_t block = 0; block < vBits.size(); ++block)
        for (size_t i = 0; i < 8; ++i)
            vBits[block].word[i] &= ~other[block].word[i];
}

void CellLayer::intersect(const CellLayer& other)
{
    zanAssert(vBits.size() == other.vBits.size());
    for (size_t block = 0; block < vBits.size(); ++block)
        for (size_t i = 0; i < 8; ++i)
            vBits[block].word[i] &= other[block].word[i];
}

// --- blocks ---

void CellBlocks::reserve(size_t numCells)
{
    const size_t numBlocks = numCells / 32; // a plane crosses 64 cells of a block, a slanted one's rim fewer
    mCorner2Block.reserve(numBlocks);
    vCorner.reserve(numBlocks);
    vNeigs.reserve(numBlocks);
}

CellPos CellBlocks::touch(u64 rcd)
{
    const u64 cell = (rcd >> 42 & 7) << 6 | (rcd >> 21 & 7) << 3 | (rcd & 7);
    return CellPos{touchBlock(rcd & BLOCK_MASK)} << 9 | cell;
}

CellPos CellBlocks::find(u64 rcd) const
{
    const std::uint32_t* pBlock = mCorner2Block.find(rcd & BLOCK_MASK);
    const u64 cell = (rcd >> 42 & 7) << 6 | (rcd >> 21 & 7) << 3 | (rcd & 7);
    return pBlock ? CellPos{*pBlock} << 9 | cell : NO_CELL;
}

std::uint32_t CellBlocks::touchBlock(u64 corner)
{
    if (lastTouched < vCorner.size() && vCorner[lastTouched] == corner)
        return lastTouched; // sorted cells come in runs
    zanAssert(vCorner.size() < NO_BLOCK);
    const auto fresh = static_cast<std::uint32_t>(vCorner.size());
    const auto [pBlock, bNew] = mCorner2Block.tryEmplace(corner, fresh);
    lastTouched = *pBlock;
    if (!bNew)
        return lastTouched;

    vCorner.push_back(corner);
    vNeigs.emplace_back();
    for (int dir = 0; dir < 27; ++dir) {
        vNeigs[fresh][static_cast<size_t>(dir)] = NO_BLOCK;
        const std::uint32_t neig = findNeig(corner, dir);
        if (neig == NO_BLOCK)
            continue;
        vNeigs[fresh][static_cast<size_t>(dir)] = neig;
        vNeigs[neig][static_cast<size_t>(26 - dir)] = fresh;
    }
    return fresh;
}

bool CellBlocks::getNeigCorner(u64 corner, int dir27, u64& neigCorner)
{
    const Offset27 offset = offset27(dir27);
    const u64 x = (corner >> 42) + static_cast<u64>(8 * offset.x); // wraps below 0: above the end as well
    const u64 y = (corner >> 21 & MAX_COORD) + static_cast<u64>(8 * offset.y);
    const u64 z = (corner & MAX_COORD) + static_cast<u64>(8 * offset.z);
    neigCorner = x << 42 | y << 21 | z;
    return x <= MAX_COORD && y <= MAX_COORD && z <= MAX_COORD;
}

std::uint32_t CellBlocks::findNeig(u64 corner, int dir27) const
{
    u64 neigCorner = 0;
    if (!getNeigCorner(corner, dir27, neigCorner))
        return NO_BLOCK;
    const std::uint32_t* pNeig = mCorner2Block.find(neigCorner);
    return pNeig ? *pNeig : NO_BLOCK;
}

// --- neighbourhoods ---

std::uint32_t CellBlocks::getConfiguration(const CellLayer& layer, CellPos pos) const
{
    const std::array<std::uint32_t, 27>& neigs = vNeigs[pos >> 9];
    const int x = pos >> 6 & 7, y = pos >> 3 & 7, z = pos & 7;
    const bool bCrossesYZ = y == 0 || y == 7 || z == 0 || z == 7;
    std::uint32_t configuration = 0;
    for (int dx = -1; dx <= 1; ++dx) {
        const int dirX = blockPart(x + dx);
        const size_t wordX = static_cast<size_t>(x + dx) & 7;
        const auto getWord = [&](int dirY, int dirZ) -> u64 {
            const std::uint32_t block = neigs[static_cast<size_t>(9 * dirZ + 3 * dirY + dirX)];
            return block == NO_BLOCK ? 0 : layer[block].word[wordX];
        };
        // Three rows along z, 8 bits apart, each with its three cells in the low bits.
        const u64 rows = bCrossesYZ ? gatherRows(getWord, y, z) : getWord(1, 1) >> (8 * (y - 1) + z - 1);
        configuration |= (spreadRow(rows) | spreadRow(rows >> 8) << 3 | spreadRow(rows >> 16) << 6)
                         << (dx + 1);
    }
    return configuration;
}

CellBits CellBlocks::getInner(const CellLayer& layer, size_t block) const
{
    const CellBits none;
    const auto neig = [&](size_t dir) -> const CellBits& {
        const std::uint32_t iNeig = vNeigs[block][dir];
        return iNeig == NO_BLOCK ? none : layer[iNeig];
    };
    const CellBits& bits = layer[block];
    CellBits inner;
    for (size_t i = 0; i < 8; ++i) {
        const u64 w = bits.word[i];
        const u64 left = i > 0 ? bits.word[i - 1] : neig(BLOCK_LEFT).word[7];
        const u64 right = i < 7 ? bits.word[i + 1] : neig(BLOCK_RIGHT).word[0];
        const u64 front = w << 8 | neig(BLOCK_FRONT).word[i] >> 56;
        const u64 back = w >> 8 | neig(BLOCK_BACK).word[i] << 56;
        const u64 down = (w << 1 & ~LOW_Z) | (neig(BLOCK_DOWN).word[i] >> 7 & LOW_Z);
        const u64 up = (w >> 1 & ~HIGH_Z) | (neig(BLOCK_UP).word[i] << 7 & HIGH_Z);
        inner.word[i] = w & left & right & front & back & down & up;
    }
    return inner;
}

// --- growth ---

// The state of grow6: the cells of the last ring, and the raw neighbours of it that are being collected.
struct CellBlocks::Growth {
    CellLayer front;
    CellLayer next;
    std::vector<std::uint32_t> vFrontBlocks; // blocks with cells in front
    std::vector<std::uint32_t> vNextBlocks;  // blocks with cells in next
};

// Adds the 6-neighbours of the front cells of one block to next.
void CellBlocks::spread(Growth& growth, std::uint32_t block)
{
    const CellBits bits = growth.front[block];
    const auto add = [&](std::uint32_t target, size_t i, u64 cells) {
        if (!growth.next[target].any())
            growth.vNextBlocks.push_back(target);
        growth.next[target].word[i] |= cells;
    };
    const auto addBeyond = [&](size_t dir, size_t i, u64 cells) {
        if (cells == 0)
            return;
        std::uint32_t target = vNeigs[block][dir];
        if (target == NO_BLOCK) {
            u64 corner = 0;
            if (!getNeigCorner(vCorner[block], static_cast<int>(dir), corner))
                return; // the end of the lattice
            target = touchBlock(corner);
            fit(growth.front);
            fit(growth.next);
        }
        add(target, i, cells);
    };
    for (size_t i = 0; i < 8; ++i) {
        const u64 w = bits.word[i];
        if (w == 0)
            continue;
        add(block, i, w << 8 | w >> 8 | (w << 1 & ~LOW_Z) | (w >> 1 & ~HIGH_Z));
        i > 0 ? add(block, i - 1, w) : addBeyond(BLOCK_LEFT, 7, w);
        i < 7 ? add(block, i + 1, w) : addBeyond(BLOCK_RIGHT, 0, w);
        addBeyond(BLOCK_FRONT, i, w << 56);
        addBeyond(BLOCK_BACK, i, w >> 56);
        addBeyond(BLOCK_DOWN, i, (w & LOW_Z) << 7);
        addBeyond(BLOCK_UP, i, (w & HIGH_Z) >> 7);
    }
}

int CellBlocks::grow6(CellLayer& layer, int numRings, size_t maxCells)
{
    fit(layer);
    Growth growth;
    growth.front = layer;
    fit(growth.next);
    size_t numCells = 0;
    for (std::uint32_t block = 0; block < layer.numBlocks(); ++block)
        if (const size_t num = layer[block].count()) {
            growth.vFrontBlocks.push_back(block);
            numCells += num;
        }

    int ring = 0;
    for (; ring < numRings && numCells <= maxCells && !growth.vFrontBlocks.empty(); ++ring) {
        for (const std::uint32_t block : growth.vFrontBlocks)
            spread(growth, block);
        for (const std::uint32_t block : growth.vFrontBlocks)
            growth.front[block] = CellBits();
        fit(layer);
        for (const std::uint32_t block : growth.vNextBlocks)
            for (size_t i = 0; i < 8; ++i) {
                const u64 fresh = growth.next[block].word[i] & ~layer[block].word[i];
                growth.next[block].word[i] = fresh;
                layer[block].word[i] |= fresh;
                numCells += static_cast<size_t>(std::popcount(fresh));
            }
        std::swap(growth.front, growth.next);
        std::swap(growth.vFrontBlocks, growth.vNextBlocks);
        growth.vNextBlocks.clear();
    }
    return ring;
}

// --- numbers of cells ---

CellRanks::CellRanks(const CellLayer& layer)
{
    vEntries.reserve(8 * layer.numBlocks());
    for (size_t block = 0; block < layer.numBlocks(); ++block)
        for (const u64 word : layer[block].word) {
            vEntries.push_back({word, numCells});
            numCells += static_cast<size_t>(std::popcount(word));
        }
}

// --- small components ---

SmallComponents::SmallComponents(const CellBlocks& blocks_, const CellLayer& layer_,
                                 Neighbourhood neighbourhood, size_t maxCells_)
    : blocks(blocks_), layer(layer_),
      vDirs(neighbourhood == Neighbourhood::FACES
                ? std::vector<int>{4, 10, 12, 14, 16, 22}
                : std::vector<int>{0,  1,  2,  3,  4,  5,  6,  7,  8,  9,  10, 11, 12,
                                   14, 15, 16, 17, 18, 19, 20, 21, 22, 23, 24, 25, 26}),
      maxCells(maxCells_)
{
    seen.resize(layer.numBlocks());
    large.resize(layer.numBlocks());
}

bool SmallComponents::next(CellPos pos, std::vector<CellPos>& vPos)
{
    if (!layer.test(pos) || seen.test(pos) || large.test(pos))
        return false;
    vPos.assign(1, pos);
    seen.set(pos);
    bool bSmall = true;
    for (size_t i = 0; bSmall && i < vPos.size(); ++i)
        bSmall = visitNeigs(vPos[i], vPos) && vPos.size() <= maxCells;
    if (bSmall)
        return true;
    for (const CellPos member : vPos) {
        seen.clear(member);
        large.set(member);
    }
    return false;
}

// Appends the unseen neighbours. False if one is known to be of a large component. Cells that were seen
// belong to the current component: a delivered one has no neighbours outside itself.
bool SmallComponents::visitNeigs(CellPos pos, std::vector<CellPos>& vPos)
{
    for (const int dir : vDirs) {
        const CellPos neig = blocks.step(pos, dir);
        if (neig == NO_CELL || !layer.test(neig) || seen.test(neig))
            continue;
        if (large.test(neig))
            return false;
        seen.set(neig);
        vPos.push_back(neig);
    }
    return true;
}

} // namespace TESK_ZAN
