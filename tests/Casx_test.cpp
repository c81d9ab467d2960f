#include "Casx.h"

#include "Calc.h"
#include "helpers/captured.h"
#include "helpers/tempDir.h"
#include "zan_export.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <filesystem>
#include <map>
#include <set>

using namespace TESK_ZAN;
using namespace zan_test;
using testing::ElementsAre;
using testing::IsEmpty;

namespace
{

// The codes that a query returns, in their order.
std::vector<int> query(const Casx& casx, int config, TriUse tu)
{
    const u64 corners[8] = {1, 2, 4, 8, 16, 32, 64, 128};
    std::vector<u64> vTriCCD;
    casx.getTriangles(config, corners, vTriCCD, tu);
    std::vector<int> vCodes;
    for (size_t i = 0; i < vTriCCD.size(); i += 3)
        vCodes.push_back(int(vTriCCD[i] | vTriCCD[i + 1] | vTriCCD[i + 2]));
    return vCodes;
}

// FNV-1a, 64 bits, over 32-bit little-endian numbers.
template <class T>
u64 hashOf(const std::vector<T>& v)
{
    u64 hash = 0xcbf29ce484222325;
    for (const T value : v)
        for (int i = 0; i < 4; ++i)
            hash = (hash ^ (u64(value) >> (8 * i) & 255)) * 0x100000001b3;
    return hash;
}

// Faces of the cube and the two cells that their diagonal joins.
const std::map<int, int> FACE_DIAGONALS = {{15, 0b1010},   {51, 0b100001},   {102, 0b100100},
                                           {153, 0b11000}, {204, 0b1001000}, {240, 0b10100000}};

const std::array<TriMode, 2> MODES = {TM_THIN, TM_FAT};

// While it lives, the working folder is an empty one that goes with it.
struct OtherWorkingFolder {
    OtherWorkingFolder() : before(std::filesystem::current_path())
    {
        std::filesystem::current_path(dir.path());
    }
    ~OtherWorkingFolder() { std::filesystem::current_path(before); }
    TempDir dir;
    std::filesystem::path before;
};

} // namespace

TEST(Casx, no_entry_differs_from_the_known_tables)
{
    EXPECT_EQ(hashOf(Casx(TM_FAT, false).getTriVec()), 0x3404a4cafef12c4du);
    EXPECT_EQ(hashOf(Casx(TM_THIN, false).getTriVec()), 0x3860b2e5a2a3da5au);
    EXPECT_EQ(hashOf(Casx(TM_FAT, false).getTriUse()), 0xc019d8be146b0c45u);
    EXPECT_EQ(Casx(TM_THIN, false).getTriUse(), Casx(TM_FAT, false).getTriUse());
}

TEST(Casx, triangles_join_occupied_cells_and_none_comes_twice)
{
    for (const TriMode mode : MODES) {
        const Casx casx(mode, false);
        for (int config = 0; config < 256; ++config) {
            std::vector<int> vCodes = query(casx, config, TUU);
            EXPECT_LE(vCodes.size(), 10u);
            for (const int code : vCodes) {
                EXPECT_EQ(code & ~config, 0) << config;
                EXPECT_EQ(std::popcount(unsigned(code)), 3);
            }
            std::sort(vCodes.begin(), vCodes.end());
            EXPECT_EQ(std::adjacent_find(vCodes.begin(), vCodes.end()), vCodes.end()) << config;
            const int numSet = std::popcount(unsigned(config));
            EXPECT_TRUE(vCodes.empty() || (numSet >= 3 && numSet < 8)) << config;
        }
    }
}

TEST(Casx, pair_on_a_face_of_the_cube_always_shares_the_same_diagonal)
{
    for (const TriMode mode : MODES) {
        const Casx casx(mode, false);
        for (int config = 0; config < 256; ++config)
            for (const auto& [face, diagonal] : FACE_DIAGONALS) {
                std::vector<int> vOnFace = query(casx, config, TUU);
                std::erase_if(vOnFace, [face = face](int code) { return (code & ~face) != 0; });
                for (size_t i = 0; i < vOnFace.size(); ++i)
                    for (size_t j = i + 1; j < vOnFace.size(); ++j)
                        EXPECT_EQ(vOnFace[i] & vOnFace[j], diagonal) << config << " face " << face;
            }
        for (const auto& [face, diagonal] : FACE_DIAGONALS)
            EXPECT_EQ(query(casx, face, TUT).size(), 2u);
    }
}

TEST(Casx, three_quarter_turns_undo_one_and_turned_configs_have_as_many_triangles)
{
    const Casx casx(TM_FAT, false);
    for (int config = 0; config < 256; ++config)
        for (const auto rotate : {Casx::rotateX, Casx::rotateY, Casx::rotateZ}) {
            EXPECT_EQ(rotate(rotate(config, 1), 3), config);
            EXPECT_EQ(rotate(config, 0), config);
            EXPECT_EQ(query(casx, rotate(config, 1), TUU).size(), query(casx, config, TUU).size());
            EXPECT_EQ(query(casx, rotate(config, 1), TUT).size(), query(casx, config, TUT).size());
        }
}

TEST(Casx, turns_of_the_cube_move_neighbours_to_neighbours)
{
    const Calc calc(0, 0, 0, 1, 1, 1, 5);
    u64 members[8];
    members[5] = Calc::rcdToCCD(xyzToRCD(3, 3, 3));
    calc.completeCubeMembers8(members);
    for (const auto rotate : {Casx::rotateX, Casx::rotateY, Casx::rotateZ})
        for (int a = 0; a < 8; ++a)
            for (int b = 0; b < 8; ++b) {
                const int a1 = std::countr_zero(unsigned(rotate(1 << a, 1)));
                const int b1 = std::countr_zero(unsigned(rotate(1 << b, 1)));
                EXPECT_EQ(Calc::getNumDiffAxes(members[a], members[b]),
                          Calc::getNumDiffAxes(members[a1], members[b1]));
            }
}

