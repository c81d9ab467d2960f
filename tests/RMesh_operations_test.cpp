#include "RMesh.h"

#include "Progress.h"
#include "helpers/captured.h"
#include "helpers/realMesh.h"
#include "helpers/smallMeshes.h"
#include "random.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <set>

using namespace TESK_ZAN;
using zan_test::aliveT;
using zan_test::brokenInvariant;
using zan_test::CapturedMessages;
using zan_test::IndexedMesh;
using zan_test::RealMesh;
using zan_test::triangleNumbers;

namespace
{

using Numbers = std::vector<std::array<int, 3>>;

// A square of two triangles, vertices 0 to 3 around it, the diagonal from 0 to 2.
IndexedMesh square()
{
    return {{{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}}, {0, 1, 2, 0, 2, 3}};
}

// Each triangle from its lowest number on, all sorted: the mesh as a set of oriented triangles.
Numbers canonical(const RMesh& mesh)
{
    Numbers vNumbers = triangleNumbers(mesh);
    for (auto& triangle : vNumbers)
        std::rotate(triangle.begin(), std::min_element(triangle.begin(), triangle.end()), triangle.end());
    std::sort(vNumbers.begin(), vNumbers.end());
    return vNumbers;
}

double areaOf(const RMesh& mesh)
{
    return zan_test::meshArea(zan_test::toIndexed(mesh));
}

} // namespace

// ---- Split ----

TEST(RMeshOperations, SplitHalvesEachTriangleAndKeepsAreaAndOrientation)
{
    RealMesh mesh(zan_test::octahedron());
    for (int round = 0; round < 3; ++round) {
        REdge* pRE = mesh->getAllRE()[size_t(3 * round)];
        Point3* pMid = mesh->createVtx(0.5 * (pRE->getVtx0()->x() + pRE->getVtx1()->x()),
                                       0.5 * (pRE->getVtx0()->y() + pRE->getVtx1()->y()),
                                       0.5 * (pRE->getVtx0()->z() + pRE->getVtx1()->z()), true);
        const double area = areaOf(*mesh.pMesh);
        pRE->split(pMid, mesh.pMesh.get());
        EXPECT_FALSE(pRE->isAlive());
        EXPECT_NEAR(areaOf(*mesh.pMesh), area, 1e-12);
        EXPECT_TRUE(zan_test::checkMesh(zan_test::toIndexed(*mesh.pMesh)).isClosedManifold());
        EXPECT_TRUE(zan_test::checkMesh(zan_test::toIndexed(*mesh.pMesh)).isOriented());
        EXPECT_EQ(brokenInvariant(*mesh.pMesh), "");
    }
}

TEST(RMeshOperations, SplitOfADeadEdgeOrAtACornerFailsBeforeAnythingChanges)
{
    RealMesh mesh(square());
    const Numbers before = canonical(*mesh.pMesh);
    const CapturedMessages messages;
    EXPECT_ANY_THROW(mesh.edge(0, 2)->split(mesh.vtx(3), mesh.pMesh.get()));
    EXPECT_EQ(canonical(*mesh.pMesh), before);
    for (RTriangle* pRT : aliveT(*mesh.pMesh))
        pRT->kill(mesh.pMesh.get());
    EXPECT_ANY_THROW(mesh.edge(0, 2)->split(mesh->createVtx(0.5, 0.5, 0, true), mesh.pMesh.get()));
}

// ---- Flip ----

TEST(RMeshOperations, FlipAndFlipBackGiveTheSameTrianglesAndReviveTheEdge)
{
    RealMesh mesh(square());
    const Numbers before = canonical(*mesh.pMesh);
    REdge* pOld = mesh.edge(0, 2);
    REdge* pNew = pOld->tryFlipEdge(mesh.pMesh.get(), nullptr, nullptr);
    ASSERT_NE(pNew, nullptr);
    EXPECT_EQ(pNew, mesh.edge(1, 3));
    EXPECT_EQ(canonical(*mesh.pMesh), (Numbers{{0, 1, 3}, {1, 2, 3}}));
    EXPECT_EQ(pNew->tryFlipEdge(mesh.pMesh.get(), nullptr, nullptr), pOld);
    EXPECT_EQ(canonical(*mesh.pMesh), before);
    EXPECT_EQ(mesh->getAllRE().size(), 6u);
    EXPECT_EQ(brokenInvariant(*mesh.pMesh), "");
}

