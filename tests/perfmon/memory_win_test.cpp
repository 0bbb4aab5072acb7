#include <list>
#include <map>
#include <vector>

#include <gtest/gtest.h>

#include "KFramework/perfmon.h"
#include "KFramework/platform/windows_win.h"
#include "tests/support/import_hook_win.h"

#include <psapi.h>

using namespace KFramework::KPerformanceMonitor;
using kf::test::import_hook;

namespace
{
constexpr std::uint64_t kPrivate = 5'000'000'000;
constexpr unsigned long kNoProcess = 0xFFFFFFF0;

BOOL WINAPI stated_private_memory(HANDLE process, PROCESS_MEMORY_COUNTERS* counters, DWORD size)
{
    if (process == nullptr || size != sizeof(PROCESS_MEMORY_COUNTERS_EX) || counters->cb != size)
        return FALSE;
    reinterpret_cast<PROCESS_MEMORY_COUNTERS_EX*>(counters)->PrivateUsage = kPrivate;
    return TRUE;
}

const kPerformanceMonitorData* watched = nullptr;
std::vector<std::uint64_t> seen_meanwhile;

BOOL WINAPI look_meanwhile(HANDLE process, PROCESS_MEMORY_COUNTERS* counters, DWORD size)
{
    seen_meanwhile.push_back(watched->ramByInstance.at(1));
    return stated_private_memory(process, counters, size);
}

BOOL WINAPI no_private_memory(HANDLE, PROCESS_MEMORY_COUNTERS* counters, DWORD)
{
    reinterpret_cast<PROCESS_MEMORY_COUNTERS_EX*>(counters)->PrivateUsage = kPrivate;
    return FALSE;
}

std::vector<DWORD> rights_asked;
std::vector<HANDLE> opened, closed;

HANDLE WINAPI note_opened(DWORD rights, BOOL inherit, DWORD pid)
{
    rights_asked.push_back(rights);
    HANDLE const process = inherit ? nullptr : ::OpenProcess(rights, inherit, pid);
    if (process != nullptr)
        opened.push_back(process);
    return process;
}

BOOL WINAPI note_closed(HANDLE handle)
{
    closed.push_back(handle);
    return ::CloseHandle(handle);
}

BOOL WINAPI no_memory_status(MEMORYSTATUSEX* memory)
{
    memory->ullTotalPhys = 1'000;
    return FALSE;
}
} // namespace

TEST(FillPerformanceData, SumsThePrivateMemoryOfEveryInstance)
{
    const import_hook memory("K32GetProcessMemoryInfo", stated_private_memory);
    const unsigned long own = ::GetCurrentProcessId();
    std::map<int, std::list<unsigned long>> trees{{1, {own, own}}, {2, {}}, {-3, {own, kNoProcess}}};
    kPerformanceMonitorData data;
    data.ramByInstance[2] = 77;
    data.ramByInstance[9] = 88;
    FillPerformanceData(&data, &trees);
    EXPECT_EQ(data.ramByInstance,
              (std::map<int, std::uint64_t>{{-3, kPrivate}, {1, 2 * kPrivate}, {2, 0}, {9, 88}}));
    EXPECT_GT(data.ramAmount, data.ramUsage);
    EXPECT_GT(data.swapAmount, data.swapUsage);
    EXPECT_EQ(data.processorCount, 0);
}

TEST(FillPerformanceData, ShowsNobodyPartOfASum)
{
    const import_hook memory("K32GetProcessMemoryInfo", look_meanwhile);
    const unsigned long own = ::GetCurrentProcessId();
    std::map<int, std::list<unsigned long>> trees{{1, {own, own, own}}};
    kPerformanceMonitorData data;
    data.ramByInstance[1] = 77;
    watched = &data;
    seen_meanwhile.clear();
    FillPerformanceData(&data, &trees);
    EXPECT_EQ(seen_meanwhile, (std::vector<std::uint64_t>{77, 77, 77}));
    EXPECT_EQ(data.ramByInstance[1], 3 * kPrivate);
}

TEST(FillPerformanceData, OpensEveryProcessToQueryAndReadItAndClosesIt)
{
    for (const auto answer : {stated_private_memory, no_private_memory})
    {
        rights_asked.clear();
        opened.clear();
        closed.clear();
        const import_hook memory("K32GetProcessMemoryInfo", answer);
        const import_hook opening("OpenProcess", note_opened);
        const import_hook closing("CloseHandle", note_closed);
        const unsigned long own = ::GetCurrentProcessId();
        std::map<int, std::list<unsigned long>> trees{{1, {own, kNoProcess, own}}};
        kPerformanceMonitorData data;
        FillPerformanceData(&data, &trees);
        EXPECT_EQ(rights_asked, std::vector<DWORD>(3, PROCESS_QUERY_INFORMATION | PROCESS_VM_READ));
        EXPECT_EQ(opened.size(), 2u);
        EXPECT_EQ(closed, opened);
        EXPECT_EQ(data.ramByInstance[1], answer == stated_private_memory ? 2 * kPrivate : 0);
    }
}

TEST(FillPerformanceData, LeavesTheAmountsAloneWhenTheSystemGivesNone)
{
    const import_hook none("GlobalMemoryStatusEx", no_memory_status);
    kPerformanceMonitorData data;
    data.ramAmount = 4;
    data.swapUsage = 5;
    FillPerformanceData(&data, nullptr);
    EXPECT_EQ(data.ramAmount, 4u);
    EXPECT_EQ(data.ramUsage, 0u);
    EXPECT_EQ(data.swapAmount, 0u);
    EXPECT_EQ(data.swapUsage, 5u);
}

TEST(FillPerformanceData, TakesNullForEitherArgument)
{
    FillPerformanceData(nullptr, nullptr);
    kPerformanceMonitorData data;
    FillPerformanceData(&data, nullptr);
    EXPECT_GT(data.ramAmount, 0u);
    EXPECT_TRUE(data.ramByInstance.empty());
}
