/// Waiting for children and ending them.

#include "KFramework/core.h"
#include "KFramework/platform/handles_win.h"
#include "KFramework/platform/windows_win.h"
#include "KFramework/process.h"
#include "tests/process/child_win.h"
#include "tests/support/deadline.h"
#include "tests/support/import_hook_win.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <string>
#include <thread>
#include <vector>

namespace
{
using namespace KFramework::KProcesses;
using kf::test::import_hook;
using kf::test::kDeadline;
using kf::test::spawned_child;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

/// Result, exit code and duration of one wait.
struct waited
{
    int result;
    unsigned long code;
    steady_clock::duration took;
};

waited wait_for(KProcess* process, bool wait, int timeout_seconds)
{
    const auto start = steady_clock::now();
    unsigned long code = 12345;
    const int result = WaitProcess(process, wait, timeout_seconds, code);
    return {result, code, steady_clock::now() - start};
}

std::vector<DWORD> waits;
decltype(&::WaitForSingleObject) really_wait = nullptr;

DWORD WINAPI note_wait(HANDLE handle, DWORD time)
{
    waits.push_back(time);
    return really_wait(handle, time);
}

/// The grandchild's id, from the first line its parent prints.
unsigned long first_number(void* pipe)
{
    std::string line;
    EXPECT_TRUE(kf::test::wait_until(
        [&]
        {
            char buffer[64];
            if (const int taken = ReadPipe(pipe, buffer, sizeof buffer); taken > 0)
                line.append(buffer, static_cast<std::size_t>(taken));
            return line.find('\n') != std::string::npos;
        }));
    return std::stoul(line);
}
} // namespace

TEST(WaitProcess, SaysRunningWithoutWaiting)
{
    const spawned_child child("end_with", "0 60000");
    const waited answer = wait_for(child.process, false, 0);
    EXPECT_EQ(answer.result, 0);
    EXPECT_EQ(answer.code, 259u);
    EXPECT_EQ(wait_for(child.process, false, 5).result, 0); // the time-out says nothing then
}

TEST(WaitProcess, BlocksUntilTheEndWithoutATimeOut)
{
    const spawned_child child("end_with", "7 300");
    const waited answer = wait_for(child.process, true, 0);
    EXPECT_EQ(answer.result, 1);
    EXPECT_EQ(answer.code, 7u);
    const waited again = wait_for(child.process, false, 0);
    EXPECT_EQ(again.result, 1);
    EXPECT_EQ(again.code, 7u);
}

TEST(WaitProcess, TimesOutAfterWholeSeconds)
{
    const spawned_child child("end_with", "0 60000");
    const waited answer = wait_for(child.process, true, 3);
    EXPECT_EQ(answer.result, 2);
    EXPECT_EQ(answer.code, 259u);
    EXPECT_GE(answer.took, milliseconds(2000));
    EXPECT_LT(answer.took, kDeadline);
}

TEST(WaitProcess, TimesOutWhetherTheHostKeepsTheServerTimeOrNot)
{
    const spawned_child child("end_with", "0 10000");
    KFramework::UpdateServerTime(); // and stands still from here
    const waited still = wait_for(child.process, true, 2);
    EXPECT_EQ(still.result, 2);
    EXPECT_GE(still.took, milliseconds(1000));

    // Two seconds behind now: the next tick jumps, which must not end a wait.
    std::atomic<bool> done = false;
    std::thread host(
        [&]
        {
            for (; !done; ::Sleep(50))
                KFramework::UpdateServerTime();
        });
    const waited ticking = wait_for(child.process, true, 2);
    done = true;
    host.join();
    EXPECT_EQ(ticking.result, 2);
    EXPECT_GE(ticking.took, milliseconds(1000));
}

// KEPT[wait-time-out-first]
TEST(WaitProcess, AsksForTheTimeOutBeforeTheEnd)
{
    const spawned_child child("end_with", "4");
    EXPECT_EQ(child.exit_code(), 4u);
    EXPECT_EQ(wait_for(child.process, true, -1).result, 2);
    EXPECT_EQ(wait_for(child.process, true, 1).result, 1);
    EXPECT_EQ(wait_for(child.process, false, -1).result, 1);
}

