/// Priority and affinity of single processes, read back from the system.

#include "KFramework/platform/handles_win.h"
#include "KFramework/process.h"
#include "tests/process/child_win.h"
#include "tests/support/call_fault_win.h"
#include "tests/support/handle_count_win.h"

#include <gtest/gtest.h>

#include <array>
#include <utility>

namespace
{
using namespace KFramework::KProcesses;
using kf::test::call_fault;
using kf::test::handle_count;
using kf::test::import_hook;
using kf::test::spawned_child;

using open_fault = call_fault<"OpenProcess", HANDLE WINAPI(DWORD, BOOL, DWORD)>;

/// Another class for the test's own process, for as long as it lives.
class own_class
{
public:
    explicit own_class(DWORD priority) { EXPECT_TRUE(::SetPriorityClass(::GetCurrentProcess(), priority)); }
    own_class(const own_class&) = delete;
    own_class& operator=(const own_class&) = delete;
    ~own_class() { ::SetPriorityClass(::GetCurrentProcess(), NORMAL_PRIORITY_CLASS); }
};

DWORD opened_with = 0;

HANDLE WINAPI note_access(DWORD wanted, BOOL inherit, DWORD pid)
{
    EXPECT_FALSE(inherit);
    opened_with = wanted;
    return ::OpenProcess(wanted, inherit, pid);
}
} // namespace

TEST(SetProcessPriority, SetsTheClassOfEachLevelAndNormalForAnyOther)
{
    const spawned_child child("end_with", "0 60000");
    const unsigned long pid = GetProcessPid(child.process);
    constexpr std::pair<int, DWORD> table[] = {{1, IDLE_PRIORITY_CLASS},     {2, NORMAL_PRIORITY_CLASS},
                                               {3, HIGH_PRIORITY_CLASS},     {7, NORMAL_PRIORITY_CLASS},
                                               {4, REALTIME_PRIORITY_CLASS}, {0, NORMAL_PRIORITY_CLASS},
                                               {1, IDLE_PRIORITY_CLASS},     {-1, NORMAL_PRIORITY_CLASS}};
    for (const auto& [level, expected] : table)
    {
        SetProcessPriority(pid, level);
        EXPECT_EQ(::GetPriorityClass(child.process->processHandle), expected) << level;
    }
}

TEST(SetProcessPriority, AsksForNoMoreThanTheRightToSet)
{
    const spawned_child child("end_with", "0 60000");
    const import_hook hook("OpenProcess", &note_access);
    SetProcessPriority(GetProcessPid(child.process), 1);
    EXPECT_EQ(opened_with, static_cast<DWORD>(PROCESS_SET_INFORMATION));
}

TEST(GetProcessPriority, ReadsEveryClassOfTheCallingProcess)
{
    constexpr std::pair<DWORD, int> table[] = {
        {IDLE_PRIORITY_CLASS, 1},     {NORMAL_PRIORITY_CLASS, 2},       {HIGH_PRIORITY_CLASS, 3},
        {REALTIME_PRIORITY_CLASS, 4}, {BELOW_NORMAL_PRIORITY_CLASS, 2}, {ABOVE_NORMAL_PRIORITY_CLASS, 2}};
    for (const auto& [priority, level] : table)
    {
        const own_class set(priority);
        EXPECT_EQ(GetProcessPriority(GetCurrentProcessPid()), level) << priority;
    }
}

// KEPT[priority-of-caller]
TEST(GetProcessPriority, IgnoresWhichProcessIsNamed)
{
    const spawned_child child("end_with", "0 60000");
    SetProcessPriority(GetProcessPid(child.process), 3);
    const own_class idle(IDLE_PRIORITY_CLASS);
    const import_hook hook("OpenProcess", &note_access);
    for (const unsigned long pid : {GetProcessPid(child.process), 0ul, 0xFFFFFFF0ul})
        EXPECT_EQ(GetProcessPriority(pid), 1);
    EXPECT_EQ(opened_with, static_cast<DWORD>(PROCESS_QUERY_INFORMATION));
}

