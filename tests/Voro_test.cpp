#include "Voro.h"

#include "CMesh.h"
#include "CubeBlocks.h"
#include "TaskPool.h"
#include "helpers/captured.h"
#include "helpers/codeMesh.h"
#include "random.h"
#include "zan_export.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <iterator>
#include <set>

using namespace TESK_ZAN;
using namespace zan_test;

namespace
{

using Cells = std::vector<std::array<int, 3>>;

struct TriangleRecord {
    u64 c0, c1, c2, vcd;
    int cfg;
    auto operator<=>(const TriangleRecord&) const = default;
};

// All triangles that were made, in order of creation.
std::vector<TriangleRecord> createdTriangles(const CMesh& mesh)
{
    std::vector<CTriangle*> vCT = mesh.getT();
    std::sort(vCT.begin(), vCT.end(),
              [](const CTriangle* a, const CTriangle* b) { return lessByNumber(a, b); });
    std::vector<TriangleRecord> vRecords;
    for (const CTriangle* pCT : vCT)
        vRecords.push_back({pCT->getC0(), pCT->getC1(), pCT->getC2(), pCT->getVCD(), pCT->getCfg()});
    return vRecords;
}

// Cells with an extraction of their surface.
struct Extraction {
    explicit Extraction(const Cells& vCells)
        : cells(vCells), voro(&cells.calc, &cells.mCCDBundle, &cells.vZeroCCD, TM_FAT)
    {
        voro.fatExtractTriangles();
        pMesh.reset(voro.getCMesh());
    }

    NamedRoot root;
    CellSet cells;
    Voro voro;
    std::unique_ptr<CMesh> pMesh;
};

Cells randomCells(u64 seed, int edge, double density)
{
    Random random(seed);
    Cells vCells;
    for (int x = 1; x <= edge; ++x)
        for (int y = 1; y <= edge; ++y)
            for (int z = 1; z <= edge; ++z)
                if (random.uniform() < density)
                    vCells.push_back({x, y, z});
    return vCells;
}

Cells plane(int edge)
{
    Cells vCells;
    for (int x = 0; x < edge; ++x)
        for (int y = 0; y < edge; ++y)
            vCells.push_back({100 + x, 100 + y, 100});
    return vCells;
}

Cells sphereShell(int radius)
{
    Cells vCells;
    for (int x = -radius - 1; x <= radius + 1; ++x)
        for (int y = -radius - 1; y <= radius + 1; ++y)
            for (int z = -radius - 1; z <= radius + 1; ++z)
                if (std::floor(std::sqrt(double(x * x + y * y + z * z)) - radius + 0.5) == 0.0)
                    vCells.push_back({100 + x, 100 + y, 100 + z});
    return vCells;
}

Cells block222()
{
    return {{100, 100, 100}, {100, 100, 101}, {100, 101, 100}, {100, 101, 101},
            {101, 100, 100}, {101, 100, 101}, {101, 101, 100}, {101, 101, 101}};
}

// ---- the slow twin: pairs of cube and cell, sorted; sets of corner triples --------------------------------

class SlowExtraction
{
public:
    explicit SlowExtraction(const CellSet& cells) : calc(cells.calc)
    {
        std::map<u64, std::vector<u64>> mGroups;
        for (const u64 ccd : cells.vCode) {
            u64 keys[8] = {ccd};
            calc.completeCubeKeys8(keys);
            for (const u64 key : keys)
                mGroups[key].push_back(ccd);
        }
        std::vector<std::vector<u64>> vSquares;
        for (const auto& [key, vMembers] : mGroups)
            drawCube(key, vMembers, vSquares);
        for (const std::vector<u64>& square : vSquares)
            drawSquare(square);
    }

    std::vector<TriangleRecord> vRecords;
    std::map<u64, int> mConfig; // by cube key

private:
    void drawCube(u64 key, const std::vector<u64>& vMembers, std::vector<std::vector<u64>>& vSquares)
    {
        u64 array[8];
        array[5] = key;
        calc.completeCubeMembers8(array);
        int config = 0;
        for (int i = 0; i < 8; ++i)
            if (std::find(vMembers.begin(), vMembers.end(), array[i]) != vMembers.end())
                config |= 1 << i;
        mConfig[key] = config;
        std::vector<u64> vTri;
        casx.getTriangles(config, array, vTri, TUT);
        if (std::set{15, 51, 102, 153, 204, 240}.count(config) == 1) {
            vTri.push_back(key);
            vTri.push_back(u64(config));
            vSquares.push_back(vTri);
            return;
        }
        for (size_t i = 0; i < vTri.size(); i += 3)
            add(vTri[i], vTri[i + 1], vTri[i + 2], key, config);
    }

