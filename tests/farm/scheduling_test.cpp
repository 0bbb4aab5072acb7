#include "scheduling.h"

#include <gtest/gtest.h>

TEST(PriorityLevel, KnowsThreeNames)
{
    EXPECT_EQ(farm::priority_level("idle"), 1);
    EXPECT_EQ(farm::priority_level("normal"), 2);
    EXPECT_EQ(farm::priority_level("high"), 3);
    for (const char* const wrong : {"", "Idle", "realtime", "2", "normal "})
    {
        EXPECT_FALSE(farm::priority_level(wrong)) << wrong;
        EXPECT_EQ(farm::wrong_priority(wrong),
                  "the priority must be idle, normal or high, not \"" + std::string(wrong) + "\"");
    }
    EXPECT_EQ(farm::wrong_priority("idle"), "");
}

TEST(ProcessorMask, ReadsNumbersAndRanges)
{
    EXPECT_EQ(farm::processor_mask("all"), 0U);
    EXPECT_EQ(farm::processor_mask("0"), 1U);
    EXPECT_EQ(farm::processor_mask("0-3,6"), 0x4FU);
    EXPECT_EQ(farm::processor_mask("6, 0 - 3 ,6"), 0x4FU);
    EXPECT_EQ(farm::processor_mask("63"), 1ULL << 63);
    EXPECT_EQ(farm::processor_mask("0-63"), ~0ULL);
}

TEST(ProcessorMask, RefusesEverythingElse)
{
    for (const char* const wrong : {"", " ", ",", "0,", ",0", "0,,1", "64", "-1", "3-0", "0-64", "0-", "1 2",
                                    "x", "All", "0-1-2", "+1"})
    {
        EXPECT_FALSE(farm::processor_mask(wrong)) << wrong;
        EXPECT_EQ(farm::wrong_processors(wrong),
                  "the processors must be all or a list like 0-3,6, not \"" + std::string(wrong) + "\"");
    }
    EXPECT_EQ(farm::wrong_processors("0"), "");
}

TEST(LackingProcessors, TellsWhenAMachineHasFewer)
{
    EXPECT_EQ(farm::lacking_processors(0, 1), "");
    EXPECT_EQ(farm::lacking_processors(0xF, 4), "");
    EXPECT_EQ(farm::lacking_processors(0x10, 4), "this machine has no processor but 0 to 3");
    EXPECT_EQ(farm::lacking_processors(2, 1), "this machine has no processor but 0");
    EXPECT_EQ(farm::lacking_processors(~0ULL, 64), "");
    EXPECT_EQ(farm::lacking_processors(~0ULL, 128), "");
    EXPECT_NE(farm::lacking_processors(~0ULL, 63), "");
}
