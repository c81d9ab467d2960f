#include "CMesh.h"

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
#include <limits>
#include <set>

using namespace TESK_ZAN;
using namespace zan_test;
using testing::ElementsAre;

namespace
{

constexpr double NO_PLACE = DBL_MAX;

IndexedMesh fourPoints(std::vector<int> vTriangles)
{
    return {{{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}}, std::move(vTriangles)};
}

std::vector<CTriangle*> incidentT(const CMesh& mesh, u64 ccd)
{
    std::vector<CTriangle*> vCT;
    mesh.getIncidentT(ccd, vCT);
    return vCT;
}

std::vector<CEdge*> incidentCE(const CMesh& mesh, u64 ccd)
{
    std::vector<CEdge*> vCE;
    mesh.getIncidentCE(ccd, vCE);
    return vCE;
}

std::vector<CEdge*> degN(const CMesh& mesh, int deg)
{
    std::vector<CEdge*> vCE;
    mesh.getDegN(deg, vCE);
    return vCE;
}

} // namespace

// ---- CTriangle -------------------------------------------------------------------------------------------

TEST(CTriangle, corners_edges_and_indices_agree)
{
    CodeMesh code(tetrahedron());
    const CTriangle& ct = *code.vCT[0];
    for (int i = 0; i < 3; ++i) {
        const u64 ccd = ct.getCorner(i);
        u64 a, b;
        ct.getEdgeCCDs(i, a, b);
        EXPECT_EQ(ct.getICI(ccd), i);
        EXPECT_EQ(ct.getICI(a, b), i);
        EXPECT_EQ(ct.getThirdCCD(b, a), ccd);
        EXPECT_EQ(ct.getHEDirection2(a, b), HE_SAME);
        EXPECT_EQ(ct.getHEDirection2(b, a), HE_OPPOSITE);
        EXPECT_EQ(ct.getCEdge(i), code.mesh.getEdge(a, b));
        EXPECT_FALSE(ct.getCEdge(i)->hasVertex(ccd));
    }
    u64 a, b;
    ct.getOtherCCDs(ct.getC1(), a, b);
    EXPECT_THAT((std::vector{a, b}), ElementsAre(ct.getC0(), ct.getC2()));
    ct.getOtherCCDs(ct.getC2(), a, b);
    EXPECT_THAT((std::vector{a, b}), ElementsAre(ct.getC1(), ct.getC0()));
    EXPECT_EQ(ct.getHEDirection2(ct.getC0(), code.at(3)), HE_NONE);
    const CapturedMessages quiet;
    EXPECT_THROW(ct.getICI(code.at(3)), ZanBugException);
}

TEST(CTriangle, flipped_orientation_keeps_the_edges_of_the_corners)
{
    CodeMesh code(tetrahedron());
    EXPECT_FALSE(code.vCT[0]->needFlip(code.vCT[1]));
    code.vCT[0]->flipOrientation();
    EXPECT_TRUE(code.vCT[0]->needFlip(code.vCT[1]));
    EXPECT_TRUE(code.mesh.checkDataStructures("flipOrientation"));
}

TEST(CTriangle, normals_from_codes_see_only_the_signs_of_the_steps)
{
    CodeMesh code(IndexedMesh{{{0, 0, 0}, {1, 0, 0}, {0, 7, 0}, {3, 3, 0}}, {0, 1, 2}});
    Vector3 real, coarse;
    bool bOK = false;
    code.vCT[0]->getNNV(&code.mesh, real, bOK);
    EXPECT_TRUE(bOK);
    code.vCT[0]->getCoarseNNV(coarse, bOK);
    EXPECT_TRUE(bOK);
    EXPECT_NEAR(real * coarse, 1.0, 1e-12);
    const CTriangle parallel(code.at(0), CellSet::ccdOf(105, 105, 100), code.at(3), 0, 0, 9);
    parallel.getCoarseNNV(coarse, bOK);
    EXPECT_FALSE(bOK);
}

TEST(CTriangle, longest_edge_of_equal_ones_goes_to_the_first_pair)
{
    CodeMesh code(IndexedMesh{{{0, 0, 0}, {2, 0, 0}, {1, 2, 0}, {1, 1, 0}}, {0, 1, 2, 1, 2, 0, 0, 3, 1}});
    EXPECT_EQ(code.vCT[0]->getLargestEdgeICI(&code.mesh), 0); // (c1, c2) and (c0, c2) are equal
    EXPECT_EQ(code.vCT[1]->getLargestEdgeICI(&code.mesh), 2); // (c0, c1) is one of them
    EXPECT_EQ(code.vCT[2]->getLargestEdgeICI(&code.mesh), 1);
}