    void drawSquare(const std::vector<u64>& s)
    {
        u64 v0 = s[0], v1 = s[1], v2 = s[2];
        u64 v3 = s[3];
        for (size_t i = 3; i < 6; ++i)
            if (s[i] != v0 && s[i] != v1 && s[i] != v2)
                v3 = s[i];
        if (Calc::getNumDiffAxes(v1, v3) == 2)
            std::swap(v0, v1);
        else if (Calc::getNumDiffAxes(v2, v3) == 2)
            std::swap(v0, v2);
        if (sEdges.count(std::minmax({v1, v2})) == 1) {
            add(v0, v1, v2, s[6], int(s[7]));
            add(v2, v1, v3, s[6], int(s[7]));
        } else {
            add(v0, v1, v3, s[6], int(s[7]));
            add(v0, v3, v2, s[6], int(s[7]));
        }
    }

    void add(u64 a, u64 b, u64 c, u64 key, int config)
    {
        if (!sTriangles.insert({a, b, c}).second)
            return;
        vRecords.push_back({a, b, c, key, config});
        for (const auto& ends : {std::minmax({a, b}), std::minmax({b, c}), std::minmax({a, c})})
            sEdges.insert(ends);
    }

    const Calc& calc;
    Casx casx{TM_FAT, false};
    std::set<std::set<u64>> sTriangles;
    std::set<std::pair<u64, u64>> sEdges;
};

} // namespace

// ---- extraction ------------------------------------------------------------------------------------------

TEST(Voro, triangles_of_any_cell_set_and_their_order_are_those_of_the_slow_way)
{
    std::vector<Cells> vSets = {plane(5), sphereShell(6), block222()};
    u64 seed = 0;
    for (const double density : {0.1, 0.3, 0.5, 0.8})
        vSets.push_back(randomCells(++seed, 11, density));
    for (const Cells& vCells : vSets) {
        const Extraction fast(vCells);
        const SlowExtraction slow(fast.cells);
        EXPECT_EQ(createdTriangles(*fast.pMesh), slow.vRecords);
        EXPECT_TRUE(fast.pMesh->checkDataStructures("extraction"));
    }
}

TEST(CubeBlocks, configurations_of_all_cubes_across_block_limits)
{
    const CellSet cells(randomCells(7, 13, 0.2));
    std::vector<u64> vCCD = cells.vCode;
    std::sort(vCCD.begin(), vCCD.end());
    CubeBlocks blocks;
    blocks.build(vCCD, CellSet::LEVELS);
    std::map<u64, int> mFound;
    std::vector<u64> vKeys;
    blocks.forEachCube([&](u64 key, int config) {
        mFound[key] = config;
        vKeys.push_back(key);
    });
    const SlowExtraction slow(cells);
    EXPECT_EQ(mFound, slow.mConfig);
    EXPECT_TRUE(std::is_sorted(vKeys.begin(), vKeys.end()));
    for (int x = 0; x <= 15; ++x)
        for (int y = 0; y <= 15; ++y)
            for (int z = 0; z <= 15; ++z) {
                const u64 key = CellSet::ccdOf(x, y, z);
                const auto found = slow.mConfig.find(key);
                ASSERT_EQ(blocks.getConfig(key), found == slow.mConfig.end() ? 0 : found->second);
            }
}

