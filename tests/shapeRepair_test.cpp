#include "shapeRepair.h"

#include "LocalChange.h"
#include "RMesh.h"
#include "TaskPool.h"
#include "helpers/meshChecks.h"
#include "helpers/realMesh.h"
#include "helpers/smallMeshes.h"
#include "random.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>

using namespace TESK_ZAN;
using zan_test::aliveT;
using zan_test::brokenInvariant;
using zan_test::IndexedMesh;
using zan_test::MeshReport;
using zan_test::RealMesh;
using zan_test::toIndexed;
using zan_test::triangleNumbers;

namespace
{

constexpr int N = 7;

int at(int x, int y)
{
    return y * N + x;
}

// Two of its vertices 0.1 apart, in the inside.
IndexedMesh gridWithNeedles()
{
    IndexedMesh mesh = zan_test::flatGrid(N);
    mesh.vPoints[size_t(at(3, 3))].set(2.1, 3, 0);
    return mesh;
}

// A closed tube with a ring of n vertices at each of z = 0 .. length, and a tip at both ends.
IndexedMesh tube(int n, int length, double radius)
{
    IndexedMesh mesh;
    const auto on = [n](int z, int i) { return z * n + i % n; };
    for (int z = 0; z <= length; ++z)
        for (int i = 0; i < n; ++i)
            mesh.vPoints.emplace_back(radius * std::cos(2 * std::numbers::pi * i / n),
                                      radius * std::sin(2 * std::numbers::pi * i / n), z);
    const int bottom = int(mesh.vPoints.size());
    mesh.vPoints.emplace_back(0, 0, -1);
    mesh.vPoints.emplace_back(0, 0, length + 1);
    for (int i = 0; i < n; ++i) {
        mesh.vTriangles.insert(mesh.vTriangles.end(), {bottom, on(0, i + 1), on(0, i)});
        mesh.vTriangles.insert(mesh.vTriangles.end(), {bottom + 1, on(length, i), on(length, i + 1)});
        for (int z = 0; z < length; ++z)
            mesh.vTriangles.insert(mesh.vTriangles.end(), {on(z, i), on(z, i + 1), on(z + 1, i + 1), on(z, i),
                                                           on(z + 1, i + 1), on(z + 1, i)});
    }
    return mesh;
}

size_t numSlivers(const RMesh& mesh)
{
    const double cos10 = std::cos(10 * std::numbers::pi / 180);
    const auto vRT = aliveT(mesh);
    return size_t(std::count_if(vRT.begin(), vRT.end(), [cos10](const RTriangle* pRT) {
        return leastAngleCos(*pRT->getCorner(0), *pRT->getCorner(1), *pRT->getCorner(2)) > cos10;
    }));
}

size_t numFolds(const RMesh& mesh)
{
    size_t num = 0;
    for (const REdge* pRE : mesh.getAllRE()) {
        RTriangle *pT0 = nullptr, *pT1 = nullptr;
        bool bOK0 = false, bOK1 = false;
        if (pRE->getAdjT(pT0, pT1, true))
            num += pT0->getNNV(bOK0) * pT1->getNNV(bOK1) < FOLD_COS ? 1 : 0;
    }
    return num;
}

// What no repair may change but for vertices that vanish, one edge and two triangles fewer each time.
void expectSameTopology(const RealMesh& mesh, const IndexedMesh& before, size_t numVanished)
{
    const IndexedMesh after = toIndexed(*mesh.pMesh);
    const MeshReport was = zan_test::checkMesh(before);
    const MeshReport is = zan_test::checkMesh(after);
    EXPECT_TRUE(is.isManifold() && is.isOriented()) << toText(is);
    EXPECT_EQ(is.euler, was.euler);
    EXPECT_EQ(is.numComponents, was.numComponents);
    EXPECT_EQ(is.numEdges(1), was.numEdges(1));
    EXPECT_EQ(is.numVertices, was.numVertices - numVanished);
    EXPECT_EQ(is.numDegenerate + is.numDuplicates, 0u);
    EXPECT_EQ(zan_test::numForeignVertices(after, before.vPoints), 0u);
    EXPECT_EQ(brokenInvariant(*mesh.pMesh), "");
}

} // namespace

TEST(ShapeRepair, ACapFlipsAndKeepsAllVertices)
{
    IndexedMesh cap = zan_test::flatGrid(N);
    cap.vPoints[size_t(at(3, 3))].set(3.48, 2.52, 0); // next to the diagonal of the square below
    RealMesh mesh(cap);
    ASSERT_GT(numSlivers(*mesh.pMesh), 0u);
    const ShapeReport report = repairShapes(*mesh.pMesh);
    EXPECT_GT(report.numFlips, 0u);
    EXPECT_EQ(report.numCollapses, 0u);
    EXPECT_EQ(numSlivers(*mesh.pMesh), 0u);
    expectSameTopology(mesh, cap, 0);
}

