#include "Hole.h"

#include "Calc.h"
#include "FoldCutter.h"
#include "Hal.h"
#include "HolePatcher.h"
#include "HoleToCCD.h"
#include "HoleTrend.h"
#include "Holex.h"
#include "Loop.h"
#include "PatchStitcher.h"
#include "PolygonFiller.h"
#include "Top.h"
#include "helpers/captured.h"
#include "helpers/heightField.h"
#include "helpers/inFolder.h"
#include "helpers/smallMeshes.h"
#include "helpers/tempDir.h"
#include "holeRows.h"
#include "patchCrossings.h"
#include "zanAssert.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>

using namespace TESK_ZAN;
using namespace zan_test;

namespace
{

// The one hole of a field, run.
struct RunHole {
    explicit RunHole(HeightField& field) : hole(&field.mesh, field.holes().at(0))
    {
        std::vector<std::pair<u64, Point3>> vCCD2Zero;
        hole.run(vCCD2Zero);
    }

    CapturedMessages messages;
    Hole hole;
};

std::vector<CEdge*> edgesOf(const Chain& chain)
{
    std::vector<CEdge*> vCE;
    chain.getEdges(vCE);
    return vCE;
}

} // namespace

TEST(Hole, aFlatHoleGetsTheCellsOfItsPlaneAndTheMeshStaysAsItIs)
{
    HeightField field = flatWithHole(24, 20, 5.0);
    const size_t numT = numAlive(field.mesh);
    RunHole run(field);
    EXPECT_EQ(numAlive(field.mesh), numT);
    EXPECT_EQ(field.mesh.getOwnBundles().size(), 0u);

    std::set<std::pair<u64, u64>> sColumns;
    for (const auto& [ccd, point] : run.hole.getZeroCells()) {
        u64 x, y, z;
        field.cells.calc.ccdToXYZ(ccd, x, y, z);
        EXPECT_EQ(z, 30u);
        EXPECT_NEAR(point.z(), 30.3, 0.01);
        EXPECT_EQ(field.cells.calc.getCCD(&point), ccd);
        sColumns.insert({x, y});
    }
    for (int x = 20; x < 44; ++x)
        for (int y = 20; y < 44; ++y)
            EXPECT_EQ(sColumns.count({u64(x), u64(y)}), std::hypot(x - 31.5, y - 31.5) < 5.0 ? 1u : 0u)
                << x << ' ' << y;
    for (const char* text : {"Hole::run() does not use vCCD2Zero currently", "numGrowSteps: 10",
                             "vRemoveCandidates start: ", "Doomed ones: ", "vRemoveCandidates final: "})
        EXPECT_TRUE(run.messages.has(text)) << text;
}

TEST(Hole, bothWaysOfGrowingCoverAFlatHoleButForSomeTrianglesAtItsRim)
{
    for (const bool bSheet : {false, true}) {
        HeightField field = flatWithHole(24, 20, 5.0);
        const size_t numHoleCE = edgesOf(*field.holes()[0]).size();
        const size_t numRim = numEdges(field.mesh, 1) - numHoleCE;
        RunHole run(field);
        if (bSheet)
            run.hole.growSheet();
        else
            run.hole.grow();
        EXPECT_EQ(run.messages.has("vHoleCCDs final: "), !bSheet);
        size_t numGapCE = 0; // squares that are half covered by the rim stay so
        for (const Chain* pGap : field.holes()) {
            EXPECT_EQ(edgesOf(*pGap).size(), 3u);
            numGapCE += edgesOf(*pGap).size();
        }
        EXPECT_LT(numGapCE, numHoleCE / 2) << bSheet;
        EXPECT_EQ(numEdges(field.mesh, 1), numRim + numGapCE) << bSheet;
        EXPECT_EQ(numEdges(field.mesh, -1), 0u) << bSheet;
        EXPECT_FALSE(run.hole.getNewT().empty());
        EXPECT_TRUE(field.mesh.checkDataStructures("grown")) << run.messages.text();
    }
}

TEST(Hole, theCellsOfADomeLieOnItsSphereAsFarAsAThirdOfTheRadius)
{
    const Dome dome{64.0, 60.0};
    for (const double radius : {6.0, 20.0}) {
        HeightField field = dome.withHole(72, 28, radius);
        RunHole run(field);
        ASSERT_GT(run.hole.getZeroCells().size(), size_t(3 * radius * radius));
        for (const auto& [ccd, point] : run.hole.getZeroCells())
            EXPECT_LT(std::fabs(dome.distance(point)), radius < 10.0 ? 0.15 : 0.6);
        EXPECT_TRUE(run.hole.checkIntegrity("after run"));
    }
}

