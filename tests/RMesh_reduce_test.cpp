#include "RMesh.h"

#include "Mesh.h"
#include "Progress.h"
#include "RTop.h"
#include "TaskPool.h"
#include "helpers/captured.h"
#include "helpers/realMesh.h"
#include "helpers/smallMeshes.h"
#include "random.h"
#include "zan_api_functions.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <numbers>
#include <set>

using namespace TESK_ZAN;
using zan_test::aliveT;
using zan_test::brokenInvariant;
using zan_test::CapturedMessages;
using zan_test::IndexedMesh;
using zan_test::MeshReport;
using zan_test::RealMesh;
using zan_test::triangleNumbers;

namespace
{

constexpr double INF = std::numeric_limits<double>::infinity();
constexpr double NO_NUMBER = std::numeric_limits<double>::quiet_NaN();

// Six triangles around vertex 0, which stands at the given height over its ring of radius 1.
IndexedMesh hexagon(double height)
{
    IndexedMesh mesh;
    mesh.vPoints.emplace_back(0, 0, height);
    for (int i = 0; i < 6; ++i) {
        const double angle = i * std::numbers::pi / 3;
        mesh.vPoints.emplace_back(std::cos(angle), std::sin(angle), 0);
        mesh.vTriangles.insert(mesh.vTriangles.end(), {0, 1 + i, 1 + (i + 1) % 6});
    }
    return mesh;
}

IndexedMesh wavyGrid(int n)
{
    return zan_test::gridMesh(n, [n](int x, int y) {
        return 0.05 * n * std::sin(6.0 * x / n) * std::cos(5.0 * y / n) +
               0.03 * randomAt(7, size_t(x), size_t(y));
    });
}

// Closed surfaces of revolution: numMinor around the tube, numMajor along it.
IndexedMesh torus(int numMajor, int numMinor, double minorR)
{
    IndexedMesh mesh;
    for (int i = 0; i < numMajor; ++i)
        for (int j = 0; j < numMinor; ++j) {
            const double u = 2 * std::numbers::pi * i / numMajor;
            const double v = 2 * std::numbers::pi * j / numMinor;
            const double r = 1 + minorR * std::cos(v);
            mesh.vPoints.emplace_back(r * std::cos(u), r * std::sin(u), minorR * std::sin(v));
        }
    const auto at = [=](int i, int j) { return (i % numMajor) * numMinor + j % numMinor; };
    for (int i = 0; i < numMajor; ++i)
        for (int j = 0; j < numMinor; ++j) {
            mesh.vTriangles.insert(mesh.vTriangles.end(), {at(i, j), at(i + 1, j), at(i + 1, j + 1)});
            mesh.vTriangles.insert(mesh.vTriangles.end(), {at(i, j), at(i + 1, j + 1), at(i, j + 1)});
        }
    return mesh;
}

// The octahedron, each triangle cut in four numLevels times, on the unit sphere.
IndexedMesh ball(int numLevels)
{
    IndexedMesh mesh = zan_test::octahedron();
    for (int level = 0; level < numLevels; ++level) {
        std::map<std::pair<int, int>, int> mMid;
        const auto mid = [&](int a, int b) {
            const auto [pos, bNew] = mMid.emplace(std::minmax(a, b), int(mesh.vPoints.size()));
            if (bNew) {
                const Vector3 sum =
                    (mesh.vPoints[size_t(a)] - Point3()) + (mesh.vPoints[size_t(b)] - Point3());
                mesh.vPoints.push_back(Point3() + normalize(sum));
            }
            return pos->second;
        };
        std::vector<int> vNew;
        for (size_t i = 0; i < mesh.vTriangles.size(); i += 3) {
            const int* t = &mesh.vTriangles[i];
            const int m01 = mid(t[0], t[1]), m12 = mid(t[1], t[2]), m20 = mid(t[2], t[0]);
            vNew.insert(vNew.end(), {t[0], m01, m20, t[1], m12, m01, t[2], m20, m12, m01, m12, m20});
        }
        mesh.vTriangles = vNew;
    }
    return mesh;
}

double penaltyOf(const RealMesh& mesh, int src, int trg, double maxAngleDeg)
{
    const REdge* pRE = mesh.edge(src, trg);
    std::vector<RTriangle*> vSrcT;
    return mesh->getCollapsePenalty(pRE, pRE->getVtx0() == mesh.vtx(src) ? 0 : 1, INF,
                                    maxAngleDeg * RADIANS_PER_DEGREE, vSrcT);
}

void paint(RealMesh& mesh, int index, int grey)
{
    const auto c = static_cast<unsigned char>(grey);
    mesh.vtx(index)->setColor(c, c, c, 255);
}

MeshReport reportOf(const RMesh& mesh)
{
    return zan_test::checkMesh(zan_test::toIndexed(mesh));
}

int reduceMesh(RealMesh& mesh, double maxLen, double maxAngleDeg)
{
    return mesh->reduce(maxLen * maxLen, maxAngleDeg);
}

// With a progress tree open, as in a run.
class RMeshReduce : public testing::Test
{
protected:
    RMeshReduce() { getRootProgress()->setName("test"); }
    ~RMeshReduce() override { getRootProgress()->clear(); }
};

} // namespace

