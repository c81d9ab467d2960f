#include "holeClosing.h"

#include "Mesh.h"
#include "RMesh.h"
#include "TaskPool.h"
#include "borderLoops.h"
#include "helpers/captured.h"
#include "helpers/codeMesh.h"
#include "helpers/meshChecks.h"
#include "helpers/realMesh.h"
#include "helpers/shapes.h"
#include "helpers/smallMeshes.h"
#include "zan_api_functions.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <map>
#include <numbers>
#include <random>
#include <set>

using namespace TESK_ZAN;
using namespace zan_test;

namespace
{

void drop(IndexedMesh& mesh, std::vector<size_t> vTriangles)
{
    std::sort(vTriangles.rbegin(), vTriangles.rend());
    for (const size_t triangle : vTriangles)
        mesh.vTriangles.erase(mesh.vTriangles.begin() + std::ptrdiff_t(3 * triangle),
                              mesh.vTriangles.begin() + std::ptrdiff_t(3 * triangle + 3));
}

// Rings of n vertices, ring by ring at the given radius and height, joined by triangles; open at both ends.
IndexedMesh rings(int n, const std::vector<std::pair<double, double>>& vRadiusHeight)
{
    IndexedMesh mesh;
    for (size_t ring = 0; ring < vRadiusHeight.size(); ++ring)
        for (int i = 0; i < n; ++i) {
            const double angle = 2 * std::numbers::pi * i / n;
            mesh.vPoints.emplace_back(vRadiusHeight[ring].first * std::cos(angle),
                                      vRadiusHeight[ring].first * std::sin(angle),
                                      vRadiusHeight[ring].second);
        }
    for (int ring = 0; ring + 1 < int(vRadiusHeight.size()); ++ring)
        for (int i = 0; i < n; ++i) {
            const int a = ring * n + i, b = ring * n + (i + 1) % n, c = a + n, d = b + n;
            mesh.vTriangles.insert(mesh.vTriangles.end(), {a, b, d, a, d, c});
        }
    return mesh;
}

struct Closed {
    explicit Closed(const IndexedMesh& indexed, int maxEdges = 0) : mesh(indexed)
    {
        const CapturedMessages messages;
        const NamedRoot root;
        report = closeHoles(*mesh.pMesh, maxEdges);
        result = toIndexed(*mesh.pMesh);
        text = messages.text();
        broken = brokenInvariant(*mesh.pMesh);
    }

    RealMesh mesh;
    HoleReport report;
    IndexedMesh result;
    std::string text, broken;
};

Shape sphereWithHoles(size_t n, const std::vector<std::pair<Point3, double>>& vHoles)
{
    Shape shape = sphere(n);
    std::erase_if(shape.vPoints, [&](const Point3& p) {
        return std::any_of(vHoles.begin(), vHoles.end(),
                           [&](const auto& hole) { return (p - hole.first).length() < hole.second; });
    });
    return shape;
}

// Edges across which the surface turns by more than 150 degrees.
size_t numFolds(const IndexedMesh& mesh)
{
    std::map<std::pair<size_t, size_t>, Vector3> mSide2NNV;
    size_t num = 0;
    for (size_t i = 0; i < mesh.vTriangles.size(); i += 3) {
        const auto* v = mesh.vTriangles.data() + i;
        const Vector3 nnv = normalize(crossProd(mesh.vPoints[size_t(v[1])] - mesh.vPoints[size_t(v[0])],
                                                mesh.vPoints[size_t(v[2])] - mesh.vPoints[size_t(v[0])]));
        for (int k = 0; k < 3; ++k) {
            const size_t a = size_t(v[k]), b = size_t(v[(k + 1) % 3]);
            const auto other = mSide2NNV.find({b, a});
            num += other != mSide2NNV.end() && other->second * nnv < -std::sqrt(0.75) ? 1 : 0;
            mSide2NNV[{a, b}] = nnv;
        }
    }
    return num;
}

// Triangles of the one mesh that the other one does not have.
size_t numMissing(const IndexedMesh& before, const IndexedMesh& after)
{
    const auto trianglesOf = [](const IndexedMesh& mesh) {
        std::set<std::array<double, 9>> sTriangles;
        for (size_t i = 0; i < mesh.vTriangles.size(); i += 3) {
            std::array<double, 9> corners;
            for (size_t k = 0; k < 3; ++k) {
                const Point3& p = mesh.vPoints[size_t(mesh.vTriangles[i + k])];
                corners[3 * k] = p.x(), corners[3 * k + 1] = p.y(), corners[3 * k + 2] = p.z();
            }
            sTriangles.insert(corners);
        }
        return sTriangles;
    };
    const auto sBefore = trianglesOf(before), sAfter = trianglesOf(after);
    return size_t(std::count_if(sBefore.begin(), sBefore.end(),
                                [&](const auto& corners) { return sAfter.count(corners) == 0; }));
}

IndexedMesh indexedOf(const Mesh& mesh)
{
    return toIndexed(*mesh.getRMesh());
}

} // namespace