TEST(Hole, theBoxStopsAtTheLatticesOriginAndItsAddressesAreGuarded)
{
    HeightField field = flatWithHole(20, 1, 4.0);
    RunHole run(field);
    Hole& hole = run.hole;
    const u64 rcd = xyzToRCD(0, 3, 25);
    const int address = hole.getAddress(rcd);
    EXPECT_EQ(address, hole.getAddress(0, 3, 25 - 23)) << "the low bound of x and y is 0, of z 30 - 7";
    EXPECT_EQ(hole.addressToRCD(address), rcd);
    EXPECT_EQ(hole.getAddressFromVCD(Calc::rcdToCCD(rcd)), address);
    EXPECT_EQ(hole.getAddress(-1, 0, 0), -1);
    EXPECT_EQ(hole.getAddress(xyzToRCD(200, 3, 25)), -1);
    EXPECT_TRUE(run.messages.has(" WRONG RCD: "));
    EXPECT_EQ(hole.getAddressFromVCD(Calc::rcdToCCD(xyzToRCD(3, 200, 25))), -1);
    EXPECT_TRUE(run.messages.has("getAddressFromVCD, bad range, x=3, y=200"));
    EXPECT_THROW(hole.addressToRCD(int(hole.getArraySize())), ZanBugException);
    EXPECT_EQ(hole.getVal(Calc::rcdToCCD(xyzToRCD(200, 3, 25))), Hole::FLT_UNDEF);
    EXPECT_EQ(hole.getNumGrowSteps(), 10) << "the least";
}

TEST(Hole, atTheFarEndOfTheLatticeNothingGoesBeyondIt)
{
    HeightField field = flatWithHole(20, (1 << CellSet::LEVELS) - 20, 7.0); // the box would go on
    RunHole run(field);
    run.hole.grow();
    run.hole.growSheet();
    const u64 end = u64{1} << CellSet::LEVELS;
    for (const auto& [ccd, point] : run.hole.getZeroCells()) {
        u64 x, y, z;
        rcdToXYZ(Calc::ccdToRCD(ccd), x, y, z);
        EXPECT_LT(std::max({x, y, z}) + 1, end);
    }
}

TEST(Hole, aHoleWhoseBoxWouldNotFitInMemoryIsRefused)
{
    // A ring of triangles across most of the lattice, in all three axes.
    std::vector<Point3> vPlaces;
    for (int i = 0; i < 24; ++i) {
        const double angle = 2 * 3.14159265 * (i / 2) / 12.0, radius = i % 2 == 0 ? 300.0 : 480.0;
        vPlaces.emplace_back(500 + radius * std::cos(angle), 500 + radius * std::sin(angle),
                             500 + radius * std::cos(angle + 1));
    }
    CellSet cells(vPlaces);
    CMesh mesh(nullptr, &cells.calc, &cells.mCCDBundle, {});
    std::vector<CEdge*> vInnerCE;
    for (size_t i = 0; i < 24; ++i)
        mesh.createT(cells.vCode[i], cells.vCode[(i + 1) % 24], cells.vCode[(i + 2) % 24], 0, 0);
    for (size_t i = 0; i < 24; i += 2)
        vInnerCE.push_back(mesh.getEdge(cells.vCode[i], cells.vCode[(i + 2) % 24]));
    EdgeMap mmVCD2CE = getEdgeMap(vInnerCE);
    Chain chain(&mesh, mmVCD2CE);
    const CapturedMessages messages;
    Hole hole(&mesh, &chain);
    std::vector<std::pair<u64, Point3>> vCCD2Zero;
    hole.run(vCCD2Zero);
    EXPECT_TRUE(messages.has("too large for a volume"));
    EXPECT_TRUE(hole.getZeroCells().empty());
    hole.grow();
    EXPECT_TRUE(hole.getNewT().empty());
}