TEST(WaitProcess, TellsAnExitCodeOf259FromARunningProcess)
{
    const spawned_child child("end_with", "259");
    const waited answer = wait_for(child.process, true, 0);
    EXPECT_EQ(answer.result, 1);
    EXPECT_EQ(answer.code, 259u);
    EXPECT_EQ(wait_for(child.process, false, 0).result, 1);
}

TEST(WaitProcess, GivesEveryExitCodeExactly)
{
    const spawned_child child("end_with", "4294967295");
    EXPECT_EQ(child.exit_code(), 0xFFFFFFFFu);
}

TEST(WaitProcess, SaysEndedWithCodeZeroWhenTheProcessCannotBeAsked)
{
    KProcess process;
    for (KProcess* const record : {&process, static_cast<KProcess*>(nullptr)})
    {
        for (const bool wait : {false, true})
        {
            const waited answer = wait_for(record, wait, 0);
            EXPECT_EQ(answer.result, 1);
            EXPECT_EQ(answer.code, 0u);
        }
    }
}

TEST(WaitProcess, WaitsOnTheProcessForAtMostHalfASecondAtATime)
{
    const spawned_child child("end_with", "0 1200");
    const import_hook hook("WaitForSingleObject", &note_wait);
    really_wait = hook.original();
    waits.clear();
    EXPECT_EQ(wait_for(child.process, true, 0).result, 1);
    EXPECT_GE(std::count(waits.begin(), waits.end(), 500u), 3);
    EXPECT_EQ(*std::max_element(waits.begin(), waits.end()), 500u);
}

TEST(WaitProcess, GivesTheCodeOfAProcessThatEndsWhileItIsAsked)
{
    const spawned_child child("end_with", "9 60000");
    // Ends between the question for its code and the look at its handle.
    static HANDLE process = nullptr;
    process = child.process->processHandle;
    const import_hook hook(
        "WaitForSingleObject",
        +[](HANDLE handle, DWORD time) -> DWORD WINAPI
        {
            ::TerminateProcess(process, 9);
            ::WaitForSingleObject(process, INFINITE);
            return ::WaitForSingleObject(handle, time);
        });
    const waited answer = wait_for(child.process, false, 0);
    EXPECT_EQ(answer.result, 1);
    EXPECT_EQ(answer.code, 9u);
}

// KEPT[terminate-code]
TEST(TerminateProcess, EndsAProcessWithCodeZero)
{
    const spawned_child by_record("end_with", "5 60000");
    TerminateProcess(by_record.process, false);
    EXPECT_EQ(by_record.exit_code(), 0u);
    const spawned_child by_id("end_with", "5 60000");
    TerminateProcess(GetProcessPid(by_id.process), false);
    EXPECT_EQ(by_id.exit_code(), 0u);
    TerminateProcess(by_id.process, false); // once more does no harm
}

TEST(TerminateProcess, AsksForNoMoreThanTheRightToTerminate)
{
    const spawned_child child("end_with", "5 60000");
    const import_hook hook(
        "OpenProcess",
        +[](DWORD access, BOOL inherit, DWORD pid) -> HANDLE WINAPI
        {
            EXPECT_EQ(access, static_cast<DWORD>(PROCESS_TERMINATE));
            EXPECT_FALSE(inherit);
            return ::OpenProcess(access, inherit, pid);
        });
    TerminateProcess(child.process, false);
    EXPECT_EQ(child.exit_code(), 0u);
}

// KEPT[terminate-tree]
TEST(TerminateProcess, LeavesGrandchildrenAloneWhateverItIsTold)
{
    const spawned_child child("leave_grandchild", "60000 60000");
    const unsigned long id = first_number(child.pipes->stdoutRead);
    const kf::platform::unique_handle grandchild(::OpenProcess(SYNCHRONIZE, FALSE, id));
    ASSERT_TRUE(grandchild);
    TerminateProcess(child.process, true);
    EXPECT_EQ(child.exit_code(), 0u);
    EXPECT_EQ(::WaitForSingleObject(grandchild.get(), 100), static_cast<DWORD>(WAIT_TIMEOUT));
    TerminateProcess(id, true);
    EXPECT_EQ(::WaitForSingleObject(grandchild.get(), 20000), static_cast<DWORD>(WAIT_OBJECT_0));
}

TEST(TerminateProcess, DoesNothingWhenTheProcessCannotBeOpened)
{
    TerminateProcess(0ul, false);
    TerminateProcess(static_cast<KProcess*>(nullptr), false);
}
