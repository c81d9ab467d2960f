#include "manifoldRepair.h"

#include "Progress.h"
#include "helpers/realMesh.h"
#include "helpers/smallMeshes.h"
#include "random.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>

using namespace TESK_ZAN;
using zan_test::brokenInvariant;
using zan_test::checkMesh;
using zan_test::IndexedMesh;
using zan_test::MeshReport;
using zan_test::RealMesh;
using zan_test::toIndexed;

namespace
{

// A flat grid of n by n squares with its lower left corner at (x, y, 0); one diagonal each. Vertex (i, j) has
// the index i * (n + 1) + j.
IndexedMesh grid(int n)
{
    IndexedMesh mesh;
    for (int i = 0; i <= n; ++i)
        for (int j = 0; j <= n; ++j)
            mesh.vPoints.emplace_back(i, j, 0);
    for (int i = 0; i < n; ++i)
        for (int j = 0; j < n; ++j) {
            const int a = i * (n + 1) + j;
            const int b = a + n + 1;
            mesh.vTriangles.insert(mesh.vTriangles.end(), {a, b, a + 1, a + 1, b, b + 1});
        }
    return mesh;
}

// Appends a triangle with a third corner at a new point.
void addApex(IndexedMesh& mesh, int i0, int i1, const Point3& apex)
{
    mesh.vTriangles.insert(mesh.vTriangles.end(), {i0, i1, int(mesh.vPoints.size())});
    mesh.vPoints.push_back(apex);
}

// Appends a grid that stands on the line j = row of the one that the mesh starts with.
void addWall(IndexedMesh& mesh, int n, int row)
{
    const auto at = [&](int i, int k) {
        return k == 0 ? i * (n + 1) + row : (n + 1) * (n + 1) + (k - 1) * (n + 1) + i;
    };
    for (int k = 1; k <= n; ++k)
        for (int i = 0; i <= n; ++i)
            mesh.vPoints.emplace_back(i, row, k);
    for (int k = 0; k < n; ++k)
        for (int i = 0; i < n; ++i)
            mesh.vTriangles.insert(mesh.vTriangles.end(), {at(i, k), at(i + 1, k), at(i, k + 1), at(i + 1, k),
                                                           at(i + 1, k + 1), at(i, k + 1)});
}

// Two octahedra with the edge (0, 2) in common; the second one lies opposite to the first.
IndexedMesh twoOctahedraOnAnEdge()
{
    IndexedMesh mesh = zan_test::octahedron();
    const int aOther[6] = {0, 6, 2, 7, 8, 9};
    for (const Point3& p : {Point3(1, 2, 0), Point3(2, 1, 0), Point3(1, 1, 1), Point3(1, 1, -1)})
        mesh.vPoints.push_back(p);
    const IndexedMesh one = zan_test::octahedron();
    for (const int index : one.vTriangles)
        mesh.vTriangles.push_back(aOther[index]);
    return mesh;
}

MeshReport reportOf(const RealMesh& mesh)
{
    return checkMesh(toIndexed(*mesh.pMesh));
}

// What every mesh has to be after the repair.
void expectRepaired(const RealMesh& mesh)
{
    const MeshReport report = reportOf(mesh);
    EXPECT_TRUE(report.isManifold() && report.isOriented()) << toText(report);
    EXPECT_EQ(report.numDuplicates, 0u);
    EXPECT_EQ(brokenInvariant(*mesh.pMesh), "");
}

// Positions of all corners, in order.
std::vector<Point3> cornersOf(const RealMesh& mesh)
{
    std::vector<Point3> vPoints;
    mesh->getCornerPoints(vPoints);
    return vPoints;
}

// numT random triangles on few vertices, with twins, hubs, and edges of any degree.
IndexedMesh randomSoup(u64 seed, std::uint32_t numVtx, int numT)
{
    Random random(seed);
    IndexedMesh mesh;
    for (std::uint32_t i = 0; i < numVtx; ++i) {
        const double x = random.uniform();
        const double y = random.uniform();
        mesh.vPoints.emplace_back(x, y, random.uniform());
    }
    while (int(mesh.numT()) < numT) {
        const int a = int(random.below(numVtx));
        const int b = int(random.below(numVtx));
        const int c = int(random.below(numVtx));
        if (a != b && b != c && c != a)
            mesh.vTriangles.insert(mesh.vTriangles.end(), {a, b, c});
    }
    return mesh;
}

// Patches are found in a phase, which needs a named root.
struct ManifoldRepair : testing::Test {
    ManifoldRepair() { getRootProgress()->setName("test"); }
    ~ManifoldRepair() override { getRootProgress()->clear(); }
};

} // namespace

