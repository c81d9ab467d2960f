#include "pinholes.h"

#include "RMesh.h"
#include "helpers/meshChecks.h"
#include "helpers/realMesh.h"
#include "helpers/smallMeshes.h"
#include "sheetBacks.h"
#include "smallHoles.h"

#include <gtest/gtest.h>

#include <algorithm>
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

TEST(SmallHoles, verticesAtOnePositionAreNotJoined)
{
    // A double pyramid whose lower half has an own copy of its rim vertex 2: across (2, 6) all triangles are
    // flat.
    IndexedMesh parted = zan_test::octahedron();
    const int numVtx = int(parted.vPoints.size());
    parted.vPoints.push_back(parted.vPoints[2] + Vector3(1e-16, 0, 0));
    for (size_t i = 0; i < parted.vTriangles.size(); i += 3)
        if (std::count(&parted.vTriangles[i], &parted.vTriangles[i] + 3, 5) > 0)
            std::replace(&parted.vTriangles[i], &parted.vTriangles[i] + 3, 2, numVtx);
    const RealMesh mesh(parted);
    closeSmallHoles(*mesh.pMesh, 12, [](const Point3&) { return false; });
    EXPECT_EQ(mesh.pMesh->getRE(mesh.vtx(2), mesh.vtx(size_t(numVtx))), nullptr);
}

TEST(ThinSheets, sheetsGetABackAndBodiesWithAHoleAndMeantBordersDoNot)
{
    const auto isNever = [](const Point3&) { return false; };
    const IndexedMesh single{{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {0, 1, 2}};
    for (const IndexedMesh& sheet : {zan_test::strip(6), single}) {
        const RealMesh meant(sheet), mesh(sheet);
        EXPECT_EQ(closeThinSheets(*meant.pMesh, false, [](const Point3&) { return true; }), 0u);
        EXPECT_EQ(closeThinSheets(*mesh.pMesh, false, isNever), 1u);
        EXPECT_EQ(brokenInvariant(*mesh.pMesh), "");
        const IndexedMesh slab = toIndexed(*mesh.pMesh);
        const zan_test::MeshReport report = zan_test::checkMesh(slab);
        EXPECT_TRUE(report.isClosedManifold() && report.isOriented()) << zan_test::toText(report);
        EXPECT_GT(zan_test::meshVolume(slab), 0.0);
    }
    // A box of many triangles, so that its rim is not long for its size.
    IndexedMesh box;
    constexpr int N = 8;
    const auto at = [&](int face, int i, int j) {
        const double u = double(i) / N, v = double(j) / N;
        const Point3 places[5] = {{u, v, 0}, {u, 0, v}, {1, u, v}, {1 - u, 1, v}, {0, 1 - u, v}};
        for (size_t k = 0; k < box.vPoints.size(); ++k)
            if ((box.vPoints[k] - places[face]).length() < 1e-9)
                return int(k);
        box.vPoints.push_back(places[face]);
        return int(box.vPoints.size()) - 1;
    };
    for (int face = 0; face < 5; ++face)
        for (int i = 0; i < N; ++i)
            for (int j = 0; j < N; ++j) {
                int a = at(face, i, j), b = at(face, i + 1, j), c = at(face, i + 1, j + 1),
                    d = at(face, i, j + 1);
                if (face == 0)
                    std::swap(b, d);
                box.vTriangles.insert(box.vTriangles.end(), {a, b, c, a, c, d});
            }
    const RealMesh mesh(box);
    EXPECT_EQ(closeThinSheets(*mesh.pMesh, false, isNever), 0u);
    EXPECT_EQ(closeThinSheets(*mesh.pMesh, true, isNever), 1u); // no body, whatever its shape
}
