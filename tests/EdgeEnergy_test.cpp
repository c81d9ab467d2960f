#include "EdgeEnergy.h"

#include "helpers/captured.h"
#include "helpers/codeMesh.h"
#include "helpers/smallMeshes.h"
#include "random.h"
#include "zan_export.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cfloat>
#include <cmath>

using namespace TESK_ZAN;
using namespace zan_test;

namespace
{

// Two triangles on the edge (1, 2), their tips 0 and 3, and one more triangle on each of the four sides:
//
//        4 --- 1 --- 6
//         \  / | \  /
//          0   |   3
//         /  \ | /  \               (seen from above)
//        5 --- 2 --- 7
//
IndexedMesh pairWithNeighbours(Random& random, double roughness)
{
    IndexedMesh mesh{
        {{0, 0, 0}, {1, 1, 0}, {1, -1, 0}, {2, 0, 0}, {0, 1, 0}, {0, -1, 0}, {2, 1, 0}, {2, -1, 0}},
        {0, 2, 1, 3, 1, 2, 0, 1, 4, 0, 5, 2, 3, 6, 1, 3, 2, 7}};
    for (Point3& p : mesh.vPoints)
        p.set(p.x(), p.y(), roughness * random.uniform());
    for (const int tip : {0, 3}) { // also near the edge, and beyond its ends
        Point3& p = mesh.vPoints[size_t(tip)];
        p.set(1.0 + (p.x() - 1.0) * random.uniform(), 4.0 * random.uniform() - 2.0, p.z());
    }
    return mesh;
}

Vector3 unitNormal(const Point3& a, const Point3& b, const Point3& c)
{
    return normalize(crossProd(b - a, c - a));
}

double term(const Vector3& n0, const Vector3& n1, const Point3& a, const Point3& b)
{
    const double cosPhi = std::clamp(n0 * n1, -1.0, 1.0);
    return std::pow((1.0 - cosPhi) * (b - a).length(), 0.3);
}

double cosOfLargestAngle(const Point3& a, const Point3& b, const Point3& c)
{
    const auto at = [](const Point3& p, const Point3& q, const Point3& r) {
        return normalize(q - p) * normalize(r - p);
    };
    return std::min({at(a, b, c), at(b, c, a), at(c, a, b)});
}

// The definition, written down for this drawing alone.
double improvementOfDrawing(const CodeMesh& code)
{
    const auto p = [&code](int i) { return code.mesh.getAvgPoint(code.at(i)); };
    const auto normal = [&p](int a, int b, int c) { return unitNormal(p(a), p(b), p(c)); };
    const Vector3 cur0 = normal(0, 2, 1), cur1 = normal(3, 1, 2), alt0 = normal(0, 2, 3),
                  alt1 = normal(0, 3, 1);
    const double altLargest =
        std::min(cosOfLargestAngle(p(0), p(2), p(3)), cosOfLargestAngle(p(0), p(3), p(1)));
    const double curLargest =
        std::min(cosOfLargestAngle(p(0), p(2), p(1)), cosOfLargestAngle(p(3), p(1), p(2)));
    const double altDih = 1.0 - alt0 * alt1, curDih = 1.0 - cur0 * cur1;
    const double degree = 3.14159265358979 / 180.0;
    if (curLargest > altLargest && altLargest < std::cos(160 * degree))
        return -DBL_MAX;
    if (curLargest > altLargest && altLargest < std::cos(130 * degree) &&
        (altDih < 1.0 - std::cos(2 * degree) || altDih > 1.0 - std::cos(160 * degree)))
        return -DBL_MAX;
    if (altDih > 1.0 - std::cos(170 * degree) && altDih > curDih)
        return -DBL_MAX;
    const Vector3 n4 = normal(0, 1, 4), n5 = normal(0, 5, 2), n6 = normal(3, 6, 1), n7 = normal(3, 2, 7);
    const double cur = term(cur0, cur1, p(1), p(2)) + term(n4, cur0, p(0), p(1)) +
                       term(n5, cur0, p(0), p(2)) + term(n6, cur1, p(3), p(1)) + term(n7, cur1, p(3), p(2));
    const double alt = term(alt0, alt1, p(0), p(3)) + term(n4, alt1, p(0), p(1)) +
                       term(n5, alt0, p(0), p(2)) + term(n6, alt1, p(3), p(1)) + term(n7, alt0, p(3), p(2));
    return cur - alt;
}

double improvementOf(CodeMesh& code, int a, int b)
{
    return EdgeEnergy(&code.mesh, code.edge(a, b)).getImprovement();
}

} // namespace