TEST(BorderLoops, eachLoopComesOnceInPathOrderAlsoWhereTwoTouch)
{
    IndexedMesh indexed = octahedron();
    drop(indexed, {0, 2}); // they share vertex 4
    const RealMesh mesh(indexed);
    std::vector<std::vector<REdge*>> vLoops;
    getBorderLoops(*mesh.pMesh, vLoops);
    EXPECT_EQ(vLoops.size(), 2u);
    size_t numRE = 0;
    for (const auto& vLoopRE : vLoops)
        for (size_t i = 0; i < vLoopRE.size(); ++i, ++numRE) {
            const REdge* pNextRE = vLoopRE[(i + 1) % vLoopRE.size()];
            EXPECT_TRUE(vLoopRE[i]->has(pNextRE->getVtx0()) || vLoopRE[i]->has(pNextRE->getVtx1()));
        }
    EXPECT_EQ(numRE, 6u);
}

TEST(CloseHoles, missingTrianglesComeBackOneTwoAndTwoThatShareAVertex)
{
    const std::vector<std::vector<size_t>> vDropped = {{0}, {3, 5}, {0, 1}, {0, 2}};
    const std::vector<size_t> vNumHoles = {1, 2, 1, 2};
    for (size_t i = 0; i < vDropped.size(); ++i) {
        IndexedMesh indexed = octahedron();
        drop(indexed, vDropped[i]);
        const Closed closed(indexed);
        EXPECT_EQ(closed.report.numClosed, vNumHoles[i]) << i << closed.text;
        const MeshReport report = checkMesh(closed.result);
        EXPECT_TRUE(report.isClosedManifold()) << i << toText(report);
        EXPECT_TRUE(report.isOriented()) << i;
        EXPECT_EQ(closed.broken, "");
    }
}

TEST(CloseHoles, outerRimsStayAndTheMouthOfACupIsAHole)
{
    const IndexedMesh disc =
        rings(30, {{1, 0}, {0.8, 0}, {0.6, 0}}); // the hole in it is closed, the rim is not
    const Closed closedDisc(disc);
    EXPECT_EQ(closedDisc.report.numClosed, 1u);
    EXPECT_EQ(closedDisc.report.numRims, 1u);
    EXPECT_EQ(checkMesh(closedDisc.result).numEdges(1), 30u);
    EXPECT_EQ(closedDisc.text, "");

    const Closed closedStrip(strip(8));
    EXPECT_EQ(closedStrip.report.numClosed, 0u);
    EXPECT_EQ(closedStrip.report.numLeftOpen, 0u);

    const Closed closedCup(rings(30, {{1, 2}, {1, 1.5}, {1, 1}, {1, 0.5}, {0.8, 0.2}, {0.5, 0}}));
    EXPECT_EQ(closedCup.report.numClosed, 2u) << "its mouth and its bottom";
    EXPECT_TRUE(checkMesh(closedCup.result).isClosedManifold());
    EXPECT_TRUE(checkMesh(closedCup.result).isOriented());
}

TEST(CloseHoles, theMouthOfAVaseWithAFlaredLipIsAHole)
{
    // From the lip alone it looks like the rim of a disc.
    const IndexedMesh vase = rings(30, {{0.7, 1.4},
                                        {0.5, 1.2},
                                        {0.3, 1},
                                        {0.3, 0.8},
                                        {0.8, 0.5},
                                        {1, 0},
                                        {1, -0.5},
                                        {0.8, -0.9},
                                        {0.3, -1}});
    const Closed closed(vase);
    EXPECT_EQ(closed.report.numClosed, 2u) << closed.text;
    EXPECT_EQ(closed.report.numRims, 0u);
    EXPECT_TRUE(checkMesh(closed.result).isClosedManifold());
    EXPECT_TRUE(checkMesh(closed.result).isOriented());
}

