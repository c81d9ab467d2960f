#include "CPatch.h"

#include "helpers/captured.h"
#include "helpers/codeMesh.h"
#include "helpers/smallMeshes.h"
#include "random.h"
#include "zan_export.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <tuple>

using namespace TESK_ZAN;
using namespace zan_test;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace
{

std::vector<CPatch*> divide(CMesh& mesh, const std::set<CEdge*>* psFences = nullptr)
{
    std::vector<CPatch*> vPatches;
    mesh.createPatches(psFences, vPatches);
    return vPatches;
}

std::vector<std::size_t> sizesOf(const std::vector<CPatch*>& vPatches)
{
    std::vector<std::size_t> v;
    for (const CPatch* pPatch : vPatches)
        v.push_back(pPatch->getSize());
    return v;
}

std::vector<CEdge*> edges(const CodeMesh& m, const std::vector<std::pair<int, int>>& vEnds)
{
    std::vector<CEdge*> v;
    for (const auto& [a, b] : vEnds)
        v.push_back(m.edge(a, b));
    std::sort(v.begin(), v.end(), [](const CEdge* a, const CEdge* b) { return lessByNumber(a, b); });
    return v;
}

void flipSome(CodeMesh& m, Random& random)
{
    for (CTriangle* pCT : m.vCT)
        if (random.below(2) == 0)
            pCT->flipOrientation();
}

// Triangles on random corners: edges of all degrees, patches that touch themselves.
IndexedMesh randomTangle(Random& random, int numPoints, int numTriangles)
{
    IndexedMesh mesh;
    for (int i = 0; i < numPoints; ++i)
        mesh.vPoints.emplace_back(i % 5, i / 5 % 5, i / 25);
    std::set<std::set<int>> sHave;
    while (mesh.numT() < size_t(numTriangles)) {
        const int a = int(random.below(std::uint32_t(numPoints))),
                  b = int(random.below(std::uint32_t(numPoints))),
                  c = int(random.below(std::uint32_t(numPoints)));
        if (std::set<int>{a, b, c}.size() == 3 && sHave.insert({a, b, c}).second)
            mesh.vTriangles.insert(mesh.vTriangles.end(), {a, b, c});
    }
    return mesh;
}

std::vector<CEdge*> boundaryByCounting(const CPatch* pPatch)
{
    std::map<CEdge*, int> mCount;
    for (const CTriangle* pCT : pPatch->getMembers())
        for (int i = 0; i < 3; ++i)
            ++mCount[pCT->getCEdge(i)];
    std::vector<CEdge*> v;
    for (const auto& [pCE, num] : mCount)
        if (num == 1)
            v.push_back(pCE);
    std::sort(v.begin(), v.end(), [](const CEdge* a, const CEdge* b) { return lessByNumber(a, b); });
    return v;
}

// What shows of a division: labels, members in order, boundaries.
using Division = std::vector<std::tuple<int, std::vector<CTriangle*>, std::vector<CEdge*>>>;

Division divisionOf(CMesh& mesh)
{
    Division division;
    for (CPatch* pPatch : mesh.getPatches()) {
        mesh.settleMembers(pPatch);
        if (!pPatch->knowsOuterBoundary())
            pPatch->setOuterBoundary();
        division.emplace_back(pPatch->getLabel(), pPatch->getMembers(), pPatch->getOuterBoundary());
    }
    return division;
}

// Some patches whole, of some others a few members.
std::vector<CTriangle*> killSome(CMesh& mesh, Random& random)
{
    std::vector<CTriangle*> vDeadT;
    const std::vector<CPatch*> vPatches = mesh.getPatches();
    for (CPatch* pPatch : vPatches) {
        const bool bWhole = random.below(6) == 0;
        const std::vector<CTriangle*> vCT = pPatch->getMembers();
        if (bWhole)
            pPatch->kill();
        for (CTriangle* pCT : vCT) {
            if (!bWhole && random.below(40) != 0)
                continue;
            vDeadT.push_back(pCT);
            if (!bWhole)
                pCT->kill(&mesh);
        }
    }
    return vDeadT;
}

} // namespace

// ---- division --------------------------------------------------------------------------------------------