// ---- look-up ---------------------------------------------------------------------------------------------

TEST(CMesh, edge_of_degree_0_is_found_and_used_again)
{
    CodeMesh code(fourPoints({0, 1, 2}));
    CEdge* pCE = code.edge(0, 1);
    CTriangle* pOld = code.vCT[0];
    pOld->kill(&code.mesh);
    EXPECT_EQ(code.edge(1, 0), pCE);
    EXPECT_EQ(pCE->getDegree(), 0);
    EXPECT_FALSE(code.mesh.hasEdge(code.at(0), code.at(1)));
    EXPECT_TRUE(incidentCE(code.mesh, code.at(0)).empty());

    CTriangle* pNew = code.add(0, 1, 2);
    EXPECT_NE(pNew, pOld);
    EXPECT_EQ(pNew->getCEdge(2), pCE);
    EXPECT_THAT(pCE->getCTs(), ElementsAre(pNew));
    EXPECT_TRUE(code.mesh.checkDataStructures("again"));
    EXPECT_EQ(code.mesh.getE().size(), 3u);
}

TEST(CMesh, triangle_cannot_die_twice_and_corners_must_differ)
{
    CodeMesh code(fourPoints({0, 1, 2}));
    code.vCT[0]->kill(&code.mesh);
    const CapturedMessages captured;
    EXPECT_THROW(code.vCT[0]->kill(&code.mesh), ZanBugException);
    EXPECT_THROW(code.add(0, 1, 0), ZanBugException);
    EXPECT_TRUE(captured.has("v0!=v1 && v1!=v2 && v0!=v2"));
}

TEST(CMesh, edges_by_degree)
{
    CodeMesh code(threeOnAnEdge());
    EXPECT_THAT(degN(code.mesh, -1), ElementsAre(code.edge(0, 1)));
    EXPECT_THAT(degN(code.mesh, 3), ElementsAre(code.edge(0, 1)));
    EXPECT_EQ(degN(code.mesh, 1).size(), 6u);
    EXPECT_EQ(degN(code.mesh, -5).size(), 7u);
    EXPECT_TRUE(degN(code.mesh, 2).empty());
    code.vCT[2]->kill(&code.mesh);
    EXPECT_THAT(degN(code.mesh, 2), ElementsAre(code.edge(0, 1)));
    EXPECT_EQ(degN(code.mesh, -99).size(), 5u);
    const CapturedMessages captured;
    EXPECT_TRUE(degN(code.mesh, -2).empty());
    EXPECT_TRUE(degN(code.mesh, 0).empty());
    EXPECT_TRUE(captured.has("deg=-2"));
}

TEST(CMesh, neighbourhoods_come_in_their_fixed_orders_whatever_died_before)
{
    CodeMesh code(octahedron());
    code.vCT[1]->kill(&code.mesh);
    code.vCT[0]->kill(&code.mesh);
    code.add(4, 0, 2);
    for (int i = 0; i < 6; ++i) {
        const std::vector<CTriangle*> vCT = incidentT(code.mesh, code.at(i));
        std::vector<CTriangle*> vExpected;
        for (CTriangle* pCT : code.mesh.getT()) // creation order
            if (pCT->isAlive() && pCT->has(code.at(i)))
                vExpected.push_back(pCT);
        EXPECT_EQ(vCT, vExpected);
        const std::vector<CEdge*> vCE = incidentCE(code.mesh, code.at(i));
        EXPECT_TRUE(std::is_sorted(vCE.begin(), vCE.end(), lessByEnds));
        for (const CEdge* pCE : vCE)
            EXPECT_TRUE(pCE->hasVertex(code.at(i)) && pCE->getDegree() > 0);
    }
}

TEST(CMesh, list_of_used_codes_is_sorted_and_without_loose_bundles)
{
    IndexedMesh drawing = octahedron();
    drawing.vPoints.emplace_back(3, 3, 3);
    CodeMesh code(drawing);
    std::vector<u64> vCCD;
    code.mesh.getCCDs(vCCD);
    std::vector<u64> vExpected(code.cells.vCode.begin(), code.cells.vCode.end() - 1);
    std::sort(vExpected.begin(), vExpected.end());
    EXPECT_EQ(vCCD, vExpected);
}

TEST(CMesh, clear_leaves_bundles_and_a_mesh_that_can_be_built_again)
{
    CodeMesh code(threeOnAnEdge());
    code.vCT[0]->kill(&code.mesh);
    code.mesh.clear();
    EXPECT_TRUE(code.mesh.getT().empty());
    EXPECT_EQ(code.edge(0, 1), nullptr);
    EXPECT_TRUE(incidentT(code.mesh, code.at(0)).empty());
    EXPECT_TRUE(code.mesh.hasBundle(code.at(0)));
    EXPECT_EQ(code.add(0, 1, 2)->getNumber(), 0u);
    EXPECT_TRUE(code.mesh.checkDataStructures("clear"));
}

