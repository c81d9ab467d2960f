#include "Chain.h"
#include "ChainMgr.h"

#include "helpers/captured.h"
#include "helpers/codeMesh.h"
#include "helpers/holeMeshes.h"
#include "helpers/smallMeshes.h"
#include "zan_export.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>

using namespace TESK_ZAN;
using namespace zan_test;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

namespace
{

std::vector<CEdge*> edgesOf(const Chain& chain)
{
    std::vector<CEdge*> vCE;
    chain.getEdges(vCE);
    return vCE;
}

// The directions make a path of the members that runs from one end of the chain to the other.
bool isPath(const Chain& chain)
{
    const std::vector<CEdge*> vCE = edgesOf(chain);
    u64 end0 = 0, end1 = 0;
    chain.getEnds(end0, end1);
    for (size_t i = 1; i < vCE.size(); ++i)
        if (vCE[i - 1]->getTarget() != vCE[i]->getSource())
            return false;
    return !vCE.empty() && vCE.front()->getSource() == end0 && vCE.back()->getTarget() == end1;
}

// The lengths of the chains, open ones negative.
std::vector<int> lengths(const ChainMgr& mgr)
{
    std::vector<int> v;
    for (u64 i = 0; i < mgr.getNumChains(); ++i) {
        const Chain* pChain = mgr.getChain(i);
        EXPECT_TRUE(isPath(*pChain));
        const int num = int(edgesOf(*pChain).size());
        v.push_back(pChain->isClosed() ? num : -num);
    }
    return v;
}

std::vector<int> borderLengths(CodeMesh& m, bool bTryClose)
{
    return lengths(ChainMgr(&m.mesh, borderMap(m.mesh), bTryClose));
}

Chain* chainOver(const ChainMgr& mgr, const CEdge* pCE)
{
    for (u64 i = 0; i < mgr.getNumChains(); ++i) {
        const std::vector<CEdge*> vCE = edgesOf(*mgr.getChain(i));
        if (std::find(vCE.begin(), vCE.end(), pCE) != vCE.end())
            return mgr.getChain(i);
    }
    return nullptr;
}

bool isGood(CodeMesh& m, int a, int b)
{
    const ChainMgr mgr(&m.mesh, borderMap(m.mesh), true);
    return chainOver(mgr, m.edge(a, b))->isGoodHole();
}

EdgeMap mapOf(const CodeMesh& m, const std::vector<std::pair<int, int>>& vEnds)
{
    EdgeMap mmVCD2CE;
    for (const auto& [a, b] : vEnds)
        enterEdge(mmVCD2CE, m.edge(a, b));
    return mmVCD2CE;
}

// A band of n squares, closed with half a turn: its rim is one cycle of 2n edges.
IndexedMesh longMoebius(int n)
{
    IndexedMesh mesh;
    for (int i = 0; i < n; ++i) {
        const double turn = 2 * 3.14159265358979 * i / n;
        for (const double side : {-1.0, 1.0}) {
            const double r = 3 + side * std::cos(turn / 2);
            mesh.vPoints.emplace_back(r * std::cos(turn), r * std::sin(turn), side * std::sin(turn / 2));
        }
    }
    for (int i = 0; i < n; ++i) {
        const bool bLast = i == n - 1;
        const int a = 2 * i, b = a + 1, c = bLast ? 1 : a + 2, d = bLast ? 0 : a + 3;
        mesh.vTriangles.insert(mesh.vTriangles.end(), {a, c, b, b, c, d});
    }
    return mesh;
}

} // namespace

// ---- chains

TEST(Chain, takesAPathFromTheMapInOrder)
{
    CodeMesh m(strip(3));
    EdgeMap mm = mapOf(m, {{2, 4}, {4, 6}, {0, 2}});
    Chain chain(&m.mesh, mm);
    EXPECT_TRUE(mm.empty());
    EXPECT_TRUE(isPath(chain));
    EXPECT_FALSE(chain.isClosed());
    u64 ends[2];
    chain.getEnds(ends[0], ends[1]);
    EXPECT_THAT(ends, UnorderedElementsAre(m.at(0), m.at(6)));
    std::map<u64, int> mVCD2Num;
    chain.getVCDs(mVCD2Num);
    EXPECT_EQ(mVCD2Num, (std::map<u64, int>{{m.at(0), 1}, {m.at(2), 2}, {m.at(4), 2}, {m.at(6), 1}}));
}