TEST(RMeshOperations, FlipTakesTheTwoTrianglesInEitherOrderAndOrientation)
{
    for (int variant = 0; variant < 4; ++variant) {
        IndexedMesh indexed = square();
        if (variant & 1)
            for (int i : {0, 3})
                std::swap(indexed.vTriangles[size_t(i)], indexed.vTriangles[size_t(i) + 1]);
        RealMesh mesh(indexed);
        const auto& vT = mesh->getAllT();
        REdge* pNew = mesh.edge(0, 2)->tryFlipEdge(mesh.pMesh.get(), vT[size_t(variant) / 2],
                                                   vT[1 - size_t(variant) / 2]);
        ASSERT_EQ(pNew, mesh.edge(1, 3));
        EXPECT_TRUE(zan_test::checkMesh(zan_test::toIndexed(*mesh.pMesh)).isOriented());
        EXPECT_EQ(canonical(*mesh.pMesh),
                  (variant & 1) ? (Numbers{{0, 3, 1}, {1, 3, 2}}) : (Numbers{{0, 1, 3}, {1, 2, 3}}));
    }
}

TEST(RMeshOperations, FlipIsRefusedAtBordersAtTheOtherDiagonalAndWhereItWouldBeFlat)
{
    RealMesh open(square());
    EXPECT_EQ(open.edge(0, 1)->tryFlipEdge(open.pMesh.get(), nullptr, nullptr), nullptr);

    RealMesh closed(zan_test::tetrahedron()); // every other diagonal is an edge
    for (REdge* pRE : closed->getAllRE())
        EXPECT_EQ(pRE->tryFlipEdge(closed.pMesh.get(), nullptr, nullptr), nullptr);
    EXPECT_EQ(closed->getNumT(), 4u);

    RealMesh flat(IndexedMesh{{{0, 0, 0}, {1, 0, 0}, {2, 0, 0}, {1, 1, 0}}, {0, 1, 3, 1, 2, 3}});
    EXPECT_EQ(flat.edge(1, 3)->tryFlipEdge(flat.pMesh.get(), nullptr, nullptr), nullptr);

    RealMesh dead(square());
    RTriangle* pT0 = dead->getAllT()[0];
    RTriangle* pT1 = dead->getAllT()[1];
    pT0->kill(dead.pMesh.get());
    EXPECT_EQ(dead.edge(0, 2)->tryFlipEdge(dead.pMesh.get(), pT0, pT1), nullptr);
    EXPECT_TRUE(pT1->isAlive());
}

// ---- Cap removal ----

TEST(RMeshOperations, CapIsRemovedBySplittingTheTriangleBehindItsLongEdge)
{
    // Vertex 2 lies nearly on the edge (0, 1).
    RealMesh mesh(IndexedMesh{{{0, 0, 0}, {2, 0, 0}, {1, 1e-7, 0}, {1, -1, 0}}, {0, 1, 2, 1, 0, 3}});
    std::vector<RTriangle*> vNewT;
    RTriangle* pCap = mesh->getAllT()[0];
    EXPECT_TRUE(mesh.edge(0, 1)->trySplitNeigsKillT(mesh.pMesh.get(), pCap, 2, vNewT));
    EXPECT_FALSE(pCap->isAlive());
    EXPECT_EQ(vNewT.size(), 2u);
    EXPECT_EQ(canonical(*mesh.pMesh), (Numbers{{0, 3, 2}, {1, 2, 3}}));
    EXPECT_EQ(brokenInvariant(*mesh.pMesh), "");
}

TEST(RMeshOperations, CapAtABorderJustDies)
{
    RealMesh mesh(IndexedMesh{{{0, 0, 0}, {2, 0, 0}, {1, 1e-7, 0}}, {0, 1, 2}});
    std::vector<RTriangle*> vNewT;
    EXPECT_TRUE(mesh.edge(0, 1)->trySplitNeigsKillT(mesh.pMesh.get(), mesh->getAllT()[0], 2, vNewT));
    EXPECT_EQ(mesh->getNumT(), 0u);
    EXPECT_TRUE(vNewT.empty());
}