TEST(Hole, theFilterMakesNoWeightThatLooksLikeAFlagAndLeavesSeedsAlone)
{
    HeightField field = flatWithHole(24, 20, 5.0);
    const CapturedMessages messages;
    Hole hole(&field.mesh, field.holes().at(0));
    ASSERT_TRUE(hole.setRanges());
    hole.collectFirstRows();
    hole.markSharpT();
    hole.initArray();
    const u64 seed = CellSet::ccdOf(30, 25, 31); // above the sheet beside the hole
    const float before = hole.getVal(seed);
    EXPECT_NEAR(before, 0.7f, 1e-5f);
    EXPECT_NEAR(hole.getVal(CellSet::ccdOf(30, 25, 30)), -0.3f, 1e-5f);
    EXPECT_EQ(hole.getVal(CellSet::ccdOf(32, 32, 31)), Hole::FLT_UNDEF);
    hole.inflate();
    EXPECT_EQ(hole.getVal(seed), before);
    EXPECT_GT(hole.getVal(CellSet::ccdOf(32, 32, 32)), 0.0f);
    EXPECT_LT(hole.getVal(CellSet::ccdOf(32, 32, 29)), 0.0f);
    std::vector<int> vCurAddr, vNextAddr = {1};
    EXPECT_THROW(hole.inflateOneStep(0, vCurAddr, vNextAddr), ZanBugException);
}

TEST(Hole, sortedListsShareAnEntryOrNot)
{
    EXPECT_TRUE(shareAnEntry({1, 5, 9}, {2, 9}));
    EXPECT_FALSE(shareAnEntry({1, 5, 9}, {2, 6, 10}));
    EXPECT_FALSE(shareAnEntry({}, {2}));
}

TEST(Hole, theRowsRoundItMakeASurfaceOfTheirOwn)
{
    const TempDir dir;
    const InFolder inFolder(dir.path());
    const NamedRoot root;
    HeightField field = flatWithHole(24, 20, 5.0);
    RunHole run(field);
    std::vector<Point3> vRowPoints;
    run.hole.getRowPoints(1, vRowPoints);
    EXPECT_GT(vRowPoints.size(), edgesOf(*field.holes()[0]).size());
    EXPECT_TRUE(std::filesystem::is_empty(dir.path())) << "scenes only when asked for";
    EXPECT_GT(reconstructHoleRows(run.hole, 4, "rowMesh.list"), 100u);
    EXPECT_TRUE(std::filesystem::exists("rowMesh.list"));
    run.hole.setWriteScenes(true);
    run.hole.getRowPoints(1, vRowPoints);
    EXPECT_TRUE(std::filesystem::exists("rows.list"));
}

TEST(HoleTrend, aBowlIsContinuedAndAClosedSurfaceIsNone)
{
    const auto height = [](double x, double y) {
        return 1.0 + 0.1 * x - 0.2 * y + 0.05 * x * x + 0.02 * x * y;
    };
    std::vector<Point3> vPlaces, vBall;
    std::vector<Vector3> vNNV, vBallNNV;
    for (int i = 0; i < 40; ++i) {
        const double x = 4 * std::cos(i), y = 3 * std::sin(1.7 * i);
        vPlaces.emplace_back(x, y, height(x, y));
        vNNV.push_back(normalize(Vector3(-0.1 - 0.1 * x - 0.02 * y, 0.2 - 0.02 * x, 1)));
        vBallNNV.push_back(normalize(Vector3(std::cos(i), std::sin(i), std::cos(2.3 * i))));
    }
    std::vector<Point3*> vPoints;
    for (Point3& p : vPlaces)
        vPoints.push_back(&p);
    const HoleTrend trend(vPoints, vNNV);
    ASSERT_TRUE(trend.isValid());
    EXPECT_NEAR(trend.signedDistance({0.3, 0.2, height(0.3, 0.2)}), 0.0, 0.02);
    EXPECT_NEAR(trend.signedDistance({0.3, 0.2, height(0.3, 0.2) + 0.5}), 0.5, 0.05);
    EXPECT_FALSE(HoleTrend(vPoints, vBallNNV).isValid());
    EXPECT_FALSE(HoleTrend({vPoints.begin(), vPoints.begin() + 5}, vNNV).isValid());
    EXPECT_EQ(HoleTrend({}, {}).signedDistance({1, 2, 3}), 0.0);
}