TEST(EdgeEnergy, equals_the_definition_on_rough_pairs_of_triangles)
{
    Random random(1);
    int numForbidden = 0;
    for (int round = 0; round < 300; ++round) {
        CodeMesh code(pairWithNeighbours(random, round % 3 == 0 ? 0.2 : 3.0));
        const double expected = improvementOfDrawing(code);
        numForbidden += int{expected == -DBL_MAX};
        if (expected == -DBL_MAX)
            EXPECT_EQ(improvementOf(code, 1, 2), -DBL_MAX) << round;
        else
            EXPECT_NEAR(improvementOf(code, 1, 2), expected, 1e-9) << round;
    }
    EXPECT_GT(numForbidden, 0);
    EXPECT_LT(numForbidden, 200);
}

TEST(EdgeEnergy, does_not_depend_on_the_orientation_of_the_triangles)
{
    Random random(2);
    const IndexedMesh drawing = pairWithNeighbours(random, 1.0);
    CodeMesh asDrawn(drawing);
    const double expected = improvementOf(asDrawn, 1, 2);
    for (size_t i = 0; i < asDrawn.vCT.size(); ++i) {
        CodeMesh code(drawing);
        code.vCT[i]->flipOrientation();
        EXPECT_DOUBLE_EQ(improvementOf(code, 1, 2), expected) << i;
        EXPECT_FALSE(code.vCT[0]->needFlip(code.vCT[1]));
    }
}

TEST(EdgeEnergy, forbids_a_flip_that_cannot_be_made)
{
    CodeMesh three(threeOnAnEdge());
    EXPECT_EQ(improvementOf(three, 0, 1), -DBL_MAX); // three triangles
    EXPECT_EQ(improvementOf(three, 0, 2), -DBL_MAX); // one
    CodeMesh closed(tetrahedron());
    EXPECT_EQ(improvementOf(closed, 0, 1), -DBL_MAX); // the other edge exists
    CodeMesh twins(IndexedMesh{{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {0, 1, 2, 0, 2, 1}});
    EXPECT_EQ(improvementOf(twins, 0, 1), -DBL_MAX); // the other edge would have no length
}

TEST(EdgeEnergy, is_zero_on_a_flat_square)
{
    CodeMesh code(strip(1));
    EXPECT_DOUBLE_EQ(improvementOf(code, 1, 2), 0.0);
}

TEST(EdgeEnergy, moves_opposite_corners_apart_that_stand_at_one_place)
{
    CodeMesh code(strip(2));
    Point3* pOpp = code.mesh.getVtx(code.at(3)); // the edge (1, 2) lies between the tips 0 and 3
    pOpp->set(*code.mesh.getVtx(code.at(0)));
    improvementOf(code, 1, 2);
    const double distance = (code.mesh.getAvgPoint(code.at(0)) - code.mesh.getAvgPoint(code.at(3))).length();
    EXPECT_GT(distance, 0.0);
    EXPECT_LE(distance, 0.21 * code.cells.calc.getCellSize());
}

TEST(EdgeEnergy, takes_degenerate_neighbours_without_failing)
{
    for (const int moved : {1, 4, 6}) { // an end of the edge, and tips of neighbours
        Random random(3);
        CodeMesh code(pairWithNeighbours(random, 1.0));
        code.mesh.getVtx(code.at(moved))->set(*code.mesh.getVtx(code.at(2)));
        EXPECT_FALSE(std::isnan(improvementOf(code, 1, 2))) << moved;
    }
}

TEST(EdgeEnergy, knows_the_largest_angle_and_reports_points_that_have_none)
{
    CodeMesh code(strip(1));
    const EdgeEnergy ee(&code.mesh, nullptr);
    EXPECT_EQ(ee.getImprovement(), -DBL_MAX);
    const Point3 a(0, 0, 0), b(1, 0, 0), c(-1, 1, 0);
    EXPECT_NEAR(ee.getMinCosPhi(&a, &b, &c), std::cos(0.75 * 3.14159265358979), 1e-12);
    EXPECT_NEAR(ee.getMinCosPhi(&c, &a, &b), std::cos(0.75 * 3.14159265358979), 1e-12);

    const CapturedMessages messages;
    EXPECT_THROW(ee.getMinCosPhi(&a, &a, &b), ZanBugException);
    for (const char* part : {"*p0==*p1", "p0=p1", "vec01=", "vec02=", "vec12=", "CheckNoDups("})
        EXPECT_TRUE(messages.has(part)) << part;
}
