#include "flipLoops.h"

#include "Progress.h"
#include "RTop.h"
#include "helpers/captured.h"
#include "helpers/recorder.h"
#include "helpers/roughSheets.h"
#include "helpers/smallMeshes.h"
#include "progressTrees.h"
#include "zan_api_functions.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <functional>
#include <iterator>
#include <map>

using namespace TESK_ZAN;
using namespace zan_test;

namespace
{

std::shared_ptr<Mesh> hostMesh(const IndexedMesh& indexed)
{
    RealMesh mesh(indexed);
    return std::make_shared<Mesh>(mesh.pMesh.release());
}

double energyOf(const Mesh& mesh)
{
    return totalEnergy(*mesh.getRMesh());
}

// Stages need a named progress root.
struct NamedRoot {
    NamedRoot() { getRootProgress()->setName("test"); }
    ~NamedRoot() { getRootProgress()->clear(); }
};

// Sets the thread count while it lives.
struct WithThreads {
    explicit WithThreads(int num) { setGlobalNumCPU(num); }
    ~WithThreads()
    {
        setGlobalNumCPU(0);
        destroySingletons();
    }
};

using Numbers = std::vector<std::array<int, 3>>;

// The triangles after a change of a rough sheet.
Numbers trianglesAfter(const std::function<void(std::shared_ptr<Mesh>)>& change, int numThreads)
{
    const WithThreads threads(numThreads);
    const std::shared_ptr<Mesh> pMesh = hostMesh(roughSheet(60, 0.6));
    change(pMesh);
    return triangleNumbers(*pMesh->getRMesh());
}

std::vector<std::pair<double, std::uint32_t>> candidatesOf(int numSide, double temperature, int numThreads)
{
    const WithThreads threads(numThreads);
    const NamedRoot root;
    const RealMesh mesh(roughSheet(numSide, 0.6));
    std::vector<RECandidate> vImpRE;
    mesh->getEdgeFlipCandidates_MT(mesh->getAllRE(), 0.005, temperature, vImpRE);
    std::vector<std::pair<double, std::uint32_t>> vResult;
    for (const RECandidate& candidate : vImpRE)
        vResult.emplace_back(candidate.improvement, numberOf(candidate.pRE));
    return vResult;
}

// A cap: the corner 0 lies nearly on the long edge (1, 2) of the flat quad.
IndexedMesh cap()
{
    return {{{0, 0.05, 0}, {-1, 0, 0}, {1, 0, 0}, {0, -1, 0}}, {0, 1, 2, 3, 2, 1}};
}

} // namespace

// ---- the queue

TEST(FlipQueue, gives_the_order_of_a_multimap_read_from_its_end)
{
    Random random(3);
    std::vector<RECandidate> vSorted;
    std::multimap<double, REdge*> mmQueue;
    const IndexedMesh sheet = roughSheet(8, 0.0);
    const RealMesh mesh(sheet);
    for (size_t i = 0; i < 100; ++i)
        vSorted.push_back({double(i / 7), mesh->getAllRE()[i]});
    for (const RECandidate& candidate : vSorted)
        mmQueue.emplace(candidate.improvement, candidate.pRE);
    FlipQueue queue(vSorted);
    while (!mmQueue.empty()) {
        const auto pos = std::prev(mmQueue.end());
        const auto [improvement, pRE] = queue.pop();
        ASSERT_EQ(improvement, pos->first);
        ASSERT_EQ(pRE, pos->second);
        mmQueue.erase(pos);
        if (random.below(3) != 0 && improvement >= 1.0) {
            const double lower = improvement - 1.0 - random.below(3);
            queue.push({lower, pRE});
            mmQueue.emplace(lower, pRE);
        }
    }
    EXPECT_TRUE(queue.empty());
}

// ---- temperatures and phases

TEST(annealing, cools_in_29_steps_and_names_its_phases_by_them)
{
    const std::vector<double> vTemperatures = annealingTemperatures();
    ASSERT_EQ(vTemperatures.size(), 29u);
    EXPECT_EQ(vTemperatures.front(), 0.018000000000000002);
    EXPECT_EQ(vTemperatures.back(), 0.00094202573944925);
    EXPECT_EQ(flipCandidatesPhase(vTemperatures[0]), "RM_gEfCandMT_0.018");
    EXPECT_EQ(flipCandidatesPhase(vTemperatures[28]), "RM_gEfCandMT_0.000942026");
    EXPECT_EQ(flipCandidatesPhase(0.0), "RM_gEfCandMT");
    EXPECT_EQ(edgeFlipsSimAPhases().size(), 32u);
    EXPECT_EQ(edgeFlipsSimAPhases()[5].name, "RM_gEfCandMT_0.0118098");
}