TEST(CPatch, ClosedManifoldIsOnePatchWithoutBorders)
{
    CodeMesh m(octahedron());
    std::vector<CPatch*> vPatches;
    BorderPatches mBorderCCD2Patch;
    std::vector<CEdge*> vBorderME;
    m.mesh.createPatches(nullptr, vPatches, mBorderCCD2Patch, vBorderME);
    ASSERT_THAT(sizesOf(vPatches), ElementsAre(8u));
    vPatches[0]->setOuterBoundary();
    EXPECT_THAT(vPatches[0]->getOuterBoundary(), IsEmpty());
    EXPECT_TRUE(vPatches[0]->isClosed());
    EXPECT_THAT(mBorderCCD2Patch, IsEmpty());
    EXPECT_THAT(vBorderME, IsEmpty());
}

TEST(CPatch, NonManifoldEdgeSeparatesAndIsListedOnce)
{
    CodeMesh m(threeOnAnEdge());
    std::vector<CPatch*> vPatches;
    BorderPatches mBorderCCD2Patch{{7, nullptr}}; // outputs are replaced
    std::vector<CEdge*> vBorderME{nullptr};
    m.mesh.createPatches(nullptr, vPatches, mBorderCCD2Patch, vBorderME);
    EXPECT_THAT(sizesOf(vPatches), ElementsAre(1u, 1u, 1u));
    EXPECT_THAT(vBorderME, ElementsAre(m.edge(0, 1)));
    EXPECT_EQ(mBorderCCD2Patch.size(), 3u);
    for (const auto& [ccd, pPatch] : mBorderCCD2Patch)
        EXPECT_TRUE(pPatch->getMembers()[0]->has(ccd) && ccd != m.at(0) && ccd != m.at(1));
    EXPECT_TRUE(std::is_sorted(mBorderCCD2Patch.begin(), mBorderCCD2Patch.end(),
                               [](const auto& a, const auto& b) { return a.first < b.first; }));
    vPatches[0]->setOuterBoundary(); // border edges are part of it
    EXPECT_EQ(vPatches[0]->getOuterBoundary(), edges(m, {{0, 1}, {0, 2}, {1, 2}}));
}

TEST(CPatch, SamePatchMayTouchAnEdgeTwice)
{
    CodeMesh m(pocket(6, 1, -1, 1)); // one fin: the body stays one patch round the other rim edges
    const std::vector<CPatch*> vPatches = divide(m.mesh);
    ASSERT_THAT(sizesOf(vPatches), ElementsAre(12u, 1u));
    for (CPatch* pPatch : vPatches)
        pPatch->setOuterBoundary();
    EXPECT_THAT(vPatches[0]->getOuterBoundary(), IsEmpty());
    EXPECT_TRUE(vPatches[0]->isClosed());
    EXPECT_EQ(vPatches[1]->getOuterBoundary().size(), 3u);
}

TEST(CPatch, FencesStopTheWalk)
{
    CodeMesh m(strip(3));
    const std::set<CEdge*> sFences{m.edge(2, 3)};
    const std::vector<CPatch*> vPatches = divide(m.mesh, &sFences);
    ASSERT_THAT(sizesOf(vPatches), ElementsAre(2u, 4u));
    vPatches[0]->setOuterBoundary();
    EXPECT_EQ(vPatches[0]->getOuterBoundary(), edges(m, {{0, 1}, {0, 2}, {1, 3}, {2, 3}}));
}

TEST(CPatch, ComponentsOverEdgesOfAnyDegree)
{
    CodeMesh m(pocket(5, 1, -1, 5));
    m.mesh.createCCPatches();
    EXPECT_THAT(sizesOf(m.mesh.getPatches()), ElementsAre(15u));
    CodeMesh two(twoTetrahedraOnAVertex());
    two.mesh.createCCPatches();
    EXPECT_THAT(sizesOf(two.mesh.getPatches()), ElementsAre(4u, 4u));
}

