#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "tests/perfmon/german_host_win.h"
#include "tests/perfmon/monitor_copy_win.h"
#include "tests/support/deadline.h"

using namespace kf::perfmon::test;
using kf::test::wait_until;

namespace
{
BOOL WINAPI stated_memory(MEMORYSTATUSEX* memory)
{
    memory->ullTotalPhys = 1'000;
    memory->ullAvailPhys = 400;
    memory->ullTotalPageFile = 20'000;
    memory->ullAvailPageFile = 9'000;
    memory->ullTotalVirtual = 300'000;
    memory->ullAvailVirtual = 50'000;
    return memory->dwLength == sizeof *memory;
}

std::atomic<int> fillers{0};

/// Whoever starts the monitor stays here a while, so that another could start it too.
BOOL WINAPI memory_after_a_while(MEMORYSTATUSEX* memory)
{
    ++fillers;
    for (int i = 0; i < 50 && fillers < 2; ++i)
        ::Sleep(1);
    return ::GlobalMemoryStatusEx(memory);
}

std::uintptr_t __cdecl start_no_thread(void*, unsigned, unsigned(__stdcall*)(void*), void*, unsigned,
                                       unsigned*)
{
    return 0;
}

HANDLE WINAPI make_no_event(SECURITY_ATTRIBUTES*, BOOL, BOOL, const wchar_t*)
{
    return nullptr;
}

std::atomic<int> sleeps_of_a_second{0};

void WINAPI sleep_less(DWORD milliseconds)
{
    if (milliseconds == 1000)
        ++sleeps_of_a_second;
    ::Sleep(milliseconds == 1000 ? 5 : milliseconds);
}
} // namespace

// KEPT[devices-not-lazy]
TEST(Monitor, IsNotStartedByQueriesAboutInterfacesAndDisks)
{
    const monitor_copy monitor;
    const german_host host(monitor);
    expect_no_devices(monitor);
    monitor.monitor_pid(1, 2);
    EXPECT_EQ(monitor_copy::threads_started(), 0);
}

TEST(Monitor, IsStartedOnceByAnyLazyQuery)
{
    const std::vector<void (*)(const monitor_copy&)> queries{
        [](const monitor_copy& m) { m.cpu(0); },
        [](const monitor_copy& m) { m.cpu_of(0); },
        [](const monitor_copy& m) { m.ram_of(0); },
        [](const monitor_copy& m) { m.ram_amount(); },
        [](const monitor_copy& m) { m.ram_usage(); },
        [](const monitor_copy& m) { m.swap_amount(); },
        [](const monitor_copy& m) { m.swap_usage(); },
        [](const monitor_copy& m) { m.proc_report(0); },
        [](const monitor_copy& m) { m.ram_report(0); },
        [](const monitor_copy& m) { m.full_proc_report(0); },
        [](const monitor_copy& m) { m.full_ram_report(0); },
    };
    for (std::size_t i = 0; i < queries.size(); ++i)
    {
        const monitor_copy monitor;
        const german_host host(monitor);
        queries[i](monitor);
        EXPECT_EQ(monitor_copy::threads_started(), 1) << i;
        queries[i](monitor);
        monitor.start();
        EXPECT_EQ(monitor_copy::threads_started(), 1) << i;
    }
}

TEST(Monitor, IsStartedBeforeAReportCountsItsProcessors)
{
    const monitor_copy monitor;
    const german_host host(monitor);
    std::string expected;
    for (int number = 0; number < monitor.processors() + 1; ++number)
        expected += "0 ";
    EXPECT_EQ(monitor.full_proc_report(0), expected);
}

TEST(Monitor, StartsOneThreadForManyQueriesAtOnce)
{
    const monitor_copy monitor;
    const german_host host(monitor);
    const kf::test::import_hook memory(monitor.name(), "GlobalMemoryStatusEx", memory_after_a_while);
    fillers = 0;
    std::vector<std::thread> askers;
    for (int i = 0; i < 16; ++i)
        askers.emplace_back([&] { EXPECT_GT(monitor.ram_amount(), 0u); });
    for (std::thread& asker : askers)
        asker.join();
    EXPECT_EQ(monitor_copy::threads_started(), 1);
}

// KEPT[swap-is-address-space]
TEST(Monitor, HasTheMemoryFiguresAtOnceAndTakesSwapFromTheAddressSpace)
{
    const monitor_copy monitor;
    const german_host host(monitor);
    const kf::test::import_hook memory(monitor.name(), "GlobalMemoryStatusEx", stated_memory);
    EXPECT_EQ(monitor.ram_amount(), 1'000u);
    EXPECT_EQ(monitor.ram_usage(), 600u);
    EXPECT_EQ(monitor.swap_amount(), 300'000u);
    EXPECT_EQ(monitor.swap_usage(), 250'000u);
}

TEST(Monitor, KnowsNoCoreBelowTheFirstOrBehindTheLast)
{
    const monitor_copy monitor;
    const german_host host(monitor);
    EXPECT_EQ(monitor.cpu(0), 0.0);
    EXPECT_EQ(monitor.cpu(-1), 0.0);
    EXPECT_EQ(monitor.cpu(monitor.processors()), 0.0);
    EXPECT_EQ(monitor.cpu_of(99), 0.0);
    EXPECT_EQ(monitor.ram_of(99), 0u);
}

TEST(Monitor, TriesAgainWhenItsThreadCannotBeStarted)
{
    const monitor_copy monitor;
    const german_host host(monitor);
    {
        const kf::test::import_hook refused(monitor.name(), "_beginthreadex", start_no_thread);
        EXPECT_GT(monitor.ram_amount(), 0u);
        EXPECT_EQ(monitor.cpu(0), 0.0);
        expect_no_devices(monitor);
    }
    monitor.start();
    EXPECT_EQ(monitor_copy::threads_started(), 1);
    EXPECT_TRUE(monitor.wait_for_pauses(2));
}

TEST(Monitor, SleepsWhereThereIsNoEventToWaitFor)
{
    const monitor_copy monitor;
    const german_host host(monitor);
    const kf::test::import_hook no_event(monitor.name(), "CreateEventW", make_no_event);
    const kf::test::import_hook sleeping(monitor.name(), "Sleep", sleep_less);
    sleeps_of_a_second = 0;
    monitor.start();
    EXPECT_TRUE(wait_until([] { return sleeps_of_a_second >= 4; }));
    monitor.stop();
    EXPECT_EQ(german_host::count("close"), 1);
    EXPECT_LE(german_host::count("collect"), sleeps_of_a_second + 1);
}

TEST(MonitorOnThisHost, SamplesWhatItsCountersOffer)
{
    const monitor_copy monitor;
    EXPECT_GT(monitor.ram_amount(), monitor.ram_usage());
    EXPECT_GT(monitor.swap_amount(), monitor.swap_usage());
    ASSERT_TRUE(monitor.wait_for_pauses(3));
    for (int core = 0; core < monitor.processors(); ++core)
    {
        EXPECT_GE(monitor.cpu(core), 0.0);
        EXPECT_LE(monitor.cpu(core), 100.0);
    }
    for (std::uint64_t i = 0; i < monitor.nics(); ++i)
        EXPECT_NE(monitor.nic_name(i), "");
    for (std::uint64_t i = 0; i < monitor.disks(); ++i)
        EXPECT_NE(monitor.disk_name(i), "_Total");
}
