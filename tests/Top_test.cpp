#include "Top.h"

#include "CMesh.h"
#include "TaskPool.h"
#include "Voro.h"
#include "helpers/captured.h"
#include "helpers/codeMesh.h"
#include "helpers/smallMeshes.h"
#include "random.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <set>

using namespace TESK_ZAN;
using namespace zan_test;

namespace
{

using Cells = std::vector<std::array<int, 3>>;

// Cells, the surface extracted from them, and the passes over it.
struct Road {
    explicit Road(const Cells& vCells)
        : cells(vCells), voro(&cells.calc, &cells.mCCDBundle, &cells.vZeroCCD, TM_FAT)
    {
        voro.fatExtractTriangles();
        pMesh.reset(voro.getCMesh());
        pTop = std::make_unique<Top>(pMesh.get(), &cells.calc);
    }

    NamedRoot root;
    CapturedMessages messages;
    CellSet cells;
    Voro voro;
    std::unique_ptr<CMesh> pMesh;
    std::unique_ptr<Top> pTop;
};

struct TopOn {
    explicit TopOn(CodeMesh& code) : top(&code.mesh, &code.cells.calc) {}
    Top top;
};

// Indices are places in the list of codes.
IndexedMesh indexedMesh(const CMesh& mesh)
{
    std::vector<u64> vCCD;
    mesh.getCCDs(vCCD);
    std::vector<CTriangle*> vCT;
    mesh.getAliveT(vCT);
    IndexedMesh indexed;
    for (const u64 ccd : vCCD)
        indexed.vPoints.push_back(mesh.getAvgPoint(ccd));
    for (const CTriangle* pCT : vCT)
        for (int ici = 0; ici < 3; ++ici)
            indexed.vTriangles.push_back(
                int(std::lower_bound(vCCD.begin(), vCCD.end(), pCT->getCorner(ici)) - vCCD.begin()));
    return indexed;
}

// Corners with orientation, in the mesh's order, and the points: what a second run must repeat.
std::vector<double> fingerprint(const CMesh& mesh)
{
    std::vector<CTriangle*> vCT;
    mesh.getAliveT(vCT);
    std::vector<double> v;
    for (const CTriangle* pCT : vCT)
        for (int ici = 0; ici < 3; ++ici) {
            const Point3 p = mesh.getAvgPoint(pCT->getCorner(ici));
            v.insert(v.end(), {double(pCT->getCorner(ici)), p.x(), p.y(), p.z()});
        }
    return v;
}

Cells slab(int edge, int thickness)
{
    Cells vCells;
    for (int x = 0; x < edge; ++x)
        for (int y = 0; y < edge; ++y)
            for (int z = 0; z < thickness; ++z)
                vCells.push_back({100 + x, 100 + y, 100 + z});
    return vCells;
}

Cells sphereShell(double radius, double thickness)
{
    Cells vCells;
    const int r = int(radius) + 2;
    for (int x = -r; x <= r; ++x)
        for (int y = -r; y <= r; ++y)
            for (int z = -r; z <= r; ++z)
                if (std::abs(std::sqrt(x * x + y * y + z * z) - radius) < 0.5 * thickness)
                    vCells.push_back({100 + x, 100 + y, 100 + z});
    return vCells;
}

// A plane of cells and another that stands on its middle.
Cells plateOnPlate(int edge)
{
    Cells vCells = slab(edge, 1);
    for (int y = 0; y < edge; ++y)
        for (int z = 1; z < edge; ++z)
            vCells.push_back({100 + edge / 2, 100 + y, 100 + z});
    return vCells;
}

Cells openBoxOfCells(int edge)
{
    Cells vCells;
    for (int x = 0; x < edge; ++x)
        for (int y = 0; y < edge; ++y)
            for (int z = 0; z < edge; ++z)
                if (x == 0 || y == 0 || z == 0 || x == edge - 1 || y == edge - 1)
                    vCells.push_back({100 + x, 100 + y, 100 + z});
    return vCells;
}

// A sheet with bumps, pits, stray cells and holes.
Cells noisySheet(u64 seed, int edge)
{
    Random random(seed);
    Cells vCells;
    for (int x = 0; x < edge; ++x)
        for (int y = 0; y < edge; ++y) {
            const double dice = random.uniform();
            if (dice < 0.9)
                vCells.push_back({100 + x, 100 + y, 100});
            if (dice > 0.8)
                vCells.push_back({100 + x, 100 + y, 101});
            if (dice > 0.97)
                vCells.push_back({100 + x, 100 + y, 99});
        }
    return vCells;
}

} // namespace

// ---- rims and fins ---------------------------------------------------------------------------------------