// ---- candidates

TEST(flipCandidates, are_the_same_for_any_thread_count_and_sorted)
{
    for (const double temperature : {0.0, 0.018}) {
        const auto vOne = candidatesOf(185, temperature, 1); // about 100,000 edges
        EXPECT_TRUE(std::is_sorted(vOne.begin(), vOne.end()));
        EXPECT_EQ(candidatesOf(185, temperature, 8), vOne);
        EXPECT_EQ(candidatesOf(185, temperature, 3), vOne);
    }
}

TEST(flipCandidates, are_never_bad_when_cold_and_sometimes_when_warm)
{
    const auto vCold = candidatesOf(40, 0.0, 1);
    const auto vWarm = candidatesOf(40, 0.018, 1);
    const auto vHot = candidatesOf(40, 1e9, 1);
    EXPECT_GE(vCold.front().first, 0.0);
    EXPECT_LT(vWarm.front().first, 0.0);
    EXPECT_GT(vWarm.front().first, -0.5);
    EXPECT_GT(vWarm.size(), vCold.size());
    EXPECT_GT(vHot.size(), 2 * vWarm.size()) << "nearly all that are allowed";
}

TEST(flipCandidates, take_even_flips_and_want_an_empty_list)
{
    const NamedRoot root;
    const RealMesh mesh(strip(1));
    std::vector<RECandidate> vImpRE;
    mesh->getEdgeFlipCandidates_MT(mesh->getAllRE(), 0.005, 0.0, vImpRE);
    ASSERT_EQ(vImpRE.size(), 1u);
    EXPECT_EQ(vImpRE[0].improvement, 0.0);
    EXPECT_EQ(vImpRE[0].pRE, mesh.edge(1, 2));

    const CapturedMessages messages;
    EXPECT_THROW(mesh->getEdgeFlipCandidates_MT(mesh->getAllRE(), 0.005, 0.0, vImpRE), ZanBugException);
}

TEST(flipCandidates, are_those_of_single_ratings_on_a_mesh_that_runs_criss_cross)
{
    const NamedRoot root;
    const RealMesh mesh(roughSheet(40, 0.6));
    const RealMesh twin(roughSheet(40, 0.6));
    for (size_t i = 0; i < mesh->getAllT().size(); i += 3) {
        mesh->getAllT()[i]->flipOrientation();
        twin->getAllT()[i]->flipOrientation();
    }
    std::vector<RECandidate> vImpRE;
    mesh->getEdgeFlipCandidates_MT(mesh->getAllRE(), 0.0, 0.0, vImpRE);
    std::map<std::uint32_t, double> mCandidates;
    for (const RECandidate& candidate : vImpRE)
        mCandidates[numberOf(candidate.pRE)] = candidate.improvement;
    for (REdge* pRE : twin->getAllRE()) {
        const double improvement = REdgeEnergy(twin.pMesh.get(), pRE).getImprovement();
        const auto pos = mCandidates.find(numberOf(pRE));
        ASSERT_EQ(pos != mCandidates.end(), improvement >= 0.0);
        if (improvement >= 0.0) {
            EXPECT_NEAR(pos->second, improvement, 1e-9);
        }
    }
}

// ---- the loops

TEST(edgeFlips, lower_the_energy_and_keep_surface_and_vertices)
{
    const IndexedMesh before = roughSheet(50, 0.6);
    const std::shared_ptr<Mesh> pMesh = hostMesh(before);
    double energy = energyOf(*pMesh);
    for (int call = 0; call < 3; ++call) {
        edgeFlips(pMesh);
        EXPECT_LT(energyOf(*pMesh), energy);
        energy = energyOf(*pMesh);
        EXPECT_EQ(brokenInvariant(*pMesh->getRMesh()), "");
    }
    const IndexedMesh after = toIndexed(*pMesh->getRMesh());
    const MeshReport report = checkMesh(after);
    EXPECT_TRUE(report.isManifold() && report.isOriented()) << toText(report);
    EXPECT_EQ(report.euler, 1);
    EXPECT_EQ(after.numT(), before.numT());
    EXPECT_EQ(numForeignVertices(after, before.vPoints), 0u);
}

