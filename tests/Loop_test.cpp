#include "HoleFiller.h"
#include "Loop.h"

#include "helpers/captured.h"
#include "helpers/codeMesh.h"
#include "helpers/holeMeshes.h"
#include "helpers/smallMeshes.h"
#include "random.h"
#include "zan_export.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>

using namespace TESK_ZAN;
using namespace zan_test;
using ::testing::Each;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

namespace
{

// The corners of the alive triangles with their orientation.
std::set<std::array<u64, 3>> orientedCorners(const CMesh& mesh)
{
    std::vector<CTriangle*> vCT;
    mesh.getAliveT(vCT);
    std::set<std::array<u64, 3>> s;
    for (const CTriangle* pCT : vCT) {
        std::array<u64, 3> c{pCT->getC0(), pCT->getC1(), pCT->getC2()};
        std::rotate(c.begin(), std::min_element(c.begin(), c.end()), c.end());
        s.insert(c);
    }
    return s;
}

// The loop over the vertices 0 to n-1 of a frame.
Loop frameLoop(CodeMesh& m, int n)
{
    EdgeMap mmVCD2CE;
    for (int i = 0; i < n; ++i)
        enterEdge(mmVCD2CE, m.edge(i, (i + 1) % n));
    return Loop(mmVCD2CE, &m.mesh);
}

std::vector<double> queuedAngles(Loop& loop)
{
    loop.initPrioq();
    std::vector<double> v;
    int status = 0;
    while (AngleEntry* pAE = loop.getNext())
        v.push_back(pAE->getAngle(false, status));
    return v;
}

double newArea(const CMesh& mesh, const Loop& loop)
{
    double area = 0;
    for (const CTriangle* pCT : loop.getNewT())
        area += pCT->getArea(&mesh);
    return area;
}

// By the shoelace rule.
double areaOf(const std::vector<Point3>& v)
{
    double sum = 0;
    for (size_t i = 0; i < v.size(); ++i) {
        const Point3 &p = v[i], &q = v[(i + 1) % v.size()];
        sum += p.x() * q.y() - q.x() * p.y();
    }
    return sum / 2;
}

std::vector<Point3> randomStar(Random& random, int n)
{
    std::vector<Point3> v = polygon(n);
    for (Point3& p : v) {
        const double scale = 0.5 + random.uniform();
        p.set(scale * p.x(), scale * p.y(), 0);
    }
    return v;
}

// A torus of n by n squares with vertices (u, v) at u * n + v, each moved at random.
IndexedMesh roughTorus(int n, Random& random)
{
    IndexedMesh mesh;
    const auto rough = [&random](double x) { return x + random.uniform() - 0.5; };
    for (int u = 0; u < n; ++u) {
        for (int v = 0; v < n; ++v) {
            const double a = 2 * 3.14159265358979 * u / n, b = 2 * 3.14159265358979 * v / n;
            const double r = 15 + 7 * std::cos(b);
            mesh.vPoints.emplace_back(rough(22 + r * std::cos(a)), rough(22 + r * std::sin(a)),
                                      rough(22 + 7 * std::sin(b)));
            const int p = u * n + v, q = u * n + (v + 1) % n, s = (u + 1) % n * n + v,
                      t = (u + 1) % n * n + (v + 1) % n;
            mesh.vTriangles.insert(mesh.vTriangles.end(), {p, s, t, p, t, q});
        }
    }
    return mesh;
}

// Kills the triangles within so many rings of a vertex.
void tear(CMesh& mesh, u64 vcd, int numRings)
{
    std::set<u64> sVCD{vcd};
    for (int ring = 0; ring < numRings; ++ring) {
        std::vector<CTriangle*> vCT;
        for (const u64 ringVCD : sVCD)
            mesh.getIncidentT(ringVCD, vCT);
        for (CTriangle* pCT : vCT) {
            sVCD.insert({pCT->getC0(), pCT->getC1(), pCT->getC2()});
            if (pCT->isAlive())
                pCT->kill(&mesh);
        }
    }
}

} // namespace

// ---- loops

