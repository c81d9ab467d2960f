// The cell store against a plain set of codes: neighbourhoods across blocks and matrices, changes, memory.
#include "Calc.h"
#include "RCDStore.h"
#include "helpers/captured.h"
#include "random.h"
#include "zan_export.h"

#include <gtest/gtest.h>

#include <bit>
#include <set>
#include <utility>
#include <vector>

using namespace TESK_ZAN;
using zan_test::CapturedMessages;

namespace
{

constexpr unsigned int CENTRE = 1u << 13;

unsigned int configurationBySet(const std::set<u64>& sRCD, u64 rcd)
{
    u64 array[27];
    Calc::completeArray27_RCD(rcd, array);
    unsigned int configuration = 0;
    for (size_t i = 0; i < 27; ++i)
        configuration |= unsigned{sRCD.count(array[i]) != 0} << i;
    return configuration;
}

// Cells of a box of the edge, at low on each axis, about one in three.
std::vector<u64> denseBox(u64 low, u64 edge, std::uint64_t seed)
{
    Random random(seed);
    std::vector<u64> vRCD;
    for (u64 x = 0; x < edge; ++x)
        for (u64 y = 0; y < edge; ++y)
            for (u64 z = 0; z < edge; ++z)
                if (random.below(3) == 0)
                    vRCD.push_back(xyzToRCD(low + x, low + y, low + z));
    return vRCD;
}

void expectSameNeighbourhoods(const RCDStore& store, const std::set<u64>& sRCD)
{
    for (const u64 rcd : sRCD) {
        ASSERT_TRUE(store.isSet(rcd));
        ASSERT_EQ(store.getConfiguration(rcd), configurationBySet(sRCD, rcd)) << rcd;
    }
}

} // namespace

TEST(RCDStore, neighbourhoods_are_right_inside_and_across_blocks_and_matrices)
{
    // 20 cells from 54 on lie in 3 blocks and 2 matrices on each axis.
    const std::vector<u64> vRCD = denseBox(54, 20, 1);
    const RCDStore store(nullptr, vRCD);
    expectSameNeighbourhoods(store, {vRCD.begin(), vRCD.end()});
}

TEST(RCDStore, the_order_of_cells_and_repeats_make_no_difference)
{
    std::vector<u64> vRCD = denseBox(120, 12, 2);
    const std::set<u64> sRCD(vRCD.begin(), vRCD.end());
    Random random(3);
    for (size_t i = vRCD.size(); i > 1; --i)
        std::swap(vRCD[i - 1], vRCD[random.below(std::uint32_t(i))]);
    vRCD.insert(vRCD.end(), vRCD.begin(), vRCD.begin() + 100);
    const RCDStore store(nullptr, vRCD);
    expectSameNeighbourhoods(store, sRCD);
}

TEST(RCDStore, cells_that_come_and_go_are_seen_by_their_neighbours_at_once)
{
    RCDStore store(nullptr, {});
    std::set<u64> sRCD;
    Random random(4);
    for (int i = 0; i < 4000; ++i) {
        const auto coord = [&random] { return 60 + random.below(9); };
        const u64 x = coord(), y = coord(), z = coord(), rcd = xyzToRCD(x, y, z);
        if (random.below(2) == 0) {
            store.add(rcd);
            sRCD.insert(rcd);
        } else {
            store.unset(rcd);
            sRCD.erase(rcd);
        }
        ASSERT_EQ(store.isSet(rcd), sRCD.count(rcd) != 0);
        if (store.findRCDMatrix(rcd) != nullptr) { // a cell that is not there has a neighbourhood too
            ASSERT_EQ(store.getConfiguration(rcd), configurationBySet(sRCD, rcd));
        }
    }
    expectSameNeighbourhoods(store, sRCD);
}

TEST(RCDStore, cells_at_the_ends_of_the_lattice_have_no_neighbours_beyond)
{
    // Plain code arithmetic would take the last cell of one row for the neighbour of the first of the next.
    const std::vector<u64> vRCD = {xyzToRCD(0, 0, 0),
                                   xyzToRCD(0, 5, 0),
                                   xyzToRCD(0, 4, MAX_COORD),
                                   xyzToRCD(4, MAX_COORD, 0),
                                   xyzToRCD(5, 0, 0),
                                   xyzToRCD(MAX_COORD, 9, 9),
                                   FAILED_CODE};
    const RCDStore store(nullptr, vRCD);
    for (const u64 rcd : vRCD)
        EXPECT_EQ(store.getConfiguration(rcd), CENTRE) << rcd;
}