TEST(edgeFlipsSimA, ends_below_the_greedy_descent_on_a_rough_surface)
{
    const std::shared_ptr<Mesh> pGreedy = hostMesh(roughSheet(30, 0.8));
    const std::shared_ptr<Mesh> pAnnealed = hostMesh(roughSheet(30, 0.8));
    for (int call = 0; call < 5; ++call)
        edgeFlips(pGreedy);
    edgeFlipsSimA(pAnnealed);
    EXPECT_LT(energyOf(*pAnnealed), energyOf(*pGreedy));
    EXPECT_EQ(pAnnealed->getRMesh()->getAllT().size(), 2u * 29 * 29) << "memory must not grow by flips";
    EXPECT_EQ(brokenInvariant(*pAnnealed->getRMesh()), "");
    const MeshReport report = checkMesh(toIndexed(*pAnnealed->getRMesh()));
    EXPECT_TRUE(report.isManifold() && report.isOriented()) << toText(report);
}

TEST(edgeFlips, lay_the_edges_along_a_ridge)
{
    // A roof of quads; all diagonals run from eaves to eaves below the ridge.
    constexpr int NUM = 10;
    IndexedMesh roof;
    for (int i = 0; i < NUM; ++i) {
        roof.vPoints.emplace_back(0, i, 1);        // ridge, 3 i
        roof.vPoints.emplace_back(-1, i + 0.5, 0); // eaves
        roof.vPoints.emplace_back(1, i + 0.5, 0);
    }
    for (int i = 0; i + 1 < NUM; ++i) {
        const int r = 3 * i;
        roof.vTriangles.insert(roof.vTriangles.end(), {r, r + 2, r + 1, r + 3, r + 1, r + 2});
        if (i + 2 < NUM)
            roof.vTriangles.insert(roof.vTriangles.end(), {r + 3, r + 4, r + 1, r + 3, r + 2, r + 5});
    }
    const RealMesh mesh(roof);
    const NamedRoot root;
    greedyFlips(mesh.pMesh.get());
    for (int i = 0; i + 1 < NUM; ++i)
        EXPECT_TRUE(mesh->hasAliveEdge(mesh.vtx(3 * i), mesh.vtx(3 * i + 3))) << i;
}

TEST(edgeFlips, repeat_and_do_not_depend_on_threads)
{
    const Numbers greedy = trianglesAfter(edgeFlips, 1);
    EXPECT_EQ(trianglesAfter(edgeFlips, 8), greedy);
    const auto anneal = [](const std::shared_ptr<Mesh>& pMesh) { edgeFlipsSimA(pMesh); };
    const Numbers annealed = trianglesAfter(anneal, 2);
    EXPECT_EQ(trianglesAfter(anneal, 1), annealed);
    EXPECT_NE(annealed, greedy);
}

TEST(edgeFlips, end_on_meshes_that_are_no_surface)
{
    for (const IndexedMesh& indexed : {IndexedMesh{}, moebiusStrip(), threeOnAnEdge(), doubleSheet(),
                                       twoTetrahedraOnAVertex(), strip(1)}) {
        const std::shared_ptr<Mesh> pMesh = hostMesh(indexed);
        edgeFlips(pMesh);
        edgeFlipsSimA(pMesh);
        EXPECT_EQ(brokenInvariant(*pMesh->getRMesh()), "");
    }
}

TEST(edgeFlips, survive_vertices_that_a_host_has_moved)
{
    const CapturedMessages messages;
    const std::shared_ptr<Mesh> pMesh = hostMesh(roughSheet(10, 0.3));
    std::vector<Point3*> vPoints;
    pMesh->getPoints(vPoints);
    vPoints[55]->set(*vPoints[46]); // the two lie opposite a diagonal
    vPoints[22]->set(std::nan(""), 0, 0);
    edgeFlips(pMesh);
    EXPECT_EQ(getRootProgress()->getName(), "empty");
}