TEST(Chain, stopsWhereTheMapBranchesAndLeavesTheRest)
{
    CodeMesh m(strip(3));
    EdgeMap mm = mapOf(m, {{0, 2}, {2, 4}, {2, 3}, {2, 1}});
    Chain chain(&m.mesh, mm);
    EXPECT_EQ(edgesOf(chain).size(), 1u);
    EXPECT_EQ(mm.size(), 6u);
}

TEST(Chain, addedEdgesCloseItAndClearingEmptiesIt)
{
    CodeMesh m(frame(polygon(6)));
    EdgeMap mm = mapOf(m, {{0, 1}, {1, 2}, {2, 3}, {3, 4}});
    Chain chain(&m.mesh, mm);
    chain.addEdges({m.edge(4, 5), m.edge(5, 0)});
    EXPECT_TRUE(chain.isClosed());
    EXPECT_TRUE(isPath(chain));
    chain.clear();
    EXPECT_FALSE(chain.isClosed());
    EXPECT_THAT(edgesOf(chain), IsEmpty());
}

TEST(Chain, emptyMapsAndOpenChainsAreRefusedWhereTheyMakeNoSense)
{
    const CapturedMessages messages;
    CodeMesh m(strip(3));
    EdgeMap mm;
    EXPECT_THROW(Chain(&m.mesh, mm), ZanBugException);
    mm = mapOf(m, {{0, 2}});
    Chain chain(&m.mesh, mm);
    EXPECT_THROW(chain.isGoodHole(), ZanBugException);
    EXPECT_THROW(chain.fixMoebius(), ZanBugException);
}

// ---- sorting edges into chains

TEST(ChainMgr, cyclesCloseAndOpenPathsStayToTheEnd)
{
    CodeMesh hole(frame(polygon(6)));
    EXPECT_THAT(borderLengths(hole, false), UnorderedElementsAre(6, 6));
    CodeMesh m(strip(3));
    EXPECT_THAT(lengths(ChainMgr(&m.mesh, mapOf(m, {{2, 4}, {4, 6}, {0, 2}}), false)),
                UnorderedElementsAre(-3));
    EXPECT_EQ(ChainMgr(&m.mesh, {}, true).getNumChains(), 0u);
}

TEST(ChainMgr, cyclesThatMeetInAVertexArePartedOnlyWhenTheyMayBeClosed)
{
    CodeMesh m(sheetWithout(5, 5, {{1, 1}, {2, 2}}));
    EXPECT_THAT(borderLengths(m, true), UnorderedElementsAre(4, 4, 20));
    EXPECT_THAT(borderLengths(m, false), UnorderedElementsAre(-2, -2, 20));
}

TEST(ChainMgr, aRowOfTouchingCyclesIsTakenApartFromItsEnds)
{
    CodeMesh m(sheetWithout(8, 8, {{1, 1}, {2, 2}, {3, 3}, {4, 4}, {5, 5}, {6, 6}}));
    EXPECT_THAT(borderLengths(m, true), UnorderedElementsAre(4, 4, 4, 4, 4, 4, 32));
}

TEST(ChainMgr, theSameMapGivesTheSameChains)
{
    CodeMesh m(sheetWithout(8, 8, {{1, 1}, {2, 2}, {5, 2}, {4, 3}, {5, 6}}));
    std::vector<std::vector<CEdge*>> vRuns;
    for (int run = 0; run < 2; ++run) {
        const ChainMgr mgr(&m.mesh, borderMap(m.mesh), true);
        vRuns.emplace_back();
        for (u64 i = 0; i < mgr.getNumChains(); ++i)
            mgr.getChain(i)->getEdges(vRuns.back());
    }
    EXPECT_EQ(vRuns[0], vRuns[1]);
}

