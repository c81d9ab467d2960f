#include "orientOutward.h"

#include "helpers/realMesh.h"
#include "helpers/smallMeshes.h"

#include <gtest/gtest.h>

#include <utility>

using namespace TESK_ZAN;
using zan_test::IndexedMesh;
using zan_test::RealMesh;
using zan_test::toIndexed;

namespace
{

void turn(IndexedMesh& mesh)
{
    for (size_t i = 0; i < mesh.vTriangles.size(); i += 3)
        std::swap(mesh.vTriangles[i], mesh.vTriangles[i + 1]);
}

IndexedMesh movedBy(IndexedMesh mesh, const Vector3& step)
{
    for (Point3& p : mesh.vPoints)
        p.set(p + step);
    return mesh;
}

void append(IndexedMesh& mesh, const IndexedMesh& more)
{
    const int first = int(mesh.vPoints.size());
    mesh.vPoints.insert(mesh.vPoints.end(), more.vPoints.begin(), more.vPoints.end());
    for (const int index : more.vTriangles)
        mesh.vTriangles.push_back(first + index);
}

} // namespace

TEST(OrientOutward, ComponentsThatPointInwardAreTurnedAlsoOpenOnes)
{
    IndexedMesh inward = zan_test::octahedron();
    turn(inward);
    IndexedMesh open = zan_test::openBox();
    turn(open);
    IndexedMesh mixed = movedBy(zan_test::octahedron(), {5, 0, 0});
    append(mixed, inward);
    append(mixed, movedBy(open, {0, 5, 0}));
    append(mixed, movedBy(zan_test::openBox(), {0, 0, 5}));

    RealMesh mesh(mixed);
    const auto before = zan_test::triangleNumbers(*mesh.pMesh);
    EXPECT_EQ(orientOutward(*mesh.pMesh), 2u);
    const auto after = zan_test::triangleNumbers(*mesh.pMesh);
    for (size_t i = 0; i < before.size(); ++i)
        EXPECT_EQ(before[i] != after[i], i >= 8 && i < 26) << i;
    EXPECT_EQ(zan_test::brokenInvariant(*mesh.pMesh), "");
    EXPECT_EQ(orientOutward(*mesh.pMesh), 0u);
}

TEST(OrientOutward, SideIsRightFarFromTheOrigin)
{
    for (const double far : {1e9, -1e9, 1e12}) {
        IndexedMesh inward = movedBy(zan_test::octahedron(), {far, -far, far});
        turn(inward);
        RealMesh mesh(inward);
        EXPECT_EQ(orientOutward(*mesh.pMesh), 1u);
        EXPECT_GT(zan_test::meshVolume(movedBy(toIndexed(*mesh.pMesh), {-far, far, -far})), 1.0);
    }
}

TEST(OrientOutward, SurfaceThatIsNotOrientedHasNoOutside)
{
    IndexedMesh inward = zan_test::octahedron();
    turn(inward);
    std::swap(inward.vTriangles[0], inward.vTriangles[1]);
    RealMesh mesh(inward);
    EXPECT_EQ(orientOutward(*mesh.pMesh), 0u);
    EXPECT_EQ(toIndexed(*mesh.pMesh).vTriangles, inward.vTriangles);
}

TEST(OrientOutward, SurfaceWithoutVolumeStays)
{
    RealMesh flat(zan_test::doubleSheet());
    EXPECT_EQ(orientOutward(*flat.pMesh), 0u);
    IndexedMesh turnedStrip = zan_test::strip(5);
    turn(turnedStrip);
    for (const IndexedMesh& strip : {zan_test::strip(5), turnedStrip}) {
        RealMesh open(strip);
        EXPECT_EQ(orientOutward(*open.pMesh), 0u);
    }
    RealMesh empty{IndexedMesh{}};
    EXPECT_EQ(orientOutward(*empty.pMesh), 0u);
}
