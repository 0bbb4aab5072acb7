/// How much a pipe end is asked for, and how a reader waits.

#include "KFramework/process/read_plan.h"

#include <gtest/gtest.h>

using kf::process::bytes_to_read;
using kf::process::pause_plan;

TEST(BytesToRead, IsNothingForAnEmptyPipeOrNoRoom)
{
    EXPECT_EQ(bytes_to_read(0, 4), std::nullopt);
    EXPECT_EQ(bytes_to_read(4, 0), std::nullopt);
    EXPECT_EQ(bytes_to_read(0, 0), std::nullopt);
}

TEST(BytesToRead, LeavesRoomForATerminatorOnlyWhenMoreWaits)
{
    EXPECT_EQ(bytes_to_read(3, 4), 3u);
    EXPECT_EQ(bytes_to_read(4, 4), 4u);
    EXPECT_EQ(bytes_to_read(5, 4), 3u);
    EXPECT_EQ(bytes_to_read(10, 4), 3u);
    EXPECT_EQ(bytes_to_read(2, 1), 0u);
    EXPECT_EQ(bytes_to_read(UINT32_MAX, UINT32_MAX), UINT32_MAX);
}

TEST(PausePlan, AlwaysTakesTheLongestPauseWhenNotEager)
{
    pause_plan plan(false);
    plan.reset();
    EXPECT_EQ(plan.next(), 100u);
    EXPECT_EQ(plan.next(), 100u);
}

TEST(PausePlan, YieldsAfterDataThenBacksOffByOneFourAndHundred)
{
    pause_plan plan(true);
    EXPECT_EQ(plan.next(), 100u); // nothing has come yet
    for (int round = 0; round < 2; ++round)
    {
        plan.reset();
        std::uint32_t before = plan.next();
        EXPECT_EQ(before, 0u);
        std::uint32_t total = 0;
        std::uint32_t pause = before;
        while ((pause = plan.next()) != 100)
        {
            EXPECT_TRUE(pause == before || (before == 0 && pause == 1) || (before == 1 && pause == 4))
                << before << " then " << pause;
            before = pause;
            total += pause;
        }
        EXPECT_EQ(before, 4u);
        EXPECT_LE(total, 100u);
        EXPECT_EQ(plan.next(), 100u);
    }
}
