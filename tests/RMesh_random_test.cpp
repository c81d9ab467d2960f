// Random sequences of all operations on the real mesh, each step compared with a twin.
#include "RMesh.h"

#include "Progress.h"
#include "helpers/codeMesh.h"
#include "helpers/realMesh.h"
#include "helpers/twinTriangles.h"
#include "random.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <set>

using namespace TESK_ZAN;
using zan_test::aliveT;
using zan_test::brokenInvariant;
using zan_test::RealMesh;
using zan_test::triangleNumbers;
using zan_test::TwinTriangles;

namespace
{

constexpr int STEPS_PER_MESH = 300;

TwinTriangles trianglesOf(const RMesh& mesh)
{
    TwinTriangles triangles;
    for (const auto& t : triangleNumbers(mesh))
        triangles.add(u64(t[0]), u64(t[1]), u64(t[2]));
    return triangles;
}

// Applies random operations to one mesh. What it breaks on purpose (twins by welds) it removes at once. The
// twin does the same.
class Gambler
{
public:
    Gambler(RealMesh& mesh_, u64 seed) : mesh(*mesh_.pMesh), twin(trianglesOf(mesh)), random(seed) {}

    void step()
    {
        switch (random.below(20)) {
        case 0:
        case 1:
        case 2:
            return createSome();
        case 3:
        case 4:
            return kill();
        case 5:
        case 6:
            return split();
        case 7:
        case 8:
            return exchange();
        case 9:
        case 10:
            return move();
        case 11:
        case 12:
            return removeCap();
        case 13:
            return cleanAll();
        case 14:
            return turn();
        default:
            return flip();
        }
    }

    const TwinTriangles& expected() const { return twin; }

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

    // Somewhere, or as near to another one as can be.
    Point3* newVtx()
    {
        Point3* pOther = random.below(4) == 0 ? anyVtx() : nullptr;
        return pOther != nullptr ? mesh.copyVtx(pOther)
                                 : mesh.createVtx(random.uniform(), random.uniform(), random.uniform(), true);
    }

    void killTwins()
    {
        mesh.killDuplicateTriangles();
        twin.dropTwins();
    }

    void createSome()
    {
        Point3* aVtx[3] = {anyVtx(), anyVtx(), random.below(2) == 0 ? anyVtx() : newVtx()};
        for (Point3*& pVtx : aVtx)
            if (pVtx == nullptr)
                pVtx = newVtx();
        if (aVtx[0] == aVtx[1] || aVtx[1] == aVtx[2] || aVtx[2] == aVtx[0])
            return;
        mesh.createT(aVtx[0], aVtx[1], aVtx[2]);
        twin.add(numberOf(aVtx[0]), numberOf(aVtx[1]), numberOf(aVtx[2]));
        killTwins();
    }

    void kill()
    {
        RTriangle* pRT = any(aliveT(mesh));
        if (pRT == nullptr)
            return;
        twin.remove(numberOf(pRT->getCorner(0)), numberOf(pRT->getCorner(1)), numberOf(pRT->getCorner(2)));
        pRT->kill(&mesh);
    }

    void split()
    {
        REdge* pRE = anyEdge();
        if (pRE == nullptr)
            return;
        Point3* pMid = newVtx();
        twin.split(numberOf(pRE->getVtx0()), numberOf(pRE->getVtx1()), numberOf(pMid));
        pRE->split(pMid, &mesh);
    }

    void flip()
    {
        REdge* pRE = anyEdge();
        if (pRE == nullptr)
            return;
        const u64 v0 = numberOf(pRE->getVtx0()), v1 = numberOf(pRE->getVtx1());
        if (pRE->tryFlipEdge(&mesh, nullptr, nullptr) == nullptr)
            return;
        const std::vector<u64> vThird = twin.thirdCorners(v0, v1);
        ASSERT_EQ(vThird.size(), 2U);
        EXPECT_TRUE(twin.thirdCorners(vThird[0], vThird[1]).empty()) << "upon another edge";
        twin.flip(v0, v1, vThird[0], vThird[1]);
    }

