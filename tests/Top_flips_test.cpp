#include "Top.h"

#include "CMesh.h"
#include "EdgeEnergy.h"
#include "helpers/captured.h"
#include "helpers/codeMesh.h"
#include "helpers/smallMeshes.h"
#include "random.h"
#include "zan_export.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <functional>
#include <set>

using namespace TESK_ZAN;
using namespace zan_test;
using testing::ElementsAre;

namespace
{

// numQuads x numQuads squares with heights; vertex (x, y) has the index x * (numQuads + 1) + y.
IndexedMesh heightField(int numQuads, const std::function<double(int, int)>& height)
{
    IndexedMesh mesh;
    for (int x = 0; x <= numQuads; ++x)
        for (int y = 0; y <= numQuads; ++y)
            mesh.vPoints.emplace_back(x, y, height(x, y));
    for (int x = 0; x < numQuads; ++x)
        for (int y = 0; y < numQuads; ++y) {
            const int a = x * (numQuads + 1) + y, b = a + numQuads + 1;
            mesh.vTriangles.insert(mesh.vTriangles.end(), {a, b, a + 1, a + 1, b, b + 1});
        }
    return mesh;
}

double flat(int, int)
{
    return 0.0;
}

// The four cells of a square in the plane z = 6, with some of its four possible triangles.
struct Square {
    Square()
        : cells(std::vector<std::array<int, 3>>{{5, 5, 6}, {5, 6, 6}, {6, 5, 6}, {6, 6, 6}}),
          mesh(nullptr, &cells.calc, &cells.mCCDBundle, {})
    {
    }
    void add(int a, int b, int c)
    {
        mesh.createT(cells.vCode[size_t(a)], cells.vCode[size_t(b)], cells.vCode[size_t(c)], 9, 15);
    }
    CEdge* edge(int a, int b) const { return mesh.getEdge(cells.vCode[size_t(a)], cells.vCode[size_t(b)]); }
    int degree(int a, int b) const { return edge(a, b) == nullptr ? 0 : edge(a, b)->getDegree(); }

    CellSet cells;
    CMesh mesh;
};

struct TopOn {
    explicit TopOn(CodeMesh& code) : top(&code.mesh, &code.cells.calc) {}
    Top top;
};

} // namespace

// ---- squares and degenerate triangles --------------------------------------------------------------------

TEST(Top_flips, a_square_with_both_diagonals_keeps_the_later_one_and_is_left_alone_afterwards)
{
    Square square;
    square.add(0, 1, 2);
    square.add(1, 3, 2); // along 1-2
    square.add(0, 1, 3);
    square.add(0, 3, 2); // along 0-3
    Top top(&square.mesh, &square.cells.calc);
    top.unifyDiagonals();
    const auto sAfter = cornerSets(square.mesh);
    EXPECT_EQ(numAlive(square.mesh), 2U);
    EXPECT_EQ(square.degree(0, 3) + square.degree(1, 2), 2);
    CTriangle *pCT0 = nullptr, *pCT1 = nullptr;
    (square.degree(0, 3) == 2 ? square.edge(0, 3) : square.edge(1, 2))->getTwoTriangles(pCT0, pCT1, true);
    ASSERT_NE(pCT0, nullptr);
    EXPECT_FALSE(pCT0->needFlip(pCT1));
    EXPECT_TRUE(square.mesh.checkDataStructures("after"));

    const size_t numMade = square.mesh.getT().size();
    top.unifyDiagonals();
    EXPECT_EQ(cornerSets(square.mesh), sAfter);
    EXPECT_EQ(square.mesh.getT().size(), numMade);
}

TEST(Top_flips, a_square_gets_the_diagonal_that_one_triangle_already_uses)
{
    Square square;
    square.add(0, 1, 2);
    square.add(1, 3, 2);
    square.add(0, 1, 3); // only one along 0-3
    Top top(&square.mesh, &square.cells.calc);
    top.unifyDiagonals();
    EXPECT_EQ(numAlive(square.mesh), 2U);
    EXPECT_EQ(square.degree(0, 3), 2);
    EXPECT_EQ(square.degree(1, 2), 0);
}

