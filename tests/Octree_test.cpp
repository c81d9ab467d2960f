// The search structures: the Hilbert curve, the octree on it, the point index in front.
#include "tesk_octree/Octree.h"

#include "TaskPool.h"
#include "random.h"
#include "tesk_locate3/GSS_HC3.h"
#include "tesk_locate3/PointIndex3.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>

using namespace TESK_ZAN;

namespace
{

std::vector<Point3> randomPoints(size_t n, double size, std::uint64_t seed)
{
    Random random(seed);
    std::vector<Point3> v;
    for (size_t i = 0; i < n; ++i) {
        const double x = random.uniform() * size, y = random.uniform() * size;
        v.emplace_back(x, y, random.uniform() * size);
    }
    return v;
}

// Sets that break a tree that trusts its input: one place, a line, a lattice with repeats, clusters within
// clusters, an outlier that leaves one cell for all the others, coordinates at the ends of the range.
std::map<std::string, std::vector<Point3>> pointSets()
{
    std::map<std::string, std::vector<Point3>> m;
    m["none"] = {};
    m["one"] = {Point3(1, 2, 3)};
    m["cube"] = randomPoints(1500, 10.0, 1);
    m["one place"] = std::vector<Point3>(300, Point3(1, -2, 3));
    for (int i = 0; i < 500; ++i) {
        m["line"].emplace_back(0.01 * (i * 7 % 500), 1.0, 2.0);
        m["lattice"].emplace_back(i % 5, i / 5 % 5, i / 25 % 5);
        m["series"].emplace_back(std::ldexp(1.0, -2 * i), std::ldexp(i % 3, -2 * i), 0.0);
        m["zeros"].emplace_back(i % 2 == 0 ? 0.0 : -0.0, 0.0, i % 3 == 0 ? 1e-320 : 0.0);
    }
    m["outlier"] = randomPoints(500, 1.0, 2);
    m["outlier"].emplace_back(1e12, 0, 0);
    m["far ends"] = randomPoints(200, 1.0, 3);
    m["far ends"].emplace_back(1.7e308, -1.7e308, 0);
    m["far ends"].emplace_back(-1.7e308, 1.7e308, 1);
    return m;
}

double sqDist(const Point3& a, const Point3& b)
{
    const double dx = a.x() - b.x(), dy = a.y() - b.y(), dz = a.z() - b.z();
    return dx * dx + dy * dy + dz * dz;
}

std::vector<Point3> centresFor(const std::vector<Point3>& vPoints)
{
    std::vector<Point3> v = randomPoints(20, 10.0, 4);
    for (size_t i = 0; i < vPoints.size(); i += vPoints.size() / 20 + 1)
        v.push_back(vPoints[i]);
    return v;
}

} // namespace

TEST(GSS_HC3, curvePassesEachCellOnceFromNeighbourToNeighbour)
{
    constexpr u64 SIZE = 16;
    std::vector<std::array<int, 3>> vCells(SIZE * SIZE * SIZE, {-9, -9, -9});
    for (u64 x = 0; x < SIZE; ++x)
        for (u64 y = 0; y < SIZE; ++y)
            for (u64 z = 0; z < SIZE; ++z) {
                const u64 key = GSS_HC3::cellToKey(x, y, z, 4);
                ASSERT_LT(key, vCells.size());
                vCells[key] = {int(x), int(y), int(z)};
                // Octants are whole pieces at every level.
                EXPECT_EQ(GSS_HC3::cellToKey(x & ~1, y & ~1, z & ~1, 4) >> 3, key >> 3);
                EXPECT_EQ(GSS_HC3::cellToKey(x & ~3, y & ~3, z & ~3, 4) >> 6, key >> 6);
            }
    for (size_t i = 1; i < vCells.size(); ++i) {
        int steps = 0;
        for (size_t axis = 0; axis < 3; ++axis)
            steps += std::abs(vCells[i][axis] - vCells[i - 1][axis]);
        EXPECT_EQ(1, steps) << i;
    }
}