TEST(PatchStitcher, ofTrianglesThatLieAcrossEachOtherOneSheetIsChosen)
{
    // A strip round a square hole, and in the hole both diagonals and a triangle that stands up.
    CodeMesh drawing({{{0, 0, 0},
                       {3, 0, 0},
                       {3, 3, 0},
                       {0, 3, 0},
                       {1, 1, 0},
                       {2, 1, 0},
                       {2, 2, 0},
                       {1, 2, 0},
                       {1.5, 1.5, 2}},
                      {0, 1, 5, 0, 5, 4, 1, 2, 6, 1, 6, 5, 2, 3, 7, 2, 7, 6, 3, 0, 4, 3, 4, 7}});
    std::vector<CTriangle*> vCandidateT = {drawing.add(8, 4, 5), drawing.add(4, 6, 7), drawing.add(6, 5, 4),
                                           drawing.add(5, 6, 7), drawing.add(5, 7, 4)};
    const std::vector<CEdge*> vRimCE = {drawing.edge(4, 5), drawing.edge(5, 6), drawing.edge(6, 7),
                                        drawing.edge(7, 4)};
    std::vector<std::vector<CEdge*>> vOpenLoops;
    EXPECT_EQ(PatchStitcher(&drawing.mesh, vRimCE, vCandidateT).run(vOpenLoops), 2u);
    EXPECT_TRUE(vOpenLoops.empty());
    EXPECT_EQ(numEdges(drawing.mesh, -1), 0u);
    EXPECT_EQ(numEdges(drawing.mesh, 1), 4u);
    EXPECT_EQ(countMisoriented(drawing.mesh), 0);
}

TEST(PatchStitcher, whatIsNotCoveredComesBackAsALoop)
{
    CodeMesh drawing(
        {{{0, 0, 0}, {3, 0, 0}, {3, 3, 0}, {0, 3, 0}, {1, 1, 0}, {2, 1, 0}, {2, 2, 0}, {1, 2, 0}},
         {0, 1, 5, 0, 5, 4, 1, 2, 6, 1, 6, 5, 2, 3, 7, 2, 7, 6, 3, 0, 4, 3, 4, 7}});
    const std::vector<CTriangle*> vCandidateT = {drawing.add(5, 4, 6)};
    const std::vector<CEdge*> vRimCE = {drawing.edge(4, 5), drawing.edge(5, 6), drawing.edge(6, 7),
                                        drawing.edge(7, 4)};
    std::vector<std::vector<CEdge*>> vOpenLoops;
    EXPECT_EQ(PatchStitcher(&drawing.mesh, vRimCE, vCandidateT).run(vOpenLoops), 1u);
    ASSERT_EQ(vOpenLoops.size(), 1u);
    EXPECT_EQ(vOpenLoops[0].size(), 3u);
    EXPECT_TRUE(PolygonFiller(&drawing.mesh, vOpenLoops[0]).run());
    EXPECT_EQ(numEdges(drawing.mesh, 1), 4u);
    EXPECT_EQ(countMisoriented(drawing.mesh), 0);
}

TEST(PolygonFiller, takesTheDiagonalThatBendsLessAndNoneThatIsThere)
{
    // Four walls of a pyramid without its tip: the rim is a square whose corners 4 and 6 are lower.
    const auto walls = [](double low) {
        return IndexedMesh{{{0, 0, 0},
                            {9, 0, 0},
                            {9, 9, 0},
                            {0, 9, 0},
                            {3, 3, 2 - low},
                            {6, 3, 2},
                            {6, 6, 2 - low},
                            {3, 6, 2}},
                           {0, 1, 5, 0, 5, 4, 1, 2, 6, 1, 6, 5, 2, 3, 7, 2, 7, 6, 3, 0, 4, 3, 4, 7}};
    };
    for (const bool bTaken : {false, true}) {
        CodeMesh drawing(walls(1.0));
        const std::vector<CEdge*> vLoopCE = {drawing.edge(4, 5), drawing.edge(5, 6), drawing.edge(6, 7),
                                             drawing.edge(7, 4)};
        if (bTaken)
            drawing.add(5, 7, 0); // elsewhere in the mesh
        EXPECT_TRUE(PolygonFiller(&drawing.mesh, vLoopCE).run());
        EXPECT_EQ(drawing.edge(5, 7) != nullptr && drawing.edge(5, 7)->getDegree() == 2, !bTaken);
        EXPECT_EQ(drawing.edge(4, 6) != nullptr, bTaken);
        EXPECT_EQ(countMisoriented(drawing.mesh), 0);
        EXPECT_FALSE(PolygonFiller(&drawing.mesh, vLoopCE).run()) << "no border any more";
    }
}