TEST(CMesh, every_vertex_is_found_among_many_dense_and_scattered_ones)
{
    std::vector<std::array<int, 3>> vCells;
    for (int x = 1; x <= 30; ++x)
        for (int y = 1; y <= 30; ++y)
            for (int z = 1; z <= 30; ++z)
                vCells.push_back({x, y, z});
    Random random(4);
    std::set<u64> sCodes;
    for (const auto& [x, y, z] : vCells)
        sCodes.insert(CellSet::ccdOf(x, y, z));
    for (int i = 0; i < 30000; ++i) {
        const std::array<int, 3> cell = {int(random.below(1024)), int(random.below(1024)),
                                         int(random.below(1024))};
        if (sCodes.insert(CellSet::ccdOf(cell[0], cell[1], cell[2])).second)
            vCells.push_back(cell);
    }
    CellSet cells(vCells);
    const CMesh mesh(nullptr, &cells.calc, &cells.mCCDBundle, cells.vZeroCCD);
    for (const Bundle& bundle : cells.vBundles)
        ASSERT_EQ(mesh.getVtx(bundle.ccd), bundle.pVtx);
    for (int i = 0; i < 30000; ++i) {
        const u64 ccd =
            CellSet::ccdOf(int(random.below(1024)), int(random.below(1024)), int(random.below(1024)));
        ASSERT_EQ(mesh.hasBundle(ccd), sCodes.count(ccd) == 1);
    }
    const CapturedMessages captured;
    EXPECT_THROW(mesh.getVtx(CellSet::ccdOf(0, 0, 0)), ZanBugException);
    EXPECT_TRUE(captured.has("q_it!=mCCDBundle.end()"));
}

// ---- CEdge -----------------------------------------------------------------------------------------------

TEST(CEdge, queries_tell_one_two_and_more_triangles_apart)
{
    CodeMesh code(threeOnAnEdge());
    CEdge* pCE = code.edge(0, 1);
    CTriangle *p0, *p1;
    EXPECT_TRUE(pCE->getTwoTriangles(p0, p1, false));
    EXPECT_EQ(p0, code.vCT[0]);
    EXPECT_FALSE(pCE->getTwoTriangles(p0, p1, true));
    EXPECT_EQ(pCE->getOtherT(code.vCT[0]), nullptr);
    EXPECT_TRUE(pCE->hasTriangle(code.at(4), code.at(1), code.at(0)));
    EXPECT_FALSE(pCE->hasTriangle(code.at(4), code.at(2), code.at(0)));
    {
        const CapturedMessages captured;
        EXPECT_THROW(pCE->getTriangle(true, true), ZanBugException);
        EXPECT_TRUE(captured.has("pRet==0"));
    }
    code.vCT[0]->kill(&code.mesh); // the last one takes its place
    EXPECT_THAT(pCE->getCTs(), ElementsAre(code.vCT[2], code.vCT[1]));
    EXPECT_EQ(pCE->getOtherT(code.vCT[1]), code.vCT[2]);
    EXPECT_EQ(code.edge(0, 2)->getTriangle(false, true), nullptr);
}

TEST(CEdge, direction_is_set_once)
{
    CodeMesh code(fourPoints({0, 1, 2}));
    CEdge* pCE = code.edge(0, 1);
    pCE->setDirection(ED_V1V0);
    EXPECT_EQ(pCE->getSource(), pCE->getV1());
    EXPECT_EQ(pCE->getTarget(), pCE->getV0());
    CapturedMessages captured;
    EXPECT_THROW(pCE->setDirection(ED_V0V1), ZanBugException);
    EXPECT_TRUE(captured.has(", current edgeDirection=2, ed=1"));
    pCE->setDirection(ED_NONE);
    EXPECT_THROW(pCE->getSource(), ZanBugException);
}