TEST(ChainMgr, aPathIsClosedByTheDirectEdgeFirst)
{
    CodeMesh m(strip(2));
    const ChainMgr mgr(&m.mesh, mapOf(m, {{0, 2}, {2, 1}}), false);
    std::vector<CEdge*> vConnectorCE;
    EXPECT_TRUE(mgr.tryCloseChain(mgr.getChain(0), vConnectorCE));
    EXPECT_THAT(vConnectorCE, ::testing::ElementsAre(m.edge(0, 1)));
}

// The ends 2 and 5 of the path 2-4-5 of the strip have the edges to 3 in common; a second way over a new
// vertex has fewer triangles.
TEST(ChainMgr, aPathIsClosedOverTheVertexWithTheFewestTriangles)
{
    IndexedMesh drawing = strip(2); // 2-4 and 4-5 are at its border, 3 is their neighbour
    CodeMesh plain(drawing);
    drawing.vPoints.emplace_back(5, 5, 5);
    drawing.vTriangles.insert(drawing.vTriangles.end(), {2, 6, 0, 5, 6, 4});
    CodeMesh withOther(drawing);
    std::vector<CEdge*> vConnectorCE;
    const ChainMgr mgr(&plain.mesh, mapOf(plain, {{2, 4}, {4, 5}}), false);
    EXPECT_TRUE(mgr.tryCloseChain(mgr.getChain(0), vConnectorCE));
    EXPECT_THAT(vConnectorCE, UnorderedElementsAre(plain.edge(2, 3), plain.edge(3, 5)));

    vConnectorCE.clear();
    const ChainMgr mgr2(&withOther.mesh, mapOf(withOther, {{2, 4}, {4, 5}}), false);
    EXPECT_TRUE(mgr2.tryCloseChain(mgr2.getChain(0), vConnectorCE));
    EXPECT_THAT(vConnectorCE, UnorderedElementsAre(withOther.edge(2, 6), withOther.edge(6, 5)));
}

TEST(ChainMgr, edgesOfOtherChainsAndWaysOverOwnVerticesCloseNothing)
{
    CodeMesh m(strip(2));
    const ChainMgr taken(&m.mesh, mapOf(m, {{2, 4}, {4, 5}, {0, 1}}), false);
    m.edge(2, 3)->setDirection(ED_V0V1); // as if it were in another chain
    std::vector<CEdge*> vConnectorCE;
    EXPECT_FALSE(taken.tryCloseChain(chainOver(taken, m.edge(2, 4)), vConnectorCE));
    EXPECT_THAT(vConnectorCE, IsEmpty());
    // The zigzag 0-1-2-3-4 could only be closed over 2.
    CodeMesh zigzag(strip(2));
    const ChainMgr own(&zigzag.mesh, mapOf(zigzag, {{0, 1}, {1, 2}, {2, 3}, {3, 4}}), false);
    EXPECT_FALSE(own.tryCloseChain(own.getChain(0), vConnectorCE));
}

// ---- holes and rims