TEST(RMeshOperations, CapRemovalRefusesExistingEdgesAndFoldsAndChangesNothing)
{
    // The far corner 3 is a neighbour of the apex already; a far corner on the apex's side would fold over.
    IndexedMesh known{{{0, 0, 0}, {2, 0, 0}, {1, 1e-7, 0}, {1, -1, 0}, {1, 0, 1}},
                      {0, 1, 2, 1, 0, 3, 2, 3, 4}};
    IndexedMesh folded{{{0, 0, 0}, {2, 0, 0}, {1, 1, 0}, {1, 0.5, 0}}, {0, 1, 2, 0, 1, 3}};
    for (const IndexedMesh& indexed : {known, folded}) {
        RealMesh mesh(indexed);
        const Numbers before = triangleNumbers(*mesh.pMesh);
        std::vector<RTriangle*> vNewT;
        EXPECT_FALSE(mesh.edge(0, 1)->trySplitNeigsKillT(mesh.pMesh.get(), mesh->getAllT()[0], 2, vNewT));
        EXPECT_EQ(triangleNumbers(*mesh.pMesh), before);
        EXPECT_TRUE(vNewT.empty());
    }
}

// ---- Collapse and weld ----

TEST(RMeshOperations, CollapseOfAnEdgeKillsItsTrianglesAndKeepsASphere)
{
    RealMesh mesh(zan_test::octahedron());
    Point3* pMid = mesh->createVtx(0.5, 0.5, 0, true);
    mesh.edge(0, 2)->split(pMid, mesh.pMesh.get());
    mesh->exchangeCorner(pMid, mesh.vtx(2));
    const zan_test::MeshReport report = zan_test::checkMesh(zan_test::toIndexed(*mesh.pMesh));
    EXPECT_EQ(report.numTriangles, 8u);
    EXPECT_TRUE(report.isClosedManifold());
    EXPECT_TRUE(report.isOriented());
    EXPECT_EQ(brokenInvariant(*mesh.pMesh), "");
    EXPECT_TRUE(mesh->hasVtx(Point3(0.5, 0.5, 0))); // the vertex stays, without triangles
    std::vector<RTriangle*> vRT;
    mesh->getIncidentT(pMid, vRT);
    EXPECT_TRUE(vRT.empty());
}

TEST(RMeshOperations, TrianglesForgetTheirNormalWhenACornerIsExchanged)
{
    RealMesh mesh(IndexedMesh{{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}}, {0, 1, 2}});
    bool bOK = false;
    EXPECT_EQ(mesh->getAllT()[0]->getNNV(bOK).z(), 1.0);
    mesh->exchangeCorner(mesh.vtx(2), mesh.vtx(3));
    EXPECT_EQ(mesh->getAllT()[0]->getNNV(bOK).y(), -1.0);
}

TEST(RMeshOperations, WeldMergesEdgesUpToDegreeThreeAndKillsNothing)
{
    // Two triangles that touch in vertex 0 only, and a third one at 1 to make the merged edge overfull.
    RealMesh mesh(IndexedMesh{{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {1, 0.1, 0}, {0, -1, 0}, {2, 2, 2}},
                              {0, 1, 2, 0, 3, 4, 1, 0, 5}});
    REdge* pStays = mesh.edge(0, 1);
    REdge* pGone = mesh.edge(0, 3);
    mesh->exchangeCorner(mesh.vtx(3), mesh.vtx(1));
    EXPECT_EQ(mesh->getNumT(), 3u);
    EXPECT_EQ(pStays->getDegree(), 3);
    EXPECT_EQ(mesh.edge(0, 1), pStays);
    EXPECT_FALSE(pGone->isAlive());
    EXPECT_EQ(mesh.edge(0, 3), nullptr); // its key has gone
    EXPECT_EQ(mesh->getAllT()[1]->getRE(2), pStays);
    EXPECT_EQ(brokenInvariant(*mesh.pMesh), "");
}

TEST(RMeshOperations, WeldRevivesADeadEdgeThatHasTheNewKey)
{
    RealMesh mesh(
        IndexedMesh{{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {1, 0.1, 0}, {0, -1, 0}}, {0, 1, 2, 0, 3, 4}});
    REdge* pDead = mesh.edge(0, 1);
    mesh->getAllT()[0]->kill(mesh.pMesh.get());
    mesh->exchangeCorner(mesh.vtx(3), mesh.vtx(1));
    EXPECT_EQ(mesh.edge(0, 1), pDead);
    EXPECT_EQ(pDead->getDegree(), 1);
    EXPECT_EQ(brokenInvariant(*mesh.pMesh), "");
}