TEST(GSS_HC3, placesAreDefinedOutsideTheBoxAndForBoxesWithoutExtent)
{
    Box3 box;
    box.add(Point3(5, 5, 5));
    EXPECT_EQ(0u, GSS_HC3(box, 27).getKey(Point3(5, 5, 5)));
    box.add(Point3(6, 5, 5.5));
    const GSS_HC3 curve(box, 27);
    EXPECT_EQ(9, curve.getNumLevels());
    for (const double far : {-1e300, 5.0, 1e300, std::numeric_limits<double>::infinity()})
        EXPECT_LT(curve.getKey(Point3(far, 5, -far)), u64{1} << 27);
}

TEST(Octree, radiusQueryFindsWhatBruteForceFinds)
{
    for (const auto& [name, vPoints] : pointSets()) {
        PointIndex3<size_t> index;
        for (size_t i = 0; i < vPoints.size(); ++i)
            index.add(vPoints[i], i);
        index.build();
        std::vector<std::pair<double, size_t>> vHits;
        for (const Point3& centre : centresFor(vPoints))
            for (const double radius : {0.0, 0.01, 1.0, 3.0, 30.0, 1e155}) {
                std::vector<std::pair<double, size_t>> vExpected;
                for (size_t i = 0; i < vPoints.size(); ++i)
                    if (sqDist(centre, vPoints[i]) <= radius * radius)
                        vExpected.emplace_back(sqDist(vPoints[i], centre), i);
                index.getInRadius(centre, radius, vHits);
                std::sort(vHits.begin(), vHits.end());
                std::sort(vExpected.begin(), vExpected.end());
                ASSERT_EQ(vExpected, vHits) << name << ", radius " << radius;
            }
    }
}

TEST(Octree, nearestOtherPassesOverItsOwnLabelAndTakesTheFirstOfEquals)
{
    for (const auto& [name, vPoints] : pointSets()) {
        PointIndex3<size_t> index;
        for (size_t i = 0; i < vPoints.size(); ++i)
            index.add(vPoints[i], i, static_cast<std::uint32_t>(i % 7 == 0 ? 1 : 2 + i / 100));
        index.build();
        const auto isEven = [](double, size_t item) { return item % 2 == 0; };
        for (const Point3& centre : centresFor(vPoints))
            for (const std::uint32_t own : {1u, 2u, Octree::NO_LABEL}) {
                std::pair<double, size_t> expected(9.0, vPoints.size());
                for (size_t i = 0; i < vPoints.size(); i += 2) {
                    const double d = sqDist(vPoints[i], centre);
                    if ((i % 7 == 0 ? 1 : 2 + i / 100) != own &&
                        (d < expected.first || (d == 9.0 && expected.second == vPoints.size())))
                        expected = {d, i};
                }
                std::pair<double, size_t> nearest(9.0, vPoints.size());
                EXPECT_EQ(expected.second != vPoints.size(),
                          index.getNearestOther(centre, 9.0, own, isEven, nearest));
                ASSERT_EQ(expected, nearest) << name << ", label " << own;
            }
    }
}

TEST(Octree, orderOfHitsIsTheSameForAnyNumberOfThreads)
{
    const std::vector<Point3> vPoints = randomPoints(60000, 10.0, 5);
    std::vector<std::vector<size_t>> vvOrders;
    for (const int num : {1, 2, 8}) {
        setNumCPU(num);
        const Octree octree(vPoints);
        vvOrders.emplace_back();
        octree.forEachInRadius(Point3(5, 5, 5), 4.0,
                               [&](const Octree::Hit& hit) { vvOrders.back().push_back(hit.index); });
    }
    setNumCPU(0);
    EXPECT_GT(vvOrders[0].size(), 10000u);
    EXPECT_EQ(vvOrders[0], vvOrders[1]);
    EXPECT_EQ(vvOrders[0], vvOrders[2]);
}