TEST_F(ManifoldRepair, MeshWithoutDefectStaysAsItIs)
{
    for (const IndexedMesh& indexed :
         {IndexedMesh{}, zan_test::octahedron(), zan_test::openBox(), zan_test::strip(5), grid(4)}) {
        RealMesh mesh(indexed);
        const auto before = zan_test::triangleNumbers(*mesh.pMesh);
        const RepairReport report = repairNonManifold(*mesh.pMesh);
        EXPECT_TRUE(report.isUntouched());
        EXPECT_EQ(report.numRounds, 0u);
        EXPECT_EQ(zan_test::triangleNumbers(*mesh.pMesh), before);
        EXPECT_EQ(mesh->getAllT().size(), indexed.numT()); // nothing was made and killed again
    }
}

TEST_F(ManifoldRepair, FinIsRemovedAndTheSheetBelowStaysWhole)
{
    IndexedMesh fin = zan_test::octahedron();
    addApex(fin, 0, 4, {1.5, 0.2, 1.5});
    addApex(fin, 0, 8 - 2, {2, 0, 1}); // goes on from the first one
    RealMesh mesh(fin);
    const RepairReport report = repairNonManifold(*mesh.pMesh);
    EXPECT_EQ(report.numOverfullRE, 1u);
    EXPECT_EQ(report.numRemovedT, 2u);
    EXPECT_EQ(report.numCopiedVtx, 0u);
    EXPECT_EQ(zan_test::triangleNumbers(*mesh.pMesh),
              zan_test::triangleNumbers(*RealMesh(zan_test::octahedron()).pMesh));
}

TEST_F(ManifoldRepair, RougherSkinOfAPocketGoesWhicheverWasFirstAndNoHoleIsLeft)
{
    for (const double height : {0.3, -0.3}) {
        std::vector<double> vAreas;
        for (const bool bSecondFirst : {false, true}) {
            IndexedMesh pocket = grid(4);
            const int a = 6; // of the square that gets both diagonals
            pocket.vPoints[size_t(a)] = Point3(1, 1, height);
            const std::vector<int> vSecondSkin = {a, a + 5, a + 6, a, a + 6, a + 1};
            pocket.vTriangles.insert(bSecondFirst ? pocket.vTriangles.begin() : pocket.vTriangles.end(),
                                     vSecondSkin.begin(), vSecondSkin.end());
            RealMesh mesh(pocket);
            const RepairReport report = repairNonManifold(*mesh.pMesh);
            EXPECT_EQ(report.numOverfullRE, 4u);
            EXPECT_EQ(report.numRemovedT, 2u);
            expectRepaired(mesh);
            EXPECT_EQ(reportOf(mesh).numEdges(1), 16u);
            EXPECT_EQ(reportOf(mesh).euler, 1);
            vAreas.push_back(zan_test::meshArea(toIndexed(*mesh.pMesh)));
        }
        EXPECT_NEAR(vAreas[0], vAreas[1], 1e-12);
    }
}

TEST_F(ManifoldRepair, ClosedSurfacesThatTouchInAnEdgeArePartedWithoutLoss)
{
    for (const bool bTurned : {false, true}) {
        IndexedMesh indexed = twoOctahedraOnAnEdge();
        if (bTurned)
            for (size_t i = 24; i < 48; i += 3)
                std::swap(indexed.vTriangles[i], indexed.vTriangles[i + 1]);
        for (Point3& p : indexed.vPoints)
            p.setColor(10, 20, 30, 255);
        RealMesh mesh(indexed);
        const RepairReport report = repairNonManifold(*mesh.pMesh);
        EXPECT_EQ(report.numRemovedT, 0u);
        EXPECT_EQ(report.numCopiedVtx, 2u);
        EXPECT_EQ(report.numSplitRE, 0u);
        expectRepaired(mesh);
        EXPECT_TRUE(reportOf(mesh).isClosedManifold());
        EXPECT_EQ(reportOf(mesh).numComponents, 2u);
    }
}