TEST(Loop, cornersHaveTheAnglesOfThePolygonAndTheFirstInTheMapGoesFirst)
{
    const double degrees[7] = {0, 0, 0, 60, 90, 108, 120};
    for (const int n : {3, 4, 5, 6}) {
        CodeMesh m(frame(polygon(n)));
        Loop loop = frameLoop(m, n);
        ASSERT_TRUE(loop.isClosed());
        EXPECT_THAT(queuedAngles(loop), Each(::testing::DoubleNear(degrees[n], 1e-9))) << n;
    }
    CodeMesh square(
        {{{1, 1, 0}, {-1, 1, 0}, {-1, -1, 0}, {1, -1, 0}, {2, 2, 0}, {-2, 2, 0}, {-2, -2, 0}, {2, -2, 0}},
         frame(polygon(4)).vTriangles});
    Loop loop = frameLoop(square, 4);
    loop.initPrioq();
    EXPECT_EQ(loop.getNext()->getVCD(), std::min({square.at(0), square.at(1), square.at(2), square.at(3)}));
}

TEST(Loop, fillsHolesWithOneTriangleLessThanTwoFewerThanCorners)
{
    for (const int n : {3, 4, 6, 50}) {
        CodeMesh m(frame(polygon(n)));
        const auto sBefore = orientedCorners(m.mesh);
        Loop loop = frameLoop(m, n);
        EXPECT_TRUE(loop.run());
        EXPECT_EQ(loop.getNewT().size(), size_t(n - 2));
        EXPECT_EQ(numEdges(m.mesh, 1), size_t(n)); // the outer rim
        EXPECT_EQ(countMisoriented(m.mesh), 0);
        EXPECT_TRUE(m.mesh.checkDataStructures("filled"));
        const auto sAfter = orientedCorners(m.mesh);
        EXPECT_TRUE(std::includes(sAfter.begin(), sAfter.end(), sBefore.begin(), sBefore.end()))
            << "an oriented mesh was turned";
    }
}

TEST(Loop, fillsPlaneHolesOfAnyShapeWithoutOverlap)
{
    Random random(5);
    for (int round = 0; round < 60; ++round) {
        const int n = 3 + int(random.below(40));
        const std::vector<Point3> vCorners = randomStar(random, n);
        CodeMesh m(frame(vCorners));
        Loop loop = frameLoop(m, n);
        ASSERT_TRUE(loop.run()) << "round " << round;
        EXPECT_NEAR(newArea(m.mesh, loop), 100 * areaOf(vCorners), 1e-6)
            << "round " << round; // enlarged by 10
        EXPECT_EQ(numEdges(m.mesh, -1), 0u);
    }
}

TEST(Loop, flatCornersWaitForTheirNeighbours)
{
    CodeMesh m(frame(
        {{1, 0, 0}, {1, 1, 0}, {0, 1, 0}, {-1, 1, 0}, {-1, 0, 0}, {-1, -1, 0}, {0, -1, 0}, {1, -1, 0}}));
    Loop loop = frameLoop(m, 8);
    EXPECT_EQ(queuedAngles(loop).size(), 4u);
    Loop again = frameLoop(m, 8);
    EXPECT_TRUE(again.run());
    EXPECT_NEAR(newArea(m.mesh, again), 400, 1e-6);
}

TEST(Loop, theOuterRimIsGivenUpWithoutATrace)
{
    for (const int n : {3, 4, 9}) {
        CodeMesh m(frame(polygon(n)));
        m.vCT[0]->flipOrientation(); // what is turned on the way comes back
        const auto sBefore = orientedCorners(m.mesh);
        EdgeMap mmVCD2CE;
        for (int i = 0; i < n; ++i)
            enterEdge(mmVCD2CE, m.edge(n + i, n + (i + 1) % n));
        Loop loop(mmVCD2CE, &m.mesh);
        EXPECT_FALSE(loop.run());
        EXPECT_THAT(loop.getNewT(), IsEmpty());
        EXPECT_EQ(orientedCorners(m.mesh), sBefore);
    }
}

TEST(Loop, turnsWhatLiesBesideItToFit)
{
    Random random(7);
    for (int round = 0; round < 20; ++round) {
        CodeMesh m(frame(polygon(8)));
        for (CTriangle* pCT : m.vCT)
            if (random.below(2) == 0)
                pCT->flipOrientation();
        Loop loop = frameLoop(m, 8);
        EXPECT_TRUE(loop.run());
        EXPECT_EQ(countMisoriented(m.mesh), 0);
    }
}

