#include "RMesh.h"

#include "CMesh.h"
#include "Progress.h"
#include "helpers/captured.h"
#include "helpers/realMesh.h"
#include "helpers/smallMeshes.h"
#include "random.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <numbers>
#include <set>

using namespace TESK_ZAN;
using zan_test::brokenInvariant;
using zan_test::CapturedMessages;
using zan_test::IndexedMesh;
using zan_test::RealMesh;
using zan_test::triangleNumbers;

namespace
{

using Numbers = std::vector<std::array<int, 3>>;

// Stages open a phase of the progress tree, which needs a root with a name.
class RMeshTest : public testing::Test
{
protected:
    void SetUp() override { getRootProgress()->setName("test"); }
    void TearDown() override { getRootProgress()->clear(); }
};

std::vector<std::uint32_t> numbersOf(const std::vector<REdge*>& vRE)
{
    std::vector<std::uint32_t> vNumbers;
    for (const REdge* pRE : vRE)
        vNumbers.push_back(numberOf(pRE));
    return vNumbers;
}

} // namespace

// ---- Creation and look-up ----

TEST_F(RMeshTest, TriangleWithRepeatedCornerIsRefusedAndLeavesNoTrace)
{
    RealMesh mesh(zan_test::tetrahedron());
    const CapturedMessages messages;
    EXPECT_ANY_THROW(mesh.addT(0, 1, 1));
    EXPECT_ANY_THROW(mesh.addT(2, 1, 2));
    EXPECT_EQ(mesh->getNumT(), 4u);
    EXPECT_EQ(brokenInvariant(*mesh.pMesh), "");
}

TEST_F(RMeshTest, EdgeIsFoundInEitherOrderAndSharedByItsTriangles)
{
    const RealMesh mesh(zan_test::tetrahedron());
    EXPECT_EQ(mesh->getAllRE().size(), 6u);
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j) {
            if (i == j)
                continue;
            ASSERT_NE(mesh.edge(i, j), nullptr);
            EXPECT_EQ(mesh.edge(i, j), mesh.edge(j, i));
            EXPECT_EQ(mesh.edge(i, j)->getDegree(), 2);
            EXPECT_EQ(mesh.edge(i, j)->getVtx0(), mesh.vtx(std::min(i, j)));
        }
}

