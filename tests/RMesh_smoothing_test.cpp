#include "RMesh.h"

#include "Mesh.h"
#include "Progress.h"
#include "RTop.h"
#include "TaskPool.h"
#include "helpers/captured.h"
#include "helpers/codeMesh.h"
#include "helpers/realMesh.h"
#include "helpers/recorder.h"
#include "helpers/smallMeshes.h"
#include "random.h"
#include "zan_api_functions.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <set>

using namespace TESK_ZAN;
using zan_test::brokenInvariant;
using zan_test::CapturedMessages;
using zan_test::IndexedMesh;
using zan_test::NamedRoot;
using zan_test::RealMesh;
using zan_test::triangleNumbers;

namespace
{

constexpr int GRID = 7; // vertices along a side; the rest of the tests speaks of vertex y * GRID + x

// Rough heights over a square.
IndexedMesh roughGrid(std::uint64_t seed = 3)
{
    return zan_test::gridMesh(GRID,
                              [seed](int x, int y) { return 0.4 * randomAt(seed, size_t(x), size_t(y)); });
}

bool isOnRim(int index)
{
    const int x = index % GRID, y = index / GRID;
    return x == 0 || y == 0 || x == GRID - 1 || y == GRID - 1;
}

std::vector<Point3> positionsOf(const RMesh& mesh)
{
    std::vector<Point3> vPositions;
    for (size_t i = 0; i < mesh.getNumVtx(); ++i)
        vPositions.push_back(*mesh.getVtx(i));
    return vPositions;
}

// The neighbours of each vertex, from the triangles.
std::vector<std::set<int>> neighboursOf(const IndexedMesh& mesh)
{
    std::vector<std::set<int>> vNeigs(mesh.vPoints.size());
    for (size_t i = 0; i < mesh.vTriangles.size(); i += 3)
        for (size_t k = 0; k < 3; ++k) {
            const int a = mesh.vTriangles[i + k], b = mesh.vTriangles[i + (k + 1) % 3];
            vNeigs[size_t(a)].insert(b);
            vNeigs[size_t(b)].insert(a);
        }
    return vNeigs;
}

Point3 meanOf(const std::vector<Point3>& vPositions, const std::set<int>& sIndices)
{
    double x = 0, y = 0, z = 0;
    for (const int i : sIndices)
        vPositions[size_t(i)].addOwnCoords(x, y, z);
    const auto num = double(sIndices.size());
    return {x / num, y / num, z / num};
}

std::shared_ptr<Mesh> handleOf(RealMesh& mesh)
{
    return std::make_shared<Mesh>(mesh.pMesh.release());
}

} // namespace

// ---- laplacianSmoothing ----

TEST(RMeshSmoothing, AllVerticesButTheBorderMoveAtOnceToTheMeanOfTheirNeighbours)
{
    const NamedRoot root;
    const IndexedMesh indexed = roughGrid();
    const auto vNeigs = neighboursOf(indexed);
    RealMesh mesh(indexed);
    std::vector<Point3> vExpected = indexed.vPoints;
    for (int round = 0; round < 3; ++round) {
        const std::vector<Point3> vOld = vExpected;
        for (int i = 0; i < GRID * GRID; ++i)
            if (!isOnRim(i))
                vExpected[size_t(i)] = meanOf(vOld, vNeigs[size_t(i)]);
    }
    mesh->laplacianSmoothing(3, false);
    for (int i = 0; i < GRID * GRID; ++i)
        EXPECT_LT((*mesh.vtx(i) - vExpected[size_t(i)]).length(), 1e-12) << i;
    EXPECT_EQ(brokenInvariant(*mesh.pMesh), "");
}

TEST(RMeshSmoothing, ClosedMeshMovesAsAWholeAndKeepsColours)
{
    const NamedRoot root;
    RealMesh mesh(zan_test::octahedron());
    for (int i = 0; i < 6; ++i)
        mesh.vtx(i)->setColor(static_cast<unsigned char>(i), 1, 2, 3);
    mesh->laplacianSmoothing(1, false);
    for (int i = 0; i < 6; ++i) { // the four neighbours are opposite in pairs: all means are the centre
        unsigned char r = 0, g = 0, b = 0, a = 0;
        mesh.vtx(i)->getColor_255(r, g, b, a);
        EXPECT_EQ(r, i);
    }
    EXPECT_EQ(*mesh.vtx(0), Point3(0, 0, 0)) << "the first to arrive";
    EXPECT_EQ(*mesh.vtx(1), Point3(-1, 0, 0)) << "the place was taken";
    EXPECT_EQ(brokenInvariant(*mesh.pMesh), "");
}