TEST(Loop, earsAcrossARidgeGoLast)
{
    // A hole over the ridge of a roof: the corners on the ridge are the sharper ones.
    CodeMesh m(frame({{0, -2, 0}, {1, 0, -1}, {0, 2, 0}, {-1, 0, -1}}));
    Loop loop = frameLoop(m, 4);
    ASSERT_TRUE(loop.run());
    EXPECT_NE(m.edge(0, 2), nullptr);
    EXPECT_EQ(m.edge(1, 3), nullptr);
}

TEST(Loop, anEdgeThatIsThereIsNoEar)
{
    IndexedMesh drawing = frame(polygon(4));
    drawing.vPoints.emplace_back(0, 0, -2);
    drawing.vTriangles.insert(drawing.vTriangles.end(), {0, 2, 8});
    CodeMesh m(drawing);
    Loop loop = frameLoop(m, 4);
    EXPECT_TRUE(loop.run());
    EXPECT_NE(m.edge(1, 3), nullptr);
    EXPECT_EQ(m.edge(0, 2)->getDegree(), 1);
}

TEST(Loop, aFillThatGetsStuckIsTakenBack)
{
    // All chords of the hexagon are in use but one.
    IndexedMesh drawing = frame(polygon(6));
    for (int a = 0; a < 6; ++a) {
        for (int b = a + 2; b < 6 && b - a < 5; ++b) {
            if (a == 0 && b == 2)
                continue;
            drawing.vPoints.emplace_back(0.2 * a, 0.2 * b, -3);
            drawing.vTriangles.insert(drawing.vTriangles.end(), {a, b, int(drawing.vPoints.size()) - 1});
        }
    }
    CodeMesh m(drawing);
    const auto sBefore = orientedCorners(m.mesh);
    Loop stepwise = frameLoop(m, 6);
    stepwise.initPrioq();
    EXPECT_TRUE(stepwise.triangulate());
    EXPECT_FALSE(stepwise.triangulate());
    stepwise.getNewT()[0]->kill(&m.mesh);
    Loop loop = frameLoop(m, 6);
    EXPECT_FALSE(loop.run());
    EXPECT_EQ(orientedCorners(m.mesh), sBefore);
    EXPECT_EQ(numEdges(m.mesh, -1), 0u);
    EXPECT_TRUE(m.mesh.checkDataStructures("taken back"));
}

TEST(Loop, openPathsTurnNothingAndDoNotRun)
{
    const CapturedMessages messages;
    CodeMesh m(strip(4));
    m.vCT[2]->flipOrientation();
    const auto sBefore = orientedCorners(m.mesh);
    EdgeMap mmVCD2CE = getEdgeMap({m.edge(0, 2), m.edge(2, 4), m.edge(4, 6)});
    Loop loop(mmVCD2CE, &m.mesh);
    EXPECT_FALSE(loop.isClosed());
    EXPECT_EQ(orientedCorners(m.mesh), sBefore);
    EXPECT_THROW(loop.run(), ZanBugException);
}

TEST(Loop, coincidingAndCollinearCornersMakeNoAngle)
{
    CodeMesh m(frame(polygon(5)));
    *m.mesh.getVtx(m.at(1)) = *m.mesh.getVtx(m.at(0));
    Loop loop = frameLoop(m, 5);
    EXPECT_THAT(queuedAngles(loop), Each(::testing::Lt(179.9)));
    Loop again = frameLoop(m, 5);
    again.run(); // fills it or not, without a complaint about vectors of no length
    EXPECT_TRUE(m.mesh.checkDataStructures("coinciding"));
}

// ---- the filler

TEST(HoleFiller, closesTheHoleOfASingleTriangleAndLeavesClosedMeshesAlone)
{
    CodeMesh m(octahedron());
    EXPECT_EQ(HoleFiller(&m.mesh).run(), 0u);
    const auto sBefore = orientedCorners(m.mesh);
    m.vCT[3]->kill(&m.mesh);
    EXPECT_EQ(HoleFiller(&m.mesh).run(), 1u);
    EXPECT_EQ(orientedCorners(m.mesh), sBefore);
}

