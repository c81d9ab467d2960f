#include "pinholes.h"

#include "RMesh.h"
#include "helpers/meshChecks.h"
#include "helpers/realMesh.h"
#include "helpers/smallMeshes.h"
#include "smallHoles.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

using namespace TESK_ZAN;
using zan_test::brokenInvariant;
using zan_test::IndexedMesh;
using zan_test::RealMesh;
using zan_test::toIndexed;

namespace
{

void drop(IndexedMesh& mesh, size_t triangle)
{
    const auto begin = mesh.vTriangles.begin() + std::ptrdiff_t(3 * triangle);
    mesh.vTriangles.erase(begin, begin + 3);
}

} // namespace

TEST(Pinholes, aMissingTriangleComesBackWhicheverItIsAndRunsLikeItsNeighbours)
{
    const IndexedMesh whole = zan_test::octahedron();
    for (size_t first = 0; first < whole.numT(); ++first) {
        IndexedMesh indexed = whole;
        drop(indexed, first);
        const RealMesh mesh(indexed);
        EXPECT_EQ(closePinholes(*mesh.pMesh), 1u);
        EXPECT_EQ(brokenInvariant(*mesh.pMesh), "");
        const IndexedMesh closed = toIndexed(*mesh.pMesh);
        EXPECT_TRUE(zan_test::checkMesh(closed).isClosedManifold()) << first;
        EXPECT_TRUE(zan_test::checkMesh(closed).isOriented()) << first;
        EXPECT_DOUBLE_EQ(zan_test::meshVolume(closed), zan_test::meshVolume(whole));
    }
}

TEST(Pinholes, largerRimsLoneTrianglesAndSlitsWithoutAreaStay)
{
    IndexedMesh slit = zan_test::octahedron();
    drop(slit, 0);
    slit.vPoints[4] = Point3(0.5 * (slit.vPoints[0].x() + slit.vPoints[2].x()),
                             0.5 * (slit.vPoints[0].y() + slit.vPoints[2].y()), 0);
    const IndexedMesh lone{{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {0, 1, 2}};
    for (const IndexedMesh& indexed : {zan_test::openBox(), zan_test::strip(4), lone, slit}) {
        const RealMesh mesh(indexed);
        EXPECT_EQ(closePinholes(*mesh.pMesh), 0u);
        EXPECT_EQ(zan_test::triangleNumbers(*mesh.pMesh).size(), indexed.numT());
    }
}

TEST(SmallHoles, holesUpToTheSizeAreFilledWithTheLeastAreaUnlessTheyAreMeant)
{
    // A double pyramid over a polygon, two neighbouring triangles missing: a loop of four edges.
    constexpr int NUM_SIDES = 20;
    IndexedMesh pyramids{{{0, 0, 1}, {0, 0, -1}}, {}};
    for (int i = 0; i < NUM_SIDES; ++i) {
        const double angle = 2.0 * std::numbers::pi * i / NUM_SIDES;
        const int a = 2 + i, b = 2 + (i + 1) % NUM_SIDES;
        pyramids.vPoints.emplace_back(std::cos(angle), std::sin(angle), 0);
        if (i != 0)
            pyramids.vTriangles.insert(pyramids.vTriangles.end(), {0, a, b, 1, b, a});
    }
    const RealMesh mesh(pyramids);
    const auto isNever = [](const Point3&) { return false; };
    EXPECT_EQ(closeSmallHoles(*mesh.pMesh, 3, isNever), 0u);
    EXPECT_EQ(closeSmallHoles(*mesh.pMesh, 12, [](const Point3&) { return true; }), 0u);
    EXPECT_EQ(closeSmallHoles(*mesh.pMesh, 12, isNever), 1u);
    EXPECT_EQ(brokenInvariant(*mesh.pMesh), "");
    const zan_test::MeshReport report = zan_test::checkMesh(toIndexed(*mesh.pMesh));
    EXPECT_TRUE(report.isClosedManifold() && report.isOriented()) << zan_test::toText(report);
}

TEST(SmallHoles, rimOfASmallPieceOfSurfaceIsNoHole)
{
    for (const IndexedMesh& indexed :
         {zan_test::strip(4), IndexedMesh{{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {0, 1, 2}}}) {
        const RealMesh mesh(indexed);
        EXPECT_EQ(closeSmallHoles(*mesh.pMesh, 12, [](const Point3&) { return false; }), 0u);
    }
}
