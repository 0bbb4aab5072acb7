#include <climits>

#include <gtest/gtest.h>

#include "KFramework/string/time_text.h"

using kf::string::time_text;

namespace
{
std::tm fields(int year, int month, int day, int hour, int minute, int second)
{
    std::tm local = {};
    local.tm_year = year - 1900;
    local.tm_mon = month - 1;
    local.tm_mday = day;
    local.tm_hour = hour;
    local.tm_min = minute;
    local.tm_sec = second;
    return local;
}

const std::tm kMarch = fields(2019, 3, 5, 13, 4, 9);
} // namespace

// KEPT[time-month-first]
TEST(TimeText, PutsTheMonthFirstInEveryMode)
{
    EXPECT_EQ(time_text(kMarch, 1), "03/05/2019");
    EXPECT_EQ(time_text(kMarch, 2), "03/05/2019 13:04:09");
    EXPECT_EQ(time_text(kMarch, 3), "03052019130409");
}

TEST(TimeText, GivesTheTimeOfDayInModeZero)
{
    EXPECT_EQ(time_text(kMarch, 0), "13:04:09");
    EXPECT_EQ(time_text(fields(2019, 1, 1, 0, 0, 0), 0), "00:00:00");
}

// KEPT[time-mode-default]
TEST(TimeText, TakesEveryUnknownModeForDateAndTime)
{
    for (const int mode : {-1, 4, 7, INT_MIN, INT_MAX})
        EXPECT_EQ(time_text(kMarch, mode), "03/05/2019 13:04:09") << mode;
}

TEST(TimeText, HasRoomForYearsOfFiveDigitsAndPadsShortOnes)
{
    EXPECT_EQ(time_text(fields(12345, 12, 31, 23, 59, 59), 2), "12/31/12345 23:59:59");
    EXPECT_EQ(time_text(fields(12345, 12, 31, 23, 59, 59), 3), "123112345235959");
    EXPECT_EQ(time_text(fields(12345, 12, 31, 23, 59, 59), 1), "12/31/12345");
    EXPECT_EQ(time_text(fields(987, 6, 1, 0, 0, 0), 1), "06/01/0987");
}

TEST(TimeText, HasRoomForEveryValueOfEveryField)
{
    std::tm local = {};
    local.tm_year = INT_MIN;
    local.tm_mon = local.tm_mday = local.tm_hour = local.tm_min = local.tm_sec = INT_MIN;
    local.tm_mon = INT_MIN + 5;
    local.tm_year = INT_MIN + 6;
    EXPECT_EQ(time_text(local, 2), "-2147483642/-2147483648/-2147481742 -2147483648:-2147483648:-2147483648");
}

TEST(TimeText, WritesFieldsOfZeroAsTheyAre)
{
    EXPECT_EQ(time_text(std::tm{}, 2), "01/00/1900 00:00:00");
}