TEST_F(ManifoldRepair, CopyStandsOneStepBesideWithTheColourAndNothingElseMoves)
{
    IndexedMesh indexed = zan_test::twoTetrahedraOnAVertex();
    for (Point3& p : indexed.vPoints) {
        p.set(p + Vector3(1e6, 0, 0));
        p.setColor(10, 20, 30, 255);
    }
    RealMesh mesh(indexed);
    const RepairReport report = repairNonManifold(*mesh.pMesh);
    EXPECT_EQ(report.numBadVtx, 1u);
    EXPECT_EQ(report.numCopiedVtx, 1u);
    EXPECT_EQ(report.numRemovedT, 0u);
    expectRepaired(mesh);
    EXPECT_EQ(reportOf(mesh).numComponents, 2u);
    EXPECT_EQ(reportOf(mesh).euler, 4);

    const IndexedMesh after = toIndexed(*mesh.pMesh);
    ASSERT_EQ(after.vPoints.size(), indexed.vPoints.size() + 1);
    for (size_t i = 0; i < indexed.vPoints.size(); ++i)
        EXPECT_EQ(after.vPoints[i], indexed.vPoints[i]);
    const Point3& copy = after.vPoints.back();
    EXPECT_EQ(copy.x(), std::nextafter(1e6, 2e6));
    EXPECT_EQ(copy.getColorString(), indexed.vPoints[0].getColorString());
    EXPECT_TRUE(mesh->hasVtx(copy));
}

TEST_F(ManifoldRepair, WallOnAFloorIsPartedFromItAndTheFloorKeepsNoSlit)
{
    const int n = 6;
    IndexedMesh indexed = grid(n);
    const size_t numFloorT = indexed.numT();
    addWall(indexed, n, 3);
    RealMesh mesh(indexed);
    const RepairReport report = repairNonManifold(*mesh.pMesh);
    EXPECT_EQ(report.numOverfullRE, size_t(n));
    EXPECT_EQ(report.numRemovedT, 0u);
    expectRepaired(mesh);
    EXPECT_EQ(mesh->getNumT(), 2 * numFloorT);
    EXPECT_EQ(reportOf(mesh).numComponents, 2u);
    EXPECT_EQ(reportOf(mesh).numEdges(1), size_t(8 * n));
    for (const REdge* pRE : mesh->getAllRE()) { // the wall is not joined to half of the floor
        RTriangle* pT0 = nullptr;
        RTriangle* pT1 = nullptr;
        bool bOK = false;
        if (!pRE->getAdjT(pT0, pT1, true))
            continue;
        EXPECT_NEAR(pT0->getNNV(bOK) * pT1->getNNV(bOK), 1.0, 1e-12);
    }
}

TEST_F(ManifoldRepair, LargestFanKeepsTheVertex)
{
    const IndexedMesh small = zan_test::tetrahedron(); // comes first
    IndexedMesh indexed = small;
    for (const int index : zan_test::octahedron().vTriangles) // vertex 0 is the tetrahedron's vertex 1
        indexed.vTriangles.push_back(index == 0 ? 1 : index + 3);
    for (size_t i = 1; i < 6; ++i)
        indexed.vPoints.push_back(zan_test::octahedron().vPoints[i] + Vector3(0, 0, 0.5));
    RealMesh mesh(indexed);
    EXPECT_EQ(repairNonManifold(*mesh.pMesh).numCopiedVtx, 1u);
    std::vector<RTriangle*> vIncT;
    mesh->getIncidentT(mesh.vtx(1), vIncT);
    EXPECT_EQ(vIncT.size(), 4u);
}

