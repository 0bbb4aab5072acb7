#include "KFramework/logger/start_time.h"

#include <gtest/gtest.h>

namespace
{
using namespace kf::logger;

TEST(ParseStartTime, ReadsTheSixFields)
{
    const auto start = parse_start_time("03/05/2024 07:08:09 ");
    ASSERT_TRUE(start);
    EXPECT_EQ(start->tm_mon, 2);
    EXPECT_EQ(start->tm_mday, 5);
    EXPECT_EQ(start->tm_year, 124);
    EXPECT_EQ(start->tm_hour, 7);
    EXPECT_EQ(start->tm_min, 8);
    EXPECT_EQ(start->tm_sec, 9);
}

// KEPT[start-weekday]
TEST(ParseStartTime, LeavesTheDayOfTheWeekAtZero)
{
    const auto start = parse_start_time("03/05/2024 07:08:09 "); // a Tuesday
    ASSERT_TRUE(start);
    EXPECT_EQ(start->tm_wday, 0);
    EXPECT_EQ(start->tm_yday, 0);
}

// KEPT[start-needs-20-bytes]
TEST(ParseStartTime, NeedsExactlyTwentyBytes)
{
    EXPECT_FALSE(parse_start_time("03/05/2024 07:08:09"));
    EXPECT_FALSE(parse_start_time("03/05/2024 07:08:09 -"));
    EXPECT_FALSE(parse_start_time(""));
    EXPECT_TRUE(parse_start_time("03/05/2024 07:08:09x"));
}

TEST(ParseStartTime, NeedsAllSixFields)
{
    EXPECT_FALSE(parse_start_time("03/05/2024 07:08    "));
    EXPECT_FALSE(parse_start_time("03-05-2024 07:08:09 "));
    EXPECT_FALSE(parse_start_time("a line without stamp"));
    EXPECT_FALSE(parse_start_time(std::string_view("\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0", 20)));
}

TEST(ParseStartTime, TakesFieldsThatAreNarrowerThanTheirWidths)
{
    const auto start = parse_start_time("3/5/2024 7:8:9 - [IN");
    ASSERT_TRUE(start);
    EXPECT_EQ(start->tm_mon, 2);
    EXPECT_EQ(start->tm_sec, 9);
}

TEST(ParseStartTime, CutsEachFieldAtItsWidth)
{
    EXPECT_FALSE(parse_start_time("003/05/2024 07:08:09")); // the month is "00", then no slash follows
    EXPECT_FALSE(parse_start_time("03/05/20240 07:08:09"));
}

TEST(ParseStartTime, TakesNumbersThatNoCalendarHas)
{
    const auto start = parse_start_time("99/00/0000 99:99:99 ");
    ASSERT_TRUE(start);
    EXPECT_EQ(start->tm_mon, 98);
    EXPECT_EQ(start->tm_mday, 0);
    EXPECT_EQ(start->tm_year, -1900);
}
} // namespace
