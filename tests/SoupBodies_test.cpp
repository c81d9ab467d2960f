#include "SoupBodies.h"

#include "Vector3.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <initializer_list>
#include <limits>
#include <string>
#include <vector>

using namespace TESK_ZAN;

namespace
{

using Soup = std::vector<Point3>;

// An upright box round the middle, wound outward.
Soup box(const Point3& mid, double halfSize)
{
    const auto corner = [&](int i) {
        return mid + halfSize * Vector3(i & 1 ? 1 : -1, i & 2 ? 1 : -1, i & 4 ? 1 : -1);
    };
    Soup soup;
    for (const auto& [a, b, c, d] :
         {std::array{0, 4, 6, 2}, {1, 3, 7, 5}, {0, 1, 5, 4}, {2, 6, 7, 3}, {0, 2, 3, 1}, {4, 5, 7, 6}})
        for (const int i : {a, b, c, a, c, d})
            soup.push_back(corner(i));
    return soup;
}

Soup reversed(Soup soup)
{
    std::reverse(soup.begin(), soup.end());
    return soup;
}

Soup together(std::initializer_list<Soup> parts)
{
    Soup soup;
    for (const Soup& part : parts)
        soup.insert(soup.end(), part.begin(), part.end());
    return soup;
}

// 1 for each place along x that is inside, else 0.
std::string insideAlongX(const Soup& soup, const std::vector<double>& vX)
{
    std::vector<Point3> vPlaces;
    for (const double x : vX)
        vPlaces.emplace_back(x, 0.0, 0.0);
    std::string inside;
    for (const char bInside : SoupBodies(soup).findInside(vPlaces))
        inside += std::to_string(int(bInside));
    return inside;
}

} // namespace

// All rays go through edges or corners: y = z = 0 lies on the diagonals of the boxes' faces.
TEST(SoupBodies, raysThroughEdgesAndCornersCountEachSurfaceOnce)
{
    EXPECT_EQ("010", insideAlongX(box(Point3(0, 0, 0), 1), {-1.5, 0.0, 1.5}));
    const Soup octahedron = [] {
        Soup soup;
        for (const double x : {-1.0, 1.0})
            for (const double y : {-1.0, 1.0})
                for (const double z : {-1.0, 1.0})
                    soup.insert(soup.end(), {Point3(x, 0, 0), Point3(0, y, 0), Point3(0, 0, z)});
        return soup;
    }();
    EXPECT_EQ("0110", insideAlongX(octahedron, {-1.5, -0.5, 0.25, 1.5}));
}

TEST(SoupBodies, bodiesThatCrossAreOneHoweverTheyAreWound)
{
    const Soup a = box(Point3(0, 0, 0), 2), b = box(Point3(3, 0, 0), 2);
    for (const Soup& soup : {together({a, b}), together({a, reversed(b)}), together({reversed(a), b})})
        EXPECT_EQ("01110", insideAlongX(soup, {-2.5, 0.0, 1.5, 3.0, 5.5}));
}

TEST(SoupBodies, shellWoundAgainstTheOneAroundItIsACavity)
{
    const Soup outer = box(Point3(0, 0, 0), 4), inner = box(Point3(0, 0, 0), 3);
    const Soup core = box(Point3(0, 0, 0), 1), other = box(Point3(12, 0, 0), 1);
    const std::vector<double> vX{-5.0, -3.5, -2.0, 0.1, 12.0};
    const Soup hollow = together({outer, reversed(inner), core, other});
    EXPECT_EQ("01011", insideAlongX(hollow, vX));
    EXPECT_EQ("01011", insideAlongX(together({reversed(outer), inner, reversed(core), other}), vX));
    EXPECT_EQ("01111", insideAlongX(together({outer, inner, core, other}), vX));
}

TEST(SoupBodies, whatIsNotClosedOrNotFiniteConfusesNoOtherBody)
{
    Soup torn = box(Point3(0, 0, 0), 1);
    torn[0] = Point3(std::numeric_limits<double>::quiet_NaN(), 0, 0);
    const Soup closed = box(Point3(5, 0, 0), 1);
    // Of the torn box the ray along x meets the gap, or its rim; the two others do not.
    EXPECT_EQ("0110", insideAlongX(together({torn, closed}), {-1.5, 0.25, 5.0, 7.0}));
    EXPECT_EQ("0", insideAlongX({}, {1.0}));
}

TEST(SoupBodies, cavityWithCracksStaysACavity)
{
    Soup cavity = reversed(box(Point3(0, 0, 0), 2));
    cavity[4] = cavity[4] + Vector3(1e-9, 0, 0);
    EXPECT_EQ("0100", insideAlongX(together({box(Point3(0, 0, 0), 4), cavity}), {-5.0, -3.0, 0.1, 6.0}));
}
