#include "CellBlocks.h"

#include "Calc.h"
#include "CellQueue.h"
#include "random.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <set>

using namespace TESK_ZAN;

namespace
{

constexpr size_t NO_LIMIT = std::numeric_limits<size_t>::max();

// Cells around (100, 200, 300), some of them in a dense ball, so that all faces of blocks are crossed.
std::set<u64> randomCells(u64 seed, int num, u64 width)
{
    Random random(seed);
    const auto coord = [&](u64 low) { return low + random.next() % width; };
    std::set<u64> sRCD;
    for (int i = 0; i < num; ++i) {
        const u64 x = coord(100), y = coord(200), z = coord(300);
        sRCD.insert(xyzToRCD(x, y, z));
    }
    return sRCD;
}

CellLayer insert(CellBlocks& blocks, const std::set<u64>& sRCD)
{
    for (const u64 rcd : sRCD)
        blocks.touch(rcd);
    CellLayer layer;
    blocks.fit(layer);
    for (const u64 rcd : sRCD)
        layer.set(blocks.find(rcd));
    return layer;
}

std::set<u64> getCells(const CellBlocks& blocks, const CellLayer& layer)
{
    std::set<u64> sRCD;
    layer.forEach([&](CellPos pos) { EXPECT_TRUE(sRCD.insert(blocks.getRCD(pos)).second); });
    EXPECT_EQ(sRCD.size(), layer.count());
    return sRCD;
}

// All existing cells on the lattice of 2^21 that are a face step away.
std::set<u64> growOnce(const std::set<u64>& sRCD)
{
    std::set<u64> sGrown = sRCD;
    for (const u64 rcd : sRCD)
        for (const int axis : {0, 1, 2})
            for (const int step : {-1, 1}) {
                int coords[3];
                rcdToXYZ(rcd, coords[0], coords[1], coords[2]);
                coords[axis] += step;
                if (coords[axis] >= 0 && coords[axis] <= static_cast<int>(MAX_COORD))
                    sGrown.insert(xyzToRCD(static_cast<u64>(coords[0]), static_cast<u64>(coords[1]),
                                           static_cast<u64>(coords[2])));
            }
    return sGrown;
}

} // namespace

TEST(CellBlocks, keepsEveryCellAndItsCode)
{
    CellBlocks blocks;
    const std::set<u64> sRCD = randomCells(1, 2000, 50);
    const CellLayer layer = insert(blocks, sRCD);
    EXPECT_EQ(getCells(blocks, layer), sRCD);
    EXPECT_EQ(blocks.find(xyzToRCD(5000, 5000, 5000)), NO_CELL);
}

TEST(CellBlocks, stepsAndConfigurationsCrossBlocksInTheOrderOfArray27)
{
    CellBlocks blocks;
    const std::set<u64> sRCD = randomCells(2, 4000, 20);
    const CellLayer layer = insert(blocks, sRCD);
    for (const u64 rcd : sRCD) {
        u64 array[27];
        Calc::completeArray27_RCD(rcd, array);
        const CellPos pos = blocks.find(rcd);
        const std::uint32_t configuration = blocks.getConfiguration(layer, pos);
        for (int dir = 0; dir < 27; ++dir) {
            const CellPos neig = blocks.step(pos, dir);
            ASSERT_EQ(neig, blocks.find(array[dir]));
            ASSERT_EQ(configuration >> dir & 1, sRCD.count(array[dir])) << "direction " << dir;
        }
    }
}

TEST(CellBlocks, innerCellsAreThoseWithSixNeighbours)
{
    CellBlocks blocks;
    const std::set<u64> sRCD = randomCells(3, 9000, 22);
    const CellLayer layer = insert(blocks, sRCD);
    std::set<u64> sExpected;
    for (const u64 rcd : sRCD) {
        u64 neigs[6];
        Calc::getNeigs6_RCD(rcd, neigs);
        if (std::all_of(std::begin(neigs), std::end(neigs), [&](u64 neig) { return sRCD.count(neig) == 1; }))
            sExpected.insert(rcd);
    }
    CellLayer inner;
    blocks.fit(inner);
    for (size_t block = 0; block < blocks.numBlocks(); ++block)
        inner[block] = blocks.getInner(layer, block);
    EXPECT_GT(sExpected.size(), 100u);
    EXPECT_EQ(getCells(blocks, inner), sExpected);
}