TEST(CEdge, dihedral_angle_is_180_when_flat_and_a_marker_above_360_where_there_is_none)
{
    CodeMesh code(IndexedMesh{{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, -1, 0}, {0, 0, -1}, {2, 0, 0}},
                              {0, 1, 2, 1, 0, 3}});
    std::map<u64, Point3> mStored;
    for (int i = 0; i < 6; ++i)
        mStored[code.at(i)] = code.mesh.getAvgPoint(code.at(i));
    CEdge* pCE = code.edge(0, 1);
    EXPECT_NEAR(pCE->getDihedralAngle(mStored), 180.0, 1e-6);
    code.vCT[1]->kill(&code.mesh);
    EXPECT_EQ(pCE->getDihedralAngle(mStored), 363.0);
    code.add(1, 0, 4);
    EXPECT_NEAR(pCE->getDihedralAngle(mStored), 90.0, 1e-6);
    code.add(1, 0, 3);
    EXPECT_EQ(pCE->getDihedralAngle(mStored), 362.0);
    code.vCT[0]->kill(&code.mesh);
    mStored[code.at(4)] = mStored[code.at(5)]; // on the line of the edge
    EXPECT_EQ(pCE->getDihedralAngle(mStored), 364.0);
}

TEST(CEdge, flip_keeps_orientation_and_area_and_its_reverse_restores_the_triangles)
{
    CodeMesh code(fourPoints({0, 1, 2, 0, 2, 3}));
    const auto before = cornerSets(code.mesh);
    CEdge* pNew = code.edge(0, 2)->flipEdge(&code.mesh, nullptr, nullptr);
    ASSERT_EQ(pNew, code.edge(1, 3));
    EXPECT_EQ(code.edge(0, 2)->getDegree(), 0);
    EXPECT_DOUBLE_EQ(code.mesh.getArea(), 100.0);
    for (const CTriangle* pCT : pNew->getCTs()) {
        Vector3 nnv;
        bool bOK;
        pCT->getNNV(&code.mesh, nnv, bOK);
        EXPECT_NEAR(nnv.z(), 1.0, 1e-12);
        EXPECT_EQ(pCT->getVCD(), 0u);
        EXPECT_EQ(pCT->getCfg(), 0);
    }
    EXPECT_EQ(pNew->flipEdge(&code.mesh, nullptr, nullptr), code.edge(0, 2));
    EXPECT_EQ(cornerSets(code.mesh), before);
    EXPECT_TRUE(code.mesh.checkDataStructures("flip"));
}

TEST(CEdge, flip_of_what_has_no_two_triangles_warns_and_of_a_double_triangle_fails_unchanged)
{
    CodeMesh code(fourPoints({0, 1, 2, 2, 1, 0}));
    CapturedMessages captured;
    EXPECT_THROW(code.edge(0, 1)->flipEdge(&code.mesh, nullptr, nullptr), ZanBugException);
    EXPECT_TRUE(captured.has("CEdge::flipEdge(), BUG:"));
    EXPECT_EQ(numAlive(code.mesh), 2u);
    EXPECT_THROW(code.edge(0, 1)->flipEdge(&code.mesh, code.vCT[0], nullptr), ZanBugException);
    code.vCT[1]->kill(&code.mesh);
    EXPECT_EQ(code.edge(0, 1)->flipEdge(&code.mesh, nullptr, nullptr), nullptr);
    EXPECT_TRUE(captured.has("Edge not flipped, !getTwoTriangles()"));
    EXPECT_EQ(code.edge(0, 1)->flipEdge(&code.mesh, code.vCT[0], code.vCT[1]), nullptr);
    EXPECT_TRUE(captured.has("pCT0 or pCT1 not alive"));
}

TEST(CEdge, split_at_the_corner_of_a_flat_triangle_keeps_area_and_orientation)
{
    // 0-1-2 is flat with 1 on the edge 0-2; two neighbours on that edge.
    CodeMesh code(
        IndexedMesh{{{0, 0, 0}, {1, 0, 0}, {2, 0, 0}, {1, 1, 0}, {1, 0, 1}}, {0, 2, 1, 0, 2, 3, 0, 2, 4}});
    const double areaBefore = code.mesh.getArea();
    std::vector<CTriangle*> vKids;
    EXPECT_TRUE(code.edge(0, 2)->trySplitNeigsKillT(&code.mesh, code.vCT[0], 2, vKids));
    EXPECT_EQ(vKids.size(), 4u);
    EXPECT_EQ(code.edge(0, 2)->getDegree(), 0);
    EXPECT_DOUBLE_EQ(code.mesh.getArea(), areaBefore);
    EXPECT_EQ(vKids[0]->getHEDirection2(code.at(3), code.at(0)), HE_SAME);
    EXPECT_EQ(vKids[1]->getHEDirection2(code.at(2), code.at(3)), HE_SAME);
    EXPECT_TRUE(code.mesh.checkDataStructures("split"));
}

