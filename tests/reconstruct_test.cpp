// The road from points to a mesh, as a host drives it.
#include "zan_api_functions.h"

#include "Progress.h"
#include "helpers/captured.h"
#include "helpers/meshChecks.h"
#include "helpers/recorder.h"
#include "helpers/shapes.h"
#include "helpers/tempDir.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <thread>

using namespace TESK_ZAN;
using namespace zan_test;

namespace
{

class ReconstructTest : public ::testing::Test
{
protected:
    ~ReconstructTest() override { EXPECT_EQ("empty", getRootProgress()->getName()); }

    static IndexedMesh toIndexed(const Mesh& mesh)
    {
        std::vector<Point3*> vVertices;
        std::vector<int> vIndices;
        mesh.getVertexIndexData(vVertices, vIndices);
        return indexedMesh(vVertices, vIndices);
    }

    static IndexedMesh rebuilt(std::vector<Point3> vPoints, double factor = 1.0, int fillSize = 0)
    {
        const std::shared_ptr<Mesh> pMesh = reconstruct_auto(vPoints, factor, fillSize);
        return pMesh == nullptr ? IndexedMesh{} : toIndexed(*pMesh);
    }

    static std::string bytesOf(const Mesh& mesh)
    {
        const TempDir dir;
        EXPECT_TRUE(mesh.writePly_ASCII(dir.file("mesh.ply"))); // the binary form
        return dir.read("mesh.ply");
    }

    CapturedMessages messages;
};

} // namespace

TEST_F(ReconstructTest, closedSurfacesComeOutWholeOnInputPointsAndNowhereElse)
{
    for (Shape shape : {sphere(20000), torus(20000)}) {
        const IndexedMesh mesh = rebuilt(shape.vPoints);
        const MeshReport report = checkMesh(mesh);
        EXPECT_GT(report.numTriangles, 10000u);
        EXPECT_EQ(0u, report.numDegenerate) << toText(report);
        EXPECT_EQ(0u, report.numDuplicates) << toText(report);
        EXPECT_EQ(0u, report.numMisoriented) << toText(report);
        EXPECT_EQ(1u, report.numComponents) << toText(report);
        // Completing the cubes at pinholes makes a vertex now and then; all others are input points.
        EXPECT_LE(numForeignVertices(mesh, shape.vPoints), 5u);
        EXPECT_TRUE(report.isManifold()) << toText(report);
        EXPECT_LT(maxDistance(mesh, shape.distance), shape.spacing);
        EXPECT_LT(maxGap(mesh, shape.vPoints), 2.0 * shape.spacing);
    }
}

// Where sheets meet in a thick layer and one goes, more than a single triangle can be missing.
TEST_F(ReconstructTest, thickLayerComesOutAsOneClosedSheet)
{
    Shape shell = sphere(30000);
    addNoise(shell, 0.7 * shell.spacing);
    std::vector<Point3> vPoints = shell.vPoints;
    const MeshReport report = checkMesh(toIndexed(*reconstruct_auto(vPoints, 1.0, 2)));
    EXPECT_EQ(1u, report.numComponents) << toText(report);
    EXPECT_TRUE(report.isClosedManifold() && report.isOriented()) << toText(report);
}

TEST_F(ReconstructTest, pointsThatNoSurfaceReachesAreTold)
{
    const auto messagesFor = [](std::vector<Point3> vPoints) {
        CapturedMessages captured;
        EXPECT_NE(nullptr, reconstruct_abs(vPoints, 1.0, 2));
        return captured.text();
    };
    std::vector<Point3> vPoints = planeGrid(60, 60, 1.0).vPoints;
    EXPECT_EQ(std::string::npos, messagesFor(vPoints).find("% of the points"));
    for (const Point3& p : planeGrid(20, 20, 8.0).vPoints) // a tenth more, scattered
        vPoints.emplace_back(p.x(), p.y(), 50.0);
    EXPECT_NE(std::string::npos, messagesFor(vPoints).find("about 10 % of the points"));
}