TEST_F(ManifoldRepair, BookOfManySheetsOnOneEdgeIsJoinedInPairs)
{
    IndexedMesh book{{{0, 0, 0}, {0, 0, 1}}, {}};
    for (int i = 0; i < 7; ++i)
        addApex(book, 0, 1, {std::cos(0.9 * i), std::sin(0.9 * i), 0.5});
    RealMesh mesh(book);
    const RepairReport report = repairNonManifold(*mesh.pMesh);
    EXPECT_EQ(report.numOverfullRE, 1u);
    expectRepaired(mesh);
    EXPECT_EQ(reportOf(mesh).numEdges(2), 1u); // scraps go, two pages stay
}

TEST_F(ManifoldRepair, OneSidedBandIsCutAcrossOnce)
{
    RealMesh mesh(zan_test::moebiusStrip());
    const RepairReport report = repairNonManifold(*mesh.pMesh);
    EXPECT_EQ(report.numTwistedRE, 1u);
    EXPECT_EQ(report.numRemovedT, 0u);
    expectRepaired(mesh);
    EXPECT_EQ(reportOf(mesh).numTriangles, 5u);
    EXPECT_EQ(reportOf(mesh).euler, 1); // a strip
}

// A flat disc with a one-sided band of five triangles in a hole at its centre. Where the orientation meets
// itself depends on where it grew from; the cut must not run through the disc.
TEST_F(ManifoldRepair, SmallTangleInALargeSheetIsCutThroughTheTangleOnly)
{
    const int numRings = 12;
    const double turn = 0.4 * std::numbers::pi;
    IndexedMesh disc;
    for (int ring = 0; ring < numRings; ++ring)
        for (int i = 0; i < 5; ++i)
            disc.vPoints.emplace_back((ring + 1) * std::cos(turn * i), (ring + 1) * std::sin(turn * i), 0);
    for (int ring = numRings - 1; ring > 0; --ring)
        for (int i = 0; i < 5; ++i) {
            const int in0 = 5 * (ring - 1) + i;
            const int in1 = 5 * (ring - 1) + (i + 1) % 5;
            disc.vTriangles.insert(disc.vTriangles.end(), {in0, in0 + 5, in1, in1, in0 + 5, in1 + 5});
        }
    for (int i = 0; i < 5; ++i) // a star: each triangle has one side of the pentagon and its far corner
        disc.vTriangles.insert(disc.vTriangles.end(), {i, (i + 1) % 5, (i + 3) % 5});
    RealMesh mesh(disc);
    const RepairReport report = repairNonManifold(*mesh.pMesh);
    EXPECT_GT(report.numTwistedRE, 0u);
    EXPECT_LE(report.numTwistedRE, 3u);
    EXPECT_EQ(report.numRemovedT, 0u);
    expectRepaired(mesh);
}

TEST_F(ManifoldRepair, TurnedTriangleIsTurnedBackWithoutACut)
{
    RealMesh mesh(zan_test::octahedron());
    mesh->getAllT()[5]->flipOrientation();
    const RepairReport report = repairNonManifold(*mesh.pMesh);
    EXPECT_TRUE(report.isUntouched());
    EXPECT_TRUE(reportOf(mesh).isOriented());
}

TEST_F(ManifoldRepair, AnySoupBecomesManifoldAndASecondRunFindsNothing)
{
    size_t numSplit = 0;
    size_t numTwisted = 0;
    for (u64 seed = 1; seed <= 300; ++seed) {
        const auto numVtx = std::uint32_t(5 + seed % 40);
        const IndexedMesh soup = randomSoup(seed, numVtx, int(3 * numVtx));
        RealMesh mesh(soup);
        RealMesh again(soup);
        const RepairReport report = repairNonManifold(*mesh.pMesh);
        numSplit += report.numSplitRE;
        numTwisted += report.numTwistedRE;
        SCOPED_TRACE("seed " + std::to_string(seed));
        expectRepaired(mesh);
        EXPECT_LE(report.numRounds, 4u);
        repairNonManifold(*again.pMesh);
        EXPECT_EQ(cornersOf(mesh), cornersOf(again));
        const std::vector<Point3> vBefore = cornersOf(mesh);
        EXPECT_TRUE(repairNonManifold(*mesh.pMesh).isUntouched());
        EXPECT_EQ(cornersOf(mesh), vBefore);
    }
    EXPECT_GT(numSplit, 0u); // else these soups do not reach those steps
    EXPECT_GT(numTwisted, 0u);
}
