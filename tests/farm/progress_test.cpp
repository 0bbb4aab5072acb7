#include "progress.h"

#include <gtest/gtest.h>

TEST(ProgressLine, ShowsFramesRateWorkersAndTheTimeLeft)
{
    EXPECT_EQ(farm::progress_line({24, 6, 0, 2, 4.0}),
              "[#######.......................]  6/24 frames  1.5/s  2 workers  00:12 left");
}

TEST(ProgressLine, KnowsNoTimeLeftBeforeTheFirstFrame)
{
    EXPECT_EQ(farm::progress_line({24, 0, 0, 1, 3.0}),
              "[..............................]  0/24 frames  0.0/s  1 worker  --:-- left");
}

TEST(ProgressLine, FillsTheBarWithAbandonedFramesToo)
{
    EXPECT_EQ(farm::progress_line({4, 3, 1, 2, 6.0}),
              "[##############################]  3/4 frames  0.5/s  2 workers  00:00 left");
}

TEST(SummaryTable, GivesALineForEachWorkerAndTheWhole)
{
    const std::string table = farm::summary_table(
        {{"ada", 14, 0, 0, false, farm::load{45, 3ULL << 30, 8ULL << 30}}, {"bob", 9, 1, 1, true}},
        {24, 23, 1, 0, 75.2}, 2);
    EXPECT_EQ(table, "worker  done  failed  lost  processor           memory\n"
                     "ada       14       0     0        45%      3.0/8.0 GiB\n"
                     "bob        9       1     1          -                -  (left early)\n"
                     "23 of 24 frames in 01:15, 2 tried again, 1 abandoned\n");
}

TEST(WorkerTable, MakesRoomForTheLongestName)
{
    const farm::load most{100, 1ULL << 50, 1ULL << 50};
    const std::string name(40, 'n');
    EXPECT_EQ(farm::worker_table({{name, 99999, 99999, 99999, true, most}}),
              "worker" + std::string(34, ' ') + "  done  failed  lost  processor           memory\n" + name +
                  "  99999   99999  99999       100%  1048576.0/1048576.0 GiB  (left early)\n");
    EXPECT_EQ(farm::worker_table({}), "worker  done  failed  lost  processor           memory\n");
}