TEST_F(ReconstructTest, openSheetKeepsItsRimAndIsNotEaten)
{
    const Shape plane = planeGrid(60, 60, 1.0);
    std::vector<Point3> vPoints = plane.vPoints;
    const IndexedMesh mesh = toIndexed(*reconstruct_abs(vPoints, 1.0, 0));
    const MeshReport report = checkMesh(mesh);
    EXPECT_EQ(3600u, report.numVertices);
    EXPECT_EQ(2u * 59 * 59, report.numTriangles);
    EXPECT_EQ(4u * 59, report.numEdges(1));
    EXPECT_TRUE(report.isManifold()) << toText(report);
    EXPECT_TRUE(report.isOriented());
    EXPECT_NEAR(59.0 * 59.0, meshArea(mesh), 1e-9);

    Shape noisy = planeGrid(40, 40, 1.0);
    addNoise(noisy, 0.3);
    EXPECT_GT(rebuilt(noisy.vPoints).numT(), 1000u);
}

TEST_F(ReconstructTest, holesCloseUpToTheFillDistanceOnly)
{
    const std::vector<Point3> vPoints = planeWithHole(80, 80, 1.0, 4.0).vPoints;
    const auto areaWith = [&vPoints](int fillSize) {
        std::vector<Point3> vCopy = vPoints;
        return meshArea(toIndexed(*reconstruct_abs(vCopy, 1.0, fillSize)));
    };
    const double whole = 79.0 * 79.0;
    EXPECT_LT(areaWith(0), whole - 30);
    EXPECT_LT(areaWith(1), whole - 20);
    EXPECT_NEAR(whole, areaWith(10), 10.0); // the patch undulates a little
}

TEST_F(ReconstructTest, bytesDoNotDependOnThreadsOrRepetition)
{
    Shape shape = torus(30000);
    addNoise(shape, 0.2 * shape.spacing);
    colour(shape);
    std::string expected;
    for (const int numCPU : {1, 2, 3, 8, 8}) {
        setGlobalNumCPU(numCPU);
        const std::string bytes = bytesOf(*reconstruct_auto(shape.vPoints, 1.0, 4));
        if (expected.empty())
            expected = bytes;
        EXPECT_GT(bytes.size(), 100000u);
        EXPECT_TRUE(bytes == expected) << numCPU << " threads";
    }
    setGlobalNumCPU(0);
}

TEST_F(ReconstructTest, mapCoordinatesGiveTheSameSurfaceAsTheOrigin)
{
    Shape shape = sphere(5000, 64.0);
    const IndexedMesh atOrigin = toIndexed(*reconstruct_abs(shape.vPoints, 2.0, 4));
    for (Point3& p : shape.vPoints) // a step that keeps the grid and nearly all bits
        p.set(p.x() + 524288.0, p.y() + 4194304.0, p.z());
    const IndexedMesh atMap = toIndexed(*reconstruct_abs(shape.vPoints, 2.0, 4));
    EXPECT_NEAR(double(atOrigin.numT()), double(atMap.numT()), 0.01 * double(atOrigin.numT()));
    EXPECT_EQ(checkMesh(atOrigin).numEdges(1), checkMesh(atMap).numEdges(1));
}

TEST_F(ReconstructTest, coloursTravelWithTheirPoints)
{
    Shape shape = sphere(3000);
    colour(shape);
    const std::shared_ptr<Mesh> pMesh = reconstruct_auto(shape.vPoints, 1.0, 0);
    std::vector<Point3*> vMeshPoints;
    pMesh->getPoints(vMeshPoints);
    std::map<std::array<double, 3>, Point3> mPoints;
    for (const Point3& p : shape.vPoints)
        mPoints[{p.x(), p.y(), p.z()}] = p;
    for (const Point3* p : vMeshPoints) {
        ASSERT_TRUE(p->hasColor());
        EXPECT_EQ(mPoints.at({p->x(), p->y(), p->z()}).getColorString(), p->getColorString());
    }
}