TEST(RMeshSmoothing, DeadEdgesStillCountAsNeighbours)
{
    const NamedRoot root;
    RealMesh mesh(roughGrid());
    const int a = 2 * GRID + 2, c = 3 * GRID + 3; // the flipped diagonal is between vertices of the inside
    ASSERT_NE(mesh.edge(a, c)->tryFlipEdge(mesh.pMesh.get(), nullptr, nullptr), nullptr);
    ASSERT_FALSE(mesh.edge(a, c)->isAlive());
    auto sNeigs = neighboursOf(roughGrid())[size_t(a)];
    const Point3 expected = meanOf(positionsOf(*mesh.pMesh), sNeigs); // the flip does not end at a
    mesh->laplacianSmoothing(1, false);
    EXPECT_LT((*mesh.vtx(a) - expected).length(), 1e-12);
}

TEST(RMeshSmoothing, NoIterationsOnlyRemoveFlatTriangles)
{
    for (const int iterations : {0, -1, std::numeric_limits<int>::min()}) {
        RealMesh mesh(
            IndexedMesh{{{0, 0, 0}, {4, 0, 0}, {2, 1e-9, 0}, {2, 3, 0}}, {0, 1, 2, 0, 2, 3, 2, 1, 3}});
        const auto pMesh = handleOf(mesh);
        laplacianSmoothing(pMesh, iterations);
        EXPECT_EQ(pMesh->getNumT(), 1u);
        EXPECT_EQ(getRootProgress()->getName(), "empty");
    }
}

TEST(RMeshSmoothing, VeryManyIterationsNeedNoMemoryAndEndWhereNothingMovesAnyMore)
{
    const int many = std::numeric_limits<int>::max();
    laplacianSmoothing(std::make_shared<Mesh>(new RMesh(1.0)), many);

    RealMesh mesh(roughGrid());
    const auto pMesh = handleOf(mesh);
    laplacianSmoothing(pMesh, many);
    std::vector<Point3*> vP;
    pMesh->getPoints(vP);
    EXPECT_EQ(vP.size(), size_t(GRID * GRID));
}

TEST(RMeshSmoothing, ProgressRunsThroughAllPhasesToOne)
{
    for (const int iterations : {3, MAX_SMOOTHING_PHASES + 500}) {
        RealMesh mesh(roughGrid());
        zan_test::Recorder recorder;
        subscribe(&recorder);
        laplacianSmoothing(handleOf(mesh), iterations);
        ASSERT_FALSE(recorder.vCalls.empty());
        EXPECT_EQ(recorder.vCalls.front().first, "Smoothing");
        EXPECT_EQ(recorder.vCalls.back().second, 1.0);
        EXPECT_TRUE(std::is_sorted(recorder.vCalls.begin(), recorder.vCalls.end()));
    }
}

TEST(RMeshSmoothing, TwinOfTheDriverAndAnyThreadCountGiveTheSame)
{
    const NamedRoot root;
    RealMesh first(roughGrid());
    first->laplacianSmoothing(4, true);
    for (const int numThreads : {1, 2, 8}) {
        setNumCPU(numThreads);
        RealMesh mesh(roughGrid());
        RTop(mesh.pMesh.get()).laplacianSmoothing(4);
        EXPECT_EQ(positionsOf(*mesh.pMesh), positionsOf(*first.pMesh));
    }
    setNumCPU(0);
}

TEST(RMeshSmoothing, HugeCoordinatesMoveNothingBeyondTheFiniteOnes)
{
    const NamedRoot root;
    IndexedMesh indexed = roughGrid();
    for (Point3& p : indexed.vPoints)
        p.set(1e308 * (p.x() / 10 + 0.5), 1e308 * (p.y() / 10 + 0.5), p.z());
    RealMesh mesh(indexed);
    const CapturedMessages messages;
    mesh->laplacianSmoothing(2, false);
    for (const Point3& p : positionsOf(*mesh.pMesh))
        EXPECT_TRUE(std::isfinite(p.x()) && std::isfinite(p.y()));
}

