#include "RMesh.h"
#include "helpers/captured.h"
#include "zan_api_functions.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

using namespace TESK_ZAN;
using zan_test::CapturedMessages;

namespace
{

const Point3 A(0, 0, 0), B(1, 0, 0), C(0, 1, 0), D(0, 0, 1);

// A lattice of n by n squares with a bump, as loose corners.
std::vector<Point3> bumpySoup(int n)
{
    const auto at = [n](int i, int j) {
        return Point3(i, j, 0.2 * n * std::sin(3.0 * i / n) * std::cos(2.0 * j / n));
    };
    std::vector<Point3> vCorners;
    for (int i = 0; i < n; ++i)
        for (int j = 0; j < n; ++j)
            for (const Point3& p :
                 {at(i, j), at(i + 1, j), at(i + 1, j + 1), at(i, j), at(i + 1, j + 1), at(i, j + 1)})
                vCorners.push_back(p);
    return vCorners;
}

std::shared_ptr<Mesh> meshOf(std::vector<Point3> vCorners)
{
    return meshFromTriangles(vCorners);
}

// Triangles over few vertices, so that many share edges, corners and places.
std::vector<Point3> wildSoup(unsigned seed)
{
    std::mt19937 random(seed);
    std::vector<Point3> vCorners;
    for (int i = 0; i < 3 * 60; ++i)
        vCorners.emplace_back(random() % 3, random() % 3, random() % 2);
    return vCorners;
}

} // namespace

TEST(soupMesh, KeepsTrianglesAsTheyAreAndCountsWhatItLeavesOut)
{
    const double nan = std::nan(""), inf = std::numeric_limits<double>::infinity();
    const Point3 negativeZero(-0.0, 0, -0.0);
    const std::vector<Point3> vCorners = {A,
                                          B,
                                          C,
                                          /**/ negativeZero,
                                          C,
                                          D,
                                          /**/ A,
                                          A,
                                          B,
                                          /**/ C,
                                          B,
                                          A,
                                          A,
                                          B,
                                          Point3(nan, 0, 0),
                                          /**/ Point3(0, inf, 0),
                                          B,
                                          C,
                                          /**/ B,
                                          D,
                                          C};
    CapturedMessages messages;
    const auto pMesh = meshOf(vCorners);
    ASSERT_NE(pMesh, nullptr);
    std::vector<Point3> vKept;
    pMesh->getRMesh()->getCornerPoints(vKept);
    EXPECT_EQ(vKept, (std::vector<Point3>{A, B, C, A, C, D, B, D, C}));
    EXPECT_EQ(pMesh->getRMesh()->getNumVtx(), 4U);
    EXPECT_TRUE(pMesh->getRMesh()->checkDataStructures("soup"));
    EXPECT_NEAR(pMesh->getCellSize(), (3.0 + 3.0 * std::sqrt(2.0)) / 6.0, 1e-12);
    for (const char* text : {"2 triangles with a coordinate that is not finite", "1 degenerate triangles",
                             "1 duplicate triangles"})
        EXPECT_NE(messages.text().find(text), std::string::npos) << text << messages.text();
}

TEST(soupMesh, AVertexHasTheColourOfTheFirstCornerThatHasOne)
{
    Point3 red = A, blue = A;
    red.setColor(200, 0, 0, 255);
    blue.setColor(0, 0, 200, 255);
    const auto pMesh = meshOf({A, B, C, red, C, D, blue, B, D});
    ASSERT_NE(pMesh, nullptr);
    EXPECT_EQ(pMesh->getRMesh()->getVtx(0)->getColorString(), red.getColorString());
    EXPECT_FALSE(pMesh->getRMesh()->getVtx(1)->hasColor());
}

TEST(soupMesh, NothingLeftIsAnEmptyPointerAndAnOddCountAFailure)
{
    CapturedMessages messages;
    EXPECT_EQ(meshOf({}), nullptr);
    EXPECT_EQ(meshOf({A, A, B}), nullptr);
    EXPECT_NE(messages.text().find("No triangles"), std::string::npos);
    EXPECT_THROW(meshOf({A, B, C, D}), ZanBugException);
}

// Neither the look for duplicates nor that for edges may walk over all that share an edge.
TEST(soupMesh, ABookOfVeryManyTrianglesOnOneEdgeIsNotQuadratic)
{
    std::vector<Point3> vCorners;
    for (int i = 0; i < 100000; ++i)
        for (const Point3& p : {A, B, Point3(0.5, 1.0 + i, 1.0)})
            vCorners.push_back(p);
    const auto pMesh = meshOf(vCorners);
    ASSERT_NE(pMesh, nullptr);
    EXPECT_EQ(pMesh->getNumT(), 100000U);
}

TEST(soupMesh, ServesEveryCallOnFinishedMeshesHoweverBadItIs)
{
    CapturedMessages messages;
    for (unsigned seed = 0; seed < 40; ++seed) {
        std::vector<Point3> vCorners = wildSoup(seed);
        const auto check = [&](const char* call, auto work) {
            const auto pMesh = meshFromTriangles(vCorners);
            ASSERT_NE(pMesh, nullptr);
            work(pMesh);
            EXPECT_TRUE(pMesh->getRMesh()->checkDataStructures(call)) << call << " of seed " << seed;
        };
        check("edgeFlips", [](auto pMesh) { edgeFlips(pMesh); });
        check("edgeFlipsSimA", [](auto pMesh) { edgeFlipsSimA(pMesh); });
        check("reduce", [](auto pMesh) { reduce(pMesh, 2.0, 40.0); });
        check("laplacianSmoothing", [](auto pMesh) { laplacianSmoothing(pMesh, 3); });
        check("repairShapes", [](auto pMesh) { repairShapes(pMesh); });
        check("closeHoles", [](auto pMesh) { closeHoles(pMesh, 0); });
        check("colours", [](auto pMesh) {
            pMesh->colorizeFilledHoles();
            pMesh->contrastSpread(0.01, 0.01);
        });
    }
}

TEST(soupMesh, CallsOnItGiveTheSameWhateverTheThreads)
{
    std::vector<Point3> vCorners = bumpySoup(60);
    std::vector<Point3> vExpected;
    for (const int numThreads : {1, 2, 3, 8}) {
        setGlobalNumCPU(numThreads);
        const auto pMesh = meshFromTriangles(vCorners);
        ASSERT_NE(pMesh, nullptr);
        EXPECT_EQ(pMesh->getNumT(), vCorners.size() / 3);
        edgeFlips(pMesh);
        EXPECT_GT(reduce(pMesh, 3.0, 5.0), 0);
        laplacianSmoothing(pMesh, 2);
        std::vector<Point3> vGot;
        pMesh->getRMesh()->getCornerPoints(vGot);
        if (vExpected.empty())
            vExpected = vGot;
        EXPECT_TRUE(vGot == vExpected) << numThreads << " threads";
    }
    setGlobalNumCPU(0);
}