TEST(Top_flips, squares_with_one_diagonal_stay_even_after_the_other_has_died)
{
    Square square;
    square.add(0, 1, 3);
    square.mesh.getT()[0]->kill(&square.mesh); // leaves the edge 0-3 with degree 0
    square.add(0, 1, 2);
    square.add(1, 3, 2);
    Top top(&square.mesh, &square.cells.calc);
    top.unifyDiagonals();
    EXPECT_EQ(square.degree(1, 2), 2);
    EXPECT_EQ(square.mesh.getT().size(), 3U);
}

TEST(Top_flips, a_needle_inside_the_surface_goes_without_leaving_a_hole)
{
    CodeMesh code(heightField(3, flat));
    TopOn t(code);
    // The square (1, 1)-(2, 2) has the vertices 5, 6, 9, 10; 10 moves onto its diagonal 6-9.
    const Point3 p6 = code.mesh.getAvgPoint(code.at(6)), p9 = code.mesh.getAvgPoint(code.at(9));
    code.mesh.getVtx(code.at(10))->set(0.5 * (p6.x() + p9.x()), 0.5 * (p6.y() + p9.y()), p6.z());
    EXPECT_FALSE(code.mesh.checkNoDegenerate("before"));
    const size_t numBorders = numEdges(code.mesh, 1);
    t.top.killDegenerate();
    EXPECT_TRUE(code.mesh.checkNoDegenerate("after"));
    EXPECT_EQ(numEdges(code.mesh, 1), numBorders);
    EXPECT_EQ(numEdges(code.mesh, -1), 0U);
    EXPECT_TRUE(code.mesh.checkDataStructures("after"));
}

TEST(Top_flips, a_needle_whose_long_edge_is_a_border_is_killed)
{
    CodeMesh code(IndexedMesh{{{0, 0, 0}, {2, 0, 0}, {1, 0, 0}, {1, 1, 0}}, {0, 1, 2, 0, 2, 3, 2, 1, 3}});
    TopOn t(code);
    t.top.killDegenerate();
    EXPECT_FALSE(code.vCT[0]->isAlive());
    EXPECT_EQ(numAlive(code.mesh), 2U);
}

TEST(Top_flips, a_degenerate_triangle_that_nothing_helps_is_warned_of_and_stays)
{
    // Two needles on one edge: a split makes no triangle with a normal, a move has no normal to compare with.
    CodeMesh code(IndexedMesh{{{0, 0, 0}, {3, 0, 0}, {1, 0, 0}, {2, 0, 0}}, {0, 1, 2, 1, 0, 3}});
    TopOn t(code);
    const CapturedMessages messages;
    t.top.killDegenerate();
    EXPECT_EQ(numAlive(code.mesh), 2U);
    EXPECT_TRUE(messages.has("No success of trySplitNeigsKillT() and laplacianForOne()"));
}

// ---- flips by energy -------------------------------------------------------------------------------------

TEST(Top_flips, edges_for_optimization_are_those_that_bend_more_than_the_angle)
{
    CodeMesh code(heightField(2, [](int x, int) { return x == 2 ? 1.0 : 0.0; })); // a bend of 45 degrees
    TopOn t(code);
    std::vector<CEdge*> vCE;
    t.top.getEdgesForOptimization(44.0, vCE);
    EXPECT_THAT(vCE, testing::UnorderedElementsAre(code.edge(3, 4), code.edge(4, 5)));
    vCE.clear();
    t.top.getEdgesForOptimization(46.0, vCE);
    EXPECT_TRUE(vCE.empty());

    code.mesh.getVtx(code.at(4))->set(*code.mesh.getVtx(code.at(3)));
    const CapturedMessages messages;
    t.top.getEdgesForOptimization(44.0, vCE);
    EXPECT_TRUE(messages.has("No NNV, skipped edge"));
}