TEST(CPatch, DivisionsOfTanglesAgreeWithCounting)
{
    Random random(17);
    for (int round = 0; round < 30; ++round) {
        CodeMesh m(randomTangle(random, 12, 10 + 3 * round));
        std::size_t numMembers = 0;
        for (CPatch* pPatch : divide(m.mesh)) {
            numMembers += pPatch->getSize();
            for (const CTriangle* pCT : pPatch->getMembers())
                ASSERT_EQ(pCT->getPatch(), pPatch);
            const std::vector<CEdge*> vWanted = boundaryByCounting(pPatch);
            ASSERT_EQ(pPatch->isClosed(), vWanted.empty() && pPatch->getSize() >= 4); // counted afresh
            std::set<CEdge*> sBoundary;
            pPatch->getPatchBoundaryCE(sBoundary);
            ASSERT_EQ(sBoundary, std::set<CEdge*>(vWanted.begin(), vWanted.end()));
            pPatch->setOuterBoundary(); // from the rim of the walk
            ASSERT_EQ(pPatch->getOuterBoundary(), vWanted);
            pPatch->setOuterBoundary(); // from the members
            ASSERT_EQ(pPatch->getOuterBoundary(), vWanted);
            ASSERT_EQ(pPatch->getPatchBoundarySize(), vWanted.size());
            ASSERT_EQ(pPatch->isClosed(), vWanted.empty() && pPatch->getSize() >= 4);
        }
        EXPECT_EQ(numMembers, m.vCT.size());
        for (const CEdge* pCE : m.mesh.getE())
            if (pCE->getDegree() == 2) {
                ASSERT_EQ(pCE->getCTs()[0]->getPatch(), pCE->getCTs()[1]->getPatch());
                ASSERT_EQ(pCE->getAdjInPatch(pCE->getCTs()[0]), pCE->getCTs()[1]);
            }
    }
}

// ---- life of patches -------------------------------------------------------------------------------------

TEST(CPatch, NoTriangleNamesAPatchThatIsGone)
{
    CodeMesh m(octahedron());
    divide(m.mesh);
    m.vCT[3]->kill(&m.mesh);
    EXPECT_THAT(sizesOf(divide(m.mesh)), ElementsAre(7u));
    EXPECT_EQ(m.vCT[3]->getPatch(), nullptr);
    {
        CPatch patch(&m.mesh, 5);
        patch.addMember(m.vCT[0]);
    }
    EXPECT_EQ(m.vCT[0]->getPatch(), nullptr);
    m.mesh.clearPatches();
    EXPECT_EQ(m.vCT[1]->getPatch(), nullptr);
    divide(m.mesh);
    m.mesh.clear();
    EXPECT_THAT(m.mesh.getPatches(), IsEmpty());
}

TEST(CPatch, KidsOfASplitJoinThePatch)
{
    CodeMesh m(strip(2));
    CPatch* pPatch = divide(m.mesh)[0];
    std::vector<CTriangle*> vKids;
    CTriangle* pKill = m.vCT[1]; // (1, 2, 3), opposite edge (1, 2) of corner 3
    m.mesh.getVtx(m.at(3))->set(105.5, 105.5, 100.5);
    ASSERT_TRUE(m.edge(1, 2)->trySplitNeigsKillT(&m.mesh, pKill, pKill->getICI(m.at(3)), vKids));
    ASSERT_EQ(vKids.size(), 2u);
    EXPECT_EQ(vKids[0]->getPatch(), pPatch);
    EXPECT_EQ(vKids[1]->getPatch(), pPatch);
    pPatch->setOuterBoundary(); // not from the walk, which knew nothing of them
    EXPECT_EQ(pPatch->getOuterBoundary(), edges(m, {{0, 1}, {0, 2}, {1, 3}, {2, 4}, {4, 5}, {3, 5}}));
}

TEST(CPatch, KillEmptiesThePatch)
{
    CapturedMessages captured;
    CodeMesh m(threeOnAnEdge());
    CPatch* pPatch = divide(m.mesh)[1];
    pPatch->setNumInnerVtx();
    EXPECT_EQ(pPatch->getNumInnerVtx(), 0);
    pPatch->kill();
    EXPECT_FALSE(pPatch->isAlive());
    EXPECT_EQ(pPatch->getSize(), 0u);
    EXPECT_EQ(pPatch->getNumInnerVtx(), -1);
    EXPECT_EQ(m.edge(0, 1)->getDegree(), 2);
    EXPECT_THROW(pPatch->setOuterBoundary(), ZanBugException);
    EXPECT_TRUE(captured.has("isAlive()"));
    EXPECT_TRUE(m.mesh.checkDataStructures("after"));
}

// ---- orientation and measures ----------------------------------------------------------------------------

