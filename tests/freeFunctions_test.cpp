// Angles, distances, areas, centres, planes and ranges.
#include "freeFunctions.h"
#include "helpers/captured.h"
#include "random.h"
#include "zan_export.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <limits>
#include <numbers>
#include <vector>

using namespace TESK_ZAN;
using zan_test::CapturedMessages;

namespace
{

constexpr double NOT_A_NUMBER = std::numeric_limits<double>::quiet_NaN();

Vector3 randomVector(Random& random)
{
    return Vector3(random.uniform() - 0.5, random.uniform() - 0.5, random.uniform() - 0.5);
}

Point3 randomPoint(Random& random)
{
    return Point3() + randomVector(random);
}

std::vector<Point3*> pointersTo(std::vector<Point3>& vPoints)
{
    std::vector<Point3*> vPointers;
    for (Point3& p : vPoints)
        vPointers.push_back(&p);
    return vPointers;
}

// Points of a square patch around center, spanned by two orthogonal vectors of the given extent.
std::vector<Point3> planePatch(const Point3& center, const Vector3& nv, double extent, Random& random)
{
    const Vector3 other = nv.getMaxAbsIndex() == 0 ? Vector3(0, 1, 0) : Vector3(1, 0, 0);
    const Vector3 u = normalize(crossProd(nv, other));
    const Vector3 v = crossProd(nv, u);
    std::vector<Point3> vPoints;
    for (int i = 0; i < 50; ++i)
        vPoints.push_back(center + u * (extent * (random.uniform() - 0.5)) +
                          v * (extent * (random.uniform() - 0.5)));
    return vPoints;
}

} // namespace

// ---- angles

TEST(Angles, RoundingBeyondOneGivesTheEndOfTheRange)
{
    const Vector3 v(1.0000000000000002, 0, 0); // its dot product with itself is above 1
    EXPECT_EQ(getAngleDegree(v, v), 0.0);
    EXPECT_EQ(getAngleDegree(v, -1.0 * v), 180.0);
    EXPECT_EQ(getAngleRad(v, v), 0.0);
    EXPECT_EQ(getAngleRad(v, -1.0 * v), std::numbers::pi);
    EXPECT_EQ(getCosPhi(v, v), 1.0);
    EXPECT_EQ(getCosPhi(v, -1.0 * v), -1.0);
}

TEST(Angles, DegreesUseTheSystemsOwnFactor)
{
    EXPECT_EQ(getAngleDegree(Vector3(1, 0, 0), Vector3(0, 1, 0)), std::acos(0.0) * 57.295779513);
    EXPECT_EQ(getAngleRad(Vector3(1, 0, 0), Vector3(0, 1, 0)), std::acos(0.0));
}

TEST(Angles, LengthsUpToATenthOffAreTaken)
{
    CapturedMessages messages;
    const Vector3 unit(0, 1, 0);
    EXPECT_NO_THROW(getAngleDegree(Vector3(1.0999, 0, 0), unit));
    EXPECT_NO_THROW(getAngleDegree(Vector3(0.9001, 0, 0), unit));
    EXPECT_EQ(messages.text(), "");
    EXPECT_THROW(getAngleDegree(Vector3(1.1001, 0, 0), unit), ZanBugException);
    EXPECT_THROW(getAngleDegree(unit, Vector3(0.8999, 0, 0)), ZanBugException);
}

TEST(Angles, FarLengthsAreToldBeforeTheReport)
{
    const std::string lengths = "  Lengths are: len0=2   len1=1\n\n";
    const Vector3 far(2, 0, 0), unit(0, 1, 0);
    {
        CapturedMessages messages;
        EXPECT_THROW(getAngleDegree(far, unit), ZanBugException);
        EXPECT_EQ(
            messages.text().find("getAngleDegree has been called for vectors with length!=1.0:\n" + lengths),
            0u);
        EXPECT_TRUE(messages.has("Condition [ false failed ]"));
    }
    {
        CapturedMessages messages;
        EXPECT_THROW(getAngleRad(far, unit), ZanBugException);
        EXPECT_EQ(messages.text().find("getAngleDegree has been called"), 0u);
    }
    CapturedMessages messages;
    EXPECT_THROW(getCosPhi(far, unit), ZanBugException);
    EXPECT_EQ(messages.text().find("getCosPhi has been called for vectors with length!=1.0:\n" + lengths),
              0u);
}

TEST(Angles, SmallestAngleWhicheverCornerHoldsIt)
{
    const Point3 a(0, 0, 0), b(1, 0, 0), c(0, std::sqrt(3.0), 0); // 90, 60 and 30 degrees
    for (double angle :
         {getMinAngle(a, b, c), getMinAngle(b, c, a), getMinAngle(c, a, b), getMinAngle(c, b, a)})
        EXPECT_NEAR(angle, 30.0, 1e-6);
}