TEST(GoodHole, holesAreGoodAndRimsOfFlatSurfacesAreNot)
{
    for (const int n : {3, 4, 6, 90}) {
        CodeMesh m(frame(polygon(n)));
        EXPECT_TRUE(isGood(m, 0, 1)) << n;
        EXPECT_FALSE(isGood(m, n, n + 1)) << n;
    }
    CodeMesh lone({{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {0, 1, 2}});
    EXPECT_FALSE(isGood(lone, 0, 1));
    CodeMesh sheet(sheetWithout(6, 4, {}));
    EXPECT_FALSE(isGood(sheet, 0, 1));
}

TEST(GoodHole, theRimOfACupIsGood)
{
    CodeMesh cup(openBox());
    EXPECT_TRUE(isGood(cup, 4, 5));
}

TEST(Encircled, countsTheTurnsOfAPolygonRoundALine)
{
    const std::vector<Point3> vSquare{{1, 1, 0}, {-1, 1, 3}, {-1, -1, 7}, {1, -1, -5}};
    const auto around = [](double x, double y, const std::vector<Point3>& v) {
        return isEncircled({x, y, 0}, {x, y, 1}, v);
    };
    const std::vector<Point3> vBack(vSquare.rbegin(), vSquare.rend());
    std::vector<Point3> vDoubled;
    for (size_t i = 0; i < 4; ++i)
        vDoubled.insert(vDoubled.end(), {vSquare[i], vSquare[(i + 1) % 4]});
    for (const std::vector<Point3>& v : {vSquare, vBack, vDoubled}) {
        EXPECT_TRUE(around(0.3, -0.2, v));
        EXPECT_FALSE(around(1.5, 0, v));
        EXPECT_FALSE(around(-3, 2, v));
    }
    EXPECT_FALSE(around(0, 0, {}));
}

// ---- twists

TEST(Moebius, theTwistIsFoundAndUntied)
{
    for (const IndexedMesh& drawing : {moebiusStrip(), longMoebius(9), longMoebius(30)}) {
        CodeMesh m(drawing);
        const size_t numT = numAlive(m.mesh);
        {
            ChainMgr mgr(&m.mesh, borderMap(m.mesh), true);
            ASSERT_EQ(mgr.getNumChains(), 1u);
            EXPECT_TRUE(mgr.getChain(0)->hasMoebius());
            mgr.getChain(0)->fixMoebius();
        }
        EXPECT_EQ(numAlive(m.mesh), numT);
        EXPECT_TRUE(m.mesh.checkDataStructures("untied"));
        ChainMgr mgr(&m.mesh, borderMap(m.mesh), true);
        for (u64 i = 0; i < mgr.getNumChains(); ++i)
            EXPECT_FALSE(mgr.getChain(i)->hasMoebius());
        EXPECT_EQ(numEdges(m.mesh, -1), 0u);
    }
}

TEST(Moebius, anOrdinaryRimHasNoneInAnyOrientationAndKeepsIt)
{
    CodeMesh m(frame(polygon(7)));
    for (size_t i = 0; i < m.vCT.size(); i += 3)
        m.vCT[i]->flipOrientation();
    const int numMisoriented = countMisoriented(m.mesh);
    ChainMgr mgr(&m.mesh, borderMap(m.mesh), true);
    for (u64 i = 0; i < mgr.getNumChains(); ++i)
        EXPECT_FALSE(mgr.getChain(i)->hasMoebius());
    EXPECT_EQ(countMisoriented(m.mesh), numMisoriented);
    std::set<CTriangle*> sCT;
    Chain* pChain = chainOver(mgr, m.edge(0, 1));
    pChain->getOriented(sCT);
    EXPECT_EQ(sCT.size(), 7u);
    for (const CEdge* pCE : edgesOf(*pChain))
        EXPECT_EQ(pCE->getCTs()[0]->getHEDirection2(pCE->getSource(), pCE->getTarget()), HE_OPPOSITE);
}

TEST(Moebius, aTwistThatNoEdgeCutsIsLeftWithAWarning)
{
    const CapturedMessages messages;
    IndexedMesh drawing = moebiusStrip(); // with two more triangles the walks come round to the other side
    drawing.vPoints.emplace_back(2, 2, 2);
    drawing.vTriangles.insert(drawing.vTriangles.end(), {0, 2, 5, 0, 3, 5});
    CodeMesh m(drawing);
    const auto sBefore = cornerSets(m.mesh);
    const ChainMgr mgr(&m.mesh, borderMap(m.mesh), true);
    Chain* pChain = chainOver(mgr, m.edge(1, 3));
    ASSERT_TRUE(pChain->hasMoebius());
    pChain->fixMoebius();
    EXPECT_THAT(messages.text(), HasSubstr("cannot be untied"));
    EXPECT_EQ(cornerSets(m.mesh), sBefore);
}

TEST(Chain, aPathWithAGapIsToldAndNotRepaired)
{
    const CapturedMessages messages;
    CodeMesh m(strip(3));
    EdgeMap mm = mapOf(m, {{0, 2}, {2, 4}});
    Chain chain(&m.mesh, mm);
    std::set<CTriangle*> sCT;
    chain.getOriented(sCT);
    EXPECT_THAT(messages.text(), HasSubstr("BUG"));
    EXPECT_EQ(sCT.size(), 2u);
}