TEST(ShapeRepair, ANeedleLosesOneEndOfItsShortEdge)
{
    RealMesh mesh(gridWithNeedles());
    ASSERT_GT(numSlivers(*mesh.pMesh), 0u);
    EXPECT_EQ(repairShapes(*mesh.pMesh).numCollapses, 1u);
    EXPECT_EQ(numSlivers(*mesh.pMesh), 0u);
    expectSameTopology(mesh, gridWithNeedles(), 1);
}

// A vertex of three triangles that lies beyond one of them turns that one over.
TEST(ShapeRepair, AFoldFlipsInAnyUnit)
{
    for (const double unit : {1e-4, 1.0, 1e4}) {
        IndexedMesh fold = zan_test::flatGrid(N);
        zan_test::splitInThree(fold, 2 * (3 * (N - 1) + 3));
        fold.vPoints.back().set(3.4, 3.7, 0);
        for (Point3& p : fold.vPoints)
            p.set(unit * p.x(), unit * p.y(), 0);
        RealMesh mesh(fold, unit);
        ASSERT_EQ(numFolds(*mesh.pMesh), 3u);
        repairShapes(*mesh.pMesh);
        EXPECT_EQ(numFolds(*mesh.pMesh), 0u) << unit;
        expectSameTopology(mesh, fold, 0);
    }
}

TEST(ShapeRepair, WhatStandsOutMoreThanHalfACellStays)
{
    IndexedMesh bump = gridWithNeedles();
    bump.vPoints[size_t(at(3, 3))].set(2.1, 3, 0.05);
    for (const double cellSize : {1.0, 0.03}) {
        RealMesh mesh(bump, cellSize);
        EXPECT_EQ(repairShapes(*mesh.pMesh).numCollapses, cellSize == 1.0 ? 1u : 0u) << cellSize;
    }
}

TEST(ShapeRepair, BordersKeepTheirVertices)
{
    IndexedMesh atBorder = zan_test::flatGrid(N);
    atBorder.vPoints[size_t(at(3, 0))].set(2.1, 0, 0); // a short edge on the border
    atBorder.vPoints[size_t(at(0, 4))].set(0, 3.1, 0);
    RealMesh mesh(atBorder);
    const ShapeReport report = repairShapes(*mesh.pMesh);
    EXPECT_GT(report.numBad, 0u);
    expectSameTopology(mesh, atBorder, report.numCollapses);
    for (int i = 0; i < N; ++i)
        for (const int index : {at(i, 0), at(0, i), at(i, N - 1), at(N - 1, i)})
            EXPECT_FALSE(recordOf(mesh.vtx(index)).vTNumbers.empty()) << index;
}

TEST(ShapeRepair, AThinTubeIsNotPinched)
{
    const IndexedMesh thin = tube(3, 6, 0.04);
    RealMesh mesh(thin, 1.0);
    ASSERT_GT(numSlivers(*mesh.pMesh), 0u);
    const ShapeReport report = repairShapes(*mesh.pMesh);
    expectSameTopology(mesh, thin, report.numCollapses);
    LocalChanger changer(*mesh.pMesh);
    Shape after;
    for (REdge* pRE : mesh->getAllRE())
        for (int i = 0; i < 2; ++i) {
            const bool bInRing = pRE->isAlive() && pRE->getVtx0()->z() == pRE->getVtx1()->z();
            EXPECT_FALSE(bInRing && changer.improves({pRE, pRE->getVertex(i)}, Allowance{}, after));
        }
}

// Rough closed and open surfaces: whatever is done, the surface hangs together as before, and a thread more
// or less makes no difference.
TEST(ShapeRepair, RoughSurfacesGetBetterAndKeepTheirTopology)
{
    for (u64 seed = 0; seed < 20; ++seed) {
        IndexedMesh rough = seed % 2 == 0 ? tube(12, 150, 2) : zan_test::flatGrid(N);
        Random random(seed);
        for (Point3& p : rough.vPoints)
            p.set(p.x() + 0.9 * random.uniform(), p.y() + 0.9 * random.uniform(),
                  p.z() + 0.3 * random.uniform());
        RealMesh mesh(rough, 5.0);
        RealMesh twin(rough, 5.0);
        const size_t numBefore = numSlivers(*mesh.pMesh) + numFolds(*mesh.pMesh);
        setNumCPU(3);
        const ShapeReport report = repairShapes(*mesh.pMesh);
        setNumCPU(1);
        repairShapes(*twin.pMesh);
        setNumCPU(0);
        EXPECT_EQ(triangleNumbers(*mesh.pMesh), triangleNumbers(*twin.pMesh));
        EXPECT_LE(numSlivers(*mesh.pMesh) + numFolds(*mesh.pMesh), numBefore);
        expectSameTopology(mesh, rough, report.numCollapses);
        const ShapeReport again = repairShapes(*mesh.pMesh);
        EXPECT_EQ(again.numFlips + again.numCollapses, 0u) << seed;
    }
}