// ---- distances

TEST(FootPoint, LiesOnTheInfiniteLineAndIsNotClamped)
{
    const Point3 foot = getFootPoint3D(Point3(0, 0, 0), Point3(1, 0, 0), Point3(5, 3, 0));
    EXPECT_TRUE(foot == Point3(5, 0, 0));
    EXPECT_EQ(distanceToEdge(Point3(0, 0, 0), Point3(1, 0, 0), Point3(5, 3, 0)), 3.0);
    Random random(4);
    for (int i = 0; i < 200; ++i) {
        const Point3 p0 = randomPoint(random), p1 = randomPoint(random), q = randomPoint(random);
        const Point3 f = getFootPoint3D(p0, p1, q);
        EXPECT_NEAR((q - f) * normalize(p1 - p0), 0.0, 1e-12);
        EXPECT_NEAR(crossProd(f - p0, normalize(p1 - p0)).length(), 0.0, 1e-12);
    }
}

// Against the nearest of many points on the triangle.
TEST(DistanceToTriangle, IsThatToTheInsideASideOrACornerAndFlatTrianglesHaveOneToo)
{
    Random random(6);
    constexpr int STEPS = 60;
    for (int i = 0; i < 100; ++i) {
        const Point3 a = randomPoint(random), b = randomPoint(random), q = randomPoint(random);
        const Point3 c = i % 4 == 0 ? a + 0.3 * (b - a) : i % 4 == 1 ? a : randomPoint(random);
        double least = INFINITY;
        for (int u = 0; u <= STEPS; ++u)
            for (int v = 0; u + v <= STEPS; ++v)
                least = std::min(least, (q - (a + u * (b - a) / STEPS + v * (c - a) / STEPS)).length());
        const double step = std::max({(b - a).length(), (c - a).length(), (c - b).length()}) / STEPS;
        const double distance = distanceToTriangle(a, b, c, q);
        EXPECT_LE(distance, least + 1e-12);
        EXPECT_GE(distance, least - step);
    }
}

TEST(FootPoint, NearPointsGiveTheFirstAndEqualPointsFail)
{
    CapturedMessages messages;
    const Point3 p0(0, 0, 0);
    EXPECT_TRUE(getFootPoint3D(p0, Point3(1e-11, 0, 0), Point3(3, 0, 0)) == p0);
    EXPECT_THROW(getFootPoint3D(p0, Point3(0, -0.0, 0), Point3(3, 0, 0)), ZanBugException);
    EXPECT_TRUE(messages.has("Condition [ p0.x()!=p1.x() || p0.y()!=p1.y() || p0.z()!=p1.z() failed ]"));
}

// ---- areas and volumes

TEST(Area, AllThreeFormsAgree)
{
    Random random(5);
    for (int i = 0; i < 200; ++i) {
        const Point3 a = randomPoint(random), b = randomPoint(random), c = randomPoint(random);
        EXPECT_NEAR(getArea(a, b, c), getAreaHeron(a, b, c), 1e-7);
    }
    EXPECT_EQ(computeArea(3, 4, 5), 6.0);
}

TEST(Area, FlatAndImpossibleTrianglesAreZero)
{
    CapturedMessages messages;
    EXPECT_EQ(computeArea(1, 1, 2), 0.0);
    EXPECT_EQ(messages.text(), ""); // flat is ordinary
    EXPECT_EQ(computeArea(1, 1, 5), 0.0);
    EXPECT_TRUE(messages.has("Numeric issue in Triangle::getArea(), WARNING: -32.8125\n"));
}

TEST(Area, LengthsThatAreNoNumbersFailWithTheirValues)
{
    CapturedMessages messages;
    EXPECT_THROW(computeArea(NOT_A_NUMBER, 1, 2), ZanBugException);
    EXPECT_TRUE(messages.has("computeArea(), WARNING: invalid value, no area for this triangle"));
    EXPECT_TRUE(messages.has("\nlen1=1\nlen2=2\n"));
    EXPECT_TRUE(messages.has("ownHalfCircf="));
}

TEST(Orient3d, IsSixTimesTheSignedVolume)
{
    const Point3 a(1, 0, 0), b(0, 1, 0), c(0, 0, 1), d(0, 0, 0);
    EXPECT_EQ(orient3d(a, b, c, d), 1.0);
    EXPECT_EQ(orient3d(b, a, c, d), -1.0);
    EXPECT_EQ(orient3d(a, b, Point3(2, 3, 0), d), 0.0);
}

// ---- centres

