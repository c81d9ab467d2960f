// The checks of tests/helpers on meshes whose answer a hand can count: a blind check would let everything
// pass.
#include "helpers/meshChecks.h"
#include "helpers/shapes.h"
#include "helpers/smallMeshes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

using namespace zan_test;
using TESK_ZAN::Point3;

TEST(meshChecks, knowTheSmallMeshes)
{
    struct Case {
        IndexedMesh mesh;
        long euler;
        size_t numEdges[4]; // by degree; [0] unused
        bool bManifold;
        bool bOriented;
    };
    const Case CASES[] = {
        {tetrahedron(), 2, {0, 0, 6, 0}, true, true},
        {octahedron(), 2, {0, 0, 12, 0}, true, true},
        {openBox(), 1, {0, 4, 13, 0}, true, true},
        {strip(3), 1, {0, 8, 5, 0}, true, true},
        {moebiusStrip(), 0, {0, 5, 5, 0}, true, false},
        {threeOnAnEdge(), 1, {0, 6, 0, 1}, false, true},
        {doubleSheet(), 2, {0, 0, 6, 0}, true, true},
        {twoTetrahedraOnAVertex(), 3, {0, 0, 12, 0}, false, true},
    };
    for (const Case& c : CASES) {
        const MeshReport report = checkMesh(c.mesh);
        EXPECT_EQ(c.euler, report.euler) << toText(report);
        for (int degree = 1; degree < 4; ++degree)
            EXPECT_EQ(c.numEdges[degree], report.numEdges(degree)) << toText(report);
        EXPECT_EQ(c.bManifold, report.isManifold()) << toText(report);
        EXPECT_EQ(c.bManifold && c.numEdges[1] == 0, report.isClosedManifold()) << toText(report);
        EXPECT_EQ(c.bOriented, report.isOriented()) << toText(report);
        EXPECT_EQ(1U, report.numComponents) << toText(report);
    }
}

TEST(meshChecks, seeBrokenTriangles)
{
    IndexedMesh mesh = tetrahedron();
    mesh.vTriangles.insert(mesh.vTriangles.end(), {1, 0, 2, 3, 3, 1, 0, 1, 4, -1, 0, 1});
    const MeshReport report = checkMesh(mesh);
    EXPECT_EQ(1U, report.numDuplicates);
    EXPECT_EQ(1U, report.numDegenerate);
    EXPECT_EQ(2U, report.numOutOfRange);
    EXPECT_EQ(3U, report.numEdges(3));
    EXPECT_FALSE(report.isManifold());
    IndexedMesh flipped = tetrahedron();
    std::swap(flipped.vTriangles[0], flipped.vTriangles[1]);
    EXPECT_EQ(3U, checkMesh(flipped).numMisoriented);
}

TEST(meshChecks, measureSizesAndDistances)
{
    EXPECT_DOUBLE_EQ(4.0 / 3.0, meshVolume(octahedron()));
    EXPECT_NEAR(4.0 * std::sqrt(3.0), meshArea(octahedron()), 1e-12);
    EXPECT_DOUBLE_EQ(0.0, meshVolume(doubleSheet()));
    EXPECT_NEAR(1.0 - 1.0 / std::sqrt(3.0), maxDistance(octahedron(), sphere(10).distance), 1e-12);
    EXPECT_EQ(2U, numForeignVertices(octahedron(), {{1, 0, 0}, {-1, 0, 0}, {0, 1, 0}, {0, 0, 1}}));
    EXPECT_DOUBLE_EQ(4.0, maxGap(octahedron(), {{1, 0, 0}, {0, 0, -5}, {0.3, 0.3, 0.3}}));
}

TEST(shapes, lieOnTheirSurfacesAtTheirSpacing)
{
    for (const Shape& shape : {sphere(2000, 3.0), torus(3000), boxSurface(12, 0.25), planeGrid(30, 40, 0.1),
                               planeWithHole(30, 30, 0.1, 0.7), twoSheets(20, 20, 0.1, 0.05)}) {
        double sqClosest = 1e9;
        for (const Point3& p : shape.vPoints) {
            ASSERT_NEAR(0.0, shape.distance(p), 1e-12);
            for (const Point3& q : shape.vPoints)
                if (&p != &q)
                    sqClosest = std::min(sqClosest, (p - q).sqLength());
        }
        EXPECT_GT(std::sqrt(sqClosest), 0.4 * shape.spacing);
        EXPECT_LT(std::sqrt(sqClosest), 1.1 * shape.spacing);
    }
    EXPECT_NEAR(3000.0, double(torus(3000).vPoints.size()), 100.0);
    EXPECT_EQ(6U * 12 * 12 + 2, boxSurface(12, 0.25).vPoints.size());
    EXPECT_LT(boxSurface(4, 0.5).distance({1.0, 1.0, 1.0}), 0.0) << "negative inside";
}

TEST(shapes, noiseIsRepeatableAndOfTheGivenSize)
{
    Shape clean = sphere(20000);
    Shape noisy = clean;
    addNoise(noisy, 0.01);
    double sumSq = 0.0;
    for (size_t i = 0; i < clean.vPoints.size(); ++i)
        sumSq += (noisy.vPoints[i] - clean.vPoints[i]).sqLength();
    EXPECT_NEAR(0.01, std::sqrt(sumSq / (3.0 * 20000.0)), 0.0002);
    Shape again = clean;
    addNoise(again, 0.01);
    EXPECT_EQ(noisy.vPoints, again.vPoints);
    shuffle(again);
    EXPECT_NE(noisy.vPoints, again.vPoints);
    std::sort(noisy.vPoints.begin(), noisy.vPoints.end());
    std::sort(again.vPoints.begin(), again.vPoints.end());
    EXPECT_EQ(noisy.vPoints, again.vPoints);
}