TEST(FoldCutter, aVertexPulledOverItsNeighboursLosesItsTrianglesAndAFoldAtABorderStays)
{
    constexpr int N = 8;
    const auto field = [](int pulled) { // a square of N x N vertices, one of them two columns too far
        IndexedMesh mesh;
        for (int i = 0; i < N * N; ++i)
            mesh.vPoints.emplace_back(i % N + (i == pulled ? 2.4 : 0.0), i / N + (i == pulled ? 0.3 : 0.0),
                                      0);
        for (int i = 0; i < N * N - N; ++i)
            if (i % N != N - 1)
                mesh.vTriangles.insert(mesh.vTriangles.end(), {i, i + 1, i + N, i + 1, i + N + 1, i + N});
        return mesh;
    };
    for (const bool bAtBorder : {false, true}) {
        CodeMesh drawing(field(bAtBorder ? 3 * N : 3 * N + 3));
        const size_t numFolds = countFolds(drawing.mesh, drawing.vCT), numBorder = numEdges(drawing.mesh, 1);
        ASSERT_GT(numFolds, 0u);
        FoldCutter cutter(&drawing.mesh);
        cutter.run(drawing.vCT);
        std::vector<CTriangle*> vLeftT;
        drawing.mesh.getAliveT(vLeftT);
        EXPECT_EQ(countFolds(drawing.mesh, vLeftT), bAtBorder ? numFolds : 0u);
        EXPECT_EQ(cutter.getGoneT().empty(), bAtBorder);
        EXPECT_EQ(numEdges(drawing.mesh, 1), numBorder);
        EXPECT_EQ(numEdges(drawing.mesh, -1), 0u);
        EXPECT_EQ(countMisoriented(drawing.mesh), 0);
    }
}

TEST(HolePatcher, closesAFlatAndADomedHoleByEitherWayAndNothingElseChanges)
{
    const Dome dome{64.0, 60.0};
    for (const bool bVolume : {false, true}) {
        HeightField field = dome.withHole(40, 44, 9.0);
        std::vector<CTriangle*> vOldT;
        field.mesh.getAliveT(vOldT);
        Chain* pChain = field.holes().at(0);
        const size_t numRim = numEdges(field.mesh, 1) - edgesOf(*pChain).size();
        HolePatcher patcher(&field.mesh, pChain);
        EXPECT_TRUE(bVolume ? patcher.closeByVolume() : patcher.closeByEars());
        EXPECT_EQ(patcher.getNumFolds(), 0u);
        EXPECT_EQ(numEdges(field.mesh, 1), numRim);
        EXPECT_EQ(numEdges(field.mesh, -1), 0u);
        EXPECT_EQ(countMisoriented(field.mesh), 0);
        EXPECT_EQ(numAlive(field.mesh), vOldT.size() + patcher.getNewT().size());
        EXPECT_TRUE(
            std::all_of(vOldT.begin(), vOldT.end(), [](const CTriangle* pCT) { return pCT->isAlive(); }));
        for (const Bundle* pBundle : field.mesh.getOwnBundles())
            EXPECT_LT(std::fabs(dome.distance(*pBundle->pVtx)), 0.3);
        EXPECT_EQ(field.mesh.getOwnBundles().empty(), !bVolume);
    }
}

TEST(HolePatcher, aHoleWhereNothingFitsLeavesTheMeshAsItWas)
{
    // A triangle whose two faces are one: the hole's only triangle is there already.
    CodeMesh drawing({{{0, 0, 0}, {4, 0, 0}, {0, 4, 0}}, {0, 1, 2}});
    EdgeMap mmVCD2CE = getEdgeMap({drawing.edge(0, 1), drawing.edge(1, 2), drawing.edge(2, 0)});
    Chain chain(&drawing.mesh, mmVCD2CE);
    const CapturedMessages messages;
    HolePatcher patcher(&drawing.mesh, &chain);
    EXPECT_FALSE(patcher.closeByEars());
    EXPECT_FALSE(patcher.closeByVolume());
    EXPECT_EQ(numAlive(drawing.mesh), 1u);
    EXPECT_EQ(numEdges(drawing.mesh, 1), 3u);
}

