// Codes and their arithmetic, against decoded coordinates and against walks over single bits.
#include "Calc.h"
#include "helpers/captured.h"
#include "random.h"
#include "zan_export.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <vector>

using namespace TESK_ZAN;
using zan_test::CapturedMessages;

namespace
{

using Cell = std::array<int, 3>;

const Calc unit(0, 0, 0, 1 << 21, 1 << 21, 1 << 21, 21); // cell edge 1

u64 rcdOf(const Cell& c)
{
    return xyzToRCD(u64(c[0]), u64(c[1]), u64(c[2]));
}
u64 ccdOf(const Cell& c)
{
    return Calc::rcdToCCD(rcdOf(c));
}

Cell cellOf(u64 rcd)
{
    int x, y, z;
    rcdToXYZ(rcd, x, y, z);
    return {x, y, z};
}

std::vector<Cell> around(const Cell& base, const u64* pRCD, size_t num)
{
    std::vector<Cell> vOffsets;
    for (size_t i = 0; i < num; ++i) {
        const Cell c = cellOf(pRCD[i]);
        vOffsets.push_back({c[0] - base[0], c[1] - base[1], c[2] - base[2]});
    }
    return vOffsets;
}

std::vector<Cell> aroundCCD(const Cell& base, const u64* pCCD, size_t num)
{
    std::vector<u64> vRCD;
    for (size_t i = 0; i < num; ++i)
        vRCD.push_back(Calc::ccdToRCD(pCCD[i]));
    return around(base, vRCD.data(), num);
}

Cell randomCell(Random& random, int low, int high)
{
    const auto coord = [&] { return low + int(random.below(std::uint32_t(high - low))); };
    return {coord(), coord(), coord()};
}

// Coordinates whose neighbours carry over many bits.
const Cell base = {511, 1024, 4095};

// Fails unless the call ends in a failed condition with this text.
template <class F>
void expectFailure(const std::string& condition, F call)
{
    CapturedMessages messages;
    EXPECT_THROW(call(), ZanBugException);
    EXPECT_TRUE(messages.has("Condition [ " + condition + " failed ]")) << messages.text();
}

} // namespace

TEST(Calc, codes_of_small_cells_have_their_bits_where_the_layout_says)
{
    EXPECT_EQ(ccdOf({1, 0, 0}), 4u);
    EXPECT_EQ(ccdOf({0, 1, 0}), 2u);
    EXPECT_EQ(ccdOf({0, 0, 1}), 1u);
    EXPECT_EQ(ccdOf({2, 0, 0}), 32u);
    EXPECT_EQ(rcdOf({1, 2, 3}), 0x40000400003u);
    EXPECT_EQ(ccdOf({2097151, 0, 2097151}), 6588122883467697005u);
    EXPECT_EQ(ccdOf({1358253, 632707, 1656009}), 6270074221886835479u);
}

TEST(Calc, changing_form_and_back_loses_no_bit)
{
    Random random(1);
    for (int i = 0; i < 2000; ++i) {
        const u64 rcd = rcdOf(randomCell(random, 0, 1 << 21)) | (i == 0 ? RCD_X | RCD_Y | RCD_Z : 0);
        const u64 ccd = Calc::rcdToCCD(rcd);
        ASSERT_EQ(Calc::ccdToRCD(ccd), rcd);
        u64 x, y, z;
        unit.ccdToXYZ(ccd, x, y, z);
        ASSERT_EQ(xyzToRCD(x, y, z), rcd);
        for (int level = 0; level < 21; ++level)
            ASSERT_EQ(ccd >> (3 * level) & 7,
                      (x >> level & 1) << 2 | (y >> level & 1) << 1 | (z >> level & 1));
    }
}