TEST(CPatch, OrientTurnsAnyMixtureOutward)
{
    Random random(3);
    for (int round = 0; round < 20; ++round) {
        CodeMesh m(round % 2 == 0 ? octahedron() : pocket(7, 1, -2, 1));
        const double volume = 1000.0 * (round % 2 == 0 ? 4.0 / 3.0 : 3.5 * std::sin(2 * M_PI / 7));
        flipSome(m, random);
        CPatch* pPatch = divide(m.mesh)[0];
        pPatch->orient();
        EXPECT_EQ(countMisoriented(m.mesh), 0);
        EXPECT_NEAR(pPatch->getVolume(), volume, 1e-6);
        pPatch->flip();
        EXPECT_NEAR(pPatch->getVolume(), -volume, 1e-6);
    }
}

TEST(CPatch, OneSidedPatchIsTold)
{
    CapturedMessages captured;
    CodeMesh m(moebiusStrip());
    CPatch* pPatch = divide(m.mesh)[0];
    pPatch->orient();
    EXPECT_TRUE(captured.has("reorientation failed"));
    EXPECT_GT(countMisoriented(m.mesh), 0);
}

TEST(CPatch, OrientCrossesEdgesOfHigherDegree)
{
    CodeMesh m(threeOnAnEdge());
    m.mesh.createCCPatches();
    m.vCT[1]->flipOrientation(); // now consistent with the first
    m.mesh.getPatches()[0]->orient();
    EXPECT_FALSE(m.vCT[0]->needFlip(m.vCT[1]));
    EXPECT_FALSE(m.vCT[0]->needFlip(m.vCT[2]));
}

TEST(CPatch, InnerVerticesAndArea)
{
    CodeMesh m(pocket(6, 1, -1, 6)); // above, below, six fins
    const std::vector<CPatch*> vPatches = divide(m.mesh);
    ASSERT_EQ(vPatches.size(), 8u);
    EXPECT_EQ(vPatches[0]->getNumInnerVtx(), -1);
    vPatches[0]->setNumInnerVtx();
    EXPECT_EQ(vPatches[0]->getNumInnerVtx(), 1);
    double sum = 0.0;
    for (const CPatch* pPatch : vPatches)
        sum += pPatch->getArea();
    EXPECT_NEAR(sum, m.mesh.getArea(), 1e-9);
}

// ---- pockets ---------------------------------------------------------------------------------------------

TEST(CPatch, SmallerSideOfAFlatPocketGoes)
{
    IndexedMesh drawing = pocket(9, 0.1, -0.1, 9);
    splitInThree(drawing, 9); // of the lower sheet
    CodeMesh m(drawing);
    CPatch patch(&m.mesh, 0); // by hand: a walk would stop at the fins
    for (size_t i = 0; i < m.vCT.size(); ++i)
        if (i < 18 || i >= 27)
            patch.addMember(m.vCT[i]);
    EXPECT_FALSE(patch.splitClosedPatchKill(true)); // fins hang on both sides
    EXPECT_TRUE(patch.splitClosedPatchKill(false));
    for (size_t i = 0; i < m.vCT.size(); ++i)
        EXPECT_EQ(m.vCT[i]->isAlive(), i >= 9) << i;
    for (int i = 0; i < 9; ++i)
        EXPECT_EQ(m.edge(i, (i + 1) % 9)->getDegree(), 2);
}

TEST(CPatch, ThickBodiesStayAndBodiesWithoutFoldsToo)
{
    // The thickness decides from 20 triangles on, and more strictly from 100 on.
    const auto splits = [](int n, double halfHeight, int numFins) {
        CodeMesh m(pocket(n, halfHeight, -halfHeight, numFins));
        CPatch* pPatch = divide(m.mesh)[0];
        return pPatch->splitClosedPatchKill(false);
    };
    EXPECT_TRUE(splits(9, 3, 1));     // small: whatever it is like
    EXPECT_FALSE(splits(9, 0.1, 0));  // no fold to start at
    EXPECT_TRUE(splits(40, 0.1, 1));  // two thirds of a cell
    EXPECT_FALSE(splits(40, 0.3, 1)); // two cells
    EXPECT_FALSE(splits(60, 0.1, 1));
    EXPECT_TRUE(splits(60, 0.05, 1)); // a third
}

TEST(CPatch, PatchWithoutAreaIsJudgedBySize)
{
    CodeMesh m(pocket(60, 0.1, -0.1, 1));
    CPatch* pPatch = divide(m.mesh)[0];
    for (Point3& p : m.cells.vPoints)
        p.set(100.5, 100.5, 100.5);
    EXPECT_FALSE(pPatch->splitClosedPatchKill(false));
    EXPECT_EQ(pPatch->getVolume(), 0.0);
}

