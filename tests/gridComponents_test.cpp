// Components against a search over all pairs; rings on small figures.
#include "Calc.h"
#include "gridComponents.h"
#include "random.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <set>
#include <vector>

using namespace TESK_ZAN;

namespace
{

using Components = std::vector<std::vector<u64>>;

// Cells of a drawing in the plane z = 100: '#' is a cell, x runs along a line, y from line to line.
std::vector<u64> drawn(const std::vector<std::string>& vLines)
{
    std::vector<u64> vRCD;
    for (size_t y = 0; y < vLines.size(); ++y)
        for (size_t x = 0; x < vLines[y].size(); ++x)
            if (vLines[y][x] == '#')
                vRCD.push_back(xyzToRCD(100 + x, 100 + y, 100));
    std::sort(vRCD.begin(), vRCD.end());
    return vRCD;
}

bool touch(u64 a, u64 b, bool bFacesOnly)
{
    int ax, ay, az, bx, by, bz;
    rcdToXYZ(a, ax, ay, az);
    rcdToXYZ(b, bx, by, bz);
    const int dx = std::abs(ax - bx), dy = std::abs(ay - by), dz = std::abs(az - bz);
    return bFacesOnly ? dx + dy + dz == 1 : a != b && dx <= 1 && dy <= 1 && dz <= 1;
}

// Every component sorted, in the order of their first cells in vRCD.
Components componentsByPairs(const std::vector<u64>& vRCD, bool bFacesOnly)
{
    std::set<u64> sLeft(vRCD.begin(), vRCD.end());
    Components vvCC;
    for (const u64 start : vRCD) {
        if (sLeft.erase(start) == 0)
            continue;
        std::vector<u64> vCC = {start};
        for (size_t i = 0; i < vCC.size(); ++i)
            std::erase_if(sLeft, [&](u64 rcd) {
                const bool bTouch = touch(vCC[i], rcd, bFacesOnly);
                if (bTouch)
                    vCC.push_back(rcd);
                return bTouch;
            });
        std::sort(vCC.begin(), vCC.end());
        vvCC.push_back(vCC);
    }
    return vvCC;
}

// Unsorted, with repeats, across the borders of blocks and matrices.
std::vector<u64> scattered(size_t num, std::uint32_t edge, std::uint64_t seed)
{
    Random random(seed);
    std::vector<u64> vRCD;
    for (size_t i = 0; i < num; ++i) {
        const u64 x = 60 + random.below(edge), y = 60 + random.below(edge), z = 60 + random.below(edge);
        vRCD.push_back(xyzToRCD(x, y, z));
    }
    return vRCD;
}

} // namespace

TEST(gridComponents, parts_agree_with_a_search_over_all_pairs)
{
    for (const std::uint32_t edge : {6u, 12u, 20u}) {
        const std::vector<u64> vRCD = scattered(400, edge, edge);
        Components vvCC = {{1, 2, 3}}; // what was there goes
        createCC_RCD(vRCD, vvCC);
        EXPECT_EQ(vvCC, componentsByPairs(vRCD, false)) << "edge " << edge;

        createCC6_RCD(vRCD, vvCC);
        for (std::vector<u64>& vCC : vvCC) {
            EXPECT_EQ(vCC.front(), *std::min_element(vCC.begin(), vCC.end()));
            std::sort(vCC.begin(), vCC.end());
        }
        std::vector<u64> vSorted = vRCD;
        std::sort(vSorted.begin(), vSorted.end());
        EXPECT_EQ(vvCC, componentsByPairs(vSorted, true)) << "edge " << edge;
    }
}

TEST(gridComponents, cells_that_share_a_corner_alone_are_joined_only_under_corners)
{
    const std::vector<u64> vRCD = {xyzToRCD(63, 63, 63), xyzToRCD(64, 64, 64)};
    Components vvCC;
    createCC_RCD(vRCD, vvCC);
    EXPECT_EQ(vvCC.size(), 1u);
    createCC6_RCD(vRCD, vvCC);
    EXPECT_EQ(vvCC.size(), 2u);
    createCC_RCD({}, vvCC);
    EXPECT_TRUE(vvCC.empty());
    createCC6_RCD({}, vvCC);
    EXPECT_TRUE(vvCC.empty());
}