TEST(Calc, points_find_their_cell_and_stray_ones_a_defined_code)
{
    const Calc calc(-10, 20, 30, 16, 16, 16, 5); // cell edge 0.5
    const Point3 origin(-10, 20, 30), inner(-9.26, 20.5, 45.99);
    EXPECT_EQ(calc.getCCD(&origin), 0u);
    EXPECT_EQ(calc.getRCD(&inner), rcdOf({1, 1, 31}));
    const double nan = std::numeric_limits<double>::quiet_NaN(),
                 inf = std::numeric_limits<double>::infinity();
    for (const double bad : {nan, -inf, -1e300, -10.1}) {
        const Point3 p(bad, 20, 30);
        EXPECT_EQ(calc.getRCD(&p), 0u) << bad;
        EXPECT_EQ(calc.getCCD(&p), 0u) << bad;
    }
    for (const double bad : {inf, 1e300}) {
        const Point3 p(bad, 20, 30);
        EXPECT_EQ(calc.getRCD(&p), RCD_X) << bad;
        EXPECT_EQ(calc.getCCD(&p), CCD_X) << bad;
    }
}

TEST(Calc, corners_are_summed_level_by_level_and_centres_lie_in_their_cell)
{
    const Calc calc(0.1, -3e5, 1e-3, 777.7, 777.7, 777.7, 16);
    Random random(2);
    double edgeX, edgeY, edgeZ;
    calc.getCellSizes(edgeX, edgeY, edgeZ);
    EXPECT_EQ(edgeX, 777.7 / 65536);
    EXPECT_EQ(edgeX, calc.getCellSize());
    for (int i = 0; i < 500; ++i) {
        const Cell cell = randomCell(random, 0, 1 << 16);
        double sum = 0.1, step = edgeX;
        for (int level = 0; level < 16; ++level, step *= 2)
            if (cell[0] >> level & 1)
                sum += step;
        ASSERT_EQ(calc.getCellCorner(ccdOf(cell)).x(), sum);
        ASSERT_EQ(calc.getCellMid(ccdOf(cell)).x(), sum + 0.5 * edgeX);
        const Point3 mid = calc.getCellMid(ccdOf(cell)), midClosed = calc.getCellMid_RCD(rcdOf(cell));
        ASSERT_EQ(calc.getCCD(&mid), ccdOf(cell));
        ASSERT_EQ(calc.getRCD(&midClosed), rcdOf(cell));
        ASSERT_LT((mid - midClosed).length(), 1e-9);
    }
}

TEST(Calc, too_many_levels_are_refused)
{
    expectFailure("numLevels<=MAXLEVELS", [] { Calc(0, 0, 0, 1, 1, 1, 22); });
}

TEST(Calc, adapting_moves_a_point_by_the_shortest_step_that_enters_the_cell)
{
    const u64 ccd = ccdOf({4, 5, 6});
    Point3 inside(4.0, 5.5, 6.5, 1, 2, 3, 4); // on the low face: inside, as cells are half-open
    EXPECT_FALSE(unit.adaptPointToCCD(ccd, inside));
    EXPECT_FALSE(unit.adaptPointToRCD(Calc::ccdToRCD(ccd), inside));
    EXPECT_EQ(inside, Point3(4.0, 5.5, 6.5));

    Point3 nearFace(3.9999, 5.5, 6.5, 1, 2, 3, 4);
    EXPECT_TRUE(unit.adaptPointToCCD(ccd, nearFace));
    EXPECT_NEAR(nearFace.x(), 3.9999 + 0.5001 / 1024, 1e-12); // the first factor suffices
    EXPECT_FALSE(nearFace.hasColor());

    Point3 farAway(1000, 0, 6.5);
    EXPECT_TRUE(unit.adaptPointToCCD(ccd, farAway));
    EXPECT_EQ(farAway, Point3(4.5, 5.5, 6.5)); // no step but the last one reaches the cell
}

TEST(Calc, adapting_by_clamping_leaves_the_coordinates_that_are_inside)
{
    Point3 p(3.9999, 5.25, 99, 1, 2, 3, 4);
    EXPECT_TRUE(unit.adaptPointToRCD(rcdOf({4, 5, 6}), p));
    EXPECT_EQ(p, Point3(4.001, 5.25, 6.999));
    EXPECT_TRUE(p.hasColor());
    const Calc tooFine(1e15, 0, 0, 1, 1, 1, 10); // the cells are finer than the coordinates can tell apart
    Point3 q(0, 0, 0);
    expectFailure("getRCD(&testPoint)==rcd", [&] { tooFine.adaptPointToRCD(rcdOf({3, 0, 0}), q); });
    expectFailure("false", [&] { tooFine.adaptPointToCCD(ccdOf({3, 0, 0}), q); });
}