    void exchange()
    {
        Point3* pSrc = anyVtx();
        Point3* pTrg = anyVtx();
        if (pSrc == pTrg)
            return;
        mesh.exchangeCorner(pSrc, pTrg);
        twin.move(numberOf(pSrc), numberOf(pTrg));
        EXPECT_TRUE(trianglesOf(mesh) == twin) << "twins, before they are killed";
        killTwins();
    }

    void move()
    {
        const Point3 target(random.uniform(), random.uniform(), random.uniform());
        Point3* pVtx = anyVtx();
        if (pVtx == nullptr)
            return;
        if (random.below(2) == 0)
            mesh.moveToRingCenter(pVtx);
        else if (!mesh.hasVtx(target))
            mesh.updateVertex(pVtx, target);
    }

    void removeCap()
    {
        RTriangle* pRT = any(aliveT(mesh));
        if (pRT == nullptr)
            return;
        const int ici = int(random.below(3));
        const u64 apex = numberOf(pRT->getCorner(ici));
        const u64 v0 = numberOf(pRT->getRE(ici)->getVtx0()), v1 = numberOf(pRT->getRE(ici)->getVtx1());
        std::vector<RTriangle*> vNewT;
        if (!pRT->getRE(ici)->trySplitNeigsKillT(&mesh, pRT, ici, vNewT))
            return;
        twin.remove(v0, v1, apex);
        EXPECT_EQ(vNewT.size(), 2 * twin.thirdCorners(v0, v1).size());
        twin.split(v0, v1, apex);
    }

    // The mesh decides what they change; afterwards nothing is flat, or nothing changed.
    void cleanAll()
    {
        const zan_test::NamedRoot root;
        if (random.below(2) == 0)
            mesh.killDegenerate();
        else
            mesh.laplacianSmoothing(1, false);
        EXPECT_TRUE(mesh.checkNoDegenerate(""));
        twin = trianglesOf(mesh);
    }

    void turn()
    {
        const zan_test::NamedRoot root;
        if (RTriangle* pRT = any(aliveT(mesh)))
            pRT->flipOrientation();
        if (random.below(2) == 0)
            mesh.createPatchesOrient();
    }

    RMesh& mesh;
    TwinTriangles twin;
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

TEST(RMeshOperations, StructuresHoldAndTrianglesAreTheExpectedOnesAfterEachRandomOperation)
{
    const int numMeshes = zan_test::numRandomMeshes(9, STEPS_PER_MESH);
    for (int number = 0; number < numMeshes; ++number) {
        RealMesh mesh(zan_test::shakenSmallMesh(u64(number)));
        Gambler gambler(mesh, u64(number));
        for (int step = 0; step < STEPS_PER_MESH; ++step) {
            gambler.step();
            ASSERT_EQ(brokenInvariant(*mesh.pMesh), "") << "mesh " << number << ", step " << step;
            ASSERT_TRUE(trianglesOf(*mesh.pMesh) == gambler.expected())
                << "mesh " << number << ", step " << step;
            if (step % 50 == 49)
                expectQueriesAgreeWithAScan(*mesh.pMesh);
            ASSERT_FALSE(HasFailure()) << "mesh " << number << ", step " << step;
        }
    }
}

TEST(RMeshOperations, SameOperationsGiveTheSameMeshWhateverTheAddresses)
{
    std::vector<std::vector<std::array<int, 3>>> vResults;
    std::vector<std::unique_ptr<int[]>> vInTheWay;
    for (int run = 0; run < 3; ++run) {
        RealMesh mesh(zan_test::octahedron());
        Gambler gambler(mesh, 99);
        for (int step = 0; step < 300; ++step) {
            gambler.step();
            vInTheWay.push_back(std::make_unique<int[]>(size_t(1 + 37 * run))); // other addresses next time
        }
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
