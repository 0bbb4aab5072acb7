#include <climits>

#include <gtest/gtest.h>

#include "KFramework/string.h"

using KFramework::KStringHelper::FormatTimespan;

TEST(FormatTimespan, GivesDaysHoursMinutesAndSeconds)
{
    EXPECT_EQ(FormatTimespan(59), "0 days, 0 hours, 0 mins, 59 secs");
    EXPECT_EQ(FormatTimespan(60), "0 days, 0 hours, 1 mins, 0 secs");
    EXPECT_EQ(FormatTimespan(3'599), "0 days, 0 hours, 59 mins, 59 secs");
    EXPECT_EQ(FormatTimespan(86'399), "0 days, 23 hours, 59 mins, 59 secs");
    EXPECT_EQ(FormatTimespan(86'400), "1 days, 0 hours, 0 mins, 0 secs");
    EXPECT_EQ(FormatTimespan(1'000'000), "11 days, 13 hours, 46 mins, 40 secs");
}

// KEPT[timespan-one-form]
TEST(FormatTimespan, HasNoSingularAndKeepsZeroParts)
{
    EXPECT_EQ(FormatTimespan(90'061), "1 days, 1 hours, 1 mins, 1 secs");
    EXPECT_EQ(FormatTimespan(0), "0 days, 0 hours, 0 mins, 0 secs");
}

TEST(FormatTimespan, IsEmptyForANegativeDuration)
{
    EXPECT_EQ(FormatTimespan(-1), "");
    EXPECT_EQ(FormatTimespan(LLONG_MIN), "");
}

// KEPT[timespan-days-low-bits]
TEST(FormatTimespan, WritesTheLowThirtyTwoBitsOfTheDays)
{
    EXPECT_EQ(FormatTimespan(86'400LL * 4'294'967'295LL), "4294967295 days, 0 hours, 0 mins, 0 secs");
    EXPECT_EQ(FormatTimespan(86'400LL * 4'294'967'297LL + 3'661), "1 days, 1 hours, 1 mins, 1 secs");
    // 106,751,991,167,300 days, of which 24,855 times 2^32 go.
    EXPECT_EQ(FormatTimespan(LLONG_MAX), "579025220 days, 15 hours, 30 mins, 7 secs");
}
