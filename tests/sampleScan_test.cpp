#include "sampleScan.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <set>
#include <tuple>
#include <vector>

using namespace TESK_ZAN;

namespace
{

std::uint64_t hashOf(const std::vector<Point3>& vPoints)
{
    std::uint64_t hash = 14695981039346656037U;
    for (const Point3& p : vPoints) {
        const double aCoords[3] = {p.x(), p.y(), p.z()};
        unsigned char aBytes[sizeof aCoords + 4];
        std::memcpy(aBytes, aCoords, sizeof aCoords);
        p.getColor_255(aBytes[24], aBytes[25], aBytes[26], aBytes[27]);
        for (unsigned char byte : aBytes)
            hash = (hash ^ byte) * 1099511628211U;
    }
    return hash;
}

} // namespace

TEST(sampleScan, countComesCloseToTheWish)
{
    for (size_t numPoints : {1000U, 20000U}) {
        std::vector<Point3> vPoints;
        makeSampleScan(vPoints, numPoints);
        EXPECT_NEAR(1.0, double(vPoints.size()) / double(numPoints), 0.05) << numPoints;
    }
    for (size_t numPoints : {0U, 1U, 2U, 10U}) {
        std::vector<Point3> vPoints;
        makeSampleScan(vPoints, numPoints);
        EXPECT_LE(vPoints.size(), 2 * numPoints);
    }
}

TEST(sampleScan, samePointsInEveryBuild)
{
    std::vector<Point3> vPoints;
    makeSampleScan(vPoints, 5000);
    EXPECT_EQ(8409330130983218446U, hashOf(vPoints)); // by g++ and clang++, with and without optimisation
}

TEST(sampleScan, appendsColouredFinitePointsInTheBox)
{
    std::vector<Point3> vPoints(3, Point3(9, 9, 9));
    makeSampleScan(vPoints, 5000);
    ASSERT_GT(vPoints.size(), 4500U);
    EXPECT_EQ(Point3(9, 9, 9), vPoints[2]);
    std::set<std::tuple<int, int, int>> sColours;
    for (size_t i = 3; i < vPoints.size(); ++i) {
        const Point3& p = vPoints[i];
        ASSERT_TRUE(p.hasColor());
        ASSERT_LT(std::max({std::fabs(p.x()), std::fabs(p.y()), std::fabs(p.z())}), 1.1);
        unsigned char r, g, b, a;
        p.getColor_255(r, g, b, a);
        sColours.emplace(r / 64, g / 64, b / 64);
    }
    EXPECT_GT(sColours.size(), 6U) << "fur, face, scarf and eyes differ";
}

TEST(sampleScan, samplesEvenlyWithoutClumps)
{
    std::vector<Point3> vPoints;
    makeSampleScan(vPoints, 4000);
    const double spacing = std::sqrt(7.87 / 4000.0);
    size_t numLonely = 0;
    for (const Point3& p : vPoints) {
        double sqNearest = 1e9;
        size_t numNeigs = 0;
        for (const Point3& q : vPoints) {
            const double sq = (p - q).sqLength();
            if (&p == &q)
                continue;
            sqNearest = std::min(sqNearest, sq);
            numNeigs += sq < 4.0 * spacing * spacing;
        }
        ASSERT_GT(std::sqrt(sqNearest), 0.5 * spacing) << "two points nearly at one place";
        ASSERT_LT(std::sqrt(sqNearest), 1.6 * spacing) << "a point far from all others";
        numLonely += numNeigs < 6;
    }
    EXPECT_LT(double(numLonely), 0.02 * double(vPoints.size())) << "too many rims for a few small gaps";
}

TEST(sampleScan, hasGapsWhereTheScannerDoesNotSee)
{
    std::vector<Point3> vPoints;
    makeSampleScan(vPoints, 50000);
    const Point3 betweenTheLegs(0.04, -0.35, -0.78);
    size_t numInside = 0;
    size_t numAround = 0;
    for (const Point3& p : vPoints) {
        const double dist = (p - betweenTheLegs).length();
        numInside += dist < 0.035;
        numAround += dist < 0.1;
    }
    EXPECT_EQ(0U, numInside);
    EXPECT_GT(numAround, 50U);
}