TEST(CEdge, split_into_a_half_that_exists_already_leaves_neither_twins_nor_a_flap)
{
    // As above, with the half (0, 1, 3) of the neighbour (0, 2, 3) there before.
    CodeMesh code(IndexedMesh{{{0, 0, 0}, {1, 0, 0}, {2, 0, 0}, {1, 1, 0}}, {0, 2, 1, 0, 2, 3, 0, 1, 3}});
    std::vector<CTriangle*> vKids;
    EXPECT_TRUE(code.edge(0, 2)->trySplitNeigsKillT(&code.mesh, code.vCT[0], 2, vKids));
    EXPECT_EQ(vKids.size(), 1u);
    EXPECT_EQ(numAlive(code.mesh), 1u);
    EXPECT_TRUE(code.edge(1, 2)->hasTriangle(code.at(1), code.at(2), code.at(3)));
}

TEST(CEdge, split_that_would_turn_a_triangle_over_changes_nothing)
{
    CodeMesh code(IndexedMesh{{{0, 0, 0}, {2, 0, 0}, {1, 3, 0}, {1, 1, 0}}, {0, 1, 2, 1, 0, 3}});
    const auto before = cornerSets(code.mesh);
    std::vector<CTriangle*> vKids;
    EXPECT_FALSE(code.edge(0, 1)->trySplitNeigsKillT(&code.mesh, code.vCT[0], 2, vKids));
    EXPECT_TRUE(vKids.empty());
    EXPECT_EQ(cornerSets(code.mesh), before);
}

// ---- collapse and passes ---------------------------------------------------------------------------------

TEST(CMesh, collapse_refuses_to_make_a_duplicate_and_keeps_a_closed_mesh_closed)
{
    CodeMesh four(tetrahedron());
    EXPECT_FALSE(four.mesh.collapseEdgeToEndpoint(four.edge(0, 1), four.at(0), four.at(1)));
    EXPECT_EQ(numAlive(four.mesh), 4u);

    CodeMesh eight(octahedron());
    EXPECT_TRUE(eight.mesh.collapseEdgeToEndpoint(eight.edge(4, 0), eight.at(4), eight.at(0)));
    EXPECT_EQ(numAlive(eight.mesh), 6u);
    EXPECT_EQ(degN(eight.mesh, 2).size(), 9u);
    EXPECT_EQ(degN(eight.mesh, -99).size(), 9u);
    for (const CEdge* pCE : degN(eight.mesh, 2))
        EXPECT_FALSE(pCE->getCTs()[0]->needFlip(pCE->getCTs()[1]));
    EXPECT_FALSE(eight.mesh.collapseEdgeToEndpoint(eight.edge(4, 0), eight.at(4), eight.at(0))); // degree 0
    EXPECT_TRUE(eight.mesh.checkDataStructures("collapse"));
}

TEST(CMesh, collapse_to_the_middle_moves_the_greater_end)
{
    CodeMesh code(octahedron());
    CEdge* pCE = code.edge(4, 0);
    const auto [p0, p1] = pCE->getSegment(&code.mesh);
    EXPECT_EQ(code.mesh.collapseEdgeToMidpoint(pCE), pCE->getV1());
    EXPECT_EQ(code.mesh.getAvgPoint(pCE->getV1()), p0 + 0.5 * (p1 - p0));
    EXPECT_EQ(numAlive(code.mesh), 6u);
    EXPECT_EQ(code.mesh.collapseEdgeToMidpoint(pCE), FAILED_CODE);
}

TEST(CMesh, oldest_of_equal_triangles_survives_and_triangles_stand_by_their_corners)
{
    CodeMesh code(octahedron());
    std::vector<CTriangle*> vDoubles;
    const auto before = cornerSets(code.mesh);
    for (int i = 7; i >= 0; --i) {
        const CTriangle* pCT = code.vCT[size_t(i)];
        vDoubles.push_back(code.mesh.createT(pCT->getC2(), pCT->getC1(), pCT->getC0(), 0, 0));
    }
    EXPECT_FALSE([&] {
        const CapturedMessages captured;
        return code.mesh.checkNoDups("x") ||
               !captured.has("CheckNoDups(x), DUPLICATE TRIANGLE !!!!!!!!!!!!!!!!!!!!!!!");
    }());
    EXPECT_EQ(code.mesh.killDuplicateTriangles(), 8);
    for (const CTriangle* pCT : vDoubles)
        EXPECT_FALSE(pCT->isAlive());
    EXPECT_EQ(cornerSets(code.mesh), before);
    EXPECT_EQ(code.mesh.getT().size(), 16u); // the dead ones stay
    std::vector<CTriangle*> vAlive;
    code.mesh.getAliveT(vAlive);
    std::vector<std::array<u64, 3>> vCorners;
    for (const CTriangle* pCT : vAlive) {
        vCorners.emplace_back();
        pCT->getSortedCorners(vCorners.back()[0], vCorners.back()[1], vCorners.back()[2]);
    }
    EXPECT_TRUE(std::is_sorted(vCorners.begin(), vCorners.end()));
    EXPECT_EQ(code.mesh.killDuplicateTriangles(), 0);
}

