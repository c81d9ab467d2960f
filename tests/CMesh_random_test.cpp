// Random sequences of all operations on the mesh on codes, each step compared with a twin.
#include "CMesh.h"

#include "helpers/captured.h"
#include "helpers/codeMesh.h"
#include "helpers/twinTriangles.h"
#include "random.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <map>
#include <set>

using namespace TESK_ZAN;
using namespace zan_test;

namespace
{

constexpr int STEPS_PER_MESH = 150;

std::vector<CTriangle*> aliveT(const CMesh& mesh)
{
    std::vector<CTriangle*> vCT;
    mesh.getAliveT(vCT);
    return vCT;
}

TwinTriangles trianglesOf(const CMesh& mesh)
{
    TwinTriangles triangles;
    for (const CTriangle* pCT : aliveT(mesh))
        triangles.add(pCT->getC0(), pCT->getC1(), pCT->getC2());
    return triangles;
}

// Any operation on any element, whether it makes sense there or not. The twin does the same.
class RandomEditor
{
public:
    RandomEditor(CodeMesh& code, u64 seed)
        : mesh(code.mesh), vCode(code.cells.vCode), twin(trianglesOf(code.mesh)), random(seed)
    {
    }

    void step()
    {
        const std::vector<CTriangle*> vCT = aliveT(mesh);
        if (vCT.empty())
            return create();
        CTriangle* pCT = vCT[random.below(std::uint32_t(vCT.size()))];
        const int ici = int(random.below(3));
        CEdge* pCE = pCT->getCEdge(ici);
        switch (random.below(11)) {
        case 0:
        case 1:
            return create();
        case 2:
            twin.remove(pCT->getC0(), pCT->getC1(), pCT->getC2());
            return pCT->kill(&mesh);
        case 3:
        case 4:
            return flip(pCE, pCT);
        case 5:
            return collapse(pCE);
        case 6:
            return collapseToMiddle(pCE);
        case 7:
            return split(pCE, pCT, ici);
        case 8:
            EXPECT_EQ(size_t(mesh.killDuplicateTriangles()), twin.dropTwins());
            return;
        case 9:
            return changePlaces(pCT->getCorner(ici), pCT);
        default:
            return replaceMadeVertices();
        }
    }

    const std::vector<u64>& codes() const { return vCode; }
    const TwinTriangles& expected() const { return twin; }

private:
    u64 anyCode() { return vCode[random.below(std::uint32_t(vCode.size()))]; }

    // Among few vertices this soon makes twins and edges of many triangles.
    void create()
    {
        const u64 a = anyCode(), b = anyCode(), c = anyCode();
        if (a == b || b == c || c == a)
            return;
        if (random.below(2) == 0) {
            const bool bThere = twin.has(a, b, c);
            EXPECT_EQ(mesh.createTIfMissing(a, b, c, 77, 3) == nullptr, bThere);
            if (bThere)
                return;
        } else {
            mesh.createT(a, b, c, 77, 3);
        }
        twin.add(a, b, c);
    }

    void flip(CEdge* pCE, CTriangle* pCT0)
    {
        CTriangle* pCT1 = pCE->getCTs()[random.below(std::uint32_t(pCE->getDegree()))];
        if (*pCT0 == *pCT1)
            return;
        const u64 v0 = pCE->getV0(), v1 = pCE->getV1();
        const u64 third0 = pCT0->getThirdCCD(v0, v1), third1 = pCT1->getThirdCCD(v0, v1);
        const bool bByItself = pCE->getDegree() == 2 && random.below(2) == 0;
        const CEdge* pNewCE = pCE->flipEdge(&mesh, bByItself ? nullptr : pCT0, bByItself ? nullptr : pCT1);
        EXPECT_EQ(pNewCE, mesh.getEdge(third0, third1));
        twin.flip(v0, v1, third0, third1);
    }

    void collapse(CEdge* pCE)
    {
        const bool bUp = random.below(2) == 0;
        const u64 src = bUp ? pCE->getV0() : pCE->getV1(), trg = pCE->getOtherVCD(src);
        const bool bMay = !twin.wouldCoincide(src, trg);
        EXPECT_EQ(mesh.linkTest(src, trg), bMay);
        EXPECT_EQ(mesh.collapseEdgeToEndpoint(pCE, src, trg), bMay);
        if (bMay)
            twin.move(src, trg);
    }

    void collapseToMiddle(CEdge* pCE)
    {
        const u64 v0 = pCE->getV0(), v1 = pCE->getV1();
        EXPECT_EQ(mesh.collapseEdgeToMidpoint(pCE), v1);
        twin.move(v0, v1);
    }