TEST(gridComponents, components_under_faces_stand_in_the_order_of_discovery)
{
    const std::vector<u64> vRCD = drawn({"####", //
                                         "#   "});
    Components vvCC;
    createCC6_RCD(vRCD, vvCC);
    ASSERT_EQ(vvCC.size(), 1u);
    const auto at = [](u64 x, u64 y) { return xyzToRCD(100 + x, 100 + y, 100); };
    // From the start +x is pushed before +y, so +y is taken first.
    EXPECT_EQ(vvCC[0], (std::vector<u64>{at(0, 0), at(0, 1), at(1, 0), at(2, 0), at(3, 0)}));
}

TEST(gridComponents, a_long_snake_of_cells_is_one_component)
{
    std::vector<u64> vRCD;
    for (u64 i = 0; i < 100000; ++i) // deep enough to end any recursion
        vRCD.push_back(xyzToRCD(1000 + i, 1000, 1000));
    Components vvCC;
    createCC_RCD(vRCD, vvCC);
    ASSERT_EQ(vvCC.size(), 1u);
    EXPECT_EQ(vvCC[0], vRCD);
    createCC6_RCD(vRCD, vvCC);
    EXPECT_EQ(vvCC.size(), 1u);
}

TEST(gridComponents, neighbours_come_with_z_fastest)
{
    const u64 rcd = xyzToRCD(10, 10, 10);
    const std::vector<u64> vSorted = {rcd - RCD_STEP_X, rcd - RCD_STEP_Z, rcd, rcd + 2, rcd + RCD_STEP_Y};
    std::vector<u64> vNeigs;
    getNeigs26_RCD(vSorted, rcd, vNeigs);
    EXPECT_EQ(vNeigs, (std::vector<u64>{rcd - RCD_STEP_X, rcd - RCD_STEP_Z, rcd + RCD_STEP_Y}));
    EXPECT_FALSE(areNeigs26_RCD(rcd, rcd));
    EXPECT_FALSE(areNeigs26_RCD(rcd, rcd + 2));
    EXPECT_TRUE(areNeigs26_RCD(rcd, rcd + RCD_STEP_X + RCD_STEP_Y - RCD_STEP_Z));
}

TEST(gridComponents, a_ring_is_found_and_a_figure_without_hole_is_none)
{
    EXPECT_TRUE(hasRing_RCD(drawn({" ## ", //
                                   "#  #", //
                                   "#  #", //
                                   " ## "}),
                            0));
    EXPECT_TRUE(hasRing_RCD(drawn({"####", //
                                   "#  #", //
                                   "####"}),
                            0));
    EXPECT_FALSE(hasRing_RCD(drawn({"###", //
                                    "# #", //
                                    "###"}),
                             0))
        << "round one cell every neighbour touches another";
    EXPECT_FALSE(hasRing_RCD(drawn({"######"}), 0));
    EXPECT_FALSE(hasRing_RCD(drawn({"##", //
                                    "# "}),
                             0));
    EXPECT_FALSE(hasRing_RCD(drawn({"#### ", //
                                    "#   #", //
                                    "#    "}),
                             0))
        << "an open bow";
    EXPECT_FALSE(hasRing_RCD({}, 0));
    std::vector<u64> vBlock;
    for (u64 i = 0; i < 8; ++i)
        vBlock.push_back(xyzToRCD(10 + (i >> 2), 10 + (i >> 1 & 1), 10 + (i & 1)));
    EXPECT_FALSE(hasRing_RCD(vBlock, 0)) << "no cell of a solid block has a neighbour free of the others";
}

TEST(gridComponents, a_ring_is_looked_for_from_the_first_lonely_neighbour_alone)
{
    const std::vector<u64> vTailFirst = drawn({"   ### ", //
                                               "###   #", //
                                               "   ### "});
    EXPECT_FALSE(hasRing_RCD(vTailFirst, 0)) << "the tail has the smallest code and leads nowhere";
    EXPECT_TRUE(hasRing_RCD(vTailFirst, 3)) << "from behind the tail";
}