TEST(CMesh, many_triangles_at_once_make_the_mesh_that_they_make_one_by_one)
{
    Random random(5);
    std::vector<std::array<int, 3>> vCells;
    for (int i = 0; i < 40; ++i)
        vCells.push_back({300 + i, 300 + i * i % 7, 300});
    CellSet cells(vCells);
    std::vector<u64> vCCD = cells.vCode;
    std::sort(vCCD.begin(), vCCD.end());
    std::vector<TriangleSeed> vSeeds;
    for (int i = 0; i < 600; ++i) { // many with corners that came before, in another order
        const auto corner = [&] { return std::uint32_t(random.below(7) + 4 * (u64(i) % 9)); };
        const TriangleSeed seed{u64(i), {corner(), corner(), corner()}, i % 256};
        const auto& c = seed.corners;
        if (c[0] != c[1] && c[1] != c[2] && c[2] != c[0])
            vSeeds.push_back(seed);
    }
    CMesh mesh(nullptr, &cells.calc, &cells.mCCDBundle, {}),
        twin(nullptr, &cells.calc, &cells.mCCDBundle, {});
    mesh.createSortedT(vCCD, vSeeds);
    for (const TriangleSeed& seed : vSeeds)
        twin.createTIfMissing(vCCD[seed.corners[0]], vCCD[seed.corners[1]], vCCD[seed.corners[2]], seed.vcd,
                              seed.cfg);
    twin.killDuplicateTriangles();

    const auto records = [](const CMesh& any) {
        std::vector<std::array<u64, 9>> vRecords;
        for (const CTriangle* pCT : any.getT())
            vRecords.push_back({pCT->getC0(), pCT->getC1(), pCT->getC2(), pCT->getVCD(), u64(pCT->getCfg()),
                                pCT->getNumber(), pCT->getCEdge(0)->getNumber(),
                                pCT->getCEdge(1)->getNumber(), pCT->getCEdge(2)->getNumber()});
        for (const CEdge* pCE : any.getE())
            for (const CTriangle* pCT : pCE->getCTs())
                vRecords.push_back({pCE->getV0(), pCE->getV1(), pCT->getNumber()});
        return vRecords;
    };
    EXPECT_EQ(records(mesh), records(twin));
    EXPECT_LT(mesh.getT().size(), vSeeds.size()); // some came twice
    EXPECT_TRUE(mesh.checkDataStructures("bulk"));
}

TEST(CMesh, degenerate_triangles_are_split_away)
{
    CodeMesh code(
        IndexedMesh{{{0, 0, 0}, {1, 0, 0}, {2, 0, 0}, {3, 0, 0}, {1, 2, 0}}, {3, 2, 1, 0, 3, 1, 3, 0, 4}});
    const CapturedMessages quiet;
    EXPECT_FALSE(code.mesh.checkNoDegenerate("before"));
    const double area = code.mesh.getArea();
    code.mesh.splitDegenerate();
    EXPECT_TRUE(code.mesh.checkNoDegenerate("after"));
    EXPECT_DOUBLE_EQ(code.mesh.getArea(), area);
    EXPECT_TRUE(code.mesh.checkDataStructures("after"));
}

TEST(CMesh, splitting_ends_where_every_cross_product_underflows)
{
    CodeMesh code(octahedron());
    for (size_t i = 0; i < 6; ++i) {
        const Point3 p = code.cells.vPoints[i];
        code.cells.vPoints[i].set((p.x() - 100.5) * 1e-170, (p.y() - 100.5) * 1e-170,
                                  (p.z() - 100.5) * 1e-170);
    }
    const CapturedMessages quiet;
    code.mesh.splitDegenerate();
    EXPECT_TRUE(code.mesh.checkDataStructures("underflow"));
}

// ---- bundles ---------------------------------------------------------------------------------------------

