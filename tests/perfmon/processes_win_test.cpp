#include <atomic>
#include <memory>
#include <mutex>
#include <set>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "tests/perfmon/german_host_win.h"
#include "tests/perfmon/monitor_copy_win.h"
#include "tests/process/child_win.h"
#include "tests/support/deadline.h"

#include <psapi.h>
#include <tlhelp32.h>

using namespace kf::perfmon::test;
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

std::atomic<unsigned long> stated_child{0}, stated_parent{0};

/// The system gives a child a console program of its own, which may come and go: no process has children here but
/// the stated parent.
BOOL WINAPI next_with_stated_parent(HANDLE snapshot, PROCESSENTRY32W* entry)
{
    const BOOL result = ::Process32NextW(snapshot, entry);
    entry->th32ParentProcessID = entry->th32ProcessID == stated_child ? stated_parent.load() : 0;
    return result;
}

/// A monitor of processes whose times and memory are stated.
struct measured_processes
{
    measured_processes(std::uint64_t kernel, std::uint64_t user, host_traits traits = {})
        : host(monitor, std::move(traits))
    {
        stated_child = stated_parent = 0;
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
                                                            next_with_stated_parent};
};

std::mutex handles_mutex;
std::set<HANDLE> open_processes; // guarded by handles_mutex
int processes_opened = 0;        // guarded by handles_mutex

HANDLE WINAPI note_opened(DWORD rights, BOOL inherit, DWORD pid)
{
    const std::lock_guard lock(handles_mutex);
    HANDLE const process = ::OpenProcess(rights, inherit, pid);
    if (process != nullptr)
    {
        open_processes.insert(process);
        ++processes_opened;
    }
    return process;
}

BOOL WINAPI note_closed(HANDLE handle)
{
    const std::lock_guard lock(handles_mutex);
    open_processes.erase(handle);
    return ::CloseHandle(handle);
}

std::string three_digits(double value)
{
    std::ostringstream text;
    text.precision(3);
    text << value;
    return text.str();
}
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

TEST(MonitoredProcess, CountsWithTheProcessesBelowIt)
{
    const kf::test::spawned_child parent("copy_input", ""), child("copy_input", "");
    ASSERT_TRUE(parent.started() && child.started());
    const measured_processes measured(2'000'000, 500'000);
    stated_parent = parent.process->processId;
    stated_child = child.process->processId;
    measured.monitor.monitor_pid(3, parent.process->processId);
    measured.monitor.monitor_pid(4, child.process->processId);
    measured.monitor.start();
    ASSERT_TRUE(measured.monitor.wait_for_pauses(4));
    EXPECT_DOUBLE_EQ(measured.monitor.cpu_of(3), 50.0 / measured.monitor.processors());
    EXPECT_EQ(measured.monitor.ram_of(3), 2 * kPrivate);
    EXPECT_DOUBLE_EQ(measured.monitor.cpu_of(4), 25.0 / measured.monitor.processors());
    EXPECT_EQ(measured.monitor.ram_of(4), kPrivate);
}

TEST(MonitoredProcess, StandsInTheReports)
{
    const kf::test::spawned_child child("copy_input", "");
    ASSERT_TRUE(child.started());
    const measured_processes measured(2'000'000, 500'000);
    const monitor_copy& monitor = measured.monitor;
    monitor.monitor_pid(3, child.process->processId);
    monitor.start();
    ASSERT_TRUE(monitor.wait_for_pauses(4));
    const std::string cpu = three_digits(25.0 / monitor.processors()), ram = " 5000000000";
    EXPECT_EQ(monitor.proc_report(3), cpu);
    EXPECT_EQ(monitor.ram_report(3), std::to_string(monitor.ram_amount()) + ram);
    EXPECT_TRUE(monitor.full_proc_report(3).ends_with(" " + cpu + " ")) << monitor.full_proc_report(3);
    EXPECT_TRUE(monitor.full_ram_report(3).ends_with(ram)) << monitor.full_ram_report(3);
}

TEST(MonitoredProcess, IsMeasuredWithoutAQueryOfCounters)
{
    const kf::test::spawned_child child("copy_input", "");
    ASSERT_TRUE(child.started());
    host_traits traits;
    traits.opens = false;
    const measured_processes measured(2'000'000, 500'000, traits);
    measured.monitor.monitor_pid(3, child.process->processId);
    measured.monitor.start();
    ASSERT_TRUE(measured.monitor.wait_for_pauses(4));
    EXPECT_DOUBLE_EQ(measured.monitor.cpu_of(3), 25.0 / measured.monitor.processors());
    EXPECT_EQ(measured.monitor.ram_of(3), kPrivate);
}

TEST(MonitoredProcess, HasItsMemoryAloneWhileCollectionsFail)
{
    const kf::test::spawned_child child("copy_input", "");
    ASSERT_TRUE(child.started());
    host_traits traits;
    traits.failing_collections = 1'000'000;
    const measured_processes measured(2'000'000, 500'000, traits);
    measured.monitor.monitor_pid(3, child.process->processId);
    measured.monitor.start();
    ASSERT_TRUE(measured.monitor.wait_for_pauses(4));
    EXPECT_EQ(measured.monitor.cpu_of(3), 0.0);
    EXPECT_EQ(measured.monitor.ram_of(3), kPrivate);
}

TEST(MonitoredProcess, IsClosedAsOftenAsItIsOpened)
{
    const kf::test::spawned_child child("copy_input", "");
    ASSERT_TRUE(child.started());
    measured_processes measured(2'000'000, 500'000);
    open_processes.clear();
    processes_opened = 0;
    const import_hook opening(measured.monitor.name(), "OpenProcess", note_opened);
    const import_hook closing(measured.monitor.name(), "CloseHandle", note_closed);
    measured.monitor.monitor_pid(3, child.process->processId);
    measured.monitor.start();
    ASSERT_TRUE(measured.monitor.wait_for_pauses(6));
    measured.monitor.stop();
    EXPECT_GE(processes_opened, 6);
    EXPECT_TRUE(open_processes.empty());
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
