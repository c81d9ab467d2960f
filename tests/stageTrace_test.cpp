#include "stageTrace.h"

#include "helpers/captured.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <thread>
#include <vector>

using namespace TESK_ZAN;

TEST(stageTrace, recordsTheStagesOfItsOwnThreadInTheOrderOfTheirEnds)
{
    std::vector<StageRecord> vRecords;
    recordStages(&vRecords);
    {
        const StageTimer outer("outer");
        {
            const StageTimer inner("inner");
        }
        std::thread([] { const StageTimer elsewhere("elsewhere"); }).join();
    }
    recordStages(nullptr);
    {
        const StageTimer late("late");
    }
    ASSERT_EQ(2U, vRecords.size());
    EXPECT_EQ("inner", vRecords[0].name);
    EXPECT_EQ("outer", vRecords[1].name);
    EXPECT_GE(vRecords[0].seconds, 0.0);
    EXPECT_GE(vRecords[1].seconds, vRecords[0].seconds);
}

TEST(stageTraceDeathTest, writesOneLineOnlyWhenAskedTo)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe"); // a process of its own: the environment is read once
    EXPECT_EXIT(
        {
            setenv("ZAN_TRACE", "1", 1);
            {
                const StageTimer timer("XY_stage");
            }
            std::exit(0);
        },
        ::testing::ExitedWithCode(0), "^XY_stage [0-9.e+-]+\n$");
    EXPECT_EXIT(
        {
            setenv("ZAN_TRACE", "0", 1);
            {
                const StageTimer timer("XY_stage");
            }
            std::exit(0);
        },
        ::testing::ExitedWithCode(0), "^$");
}