TEST(Calc, one_axis_steps_agree_with_plain_coordinates)
{
    const Calc calc(0, 0, 0, 1, 1, 1, 12);
    Random random(3);
    for (int i = 0; i < 1000; ++i) {
        const Cell cell = randomCell(random, 1, 4095);
        for (size_t axis = 0; axis < 3; ++axis) {
            const u64 tribit = 4 >> axis;
            const u64 sparse = calc.numberToSparse(u64(cell[axis]), tribit);
            ASSERT_EQ(sparse, ccdOf(cell) & (CCD_Z * tribit));
            ASSERT_EQ(calc.sparseToNumber(ccdOf(cell), tribit), u64(cell[axis]));
            ASSERT_EQ(calc.incSparse(sparse, tribit), calc.numberToSparse(u64(cell[axis]) + 1, tribit));
            ASSERT_EQ(calc.decSparse(sparse, tribit), calc.numberToSparse(u64(cell[axis]) - 1, tribit));
            Cell up = cell;
            ++up[axis];
            u64 ccd = ccdOf(cell);
            ASSERT_TRUE(calc.manipOneAxis(ccd, true, tribit));
            ASSERT_EQ(ccd, ccdOf(up)) << "the other axes must stay";
            ASSERT_TRUE(calc.manipOneAxis(ccd, false, tribit));
            ASSERT_EQ(ccd, ccdOf(cell));
            const int value = int(random.below(4096)) - cell[axis];
            Cell moved = cell;
            moved[axis] += value;
            ASSERT_EQ(calc.getOffVal(ccd, value, tribit), ccdOf(moved));
        }
    }
}

TEST(Calc, steps_beyond_the_ends_are_reported_and_never_wrap)
{
    const Calc calc(0, 0, 0, 1, 1, 1, 4);
    const u64 high = ccdOf({15, 3, 15}), low = ccdOf({0, 3, 0});
    expectFailure("false", [&] { calc.incSparse(high & CCD_X, AXIS_X); });
    expectFailure("false", [&] { calc.decSparse(0, AXIS_Z); });
    expectFailure("false", [&] { calc.getOffVal(high, 1, AXIS_X); });
    expectFailure("axTriBit<8", [&] { calc.numberToSparse(1, 8); });
    CapturedMessages messages;
    u64 ccd = high;
    EXPECT_FALSE(calc.manipOneAxis(ccd, true, AXIS_Z));
    EXPECT_EQ(ccd, FAILED_CODE);
    EXPECT_TRUE(messages.has("ERROR, out of range, bIncrease=1, axTribit=1\nthis is ")) << messages.text();
    EXPECT_TRUE(messages.has("WARNING: End not found"));
    messages.clear();
    EXPECT_EQ(calc.getOffVal(low, -1, AXIS_X), FAILED_CODE);
    EXPECT_TRUE(messages.has("ERROR: out of range") && messages.has("value=-1\ncomponent=0\n"));
    EXPECT_EQ(calc.getOffVal(low, std::numeric_limits<int>::min(), AXIS_X), FAILED_CODE);
}

TEST(Calc, the_27_neighbours_run_with_x_fastest_and_the_26_with_z_fastest)
{
    std::vector<Cell> vXFastest, vZFastest;
    for (int a = -1; a <= 1; ++a)
        for (int b = -1; b <= 1; ++b)
            for (int c = -1; c <= 1; ++c) {
                vXFastest.push_back({c, b, a});
                if (a != 0 || b != 0 || c != 0)
                    vZFastest.push_back({a, b, c});
            }
    u64 array[27];
    unit.completeArray27(ccdOf(base), array);
    EXPECT_EQ(aroundCCD(base, array, 27), vXFastest);
    Calc::completeArray27_RCD(rcdOf(base), array);
    EXPECT_EQ(around(base, array, 27), vXFastest);
    Calc::completeArray26_RCD(rcdOf(base), array);
    EXPECT_EQ(around(base, array, 26), vZFastest);
    expectFailure("x>0 && y>0 && z>0", [&] { Calc::completeArray26_RCD(rcdOf({1, 1, 0}), array); });
    expectFailure("false", [&] { unit.completeArray27(0, array); });
    EXPECT_EQ(array[13], 0u) << "the base stands in its place even then";
}