TEST_F(ReconstructTest, hostileInputEndsInAMessageAndAnEmptyOrTinyResult)
{
    const double inf = std::numeric_limits<double>::infinity();
    std::vector<Point3> vNone;
    EXPECT_EQ(nullptr, reconstruct_auto(vNone, 1.0, 2));
    EXPECT_TRUE(messages.has("Nothing to do for cloud inputPointsViaMemory"));
    EXPECT_TRUE(messages.has("ERROR: Nothing to do (bad input? wrong resolution?)"));

    const auto numT = [](std::vector<Point3> vPoints, double factor, double spacing) {
        const auto pMesh =
            factor > 0 ? reconstruct_auto(vPoints, factor, 2) : reconstruct_abs(vPoints, spacing, 2);
        return pMesh == nullptr ? size_t{0} : pMesh->getNumT();
    };
    const std::vector<Point3> vSphere = sphere(500).vPoints;
    std::vector<Point3> vLine;
    for (int i = 0; i < 1000; ++i)
        vLine.emplace_back(i, 2.0 * i, 0);
    EXPECT_EQ(0u, numT({{1, 2, 3}}, 1.0, 0));
    EXPECT_EQ(0u, numT({{1, 2, 3}}, 0, 1.0));
    EXPECT_EQ(0u, numT(std::vector<Point3>(1000, Point3(7, 7, 7)), 1.0, 0));
    EXPECT_EQ(0u, numT({{0, 0, 0}, {1, 1, 1}}, 1.0, 0));
    EXPECT_EQ(0u, numT(vLine, 1.0, 0));
    EXPECT_EQ(0u, numT(vSphere, 0, 1e300));
    EXPECT_EQ(0u, numT(vSphere, 0, inf));
    EXPECT_LT(numT(vSphere, 0, 1.0), 200u); // nearly all in a few cells
    std::vector<Point3> vOutlier = vSphere;
    vOutlier.emplace_back(2e6, 0, 0);
    numT(vOutlier, 1.0, 0);
}

TEST_F(ReconstructTest, failedConditionLeavesTheLibraryUsable)
{
    std::vector<Point3> vPoints = sphere(2000).vPoints;
    const std::string before = bytesOf(*reconstruct_auto(vPoints, 1.0, 2));
    for (const double spacing : {0.0, -1.0, std::numeric_limits<double>::quiet_NaN(), 1e-9}) {
        EXPECT_THROW(reconstruct_abs(vPoints, spacing, 2), ZanBugException) << spacing;
        EXPECT_EQ("empty", getRootProgress()->getName());
        EXPECT_THROW(reconstruct_auto(vPoints, spacing == 1e-9 ? 1e-12 : spacing, 2), ZanBugException)
            << spacing;
    }
    EXPECT_TRUE(before == bytesOf(*reconstruct_auto(vPoints, 1.0, 2)));
}

TEST_F(ReconstructTest, extremeFillSizesAreBoundedAndNegativeOnesFillNothing)
{
    std::vector<Point3> vPoints = planeWithHole(12, 12, 1.0, 2.0).vPoints;
    const auto bytes = [&vPoints](int fillSize) { return bytesOf(*reconstruct_abs(vPoints, 1.0, fillSize)); };
    EXPECT_TRUE(bytes(0) == bytes(std::numeric_limits<int>::min()));
    EXPECT_TRUE(bytes(0) == bytes(-1));
    EXPECT_TRUE(bytes(40) == bytes(std::numeric_limits<int>::max())); // both beyond the sheet
    EXPECT_TRUE(messages.has("is too large"));
}

TEST_F(ReconstructTest, subscriberSeesTheWholeRunOnce)
{
    std::vector<Point3> vPoints = sphere(20000).vPoints;
    Recorder recorder;
    subscribe(&recorder);
    reconstruct_auto(vPoints, 1.0, 4);
    ASSERT_GT(recorder.vCalls.size(), 5u);
    EXPECT_LT(recorder.vCalls.size(), 1000u);
    for (const auto& [treeName, fraction] : recorder.vCalls) {
        EXPECT_EQ("Reconstruct", treeName);
        EXPECT_GE(fraction, 0.0);
        EXPECT_LE(fraction, 1.0);
    }
    EXPECT_EQ(1.0, recorder.vCalls.back().second);
    recorder.vCalls.clear();
    estimateAvgSpacing(vPoints);
    ASSERT_FALSE(recorder.vCalls.empty());
    EXPECT_EQ("Density Estimation", recorder.vCalls.back().first);
}