TEST(edgeFlips, without_a_mesh_only_warn)
{
    CapturedMessages messages;
    edgeFlips(nullptr);
    EXPECT_TRUE(messages.has("WARNING: no mesh"));
    messages.clear();
    edgeFlipsSimA(nullptr);
    EXPECT_TRUE(messages.has("WARNING: no mesh"));
}

// ---- progress

TEST(edgeFlips, open_a_tree_of_their_own_unless_one_is_open)
{
    Recorder recorder;
    subscribe(&recorder);
    edgeFlips(hostMesh(roughSheet(20, 0.5)));
    ASSERT_FALSE(recorder.vCalls.empty());
    EXPECT_EQ(recorder.vCalls.front().first, "EdgeFlips");
    EXPECT_EQ(recorder.vCalls.back().second, 1.0);
    EXPECT_EQ(getRootProgress()->getName(), "empty");

    recorder.vCalls.clear();
    edgeFlipsSimA(hostMesh(strip(3)));
    EXPECT_EQ(recorder.vCalls.back().first, "EdgeFlipsS");
    EXPECT_EQ(getRootProgress()->getName(), "empty");

    const NamedRoot root;
    edgeFlips(hostMesh(strip(3)));
    EXPECT_EQ(getRootProgress()->getName(), "test");
}

TEST(edgeFlips, can_be_cancelled_by_the_subscriber)
{
    const std::shared_ptr<Mesh> pMesh = hostMesh(roughSheet(40, 0.5));
    Recorder recorder(3);
    subscribe(&recorder);
    EXPECT_THROW(edgeFlipsSimA(pMesh), Cancelled);
    EXPECT_EQ(getRootProgress()->getName(), "empty");
    EXPECT_EQ(brokenInvariant(*pMesh->getRMesh()), "");
}

// ---- moveToRingCenter

TEST(moveToRingCenter, goes_a_tenth_of_a_cell_at_most_and_to_a_free_place)
{
    const RealMesh mesh(roughSheet(5, 0.9), 2.0);
    for (int i = 0; i < 25; ++i) {
        const Point3 before = *mesh.vtx(i);
        const bool bMoved = mesh->moveToRingCenter(mesh.vtx(i));
        EXPECT_LE((*mesh.vtx(i) - before).length(), bMoved ? 0.2 + 1e-12 : 0.0);
        EXPECT_EQ(bMoved, *mesh.vtx(i) != before);
    }
    EXPECT_EQ(brokenInvariant(*mesh.pMesh), "");

    // The ring's mean is the vertex itself, so the place is taken.
    const RealMesh centred(IndexedMesh{{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {-1, 0, 0}, {0, -1, 0}},
                                       {0, 1, 2, 0, 2, 3, 0, 3, 4, 0, 4, 1}});
    EXPECT_TRUE(centred->moveToRingCenter(centred.vtx(0)));
    EXPECT_NE(*centred.vtx(0), Point3(0, 0, 0));
    EXPECT_EQ(brokenInvariant(*centred.pMesh), "");
}

TEST(moveToRingCenter, stays_without_edges_and_where_a_triangle_would_turn_over)
{
    const RealMesh mesh(strip(1), 100.0);
    Point3* pLoose = mesh->createVtx(7, 7, 7, true);
    EXPECT_FALSE(mesh->moveToRingCenter(pLoose));
    // The mean of the other two corners lies on their side: the triangle would turn over or vanish.
    const RealMesh lone(IndexedMesh{{{0, 0, 0}, {1, 0, 0}, {1, 0.001, 0}}, {0, 1, 2}}, 100.0);
    EXPECT_TRUE(lone->moveToRingCenter(lone.vtx(0))) << "no normal there: that is no turn";
    const RealMesh spike(
        IndexedMesh{{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {5, 5, 0}}, {0, 1, 2, 0, 2, 3, 0, 3, 1}}, 100.0);
    EXPECT_FALSE(spike->moveToRingCenter(spike.vtx(0)));
    EXPECT_EQ(*spike.vtx(0), Point3(0, 0, 0));
}

// ---- RTop

TEST(RTop, run_removes_twins_and_flat_triangles_and_orients)
{
    const NamedRoot root;
    RealMesh mesh(strip(3));
    mesh.addT(1, 0, 2); // a twin of the first
    mesh->getAllT()[3]->flipOrientation();
    RTop(mesh.pMesh.get()).run();
    const MeshReport report = checkMesh(toIndexed(*mesh.pMesh));
    EXPECT_EQ(report.numTriangles, 6u);
    EXPECT_TRUE(report.isManifold() && report.isOriented()) << toText(report);
}