TEST(RMeshSmoothing, MissingMeshIsAWarning)
{
    const CapturedMessages messages;
    laplacianSmoothing(nullptr, 3);
    EXPECT_TRUE(messages.has("WARNING"));
}

// ---- smoothZeros ----

namespace
{

// The rough grid by way of a mesh on codes, where the given vertices stand for added cells.
std::unique_ptr<RMesh> gridWithZeros(const std::vector<int>& vZero, std::vector<Point3>& vPoints)
{
    const IndexedMesh indexed = roughGrid();
    zan_test::CellSet cells(indexed.vPoints);
    for (const int i : vZero)
        cells.vZeroCCD.push_back(cells.vCode[size_t(i)]);
    std::sort(cells.vZeroCCD.begin(), cells.vZeroCCD.end());
    CMesh onCodes(nullptr, &cells.calc, &cells.mCCDBundle, cells.vZeroCCD);
    const auto& vT = indexed.vTriangles;
    for (size_t i = 0; i < vT.size(); i += 3)
        onCodes.createT(cells.vCode[size_t(vT[i])], cells.vCode[size_t(vT[i + 1])],
                        cells.vCode[size_t(vT[i + 2])], 0, 0);
    vPoints = indexed.vPoints;
    return std::make_unique<RMesh>(&onCodes);
}

} // namespace

TEST(RMeshSmoothing, ZeroVerticesMoveOneAfterTheOtherToTheMeanWithThemselves)
{
    std::vector<Point3> vPoints;
    const std::vector<int> vZero = {2 * GRID + 2, 2 * GRID + 3, 3 * GRID + 3, 4 * GRID + 1};
    const auto pMesh = gridWithZeros(vZero, vPoints);
    const auto vNeigs = neighboursOf(roughGrid());
    std::vector<int> vInCodeOrder; // the order of the sweep
    for (const Point3* pVtx : pMesh->getZeroVtx())
        for (const int i : vZero)
            if (*pVtx == vPoints[size_t(i)])
                vInCodeOrder.push_back(i);
    ASSERT_EQ(vInCodeOrder.size(), vZero.size());

    std::vector<Point3> vExpected = vPoints;
    for (int round = 0; round < 5; ++round)
        for (const int i : vInCodeOrder) {
            std::set<int> sAll = vNeigs[size_t(i)];
            sAll.insert(i);
            vExpected[size_t(i)] = meanOf(vExpected, sAll);
        }
    pMesh->smoothZeros(5);
    for (size_t i = 0; i < vInCodeOrder.size(); ++i)
        EXPECT_LT((*pMesh->getZeroVtx()[i] - vExpected[size_t(vInCodeOrder[i])]).length(), 1e-12);
    for (int i = 0; i < GRID * GRID; ++i)
        EXPECT_EQ(pMesh->hasVtx(vPoints[size_t(i)]), std::count(vZero.begin(), vZero.end(), i) == 0);
    EXPECT_EQ(brokenInvariant(*pMesh), "");
}

TEST(RMeshSmoothing, ZeroVertexOnTheBorderStays)
{
    std::vector<Point3> vPoints;
    const int onRim = 3, inside = 2 * GRID + 2;
    const auto pMesh = gridWithZeros({onRim, inside}, vPoints);
    pMesh->smoothZeros(5);
    EXPECT_TRUE(pMesh->hasVtx(vPoints[size_t(onRim)]));
    EXPECT_FALSE(pMesh->hasVtx(vPoints[size_t(inside)]));
}

TEST(RMeshSmoothing, WithoutZeroVerticesOrRoundsNothingMoves)
{
    std::vector<Point3> vPoints;
    const auto pNone = gridWithZeros({}, vPoints);
    pNone->smoothZeros(5);
    const auto pNoRound = gridWithZeros({2 * GRID + 2}, vPoints);
    for (const int iterations : {0, -3})
        pNoRound->smoothZeros(iterations);
    for (const Point3& p : vPoints)
        EXPECT_TRUE(pNone->hasVtx(p) && pNoRound->hasVtx(p));
}
