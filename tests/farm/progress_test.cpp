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
    const std::string table =
        farm::summary_table({{"ada", 14, 0, 0, false}, {"bob", 9, 1, 1, true}}, {24, 23, 1, 0, 75.2}, 2);
    EXPECT_EQ(table, "worker                                    done  failed  lost\n"
                     "ada                                         14       0     0\n"
                     "bob                                          9       1     1  (left early)\n"
                     "23 of 24 frames in 01:15, 2 tried again, 1 abandoned\n");
}