TEST(Top_flips, edge_flips_draw_the_ridge_of_a_roof)
{
    // The ridge runs along y = x, the diagonals of the drawing across it.
    CodeMesh code(heightField(4, [](int x, int y) { return -0.5 * std::abs(x - y); }));
    TopOn t(code);
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(code.edge(6 * i, 6 * i + 6), nullptr);
    t.top.edgeFlips(1.0);
    for (int i = 0; i < 4; ++i) {
        ASSERT_NE(code.edge(6 * i, 6 * i + 6), nullptr) << i;
        EXPECT_EQ(code.edge(6 * i, 6 * i + 6)->getDegree(), 2);
    }
}

TEST(Top_flips, edge_flips_end_and_keep_the_surface_whole)
{
    Random random(5);
    CodeMesh code(heightField(12, [&random](int, int) { return 1.5 * random.uniform(); }));
    TopOn t(code);
    const size_t numBorders = numEdges(code.mesh, 1), numInner = numEdges(code.mesh, 2);
    t.top.edgeFlips(0.1);
    EXPECT_EQ(numAlive(code.mesh), 2U * 12 * 12);
    EXPECT_EQ(numEdges(code.mesh, 1), numBorders);
    EXPECT_EQ(numEdges(code.mesh, 2), numInner);
    EXPECT_TRUE(code.mesh.checkDataStructures("after"));
    EXPECT_TRUE(code.mesh.checkNoDups("after"));
}

// ---- flips by features and angles ------------------------------------------------------------------------

TEST(Top_flips, can_flip_names_the_reason_of_each_refusal)
{
    CodeMesh code(strip(1)); // triangles (0, 2, 1) and (1, 2, 3)
    TopOn t(code);
    const u64 lower = std::min(code.at(1), code.at(2)), upper = std::max(code.at(1), code.at(2));
    EXPECT_TRUE(t.top.canFlip(lower, upper, code.at(0), code.at(3)));
    const auto refusal = [&](u64 c0, u64 c1, u64 alt0, u64 alt1) {
        const CapturedMessages messages;
        EXPECT_FALSE(t.top.canFlip(c0, c1, alt0, alt1));
        return messages.text();
    };
    EXPECT_EQ(refusal(lower, upper, code.at(0), code.at(1)),
              "AltEdge already present, canFlip() returns false\n");
    EXPECT_EQ(refusal(lower, upper, code.at(0), code.at(0)), "Duplicate corner, canFlip() returns false\n");
    EXPECT_EQ(refusal(upper, lower, code.at(0), code.at(3)),
              "ccd0 >= ccd1, should not happen, canFlip() returns false\n");
    const u64 border0 = std::min(code.at(0), code.at(1)), border1 = std::max(code.at(0), code.at(1));
    const u64 far = CellSet::ccdOf(900, 900, 900);
    EXPECT_EQ(refusal(border0, border1, code.at(3), far), "Border edge, canFlip() returns false\n");

    // Vertex 1 onto the line through 0 and 3: of the new pair one triangle has no area.
    const Point3 p0 = code.mesh.getAvgPoint(code.at(0)), p3 = code.mesh.getAvgPoint(code.at(3));
    code.mesh.getVtx(code.at(1))->set(0.5 * (p0.x() + p3.x()), 0.5 * (p0.y() + p3.y()), p0.z());
    EXPECT_EQ(refusal(lower, upper, code.at(0), code.at(3)),
              "New setting would be degenerate, canFlip() returns false\n");
}

TEST(Top_flips, can_flip_refuses_a_fold)
{
    // Flat the pair has the tips on one side of the edge's end, so that the new pair would lie on itself.
    CodeMesh code(IndexedMesh{{{0, 0, 0}, {1, 0, 0}, {2, 3, 0}, {2, -1, 0}}, {0, 1, 2, 1, 0, 3}});
    TopOn t(code);
    const CapturedMessages messages;
    const u64 lower = std::min(code.at(0), code.at(1)), upper = std::max(code.at(0), code.at(1));
    EXPECT_FALSE(t.top.canFlip(lower, upper, code.at(2), code.at(3)));
    EXPECT_TRUE(messages.has("newAngle=180.0"));
}