TEST(CMesh, made_vertex_goes_a_little_beyond_the_mean_of_real_neighbours)
{
    CodeMesh code(fourPoints({}));
    const u64 ccd = CellSet::ccdOf(105, 105, 100);
    code.mesh.addBundle(ccd, NO_PLACE, NO_PLACE, NO_PLACE);
    EXPECT_EQ(code.mesh.getAvgPoint(ccd), Point3(105.5, 105.5, 100.5));
    for (int i = 0; i < 4; ++i)
        code.mesh.createT(ccd, code.at(i), code.at((i + 1) % 4), 0, 0);
    code.mesh.averageAllBundles();
    // The mean is the middle of the square; the last neighbour by (v0, v1) is the one with the greatest code.
    const Point3 last =
        code.mesh.getAvgPoint(*std::max_element(code.cells.vCode.begin(), code.cells.vCode.end()));
    const Point3 expected = last + 1.003 * (Point3(105.5, 105.5, 100.5) - last);
    const Point3 p = code.mesh.getAvgPoint(ccd);
    EXPECT_GE(p.x() - expected.x(), 0.0);
    EXPECT_LE(p.x() - expected.x(), 1e-5);
    EXPECT_DOUBLE_EQ(p.y(), expected.y());
    EXPECT_DOUBLE_EQ(p.z(), expected.z());
    const Point3 again = (code.mesh.averageAllBundles(), code.mesh.getAvgPoint(ccd));
    EXPECT_EQ(again, p);
}

TEST(CMesh, made_neighbours_count_only_when_real_ones_are_few)
{
    CodeMesh code(fourPoints({}));
    const u64 ccd = CellSet::ccdOf(105, 105, 100), other = CellSet::ccdOf(105, 105, 200);
    code.mesh.addBundle(other, 105.5, 105.5, 200.5);
    code.mesh.addBundle(ccd, 105.5, 105.5, 100.5);
    code.mesh.createT(ccd, code.at(0), other, 0, 0);
    code.mesh.createT(ccd, code.at(1), other, 0, 0);
    code.mesh.averageBundle(code.mesh.getOwnBundles()[1]);
    EXPECT_GT(code.mesh.getAvgPoint(ccd).z(), 120.0); // two real ones: the made one pulls
    code.mesh.createT(ccd, code.at(2), other, 0, 0);
    code.mesh.averageBundle(code.mesh.getOwnBundles()[1]);
    EXPECT_LT(code.mesh.getAvgPoint(ccd).z(), 101.0);
}

TEST(CMesh, made_vertex_without_neighbours_that_have_a_place_goes_to_its_cell)
{
    const CellSet cells(std::vector<Point3>{});
    CMesh own(nullptr, &cells.calc, true);
    const u64 ccd = CellSet::ccdOf(5, 5, 5);
    own.addBundle(ccd, 5.1, 5.2, 5.3);
    EXPECT_EQ(own.getAvgPoint(ccd), Point3(5.1, 5.2, 5.3));
    own.createT(ccd, CellSet::ccdOf(6, 5, 5), CellSet::ccdOf(5, 6, 5), 0, 0);
    own.averageAllBundles();
    EXPECT_EQ(own.getAvgPoint(ccd), Point3(5.5, 5.5, 5.5));
    EXPECT_EQ(own.getBundles().size(), 1u);
    const CapturedMessages quiet;
    EXPECT_FALSE(own.checkCCD("two corners without bundle"));
}

TEST(CMesh, bundle_outside_its_cell_is_refused_and_leaves_no_trace)
{
    CodeMesh code(fourPoints({0, 1, 2}));
    const u64 ccd = CellSet::ccdOf(5, 5, 5);
    const CapturedMessages captured;
    EXPECT_THROW(code.mesh.addBundle(ccd, 6.5, 5.5, 5.5), ZanBugException);
    EXPECT_THROW(code.mesh.addBundle(ccd, std::nan(""), 5.5, 5.5), ZanBugException);
    EXPECT_TRUE(captured.has("pCalc->getCCD(pVtx)==ccd"));
    EXPECT_FALSE(code.mesh.hasBundle(ccd));
    EXPECT_TRUE(code.mesh.checkDataStructures("refused"));
}

TEST(CMesh, loose_bundles_are_collapsed_and_leave_map_and_mesh)
{
    CodeMesh code(fourPoints({}));
    const u64 used = CellSet::ccdOf(105, 105, 100), unused = CellSet::ccdOf(50, 50, 50);
    code.mesh.addBundle(used, NO_PLACE, NO_PLACE, NO_PLACE);
    code.mesh.addBundle(unused, NO_PLACE, NO_PLACE, NO_PLACE);
    for (int i = 0; i < 4; ++i)
        code.mesh.createT(used, code.at(i), code.at((i + 1) % 4), 9, 8);
    code.mesh.removeLooseBundles();
    EXPECT_TRUE(code.mesh.getOwnBundles().empty());
    EXPECT_EQ(code.cells.mCCDBundle.size(), 4u);
    EXPECT_FALSE(code.mesh.hasBundle(used));
    EXPECT_EQ(numAlive(code.mesh), 2u);
    EXPECT_DOUBLE_EQ(code.mesh.getArea(), 100.0);
    for (const CTriangle* pCT : code.mesh.getT())
        EXPECT_TRUE(!pCT->isAlive() || (pCT->getVCD() == 9 && pCT->getCfg() == 0));
    EXPECT_TRUE(code.mesh.checkDataStructures("loose"));
    code.mesh.addBundle(used, NO_PLACE, NO_PLACE, NO_PLACE); // the code is free again
}

