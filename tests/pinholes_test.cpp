#include "pinholes.h"

#include "RMesh.h"
#include "helpers/meshChecks.h"
#include "helpers/realMesh.h"
#include "helpers/smallMeshes.h"

#include <gtest/gtest.h>

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
