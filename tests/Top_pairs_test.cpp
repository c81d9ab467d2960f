#include "CPatch.h"
#include "Top.h"

#include "helpers/captured.h"
#include "helpers/codeMesh.h"
#include "helpers/smallMeshes.h"
#include "random.h"
#include "zan_export.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

using namespace TESK_ZAN;
using namespace zan_test;

namespace
{

struct TopOf {
    explicit TopOf(const IndexedMesh& drawing) : m(drawing), top(&m.mesh, &m.cells.calc) {}

    int countAlive(size_t first, size_t last) const
    {
        return int(std::count_if(m.vCT.begin() + std::ptrdiff_t(first), m.vCT.begin() + std::ptrdiff_t(last),
                                 [](const CTriangle* pCT) { return pCT->isAlive(); }));
    }
    int countAlive() const { return countAlive(0, m.vCT.size()); }

    std::vector<CPatch*> patches()
    {
        std::vector<CPatch*> vPatches;
        m.mesh.createPatches(nullptr, vPatches);
        for (CPatch* pPatch : vPatches)
            pPatch->setOuterBoundary();
        return vPatches;
    }

    NamedRoot root;
    CodeMesh m;
    Top top;
};

void deleteAll(std::vector<CPatch*>& vPatches)
{
    for (const CPatch* pPatch : vPatches)
        delete pPatch;
    vPatches.clear();
}

} // namespace

// ---- pairs -----------------------------------------------------------------------------------------------

TEST(Top_pairs, SecondOfEqualSheetsGoesAndTheNextRoundIsIdle)
{
    TopOf t(pocket(8, 1, -1, 8));
    EXPECT_TRUE(t.top.solvePatchPairsRound(true));
    EXPECT_EQ(t.countAlive(0, 8), 8);
    EXPECT_EQ(t.countAlive(8, 16), 0);
    EXPECT_EQ(t.countAlive(16, 24), 8);
    EXPECT_FALSE(t.top.solvePatchPairsRound(true)); // one patch of all that is left
    EXPECT_TRUE(t.m.mesh.checkDataStructures("after"));
}

TEST(Top_pairs, SheetWithFewerTrianglesGoes)
{
    IndexedMesh drawing = pocket(8, 1, -1, 8);
    splitInThree(drawing, 9); // of the lower sheet
    TopOf t(drawing);
    EXPECT_TRUE(t.top.solvePatchPairsRound(true));
    EXPECT_EQ(t.countAlive(0, 8), 0);
    EXPECT_EQ(t.countAlive(8, 16), 8);
}

TEST(Top_pairs, OfThreeSheetsOnOneRimTheFirstTwoAreAPair)
{
    IndexedMesh drawing = pocket(8, 1, -1, 8);
    const int apex = int(drawing.vPoints.size());
    drawing.vPoints.emplace_back(0, 0, 2);
    for (int i = 0; i < 8; ++i)
        drawing.vTriangles.insert(drawing.vTriangles.end(), {i, (i + 1) % 8, apex});
    TopOf t(drawing);
    EXPECT_TRUE(t.top.solvePatchPairsRound(true));
    EXPECT_EQ(t.countAlive(0, 8), 8);
    EXPECT_EQ(t.countAlive(8, 16), 0);
    EXPECT_EQ(t.countAlive(24, 32), 8);
    EXPECT_TRUE(t.top.solvePatchPairsRound(true)); // which lets the next round see the third
    EXPECT_EQ(t.countAlive(0, 8), 8);
    EXPECT_EQ(t.countAlive(24, 32), 0);
}

TEST(Top_pairs, LargeSheetsStayUnlessTheirShareOfTheMeshIsSmall)
{
    TopOf twenty(pocket(20, 1, -1, 20));
    EXPECT_TRUE(twenty.top.solvePatchPairsRound(true));

    IndexedMesh drawing = pocket(20, 1, -1, 20);
    splitInThree(drawing, 0);
    TopOf more(drawing);
    EXPECT_FALSE(more.top.solvePatchPairsRound(true));
    EXPECT_EQ(more.countAlive(), int(more.m.vCT.size()));

    const int first = int(drawing.vPoints.size());
    drawing.vPoints.insert(drawing.vPoints.end(), {{50, 0, 0}, {60, 0, 0}, {50, 20, 0}});
    drawing.vTriangles.insert(drawing.vTriangles.end(), {first, first + 1, first + 2});
    TopOf tenth(drawing);
    EXPECT_TRUE(tenth.top.solvePatchPairsRound(true));
    EXPECT_EQ(tenth.countAlive(20, 40), 0);
}

// Two bubbles side by side: the wall between them has no partner, and the pairs of the other sheets are not
// seen while it stands.
TEST(Top_pairs, WallInsideABubbleGoesAndNothingElse)
{
    IndexedMesh drawing = pocket(20, 1, -1, 0);
    drawing.vPoints.emplace_back(0, 0, 0);
    for (int i = 0; i < 20; ++i)
        drawing.vTriangles.insert(drawing.vTriangles.end(), {i, (i + 1) % 20, 22});
    splitInThree(drawing, 0); // more than 20 triangles, so that the others are no membranes themselves
    splitInThree(drawing, 20);
    TopOf t(drawing);
    EXPECT_TRUE(t.top.killMembranes());
    EXPECT_EQ(t.countAlive(40, 60), 0);
    EXPECT_EQ(t.countAlive(), 44);
    EXPECT_FALSE(t.top.killMembranes());
    EXPECT_TRUE(t.m.mesh.checkDataStructures("after"));
}

TEST(Top_pairs, FinsAndSheetsWithABorderAreNoMembranes)
{
    TopOf fins(pocket(30, 1, -1, 30)); // large sheets, fins with two border edges
    EXPECT_FALSE(fins.top.killMembranes());
    EXPECT_EQ(fins.countAlive(), 90);
    TopOf closed(octahedron());
    EXPECT_FALSE(closed.top.killMembranes());
}