TEST(CubeBlocks, cells_at_the_low_end_have_no_neighbours_below_and_at_the_high_end_fail)
{
    const int last = (1 << CellSet::LEVELS) - 1;
    CubeBlocks blocks;
    blocks.build({CellSet::ccdOf(0, 0, 0)}, CellSet::LEVELS);
    EXPECT_EQ(blocks.getConfig(CellSet::ccdOf(0, 0, 0)), 32);
    EXPECT_EQ(blocks.getConfig(CellSet::ccdOf(1, 1, 1)), 8);
    int numCubes = 0;
    blocks.forEachCube([&](u64, int) { ++numCubes; });
    EXPECT_EQ(numCubes, 8);
    const CapturedMessages quiet;
    EXPECT_THROW(blocks.build({CellSet::ccdOf(5, last, 5)}, CellSet::LEVELS), ZanBugException);
    EXPECT_NO_THROW(blocks.build({CellSet::ccdOf(last - 1, last - 1, last - 1)}, CellSet::LEVELS));
}

TEST(Voro, surface_of_a_sphere_of_cells_is_closed)
{
    const Extraction sphere(sphereShell(6));
    EXPECT_EQ(sphere.cells.vCode.size(), 450u);
    EXPECT_EQ(sphere.pMesh->getT().size(), 896u);
    EXPECT_EQ(numEdges(*sphere.pMesh, 2), 1344u);
    EXPECT_EQ(numEdges(*sphere.pMesh, -99), 1344u);
}

TEST(Voro, small_sets_give_what_their_configurations_say)
{
    EXPECT_TRUE(Extraction({{9, 9, 9}, {10, 9, 9}, {10, 9, 10}}).pMesh->getT().empty());   // an L
    EXPECT_EQ(Extraction({{10, 9, 10}, {9, 9, 9}, {9, 10, 10}}).pMesh->getT().size(), 1u); // face diagonals
    EXPECT_TRUE(Extraction(Cells{}).pMesh->getT().empty());
    const Extraction block(block222()); // nothing from the full cube, six squares round it
    EXPECT_EQ(block.pMesh->getT().size(), 12u);
    EXPECT_EQ(numEdges(*block.pMesh, 2), 18u);
}

TEST(Voro, square_of_a_sheet_is_drawn_once_though_two_cubes_see_it)
{
    const Extraction sheet(plane(5));
    EXPECT_EQ(sheet.pMesh->getT().size(), 32u);
    EXPECT_EQ(numEdges(*sheet.pMesh, 1), 16u);
    EXPECT_EQ(numEdges(*sheet.pMesh, -1), 0u);
}

TEST(Voro, square_takes_the_diagonal_of_the_table_if_both_are_there)
{
    NamedRoot root;
    const int neigbours[2][3] = {{10, 12, 10}, {10, 12, 11}};
    for (const bool bTable : {false, true}) {
        CellSet cells(Cells{{10, 10, 10}, {11, 10, 10}, {10, 10, 11}, {11, 10, 11}});
        Voro voro(&cells.calc, &cells.mCCDBundle, &cells.vZeroCCD, TM_FAT);
        voro.fatExtractTriangles();
        const std::unique_ptr<CMesh> pMesh(voro.getCMesh());
        pMesh->clear();
        u64 members[8];
        members[5] = CellSet::ccdOf(11, 11, 11); // config 15: 11 14, diagonal 1-3
        cells.calc.completeCubeMembers8(members);
        const u64 far0 = CellSet::ccdOf(neigbours[0][0], neigbours[0][1], neigbours[0][2]);
        const u64 far1 = CellSet::ccdOf(neigbours[1][0], neigbours[1][1], neigbours[1][2]);
        pMesh->createT(members[0], members[2], far0, 0, 0);
        if (bTable)
            pMesh->createT(members[1], members[3], far1, 0, 0);
        voro.solveAmbiguousT(
            {members[0], members[1], members[3], members[1], members[2], members[3], members[5], 15});
        EXPECT_EQ(pMesh->getEdge(members[1], members[3]) != nullptr, bTable);
        EXPECT_EQ(pMesh->getEdge(members[0], members[2])->getDegree(), bTable ? 1 : 3);
    }
}

TEST(Voro, second_extraction_yields_the_same_triangles_in_the_same_mesh)
{
    Extraction ball(sphereShell(4));
    const auto first = createdTriangles(*ball.pMesh);
    ball.voro.fatExtractTriangles();
    EXPECT_EQ(ball.voro.getCMesh(), ball.pMesh.get());
    EXPECT_EQ(createdTriangles(*ball.pMesh), first);
}