TEST_F(RMeshTest, DeadEdgeIsStillFoundAndRevivedInsteadOfDoubled)
{
    RealMesh mesh(IndexedMesh{{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {0, 1, 2}});
    REdge* pRE = mesh.edge(0, 1);
    mesh->getAllT()[0]->kill(mesh.pMesh.get());
    EXPECT_EQ(mesh.edge(0, 1), pRE);
    EXPECT_FALSE(pRE->isAlive());
    EXPECT_FALSE(mesh->hasAliveEdge(mesh.vtx(0), mesh.vtx(1)));
    EXPECT_EQ(brokenInvariant(*mesh.pMesh), "");
    EXPECT_EQ(mesh.addT(1, 0, 2)->getRE(2), pRE);
    EXPECT_EQ(mesh->getAllRE().size(), 3u);
    EXPECT_EQ(brokenInvariant(*mesh.pMesh), "");
}

TEST_F(RMeshTest, KillingADeadTriangleFails)
{
    RealMesh mesh(zan_test::tetrahedron());
    mesh->getAllT()[0]->kill(mesh.pMesh.get());
    const CapturedMessages messages;
    EXPECT_ANY_THROW(mesh->getAllT()[0]->kill(mesh.pMesh.get()));
}

TEST_F(RMeshTest, VertexIsFoundByCoordinatesWhateverTheSignOfZeroAndTheColour)
{
    RMesh mesh(1.0);
    Point3* pVtx = mesh.createVtx(Point3(0.0, 1.0, 2.0, 10, 20, 30, 40), true);
    EXPECT_TRUE(pVtx->hasColor());
    EXPECT_EQ(mesh.createVtx(-0.0, 1.0, 2.0, true), nullptr);
    EXPECT_EQ(mesh.createVtx(-0.0, 1.0, 2.0, false), pVtx);
    EXPECT_FALSE(mesh.hasVtx(Point3(0.0, 1.0, std::nextafter(2.0, 3.0))));
    EXPECT_EQ(mesh.getNumVtx(), 1u);
}

TEST_F(RMeshTest, MovedVertexIsFoundAtItsNewPlaceOnlyAndTrianglesForgetTheirNormal)
{
    RealMesh mesh(IndexedMesh{{{0, 0, 0}, {1, 0, 0}, Point3(0, 1, 0, 1, 2, 3, 4)}, {0, 1, 2}});
    bool bOK = false;
    RTriangle* pRT = mesh->getAllT()[0];
    EXPECT_EQ(pRT->getNNV(bOK).z(), 1.0);
    mesh->updateVertex(mesh.vtx(2), Point3(0, 0, 1));
    EXPECT_EQ(pRT->getNNV(bOK).y(), -1.0);
    EXPECT_TRUE(mesh.vtx(2)->hasColor());
    EXPECT_FALSE(mesh->hasVtx(Point3(0, 1, 0)));
    EXPECT_TRUE(mesh->hasVtx(Point3(0, 0, 1)));

    const CapturedMessages messages;
    EXPECT_ANY_THROW(mesh->updateVertex(mesh.vtx(2), Point3(1, 0, 0))); // taken
    EXPECT_ANY_THROW(mesh->updateVertex(mesh.vtx(2), Point3(0, 0, 1))); // no move
    EXPECT_EQ(brokenInvariant(*mesh.pMesh), "");
}

TEST_F(RMeshTest, OrdersFollowCreationThoughThePoolsGrowInManyBlocks)
{
    RealMesh mesh(zan_test::flatGrid(21));
    std::vector<Point3*> vP;
    mesh->getPoints(vP);
    ASSERT_EQ(vP.size(), 441u);
    for (size_t i = 0; i < vP.size(); ++i)
        EXPECT_EQ(numberOf(vP[i]), i);
    std::vector<REdge*> vRE;
    mesh->getIncidentRE(mesh.vtx(220), vRE);
    EXPECT_EQ(vRE.size(), 6u);
    const auto vNumbers = numbersOf(vRE);
    EXPECT_TRUE(std::is_sorted(vNumbers.begin(), vNumbers.end()));
}

TEST_F(RMeshTest, TrianglesAtAVertexKeepTheirOrderWhenOneDies)
{
    RealMesh mesh(zan_test::octahedron());
    std::vector<RTriangle*> vBefore, vAfter;
    mesh->getIncidentT(mesh.vtx(4), vBefore);
    ASSERT_EQ(vBefore.size(), 4u);
    EXPECT_EQ(mesh->getCommonRingRE(mesh.vtx(4), mesh.vtx(5)), 4); // the equator
    EXPECT_EQ(mesh->getCommonRingRE(mesh.vtx(4), mesh.vtx(0)), 0);
    vBefore[1]->kill(mesh.pMesh.get());
    mesh->getIncidentT(mesh.vtx(4), vAfter);
    EXPECT_EQ(vAfter, (std::vector<RTriangle*>{vBefore[0], vBefore[2], vBefore[3]}));
}

TEST_F(RMeshTest, HubWithVeryManyTrianglesIsBuiltInLinearTime)
{
    RMesh mesh(1.0);
    Point3* pHub = mesh.createVtx(0, 0, 0, true);
    Point3* pLast = mesh.createVtx(-1, 0, 0, true);
    for (int i = 0; i < 300000; ++i) { // at quadratic cost this would take minutes
        Point3* pNext = mesh.createVtx(i, 1, 0, true);
        mesh.createT(pHub, pLast, pNext);
        pLast = pNext;
    }
    EXPECT_EQ(mesh.getNumT(), 300000u);
    EXPECT_EQ(mesh.getAllRE().size(), 600001u);
}

TEST_F(RMeshTest, DegreesAreSelectedAndAnUnknownCodeFails)
{
    RealMesh mesh(zan_test::threeOnAnEdge());
    const auto count = [&](int deg) {
        std::vector<REdge*> vRE;
        mesh->getDegN(deg, vRE);
        return vRE.size();
    };
    EXPECT_EQ(count(1), 6u);
    EXPECT_EQ(count(2), 0u);
    EXPECT_EQ(count(3), 1u);
    EXPECT_EQ(count(-1), 1u);
    EXPECT_EQ(count(-99), 7u);
    mesh->getAllT()[0]->kill(mesh.pMesh.get());
    EXPECT_EQ(count(0), 2u);
    EXPECT_EQ(count(-99), 5u);
    const CapturedMessages messages;
    EXPECT_ANY_THROW(count(-5));
    EXPECT_TRUE(messages.has("deg=-5"));
}

TEST_F(RMeshTest, EmptyMeshHasMarkersInPlaceOfFigures)
{
    const RMesh mesh(2.5);
    EXPECT_EQ(mesh.getAverageEdgeLength(), -1.0);
    EXPECT_EQ(mesh.getCellSize(), 2.5);
    EXPECT_FALSE(mesh.hasColor());
    EXPECT_EQ(mesh.getNumT(), 0u);
    EXPECT_EQ(brokenInvariant(mesh), "");
}

TEST_F(RMeshTest, ColourOfAVertexWithoutTrianglesDoesNotCount)
{
    RealMesh mesh(zan_test::tetrahedron());
    mesh->createVtx(Point3(5, 5, 5, 1, 1, 1, 1), true);
    EXPECT_FALSE(mesh->hasColor());
    mesh.vtx(3)->setColor(1, 2, 3, 4);
    EXPECT_TRUE(mesh->hasColor());
}

TEST_F(RMeshTest, PositionMapAgreesWithAnOrderedSetUnderRandomChanges)
{
    RMesh mesh(1.0);
    Random random(7);
    std::vector<Point3*> vVtx;
    std::set<Point3> sPositions;
    const auto anyPoint = [&] { // few places, so that hits and refusals are common
        return Point3(double(random.below(12)), double(random.below(12)), double(random.below(3)) - 1.0);
    };
    for (int step = 0; step < 5000; ++step) {
        const Point3 p = anyPoint();
        ASSERT_EQ(mesh.hasVtx(p), sPositions.count(p) == 1) << step;
        if (sPositions.count(p) == 0 && (vVtx.empty() || random.below(2) == 0)) {
            vVtx.push_back(mesh.createVtx(p, true));
            sPositions.insert(p);
        } else if (sPositions.count(p) == 0) {
            Point3* pVtx = vVtx[random.below(std::uint32_t(vVtx.size()))];
            sPositions.erase(*pVtx);
            mesh.updateVertex(pVtx, p);
            sPositions.insert(p);
        }
    }
    EXPECT_EQ(brokenInvariant(mesh), "");
}

// ---- Take-over ----

namespace
{

// A mesh on codes over a grid of unit cells, with bundles at the given places.
struct CodeMesh {
    CodeMesh() : calc(0, 0, 0, 8, 8, 8, 3) {}

    u64 addCell(u64 x, u64 y, u64 z, const Point3& p)
    {
        vPoints.push_back(std::make_unique<Point3>(p));
        const u64 ccd = Calc::rcdToCCD(xyzToRCD(x, y, z));
        vBundles.push_back(std::make_unique<Bundle>(Bundle{vPoints.back().get(), ccd}));
        mCCDBundle[ccd] = vBundles.back().get();
        return ccd;
    }

    CMesh* mesh()
    {
        if (!pMesh) {
            std::sort(vZeroCCD.begin(), vZeroCCD.end());
            pMesh = std::make_unique<CMesh>(nullptr, &calc, &mCCDBundle, vZeroCCD);
        }
        return pMesh.get();
    }

    Calc calc;
    std::vector<std::unique_ptr<Point3>> vPoints;
    std::vector<std::unique_ptr<Bundle>> vBundles;
    std::map<u64, Bundle*> mCCDBundle;
    std::vector<u64> vZeroCCD;
    std::unique_ptr<CMesh> pMesh;
};

} // namespace

TEST_F(RMeshTest, TakeOverNumbersVerticesByCodeAndKeepsOrderOrientationAndColour)
{
    CodeMesh codes;
    const u64 c = codes.addCell(3, 3, 3, Point3(3.1, 3.2, 3.3, 9, 8, 7, 6));
    const u64 a = codes.addCell(0, 0, 0, Point3(0.1, 0.2, 0.3));
    const u64 d = codes.addCell(7, 7, 7, Point3(7.1, 7.2, 7.3)); // no triangle
    const u64 b = codes.addCell(1, 0, 0, Point3(1.1, 0.2, 0.3));
    codes.vZeroCCD = {d, b};
    codes.mesh()->createT(c, a, b, 0, 0);
    codes.mesh()->createT(b, c, a, 0, 0)->kill(codes.mesh());
    codes.mesh()->createT(b, a, c, 0, 0);

    const RMesh mesh(codes.mesh());
    EXPECT_EQ(mesh.getCellSize(), 1.0);
    EXPECT_EQ(mesh.getNumVtx(), 4u);
    EXPECT_EQ(triangleNumbers(mesh), (Numbers{{2, 0, 1}, {1, 0, 2}}));
    EXPECT_TRUE(mesh.hasVtx(Point3(7.1, 7.2, 7.3)));
    std::vector<Point3*> vP;
    mesh.getPoints(vP);
    ASSERT_EQ(vP.size(), 3u); // the unused one is no point of the mesh
    EXPECT_EQ(*vP[2], Point3(3.1, 3.2, 3.3));
    unsigned char r = 0, g = 0, blue = 0, alpha = 0;
    vP[2]->getColor_255(r, g, blue, alpha);
    EXPECT_EQ(alpha, 6);
    ASSERT_EQ(mesh.getZeroVtx().size(), 2u);
    EXPECT_EQ(numberOf(mesh.getZeroVtx()[0]), 1u);
    EXPECT_EQ(numberOf(mesh.getZeroVtx()[1]), 3u);
}

TEST_F(RMeshTest, BundlesAtOnePositionAllBecomeVerticesThatDifferBySmallestSteps)
{
    CodeMesh codes;
    const Point3 shared(1.0, 2.0, 0.5);
    const u64 a = codes.addCell(0, 0, 0, shared);
    const u64 b = codes.addCell(1, 0, 0, Point3(1.0, 2.0, 0.5, 1, 2, 3, 4));
    const u64 c = codes.addCell(0, 1, 0, shared);
    codes.addCell(1, 1, 0, Point3(0, 0, 0));
    codes.addCell(1, 1, 1, Point3(0, -0.0, 0));
    codes.mesh()->createT(a, b, c, 0, 0);

    const RMesh mesh(codes.mesh());
    EXPECT_EQ(mesh.getNumVtx(), 5u);
    EXPECT_EQ(brokenInvariant(mesh), "");
    const double up = std::nextafter(2.0, 3.0);
    EXPECT_TRUE(mesh.hasVtx(shared));
    EXPECT_TRUE(mesh.hasVtx(Point3(1.0, up, 0.5)));
    EXPECT_TRUE(mesh.hasVtx(Point3(1.0, std::nextafter(up, 3.0), 0.5)));
    const RTriangle* pRT = mesh.getAllT()[0];
    EXPECT_EQ(*pRT->getCorner(0), shared);
    EXPECT_TRUE(std::max({pRT->getCorner(1), pRT->getCorner(2)}, [](const Point3* p0, const Point3* p1) {
                    return p0->hasColor() < p1->hasColor();
                })->hasColor());
}

TEST_F(RMeshTest, TakeOverFindsEveryCornerInWhateverOrderTrianglesCome)
{
    CodeMesh codes;
    std::vector<u64> vCCD;
    for (u64 x = 0; x < 8; ++x)
        for (u64 y = 0; y < 8; ++y)
            for (u64 z = 0; z < 8; ++z)
                vCCD.push_back(codes.addCell(x, y, z, Point3(double(x), double(y), double(z))));
    Random random(3);
    std::vector<std::array<u64, 3>> vExpected;
    for (int i = 0; i < 400; ++i) {
        const u64 a = vCCD[random.below(512)], b = vCCD[random.below(512)], c = vCCD[random.below(512)];
        if (a == b || b == c || c == a)
            continue;
        codes.mesh()->createT(a, b, c, 0, 0);
        vExpected.push_back({a, b, c});
    }
    const RMesh mesh(codes.mesh());
    ASSERT_EQ(mesh.getAllT().size(), vExpected.size());
    for (size_t i = 0; i < vExpected.size(); ++i)
        for (int ici = 0; ici < 3; ++ici)
            ASSERT_EQ(codes.calc.getCCD(mesh.getAllT()[i]->getCorner(ici)), vExpected[i][size_t(ici)]);
    EXPECT_EQ(mesh.getAllRE().size(), codes.mesh()->getE().size());
}

TEST_F(RMeshTest, TakeOverOfACornerWithoutBundleFails)
{
    CodeMesh codes;
    const u64 a = codes.addCell(0, 0, 0, Point3(0, 0, 0));
    const u64 b = codes.addCell(1, 0, 0, Point3(1, 0, 0));
    const u64 c = Calc::rcdToCCD(xyzToRCD(0, 1, 0));
    codes.mesh()->createT(a, b, c, 0, 0);
    const CapturedMessages messages;
    EXPECT_ANY_THROW(RMesh(codes.mesh()));
}

// ---- Geometry of triangles ----

TEST_F(RMeshTest, FlatAngleDecidesAsTheAngleItselfDoesAtAnyScale)
{
    Random random(11);
    for (int i = 0; i < 20000; ++i) {
        const double limit = random.below(2) == 0 ? 0.01 : 179.99;
        const double spread = random.below(2) == 0 ? 1e-6 : 2.0;
        const double angleDeg = limit + spread * (random.uniform() - 0.5);
        const double turn = angleDeg * std::numbers::pi / 180.0;
        const double scale = std::pow(10.0, 240.0 * random.uniform() - 120.0);
        const double ratio = std::pow(10.0, 20.0 * random.uniform() - 10.0);
        const Point3 p0(scale, 0, 0);
        const Point3 p1(scale * ratio * std::cos(turn), scale * ratio * std::sin(turn), 0);
        const Point3 apex(0, 0, 0);
        const double unitDot = normalize(p0 - apex) * normalize(p1 - apex);
        const double measured = std::acos(std::clamp(unitDot, -1.0, 1.0)) * 57.295779513;
        ASSERT_EQ(isFlatAngle(apex, p0, p1), measured < 0.01 || measured > 179.99) << angleDeg;
    }
}

TEST_F(RMeshTest, SidesWithoutDirectionAreFlatAndRaiseNothing)
{
    const CapturedMessages messages;
    for (const double tiny : {0.0, 5e-324, 1.5e-162, 1e-170})
        EXPECT_TRUE(isFlatAngle(Point3(0, 0, 0), Point3(tiny, 0, 0), Point3(0, 1, 0))) << tiny;
    EXPECT_EQ(messages.text(), "");
}

TEST_F(RMeshTest, DeviationHasMarkersWhereANormalIsMissing)
{
    RealMesh mesh(IndexedMesh{{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {2, 0, 0}}, {0, 1, 2, 0, 1, 3}});
    RTriangle* pGood = mesh->getAllT()[0];
    RTriangle* pFlat = mesh->getAllT()[1];
    const Point3 above(0, 0, 1), collinear(-1, 0, 0), corner(1, 0, 0);
    EXPECT_NEAR(pGood->getDevAngle(2, &above, true), 90.0, 1e-6);
    EXPECT_EQ(pGood->getDevAngle(2, &collinear, true), -1.0);
    EXPECT_EQ(pGood->getDevAngle(2, &corner, true), 0.0);
    EXPECT_EQ(pGood->getDevAngle(2, &corner, false), -1.0);
    EXPECT_EQ(pFlat->getDevAngle(2, &above, true), 360.0);
    EXPECT_FALSE(pGood->isDegenerate());
    EXPECT_TRUE(pFlat->isDegenerate());
}

TEST_F(RMeshTest, CornerQueriesOfATriangleAndItsFlippedForm)
{
    RealMesh mesh(IndexedMesh{{{0, 0, 0}, {3, 0, 0}, {0, 4, 0}, {9, 9, 9}}, {0, 1, 2}});
    RTriangle* pRT = mesh->getAllT()[0];
    EXPECT_EQ(pRT->getLargestEdgeICI(), 0); // the hypotenuse lies opposite corner 0
    EXPECT_DOUBLE_EQ(pRT->getArea(), 6.0);
    EXPECT_EQ(pRT->getThirdPoint(mesh.vtx(2), mesh.vtx(0)), mesh.vtx(1));
    bool bOK = false;
    EXPECT_EQ(pRT->getNNV(bOK).z(), 1.0);
    pRT->flipOrientation();
    EXPECT_EQ(pRT->getNNV(bOK).z(), -1.0);
    EXPECT_EQ(pRT->getCorner(0), mesh.vtx(1));
    EXPECT_EQ(brokenInvariant(*mesh.pMesh), "");
    const CapturedMessages messages;
    EXPECT_ANY_THROW(pRT->getICI(mesh.vtx(3)));
    EXPECT_ANY_THROW(pRT->getICI(mesh.vtx(0), mesh.vtx(0)));
}

TEST_F(RMeshTest, LongestEdgeTiesGoTo01Then12)
{
    RealMesh mesh(IndexedMesh{{{0, 0, 0}, {2, 0, 0}, {0, 2, 0}, {1, 5, 0}}, {1, 2, 0, 0, 1, 3, 0, 3, 1}});
    EXPECT_EQ(mesh->getAllT()[0]->getLargestEdgeICI(), 2);
    EXPECT_EQ(mesh->getAllT()[1]->getLargestEdgeICI(), 0); // 12 and 20 are equal
    EXPECT_EQ(mesh->getAllT()[2]->getLargestEdgeICI(), 2); // 01 and 12 are equal
}

TEST_F(RMeshTest, NeighboursAtACornerComeOverTheEdgeToTheNextCornerFirst)
{
    RealMesh mesh(IndexedMesh{{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {1, 1, 0}, {-1, 1, 0}, {0, -1, 0}},
                              {0, 1, 2, 0, 2, 4, 1, 0, 5, 2, 1, 3}});
    std::vector<RTriangle*> vRT;
    mesh->getAllT()[0]->getNeighbours(0, vRT);
    mesh->getAllT()[0]->getNeighbours(1, vRT);
    const std::vector<RTriangle*>& vT = mesh->getAllT();
    EXPECT_EQ(vRT, (std::vector<RTriangle*>{vT[2], vT[1], vT[3], vT[2]}));
}

// ---- Cleaning ----

TEST_F(RMeshTest, TwinsOfEitherOrientationDieAndTheFirstStays)
{
    for (const bool bSame : {true, false}) {
        RealMesh mesh(zan_test::tetrahedron());
        RTriangle* pTwin = bSame ? mesh.addT(2, 1, 0) : mesh.addT(0, 1, 2);
        EXPECT_FALSE(mesh->checkNoDups(""));
        EXPECT_EQ(mesh->killDuplicateTriangles(), 3u); // one finding per edge
        EXPECT_FALSE(pTwin->isAlive());
        EXPECT_EQ(mesh->getNumT(), 4u);
        EXPECT_TRUE(mesh->checkNoDups(""));
        EXPECT_EQ(brokenInvariant(*mesh.pMesh), "");
    }
}

TEST_F(RMeshTest, TwinsAmongManyTrianglesOnOneEdgeAreFound)
{
    RealMesh mesh(zan_test::threeOnAnEdge());
    RTriangle* pTwin = mesh.addT(1, 0, 3);
    EXPECT_EQ(mesh->killDuplicateTriangles(), 3u);
    EXPECT_FALSE(pTwin->isAlive());
    EXPECT_EQ(mesh.edge(0, 1)->getDegree(), 3);
}

TEST_F(RMeshTest, TwinsDieInTheOrderOfTheVertexPairsNotOfTheEdgesCreation)
{
    IndexedMesh book;
    for (int i = 0; i < 7; ++i)
        book.vPoints.emplace_back(i, i * i, i * i * i);
    for (const int apex : {1, 0, 1, 0, 2, 3}) // the edge (5, 6) comes first, its twins 1 and 0 in this order
        book.vTriangles.insert(book.vTriangles.end(), {5, 6, apex});
    RealMesh mesh(book);
    EXPECT_EQ(mesh->killDuplicateTriangles(), 6u);
    std::vector<RTriangle*> vRT;
    mesh.edge(5, 6)->getAliveT(vRT); // (0, 5) stands before (5, 6), so the twin at 0 left this list first
    EXPECT_EQ(vRT, (std::vector<RTriangle*>{mesh->getAllT()[0], mesh->getAllT()[1], mesh->getAllT()[4],
                                            mesh->getAllT()[5]}));
}

TEST_F(RMeshTest, PatchesGetOneOrientationFromTheirFirstTriangle)
{
    Random random(5);
    for (int round = 0; round < 20; ++round) {
        RealMesh mesh(zan_test::octahedron());
        const Point3* pFirst = mesh->getAllT()[0]->getCorner(0);
        for (RTriangle* pRT : mesh->getAllT())
            if (pRT->getNumber() != 0 && random.below(2) == 1)
                pRT->flipOrientation();
        EXPECT_EQ(mesh->createPatchesOrient(), 1u);
        EXPECT_EQ(mesh->getAllT()[0]->getCorner(0), pFirst);
        const IndexedMesh indexed = zan_test::toIndexed(*mesh.pMesh);
        EXPECT_GT(zan_test::meshVolume(indexed), 0.0);
        EXPECT_TRUE(zan_test::checkMesh(indexed).isOriented());
        EXPECT_EQ(brokenInvariant(*mesh.pMesh), "");
    }
}

TEST_F(RMeshTest, EdgeOfDegreeThreeSeparatesPatchesAndStaysAsItIs)
{
    RealMesh mesh(zan_test::threeOnAnEdge());
    mesh.addT(1, 2, 4); // joins the first and the last over two edges of degree 2
    EXPECT_EQ(mesh->createPatchesOrient(), 2u);
    EXPECT_EQ(mesh.edge(0, 1)->getDegree(), 3);
    RPatch& patch = *mesh->getPatches()[0];
    EXPECT_EQ(patch.getNumAliveT(), 3u);
    ASSERT_EQ(patch.getTriangles().size(), 3u);
    EXPECT_EQ(numberOf(patch.getTriangles()[1]), 2u); // by creation, though the walk came the other way
    EXPECT_EQ(mesh->getAllT()[1]->getPatch(), mesh->getPatches()[1].get());

    std::vector<REdge*> vRE;
    patch.getAllRE(vRE);
    EXPECT_EQ(vRE.size(), 6u);
    patch.setBoundary(); // the edge (0, 1) has two triangles of this patch, so it is inside
    EXPECT_EQ(patch.getBoundary().size(), 3u);
    mesh->getAllT()[3]->kill(mesh.pMesh.get());
    EXPECT_EQ(patch.getNumAliveT(), 2u);
}

TEST_F(RMeshTest, AddingATriangleTwiceToAPatchHasNoEffect)
{
    RealMesh mesh(zan_test::tetrahedron());
    RPatch patch(mesh.pMesh.get(), 0);
    patch.addTriangle(mesh->getAllT()[2]);
    patch.addTriangle(mesh->getAllT()[0]);
    patch.addTriangle(mesh->getAllT()[2]);
    ASSERT_EQ(patch.getTriangles().size(), 2u);
    EXPECT_EQ(numberOf(patch.getTriangles()[0]), 0u);
}

TEST_F(RMeshTest, MoebiusBandEndsAsOnePatch)
{
    RealMesh mesh(zan_test::moebiusStrip());
    EXPECT_EQ(mesh->createPatchesOrient(), 1u);
    EXPECT_EQ(mesh->getNumT(), 5u);
    EXPECT_EQ(brokenInvariant(*mesh.pMesh), "");
}

TEST_F(RMeshTest, NeedleIsCollapsedAlongItsShortEdgeAndNothingElseTurns)
{
    IndexedMesh dome = zan_test::flatGrid(5); // curved, so that any longer way would turn triangles
    for (Point3& p : dome.vPoints)
        p.set(p.x(), p.y(), -0.1 * (p.x() * p.x() + p.y() * p.y()));
    dome.vPoints[13] = dome.vPoints[12] + Vector3(1e-6, 0, 0); // two neighbours nearly meet
    RealMesh mesh(dome);
    Numbers vExpected;
    for (const auto& triangle : triangleNumbers(*mesh.pMesh)) {
        const auto merged = [](int number) { return number == 13 ? 12 : number; };
        if (std::count_if(triangle.begin(), triangle.end(), [&](int n) { return merged(n) == 12; }) < 2)
            vExpected.push_back({merged(triangle[0]), merged(triangle[1]), merged(triangle[2])});
    }
    mesh->killDegenerate();
    Numbers vFound = triangleNumbers(*mesh.pMesh);
    for (auto& triangle : vFound) // either of the two may have stayed
        std::replace(triangle.begin(), triangle.end(), 13, 12);
    EXPECT_EQ(vFound, vExpected);
    EXPECT_EQ(brokenInvariant(*mesh.pMesh), "");
    EXPECT_TRUE(zan_test::checkMesh(zan_test::toIndexed(*mesh.pMesh)).isManifold());
}

TEST_F(RMeshTest, TiesOfCollapsesGoToTheFirstCornerAndTheFirstEdge)
{
    // A lone flat triangle: no collapse can be judged better than another, for all of them end it.
    RealMesh mesh(IndexedMesh{{{0, 0, 0}, {1, 0, 0}, {2, 0, 0}, {5, 1, 0}}, {0, 1, 2, 2, 1, 3}});
    mesh->killDegenerate();
    EXPECT_EQ(triangleNumbers(*mesh.pMesh), (Numbers{{2, 1, 3}})); // corner 0 went
}

TEST_F(RMeshTest, CollinearStripDisappearsWithoutEndlessLoop)
{
    IndexedMesh strip;
    for (int i = 0; i < 200; ++i)
        strip.vPoints.emplace_back(i * 0.37, 0, 0);
    for (int i = 0; i + 2 < 200; ++i)
        for (const int corner : {i, i + 1, i + 2})
            strip.vTriangles.push_back(corner);
    RealMesh mesh(strip);
    mesh->killDegenerate();
    EXPECT_EQ(mesh->getNumT(), 0u);
    EXPECT_EQ(brokenInvariant(*mesh.pMesh), "");
}

TEST_F(RMeshTest, DenormalEdgesAreCollapsedWithoutAnException)
{
    for (const double tiny : {5e-324, 1e-310, 1.5e-162, 1e-160, 1e-154}) {
        IndexedMesh fan{{{0, 0, 0}, {tiny, 0, 0}, {1, 0, 0}, {0, 1, 0}, {-1, 0, 0}, {0, -1, 0}},
                        {0, 1, 3, 1, 2, 3, 0, 3, 4, 0, 4, 5, 0, 5, 1, 1, 5, 2}};
        RealMesh mesh(fan);
        const CapturedMessages messages;
        EXPECT_NO_THROW(mesh->killDegenerate()) << tiny;
        EXPECT_EQ(mesh->getNumT(), 4u) << tiny;
    }
}

TEST_F(RMeshTest, NoTriangleStaysFlatAtItsFirstCornerOnJitteredSheets)
{
    Random random(23);
    for (int round = 0; round < 10; ++round) {
        IndexedMesh grid = zan_test::flatGrid(13);
        for (Point3& p : grid.vPoints) // coarse steps: many vertices on one line, some nearly on one place
            p.set(p.x() + 1e-9 * random.uniform(), 0.5 * std::floor(p.y() / 3) + 1e-9 * random.uniform(),
                  random.below(3) == 0 ? 0.25 : 0.0);
        RealMesh mesh(grid);
        mesh->createPatchesOrient();
        mesh->killDegenerate();
        for (const RTriangle* pRT : zan_test::aliveT(*mesh.pMesh))
            EXPECT_FALSE(isFlatAngle(*pRT->getCorner(0), *pRT->getCorner(1), *pRT->getCorner(2)));
        EXPECT_TRUE(mesh->checkNoDups(""));
        EXPECT_EQ(brokenInvariant(*mesh.pMesh), "");
    }
}

// ---- Fans ----

TEST_F(RMeshTest, TwoClosedFansAtOneVertexAreToldApart)
{
    const RealMesh mesh(zan_test::twoTetrahedraOnAVertex());
    std::vector<std::vector<RTriangle*>> vvRT;
    mesh->getUmbrellas(mesh.vtx(0), vvRT);
    ASSERT_EQ(vvRT.size(), 2u);
    EXPECT_EQ(numberOf(vvRT[0][0]), 0u); // each fan starts from its first triangle
    EXPECT_EQ(numberOf(vvRT[1][0]), 4u);
    EXPECT_EQ(vvRT[0].size(), 3u);
    EXPECT_EQ(vvRT[1].size(), 3u);
}

TEST_F(RMeshTest, OpenFanGivesAWarningAndOneGroupOfAll)
{
    const RealMesh mesh(zan_test::flatGrid(3));
    const CapturedMessages messages;
    std::vector<std::vector<RTriangle*>> vvRT;
    mesh->getUmbrellas(mesh.vtx(4), vvRT); // the middle: closed
    ASSERT_EQ(vvRT.size(), 1u);
    EXPECT_EQ(messages.text(), "");
    mesh->getUmbrellas(mesh.vtx(1), vvRT); // on the border
    ASSERT_EQ(vvRT.size(), 1u);
    EXPECT_EQ(vvRT[0].size(), 3u);
    EXPECT_TRUE(messages.has("Bad umbrella"));
}

// ---- Checks and texts ----

TEST_F(RMeshTest, ChecksSayWhatTheyFoundAndAreSilentWithoutAName)
{
    RealMesh mesh(IndexedMesh{{{0, 0, 0}, {1, 0, 0}, {2, 0, 0}}, {0, 1, 2, 0, 1, 2}});
    CapturedMessages messages;
    EXPECT_FALSE(mesh->checkNoDegenerate(""));
    EXPECT_FALSE(mesh->checkNoDups(""));
    EXPECT_EQ(messages.text(), "");
    EXPECT_FALSE(mesh->checkNoDegenerate("a"));
    EXPECT_FALSE(mesh->checkNoDups("a"));
    EXPECT_FALSE(mesh->checkDataStructures("a"));
    EXPECT_EQ(messages.text(), "RMesh::checkNoDegenerate(a): has 2 degenerate triangles!\n"
                               "RMesh::checkNoDups(a): has duplicate triangles\n"
                               "RMesh::checkDataStructures(a) starts...\n"
                               "RMesh::checkDataStructures(a) invariant 4: bUniqueOppVtx\n");
    messages.clear();
    const RealMesh good(zan_test::tetrahedron());
    EXPECT_TRUE(good->checkNoDegenerate("b"));
    EXPECT_TRUE(good->checkNoDups("b"));
    EXPECT_TRUE(good->checkDataStructures("b"));
    EXPECT_EQ(messages.text(), "RMesh::checkNoDegenerate(b): survived\n"
                               "RMesh::checkNoDups(b): survived\n"
                               "RMesh::checkDataStructures(b) starts...\n"
                               "RMesh::checkDataStructures(b) survived\n");
}

TEST_F(RMeshTest, StatisticsCountTrianglesAndAliveEdgesByDegree)
{
    RealMesh mesh(zan_test::threeOnAnEdge());
    mesh.addT(0, 2, 4)->kill(mesh.pMesh.get()); // leaves a dead edge, which does not count
    const CapturedMessages messages;
    mesh->printStatistics("title");
    EXPECT_EQ(messages.text(),
              "\nRMesh::printStatistics(title)\n NumTriangles: 3\n Degree 1: 6\n Degree 3: 1\n\n");
}