TEST(CircumCenter, IsEquallyFarFromAllCornersAndInTheirPlane)
{
    Random random(6);
    for (int i = 0; i < 200; ++i) {
        const Point3 a = randomPoint(random), b = randomPoint(random), c = randomPoint(random);
        if (getArea(a, b, c) < 0.02)
            continue;
        const Point3 center = getCircumCenter3D(a, b, c);
        EXPECT_NEAR(sqDistance(center, a), sqDistance(center, b), 1e-9);
        EXPECT_NEAR(sqDistance(center, a), sqDistance(center, c), 1e-9);
        EXPECT_NEAR(orient3d(a, b, c, center), 0.0, 1e-9);
    }
}

TEST(CircumCenter, CornersOnALineGiveTheMarker)
{
    const Point3 marker = getCircumCenter3D(Point3(0, 0, 0), Point3(1, 1, 1), Point3(2, 2, 2));
    EXPECT_TRUE(samePosition(marker, Point3(DBL_MAX, DBL_MAX, DBL_MAX)));
}

TEST(Centroid, IsTheMeanAndDropsColour)
{
    const Point3 p = getCentroid(Point3(0, 0, 0, 1, 2, 3, 4), Point3(3, 0, 0), Point3(0, 3, 6));
    EXPECT_TRUE(p == Point3(1, 1, 2));
    EXPECT_FALSE(p.hasColor());
}

// ---- normals and planes

TEST(NormalVector, TellsDegenerateTriangles)
{
    bool bOK = false;
    const Point3 a(0, 0, 0), b(2, 0, 0), c(0, 3, 0), onLine(5, 0, 0);
    const Vector3 nv = getNormalVector(&a, &b, &c, bOK);
    EXPECT_TRUE(bOK);
    EXPECT_EQ(nv.z(), 1.0);
    for (const Point3* pThird : {&a, &b, &onLine}) {
        bOK = true;
        EXPECT_TRUE(getNormalVector(&a, &b, pThird, bOK).isDegenerate());
        EXPECT_FALSE(bOK);
    }
}

TEST(NormalVector, UnderflowingSidesAreDegenerateNotAFailure)
{
    CapturedMessages messages;
    bool bOK = true;
    const Point3 a(0, 0, 0), b(1e-170, 0, 0), c(0, 1e-170, 0);
    EXPECT_TRUE(getNormalVector(&a, &b, &c, bOK).isDegenerate());
    EXPECT_FALSE(bOK);
}

TEST(EstimateNNV, FindsPlanesInAllDirectionsAndAtAllScales)
{
    Random random(7);
    for (double extent : {1.0, 1e-60, 1e-100, 1e60, 1e100}) {
        for (int i = 0; i < 50; ++i) {
            const Vector3 expected = normalize(randomVector(random));
            const Point3 center = Point3() + randomVector(random) * extent;
            std::vector<Point3> vPoints = planePatch(center, expected, extent, random);
            Vector3 nv;
            Point3 centroid;
            ASSERT_TRUE(estimateNNV(pointersTo(vPoints), nv, centroid));
            EXPECT_NEAR(std::fabs(nv * expected), 1.0, 1e-9) << "extent " << extent;
            EXPECT_NEAR((centroid - center) * expected / extent, 0.0, 1e-12);
        }
    }
}

TEST(EstimateNNV, NoAnswerLeavesItsArgumentsAlone)
{
    Vector3 nv(1, 2, 3);
    Point3 centroid(4, 5, 6);
    std::vector<Point3> vTwo{Point3(0, 0, 0), Point3(1, 0, 0)};
    EXPECT_FALSE(estimateNNV(pointersTo(vTwo), nv, centroid));
    std::vector<Point3> vEqual(5, Point3(1, 1, 1));
    EXPECT_FALSE(estimateNNV(pointersTo(vEqual), nv, centroid));
    std::vector<Point3> vLine{Point3(0, 0, 0), Point3(1, 0, 0), Point3(2, 0, 0)};
    EXPECT_FALSE(estimateNNV(pointersTo(vLine), nv, centroid));
    EXPECT_EQ(nv.y(), 2.0);
    EXPECT_TRUE(centroid == Point3(4, 5, 6));
}

TEST(EstimateNNV, NoNumberIsAFailedCondition)
{
    CapturedMessages messages;
    std::vector<Point3> vPoints{Point3(0, 0, 0), Point3(1, 0, NOT_A_NUMBER), Point3(0, 1, 0)};
    Vector3 nv;
    Point3 centroid;
    EXPECT_THROW(estimateNNV(pointersTo(vPoints), nv, centroid), ZanBugException);
    EXPECT_TRUE(messages.has("Condition [ detZ>=detX && detZ>=detY failed ]"));
}