TEST(Voro, result_does_not_depend_on_the_number_of_threads)
{
    const Cells vCells = randomCells(3, 20, 0.4);
    std::vector<std::vector<TriangleRecord>> vResults;
    for (const int numCPU : {1, 2, 3, 8}) {
        setNumCPU(numCPU);
        const Extraction extraction(vCells);
        vResults.emplace_back();
        for (const CTriangle* pCT : extraction.pMesh->getT()) // as sorted
            vResults.back().push_back(
                {pCT->getC0(), pCT->getC1(), pCT->getC2(), pCT->getVCD(), int(pCT->getNumber())});
    }
    setNumCPU(0);
    for (const auto& result : vResults)
        EXPECT_EQ(result, vResults[0]);
}

TEST(Voro, mesh_that_nobody_took_is_freed_and_phases_are_complete)
{
    NamedRoot root;
    CellSet cells(sphereShell(3));
    {
        Voro voro(&cells.calc, &cells.mCCDBundle, &cells.vZeroCCD, TM_FAT);
        EXPECT_EQ(voro.getCMesh(), nullptr);
        voro.fatExtractTriangles();
    }
    EXPECT_EQ(getRootProgress()->getChildProgressSetTodo("VO_amb", 0)->getNumDone(), 2u);
    EXPECT_EQ(getRootProgress()->getFraction(), 1.0);
}

TEST(Voro, configuration_from_member_cells)
{
    CellSet cells(block222());
    const Voro voro(&cells.calc, &cells.mCCDBundle, &cells.vZeroCCD, TM_FAT);
    u64 members[8];
    members[5] = CellSet::ccdOf(101, 101, 101);
    cells.calc.completeCubeMembers8(members);
    for (int config = 1; config < 256; ++config) {
        std::vector<u64> vMembers;
        for (int i = 7; i >= 0; --i)
            if (config >> i & 1)
                vMembers.push_back(members[i]);
        ASSERT_EQ(voro.getConfig(members[5], vMembers), config);
    }
    const CapturedMessages quiet;
    EXPECT_THROW(voro.getConfig(members[5], {members[5] | u64{1} << 63}), ZanBugException);
}

// ---- extra cells -----------------------------------------------------------------------------------------

TEST(Voro, cells_missing_in_a_cube_are_added_and_those_that_face_the_gap_proposed)
{
    Cells vCells = block222();
    vCells.pop_back(); // the key cell of the cube
    const Extraction seven(vCells);
    std::vector<u64> vExtraCCD, vRemoveCCD;
    seven.voro.createExtraCCDs_borderFix({CellSet::ccdOf(101, 101, 101)}, vExtraCCD, vRemoveCCD);
    EXPECT_EQ(vExtraCCD, std::vector{CellSet::ccdOf(101, 101, 101)});
    EXPECT_EQ(vRemoveCCD, std::vector{CellSet::ccdOf(100, 100, 100)});
    const CapturedMessages captured;
    EXPECT_THROW(seven.voro.createExtraCCDs_borderFix({CellSet::ccdOf(5, 5, 5)}, vExtraCCD, vRemoveCCD),
                 ZanBugException);
    EXPECT_TRUE(captured.has("q_it!=vStaticVCD2CCD.end()"));
}

TEST(Voro, second_extraction_adds_all_missing_cells_and_removes_only_proposed_ones)
{
    // Two layers of a plane with a bite: many cubes with six and seven cells.
    Cells vCells;
    for (int x = 100; x < 110; ++x)
        for (int y = 100; y < 110; ++y)
            for (int z = 100; z < 102; ++z)
                if (z == 100 || x < 105 || y < 105)
                    vCells.push_back({x, y, z});
    Extraction layers(vCells);
    std::vector<u64> vKeys;
    for (const auto& [key, config] : SlowExtraction(layers.cells).mConfig)
        if (std::popcount(unsigned(config)) >= 6)
            vKeys.push_back(key);
    std::vector<u64> vExtraCCD, vRemoveCCD;
    layers.voro.createExtraCCDs_borderFix(vKeys, vExtraCCD, vRemoveCCD);
    ASSERT_FALSE(vExtraCCD.empty() || vRemoveCCD.empty());
    const std::vector<u64> vBefore = layers.voro.getCCD();
    layers.voro.extractWithExtraCCDs(vKeys);

    const std::vector<u64>& vCCD = layers.voro.getCCD();
    EXPECT_TRUE(std::is_sorted(vCCD.begin(), vCCD.end()));
    EXPECT_TRUE(std::includes(vCCD.begin(), vCCD.end(), vExtraCCD.begin(), vExtraCCD.end()));
    std::vector<u64> vGone;
    std::set_difference(vBefore.begin(), vBefore.end(), vCCD.begin(), vCCD.end(), std::back_inserter(vGone));
    EXPECT_TRUE(std::includes(vRemoveCCD.begin(), vRemoveCCD.end(), vGone.begin(), vGone.end()));
}

