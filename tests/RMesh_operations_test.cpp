#include "RMesh.h"

#include "helpers/captured.h"
#include "helpers/realMesh.h"
#include "helpers/smallMeshes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

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
