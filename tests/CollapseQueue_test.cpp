#include "CollapseQueue.h"

#include "random.h"

#include <gtest/gtest.h>

#include <map>

using TESK_ZAN::CollapseQueue;
using TESK_ZAN::Random;

// Many equal penalties, batches of all sizes, and so few numbers that they are used up again and again.
TEST(CollapseQueue, GivesTheOrderOfAMultimapThroughMergesAndRenumbering)
{
    for (const std::uint32_t maxSequence : {1000u, 4000u, 1000000u}) {
        Random random(maxSequence);
        CollapseQueue queue(maxSequence);
        std::multimap<double, std::uint32_t> mmTwin;
        std::uint32_t slot = 0;
        for (int round = 0; round < 3000; ++round) {
            if (random.below(20) == 0 && queue.size() < 500) {
                std::vector<CollapseQueue::Entry> vNew(random.below(400));
                for (CollapseQueue::Entry& entry : vNew) {
                    entry = {double(random.below(10)), slot++, 77};
                    mmTwin.emplace(entry.penalty, entry.slot);
                }
                queue.insert(std::move(vNew));
            } else if (random.below(3) == 0) {
                const double penalty = random.below(10);
                mmTwin.emplace(penalty, slot);
                queue.push(penalty, slot++);
            }
            ASSERT_EQ(queue.size(), mmTwin.size());
            for (std::uint32_t i = random.below(30); i > 0 && !queue.empty(); --i) {
                EXPECT_EQ(queue.top().slot, mmTwin.begin()->second);
                EXPECT_EQ(queue.pop().slot, mmTwin.begin()->second);
                mmTwin.erase(mmTwin.begin());
            }
        }
    }
}
