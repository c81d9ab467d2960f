#include "REdgeEnergy.h"

#include "colorDistance.h"
#include "helpers/captured.h"
#include "helpers/roughSheets.h"
#include "helpers/smallMeshes.h"
#include "tesk_tools/FixedPower.h"
#include "zan_export.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <limits>

using namespace TESK_ZAN;
using namespace zan_test;
using TESK_TOOLS::FixedPower;

namespace
{

constexpr double FORBIDDEN = -DBL_MAX;
constexpr double INF = std::numeric_limits<double>::infinity();

// The edge (1, 2) between the triangles (0, 1, 2) and (3, 2, 1).
RealMesh quad(Point3 p0, Point3 p1, Point3 p2, Point3 px, double cellSize = 1.0)
{
    return RealMesh(IndexedMesh{{p0, p1, p2, px}, {0, 1, 2, 3, 2, 1}}, cellSize);
}

double improvementOf(const RealMesh& mesh, int i0, int i1)
{
    return REdgeEnergy(mesh.pMesh.get(), mesh.edge(i0, i1)).getImprovement();
}

// The largest inner angle of a triangle, in degrees.
double largestAngle(const Point3& a, const Point3& b, const Point3& c)
{
    const Vector3 ab = normalize(b - a), bc = normalize(c - b), ca = normalize(a - c);
    return std::max(
        {getAngleDegree(ab, -1.0 * ca), getAngleDegree(bc, -1.0 * ab), getAngleDegree(ca, -1.0 * bc)});
}

} // namespace

// ---- the power

TEST(FixedPower, agrees_with_the_library_over_the_whole_range)
{
    Random random(1);
    for (const double exponent : {0.335, 1.0 / 3.0, 0.4, 0.9}) {
        const FixedPower power(exponent);
        for (int i = 0; i < 20000; ++i) {
            const double x = std::ldexp(1.0 + random.uniform(), int(random.below(2097)) - 1074);
            ASSERT_NEAR(power(x) / std::pow(x, exponent), 1.0, 1e-11) << x << " to the " << exponent;
        }
    }
}

TEST(FixedPower, has_no_step_where_its_tables_meet)
{
    const FixedPower power(0.335);
    for (int part = 0; part <= 128; ++part) {
        const double x = 1.0 + part / 128.0;
        EXPECT_NEAR(power(std::nextafter(x, 0.0)) / power(x), 1.0, 1e-12) << x;
    }
}

TEST(FixedPower, takes_zero_infinity_and_what_is_no_number)
{
    constexpr FixedPower power(0.335); // the tables can be made by the compiler
    EXPECT_EQ(power(0.0), 0.0);
    EXPECT_EQ(power(INF), INF);
    EXPECT_TRUE(std::isnan(power(-1.0)));
    EXPECT_TRUE(std::isnan(power(std::nan(""))));
    EXPECT_GT(power(std::numeric_limits<double>::denorm_min()), 0.0);
}

// ---- colour

TEST(colorDistance, agrees_with_published_conversions)
{
    struct Sample {
        unsigned char a[3], b[3];
        double expected;
    };
    const Sample aSamples[] = {
        {{255, 255, 255}, {0, 0, 0}, 100.0},  {{255, 0, 0}, {0, 255, 0}, 170.5842},
        {{255, 0, 0}, {0, 0, 255}, 176.3327}, {{10, 20, 30}, {10, 20, 30}, 0.0},
        {{0, 0, 0}, {5, 5, 5}, 1.37087},      {{200, 30, 90}, {198, 33, 88}, 1.60351},
        {{1, 2, 3}, {3, 2, 1}, 0.97566},      {{250, 128, 114}, {255, 127, 80}, 18.40365},
    };
    for (const Sample& sample : aSamples) {
        const Point3 a(0, 0, 0, sample.a[0], sample.a[1], sample.a[2], 7);
        const Point3 b(0, 0, 0, sample.b[0], sample.b[1], sample.b[2], 255);
        EXPECT_NEAR(colorDistance(a, b), sample.expected, 0.01);
        EXPECT_EQ(colorDistance(a, b), colorDistance(b, a));
    }
}

TEST(LabCache, gives_the_distances_of_the_points_themselves)
{
    IndexedMesh sheet = roughSheet(20, 0.3);
    Random random(5);
    for (Point3& p : sheet.vPoints)
        p.setColor((unsigned char)random.below(256), (unsigned char)random.below(256),
                   (unsigned char)random.below(256), 255);
    const RealMesh mesh(sheet);
    const LabCache lab(*mesh.pMesh);
    for (int i = 1; i < 400; ++i)
        EXPECT_EQ(lab.distance(mesh.vtx(i - 1), mesh.vtx(i)), colorDistance(*mesh.vtx(i - 1), *mesh.vtx(i)));
}

// ---- the rating