TEST(CMesh, bundle_that_cannot_be_collapsed_stays)
{
    // The apex of a tetrahedron is made by the mesh: every collapse would double the base.
    CodeMesh code(fourPoints({0, 1, 2}));
    const u64 apex = CellSet::ccdOf(105, 102, 110);
    code.mesh.addBundle(apex, NO_PLACE, NO_PLACE, NO_PLACE);
    for (int i = 0; i < 3; ++i)
        code.mesh.createT(apex, code.at(i), code.at((i + 1) % 3), 0, 0);
    code.mesh.removeLooseBundles();
    EXPECT_EQ(code.mesh.getOwnBundles().size(), 1u);
    EXPECT_TRUE(code.mesh.hasBundle(apex));
    EXPECT_EQ(numAlive(code.mesh), 4u);
}

TEST(CMesh, smoothing_of_a_vertex_is_short_and_never_turns_a_triangle_over)
{
    IndexedMesh hat{{{0, 0, 0}, {2, 0, 0}, {2, 2, 0}, {0, 2, 0}, {1, 1, 1}},
                    {0, 1, 4, 1, 2, 4, 2, 3, 4, 3, 0, 4}};
    CodeMesh code(hat);
    const Point3 before = code.mesh.getAvgPoint(code.at(4));
    EXPECT_TRUE(code.mesh.laplacianForOne(code.at(4)));
    EXPECT_NEAR((code.mesh.getAvgPoint(code.at(4)) - before).length(), 0.1, 1e-12);
    EXPECT_FALSE(code.mesh.laplacianForOne(CellSet::ccdOf(1, 1, 1)));

    // A triangle of no area has no normal to keep.
    code.cells.vPoints[4].set(code.cells.vPoints[0]);
    EXPECT_FALSE(code.mesh.laplacianForOne(code.at(4)));
}

// ---- checks ----------------------------------------------------------------------------------------------

TEST(CMesh, checks_pass_a_good_mesh_and_name_the_fault_of_a_bad_one)
{
    CapturedMessages captured;
    CodeMesh code(octahedron());
    EXPECT_TRUE(code.mesh.checkCCD("g"));
    EXPECT_TRUE(code.mesh.checkNoDups("g"));
    EXPECT_TRUE(code.mesh.checkNoAdjGeomDups("g"));
    EXPECT_TRUE(code.mesh.checkNoDegenerate("g"));
    EXPECT_TRUE(code.mesh.hasNaN("g"));
    EXPECT_TRUE(captured.has("CheckNoDups(g), OK!"));
    EXPECT_TRUE(captured.has("CMesh::hasNaN(g): No NaNs, okay!"));

    code.cells.vPoints[1].set(code.cells.vPoints[0]); // two vertices, one place
    EXPECT_FALSE(code.mesh.checkCCD("b"));
    EXPECT_TRUE(captured.has("CheckCCD(): ccd=" + std::to_string(code.at(1))));
    EXPECT_FALSE(code.mesh.checkNoAdjGeomDups("b"));
    EXPECT_TRUE(captured.has("checkNoAdjGeomDups(b), DUP!!! sCCD: 2 sPoints: 1 num: 2"));
    code.cells.vPoints[4].set(code.cells.vPoints[0]);
    EXPECT_FALSE(code.mesh.checkNoDegenerate("b"));
    code.cells.vPoints[2].set(std::numeric_limits<double>::quiet_NaN(), 0, 0);
    EXPECT_FALSE(code.mesh.hasNaN("b"));
    EXPECT_TRUE(captured.has("CMesh::hasNaN(b): numNaN=1"));
}

TEST(CMesh, normal_of_a_code_without_vertex_is_a_failed_condition)
{
    CodeMesh code(fourPoints({0, 1, 2}));
    bool bOK = false;
    EXPECT_NEAR(getNormalVector(&code.mesh, code.at(0), code.at(1), code.at(2), bOK).z(), 1.0, 1e-12);
    const CapturedMessages captured;
    EXPECT_THROW(getNormalVector(&code.mesh, code.at(0), code.at(1), 1, bOK), ZanBugException);
    EXPECT_TRUE(captured.has("pVtx is NULL"));
}