// ---- All of them, at random ----

namespace
{

// Applies random operations to one mesh. What it breaks on purpose (twins by welds) it removes at once.
class Gambler
{
public:
    Gambler(RealMesh& mesh_, u64 seed) : mesh(*mesh_.pMesh), random(seed) {}

    void step()
    {
        switch (random.below(8)) {
        case 0:
            return createSome();
        case 1:
            return kill();
        case 2:
            return split();
        case 3:
            return exchange();
        case 4:
            return move();
        case 5:
            return removeCap();
        default:
            return flip();
        }
    }

private:
    template <class T>
    T* any(const std::vector<T*>& v)
    {
        return v.empty() ? nullptr : v[random.below(std::uint32_t(v.size()))];
    }

    Point3* anyVtx()
    {
        std::vector<Point3*> vP;
        mesh.getPoints(vP);
        return any(vP);
    }

    REdge* anyEdge()
    {
        std::vector<REdge*> vRE;
        mesh.getDegN(-99, vRE);
        return any(vRE);
    }

    Point3* newVtx() { return mesh.createVtx(random.uniform(), random.uniform(), random.uniform(), true); }

    void createSome()
    {
        Point3* aVtx[3] = {anyVtx(), anyVtx(), random.below(2) == 0 ? anyVtx() : newVtx()};
        for (Point3*& pVtx : aVtx)
            if (pVtx == nullptr)
                pVtx = newVtx();
        if (aVtx[0] != aVtx[1] && aVtx[1] != aVtx[2] && aVtx[2] != aVtx[0])
            mesh.createT(aVtx[0], aVtx[1], aVtx[2]);
        mesh.killDuplicateTriangles();
    }

    void kill()
    {
        if (RTriangle* pRT = any(aliveT(mesh)))
            pRT->kill(&mesh);
    }

    void split()
    {
        if (REdge* pRE = anyEdge())
            pRE->split(newVtx(), &mesh);
    }

    void flip()
    {
        REdge* pRE = anyEdge();
        if (pRE == nullptr)
            return;
        const size_t numT = mesh.getNumT();
        pRE->tryFlipEdge(&mesh, nullptr, nullptr);
        EXPECT_EQ(mesh.getNumT(), numT);
    }

    void exchange()
    {
        Point3* pSrc = anyVtx();
        Point3* pTrg = anyVtx();
        if (pSrc == pTrg)
            return;
        std::vector<RTriangle*> vDying;
        mesh.getAdjacentT(pSrc, pTrg, vDying);
        const size_t numT = mesh.getNumT();
        mesh.exchangeCorner(pSrc, pTrg);
        EXPECT_EQ(mesh.getNumT(), numT - vDying.size());
        mesh.killDuplicateTriangles();
    }

    void move()
    {
        const Point3 target(random.uniform(), random.uniform(), random.uniform());
        Point3* pVtx = anyVtx();
        if (pVtx != nullptr && !mesh.hasVtx(target))
            mesh.updateVertex(pVtx, target);
    }

    void removeCap()
    {
        RTriangle* pRT = any(aliveT(mesh));
        if (pRT == nullptr)
            return;
        const int ici = int(random.below(3));
        std::vector<RTriangle*> vNewT;
        pRT->getRE(ici)->trySplitNeigsKillT(&mesh, pRT, ici, vNewT);
    }