TEST(REdgeEnergy, forbids_border_edges_crowded_edges_and_doubled_edges)
{
    const RealMesh sheet(strip(2));
    EXPECT_EQ(improvementOf(sheet, 0, 1), FORBIDDEN);
    EXPECT_NE(improvementOf(sheet, 1, 2), FORBIDDEN);
    EXPECT_EQ(improvementOf(RealMesh(threeOnAnEdge()), 0, 1), FORBIDDEN);
    EXPECT_EQ(improvementOf(RealMesh(tetrahedron()), 0, 1), FORBIDDEN) << "the other diagonal is an edge";

    RealMesh twins(IndexedMesh{{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {0, 1, 2, 0, 2, 1}});
    EXPECT_EQ(improvementOf(twins, 0, 1), FORBIDDEN) << "twins";

    RealMesh dead(strip(1));
    REdge* pRE = dead.edge(1, 2);
    pRE->tryFlipEdge(dead.pMesh.get(), nullptr, nullptr);
    EXPECT_EQ(REdgeEnergy(dead.pMesh.get(), pRE).getImprovement(), FORBIDDEN) << "no triangles any more";
}

TEST(REdgeEnergy, rates_a_flat_square_as_exactly_even)
{
    EXPECT_EQ(improvementOf(RealMesh(strip(1)), 1, 2), 0.0);
}

TEST(REdgeEnergy, prefers_the_ridge_of_a_roof)
{
    // 1 and 2 are the eaves, 0 and 3 the ridge: the edge runs across below it.
    const RealMesh across = quad({0, 0, 1}, {1, 0.5, 0}, {-1, 0.5, 0}, {0, 1, 1});
    const RealMesh along = quad({-1, 0.5, 0}, {0, 0, 1}, {0, 1, 1}, {1, 0.5, 0});
    const double gain = improvementOf(across, 1, 2);
    EXPECT_GT(gain, 0.0);
    EXPECT_NEAR(improvementOf(along, 1, 2), -gain, 1e-12);
}

// The value is what its words say: the energy of the whole mesh before the flip minus after it.
TEST(REdgeEnergy, equals_the_change_of_the_energy_of_the_whole_mesh)
{
    const RealMesh mesh(roughSheet(12, 0.5));
    RMesh* pRMesh = mesh.pMesh.get();
    const std::vector<REdge*> vRE = mesh->getAllRE();
    int numCompared = 0;
    for (REdge* pRE : vRE) {
        const double improvement = REdgeEnergy(pRMesh, pRE).getImprovement();
        RTriangle *pT0, *pT1;
        if (improvement == FORBIDDEN || !pRE->getAdjT(pT0, pT1, true))
            continue;
        const Point3* pA = pT0->getThirdPoint(pRE->getVtx0(), pRE->getVtx1());
        const Point3* pB = pT1->getThirdPoint(pRE->getVtx0(), pRE->getVtx1());
        if (std::max(largestAngle(*pA, *pB, *pRE->getVtx0()), largestAngle(*pA, *pB, *pRE->getVtx1())) > 130)
            continue; // may have a penalty on top
        const double before = totalEnergy(*pRMesh);
        REdge* pNewRE = pRE->tryFlipEdge(pRMesh, nullptr, nullptr);
        ASSERT_NE(pNewRE, nullptr);
        EXPECT_NEAR(improvement, before - totalEnergy(*pRMesh), 1e-9);
        ASSERT_NE(pNewRE->tryFlipEdge(pRMesh, nullptr, nullptr), nullptr);
        ++numCompared;
    }
    EXPECT_GT(numCompared, 100);
}

TEST(REdgeEnergy, punishes_flips_that_make_large_angles_larger)
{
    // Flat kites: the energies are 0, the penalty remains, and ten times more since nothing is gained.
    const RealMesh above160 = quad({-3, 0, 0}, {0, -0.4, 0}, {0, 0.4, 0}, {3, 0, 0});
    EXPECT_NEAR(improvementOf(above160, 1, 2), -11.0, 1e-9);
    const RealMesh above130 = quad({-3, 0, 0}, {0, -1, 0}, {0, 1, 0}, {3, 0, 0});
    EXPECT_NEAR(improvementOf(above130, 1, 2), -1.1, 1e-9);
    const RealMesh below130 = quad({-3, 0, 0}, {0, -2, 0}, {0, 2, 0}, {3, 0, 0});
    EXPECT_EQ(improvementOf(below130, 1, 2), 0.0);
    // The largest angle is above 130 degrees, but it was larger before.
    const RealMesh better = quad({0, -0.9, 0}, {-3, 0, 0}, {3, 0, 0}, {0, 0.2, 0});
    EXPECT_EQ(improvementOf(better, 1, 2), 0.0);
}

TEST(REdgeEnergy, makes_no_fold_sharper_than_170_degrees)
{
    const RealMesh wouldFold = quad({-1, 0, 0}, {0, -1, 0}, {0, 1, 0}, {1, 3, 0});
    EXPECT_EQ(improvementOf(wouldFold, 1, 2), FORBIDDEN) << "the diagonal runs outside of the quad";
}

TEST(REdgeEnergy, rewards_edges_between_like_colours_up_to_a_limit)
{
    const auto bonus = [](unsigned char grey1, unsigned char grey2, bool bAll) {
        RealMesh mesh(strip(1)); // the edge joins 1 and 2
        mesh.vtx(0)->setColor(9, 9, 9, 255);
        if (bAll)
            mesh.vtx(3)->setColor(9, 9, 9, 255);
        mesh.vtx(1)->setColor(grey1, grey1, grey1, 255);
        mesh.vtx(2)->setColor(grey2, grey2, grey2, 255);
        return improvementOf(mesh, 1, 2);
    };
    EXPECT_EQ(bonus(0, 255, true), 20.0);
    EXPECT_EQ(bonus(0, 255, false), 0.0) << "one of the four has no colour";
    EXPECT_EQ(bonus(100, 110, true), 0.0) << "hardly to be seen";
    const double difference =
        colorDistance(Point3(0, 0, 0, 100, 100, 100, 255), Point3(0, 0, 0, 122, 122, 122, 255));
    ASSERT_GT(difference, 4.6);
    ASSERT_LT(difference, 14.6);
    EXPECT_NEAR(bonus(100, 122, true), 2.0 * (difference - 4.6), 1e-6);
}

TEST(REdgeEnergy, like_colours_buy_no_needle_and_no_fold)
{
    const auto improvement = [](std::vector<Point3> vPoints) {
        IndexedMesh drawing = strip(1);
        drawing.vPoints = std::move(vPoints);
        RealMesh mesh(drawing);
        for (const int i : {0, 3})
            mesh.vtx(i)->setColor(9, 9, 9, 255);
        mesh.vtx(1)->setColor(0, 0, 0, 255);
        mesh.vtx(2)->setColor(255, 255, 255, 255);
        return improvementOf(mesh, 1, 2);
    };
    EXPECT_GT(improvement({{-1, 0, 0}, {0, 1, 0}, {0, -1, 0}, {1, 0, 0}}), 10.0);
    EXPECT_LT(improvement({{-1, 0, 0}, {0, 0.1, 0}, {0, -0.1, 0}, {1, 0, 0}}), 0.0) << "needle";
    // An arrowhead: after the flip one triangle stands over the other.
    EXPECT_LT(improvement({{-1, -1, 0}, {0, 0, 0.5}, {2, 0, 0}, {-1, 1, 0}}), 10.0) << "fold";
}

TEST(REdgeEnergy, turns_the_second_triangle_to_the_first_and_rates_the_same)
{
    const IndexedMesh drawing = roughSheet(4, 0.5);
    const RealMesh oriented(drawing);
    for (size_t turned = 0; turned < drawing.numT(); ++turned) {
        const RealMesh mesh(drawing);
        mesh->getAllT()[turned]->flipOrientation();
        for (size_t i = 0; i < mesh->getAllRE().size(); ++i) {
            REdge* pRE = mesh->getAllRE()[i];
            const double expected =
                REdgeEnergy(oriented.pMesh.get(), oriented->getAllRE()[i]).getImprovement();
            EXPECT_NEAR(REdgeEnergy(mesh.pMesh.get(), pRE).getImprovement(), expected, 1e-12);
            EXPECT_TRUE(REdgeEnergy::isSettled(*pRE));
        }
    }
}

TEST(REdgeEnergy, forbids_what_cannot_be_computed_without_a_message)
{
    const CapturedMessages messages;
    const double nan = std::nan("");
    for (const double bad : {nan, INF, 1e200, 1e-200}) {
        const RealMesh mesh = quad({0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {1, 1, 0});
        mesh.vtx(3)->set(bad == 1e-200 ? Point3(1, bad, bad) : Point3(bad, 1, 0));
        EXPECT_EQ(improvementOf(mesh, 1, 2), FORBIDDEN) << bad;
    }
    EXPECT_EQ(messages.text(), "");
}

TEST(REdgeEnergy, separates_opposite_corners_at_one_place)
{
    // As a host can leave them: vertex 0 has an entry at its place, vertex 3 was moved there.
    const RealMesh mesh = quad({0.1, 0, 0}, {0, -1, 0}, {0, 1, 0}, {-1, 0, 0});
    mesh->updateVertex(mesh.vtx(0), Point3(-2, 0, 0));
    mesh.vtx(3)->set(*mesh.vtx(0));
    EXPECT_FALSE(REdgeEnergy::isSettled(*mesh.edge(1, 2)));
    const CapturedMessages messages;
    try {
        REdgeEnergy::settle(mesh.pMesh.get(), mesh.edge(1, 2));
    } catch (const ZanBugException&) { // the place of vertex 3 is not the one that the mesh knows
    }
    EXPECT_NE(*mesh.vtx(0), *mesh.vtx(3));
}