TEST_F(ReconstructTest, cancellingAtAnyNotificationLeavesNothingBehind)
{
    std::vector<Point3> vPoints = sphere(3000).vPoints;
    const std::string expected = bytesOf(*reconstruct_auto(vPoints, 1.0, 2));
    for (int k = 0;; ++k) {
        Recorder recorder(k);
        subscribe(&recorder);
        bool bCancelled = false;
        try {
            reconstruct_auto(vPoints, 1.0, 2);
        } catch (const Cancelled&) {
            bCancelled = true;
        }
        EXPECT_EQ("empty", getRootProgress()->getName());
        if (!bCancelled) {
            EXPECT_GT(k, 3);
            break;
        }
    }
    EXPECT_TRUE(expected == bytesOf(*reconstruct_auto(vPoints, 1.0, 2)));
}

TEST_F(ReconstructTest, hostThreadsRunSideBySideWithTheirOwnSubscribers)
{
    Shape shape = torus(8000);
    const std::string expected = bytesOf(*reconstruct_auto(shape.vPoints, 1.0, 2));
    std::vector<std::thread> vThreads;
    std::vector<Recorder> vRecorders(4);
    std::vector<std::string> vBytes(4);
    for (size_t i = 0; i < 4; ++i)
        vThreads.emplace_back([&, i] {
            std::vector<Point3> vPoints = shape.vPoints;
            subscribe(&vRecorders[i]);
            vBytes[i] = bytesOf(*reconstruct_auto(vPoints, 1.0, 2));
        });
    for (std::thread& thread : vThreads)
        thread.join();
    for (size_t i = 0; i < 4; ++i) {
        EXPECT_TRUE(expected == vBytes[i]);
        ASSERT_FALSE(vRecorders[i].vCalls.empty());
        EXPECT_EQ(1.0, vRecorders[i].vCalls.back().second);
    }
}

TEST_F(ReconstructTest, autoOffsetCentresTheBoxAndKeepsColours)
{
    std::vector<Point3> vPoints = {Point3(1, 2, 3, 9, 8, 7, 6)};
    double x = 0;
    double y = 0;
    double z = 0;
    autoOffset(vPoints, x, y, z);
    EXPECT_EQ(Point3(1, 2, 3), Point3(x, y, z));
    EXPECT_EQ(Point3(0, 0, 0), vPoints[0]);
    EXPECT_TRUE(vPoints[0].hasColor());
    vPoints = {{0, 0, 0}, {10, 4, -2}, {std::numeric_limits<double>::quiet_NaN(), 0, 0}};
    autoOffset(vPoints, x, y, z);
    EXPECT_EQ(Point3(5, 2, -1), Point3(x, y, z));
    EXPECT_EQ(Point3(5, 2, -1), vPoints[1]);
    vPoints.clear();
    autoOffset(vPoints, x, y, z);
    EXPECT_EQ(Point3(0, 0, 0), Point3(x, y, z));
}

TEST_F(ReconstructTest, serviceCallsAnswerAsDocumented)
{
    int major = 0;
    int minor = 0;
    getVersion(major, minor);
    EXPECT_EQ(1, major);
    EXPECT_EQ(17, minor);
    printVersion();
    EXPECT_EQ("ZAN, version 1.17\n", messages.text());
    EXPECT_FALSE(isRelease());
    setGlobalNumCPU(-1);
    EXPECT_TRUE(messages.has("numCPU<0 not used"));
    subscribe(nullptr);
    destroySingletons();
    destroySingletons();
    findHoles(nullptr);
    std::vector<Point3> vPoints = sphere(2000).vPoints;
    EXPECT_NE(nullptr, reconstruct_auto(vPoints, 1.0, 0));
}