TEST(Calc, cube_members_stand_in_the_order_of_the_configuration_bits)
{
    u64 array[8] = {};
    array[5] = ccdOf(base);
    unit.completeCubeMembers8(array);
    const std::vector<Cell> vMembers = {{-1, -1, 0}, {0, -1, 0}, {0, -1, -1}, {-1, -1, -1},
                                        {-1, 0, 0},  {0, 0, 0},  {0, 0, -1},  {-1, 0, -1}};
    EXPECT_EQ(aroundCCD(base, array, 8), vMembers);
    for (const u64 member : array) {
        u64 keys[8] = {member};
        unit.completeCubeKeys8(keys);
        EXPECT_EQ(std::count(keys, keys + 8, ccdOf(base)), 1) << "a member's cubes include the cube";
    }
}

TEST(Calc, cube_keys_corners_and_faces_keep_their_order)
{
    u64 array[8] = {ccdOf(base)};
    unit.completeCubeKeys8(array);
    const std::vector<Cell> vKeys = {{0, 0, 0}, {1, 0, 0}, {1, 0, 1}, {0, 0, 1},
                                     {0, 1, 0}, {1, 1, 0}, {1, 1, 1}, {0, 1, 1}};
    EXPECT_EQ(aroundCCD(base, array, 8), vKeys);
    array[0] = rcdOf(base);
    Calc::completeCellCorners8(array);
    const std::vector<Cell> vCorners = {{0, 0, 0}, {0, 0, 1}, {0, 1, 0}, {0, 1, 1},
                                        {1, 0, 0}, {1, 0, 1}, {1, 1, 0}, {1, 1, 1}};
    EXPECT_EQ(around(base, array, 8), vCorners);
    Calc::getNeigs6_RCD(rcdOf(base), array);
    const std::vector<Cell> vFaces = {{-1, 0, 0}, {1, 0, 0}, {0, -1, 0}, {0, 1, 0}, {0, 0, -1}, {0, 0, 1}};
    EXPECT_EQ(around(base, array, 6), vFaces);
}

TEST(Calc, plane_rings_turn_as_their_tables_do)
{
    u64 array[8];
    unit.getPlaneCCD8(ccdOf(base), 0, array);
    EXPECT_EQ(
        aroundCCD(base, array, 8),
        (std::vector<Cell>{
            {0, -1, -1}, {0, 0, -1}, {0, 1, -1}, {0, 1, 0}, {0, 1, 1}, {0, 0, 1}, {0, -1, 1}, {0, -1, 0}}));
    unit.getPlaneCCD8(ccdOf(base), 1, array);
    EXPECT_EQ(
        aroundCCD(base, array, 8),
        (std::vector<Cell>{
            {-1, 0, -1}, {0, 0, -1}, {1, 0, -1}, {1, 0, 0}, {1, 0, 1}, {0, 0, 1}, {-1, 0, 1}, {-1, 0, 0}}));
    unit.getPlaneCCD8(ccdOf(base), 2, array);
    EXPECT_EQ(
        aroundCCD(base, array, 8),
        (std::vector<Cell>{
            {-1, -1, 0}, {-1, 0, 0}, {-1, 1, 0}, {0, 1, 0}, {1, 1, 0}, {1, 0, 0}, {1, -1, 0}, {0, -1, 0}}));
    expectFailure("false", [&] { unit.getPlaneCCD8(ccdOf(base), 3, array); });
}

TEST(Calc, cells_round_an_edge_come_in_order_whichever_corner_is_first)
{
    const auto cellsRound = [](const Cell& a, const Cell& b) {
        std::vector<u64> vRCD;
        Calc::getCbsAroundEdge(rcdOf(a), rcdOf(b), vRCD);
        return around({5, 6, 7}, vRCD.data(), vRCD.size());
    };
    EXPECT_EQ(cellsRound({5, 6, 7}, {6, 6, 7}),
              (std::vector<Cell>{{0, 0, 0}, {0, -1, 0}, {0, 0, -1}, {0, -1, -1}}));
    EXPECT_EQ(cellsRound({5, 7, 7}, {5, 6, 7}),
              (std::vector<Cell>{{0, 0, 0}, {-1, 0, 0}, {0, 0, -1}, {-1, 0, -1}}));
    EXPECT_EQ(cellsRound({5, 6, 8}, {5, 6, 7}),
              (std::vector<Cell>{{0, 0, 0}, {-1, 0, 0}, {0, -1, 0}, {-1, -1, 0}}));
    expectFailure("xdiff==0 || xdiff==1", [&] { cellsRound({5, 6, 7}, {7, 6, 7}); });
    expectFailure("zdiff==0 || zdiff==1", [&] { cellsRound({5, 6, 7}, {6, 6, 6}); });
    expectFailure("xdiff+ydiff+zdiff==1", [&] { cellsRound({5, 6, 7}, {6, 7, 7}); });
    expectFailure("xdiff+ydiff+zdiff==1", [&] { cellsRound({5, 6, 7}, {5, 6, 7}); });
}