// ---- The penalty ----

TEST_F(RMeshReduce, PenaltyAddsMeanAngleAndRootOfLengthInCells)
{
    EXPECT_NEAR(penaltyOf(RealMesh(hexagon(0), 1.0), 0, 1, 30), 1.0, 1e-9);
    EXPECT_NEAR(penaltyOf(RealMesh(hexagon(0), 0.25), 0, 1, 30), 2.0, 1e-9);
    EXPECT_NEAR(penaltyOf(RealMesh(hexagon(0.1)), 0, 1, 30), 12.49858272938502, 1e-9);
    EXPECT_NEAR(penaltyOf(RealMesh(hexagon(0.4)), 0, 1, 30), 44.30674972984898, 1e-9);
    EXPECT_EQ(penaltyOf(RealMesh(hexagon(0.1)), 0, 1, 5), COLLAPSE_FORBIDDEN);
}

TEST_F(RMeshReduce, LoneTriangleCostsItsLengthAlone)
{
    EXPECT_NEAR(penaltyOf(RealMesh({{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {0, 1, 2}}), 0, 1, 30), 1.0, 1e-12);
}

TEST_F(RMeshReduce, TetrahedronHasNoCollapseSinceTrianglesWouldCoincide)
{
    RealMesh mesh(zan_test::tetrahedron());
    for (const REdge* pRE : mesh->getAllRE())
        for (int dir = 0; dir < 2; ++dir) {
            std::vector<RTriangle*> vSrcT;
            EXPECT_EQ(mesh->getCollapsePenalty(pRE, dir, INF, 10, vSrcT), COLLAPSE_FORBIDDEN);
        }
    EXPECT_EQ(reduceMesh(mesh, INF, 180), 0);
}

TEST_F(RMeshReduce, ColoursApartForbidAndNearOnesCost)
{
    RealMesh mesh(hexagon(0));
    for (int i = 0; i < 7; ++i)
        paint(mesh, i, 100);
    EXPECT_NEAR(penaltyOf(mesh, 0, 1, 30), 1.0, 1e-9);
    paint(mesh, 1, 101);
    EXPECT_NEAR(penaltyOf(mesh, 0, 1, 30), 41.91985983125651, 1.0);
    paint(mesh, 1, 110);
    EXPECT_EQ(penaltyOf(mesh, 0, 1, 30), COLLAPSE_FORBIDDEN);

    RealMesh halfColoured(hexagon(0)); // the colourless centre counts as black
    for (int i = 1; i < 7; ++i)
        paint(halfColoured, i, i == 2 ? 200 : 0);
    EXPECT_NEAR(penaltyOf(halfColoured, 0, 1, 30), 1.0, 1e-6);
    EXPECT_EQ(penaltyOf(halfColoured, 0, 2, 30), COLLAPSE_FORBIDDEN);
}

TEST_F(RMeshReduce, DeadAndRekeyedEdgesAreNoCandidates)
{
    RealMesh mesh(hexagon(0));
    REdge* pDead = mesh.edge(0, 1);
    REdge* pMerged = mesh.edge(0, 2); // falls onto the edge (1, 2)
    mesh->exchangeCorner(mesh.vtx(0), mesh.vtx(1));
    for (const REdge* pRE : {pDead, pMerged})
        for (int dir = 0; dir < 2; ++dir)
            EXPECT_EQ(mesh->createCollapse(const_cast<REdge*>(pRE), dir, INF, 1).pRE, nullptr);
}

TEST_F(RMeshReduce, DegenerateAndHugeTrianglesGiveNoExceptionAndNoNaN)
{
    for (const double size : {1e-200, 1e-100, 1e-8, 1.0, 1e80, 1e160}) {
        IndexedMesh indexed = hexagon(0.01);
        indexed.vPoints[3] = {0.5, 0, 0.005}; // on the way from the centre to vertex 1
        for (Point3& p : indexed.vPoints)
            p.set(size * p.x(), size * p.y(), size * p.z());
        RealMesh mesh(indexed, size);
        const CapturedMessages messages;
        std::vector<RECollapse> vCandidates;
        mesh->getCollapseCandidates_MT(4.0, INF, mesh->getAllRE(), vCandidates);
        for (const RECollapse& candidate : vCandidates)
            EXPECT_TRUE(std::isfinite(candidate.penalty)) << size;
        EXPECT_NO_THROW(reduceMesh(mesh, INF, 180)) << size;
        EXPECT_EQ(brokenInvariant(*mesh.pMesh), "");
    }
}

TEST_F(RMeshReduce, CollapseThatWouldLeaveATriangleOfNoAreaIsForbidden)
{
    // Vertex 3 comes to lie on the line through 1 and 2.
    RealMesh mesh({{{0, 0, 0}, {1, 0, 0}, {2, 0, 0}, {1, 1, 0}}, {0, 1, 3, 1, 2, 3}});
    EXPECT_EQ(penaltyOf(mesh, 3, 0, 180), COLLAPSE_FORBIDDEN);
}

TEST_F(RMeshReduce, CandidatesAreThePenaltiesOfBothDirectionsForEveryThreadCount)
{
    RealMesh mesh(wavyGrid(40));
    std::vector<RTriangle*> vSrcT;
    std::vector<std::pair<REdge*, double>> vExpected;
    for (REdge* pRE : mesh->getAllRE())
        for (int dir = 0; dir < 2; ++dir) {
            const double penalty = mesh->getCollapsePenalty(pRE, dir, 1.5, 0.2, vSrcT);
            if (penalty != COLLAPSE_FORBIDDEN)
                vExpected.emplace_back(pRE, penalty);
        }
    ASSERT_GT(vExpected.size(), 1000u);
    for (const int numThreads : {1, 2, 8}) {
        setNumCPU(numThreads);
        std::vector<RECollapse> vCandidates;
        mesh->getCollapseCandidates_MT(0.2, 1.5, mesh->getAllRE(), vCandidates);
        ASSERT_EQ(vCandidates.size(), vExpected.size());
        for (size_t i = 0; i < vExpected.size(); ++i) {
            EXPECT_EQ(vCandidates[i].pRE, vExpected[i].first);
            EXPECT_EQ(vCandidates[i].penalty, vExpected[i].second);
        }
    }
    setNumCPU(0);
}

// ---- What a reduction leaves ----

TEST_F(RMeshReduce, FlatGridShrinksAtAngleZeroAndKeepsItsOutline)
{
    RealMesh mesh(zan_test::flatGrid(12));
    const int numBefore = int(mesh->getNumT());
    const int numRemoved = reduceMesh(mesh, INF, 0);
    EXPECT_EQ(int(mesh->getNumT()), numBefore - numRemoved);
    EXPECT_LT(mesh->getNumT(), 40u);
    const IndexedMesh after = zan_test::toIndexed(*mesh.pMesh);
    EXPECT_NEAR(zan_test::meshArea(after), 121, 1e-9);
    EXPECT_TRUE(zan_test::checkMesh(after).isManifold());
    EXPECT_TRUE(zan_test::checkMesh(after).isOriented());
    for (const int corner : {0, 11, 132, 143}) {
        std::vector<RTriangle*> vRT;
        mesh->getIncidentT(mesh.vtx(corner), vRT);
        EXPECT_FALSE(vRT.empty()) << "the corner went";
    }
    EXPECT_EQ(brokenInvariant(*mesh.pMesh), "");
}

TEST_F(RMeshReduce, InteriorVertexMovesOntoTheBorderAndNotBack)
{
    RealMesh mesh(hexagon(0)); // the border bends by 60 degrees everywhere
    EXPECT_EQ(reduceMesh(mesh, INF, 30), 2);
    std::vector<RTriangle*> vRT;
    mesh->getIncidentT(mesh.vtx(0), vRT);
    EXPECT_TRUE(vRT.empty());
    for (int i = 1; i < 7; ++i) {
        vRT.clear();
        mesh->getIncidentT(mesh.vtx(i), vRT);
        EXPECT_FALSE(vRT.empty()) << i;
    }
}

TEST_F(RMeshReduce, NothingChangesBelowTheShortestEdgeOrForLimitsThatAreNoNumbers)
{
    const CapturedMessages messages;
    RealMesh mesh(wavyGrid(10));
    const auto before = triangleNumbers(*mesh.pMesh);
    EXPECT_EQ(reduceMesh(mesh, 0.9, 180), 0);
    EXPECT_EQ(reduceMesh(mesh, 0, 0), 0);
    EXPECT_EQ(reduceMesh(mesh, INF, -1), 0);
    EXPECT_FALSE(messages.has("WARNING"));
    EXPECT_EQ(reduceMesh(mesh, NO_NUMBER, 180), 0);
    EXPECT_EQ(reduceMesh(mesh, INF, NO_NUMBER), 0);
    EXPECT_TRUE(messages.has("WARNING"));
    EXPECT_EQ(triangleNumbers(*mesh.pMesh), before);
    EXPECT_GT(reduceMesh(mesh, INF, 20), 0);
}

TEST_F(RMeshReduce, CollapseOfAnEdgeOfDegreeThreeCountsThreeTriangles)
{
    // Three pages of two triangles each on the spine 0-1; everything else is longer.
    IndexedMesh indexed{{{0, 0, 0}, {0, 0, 0.1}}, {}};
    for (int page = 0; page < 3; ++page) {
        const double angle = page * 2.0;
        for (const double z : {0.0, 0.1}) {
            indexed.vPoints.emplace_back(std::cos(angle), std::sin(angle), z);
        }
        const int a = 2 + 2 * page;
        indexed.vTriangles.insert(indexed.vTriangles.end(), {0, a, 1});
        indexed.vPoints.back().set(std::cos(angle), std::sin(angle), -3.0);
        indexed.vTriangles.insert(indexed.vTriangles.end(), {0, a + 1, a});
    }
    RealMesh mesh(indexed);
    EXPECT_NE(penaltyOf(mesh, 1, 0, 180), COLLAPSE_FORBIDDEN);
    EXPECT_EQ(mesh.edge(0, 1)->getDegree(), 3);
    const size_t numBefore = mesh->getNumT();
    EXPECT_EQ(reduceMesh(mesh, 0.2, 180), int(numBefore - mesh->getNumT()));
}

TEST_F(RMeshReduce, ExportedCallTakesALengthAndRemovesFlatTrianglesEvenIfNothingCollapses)
{
    const CapturedMessages messages;
    RealMesh real(IndexedMesh{{{0, 0, 0}, {4, 0, 0}, {2, 1e-9, 0}, {2, 3, 0}}, {0, 1, 2, 0, 2, 3, 2, 1, 3}});
    const auto pMesh = std::make_shared<Mesh>(real.pMesh.release());
    getRootProgress()->clear();
    EXPECT_EQ(reduce(pMesh, 0.5, 180), 0);
    EXPECT_EQ(pMesh->getNumT(), 1u);
    EXPECT_EQ(getRootProgress()->getName(), "empty");

    RealMesh flat(zan_test::flatGrid(5));
    const auto pFlat = std::make_shared<Mesh>(flat.pMesh.release());
    EXPECT_EQ(reduce(pFlat, 0.99, 1), 0);
    EXPECT_GT(reduce(pFlat, -1.01, 1), 0) << "only the square of the length counts";

    EXPECT_EQ(reduce(nullptr, 1, 1), 0);
    EXPECT_TRUE(messages.has("WARNING"));
    EXPECT_EQ(reduce(std::make_shared<Mesh>(new RMesh(1.0)), INF, 180), 0);
}

// ---- A slow twin ----

namespace
{

// The same reduction, with nothing cached, in a multimap that takes every candidate.
class SlowReducer
{
public:
    SlowReducer(RMesh& mesh_, double maxSqLen_, double maxAngleRad_)
        : mesh(mesh_), maxSqLen(maxSqLen_), maxAngleRad(maxAngleRad_)
    {
        for (const REdge* pRE : mesh.getAllRE())
            if (pRE->isBorder())
                sBorder.insert({pRE->getVtx0(), pRE->getVtx1()});
    }

    int run()
    {
        insert(mesh.getAllRE());
        while (!mmPrioq.empty()) {
            const auto [saved, candidate] = *mmPrioq.begin();
            mmPrioq.erase(mmPrioq.begin());
            std::vector<RTriangle*> vSrcT;
            const double fresh =
                mesh.getCollapsePenalty(candidate.pRE, candidate.dir, maxSqLen, maxAngleRad, vSrcT);
            if (fresh == COLLAPSE_FORBIDDEN)
                continue;
            if (fresh > 2.0 && fresh > saved + 3.0)
                mmPrioq.emplace(fresh, candidate);
            else if (borderAllows(candidate))
                collapse(candidate);
        }
        return numRemoved;
    }

private:
    void insert(const std::vector<REdge*>& vEdges)
    {
        std::vector<RECollapse> vCandidates;
        mesh.getCollapseCandidates_MT(maxAngleRad, maxSqLen, vEdges, vCandidates);
        for (const RECollapse& candidate : vCandidates)
            mmPrioq.emplace(candidate.penalty, candidate);
    }

    bool borderAllows(const RECollapse& candidate) const
    {
        const Point3* pSrc = candidate.getSrc();
        if (sBorder.count(pSrc) == 0)
            return true;
        std::vector<REdge*> vIncRE;
        mesh.getIncidentRE(pSrc, vIncRE);
        std::vector<Vector3> vAlong;
        for (const REdge* pRE : vIncRE)
            if (pRE->getDegree() == 1)
                vAlong.push_back(normalize(*pRE->getOtherPoint(pSrc) - *pSrc));
        return candidate.pRE->getDegree() == 1 && vAlong.size() == 2 &&
               std::acos(std::clamp(vAlong[0] * vAlong[1], -1.0, 1.0)) * 180 / std::numbers::pi >= 170.0;
    }

    void collapse(const RECollapse& candidate)
    {
        Point3* pTrg = candidate.getTrg();
        numRemoved += candidate.pRE->getDegree();
        mesh.exchangeCorner(candidate.getSrc(), pTrg);
        vRefillVtx.push_back(pTrg);
        const size_t num = vRefillVtx.size();
        if (!mmPrioq.empty() && num < 5001 && !(mmPrioq.begin()->first > 6.0 && num >= 51))
            return;
        if (num > 2 && num < 1000 && ++numFullRefills < 5) {
            insert(mesh.getAllRE());
        } else {
            std::vector<REdge*> vNearRE, vIncRE;
            for (const Point3* pVtx : vRefillVtx) {
                mesh.getIncidentRE(pVtx, vIncRE);
                vNearRE.insert(vNearRE.end(), vIncRE.begin(), vIncRE.end());
            }
            sortUniqueByNumber(vNearRE);
            insert(vNearRE);
        }
        vRefillVtx.clear();
    }

    RMesh& mesh;
    const double maxSqLen;
    const double maxAngleRad;
    std::multimap<double, RECollapse> mmPrioq;
    std::set<const Point3*> sBorder;
    std::vector<Point3*> vRefillVtx;
    int numFullRefills = 0;
    int numRemoved = 0;
};

struct NamedMesh {
    std::string name;
    IndexedMesh mesh;
    double cellSize;
};

std::vector<NamedMesh> allShapes()
{
    return {{"flat grid", zan_test::flatGrid(25), 1.0},
            {"wavy grid", wavyGrid(30), 1.0},
            {"ball", ball(4), 0.1},
            {"torus", torus(60, 24, 0.4), 0.1},
            {"thin torus", torus(80, 4, 0.04), 0.1},
            {"triangular tube", torus(40, 3, 0.1), 0.1},
            {"open box", zan_test::openBox(), 0.5},
            {"strip", zan_test::strip(40), 1.0},
            {"Moebius strip", zan_test::moebiusStrip(), 1.0},
            {"double sheet", zan_test::doubleSheet(), 1.0},
            {"three on an edge", zan_test::threeOnAnEdge(), 1.0},
            {"two on a vertex", zan_test::twoTetrahedraOnAVertex(), 1.0}};
}

// The edges of degree 1 as loops that meet in no vertex; -1 if they branch.
int numBorderLoops(const RMesh& mesh)
{
    std::map<const Point3*, std::vector<const Point3*>> mNeigs;
    for (const REdge* pRE : mesh.getAllRE())
        if (pRE->isBorder())
            for (int i = 0; i < 2; ++i)
                mNeigs[pRE->getVertex(i)].push_back(pRE->getVertex(1 - i));
    int numLoops = 0;
    std::set<const Point3*> sSeen;
    for (const auto& [pStart, vNeigs] : mNeigs) {
        if (vNeigs.size() != 2)
            return -1;
        const Point3* pVtx = pStart;
        numLoops += sSeen.count(pStart) == 0 ? 1 : 0;
        while (sSeen.insert(pVtx).second)
            pVtx = sSeen.count(mNeigs[pVtx][0]) == 0 ? mNeigs[pVtx][0] : mNeigs[pVtx][1];
    }
    return numLoops;
}

} // namespace

TEST_F(RMeshReduce, CachesAndRefillsChangeNothingAgainstTheSlowTwin)
{
    for (const NamedMesh& shape : allShapes())
        for (const double maxLen : {1.1, 3.0, INF})
            for (const double maxAngleDeg : {0.0, 3.0, 20.0, 180.0}) {
                const double cell = shape.cellSize;
                RealMesh fast(shape.mesh, cell);
                RealMesh slow(shape.mesh, cell);
                const double maxSqLen = maxLen * cell * maxLen * cell;
                const int numRemoved = fast->reduce(maxSqLen, maxAngleDeg);
                EXPECT_EQ(numRemoved,
                          SlowReducer(*slow.pMesh, maxSqLen, maxAngleDeg * RADIANS_PER_DEGREE).run());
                EXPECT_EQ(triangleNumbers(*fast.pMesh), triangleNumbers(*slow.pMesh))
                    << shape.name << ' ' << maxLen << ' ' << maxAngleDeg;
                EXPECT_EQ(brokenInvariant(*fast.pMesh), "");
            }
}

// Three edges that form a ring but no triangle, round a tube for instance, must not collapse: without limits
// a reduction gets down to them.
TEST_F(RMeshReduce, ComponentsBordersAndEulerNumberStay)
{
    size_t numReduced = 0;
    for (const NamedMesh& shape : allShapes())
        for (const double maxLen : {1.1, 3.0, INF})
            for (const double maxAngleDeg : {0.0, 3.0, 20.0, 180.0}) {
                RealMesh mesh(shape.mesh, shape.cellSize);
                const MeshReport before = reportOf(*mesh.pMesh);
                const int numLoops = numBorderLoops(*mesh.pMesh);
                numReduced += reduceMesh(mesh, maxLen * shape.cellSize, maxAngleDeg) > 0 ? 1 : 0;
                const MeshReport after = reportOf(*mesh.pMesh);
                const std::string text =
                    shape.name + ' ' + zan_test::toText(before) + " -> " + zan_test::toText(after);
                EXPECT_EQ(after.euler, before.euler) << text;
                EXPECT_EQ(after.numComponents, before.numComponents) << text;
                EXPECT_EQ(after.numBadFans, before.numBadFans) << text;
                EXPECT_EQ(after.numMisoriented, before.numMisoriented) << text;
                EXPECT_EQ(after.numDuplicates, 0u) << text;
                EXPECT_EQ(numBorderLoops(*mesh.pMesh), numLoops) << text;
            }
    EXPECT_GT(numReduced, 40u);
}

TEST_F(RMeshReduce, ThreadCountDoesNotChangeTheResult)
{
    std::vector<std::vector<std::array<int, 3>>> vResults;
    for (const int numThreads : {1, 2, 8}) {
        setNumCPU(numThreads);
        RealMesh mesh(wavyGrid(60));
        for (int i = 0; i < 3600; ++i)
            paint(mesh, i, 100 + i % 60 / 20);
        reduceMesh(mesh, 3, 10);
        vResults.push_back(triangleNumbers(*mesh.pMesh));
    }
    setNumCPU(0);
    EXPECT_LT(vResults[0].size(), 3000u);
    EXPECT_EQ(vResults[1], vResults[0]);
    EXPECT_EQ(vResults[2], vResults[0]);
}

// ---- The twins of single collapses ----

TEST_F(RMeshReduce, CollapseToTheMiddleMakesAVertexAndOffersItsEdges)
{
    RealMesh mesh(zan_test::flatGrid(6));
    RTop top(mesh.pMesh.get());
    std::multimap<double, REdge*> mmPrioq;
    EXPECT_FALSE(top.tryCollapseMid(mesh.edge(14, 15), *mesh.vtx(20), INF, 30, mmPrioq))
        << "a vertex is there";
    EXPECT_FALSE(top.tryCollapseMid(mesh.edge(14, 15), {2.5, 2, 0}, 0.9, 30, mmPrioq)) << "too long";
    EXPECT_FALSE(top.tryCollapseMid(mesh.edge(14, 15), {2.5, 2, 1}, INF, 30, mmPrioq)) << "turns too far";
    EXPECT_EQ(mesh->getNumT(), 50u);
    EXPECT_TRUE(mmPrioq.empty());

    ASSERT_TRUE(top.tryCollapseMid(mesh.edge(14, 15), {2.5, 2, 0}, 1.5, 30, mmPrioq));
    EXPECT_EQ(mesh->getNumT(), 48u);
    EXPECT_TRUE(reportOf(*mesh.pMesh).isManifold());
    EXPECT_NEAR(zan_test::meshArea(zan_test::toIndexed(*mesh.pMesh)), 25, 1e-12);
    EXPECT_FALSE(mmPrioq.empty());
    for (const auto& [sqLen, pRE] : mmPrioq) {
        EXPECT_NEAR(sqLen, pRE->getLength() * pRE->getLength(), 1e-12);
        EXPECT_LE(sqLen, 1.5);
    }
    EXPECT_EQ(brokenInvariant(*mesh.pMesh), "");
}

TEST_F(RMeshReduce, CollapseToAnEndKeepsThatEnd)
{
    RealMesh mesh(zan_test::flatGrid(6));
    RTop top(mesh.pMesh.get());
    std::multimap<double, REdge*> mmPrioq;
    REdge* pRE = mesh.edge(14, 15);
    ASSERT_TRUE(top.tryCollapseEnd(pRE, mesh.vtx(15), INF, 30, mmPrioq));
    EXPECT_FALSE(pRE->isAlive());
    EXPECT_FALSE(top.tryCollapseEnd(pRE, mesh.vtx(15), INF, 30, mmPrioq)) << "dead";
    EXPECT_EQ(mesh->getNumT(), 48u);
    std::vector<RTriangle*> vRT;
    mesh->getIncidentT(mesh.vtx(14), vRT);
    EXPECT_TRUE(vRT.empty());
    RealMesh closed(zan_test::tetrahedron());
    EXPECT_FALSE(
        RTop(closed.pMesh.get()).tryCollapseEnd(closed.edge(0, 1), closed.vtx(1), INF, 360, mmPrioq));
}