TEST(CloseHoles, aWideMouthGetsALidOfEvenTriangles)
{
    constexpr int N = 304; // more than a triangulation between corners can do with
    const double step = 2 * std::numbers::pi / N;
    std::vector<std::pair<double, double>> vRadiusHeight;
    for (int i = 0; i < 6; ++i)
        vRadiusHeight.emplace_back(1.0, i * step);
    IndexedMesh tube = rings(N, vRadiusHeight);
    drop(tube, {0}); // so the lower mouth has one edge more, and stays
    const Closed closed(tube, N);
    EXPECT_EQ(closed.report.numClosed, 1u) << closed.text;
    const MeshReport report = checkMesh(closed.result);
    EXPECT_TRUE(report.isManifold() && report.isOriented());
    EXPECT_EQ(report.numEdges(1), size_t(N + 1));
    EXPECT_NEAR(meshArea(closed.result), std::numbers::pi * (1 + 2 * 5 * step), 0.01);
    EXPECT_EQ(numFolds(closed.result), 0u);
    EXPECT_GT(closed.result.numT(), tube.numT() + 10000);
}

TEST(CloseHoles, holesThatTouchEachOtherOrTheOuterRimAreAllClosedAndTheRimStays)
{
    constexpr int N = 12;
    const IndexedMesh disc = rings(N, {{1, 0}, {0.8, 0}, {0.6, 0}, {0.4, 0}});
    std::mt19937 random(3);
    for (int i = 0; i < 60; ++i) {
        std::set<size_t> sDropped;
        while (sDropped.size() < 5) {
            const size_t t = random() % disc.numT();
            if (t >= 2 * N || t % 2 == 1) // even ones of the first ring have a side on the rim
                sDropped.insert(t);
        }
        IndexedMesh indexed = disc;
        drop(indexed, {sDropped.begin(), sDropped.end()});
        const Closed closed(indexed);
        EXPECT_EQ(closed.report.numRims, 1u) << i;
        EXPECT_EQ(closed.text, "") << i;
        const MeshReport report = checkMesh(closed.result);
        EXPECT_EQ(report.numEdges(1), size_t(N)) << i;
        EXPECT_TRUE(report.isManifold() && report.isOriented()) << i;
        EXPECT_NEAR(meshArea(closed.result), N * std::sin(2 * std::numbers::pi / N) / 2, 1e-9) << i;
    }
}

TEST(CloseHoles, onlyHolesWithAtMostSoManyEdgesAreClosed)
{
    IndexedMesh indexed = rings(30, {{1, 0}, {0.8, 0}, {0.6, 0}, {0.4, 0}});
    drop(indexed, {70});
    const Closed closed(indexed, 29);
    EXPECT_EQ(closed.report.numClosed, 1u);
    EXPECT_EQ(checkMesh(closed.result).numEdges(1), 60u);
    const Closed all(indexed, 30);
    EXPECT_EQ(all.report.numClosed, 2u);
}