// ---- advice ----------------------------------------------------------------------------------------------

TEST(CPatch, KillLeavesRegularEdgesOnlyUnderAPairOfSheets)
{
    CapturedMessages captured;
    CodeMesh m(pocket(6, 1, -1, 6));
    const std::vector<CPatch*> vPatches = divide(m.mesh);
    EXPECT_TRUE(vPatches[0]->canKillLeaveDeg2());
    EXPECT_TRUE(captured.has("YAHOO, true for pCT="));
    vPatches[1]->kill();
    EXPECT_FALSE(vPatches[0]->canKillLeaveDeg2());
    EXPECT_TRUE(captured.has("numLeft=1, numOwn=1, patch can't be killed"));
}

TEST(CPatch, PartnerIsTheSheetThatIsMetMostOften)
{
    CapturedMessages captured;
    CodeMesh m(pocket(6, 1, -1, 6));
    const std::vector<CPatch*> vPatches = divide(m.mesh);
    std::map<u64, CPatch*> mCCDPatch;
    for (int i = 0; i < 6; ++i)
        mCCDPatch[m.at(8 + i)] = vPatches[size_t(2 + i)];
    EXPECT_THROW(vPatches[0]->setPartnerCertainty(mCCDPatch), ZanBugException);
    mCCDPatch[m.at(7)] = vPatches[1];
    vPatches[0]->setPartnerCertainty(mCCDPatch);
    EXPECT_EQ(vPatches[0]->getPartner(), vPatches[1]);
    EXPECT_DOUBLE_EQ(vPatches[0]->getPartnerCertainty(), 0.5);
}

TEST(CPatch, UpdateAfterDeathsGivesWhatANewDivisionGives)
{
    Random random(11);
    for (int round = 0; round < 60; ++round) {
        CodeMesh m(randomTangle(random, 12 + round, 30 + 3 * round));
        if (round % 2 == 0) {
            m.mesh.killDuplicateTriangles(); // sorts; what is made afterwards stands behind
            m.add(0, 1, 11);
        }
        divide(m.mesh);
        for (int turn = 0; turn < 4; ++turn) {
            if (round % 3 != 0)
                divisionOf(m.mesh); // with and without boundaries before the deaths
            m.mesh.updatePatches(killSome(m.mesh, random));
            const Division updated = divisionOf(m.mesh);
            divide(m.mesh);
            ASSERT_EQ(updated, divisionOf(m.mesh)) << round << ", " << turn;
        }
        ASSERT_TRUE(m.mesh.checkDataStructures("after"));
    }
}

TEST(CPatch, PathBetweenTwoRimsIsTheShortestOne)
{
    IndexedMesh
        drawing; // a band of two rings of triangles; a vertex of the middle ring lies close to both rims
    for (int ring = 0; ring < 3; ++ring)
        for (int i = 0; i < 6; ++i)
            drawing.vPoints.emplace_back(4 * std::cos(i * M_PI / 3), 4 * std::sin(i * M_PI / 3), 4 * ring);
    for (int ring = 0; ring < 2; ++ring) {
        for (int i = 0; i < 6; ++i) {
            const int a = 6 * ring + i, b = 6 * ring + (i + 1) % 6;
            drawing.vTriangles.insert(drawing.vTriangles.end(), {a, b, b + 6, a, b + 6, a + 6});
        }
    }
    CodeMesh m(drawing);
    const CPatch* pPatch = divide(m.mesh)[0];
    std::map<u64, Point3> mCCDPoint;
    std::vector<CEdge*> vPath;
    EXPECT_EQ(pPatch->getPatchBoundarySize(), 12u);
    for (int i = 0; i < 18; ++i)
        mCCDPoint[m.at(i)] = *m.mesh.getVtx(m.at(i));
    for (const int i : {3, 9, 15}) // pulled together: the way of ring vertices 3 is the shortest
        mCCDPoint[m.at(i)].set(0, 0, i);
    ASSERT_TRUE(pPatch->findPartitioningPath(vPath, mCCDPoint));
    EXPECT_THAT(vPath, ElementsAre(m.edge(3, 9), m.edge(9, 15)));

    vPath.clear();
    CodeMesh disc(strip(3));
    EXPECT_FALSE(divide(disc.mesh)[0]->findPartitioningPath(vPath, {}));
    EXPECT_THAT(vPath, IsEmpty());
}