TEST(HolePatcher, aPatchThatRunsThroughOtherPartsOfTheMeshIsNone)
{
    for (const bool bWall : {false, true}) { // a strip round a square hole; a sheet that stands in it
        CodeMesh drawing({{{0, 0, 3},
                           {4, 0, 3},
                           {4, 4, 3},
                           {0, 4, 3},
                           {1, 1, 3},
                           {3, 1, 3},
                           {3, 3, 3},
                           {1, 3, 3},
                           {2.4, 1.3, 0},
                           {2.4, 1.3, 6},
                           {1.6, 2.8, 0},
                           {1.6, 2.8, 6}},
                          {0, 1, 5, 0, 5, 4, 1, 2, 6, 1, 6, 5, 2, 3, 7, 2, 7, 6, 3, 0, 4, 3, 4, 7}});
        std::vector<CTriangle*> vWallT;
        if (bWall)
            vWallT = {drawing.add(8, 9, 10), drawing.add(10, 9, 11)};
        EdgeMap mmVCD2CE =
            getEdgeMap({drawing.edge(4, 5), drawing.edge(5, 6), drawing.edge(6, 7), drawing.edge(7, 4)});
        Chain chain(&drawing.mesh, mmVCD2CE);
        HolePatcher patcher(&drawing.mesh, &chain);
        EXPECT_EQ(patcher.closeByEars(), !bWall);
        EXPECT_EQ(numAlive(drawing.mesh), 10u);
        EXPECT_EQ(countCrossed(drawing.mesh, vWallT), 0u);
        if (bWall) {
            drawing.add(4, 5, 7);
            drawing.add(5, 6, 7);
            EXPECT_EQ(countCrossed(drawing.mesh, vWallT), 2u);
            EXPECT_EQ(countCrossed(drawing.mesh, {drawing.vCT[0]}), 0u) << "a neighbour";
        }
    }
}

TEST(HoleToCCD, closesHolesLikeTheirNeighboursAndLeavesOuterRims)
{
    HeightField field = flatWithHole(16, 20, 3.0);
    const size_t numRim = numEdges(field.mesh, 1) - edgesOf(*field.holes().at(0)).size();
    HoleToCCD closer(&field.mesh, &field.cells.calc);
    std::vector<Point3*> vCorners;
    EXPECT_TRUE(closer.run(vCorners));
    EXPECT_EQ(vCorners.size(), 3 * closer.getOwnT().size());
    EXPECT_EQ(numEdges(field.mesh, 1), numRim);
    EXPECT_EQ(countMisoriented(field.mesh), 0);
    vCorners.clear();
    EXPECT_FALSE(closer.run(vCorners)) << "the outer rim is all that is left";
    EXPECT_TRUE(vCorners.empty());

    CodeMesh turned(octahedron()); // oriented inward
    for (CTriangle* pCT : turned.vCT)
        pCT->flipOrientation();
    turned.vCT[0]->kill(&turned.mesh);
    EXPECT_TRUE(HoleToCCD(&turned.mesh, &turned.cells.calc).run(vCorners));
    EXPECT_EQ(numEdges(turned.mesh, 1), 0u);
    EXPECT_EQ(countMisoriented(turned.mesh), 0);
}

TEST(HoleToCCD, aTwistedStripIsUntiedFirst)
{
    CodeMesh drawing(moebiusStrip());
    const CapturedMessages messages;
    HoleToCCD closer(&drawing.mesh, &drawing.cells.calc);
    std::vector<Point3*> vCorners;
    closer.run(vCorners);
    EXPECT_EQ(numEdges(drawing.mesh, -1), 0u);
    EXPECT_TRUE(drawing.mesh.checkDataStructures("after")) << messages.text();
}

TEST(Holex, runsEachHoleLeavesTheMeshAloneAndWritesScenesOnlyWhenAsked)
{
    const TempDir dir;
    const InFolder inFolder(dir.path());
    CapturedMessages messages;
    HeightField field = flatWithHole(24, 20, 4.0);
    const size_t numT = numAlive(field.mesh);
    std::vector<Point3> vPixels;
    Top(&field.mesh, &field.cells.calc).fillHoles(nullptr);
    EXPECT_TRUE(messages.has("Top::fillHoles() calls Holex - experimental"));
    EXPECT_TRUE(messages.has("Still need to fill the pixels vector"));
    EXPECT_TRUE(messages.has("Number of Hole objects: 1"));
    EXPECT_TRUE(std::filesystem::is_empty(dir.path()));

    Holex holex(&field.mesh, &field.cells.calc);
    holex.setWriteScenes(true);
    EXPECT_TRUE(holex.run(vPixels));
    EXPECT_TRUE(vPixels.empty());
    EXPECT_EQ(numAlive(field.mesh), numT);
    ASSERT_EQ(holex.getHoles().size(), 1u);
    for (const char* name : {"holex_deg.list", "holex_endR.list", "holex_endC.list"})
        EXPECT_TRUE(std::filesystem::exists(name)) << name;
    EXPECT_TRUE(holex.fill(field.holes().at(0)));

    field.cells.vPoints[0].set(1, 1, 1); // outside of its cell
    EXPECT_THROW(Holex(&field.mesh, &field.cells.calc), ZanBugException);
}
