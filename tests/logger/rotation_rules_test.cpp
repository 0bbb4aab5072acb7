#include "KFramework/logger/rotation_rules.h"

#include <gtest/gtest.h>

namespace
{
using namespace kf::logger;

struct calendar
{
    int month, day, year, hour, weekday;
};

std::tm at(calendar when)
{
    std::tm time{};
    time.tm_mon = when.month - 1;
    time.tm_mday = when.day;
    time.tm_year = when.year - 1900;
    time.tm_hour = when.hour;
    time.tm_wday = when.weekday;
    return time;
}

constexpr calendar kTuesday{3, 5, 2024, 7, 2};

TEST(RotationDue, IsNeverSoWithinThePeriod)
{
    std::tm later = at(kTuesday);
    later.tm_min = 59;
    later.tm_sec = 59;
    for (const int mode : {-1, 0, 1, 2, 3, 4, 99})
        EXPECT_FALSE(rotation_due(mode, at(kTuesday), later)) << mode;
}

TEST(RotationDue, LooksAtTheFieldsOfTheMode)
{
    const calendar next_hour{3, 5, 2024, 8, 2};
    const calendar next_day{3, 6, 2024, 7, 3};
    const calendar next_month{4, 2, 2024, 7, 2};
    const calendar next_year{3, 5, 2025, 7, 2};
    const struct
    {
        calendar now;
        bool hourly, daily, monthly;
    } rows[] = {{next_hour, true, false, false},
                {next_day, true, true, false},
                {next_month, true, true, true},
                {next_year, true, true, true}};
    for (const auto& row : rows)
    {
        EXPECT_EQ(rotation_due(kHourly, at(kTuesday), at(row.now)), row.hourly);
        EXPECT_EQ(rotation_due(kDaily, at(kTuesday), at(row.now)), row.daily);
        EXPECT_EQ(rotation_due(kMonthly, at(kTuesday), at(row.now)), row.monthly);
        for (const int never : {-1, 0, 4, 99})
            EXPECT_FALSE(rotation_due(never, at(kTuesday), at(row.now)));
    }
}

TEST(RotationDue, IsSoWhenTheClockWentBackIntoAnotherPeriod)
{
    EXPECT_TRUE(rotation_due(kHourly, at(kTuesday), at({3, 5, 2024, 6, 2})));
    EXPECT_TRUE(rotation_due(kDaily, at(kTuesday), at({3, 4, 2024, 7, 1})));
}

// KEPT[hourly-weekday]
TEST(RotationDue, TakesTheSameHourAWeekLaterForTheSamePeriodWhenHourly)
{
    EXPECT_FALSE(rotation_due(kHourly, at({3, 4, 2024, 10, 1}), at({3, 11, 2024, 10, 1})));
    EXPECT_TRUE(rotation_due(kHourly, at({3, 4, 2024, 10, 0}), at({3, 4, 2024, 10, 1})));
    EXPECT_TRUE(rotation_due(kHourly, at({3, 25, 2024, 10, 1}), at({4, 1, 2024, 10, 1})));
}

// KEPT[period-that-ends]
TEST(RotationSuffix, HoldsTheFieldsOfTheStart)
{
    EXPECT_EQ(rotation_suffix(kHourly, at(kTuesday)), "03.05.2024.07");
    EXPECT_EQ(rotation_suffix(kDaily, at(kTuesday)), "03.05.2024");
    EXPECT_EQ(rotation_suffix(kMonthly, at(kTuesday)), "03.2024");
    EXPECT_EQ(rotation_suffix(kDaily, at({12, 31, 2024, 23, 2})), "12.31.2024");
    EXPECT_EQ(rotation_suffix(kNoRotation, at(kTuesday)), "");
}

TEST(RotationSuffix, HoldsNumbersThatNoCalendarHas)
{
    std::tm start = at({99, -9, 0, 99, 0});
    EXPECT_EQ(rotation_suffix(kHourly, start), "99.-9.0000.99");
    start.tm_mon = -2147483647 - 1;
    EXPECT_EQ(rotation_suffix(kMonthly, start), "-2147483647.0000");
}

TEST(RotatedName, IsFolderTimeSuffixAndFile)
{
    EXPECT_EQ(rotated_name("C:\\logs", 1709683200, "03.05.2024", "default.log"),
              "C:\\logs\\1709683200.03.05.2024.default.log");
    EXPECT_EQ(rotated_name("", -1, "", "x"), "\\-1..x");
    EXPECT_EQ(rotated_name("l", 9'000'000'000, "s", "f"), "l\\9000000000.s.f");
}
} // namespace
