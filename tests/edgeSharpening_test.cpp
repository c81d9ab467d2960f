#include "edgeSharpening.h"

#include "LocalChange.h"
#include "RMesh.h"
#include "TaskPool.h"
#include "helpers/meshChecks.h"
#include "helpers/realMesh.h"
#include "progressTrees.h"
#include "random.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>

using namespace TESK_ZAN;
using zan_test::IndexedMesh;
using zan_test::MeshReport;
using zan_test::RealMesh;
using zan_test::toIndexed;

namespace
{

constexpr int LENGTH = 60;

// A strip along y with the profile z(x), sampled at -6.5, -5.5 .. 6.5: none at 0. x may sway by a third.
IndexedMesh strip(const std::function<double(double)>& profile, double sway = 0.0, int length = LENGTH)
{
    constexpr int NX = 14;
    Random random(1);
    IndexedMesh mesh;
    for (int y = 0; y <= length; ++y)
        for (int i = 0; i < NX; ++i) {
            const double x = i - 6.5 + sway * (2.0 * random.uniform() - 1.0);
            mesh.vPoints.emplace_back(x, y, profile(x));
        }
    for (int y = 0; y < length; ++y)
        for (int i = 0; i + 1 < NX; ++i) {
            const int a = y * NX + i, b = a + 1, c = a + NX, d = c + 1;
            mesh.vTriangles.insert(mesh.vTriangles.end(), {a, b, d, a, d, c});
        }
    return mesh;
}

double roof(double x)
{
    return -std::fabs(x);
}

size_t sharpen(RMesh& mesh, double featureAngle = 40.0)
{
    ProgressTree tree("test", sharpenEdgesPhases());
    return sharpenEdges(mesh, featureAngle);
}

size_t numAdded(const IndexedMesh& indexed, double featureAngle = 40.0)
{
    const RealMesh mesh(indexed);
    const size_t num = sharpen(*mesh.pMesh, featureAngle);
    EXPECT_EQ(zan_test::brokenInvariant(*mesh.pMesh), "");
    return num;
}

} // namespace

// One ridge and one valley, in the rows of a grid and with rows that sway.
TEST(EdgeSharpening, ChamfersBecomeChainsOfEdgesWhereThePlanesMeetAndAllElseStays)
{
    for (const double slope : {1.0, -1.0, 0.6})
        for (const double sway : {0.0, 0.3}) {
            const auto profile = [slope](double x) { return slope * roof(x); };
            const IndexedMesh before = strip(profile, sway);
            const RealMesh mesh(before);
            const size_t num = sharpen(*mesh.pMesh);
            EXPECT_GE(num, size_t(LENGTH));
            EXPECT_LE(num, size_t(2 * LENGTH + 1));
            EXPECT_EQ(zan_test::brokenInvariant(*mesh.pMesh), "");
            const IndexedMesh after = toIndexed(*mesh.pMesh);
            const MeshReport report = zan_test::checkMesh(after);
            EXPECT_TRUE(report.isManifold() && report.isOriented()) << toText(report);
            EXPECT_EQ(report.euler, 1);
            EXPECT_EQ(report.numVertices, before.vPoints.size() + num);
            EXPECT_EQ(zan_test::numForeignVertices(after, before.vPoints), num);
            EXPECT_LT(zan_test::maxDistance(after, [&](const Point3& p) { return p.z() - profile(p.x()); }),
                      1e-9);
            for (const RTriangle* pRT : zan_test::aliveT(*mesh.pMesh)) { // the plan view has no folds
                const Point3 &p0 = *pRT->getCorner(0), &p1 = *pRT->getCorner(1), &p2 = *pRT->getCorner(2);
                EXPECT_GT(crossProd(p1 - p0, p2 - p0).z(), 0.0);
                EXPECT_LT(leastAngleCos(p0, p1, p2), std::cos(0.17));
            }
        }
}

TEST(EdgeSharpening, WhatIsRoundFlatNoisyShortOrTooGentleStaysToTheBit)
{
    Random random(2);
    const auto round = [](double x) { return -std::sqrt(x * x + 1.0); };
    const auto noisy = [&random](double x) { return roof(x) + 2.0 * random.uniform(); };
    EXPECT_EQ(numAdded(strip(round)), 0u);
    EXPECT_EQ(numAdded(strip([](double) { return 0.0; })), 0u);
    EXPECT_EQ(numAdded(strip(noisy)), 0u);
    EXPECT_EQ(numAdded(strip(roof, 0.0, 6)), 0u);
    const auto gentle = [](double x) { return 0.3 * roof(x); }; // 33 degrees
    EXPECT_EQ(numAdded(strip(gentle)), 0u);
    EXPECT_GT(numAdded(strip(gentle), 30.0), 0u);
}

// A tenth of a cell, as of a fair scan, and three tenths: all along the edge, but for a few gaps.
TEST(EdgeSharpening, NoiseIsAveragedOut)
{
    for (const double height : {0.35, 1.0})
        for (u64 seed = 0; seed < 5; ++seed) {
            Random random(seed);
            const auto noisy = [&](double x) { return roof(x) + height * (random.uniform() - 0.5); };
            const RealMesh mesh(strip(noisy, 0.0, 2 * LENGTH));
            const size_t firstNew = mesh->getNumVtx();
            EXPECT_GT(sharpen(*mesh.pMesh), size_t(LENGTH * 3 / 2)) << height << " seed " << seed;
            for (size_t i = firstNew; i < mesh->getNumVtx(); ++i) {
                EXPECT_NEAR(mesh->getVtx(i)->x(), 0.0, 0.1 + 0.4 * height);
                EXPECT_NEAR(mesh->getVtx(i)->z(), 0.0, 0.1 + 0.4 * height);
            }
        }
}

TEST(EdgeSharpening, TheResultIsTheSameForEveryThreadCount)
{
    const IndexedMesh before = strip(roof, 0.3, 200);
    const RealMesh mesh1(before), mesh3(before);
    setNumCPU(1);
    sharpen(*mesh1.pMesh);
    setNumCPU(3);
    sharpen(*mesh3.pMesh);
    setNumCPU(0);
    const IndexedMesh after1 = toIndexed(*mesh1.pMesh), after3 = toIndexed(*mesh3.pMesh);
    EXPECT_EQ(after1.vPoints, after3.vPoints);
    EXPECT_EQ(after1.vTriangles, after3.vTriangles);
}