TEST(RCDStore, a_cell_outside_every_matrix_is_a_failed_condition)
{
    const RCDStore store(nullptr, {xyzToRCD(10, 10, 10)});
    EXPECT_FALSE(store.isSet(xyzToRCD(10, 10, 70)));
    EXPECT_EQ(store.findRCDMatrix(xyzToRCD(10, 10, 70)), nullptr);
    CapturedMessages messages;
    EXPECT_THROW(store.getRCDMatrix(xyzToRCD(10, 10, 70)), ZanBugException);
    EXPECT_TRUE(messages.has("q_it!=mRCD2RCDMatrix.end()"));
}

TEST(RCDMatrix, neighbour_lists_name_cells_of_other_matrices)
{
    const u64 rcd = xyzToRCD(63, 5, 64);
    const std::vector<u64> vRCD = {rcd, rcd + RCD_STEP_X, rcd - RCD_STEP_Z, rcd - RCD_STEP_X - RCD_STEP_Y};
    const RCDStore store(nullptr, vRCD);
    const RCDMatrix* pMatrix = store.getRCDMatrix(rcd);
    const u64 address = RCDMatrix::addressOf(rcd);
    EXPECT_NE(pMatrix, store.getRCDMatrix(rcd + RCD_STEP_X));
    EXPECT_EQ(pMatrix->addressToRCD(address), rcd);

    std::vector<u64> vNeigs6;
    EXPECT_EQ(pMatrix->getNeigs6(address, &vNeigs6), 2);
    EXPECT_EQ(vNeigs6, (std::vector<u64>{rcd + RCD_STEP_X, rcd - RCD_STEP_Z}));
    std::vector<u64> vNeigs26;
    pMatrix->getNeigRCD26(address, vNeigs26);
    EXPECT_EQ(std::set<u64>(vNeigs26.begin(), vNeigs26.end()), std::set<u64>(vRCD.begin() + 1, vRCD.end()));
    unsigned int configuration = 0;
    EXPECT_EQ(pMatrix->getConfiguration(address, configuration), 4);
    EXPECT_EQ(configuration, CENTRE | 1u << 14 | 1u << 4 | 1u << 9);
}

TEST(RCDMatrix, stands_alone_and_keeps_every_bit_apart)
{
    RCDMatrix matrix(RCDMatrix::upperOf(xyzToRCD(640, 640, 640)));
    for (u64 address = 0; address < RCDMatrix::NUM_ADDRESSES; address += 37)
        matrix.set(address);
    for (u64 address = 0; address < RCDMatrix::NUM_ADDRESSES; ++address)
        ASSERT_EQ(matrix.isSet(address), address % 37 == 0) << address;
    for (u64 address = 0; address < RCDMatrix::NUM_ADDRESSES; ++address)
        matrix.unset(address);
    unsigned int configuration = 1;
    EXPECT_EQ(matrix.getConfiguration(12345, configuration), 0);

    u64 x, y, z;
    RCDMatrix::addressToXYZ(5 + 64 * 7 + 4096 * 63, x, y, z);
    EXPECT_EQ(xyzToRCD(x, y, z), xyzToRCD(5, 7, 63));
    CapturedMessages messages;
    EXPECT_THROW(RCDMatrix::addressToXYZ(RCDMatrix::NUM_ADDRESSES, x, y, z), ZanBugException);
    EXPECT_TRUE(messages.has("checkAddr==orgAddress"));
    RCDMatrix neig(0);
    matrix.setNeigMtx(1, 0, -1, &neig);
    EXPECT_THROW(matrix.setNeigMtx(1, 0, -1, &neig), ZanBugException);
    EXPECT_TRUE(messages.has("aNeigMtx[offx+1][offy+1][offz+1]==0"));
}

TEST(RCDMatrix, a_lone_cell_costs_little)
{
    // 100,000 scattered cells make as many matrices.
    EXPECT_LT(sizeof(RCDMatrix), 2048u);
    EXPECT_LE(sizeof(RCDMatrix) * 100000, 200u << 20);
}