// ---- closed patches --------------------------------------------------------------------------------------

TEST(Top_pairs, IsolatedSpeckGoesWithoutCounting)
{
    TopOf speck(pocket(3, 1, -1, 0)); // 6 triangles
    EXPECT_FALSE(speck.top.solvePatchPairsRound(false));
    EXPECT_EQ(speck.countAlive(), 0);
    TopOf body(pocket(4, 1, -1, 0)); // 8 triangles, without a fold
    EXPECT_FALSE(body.top.solvePatchPairsRound(false));
    EXPECT_EQ(body.countAlive(), 8);
}

TEST(Top_pairs, PocketOnASurfaceLosesOneSideAndRoundsEnd)
{
    TopOf t(pocket(8, 0.1, -0.1, 1));
    EXPECT_FALSE(t.top.solvePatchPairsRound(true)); // the fin hangs on both sides
    EXPECT_EQ(t.countAlive(), 17);
    EXPECT_TRUE(t.top.solvePatchPairsRound(false));
    EXPECT_EQ(t.countAlive(0, 8), 8);
    EXPECT_EQ(t.countAlive(8, 16), 0);
    EXPECT_FALSE(t.top.solvePatchPairsRound(false));
}

TEST(Top_pairs, ThickBodyStays)
{
    TopOf t(pocket(60, 0.5, -0.5, 1));
    EXPECT_FALSE(t.top.solvePatchPairsRound(false));
    EXPECT_EQ(t.countAlive(), 121);
}

TEST(Top_pairs, RoundsEndOnTanglesAndKeepTheMeshSound)
{
    CapturedMessages captured;
    Random random(5);
    for (int round = 0; round < 20; ++round) {
        IndexedMesh drawing = pocket(4 + round, 0.3, -0.2, round % 5);
        for (int i = 0; i < 3 * round; ++i) {
            const int n = int(drawing.vPoints.size());
            const int a = int(random.below(std::uint32_t(n))), b = int(random.below(std::uint32_t(n))),
                      c = int(random.below(std::uint32_t(n)));
            if (a != b && b != c && a != c)
                drawing.vTriangles.insert(drawing.vTriangles.end(), {a, b, c});
        }
        TopOf t(drawing);
        t.m.mesh.killDuplicateTriangles();
        for (int before = t.countAlive(); t.top.solvePatchPairsRound(round % 2 == 0); before = t.countAlive())
            ASSERT_LT(t.countAlive(), before);
        ASSERT_TRUE(t.m.mesh.checkDataStructures("after")) << round;
    }
}

// ---- orientation -----------------------------------------------------------------------------------------

TEST(Top_pairs, CreatePatchesOrientMakesEachPatchConsistent)
{
    TopOf t(pocket(12, 1, -1, 0));
    Random random(1);
    for (CTriangle* pCT : t.m.vCT)
        if (random.below(2) == 0)
            pCT->flipOrientation();
    ASSERT_GT(countMisoriented(t.m.mesh), 0);
    std::vector<CPatch*> vPatches;
    t.top.createPatchesOrient(t.m.vCT, vPatches);
    EXPECT_EQ(countMisoriented(t.m.mesh), 0);
    ASSERT_EQ(vPatches.size(), 1u);
    EXPECT_EQ(vPatches[0]->getSize(), 24u);
    CapturedMessages captured;
    EXPECT_THROW(t.top.createPatchesOrient(t.m.vCT, vPatches), ZanBugException);
    deleteAll(vPatches);
    EXPECT_EQ(t.m.vCT[0]->getPatch(), nullptr);
}

// The neighbours of the first triangle of a one-sided band meet it again from the other side.
TEST(Top_pairs, SeedOfAOneSidedBandIsNeitherTurnedNorListedTwice)
{
    TopOf t(moebiusStrip());
    const u64 c1 = t.m.vCT[0]->getC1();
    std::vector<CPatch*> vPatches;
    t.top.createPatchesOrient(t.m.vCT, vPatches);
    ASSERT_EQ(vPatches.size(), 1u);
    EXPECT_EQ(vPatches[0]->getSize(), 5u);
    EXPECT_EQ(t.m.vCT[0]->getC1(), c1);
    EXPECT_EQ(countMisoriented(t.m.mesh), 1);
    deleteAll(vPatches);
}

TEST(Top_pairs, StrategyMSTOrientsAndFencesWhatCannotBe)
{
    CapturedMessages captured;
    TopOf t(pocket(12, 1, -1, 0));
    Random random(2);
    for (CTriangle* pCT : t.m.vCT)
        if (random.below(2) == 0)
            pCT->flipOrientation();
    std::set<CEdge*> sFences;
    t.top.strategyMST(sFences);
    EXPECT_EQ(countMisoriented(t.m.mesh), 0);
    EXPECT_TRUE(sFences.empty());
    EXPECT_TRUE(captured.has("This is strategyMST"));
    EXPECT_TRUE(captured.has("Fences: 0"));
    EXPECT_EQ(t.m.vCT[0]->getPatch(), nullptr);

    TopOf band(moebiusStrip());
    band.top.strategyMST(sFences);
    EXPECT_EQ(int(sFences.size()), countMisoriented(band.m.mesh));
    EXPECT_EQ(sFences.size(), 1u);
}

TEST(Top_pairs, EnqueueNeedsATriangleInAPatch)
{
    CapturedMessages captured;
    TopOf t(tetrahedron());
    EXPECT_THROW(t.top.enqueue(t.m.vCT[0], 0), ZanBugException);
    EXPECT_TRUE(captured.has("pCT->getPatch()!=0"));
}