TEST(GetProcessPriority, IsTwoWhenTheProcessCannotBeAsked)
{
    const own_class idle(IDLE_PRIORITY_CLASS);
    {
        open_fault opens(nullptr, ERROR_ACCESS_DENIED);
        opens.lastingly(0);
        EXPECT_EQ(GetProcessPriority(GetCurrentProcessPid()), 2);
    }
    call_fault<"GetPriorityClass", DWORD WINAPI(HANDLE)> classes(0, ERROR_ACCESS_DENIED);
    classes.lastingly(0);
    EXPECT_EQ(GetProcessPriority(GetCurrentProcessPid()), 2);
}

// KEPT[affinity-mask-first]
TEST(SetProcessAffinityMask, TakesTheMaskBeforeTheProcess)
{
    const spawned_child child("end_with", "0 60000");
    const unsigned long pid = GetProcessPid(child.process);
    SetProcessAffinityMask(1, pid);
    DWORD_PTR mask = 0, of_system = 0;
    ASSERT_TRUE(::GetProcessAffinityMask(child.process->processHandle, &mask, &of_system));
    EXPECT_EQ(mask, 1u);
    EXPECT_EQ(GetProcessAffinityMask(pid), 1u);
    SetProcessAffinityMask(of_system, pid);
    EXPECT_EQ(GetProcessAffinityMask(pid), of_system);
}

TEST(SetProcessAffinityMask, ChangesNothingThatTheSystemRefuses)
{
    const spawned_child child("end_with", "0 60000");
    const unsigned long pid = GetProcessPid(child.process);
    const unsigned long long before = GetProcessAffinityMask(pid);
    SetProcessAffinityMask(0, pid);
    SetProcessAffinityMask(1ull << 63, pid);
    {
        open_fault opens(nullptr, ERROR_ACCESS_DENIED);
        opens.lastingly(0);
        SetProcessAffinityMask(1, pid);
        SetProcessPriority(pid, 1);
        EXPECT_EQ(opens.failed(), 2);
    }
    EXPECT_EQ(GetProcessAffinityMask(pid), before);
    EXPECT_EQ(::GetPriorityClass(child.process->processHandle), static_cast<DWORD>(NORMAL_PRIORITY_CLASS));
}

TEST(SetProcessAffinityMask, PassesEveryBitOfTheMask)
{
    static DWORD_PTR passed = 0;
    const import_hook hook(
        "SetProcessAffinityMask",
        +[](HANDLE, DWORD_PTR mask) -> BOOL WINAPI
        {
            passed = mask;
            return FALSE;
        });
    SetProcessAffinityMask(0x8000000000000001, GetCurrentProcessPid());
    EXPECT_EQ(passed, 0x8000000000000001u);
    KProcessTreeNode node{"", static_cast<std::uint32_t>(GetCurrentProcessPid()), 0, nullptr, nullptr};
    SetProcTreeAffinityMask(&node, -2);
    EXPECT_EQ(passed, ~DWORD_PTR{1});
}

TEST(GetProcessAffinityMask, IsZeroWhenTheProcessCannotBeAsked)
{
    EXPECT_EQ(GetProcessAffinityMask(0xFFFFFFF0), 0u);
    EXPECT_EQ(GetProcessAffinityMask(0), 0u);
    const import_hook hook("OpenProcess", &note_access);
    call_fault<"GetProcessAffinityMask", BOOL WINAPI(HANDLE, PDWORD_PTR, PDWORD_PTR)> masks(
        [](HANDLE, PDWORD_PTR mask, PDWORD_PTR) -> BOOL
        {
            *mask = 5;
            return FALSE;
        });
    EXPECT_NE(GetProcessAffinityMask(GetCurrentProcessPid()), 0u);
    EXPECT_EQ(opened_with, static_cast<DWORD>(PROCESS_QUERY_INFORMATION));
    masks.lastingly(0);
    EXPECT_EQ(GetProcessAffinityMask(GetCurrentProcessPid()), 0u);
}

TEST(PriorityAndAffinity, LeaveNoHandleOpen)
{
    const unsigned long own = GetCurrentProcessPid();
    const unsigned long long mask = GetProcessAffinityMask(own);
    const std::size_t before = handle_count();
    for (int i = 0; i < 5; ++i)
    {
        SetProcessPriority(own, GetProcessPriority(own));
        SetProcessAffinityMask(GetProcessAffinityMask(own), own);
    }
    EXPECT_EQ(handle_count(), before);
    EXPECT_EQ(GetProcessAffinityMask(own), mask);
}
