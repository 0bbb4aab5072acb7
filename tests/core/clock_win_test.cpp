#include <atomic>
#include <chrono>
#include <cstring>
#include <ctime>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "KFramework/core.h"
#include "KFramework/platform/windows_win.h"
#include "tests/support/deadline.h"
#include "tests/support/import_hook_win.h"

using namespace KFramework;

namespace
{

/// Longer than any call here takes when nothing blocks it.
constexpr std::chrono::milliseconds kStillBlocked{100};

std::atomic<long long> clock_seconds{0};

__time64_t give_clock(__time64_t* out)
{
    if (out != nullptr)
        *out = clock_seconds;
    return clock_seconds;
}

class ServerTime : public testing::Test
{
protected:
    ServerTime() : hook_("_time64", &give_clock) {}
    ~ServerTime() override { clock_seconds = 1700000000; }

private:
    kf::test::import_hook<__time64_t(__time64_t*)> hook_;
};

/// Runs a call on another thread while this one holds the global mutex.
///
/// @return  whether it was through only after the mutex was given up.
template <class Call>
bool waits_for_the_global_mutex(Call call)
{
    LockGlobalMutex();
    std::atomic<bool> through{false};
    std::thread other(
        [&]
        {
            call();
            through = true;
        });
    std::this_thread::sleep_for(kStillBlocked);
    const bool waited = !through;
    UnlockGlobalMutex();
    other.join();
    return waited;
}

} // namespace

TEST_F(ServerTime, IsTheStoredOneHoweverMuchTimePasses)
{
    clock_seconds = 1000;
    InitializeLibrary(nullptr);
    EXPECT_EQ(GetServerTime(), 1000);
    clock_seconds = 999999;
    EXPECT_EQ(GetServerTime(), 1000);
    UpdateServerTime();
    EXPECT_EQ(GetServerTime(), 999999);
    clock_seconds = 5;
    EXPECT_EQ(GetServerTime(), 999999);
    UpdateServerTime();
    EXPECT_EQ(GetServerTime(), 5) << "time may go back";
}

TEST_F(ServerTime, HoldsMoreThanThirtyTwoBits)
{
    clock_seconds = 0x123456789A;
    InitializeLibrary(nullptr);
    EXPECT_EQ(GetServerTime(), 0x123456789A);
}

// KEPT[live-clock-not-stored]
TEST_F(ServerTime, IsTheLiveClockAndNotStoredWhileNothingIsStored)
{
    clock_seconds = 0;
    InitializeLibrary(nullptr);
    clock_seconds = 5000;
    EXPECT_EQ(GetServerTime(), 5000);
    clock_seconds = 6000;
    EXPECT_EQ(GetServerTime(), 6000);
}

TEST(InitializeLibrary, StoresTheCurrentTime)
{
    const long long before = std::time(nullptr);
    InitializeLibrary(nullptr);
    EXPECT_GE(GetServerTime(), before);
    EXPECT_LE(GetServerTime(), std::time(nullptr));
}

TEST(LockGlobalMutex, KeepsTheTimeFunctionsWaiting)
{
    InitializeLibrary(nullptr);
    EXPECT_TRUE(waits_for_the_global_mutex([] { GetServerTime(); }));
    EXPECT_TRUE(waits_for_the_global_mutex([] { UpdateServerTime(); }));
    EXPECT_TRUE(waits_for_the_global_mutex(
        []
        {
            LockGlobalMutex();
            UnlockGlobalMutex();
        }));
    EXPECT_TRUE(waits_for_the_global_mutex(
        []
        {
            long long t = 1;
            tm fields;
            LocalTime_R(&t, &fields);
        }));
    EXPECT_FALSE(waits_for_the_global_mutex([] { GetProgressiveSeed(); }));
}

// KEPT[add-64-locked]
TEST(AtomicAdd64, WaitsForTheGlobalMutexUnlikeAtomicAdd32)
{
    InitializeLibrary(nullptr);
    alignas(8) unsigned long long counter = 0;
    EXPECT_TRUE(waits_for_the_global_mutex([&] { AtomicAdd64(&counter, 1); }));
    EXPECT_TRUE(waits_for_the_global_mutex([&] { AtomicSubtract64(&counter, 1); }));
    EXPECT_TRUE(waits_for_the_global_mutex([&] { AtomicIncrement64(&counter); }));
    EXPECT_TRUE(waits_for_the_global_mutex([&] { AtomicDecrement64(&counter); }));
    EXPECT_FALSE(waits_for_the_global_mutex([&] { AtomicAdd32(&counter, 1); }));
}

// KEPT[micro-sleep-unit]
TEST(MicroSleep, SleepsMilliseconds)
{
    const auto before = std::chrono::steady_clock::now();
    MicroSleep(1000);
    const auto slept = std::chrono::steady_clock::now() - before;
    EXPECT_GE(slept, std::chrono::milliseconds(1000));
    EXPECT_LE(slept, kf::test::kDeadline);
}

namespace
{

DWORD slept_ms = 0;

void WINAPI note_sleep(DWORD milliseconds)
{
    slept_ms = milliseconds;
}

} // namespace

TEST(MicroSleep, PassesEveryNumberOn)
{
    const kf::test::import_hook hook("Sleep", &note_sleep);
    MicroSleep(0);
    EXPECT_EQ(slept_ms, 0u);
    MicroSleep(1000);
    EXPECT_EQ(slept_ms, 1000u);
    MicroSleep(-1);
    EXPECT_EQ(slept_ms, INFINITE);
}

TEST(LocalTime_R, FillsTheNineFields)
{
    InitializeLibrary(nullptr);
    long long t = 1700000000; // the test run's time zone is UTC
    tm fields;
    std::memset(&fields, 0x55, sizeof fields);
    LocalTime_R(&t, &fields);
    EXPECT_EQ(fields.tm_year, 123);
    EXPECT_EQ(fields.tm_mon, 10);
    EXPECT_EQ(fields.tm_mday, 14);
    EXPECT_EQ(fields.tm_hour, 22);
    EXPECT_EQ(fields.tm_min, 13);
    EXPECT_EQ(fields.tm_sec, 20);
    EXPECT_EQ(fields.tm_wday, 2);
    EXPECT_EQ(fields.tm_yday, 317);
    EXPECT_EQ(fields.tm_isdst, 0);
}

TEST(LocalTime_R, ClearsTheFieldsOfATimeThatHasNone)
{
    InitializeLibrary(nullptr);
    long long t = -1;
    tm fields;
    std::memset(&fields, 0x55, sizeof fields);
    LocalTime_R(&t, &fields);
    const tm none = {};
    EXPECT_EQ(std::memcmp(&fields, &none, sizeof fields), 0);
}

TEST(LocalTime_R, KeepsEightThreadsApart)
{
    InitializeLibrary(nullptr);
    std::atomic<unsigned> wrong{0};
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 8; ++thread)
        threads.emplace_back(
            [&wrong, thread]
            {
                for (int i = 0; i < 2000; ++i)
                {
                    long long t = 86400LL * thread + i;
                    tm fields;
                    LocalTime_R(&t, &fields);
                    if (fields.tm_sec != i % 60 || fields.tm_min != i / 60 % 60 || fields.tm_yday != thread)
                        ++wrong;
                }
            });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(wrong, 0u);
}
