#include <climits>
#include <ctime>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "KFramework/core.h"
#include "KFramework/string.h"

using KFramework::KStringHelper::FormatTime;

namespace
{
struct initialized_library
{
    initialized_library() { KFramework::InitializeLibrary(nullptr); }
    ~initialized_library() { KFramework::ShutdownLibrary(); }
    initialized_library(const initialized_library&) = delete;
    initialized_library& operator=(const initialized_library&) = delete;
};

/// The moment at which a clock on this machine's wall shows these fields.
long long local_moment(int year, int month, int day, int hour, int minute, int second)
{
    std::tm local = {};
    local.tm_year = year - 1900;
    local.tm_mon = month - 1;
    local.tm_mday = day;
    local.tm_hour = hour;
    local.tm_min = minute;
    local.tm_sec = second;
    local.tm_isdst = -1;
    return ::_mktime64(&local);
}
} // namespace

// KEPT[time-month-first]
TEST(FormatTime, PutsTheMonthFirst)
{
    const initialized_library library;
    const long long moment = local_moment(2019, 3, 5, 13, 4, 9);
    EXPECT_EQ(FormatTime(moment, 0), "13:04:09");
    EXPECT_EQ(FormatTime(moment, 1), "03/05/2019");
    EXPECT_EQ(FormatTime(moment, 2), "03/05/2019 13:04:09");
    EXPECT_EQ(FormatTime(moment, 3), "03052019130409");
}

// KEPT[time-mode-default]
TEST(FormatTime, TakesModeSevenForModeTwo)
{
    const initialized_library library;
    const long long moment = local_moment(2001, 12, 31, 23, 59, 59);
    EXPECT_EQ(FormatTime(moment, 7), "12/31/2001 23:59:59");
    EXPECT_EQ(FormatTime(moment, 7), FormatTime(moment, 2));
    EXPECT_EQ(FormatTime(moment, -1), FormatTime(moment, 2));
}

TEST(FormatTime, WritesTheFieldsOfZeroOfATimeThatHasNone)
{
    const initialized_library library;
    EXPECT_EQ(FormatTime(-1, 2), "01/00/1900 00:00:00");
    EXPECT_EQ(FormatTime(LLONG_MIN, 0), "00:00:00");
    EXPECT_EQ(FormatTime(LLONG_MAX, 3), "01001900000000");
}

TEST(FormatTime, WritesYearsOfFiveDigitsWhereTheSystemKnowsThem)
{
    const initialized_library library;
    long long moment = 300'000'000'000; // in the year 11476
    std::tm local = {};
    KFramework::LocalTime_R(&moment, &local);
    if (local.tm_year == 0)
        EXPECT_EQ(FormatTime(moment, 1), "01/00/1900");
    else
        EXPECT_EQ(FormatTime(moment, 1).substr(5), "/11476");
}

TEST(FormatTime, KeepsFourThreadsApart)
{
    const initialized_library library;
    std::vector<std::thread> threads;
    std::vector<int> wrong(4);
    for (int id = 0; id < 4; ++id)
        threads.emplace_back(
            [id, &wrong]
            {
                const long long moment = local_moment(2000 + id, 1 + id, 1 + id, id, id, id);
                const std::string two = "0" + std::to_string(id);
                const std::string next = "0" + std::to_string(id + 1);
                const std::string expected = next + next + "200" + std::to_string(id) + two + two + two;
                for (int i = 0; i < 2'000; ++i)
                    wrong[static_cast<std::size_t>(id)] += FormatTime(moment, 3) != expected;
            });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(wrong, std::vector<int>(4));
}