TEST(Calc, comparisons_see_the_axes_that_differ_in_both_forms)
{
    Random random(4);
    for (int i = 0; i < 500; ++i) {
        const Cell a = randomCell(random, 100, 102), b = randomCell(random, 100, 102),
                   c = randomCell(random, 100, 102), d = randomCell(random, 100, 102);
        std::vector<int> vDiffer, vSame, vSame3;
        int num3 = 0, num4 = 0;
        for (size_t axis = 0; axis < 3; ++axis) {
            (a[axis] != b[axis] ? vDiffer : vSame).push_back(int(axis));
            const bool bSame3 = a[axis] == b[axis] && a[axis] == c[axis];
            if (bSame3)
                vSame3.push_back(int(axis));
            num3 += !bSame3;
            num4 += !(bSame3 && a[axis] == d[axis]);
        }
        const auto only = [](const std::vector<int>& v) { return v.size() == 1 ? v[0] : -1; };
        ASSERT_EQ(Calc::getNumDiffAxes(ccdOf(a), ccdOf(b)), int(vDiffer.size()));
        ASSERT_EQ(Calc::getNumDiffAxes_RCD(rcdOf(a), rcdOf(b)), int(vDiffer.size()));
        ASSERT_EQ(Calc::getNumDiffAxes(ccdOf(a), ccdOf(b), ccdOf(c)), num3);
        ASSERT_EQ(Calc::getNumDiffAxes(ccdOf(a), ccdOf(b), ccdOf(c), ccdOf(d)), num4);
        ASSERT_EQ(Calc::getUniqueDifferentComponent(ccdOf(a), ccdOf(b)), only(vDiffer));
        ASSERT_EQ(Calc::getUniqueDifferentComponent_RCD(rcdOf(a), rcdOf(b)), only(vDiffer));
        ASSERT_EQ(Calc::getUniqueSameComponent(ccdOf(a), ccdOf(b)), only(vSame));
        ASSERT_EQ(Calc::getUniqueSameComponent(ccdOf(a), ccdOf(b), ccdOf(c)), only(vSame3));
    }
    EXPECT_EQ(Calc::getNeigType(ccdOf({1, 1, 1}), ccdOf({2, 6, 1})), NT_EDGE) << "not how much they differ";
    EXPECT_EQ(Calc::getNeigType(ccdOf({1, 1, 1}), ccdOf({1, 1, 9})), NT_FACE);
    EXPECT_EQ(Calc::getNeigType(ccdOf({1, 1, 1}), ccdOf({0, 0, 0})), NT_CORNER);
    expectFailure("result_xor", [] { Calc::getNeigType(5, 5); });
}

TEST(Calc, small_helpers_refuse_what_they_cannot_answer)
{
    const std::array<std::array<u64, 3>, 3> aOrtho = {{{1, 4, 2}, {2, 4, 1}, {4, 2, 1}}};
    for (const auto& [tribit, expectedA, expectedB] : aOrtho) {
        u64 a = 0, b = 0;
        Calc::getOrthoTribs(tribit, a, b);
        EXPECT_EQ(a, expectedA);
        EXPECT_EQ(b, expectedB);
    }
    u64 a = 0, b = 0;
    expectFailure("false", [&] { Calc::getOrthoTribs(3, a, b); });
    EXPECT_EQ(Calc::getNumSet8(0xb7), 6);
    EXPECT_EQ(Calc::getNumSet8(255), 8);
    expectFailure("val<256", [] { Calc::getNumSet8(256); });
}
