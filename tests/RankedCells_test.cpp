#include "RankedCells.h"

#include "VertexTable.h"
#include "random.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <map>
#include <set>
#include <utility>
#include <vector>

using namespace TESK_ZAN;

namespace
{

// Codes that share blocks and codes that lie alone, with both ends of the range.
std::vector<u64> someCodes(u64 seed)
{
    Random random(seed);
    std::set<u64> sCodes = {0, 63, 64, (u64{1} << 63) - 1};
    for (int i = 0; i < 3000; ++i)
        sCodes.insert(random.next() >> 1);
    for (int i = 0; i < 3000; ++i)
        sCodes.insert(random.next() >> 51);
    return {sCodes.begin(), sCodes.end()};
}

} // namespace

TEST(RankedCells, rank_is_the_place_in_the_list_and_neighbours_are_not_in_it)
{
    const std::vector<u64> vCodes = someCodes(1);
    RankedCells cells;
    EXPECT_EQ(cells.find(5), RankedCells::NONE);
    for (int round = 0; round < 2; ++round) {
        cells.clear();
        EXPECT_EQ(cells.find(vCodes.front()), RankedCells::NONE);
        for (const u64 ccd : vCodes)
            cells.append(ccd);
        cells.makeIndex();
        ASSERT_EQ(cells.size(), vCodes.size());
        for (std::size_t i = 0; i < vCodes.size(); ++i) {
            ASSERT_EQ(cells.find(vCodes[i]), i);
            const u64 next = vCodes[i] ^ 1;
            const bool bThere = std::binary_search(vCodes.begin(), vCodes.end(), next);
            ASSERT_EQ(cells.find(next) != RankedCells::NONE, bThere);
        }
    }
}

TEST(RankedCells, no_cells_have_an_index_too)
{
    RankedCells cells;
    cells.makeIndex();
    EXPECT_EQ(cells.find(0), RankedCells::NONE);
    EXPECT_EQ(cells.findBlock(0), nullptr);
}

TEST(VertexTable, later_vertices_share_the_numbers_with_those_that_came_sorted)
{
    const std::vector<u64> vCodes = someCodes(2);
    VertexTable table;
    std::vector<CVertex> vSorted;
    for (std::size_t i = 0; i < vCodes.size(); i += 2)
        vSorted.push_back({vCodes[i], nullptr, VertexTable::NONE, 0});
    const std::size_t numSorted = vSorted.size();
    table.setSorted(std::move(vSorted));
    for (std::size_t i = 0; i < vCodes.size(); ++i)
        ASSERT_EQ(table.find(vCodes[i]) != VertexTable::NONE, i % 2 == 0);

    std::map<u64, std::uint32_t> mNumber;
    for (std::size_t i = vCodes.size(); i-- > 0;)
        mNumber[vCodes[i]] = table.findOrAdd(vCodes[i]);
    table.reserve(10 * vCodes.size());
    ASSERT_EQ(table.getAll().size(), vCodes.size());
    for (const auto& [ccd, number] : mNumber) {
        ASSERT_EQ(table[number].ccd, ccd);
        ASSERT_EQ(table.find(ccd), number);
        ASSERT_EQ(table.findOrAdd(ccd), number);
    }
    EXPECT_EQ(mNumber[vCodes[2]], 1u);
    EXPECT_EQ(mNumber[vCodes[1]], vCodes.size() - 1);
    EXPECT_GE(mNumber[vCodes[3]], numSorted);
}