TEST(Casx, query_returns_the_slots_of_the_asked_use_only)
{
    const Casx fat(TM_FAT, false), thin(TM_THIN, false);
    EXPECT_THAT(query(fat, 7, TUT), IsEmpty());
    EXPECT_THAT(query(fat, 7, TUI), ElementsAre(7));
    EXPECT_THAT(query(fat, 7, TUU), ElementsAre(7));
    EXPECT_THAT(query(fat, 26, TUT), ElementsAre(26));
    EXPECT_THAT(query(thin, 26, TUT), ElementsAre(26));
    EXPECT_THAT(query(fat, 61, TUT), ElementsAre(44, 56, 25));
    EXPECT_EQ(query(fat, 127, TUT).size(), 6u);
    EXPECT_EQ(query(fat, 127, TUU).size(), 10u);
    EXPECT_THAT(query(thin, 47, TUT), ElementsAre(11, 14)); // not 7 13: the diagonal of the face wins
    for (const int config : {27, 39, 78, 114, 141, 177, 216, 228})
        EXPECT_THAT(query(thin, config, TUT), IsEmpty());
}

TEST(Casx, query_appends_to_what_is_there)
{
    const u64 corners[8] = {};
    std::vector<u64> vTriCCD = {1, 2, 3};
    Casx(TM_FAT, false).getTriangles(15, corners, vTriCCD, TUT);
    EXPECT_EQ(vTriCCD.size(), 9u);
    EXPECT_EQ(vTriCCD[0], 1u);
    const CapturedMessages quiet;
    EXPECT_THROW(Casx(TM_FAT, false).getTriangles(256, corners, vTriCCD, TUT), ZanBugException);
}

TEST(Casx, masks_of_missing_cells_and_of_those_opposite)
{
    const Casx casx(TM_FAT, false);
    int numExtra = 0, numOpposite = 0;
    for (int config = 0; config < 256; ++config) {
        const int extra = casx.getExtraMask(config), opposite = casx.getOppositeMask(config);
        numExtra += extra != 0;
        numOpposite += opposite != 0;
        EXPECT_EQ(opposite & ~config, 0);
        EXPECT_TRUE(extra == 0 || extra == 255 - config);
    }
    EXPECT_EQ(numExtra, 36);
    EXPECT_EQ(numOpposite, 20);
    EXPECT_EQ(casx.getExtraMask(127), 128);
    EXPECT_EQ(casx.getOppositeMask(127), 2);
    EXPECT_EQ(casx.getExtraMask(255), 0);
    EXPECT_EQ(casx.getExtraMask(31), 0);
    const std::map<int, int> mOpposite = {{63, 3},   {111, 6},  {119, 34},  {159, 9},
                                          {187, 17}, {207, 12}, {221, 136}, {238, 68},
                                          {243, 48}, {246, 96}, {249, 144}, {252, 192}};
    for (const auto& [config, opposite] : mOpposite)
        EXPECT_EQ(casx.getOppositeMask(config), opposite) << config;
}

TEST(Casx, unifying_leaves_markers_and_pairs_off_a_face_alone)
{
    int a = CASX_END, b = 11;
    EXPECT_FALSE(Casx::samePlaneUnify(a, b));
    a = 26; // the diagonal triangle and one on the bottom
    b = 11;
    EXPECT_FALSE(Casx::samePlaneUnify(a, b));
    a = 7;
    b = 13;
    EXPECT_TRUE(Casx::samePlaneUnify(a, b));
    EXPECT_THAT((std::set{a, b}), ElementsAre(11, 14));
}

TEST(Casx, generator_prints_the_rows_that_the_table_has_and_draws_each_base_case)
{
    const OtherWorkingFolder folder;
    const CapturedMessages captured;
    const Casx generated(TM_FAT, true);
    EXPECT_EQ(generated.getTriVec(), Casx(TM_FAT, false).getTriVec());
    EXPECT_EQ(generated.getTriUse(), Casx(TM_FAT, false).getTriUse());
    EXPECT_TRUE(captured.has("Casx::Casx, bExperimental=true - using base cases"));
    EXPECT_TRUE(captured.has("\n\n The below code is for initAllCases\n\n\t\tcase TM_FAT:"));
    EXPECT_TRUE(captured.has(" 11, 14,512,"));
    EXPECT_TRUE(captured.has("// RotCase 47 (from base 31)"));
    EXPECT_TRUE(captured.has("\tvTriUse=std::vector<TriUse>({"));
    EXPECT_EQ(folder.dir.numFiles(), 24u);
    EXPECT_TRUE(std::filesystem::exists(folder.dir.file("baseConfig_0_empty.list")));
    EXPECT_TRUE(std::filesystem::exists(folder.dir.file("baseConfig_127.list")));
    EXPECT_TRUE(std::filesystem::exists(folder.dir.file("fatConfigs.list")));
}

TEST(Casx, ordinary_table_writes_nothing)
{
    const OtherWorkingFolder folder;
    const CapturedMessages captured;
    const Casx casx(TM_THIN, false);
    EXPECT_EQ(folder.dir.numFiles(), 0u);
    EXPECT_EQ(captured.text(), "");
}