TEST(Voro, new_cells_in_use_have_bundles_and_old_bundles_keep_their_points)
{
    // A sphere with some cells taken out: the cubes round them are filled up again.
    Cells vCells = sphereShell(8);
    std::erase_if(vCells, [](const std::array<int, 3>& c) { return (7 * c[0] + 3 * c[1] + c[2]) % 29 == 0; });
    Extraction holes(vCells);
    const std::vector<Point3> vBefore = holes.cells.vPoints;
    std::vector<u64> vKeys;
    std::vector<CTriangle*> vCT;
    holes.pMesh->getAliveT(vCT);
    for (const CTriangle* pCT : vCT)
        if (pCT->getCEdge(0)->isBorder() || pCT->getCEdge(1)->isBorder() || pCT->getCEdge(2)->isBorder())
            vKeys.push_back(pCT->getVCD());
    std::sort(vKeys.begin(), vKeys.end());
    vKeys.erase(std::unique(vKeys.begin(), vKeys.end()), vKeys.end());
    ASSERT_FALSE(vKeys.empty());
    for (int round = 0; round < 2; ++round) { // also where a bundle of the first round was loose
        EXPECT_EQ(holes.voro.extractWithExtraCCDs(vKeys), holes.pMesh.get());
        std::vector<u64> vUsed;
        holes.pMesh->getCCDs(vUsed);
        for (const u64 ccd : vUsed)
            EXPECT_TRUE(holes.pMesh->hasBundle(ccd));
        EXPECT_TRUE(holes.pMesh->checkDataStructures("extra"));
        EXPECT_TRUE(std::equal(vBefore.begin(), vBefore.end(), holes.cells.vPoints.begin()));
        for (const Bundle& bundle : holes.cells.vBundles)
            EXPECT_EQ(holes.cells.mCCDBundle.at(bundle.ccd), &bundle);
    }
    EXPECT_GT(holes.voro.getCCD().size(), vCells.size());
}

TEST(Voro, nothing_to_add_leaves_the_surface_as_it_is)
{
    Extraction ball(sphereShell(5));
    const auto before = createdTriangles(*ball.pMesh);
    ball.voro.extractWithExtraCCDs({});
    EXPECT_EQ(createdTriangles(*ball.pMesh), before);
}

TEST(Voro, thin_variant_prunes_only_case_27_at_borders)
{
    const CapturedMessages captured;
    CellSet cells(randomCells(5, 10, 0.4));
    Voro voro(&cells.calc, &cells.mCCDBundle, &cells.vZeroCCD, TM_THIN);
    voro.thinNewExtractTriangles(); // without a named progress root
    const std::unique_ptr<CMesh> pMesh(voro.getCMesh());
    EXPECT_TRUE(captured.has("This is thinNewExtractTriangles"));
    EXPECT_TRUE(captured.has("before pruneCase27()"));
    EXPECT_FALSE(pMesh->getT().empty());
    const u64 a = CellSet::ccdOf(500, 500, 500), b = CellSet::ccdOf(501, 500, 500),
              c = CellSet::ccdOf(500, 501, 500);
    const CTriangle* pDoomed = pMesh->createT(a, b, c, 0, 39);
    const CTriangle* pKept = pMesh->createT(a, b, CellSet::ccdOf(500, 500, 501), 0, -39);
    voro.pruneCase27();
    EXPECT_FALSE(pDoomed->isAlive());
    EXPECT_TRUE(pKept->isAlive());
    pMesh->createT(a, b, c, 0, 256);
    EXPECT_THROW(voro.pruneCase27(), ZanBugException);
}
