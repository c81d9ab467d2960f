// Growth of sets against a breadth-first search over single cells.
#include "Calc.h"
#include "TaskPool.h"
#include "gridSets.h"
#include "random.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <map>
#include <vector>

using namespace TESK_ZAN;

namespace
{

// All cells at most numRings face steps away, within the lattice.
std::vector<u64> growByCells(const std::vector<u64>& vIn, int numRings, bool bKeepSeeds)
{
    std::map<u64, int> mRCD2Ring;
    std::vector<u64> vQueue;
    const auto enter = [&](u64 rcd, int ring) {
        if (mRCD2Ring.emplace(rcd, ring).second)
            vQueue.push_back(rcd);
    };
    for (const u64 rcd : vIn)
        enter(rcd, 0);
    for (size_t i = 0; i < vQueue.size(); ++i) {
        const u64 rcd = vQueue[i];
        const int ring = mRCD2Ring[rcd];
        if (ring == numRings)
            continue;
        for (const auto& [field, step] : std::array<std::pair<u64, u64>, 3>{
                 {{RCD_X, RCD_STEP_X}, {RCD_Y, RCD_STEP_Y}, {RCD_Z, RCD_STEP_Z}}}) {
            if ((rcd & field) != 0)
                enter(rcd - step, ring + 1);
            if ((rcd & field) != field)
                enter(rcd + step, ring + 1);
        }
    }
    std::vector<u64> vOut;
    for (const auto& [rcd, ring] : mRCD2Ring)
        if (bKeepSeeds || ring > 0)
            vOut.push_back(rcd);
    return vOut;
}

std::vector<u64> scattered(size_t num, std::uint32_t edge, u64 low, std::uint64_t seed)
{
    Random random(seed);
    std::vector<u64> vRCD;
    for (size_t i = 0; i < num; ++i) {
        const u64 x = low + random.below(edge), y = low + random.below(edge), z = low + random.below(edge);
        vRCD.push_back(xyzToRCD(x, y, z));
    }
    return vRCD;
}

void expectSameGrowth(const std::vector<u64>& vIn)
{
    for (const int numRings : {0, 1, 2, 3, 6})
        for (const bool bKeepSeeds : {false, true}) {
            std::vector<u64> vOut = {123}; // what was there goes
            growRCDs(vIn, numRings, bKeepSeeds, vOut);
            ASSERT_EQ(vOut, growByCells(vIn, numRings, bKeepSeeds)) << numRings << ' ' << bKeepSeeds;
        }
}

struct ThreadCount {
    explicit ThreadCount(int n) : before(getNumCPU()) { setNumCPU(n); }
    ~ThreadCount() { setNumCPU(before); }
    int before;
};

} // namespace

TEST(gridSets, growth_reaches_exactly_the_cells_within_the_steps)
{
    expectSameGrowth({});
    expectSameGrowth(scattered(1, 1, 1000, 1));
    expectSameGrowth(scattered(40, 30, 1000, 2)); // unsorted, overlapping
    expectSameGrowth(scattered(60, 5, 1022, 3));  // dense, with repeats, across a run of 64 cells
}

TEST(gridSets, growth_stops_at_the_ends_of_the_lattice_and_does_not_carry_over)
{
    expectSameGrowth({xyzToRCD(0, 0, 0), xyzToRCD(5, 0, 3)});
    expectSameGrowth({xyzToRCD(MAX_COORD, MAX_COORD, MAX_COORD), xyzToRCD(MAX_COORD, 7, MAX_COORD)});
}

TEST(gridSets, growth_of_a_lone_cell_has_the_known_counts)
{
    const std::map<int, size_t> mRings2Count = {{2, 25}, {4, 129}, {8, 833}, {20, 11521}};
    for (const auto& [numRings, count] : mRings2Count) {
        std::vector<u64> vOut;
        growRCDs({xyzToRCD(500, 500, 500)}, numRings, true, vOut);
        EXPECT_EQ(vOut.size(), count);
    }
}

TEST(gridSets, large_growth_is_the_same_on_any_number_of_threads)
{
    const std::vector<u64> vIn = scattered(1500, 100, 4000, 4); // enough runs for parts on several threads
    const std::vector<u64> vExpected = growByCells(vIn, 3, false);
    for (const int n : {1, 2, 3, 8}) {
        const ThreadCount threads(n);
        std::vector<u64> vOut;
        growRCDs(vIn, 3, false, vOut);
        EXPECT_TRUE(vOut == vExpected) << n << " threads";
    }
}

TEST(gridSets, neighbours_and_corners_are_appended_in_order_or_made_a_set)
{
    const u64 rcd = xyzToRCD(10, 10, 10);
    std::vector<u64> vPlain = {7};
    getAll6Neigs({rcd, rcd}, false, vPlain);
    ASSERT_EQ(vPlain.size(), 13u);
    EXPECT_EQ(vPlain[0], 7u);
    EXPECT_EQ(vPlain[1], rcd - RCD_STEP_X);
    EXPECT_EQ(vPlain[6], rcd + RCD_STEP_Z);

    std::vector<u64> vSet = {rcd + RCD_STEP_Z, 7};
    getAll6Neigs({rcd, rcd}, true, vSet);
    EXPECT_EQ(vSet.size(), 7u) << "what was there takes part";
    EXPECT_TRUE(std::is_sorted(vSet.begin(), vSet.end()));

    std::vector<u64> vCorners;
    getAll8Corners({rcd}, false, vCorners);
    ASSERT_EQ(vCorners.size(), 8u);
    EXPECT_EQ(vCorners[0], rcd);
    EXPECT_EQ(vCorners[1], xyzToRCD(10, 10, 11));
    EXPECT_EQ(vCorners[7], xyzToRCD(11, 11, 11));
    vCorners.clear();
    getAll8Corners({rcd, rcd + RCD_STEP_X}, true, vCorners);
    EXPECT_EQ(vCorners.size(), 12u) << "two cells that share a face share four corners";
}