    RMesh& mesh;
    Random random;
};

std::vector<RTriangle*> having(const std::vector<RTriangle*>& vRT, const Point3* p0, const Point3* p1)
{
    std::vector<RTriangle*> vFound;
    std::copy_if(vRT.begin(), vRT.end(), std::back_inserter(vFound),
                 [&](const RTriangle* pRT) { return pRT->has(p0) && pRT->has(p1); });
    return vFound;
}

void expectSameSet(std::vector<RTriangle*> vA, std::vector<RTriangle*> vB)
{
    sortUniqueByNumber(vA);
    sortUniqueByNumber(vB);
    EXPECT_EQ(vA, vB);
}

// Every query against a scan of all triangles.
void expectQueriesAgreeWithAScan(const RMesh& mesh)
{
    const std::vector<RTriangle*> vRT = aliveT(mesh);
    std::vector<Point3*> vP;
    mesh.getPoints(vP);
    std::set<const Point3*> sUsed;
    for (const RTriangle* pRT : vRT)
        for (int ici = 0; ici < 3; ++ici)
            sUsed.insert(pRT->getCorner(ici));
    EXPECT_EQ(sUsed.size(), vP.size());

    for (const Point3* p0 : vP) {
        std::vector<RTriangle*> vIncT;
        mesh.getIncidentT(p0, vIncT);
        expectSameSet(vIncT, having(vRT, p0, p0));
        std::vector<Point3*> vRing;
        mesh.getRingVtx(p0, vRing);
        std::vector<REdge*> vIncRE;
        mesh.getIncidentRE(p0, vIncRE);
        EXPECT_EQ(vIncRE.size(), vRing.size());
        for (const Point3* p1 : vP) {
            if (p0 == p1)
                continue;
            const std::vector<RTriangle*> vBoth = having(vRT, p0, p1);
            EXPECT_EQ(mesh.hasAliveEdge(p0, p1), !vBoth.empty());
            EXPECT_EQ(std::count(vRing.begin(), vRing.end(), p1), vBoth.empty() ? 0 : 1);
            std::vector<RTriangle*> vAdjT;
            mesh.getAdjacentT(p0, p1, vAdjT);
            expectSameSet(vAdjT, vBoth);
        }
    }
}

} // namespace

TEST(RMeshOperations, RandomOperationsKeepAllInvariants)
{
    for (u64 seed = 1; seed <= 12; ++seed) {
        RealMesh mesh(seed % 2 == 0 ? zan_test::octahedron() : zan_test::strip(6));
        Gambler gambler(mesh, seed);
        for (int step = 0; step < 400; ++step) {
            gambler.step();
            ASSERT_EQ(brokenInvariant(*mesh.pMesh), "") << "seed " << seed << ", step " << step;
            if (step % 100 == 99)
                expectQueriesAgreeWithAScan(*mesh.pMesh);
        }
    }
}

TEST(RMeshOperations, SameOperationsGiveTheSameMeshWhateverTheAddresses)
{
    std::vector<Numbers> vResults;
    std::vector<std::unique_ptr<int[]>> vInTheWay;
    for (int run = 0; run < 3; ++run) {
        RealMesh mesh(zan_test::octahedron());
        Gambler gambler(mesh, 99);
        for (int step = 0; step < 300; ++step) {
            gambler.step();
            vInTheWay.push_back(std::make_unique<int[]>(size_t(1 + 37 * run))); // other addresses next time
        }
        getRootProgress()->setName("test");
        mesh->createPatchesOrient();
        mesh->killDegenerate();
        getRootProgress()->clear();
        vResults.push_back(triangleNumbers(*mesh.pMesh));
    }
    EXPECT_EQ(vResults[0], vResults[1]);
    EXPECT_EQ(vResults[0], vResults[2]);
}

TEST(RMeshOperations, FlipsOnAClosedSurfaceKeepItClosedAndOriented)
{
    RealMesh mesh(zan_test::octahedron());
    Random random(4);
    for (int round = 0; round < 6; ++round) { // refine first: an octahedron has few other diagonals
        REdge* pRE = mesh->getAllRE()[random.below(std::uint32_t(mesh->getAllRE().size()))];
        if (pRE->isAlive())
            pRE->split(mesh->createVtx(random.uniform(), random.uniform(), random.uniform(), true),
                       mesh.pMesh.get());
    }
    for (int step = 0; step < 500; ++step) {
        REdge* pRE = mesh->getAllRE()[random.below(std::uint32_t(mesh->getAllRE().size()))];
        pRE->tryFlipEdge(mesh.pMesh.get(), nullptr, nullptr);
    }
    const zan_test::MeshReport report = zan_test::checkMesh(zan_test::toIndexed(*mesh.pMesh));
    EXPECT_TRUE(report.isOriented());
    EXPECT_EQ(report.euler, 2);
    EXPECT_EQ(report.numEdges(2), report.numEdges());
}