    void split(CEdge* pCE, CTriangle* pCT, int ici)
    {
        const u64 v0 = pCE->getV0(), v1 = pCE->getV1(), apex = pCT->getCorner(ici);
        std::vector<CTriangle*> vKids;
        if (!pCE->trySplitNeigsKillT(&mesh, pCT, ici, vKids))
            return;
        twin.remove(v0, v1, apex);
        for (const u64 third : twin.thirdCorners(v0, v1)) {
            twin.remove(v0, v1, third);
            for (const u64 end : {v0, v1}) // a half that exists goes
                twin.has(third, end, apex) ? twin.remove(third, end, apex) : twin.add(third, end, apex);
        }
    }

    // What must not touch the triangles.
    void changePlaces(u64 ccd, CTriangle* pCT)
    {
        mesh.laplacianForOne(ccd);
        mesh.averageAllBundles();
        pCT->flipOrientation();
    }

    // Vertices that the mesh makes itself, or their end: they are collapsed, or not, as the mesh likes.
    void replaceMadeVertices()
    {
        if (random.below(2) == 0) {
            const u64 ccd = CellSet::ccdOf(int(90 + random.below(20)), int(90 + random.below(20)), 120);
            if (!mesh.hasBundle(ccd)) {
                mesh.addBundle(ccd, DBL_MAX, DBL_MAX, DBL_MAX);
                vCode.push_back(ccd);
            }
            return;
        }
        mesh.removeLooseBundles();
        std::erase_if(vCode, [&](u64 ccd) { return !mesh.hasBundle(ccd); });
        twin = trianglesOf(mesh);
        std::vector<u64> vUsed;
        mesh.getCCDs(vUsed);
        for (const Bundle* pBundle : mesh.getOwnBundles())
            EXPECT_TRUE(std::binary_search(vUsed.begin(), vUsed.end(), pBundle->ccd));
    }

    CMesh& mesh;
    std::vector<u64> vCode; // of all vertices
    TwinTriangles twin;
    Random random;
};

// Everything that the look-ups answer, from a walk over all triangles.
void compareWithBruteForce(const CMesh& mesh, const std::vector<u64>& vCode)
{
    std::map<std::pair<u64, u64>, std::set<const CTriangle*>> mEdgeT;
    for (const CTriangle* pCT : aliveT(mesh))
        for (int i = 0; i < 3; ++i) {
            u64 a, b;
            pCT->getEdgeCCDs(i, a, b);
            mEdgeT[std::minmax({a, b})].insert(pCT);
        }
    for (const u64 a : vCode) {
        std::set<const CTriangle*> sIncident;
        for (const u64 b : vCode) {
            if (a == b)
                continue;
            const auto found = mEdgeT.find(std::minmax({a, b}));
            ASSERT_EQ(mesh.hasEdge(a, b), found != mEdgeT.end());
            if (found == mEdgeT.end())
                continue;
            const CEdge* pCE = mesh.getEdge(a, b);
            ASSERT_TRUE(pCE != nullptr);
            ASSERT_EQ(std::set<const CTriangle*>(pCE->getCTs().begin(), pCE->getCTs().end()), found->second);
            sIncident.insert(found->second.begin(), found->second.end());
        }
        std::vector<CTriangle*> vCT;
        mesh.getIncidentT(a, vCT);
        ASSERT_EQ(std::set<const CTriangle*>(vCT.begin(), vCT.end()), sIncident);
        ASSERT_EQ(vCT.size(), sIncident.size());
    }
}

} // namespace

TEST(CMesh, structures_hold_and_triangles_are_the_expected_ones_after_each_random_operation)
{
    const int numMeshes = numRandomMeshes(9, STEPS_PER_MESH);
    for (int number = 0; number < numMeshes; ++number) {
        CodeMesh code(shakenSmallMesh(u64(number)));
        RandomEditor editor(code, u64(number));
        for (int i = 0; i < STEPS_PER_MESH; ++i) {
            const CapturedMessages messages;
            editor.step();
            ASSERT_TRUE(code.mesh.checkDataStructures("step"))
                << "mesh " << number << ", step " << i << messages.text();
            ASSERT_TRUE(trianglesOf(code.mesh) == editor.expected()) << "mesh " << number << ", step " << i;
            if (i % 5 == 0)
                compareWithBruteForce(code.mesh, editor.codes());
            ASSERT_FALSE(HasFailure()) << "mesh " << number << ", step " << i;
        }
    }
}