TEST(HoleFiller, fillsHolesThatShareAVertexEachOnItsOwn)
{
    CodeMesh m(sheetWithout(6, 5, {{1, 1}, {2, 2}, {3, 1}}));
    std::vector<CEdge*> vBorderCE;
    m.mesh.getDegN(1, vBorderCE);
    HoleFiller filler(&m.mesh);
    filler.createLoopsStrategy(vBorderCE);
    std::vector<size_t> vSizes;
    for (const auto& pLoop : filler.getLoops()) {
        EXPECT_TRUE(pLoop->isClosed());
        std::vector<CEdge*> vCE;
        pLoop->getEdges(vCE);
        vSizes.push_back(vCE.size());
    }
    EXPECT_THAT(vSizes, UnorderedElementsAre(4u, 4u, 4u, 22u));
    EXPECT_EQ(filler.run(), 3u);
    EXPECT_EQ(numAlive(m.mesh), 60u);
    EXPECT_EQ(numEdges(m.mesh, 1), 22u);
    EXPECT_EQ(countMisoriented(m.mesh), 0);
}

// Two fans at vertex 0, of which one lies beside an end of the other: which gap belongs to which strand the
// angles do not tell.
TEST(HoleFiller, unclearStrandsAreBridgedAndIdleBridgesGoAgain)
{
    const auto at = [](double deg) {
        return Point3(3 * std::cos(deg / 57.29577951), 3 * std::sin(deg / 57.29577951), 0);
    };
    const IndexedMesh drawing{{{0, 0, 0}, at(0), at(20), at(40), at(120), at(200)},
                              {0, 1, 2, 0, 3, 4, 0, 4, 5}};
    const CapturedMessages messages;
    CodeMesh m(drawing);
    EdgeMap mmVCD2CE = borderMap(m.mesh);
    HoleFiller filler(&m.mesh);
    filler.solveMultiVCD(m.at(0), mmVCD2CE);
    EXPECT_THAT(messages.text(), HasSubstr("Distance is "));
    ASSERT_NE(m.edge(2, 3), nullptr);
    EXPECT_EQ(m.edge(2, 3)->getDegree(), 1);
    EXPECT_EQ(countMisoriented(m.mesh), 0);
    EXPECT_EQ(mmVCD2CE.count(m.at(0)), 2u);
    EXPECT_EQ(mmVCD2CE, borderMap(m.mesh));

    CodeMesh whole(drawing);
    const auto sBefore = orientedCorners(whole.mesh);
    EXPECT_EQ(HoleFiller(&whole.mesh).run(), 0u);
    EXPECT_EQ(orientedCorners(whole.mesh), sBefore);
}

TEST(HoleFiller, aVertexWithOneGroupOfTrianglesIsToldAndLeft)
{
    const CapturedMessages messages;
    CodeMesh m({{{0, 0, 0}, {0, 0, 1}, {1, 0, 0}, {-1, 1, 0}, {-1, -1, 0}, {1, 1, 0}},
                {0, 1, 2, 0, 1, 3, 0, 1, 4, 0, 1, 5}});
    EdgeMap mmVCD2CE = borderMap(m.mesh);
    HoleFiller(&m.mesh).solveMultiVCD(m.at(0), mmVCD2CE);
    EXPECT_THAT(messages.text(), HasSubstr("empty groups"));
    EXPECT_THAT(messages.text(), HasSubstr("vGroup0=4, vGroup1=0"));
    EXPECT_EQ(mmVCD2CE, borderMap(m.mesh));
    HoleFiller(&m.mesh).run();
    EXPECT_EQ(numAlive(m.mesh), 4u);
}

TEST(HoleFiller, aTornSurfaceClosesToAnOrientedOneWithoutEdgesOfThreeTriangles)
{
    const CapturedMessages messages;
    for (const auto& [numTears, numRings] : {std::pair{3, 1}, {12, 1}, {40, 1}, {3, 2}, {6, 3}, {2, 5}}) {
        Random random(11);
        CodeMesh m(roughTorus(24, random));
        for (int i = 0; i < numTears; ++i)
            tear(m.mesh, m.at(int(random.below(24 * 24))), numRings);
        HoleFiller(&m.mesh).run();
        EXPECT_EQ(numEdges(m.mesh, 1), 0u) << numTears << " tears of " << numRings;
        EXPECT_EQ(numEdges(m.mesh, -1), 0u) << numTears << " tears of " << numRings;
        EXPECT_EQ(countMisoriented(m.mesh), 0);
        EXPECT_TRUE(m.mesh.checkDataStructures("torn"));
        EXPECT_TRUE(m.mesh.checkNoDups("torn"));
    }
}
