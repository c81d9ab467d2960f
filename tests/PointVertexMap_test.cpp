#include "PointVertexMap.h"

#include "Point3.h"
#include "random.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <vector>

using namespace TESK_ZAN;

TEST(PointVertexMap, finds_exactly_what_a_set_would_through_growth_and_erasure)
{
    Random random(3);
    std::vector<Point3> vPoints;
    for (int i = 0; i < 2000; ++i) // few coordinates: clusters of equal tags, and repetitions
        vPoints.emplace_back(double(random.below(15)), double(random.below(15)), double(random.below(15)));
    const auto key = [](const Point3& p) { return std::vector<double>{p.x(), p.y(), p.z()}; };

    PointVertexMap map;
    std::map<std::vector<double>, Point3*> mTwin;
    for (int round = 0; round < 3; ++round) {
        for (Point3& p : vPoints) {
            ASSERT_EQ(map.insert(&p), mTwin.emplace(key(p), &p).second);
            Point3& doomed = vPoints[random.below(std::uint32_t(vPoints.size()))];
            if (random.below(3) != 0)
                continue;
            const auto found = mTwin.find(key(doomed));
            const bool bHas = found != mTwin.end() && found->second == &doomed;
            ASSERT_EQ(map.erase(&doomed), bHas);
            if (bHas)
                mTwin.erase(found);
        }
        map.reserve(map.size() * 2);
        ASSERT_EQ(map.size(), mTwin.size());
        for (const Point3& p : vPoints) {
            const auto found = mTwin.find(key(p));
            ASSERT_EQ(map.find(p), found == mTwin.end() ? nullptr : found->second);
        }
    }
    EXPECT_EQ(map.find(Point3(0.5, 0.0, 0.0)), nullptr);
}