TEST(CellBlocks, growsByFaceStepsAcrossBlocks)
{
    CellBlocks blocks;
    std::set<u64> sRCD = randomCells(4, 60, 60);
    CellLayer layer = insert(blocks, sRCD);
    EXPECT_EQ(blocks.grow6(layer, 0, NO_LIMIT), 0);
    for (const int numRings : {1, 2, 9}) {
        EXPECT_EQ(blocks.grow6(layer, numRings, NO_LIMIT), numRings);
        for (int ring = 0; ring < numRings; ++ring)
            sRCD = growOnce(sRCD);
        ASSERT_EQ(getCells(blocks, layer), sRCD);
    }
}

TEST(CellBlocks, growthStopsAtTheEndsOfTheLattice)
{
    for (const u64 end : {u64{0}, MAX_COORD}) {
        CellBlocks blocks;
        std::set<u64> sRCD{xyzToRCD(end, end, end)};
        CellLayer layer = insert(blocks, sRCD);
        blocks.grow6(layer, 10, NO_LIMIT);
        for (int ring = 0; ring < 10; ++ring)
            sRCD = growOnce(sRCD);
        EXPECT_EQ(getCells(blocks, layer), sRCD);
    }
}

TEST(CellBlocks, growthStopsBeyondItsLimit)
{
    CellBlocks blocks;
    CellLayer layer = insert(blocks, {xyzToRCD(1000, 1000, 1000)});
    EXPECT_EQ(blocks.grow6(layer, 100, 100), 4); // 1, 7, 25, 63, 129 cells
    EXPECT_EQ(layer.count(), 129u);
}

TEST(CellBlocks, ranksCountTheCellsInOrder)
{
    CellBlocks blocks;
    const CellLayer layer = insert(blocks, randomCells(5, 3000, 40));
    const CellRanks ranks(layer);
    EXPECT_EQ(ranks.size(), layer.count());
    size_t expected = 0;
    layer.forEach([&](CellPos pos) { EXPECT_EQ(ranks(pos), expected++); });
}

TEST(CellBlocks, smallComponentsAreThoseOfAFullSearch)
{
    CellBlocks blocks;
    const std::set<u64> sRCD = randomCells(6, 1500, 24);
    const CellLayer layer = insert(blocks, sRCD);
    for (const auto neighbourhood :
         {SmallComponents::Neighbourhood::FACES, SmallComponents::Neighbourhood::ALL})
        for (const size_t maxCells : {size_t{1}, size_t{3}, size_t{9}, size_t{5000}}) {
            SmallComponents some(blocks, layer, neighbourhood, maxCells);
            SmallComponents all(blocks, layer, neighbourhood, sRCD.size());
            std::set<std::set<CellPos>> sSome, sAll;
            std::vector<CellPos> vPos;
            layer.forEach([&](CellPos pos) {
                if (some.next(pos, vPos))
                    sSome.emplace(vPos.begin(), vPos.end());
                if (all.next(pos, vPos) && vPos.size() <= maxCells)
                    sAll.emplace(vPos.begin(), vPos.end());
            });
            EXPECT_EQ(sSome, sAll) << "limit " << maxCells;
        }
}

TEST(CellQueue, givesTheOrderOfKeyAndCodeWhateverTheOrderOfBlocks)
{
    const std::set<u64> sRCD = randomCells(7, 500, 60);
    for (const u64 seed : {u64{1}, u64{2}}) {
        CellBlocks blocks;
        std::vector<u64> vRCD(sRCD.begin(), sRCD.end());
        Random random(seed);
        for (size_t i = vRCD.size(); i > 1; --i) // blocks in another order each time
            std::swap(vRCD[i - 1], vRCD[random.next() % i]);
        CellQueue queue(blocks, 0.0f, 5.0f);
        std::multiset<std::pair<float, u64>> sExpected;
        for (int step = 0; step < 20000; ++step) {
            if (step < 10000 && random.next() % 3 != 0) {
                const u64 rcd = vRCD[random.next() % vRCD.size()];
                const float key = static_cast<float>(random.next() % 20) - 5.0f; // ties, and beyond both ends
                queue.push(key, blocks.touch(rcd));
                sExpected.emplace(key, rcd);
            } else if (!sExpected.empty()) {
                const auto [key, pos] = queue.pop();
                ASSERT_EQ(std::make_pair(key, blocks.getRCD(pos)), *sExpected.begin());
                sExpected.erase(sExpected.begin());
            }
        }
        while (!queue.empty()) {
            ASSERT_EQ(blocks.getRCD(queue.pop().second), sExpected.begin()->second);
            sExpected.erase(sExpected.begin());
        }
        EXPECT_TRUE(sExpected.empty());
    }
}
