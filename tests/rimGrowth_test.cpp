#include "rimGrowth.h"

#include "RMesh.h"
#include "helpers/meshChecks.h"
#include "helpers/realMesh.h"
#include "helpers/smallMeshes.h"

#include <gtest/gtest.h>

using namespace TESK_ZAN;
using zan_test::IndexedMesh;
using zan_test::RealMesh;

namespace
{

// Two triangles over the unit square of a plane, with the given points beyond it.
IndexedMesh grown(const std::vector<Point3>& vPoints, size_t numExpected)
{
    const IndexedMesh square{{{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}}, {0, 1, 2, 0, 2, 3}};
    const RealMesh mesh(square);
    EXPECT_EQ(growRims(*mesh.pMesh, vPoints), numExpected);
    EXPECT_EQ(zan_test::brokenInvariant(*mesh.pMesh), "");
    return zan_test::toIndexed(*mesh.pMesh);
}

} // namespace

TEST(RimGrowth, aPointBeyondTheRimBecomesATipThatRunsLikeTheSurface)
{
    const IndexedMesh mesh = grown({{0.5, -0.6, 0.1}}, 1);
    EXPECT_EQ(mesh.numT(), 3u);
    EXPECT_TRUE(zan_test::checkMesh(mesh).isOriented());
}

TEST(RimGrowth, pointsOnTheSurfaceOffItFarAwayOrWithASmallAngleStayOut)
{
    for (const Point3& p : {Point3(0.5, 0.4, 0.0), Point3(0.5, -0.1, 0.0), Point3(0.5, -0.1, 0.9),
                            Point3(0.5, 0.5, 0.6), Point3(0.5, -2.0, 0.0), Point3(-0.3, -0.3, 0.0)})
        grown({p}, 0);
}

// Each would be over the same edge; the second one, over an edge of the first triangle, would be a sliver.
TEST(RimGrowth, theFurthestOfTwoTipsOverAnEdgeWins)
{
    const IndexedMesh mesh = grown({{0.45, -0.4, 0.0}, {0.5, -0.6, 0.0}}, 1);
    EXPECT_EQ(mesh.vPoints.back(), Point3(0.5, -0.6, 0.0));
}

// A second sheet passes where the tip would be.
TEST(RimGrowth, aSheetInTheWayIsNotReached)
{
    IndexedMesh indexed{{{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}}, {0, 1, 2, 0, 2, 3}};
    const IndexedMesh wall = zan_test::octahedron();
    const auto first = static_cast<int>(indexed.vPoints.size());
    for (const Point3& p : wall.vPoints)
        indexed.vPoints.emplace_back(0.5 + 0.2 * p.x(), -0.5 + 0.2 * p.y(), 0.2 * p.z());
    for (const auto corner : wall.vTriangles)
        indexed.vTriangles.push_back(static_cast<int>(corner) + first);
    const RealMesh mesh(indexed);
    EXPECT_EQ(growRims(*mesh.pMesh, {{0.5, -0.5, 0.0}}), 0u);
}