TEST(Top_flips, features_across_a_diagonal_get_their_edge)
{
    CodeMesh code(heightField(4, flat));
    TopOn t(code);
    std::set<u64> sFeature;
    for (int i = 0; i <= 4; ++i)
        sFeature.insert(code.at(6 * i)); // the diagonal that the drawing does not have
    t.top.setFeatureCCD(sFeature);
    const CapturedMessages messages;
    t.top.flipFeatures();
    for (int i = 0; i < 4; ++i) {
        ASSERT_NE(code.edge(6 * i, 6 * i + 6), nullptr) << i;
        EXPECT_EQ(code.edge(6 * i, 6 * i + 6)->getDegree(), 2);
    }
    EXPECT_TRUE(messages.has("NEW FLIP TURN 2"));
    EXPECT_EQ(t.top.countCollinearConnectors(code.at(6), code.at(12)), 2);
    EXPECT_EQ(t.top.countCollinearConnectors(code.at(0), code.at(6)), 1);
    EXPECT_THROW(t.top.countCollinearConnectors(code.at(6), code.at(6)), ZanBugException);
    EXPECT_THROW(t.top.countCollinearConnectors(code.at(6), code.at(7)), ZanBugException);
}

TEST(Top_flips, an_edge_between_features_only_gives_way_to_a_straighter_chain)
{
    // Both diagonals of the middle square join features. Along 5-10 the chain goes on to 0 and 15.
    CodeMesh code(heightField(3, flat));
    TopOn t(code);
    t.top.setFeatureCCD({code.at(5), code.at(6), code.at(9), code.at(10)});
    const CapturedMessages messages;
    t.top.flipFeatures();
    EXPECT_EQ(code.edge(6, 9)->getDegree(), 2); // neither continues anything: it stays

    t.top.setFeatureCCD({code.at(0), code.at(5), code.at(6), code.at(9), code.at(10), code.at(15)});
    t.top.flipFeatures();
    EXPECT_EQ(code.edge(5, 10)->getDegree(), 2);
}

TEST(Top_flips, an_extreme_cap_is_flipped_away)
{
    CodeMesh code(IndexedMesh{{{0, 0, 0}, {4, 0, 0}, {2, 0.02, 0}, {2, -2, 0}}, {0, 1, 2, 1, 0, 3}});
    TopOn t(code);
    EXPECT_EQ(t.top.flipExtremeCaps(true), 1);
    EXPECT_EQ(code.edge(2, 3)->getDegree(), 2);
    EXPECT_EQ(t.top.flipExtremeCaps(true), 0);
}

// ---- collapses -------------------------------------------------------------------------------------------

TEST(Top_flips, a_collapse_that_turns_a_triangle_too_far_changes_nothing)
{
    CodeMesh code(heightField(3, [](int x, int y) { return x == 1 && y == 1 ? 1.0 : 0.0; }));
    TopOn t(code);
    const auto sBefore = cornerSets(code.mesh);
    std::multimap<double, CEdge*> mmQueue;
    CEdge* pCE = code.edge(5, 6); // from the peak to its foot
    const auto [p0, p1] = pCE->getSegment(&code.mesh);
    const Point3 mid(0.5 * (p0.x() + p1.x()), 0.5 * (p0.y() + p1.y()), 0.5 * (p0.z() + p1.z()));
    EXPECT_FALSE(t.top.killMid(pCE, mid, DBL_MAX, mmQueue));
    EXPECT_FALSE(t.top.killSingle(pCE, 0, DBL_MAX, mmQueue));
    EXPECT_FALSE(t.top.killSingle(pCE, 1, DBL_MAX, mmQueue));
    EXPECT_EQ(cornerSets(code.mesh), sBefore);
    EXPECT_EQ(code.mesh.getAvgPoint(pCE->getV0()), p0);
    EXPECT_EQ(code.mesh.getAvgPoint(pCE->getV1()), p1);
    EXPECT_TRUE(mmQueue.empty());
}