TEST(Top_borders, a_fin_between_two_dense_edges_is_killed_and_other_borders_are_listed)
{
    // The triangle (0, 1, 2) hangs on the edges (0, 2) and (1, 2), which hold two triangles besides.
    CodeMesh code(IndexedMesh{{{0, 0, 0}, {2, 0, 0}, {1, 1, 0}, {0, 1, 1}, {0, 1, -1}, {2, 1, 1}, {2, 1, -1}},
                              {0, 1, 2, 0, 2, 3, 0, 2, 4, 1, 2, 5, 1, 2, 6}});
    TopOn t(code);
    std::vector<CEdge*> vBorders;
    t.top.getBordersKillDeg1nn(vBorders);
    EXPECT_FALSE(code.vCT[0]->isAlive());
    EXPECT_EQ(numAlive(code.mesh), 4U);
    EXPECT_EQ(vBorders.size(), 8U);
    EXPECT_TRUE(std::is_sorted(vBorders.begin(), vBorders.end(),
                               [](const CEdge* a, const CEdge* b) { return lessByNumber(a, b); }));
}

TEST(Top_borders, a_lone_triangle_is_no_surface)
{
    CodeMesh code(IndexedMesh{{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {0, 1, 2}});
    TopOn t(code);
    t.top.integrateCCD(code.edge(0, 1));
    EXPECT_EQ(numAlive(code.mesh), 0U);
    t.top.integrateCCD(code.edge(0, 1)); // of degree 0 now: nothing happens
}

TEST(Top_borders, a_flap_gives_its_tip_to_the_surface_that_it_hangs_on)
{
    // A flat square of two triangles on the edge (0, 1), and a flap (0, 1, 4) just above one of them.
    CodeMesh code(IndexedMesh{{{0, 0, 0}, {2, 0, 0}, {1, 2, 0}, {1, -2, 0}, {1, 0.3, 0.1}},
                              {0, 1, 2, 1, 0, 3, 0, 1, 4}});
    TopOn t(code);
    t.top.integrateCCD(code.edge(0, 4));
    EXPECT_FALSE(code.vCT[2]->isAlive());
    EXPECT_EQ(numAlive(code.mesh), 4U);
    EXPECT_EQ(numEdges(code.mesh, -1), 0U);
    std::vector<CTriangle*> vAtTip;
    code.mesh.getIncidentT(code.at(4), vAtTip);
    EXPECT_EQ(vAtTip.size(), 4U);
}

TEST(Top_borders, a_flap_whose_tip_does_not_fit_goes_alone_and_a_sheet_stays)
{
    // The tip stands far beyond the square: split there, its triangles would turn over.
    CodeMesh code(
        IndexedMesh{{{0, 0, 0}, {2, 0, 0}, {1, 2, 0}, {1, -2, 0}, {1, 9, 1}}, {0, 1, 2, 1, 0, 3, 0, 1, 4}});
    TopOn t(code);
    t.top.integrateCCD(code.edge(0, 4));
    EXPECT_FALSE(code.vCT[2]->isAlive());
    EXPECT_EQ(numAlive(code.mesh), 2U);
    t.top.integrateCCD(code.edge(0, 2)); // its triangle has a regular edge
    EXPECT_EQ(numAlive(code.mesh), 2U);
}

TEST(Top_borders, tiny_pieces_go_by_their_size_and_their_share_of_border)
{
    const auto numLeft = [](const IndexedMesh& drawing, u64 maxT) {
        CodeMesh code(drawing);
        TopOn t(code);
        t.top.killTinyBorderPatches(maxT);
        EXPECT_TRUE(code.mesh.checkDataStructures("left"));
        return numAlive(code.mesh);
    };
    EXPECT_EQ(numLeft(strip(21), 42), 0U);  // 42 triangles, 44 border edges
    EXPECT_EQ(numLeft(strip(21), 41), 42U); // more triangles than asked for
    EXPECT_EQ(numLeft(octahedron(), 100), 8U);
    IndexedMesh open = octahedron();
    open.vTriangles.resize(open.vTriangles.size() - 3);
    EXPECT_EQ(numLeft(open, 100), 0U); // 7 triangles, 3 border edges
    EXPECT_EQ(numLeft(open, 6), 7U);
}

TEST(Top_borders, pieces_are_measured_apart_from_each_other)
{
    // Two strips, one of them within the limit; and both of them within it.
    IndexedMesh two = strip(30);
    const int numFirst = int(two.vPoints.size());
    for (const Point3& p : strip(5).vPoints)
        two.vPoints.emplace_back(p.x(), p.y() + 3, p.z());
    for (const int i : strip(5).vTriangles)
        two.vTriangles.push_back(i + numFirst);
    CodeMesh code(two);
    TopOn t(code);
    t.top.killTinyBorderPatches(40);
    EXPECT_EQ(numAlive(code.mesh), 60U);
    t.top.killTinyBorderPatches(60);
    EXPECT_EQ(numAlive(code.mesh), 0U);
}

TEST(Top_borders, prune_cases_takes_border_triangles_of_its_configurations_only)
{
    CodeMesh code(strip(3));
    TopOn t(code);
    t.top.pruneCases();
    EXPECT_EQ(numAlive(code.mesh), 6U); // of configuration 3
    code.vCT[0]->kill(&code.mesh);
    code.mesh.createT(code.at(0), code.at(2), code.at(1), 77, 27);
    t.top.pruneCases();
    EXPECT_EQ(numAlive(code.mesh), 5U);
    code.mesh.createT(code.at(0), code.at(2), code.at(1), 77, -5); // counts as 0
    EXPECT_NO_THROW(t.top.pruneCases());
    code.mesh.createT(code.at(1), code.at(2), code.at(5), 77, 256);
    EXPECT_ANY_THROW(t.top.pruneCases());
}

// ---- edges of degree 3 -----------------------------------------------------------------------------------

TEST(Top_deg3, the_smallest_loose_triangle_goes)
{
    for (const bool bMayOpen : {false, true}) {
        CodeMesh code(threeOnAnEdge());
        TopOn t(code);
        t.top.killAtDeg3(bMayOpen);
        EXPECT_EQ(numEdges(code.mesh, -1), 0U);
        EXPECT_EQ(numAlive(code.mesh), 2U);
        EXPECT_FALSE(code.vCT[0]->isAlive());
    }
}

TEST(Top_deg3, a_sheet_is_opened_only_where_that_is_asked_for)
{
    // Each of the three triangles on the edge (0, 1) has another one behind it, over one regular edge.
    IndexedMesh drawing = threeOnAnEdge();
    drawing.vPoints.insert(drawing.vPoints.end(), {{2, 0, 1}, {-2, 1, 1}, {-2, -1, 1}});
    drawing.vTriangles.insert(drawing.vTriangles.end(), {2, 1, 5, 3, 1, 6, 4, 1, 7});
    CodeMesh closed(drawing), open(drawing);
    TopOn(closed).top.killAtDeg3(false);
    EXPECT_EQ(numAlive(closed.mesh), 6U);
    TopOn(open).top.killAtDeg3(true);
    EXPECT_LT(numAlive(open.mesh), 6U);
    EXPECT_EQ(numEdges(open.mesh, -1), 0U);
}

TEST(Top_deg3, where_none_is_loose_one_goes_with_a_loose_neighbour)
{
    // Both free edges of each of the three triangles bear another one.
    IndexedMesh drawing = threeOnAnEdge();
    drawing.vPoints.insert(drawing.vPoints.end(),
                           {{2, 0, 1}, {2, 0, -1}, {-2, 1, 1}, {-2, 1, -1}, {-2, -1, 1}, {-2, -1, -1}});
    drawing.vTriangles.insert(drawing.vTriangles.end(),
                              {2, 1, 5, 2, 0, 6, 3, 1, 7, 3, 0, 8, 4, 1, 9, 4, 0, 10});
    CodeMesh code(drawing);
    TopOn(code).top.killAtDeg3(true);
    EXPECT_EQ(numAlive(code.mesh), 7U);
    EXPECT_FALSE(code.vCT[0]->isAlive()); // the smallest
    EXPECT_NE(code.vCT[3]->isAlive(), code.vCT[4]->isAlive());
    EXPECT_EQ(numEdges(code.mesh, -1), 0U);
}

TEST(Top_deg3, around_an_edge_where_a_border_ends_the_border_triangle_goes)
{
    CodeMesh code(threeOnAnEdge());
    TopOn t(code);
    std::vector<CEdge*> vIncCE;
    EXPECT_FALSE(t.top.deleteAroundEvilDeg3(code.edge(0, 2), vIncCE));
    EXPECT_TRUE(vIncCE.empty());
    EXPECT_TRUE(t.top.deleteAroundEvilDeg3(code.edge(0, 1), vIncCE));
    EXPECT_EQ(vIncCE.size(), 3U); // of four, one died with its triangle
    EXPECT_EQ(numEdges(code.mesh, 3), 0U);
    EXPECT_FALSE(t.top.deleteAroundEvilDeg3(code.edge(0, 1), vIncCE));
}

// ---- second extraction -----------------------------------------------------------------------------------

TEST(Top_cbsComplete, a_closed_surface_comes_out_the_same)
{
    Road road(sphereShell(9.0, 1.2));
    ASSERT_EQ(numEdges(*road.pMesh, 1) + numEdges(*road.pMesh, 4), 0U);
    const auto before = fingerprint(*road.pMesh);
    road.pTop->cbsComplete(&road.voro);
    EXPECT_EQ(fingerprint(*road.pMesh), before); // nothing had changed it: not extracted again

    // With a hole it is extracted again, from the cells and more at the hole: closed again.
    road.pMesh->getT()[0]->kill(road.pMesh.get());
    road.pTop->cbsComplete(&road.voro);
    EXPECT_GE(12 * numAlive(*road.pMesh), before.size());
    EXPECT_EQ(numEdges(*road.pMesh, 1), 0U);
}

TEST(Top_cbsComplete, may_run_twice_where_sheets_meet)
{
    for (const Cells& vCells :
         {plateOnPlate(9), openBoxOfCells(8), noisySheet(3, 24), sphereShell(7.0, 2.5)}) {
        std::vector<std::vector<double>> vRuns;
        for (int run = 0; run < 2; ++run) {
            Road road(vCells);
            road.pTop->unifyDiagonals();
            ASSERT_NO_THROW(road.pTop->cbsComplete(&road.voro));
            ASSERT_NO_THROW(road.pTop->cbsComplete(&road.voro));
            EXPECT_TRUE(road.pMesh->checkDataStructures("twice"));
            std::vector<u64> vCCD;
            road.pMesh->getCCDs(vCCD);
            for (const u64 ccd : vCCD)
                ASSERT_TRUE(road.pMesh->hasBundle(ccd));
            vRuns.push_back(fingerprint(*road.pMesh));
        }
        EXPECT_EQ(vRuns[0], vRuns[1]);
    }
}

// ---- drivers ---------------------------------------------------------------------------------------------

TEST(Top_runReconstruct, a_sheet_stays_if_it_is_not_too_small)
{
    for (const auto& [edge, numT] : {std::pair(4, 0), std::pair(6, 50), std::pair(20, 722)}) {
        Road road(slab(edge, 1));
        road.pTop->runReconstruct(&road.voro);
        EXPECT_EQ(numAlive(*road.pMesh), size_t(numT)) << edge;
    }
}

TEST(Top_runReconstruct, closed_shells_come_out_as_closed_oriented_manifolds)
{
    for (const double radius : {5.0, 9.3, 16.0}) {
        Road road(sphereShell(radius, 1.4));
        road.pTop->runReconstruct(&road.voro);
        const MeshReport report = checkMesh(indexedMesh(*road.pMesh));
        EXPECT_TRUE(report.isClosedManifold()) << radius << ": " << toText(report);
        EXPECT_TRUE(report.isOriented());
        EXPECT_EQ(report.euler, 2) << toText(report);
    }
}

TEST(Top_runReconstruct, keeps_noisy_sheets_whole_and_makes_them_cleaner)
{
    for (u64 seed = 1; seed <= 6; ++seed) {
        Road raw(noisySheet(seed, 30)), road(noisySheet(seed, 30));
        road.pTop->runReconstruct(&road.voro);
        EXPECT_LT(numEdges(*road.pMesh, -1), numEdges(*raw.pMesh, -1)) << seed;
        EXPECT_LE(numEdges(*road.pMesh, 1), numEdges(*raw.pMesh, 1)) << seed;
        EXPECT_GT(numAlive(*road.pMesh), 900U) << seed;
        EXPECT_TRUE(road.pMesh->checkDataStructures("noisy"));
        EXPECT_TRUE(road.pMesh->checkNoDups("noisy"));
        for (const CTriangle* pCT : road.pMesh->getT())
            EXPECT_EQ(pCT->getPatch(), nullptr); // no pointer to a patch that is gone
    }
}

TEST(Top_runReconstruct, gives_the_same_with_every_number_of_threads)
{
    std::vector<std::vector<double>> vRuns;
    for (const int numCPU : {1, 2, 3, 8}) {
        setNumCPU(numCPU);
        Road road(noisySheet(7, 60));
        road.pTop->runReconstruct(&road.voro);
        vRuns.push_back(fingerprint(*road.pMesh));
    }
    setNumCPU(0);
    for (const std::vector<double>& run : vRuns)
        EXPECT_EQ(run, vRuns[0]);
}

TEST(Top_runReconstruct, an_empty_mesh_passes_through)
{
    Road road(Cells{{100, 100, 100}});
    EXPECT_NO_THROW(road.pTop->runReconstruct(&road.voro));
    EXPECT_EQ(numAlive(*road.pMesh), 0U);
}

TEST(Top_runInHole, does_the_same_without_a_phase_of_its_own_for_squares)
{
    Road road(noisySheet(2, 30)), inHole(noisySheet(2, 30));
    road.pTop->runReconstruct(&road.voro);
    inHole.pTop->runInHole(&inHole.voro);
    EXPECT_EQ(fingerprint(*inHole.pMesh), fingerprint(*road.pMesh));
}
