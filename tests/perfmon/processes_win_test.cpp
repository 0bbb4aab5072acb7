#include <atomic>
#include <list>
#include <map>
#include <memory>

#include <gtest/gtest.h>

#include "KFramework/perfmon.h"
#include "tests/perfmon/german_host_win.h"
#include "tests/perfmon/monitor_copy_win.h"
#include "tests/process/child_win.h"
#include "tests/support/deadline.h"

#include <psapi.h>
#include <tlhelp32.h>

using namespace kf::perfmon::test;
using namespace KFramework;
using kf::test::import_hook;
using kf::test::wait_until;

namespace
{
constexpr std::uint64_t kSecond = 10'000'000;
constexpr std::uint64_t kPrivate = 5'000'000'000;

std::atomic<std::uint64_t> looks{0};
std::uint64_t kernel_per_look = 0;
std::uint64_t user_per_look = 0;

/// Every look is a second later.
void WINAPI next_second(SYSTEMTIME* time)
{
    const std::uint64_t units = 130'000'000'000'000'000 + ++looks * kSecond;
    const FILETIME file_time{static_cast<DWORD>(units), static_cast<DWORD>(units >> 32)};
    ::FileTimeToSystemTime(&file_time, time);
}

FILETIME as_file_time(std::uint64_t units)
{
    return {static_cast<DWORD>(units), static_cast<DWORD>(units >> 32)};
}

BOOL WINAPI times_by_look(HANDLE process, FILETIME* created, FILETIME* ended, FILETIME* kernel,
                          FILETIME* user)
{
    const BOOL result = ::GetProcessTimes(process, created, ended, kernel, user);
    *kernel = as_file_time(looks * kernel_per_look);
    *user = as_file_time(looks * user_per_look);
    return result;
}

BOOL WINAPI stated_private_memory(HANDLE process, PROCESS_MEMORY_COUNTERS* counters, DWORD size)
{
    if (process == nullptr || size != sizeof(PROCESS_MEMORY_COUNTERS_EX) || counters->cb != size)
        return FALSE;
    reinterpret_cast<PROCESS_MEMORY_COUNTERS_EX*>(counters)->PrivateUsage = kPrivate;
    return TRUE;
}

/// The system gives a child a console program of its own, which may come and go: no process has children here.
BOOL WINAPI next_without_parent(HANDLE snapshot, PROCESSENTRY32W* entry)
{
    const BOOL result = ::Process32NextW(snapshot, entry);
    entry->th32ParentProcessID = 0;
    return result;
}

/// A monitor of processes whose times and memory are stated.
struct measured_processes
{
    measured_processes(std::uint64_t kernel, std::uint64_t user) : host(monitor)
    {
        kernel_per_look = kernel;
        user_per_look = user;
        looks = 0;
    }

    monitor_copy monitor;
    german_host host;
    import_hook<void WINAPI(SYSTEMTIME*)> clock{monitor.name(), "GetSystemTime", next_second};
    import_hook<BOOL WINAPI(HANDLE, FILETIME*, FILETIME*, FILETIME*, FILETIME*)> times{
        monitor.name(), "GetProcessTimes", times_by_look};
    import_hook<BOOL WINAPI(HANDLE, PROCESS_MEMORY_COUNTERS*, DWORD)> memory{
        monitor.name(), "K32GetProcessMemoryInfo", stated_private_memory};
    import_hook<BOOL WINAPI(HANDLE, PROCESSENTRY32W*)> rows{monitor.name(), "Process32NextW",
                                                            next_without_parent};
};
} // namespace

TEST(MonitoredProcess, HasItsPartOfAllProcessorsAndItsPrivateMemory)
{
    const kf::test::spawned_child child("copy_input", "");
    ASSERT_TRUE(child.started());
    const measured_processes measured(2'000'000, 500'000);
    measured.monitor.monitor_pid(3, child.process->processId);
    measured.monitor.start();
    ASSERT_TRUE(measured.monitor.wait_for_pauses(4));
    EXPECT_DOUBLE_EQ(measured.monitor.cpu_of(3), 25.0 / measured.monitor.processors());
    EXPECT_EQ(measured.monitor.ram_of(3), kPrivate);
}

// KEPT[cpu-delta-32-bits]
TEST(MonitoredProcess, CountsTheTimeBeyond32BitsAsNothing)
{
    const kf::test::spawned_child child("copy_input", "");
    ASSERT_TRUE(child.started());
    const measured_processes measured(0x1'0000'0000, 1'500'000);
    measured.monitor.monitor_pid(3, child.process->processId);
    measured.monitor.start();
    ASSERT_TRUE(measured.monitor.wait_for_pauses(4));
    EXPECT_DOUBLE_EQ(measured.monitor.cpu_of(3), 15.0 / measured.monitor.processors());
}

TEST(MonitoredProcess, IsNothingAfterItsEnd)
{
    auto child = std::make_unique<kf::test::spawned_child>("copy_input", "");
    ASSERT_TRUE(child->started());
    const measured_processes measured(2'000'000, 0);
    measured.monitor.start();
    measured.monitor.monitor_pid(3, child->process->processId);
    ASSERT_TRUE(wait_until([&] { return measured.monitor.cpu_of(3) > 0 && measured.monitor.ram_of(3) > 0; }));
    child.reset();
    EXPECT_TRUE(
        wait_until([&] { return measured.monitor.cpu_of(3) == 0 && measured.monitor.ram_of(3) == 0; }));
}

TEST(SetMonitoringProcessPid, SetsTheFiguresToNothing)
{
    const kf::test::spawned_child child("copy_input", "");
    ASSERT_TRUE(child.started());
    const measured_processes measured(2'000'000, 0);
    measured.monitor.monitor_pid(3, child.process->processId);
    measured.monitor.start();
    ASSERT_TRUE(wait_until([&] { return measured.monitor.cpu_of(3) > 0 && measured.monitor.ram_of(3) > 0; }));
    measured.monitor.stop();
    EXPECT_GT(measured.monitor.ram_of(3), 0u);
    measured.monitor.monitor_pid(3, child.process->processId);
    EXPECT_EQ(measured.monitor.cpu_of(3), 0.0);
    EXPECT_EQ(measured.monitor.ram_of(3), 0u);
}

TEST(FillPerformanceData, SumsThePrivateMemoryOfEveryInstance)
{
    const import_hook memory("K32GetProcessMemoryInfo", stated_private_memory);
    const unsigned long own = ::GetCurrentProcessId();
    std::map<int, std::list<unsigned long>> trees{{1, {own, own}}, {2, {}}, {-3, {own, 0xFFFFFFF0}}};
    KPerformanceMonitor::kPerformanceMonitorData data;
    data.ramByInstance[2] = 77;
    data.ramByInstance[9] = 88;
    KPerformanceMonitor::FillPerformanceData(&data, &trees);
    EXPECT_EQ(data.ramByInstance,
              (std::map<int, std::uint64_t>{{-3, kPrivate}, {1, 2 * kPrivate}, {2, 0}, {9, 88}}));
    EXPECT_GT(data.ramAmount, data.ramUsage);
    EXPECT_GT(data.swapAmount, data.swapUsage);
    EXPECT_EQ(data.processorCount, 0);
}

TEST(FillPerformanceData, TakesNullForEitherArgument)
{
    KPerformanceMonitor::FillPerformanceData(nullptr, nullptr);
    KPerformanceMonitor::kPerformanceMonitorData data;
    KPerformanceMonitor::FillPerformanceData(&data, nullptr);
    EXPECT_GT(data.ramAmount, 0u);
    EXPECT_TRUE(data.ramByInstance.empty());
}