TEST(Top_flips, a_collapse_enters_the_short_edges_at_the_vertex_that_stays)
{
    for (const bool bMid : {true, false}) {
        CodeMesh code(heightField(4, flat));
        TopOn t(code);
        CEdge* pCE = code.edge(12, 17); // the middle and its neighbour in x
        const u64 kept = pCE->getV1();
        std::multimap<double, CEdge*> mmQueue;
        const auto [p0, p1] = pCE->getSegment(&code.mesh);
        const Point3 mid(0.5 * (p0.x() + p1.x()), 0.5 * (p0.y() + p1.y()), p0.z());
        ASSERT_TRUE(bMid ? t.top.killMid(pCE, mid, 126.0, mmQueue)
                         : t.top.killSingle(pCE, 0, 126.0, mmQueue));
        EXPECT_EQ(code.mesh.getAvgPoint(kept), bMid ? mid : p1);
        EXPECT_EQ(numAlive(code.mesh), 2U * 4 * 4 - 2);
        size_t numShort = 0;
        std::vector<CEdge*> vCE;
        code.mesh.getIncidentCE(kept, vCE);
        for (const CEdge* pAtKept : vCE) {
            const auto [q0, q1] = pAtKept->getSegment(&code.mesh);
            numShort += size_t{(q1 - q0).sqLength() < 126.0};
        }
        EXPECT_GT(numShort, 0U);
        EXPECT_EQ(mmQueue.size(), numShort);
        EXPECT_TRUE(code.mesh.checkDataStructures("after"));
    }
}

TEST(Top_flips, a_collapse_makes_no_twins)
{
    CodeMesh code(tetrahedron());
    TopOn t(code);
    std::multimap<double, CEdge*> mmQueue;
    CEdge* pCE = code.edge(0, 1);
    const auto [p0, p1] = pCE->getSegment(&code.mesh);
    EXPECT_FALSE(t.top.killMid(pCE, p0, DBL_MAX, mmQueue));
    EXPECT_FALSE(t.top.killSingle(pCE, 0, DBL_MAX, mmQueue));
    EXPECT_EQ(numAlive(code.mesh), 4U);
}

TEST(Top_flips, simplify_empties_a_flat_surface_but_not_its_border)
{
    for (const SimplifyMode mode : {SM_ALL, SM_SINGLE, SM_MID}) {
        CodeMesh code(heightField(6, flat));
        TopOn t(code);
        const size_t numBefore = numAlive(code.mesh), numBorders = numEdges(code.mesh, 1);
        const CapturedMessages messages;
        for (int passNo = 0; t.top.simplify(passNo, DBL_MAX, mode); ++passNo)
            ASSERT_LT(passNo, 50);
        EXPECT_LT(numAlive(code.mesh), numBefore / 2) << mode;
        EXPECT_EQ(numEdges(code.mesh, 1), numBorders);
        EXPECT_EQ(numEdges(code.mesh, -1), 0U);
        EXPECT_TRUE(code.mesh.checkNoDups("after"));
        EXPECT_TRUE(messages.has("This is simplify(), passNo 0"));
        EXPECT_TRUE(messages.has("killDups has killed 0"));
    }
}

TEST(Top_flips, simplify_leaves_what_is_long_and_tells_when_another_pass_is_worth_it)
{
    const CapturedMessages messages;
    CodeMesh code(heightField(3, flat)); // edges of 10 and of 14.1
    TopOn t(code);
    EXPECT_FALSE(t.top.simplify(0, 9.9, SM_ALL)); // nothing is short
    EXPECT_EQ(numAlive(code.mesh), 18U);
    EXPECT_TRUE(t.top.simplify(0, DBL_MAX, SM_ALL)); // a few collapses count in the first pass only
    CodeMesh again(heightField(3, flat));
    TopOn u(again);
    EXPECT_FALSE(u.top.simplify(1, DBL_MAX, SM_ALL));
    EXPECT_LT(numAlive(again.mesh), 18U);
}