TEST(EdgePlane, StandsOnTheOppositeEdgeWithTheCornerOnItsPositiveSide)
{
    Random random(8);
    for (int round = 0; round < 50; ++round) {
        const Point3 p[3] = {randomPoint(random), randomPoint(random), randomPoint(random)};
        for (int i = 0; i < 3; ++i) {
            const Plane plane = getEdgePlane(&p[0], &p[1], &p[2], i);
            EXPECT_GT(plane.signedDistance(p[i]), 0.0);
            EXPECT_NEAR(plane.signedDistance(p[nextIndex3(i)]), 0.0, 1e-12);
            EXPECT_NEAR(plane.signedDistance(p[prevIndex3(i)]), 0.0, 1e-12);
            EXPECT_NEAR(plane.getNormal() * crossProd(p[1] - p[0], p[2] - p[0]), 0.0, 1e-12);
        }
    }
}

TEST(EdgePlane, NamesTheConditionThatFailed)
{
    const Point3 a(0, 0, 0), b(1, 0, 0), c(0, 1, 0), onLine(2, 0, 0), atA(0, 0, 0);
    const auto conditionOf = [](const Point3* p0, const Point3* p1, const Point3* p2, int i) {
        CapturedMessages messages;
        EXPECT_THROW(getEdgePlane(p0, p1, p2, i), ZanBugException);
        const std::string text = messages.text();
        const auto start = text.find("Condition [ ") + 12;
        return text.substr(start, text.find(" failed ]") - start);
    };
    EXPECT_EQ(conditionOf(&a, &a, &c, 0), "p0!=p1");
    EXPECT_EQ(conditionOf(&a, &b, &b, 0), "p1!=p2");
    EXPECT_EQ(conditionOf(&a, &b, &a, 0), "p2!=p0");
    EXPECT_EQ(conditionOf(&a, &atA, &c, 0), "!vecAB.isDegenerate()");
    EXPECT_EQ(conditionOf(&a, &b, &atA, 0), "!vecAC.isDegenerate()");
    EXPECT_EQ(conditionOf(&a, &b, &onLine, 0), "!nv.isDegenerate()");
    EXPECT_EQ(conditionOf(&a, &b, &c, 3), "false");
    EXPECT_EQ(conditionOf(&a, &b, &c, -1), "false");
}

TEST(Project2D, KeepsTheOtherTwoCoordinates)
{
    CapturedMessages messages;
    const Point3 p(1, 2, 3);
    EXPECT_TRUE(project2D(p, 0) == Point3(2, 3, 0));
    EXPECT_TRUE(project2D(p, 1) == Point3(1, 3, 0));
    EXPECT_TRUE(project2D(p, 2) == Point3(1, 2, 0));
    EXPECT_THROW(project2D(p, 3), ZanBugException);
    EXPECT_TRUE(messages.has("wrong skipIndex"));
}

// ---- ranges and indices

TEST(Ranges, OverlapAndHullForAllOrdersOfTheEnds)
{
    CapturedMessages messages;
    for (const auto& [a0, a1] : {std::pair{1.0, 5.0}, std::pair{5.0, 1.0}}) {
        for (const auto& [b0, b1] : {std::pair{3.0, 9.0}, std::pair{9.0, 3.0}}) {
            double lo, hi;
            commonRange(a0, a1, b0, b1, lo, hi);
            EXPECT_EQ(std::pair(lo, hi), std::pair(3.0, 5.0));
            commonRange(b0, b1, a0, a1, lo, hi);
            EXPECT_EQ(std::pair(lo, hi), std::pair(3.0, 5.0));
            unionRange(a0, a1, b0, b1, lo, hi);
            EXPECT_EQ(std::pair(lo, hi), std::pair(1.0, 9.0));
        }
    }
    double lo, hi;
    commonRange(0, 1, 1, 2, lo, hi); // touching is an overlap
    EXPECT_EQ(std::pair(lo, hi), std::pair(1.0, 1.0));
    EXPECT_EQ(messages.text(), "");
}

TEST(Ranges, DisjointRangesWarn)
{
    for (const auto& [a, b] : {std::pair{0.0, 5.0}, std::pair{5.0, 0.0}}) {
        CapturedMessages messages;
        double lo, hi;
        commonRange(a, a + 1, b, b + 1, lo, hi);
        EXPECT_EQ(std::pair(lo, hi), std::pair(DBL_MAX, -DBL_MAX));
        EXPECT_TRUE(
            messages.has("commonRange(), WARNING: empty range, unexpected, returning +DBL_MAX,-DBL_MAX"));
    }
}

TEST(CornerIndices, AreCyclicAndInverse)
{
    CapturedMessages messages;
    EXPECT_EQ(nextIndex3(2), 0);
    EXPECT_EQ(prevIndex3(0), 2);
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(prevIndex3(nextIndex3(i)), i);
    EXPECT_THROW(prevIndex3(3), ZanBugException);
    EXPECT_THROW(prevIndex3(-1), ZanBugException);
    EXPECT_TRUE(messages.has("Condition [ num>=0 && num<3 failed ]"));
}