TEST(CloseHoles, aLoneTriangleAndNothingAtAllStay)
{
    const Closed lone({{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {0, 1, 2}});
    EXPECT_EQ(lone.report.numClosed, 0u);
    EXPECT_EQ(lone.result.numT(), 1u);
    const Closed empty(IndexedMesh{});
    EXPECT_EQ(empty.report.numClosed, 0u);
}

TEST(CloseHoles, tangledTrianglesOfAnyOrientationAreNoTrouble)
{
    std::mt19937 random(1);
    size_t numClosed = 0;
    for (int i = 0; i < 200; ++i) {
        IndexedMesh tangle;
        for (unsigned int k = 0, n = 4 + unsigned(random() % 12); k < n; ++k)
            tangle.vPoints.emplace_back(random() % 1000, random() % 1000, i % 2 == 0 ? 0 : random() % 1000);
        std::set<std::set<int>> sSeen;
        for (unsigned int k = 0, n = 4 + unsigned(random() % 36); k < n; ++k) {
            const auto corner = [&] { return int(random() % tangle.vPoints.size()); };
            const int a = corner(), b = corner(), c = corner();
            if (a != b && b != c && c != a && sSeen.insert({a, b, c}).second)
                tangle.vTriangles.insert(tangle.vTriangles.end(), {a, b, c});
        }
        const size_t numOverfull = checkMesh(tangle).numEdges(3);
        const Closed closed(tangle);
        numClosed += closed.report.numClosed;
        EXPECT_EQ(closed.broken, "") << i;
        EXPECT_EQ(checkMesh(closed.result).numEdges(3), numOverfull) << i;
    }
    EXPECT_GT(numClosed, 0u);
}

TEST(CloseHoles, crowdedFarAndTinyMeshesAreNoTrouble)
{
    IndexedMesh indexed = rings(12, {{1, 0}, {0.5, 0.1}, {0.3, 0.3}, {0.2, 0.6}});
    for (const double scale : {1e-200, 1e-12, 1.0, 1e9, 1e150}) {
        IndexedMesh scaled = indexed;
        for (Point3& p : scaled.vPoints)
            p.set(scale * p.x(), scale * p.y(), scale * p.z());
        const Closed closed(scaled);
        EXPECT_EQ(closed.broken, "") << scale;
        EXPECT_TRUE(checkMesh(closed.result).isManifold()) << scale;
    }
    IndexedMesh far = indexed; // about as fine as numbers are there
    for (Point3& p : far.vPoints)
        p.set(1e9 + 1e-5 * p.x(), 1e-5 * p.y(), -1e9 + 1e-5 * p.z());
    EXPECT_TRUE(checkMesh(Closed(far).result).isManifold());
    // A ring of very small triangles along a wide hole.
    const Closed crowded(rings(40, {{1.0, 0}, {1.0 + 1e-9, 1e-9}, {1.0 + 1e-6, 1e-9}, {2.0, -0.5}}));
    EXPECT_EQ(crowded.broken, "");
    EXPECT_TRUE(checkMesh(crowded.result).isManifold());
}

TEST(CloseHoles, aScannedSphereIsClosedOnItsSurfaceForAnyThreadCount)
{
    const CapturedMessages messages;
    const double spacing = std::sqrt(4 * std::numbers::pi / 20000);
    const Shape shape = sphereWithHoles(
        20000, {{{0, 0, 1}, 3.2 * spacing}, {{1, 0, 0}, 6 * spacing}, {{0, -0.6, 0.8}, 9 * spacing}});
    std::vector<std::string> vResults;
    for (const int numCPU : {1, 2, 8}) {
        setNumCPU(numCPU);
        std::vector<Point3> vPoints = shape.vPoints;
        const std::shared_ptr<Mesh> pMesh = reconstruct_auto(vPoints, 1.0, 0);
        const IndexedMesh before = indexedOf(*pMesh);
        ASSERT_GT(checkMesh(before).numEdges(1), 0u);
        EXPECT_GE(closeHoles(pMesh, 0), 3);
        const IndexedMesh mesh = indexedOf(*pMesh);
        const MeshReport report = checkMesh(mesh);
        EXPECT_TRUE(report.isClosedManifold()) << toText(report);
        EXPECT_TRUE(report.isOriented());
        EXPECT_EQ(report.euler, 2);
        EXPECT_GT(meshVolume(mesh), 4.1);
        EXPECT_LT(maxDistance(mesh, shape.distance), spacing);
        EXPECT_EQ(numFolds(mesh), 0u);
        EXPECT_LT(numMissing(before, mesh), before.numT() / 200) << "a few at folds";
        std::string bytes;
        for (const Point3& p : mesh.vPoints)
            for (const double c : {p.x(), p.y(), p.z()})
                bytes.append(reinterpret_cast<const char*>(&c), sizeof c);
        vResults.push_back(bytes);
    }
    setNumCPU(0);
    EXPECT_EQ(vResults[0], vResults[1]);
    EXPECT_EQ(vResults[0], vResults[2]);
}

TEST(CloseHoles, smoothedReducedAndColouredMeshesAreClosedTooAndColoursGoOn)
{
    const CapturedMessages messages;
    Shape shape = sphereWithHoles(8000, {{{0, 0, 1}, 0.2}});
    for (Point3& p : shape.vPoints)
        p.setColor(p.z() > 0 ? 200 : 10, 100, 50, 255);
    const std::vector<std::function<void(std::shared_ptr<Mesh>)>> vSteps = {
        [](auto) {}, [](auto pMesh) { laplacianSmoothing(pMesh, 3); },
        [](auto pMesh) { reduce(pMesh, 1.0, 8.0); }};
    for (const auto& step : vSteps) {
        std::vector<Point3> vPoints = shape.vPoints;
        const std::shared_ptr<Mesh> pMesh = reconstruct_auto(vPoints, 1.0, 0);
        step(pMesh);
        EXPECT_GE(closeHoles(pMesh, 0), 1);
        const IndexedMesh mesh = indexedOf(*pMesh);
        EXPECT_TRUE(checkMesh(mesh).isClosedManifold()) << toText(checkMesh(mesh));
        EXPECT_TRUE(checkMesh(mesh).isOriented());
        for (const Point3& p : mesh.vPoints) {
            ASSERT_TRUE(p.hasColor());
            unsigned char r, g, b, a;
            p.getColor_255(r, g, b, a);
            EXPECT_TRUE(p.z() < 0.9 || r == 200);
        }
    }
}

TEST(CloseHoles, progressEndsAndNoMeshIsAWarning)
{
    CapturedMessages messages;
    EXPECT_EQ(closeHoles(nullptr, 0), 0);
    EXPECT_TRUE(messages.has("no mesh"));
    EXPECT_EQ(getRootProgress()->getName(), "empty");
}