TEST(RTop, flips_as_the_exported_calls_do)
{
    const std::shared_ptr<Mesh> pMesh = hostMesh(roughSheet(15, 0.6));
    edgeFlipsSimA(pMesh);
    const NamedRoot root;
    const RealMesh mesh(roughSheet(15, 0.6));
    RTop(mesh.pMesh.get()).runFlips();
    EXPECT_EQ(triangleNumbers(*mesh.pMesh), triangleNumbers(*pMesh->getRMesh()));
}

TEST(RTop, flips_the_long_edge_of_a_cap_once)
{
    const RealMesh mesh(cap());
    RTop top(mesh.pMesh.get());
    double curIntra = 0, altIntra = 0, curDih = 0, altDih = 0;
    const double penalty = top.getFlipPenalty(mesh.edge(1, 2), curIntra, altIntra, curDih, altDih);
    EXPECT_NEAR(curIntra, 180.0 - 2.0 * std::atan(0.05) * 57.29578, 1e-4);
    EXPECT_NEAR(altIntra, 45.0 + std::atan(0.05) * 57.29578, 1e-4);
    EXPECT_NEAR(curDih, 0.0, 1e-4);
    EXPECT_NEAR(penalty, altIntra - curIntra, 1e-4);
    EXPECT_EQ(top.getFlipPenalty(mesh.edge(0, 1), curIntra, altIntra, curDih, altDih), DBL_MAX) << "border";

    EXPECT_EQ(top.flipExtremeCaps(), 1);
    EXPECT_TRUE(mesh->hasAliveEdge(mesh.vtx(0), mesh.vtx(3)));
    EXPECT_TRUE(checkMesh(toIndexed(*mesh.pMesh)).isOriented());
    EXPECT_EQ(top.flipExtremeCaps(), 0);
}

TEST(RTop, says_why_an_edge_cannot_flip)
{
    const RealMesh mesh(strip(1));
    const RTop top(mesh.pMesh.get());
    EXPECT_TRUE(top.canFlip(mesh.vtx(1), mesh.vtx(2), mesh.vtx(0), mesh.vtx(3), 90.0));
    EXPECT_FALSE(top.canFlip(mesh.vtx(0), mesh.vtx(1), mesh.vtx(2), mesh.vtx(3), 90.0)) << "border";
    CapturedMessages messages;
    EXPECT_FALSE(top.canFlip(mesh.vtx(2), mesh.vtx(1), mesh.vtx(0), mesh.vtx(3), 90.0));
    EXPECT_TRUE(messages.has("ccd0 >= ccd1, "));
    EXPECT_FALSE(top.canFlip(mesh.vtx(1), mesh.vtx(2), mesh.vtx(0), mesh.vtx(0), 90.0));
    EXPECT_TRUE(messages.has("Duplicate corner, canFlip() returns false"));
    const RealMesh closed(tetrahedron());
    EXPECT_FALSE(
        RTop(closed.pMesh.get()).canFlip(closed.vtx(0), closed.vtx(1), closed.vtx(2), closed.vtx(3), 90.0));
    EXPECT_TRUE(messages.has("AltEdge already present, canFlip() returns false"));
}

TEST(RTop, lists_the_edges_that_turn_by_an_angle_or_more)
{
    const RealMesh box(openBox());
    std::vector<REdge*> vRE;
    RTop(box.pMesh.get()).getEdgesForOptimization(80.0, vRE);
    EXPECT_EQ(vRE.size(), 8u) << "4 edges of the floor, 4 upright ones; no diagonals, no border";
    RTop(box.pMesh.get()).getEdgesForOptimization(100.0, vRE);
    EXPECT_EQ(vRE.size(), 8u);

    const RealMesh flat(IndexedMesh{{{0, 0, 0}, {1, 0, 0}, {2, 0, 0}, {0, 1, 0}}, {0, 1, 2, 0, 2, 3}});
    const CapturedMessages messages;
    RTop(flat.pMesh.get()).getEdgesForOptimization(0.0, vRE);
    EXPECT_TRUE(messages.has("No NNV, skipped edge"));
    EXPECT_EQ(vRE.size(), 8u);
}
