#include <atomic>
#include <chrono>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <new>
#include <thread>

#include <gtest/gtest.h>

#include "KFramework/platform/handles_win.h"
#include "KFramework/platform/windows_win.h"
#include "KFramework/process.h"
#include "tests/support/deadline.h"
#include "tests/support/handle_count_win.h"
#include "tests/support/import_hook_win.h"

namespace threads = KFramework::KProcesses;
using threads::KThreadObject;

namespace
{
using clock_type = std::chrono::steady_clock;

/// Two gates that a routine stops at: before it marks its end, and before it returns.
struct gates
{
    kf::platform::unique_handle before_end{::CreateEventW(nullptr, TRUE, FALSE, nullptr)};
    kf::platform::unique_handle before_return{::CreateEventW(nullptr, TRUE, FALSE, nullptr)};
    int code = 0;
    std::atomic<bool> marked = false;
    std::atomic<unsigned long long> id = 0;

    void open_all() const
    {
        ::SetEvent(before_end.get());
        ::SetEvent(before_return.get());
    }
};

unsigned int gated_routine(void* start)
{
    auto* const at = static_cast<gates*>(threads::GetThreadData(start));
    at->id = threads::GetCurrentThread();
    ::WaitForSingleObject(at->before_end.get(), INFINITE);
    threads::EndThread(at->code, start);
    at->marked = true;
    ::WaitForSingleObject(at->before_return.get(), INFINITE);
    return 99; // the system's exit code, which no join gives
}

unsigned int quick_routine(void* start)
{
    threads::EndThread(*static_cast<int*>(threads::GetThreadData(start)), start);
    return 0;
}

unsigned int spinning_routine(void* start)
{
    auto* const running = static_cast<std::atomic<bool>*>(threads::GetThreadData(start));
    for (;;)
        *running = true;
}

unsigned int silent_routine(void*)
{
    return 12;
}

DWORD WINAPI failing_wait(HANDLE, DWORD)
{
    ::SetLastError(ERROR_INVALID_HANDLE);
    return WAIT_FAILED;
}

std::uintptr_t __cdecl failing_start(void*, unsigned, unsigned(__stdcall*)(void*), void*, unsigned, unsigned*)
{
    return 0;
}

const void* watched = nullptr;
std::atomic<int> freed = 0;

/// The library's operator delete: counts how often the watched record goes.
void count_frees(void* memory, std::size_t size)
{
    if (memory == watched)
        ++freed;
    ::operator delete(memory, size);
}

constexpr const char* kSizedDelete = "_ZdlPvy";

std::atomic<int> raised = 0;
std::atomic<bool> came_back = false;

BOOL WINAPI raising_close(HANDLE)
{
    ++raised;
    ::RaiseException(0xC0000008, 0, 0, nullptr);
    came_back = true; // unhandled, which the system may let pass
    return FALSE;
}
} // namespace

TEST(SpawnThread, GivesTheRoutineItsDataAndItsRecord)
{
    struct seen
    {
        void* data;
        void* owner;
    } what{};
    KThreadObject* const thread = threads::SpawnThread(
        [](void* start) -> unsigned int
        {
            // The start record's two fields, as they are laid out.
            auto* const fields = static_cast<void**>(start);
            *static_cast<seen*>(threads::GetThreadData(start)) = {fields[0], fields[1]};
            threads::EndThread(0, start);
            return 0;
        },
        &what);
    EXPECT_NE(thread->threadHandle, nullptr);
    const void* const record = thread;
    EXPECT_EQ(threads::JoinThread(thread, 0, nullptr), 0);
    EXPECT_EQ(what.data, &what);
    EXPECT_EQ(what.owner, record);
}

// KEPT[join-zero-waits]
TEST(JoinThread, WaitsWithoutLimitForATimeOutOfZero)
{
    gates at;
    at.code = 7;
    KThreadObject* const thread = threads::SpawnThread(gated_routine, &at);
    std::thread opener(
        [&]
        {
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
            at.open_all();
        });
    bool timed_out = false;
    EXPECT_EQ(threads::JoinThread(thread, 0, &timed_out), 7);
    EXPECT_FALSE(timed_out);
    opener.join();
}

// KEPT[join-marked-code]
TEST(JoinThread, GivesTheCodeOfEndThreadAndNotTheSystems)
{
    for (int code : {0, 1, -1, 259, INT_MAX, INT_MIN})
    {
        gates at;
        at.code = code;
        at.open_all();
        EXPECT_EQ(threads::JoinThread(threads::SpawnThread(gated_routine, &at), 0, nullptr), code);
    }
}

TEST(JoinThread, GivesZeroForARoutineThatNeverMarkedItsEnd)
{
    KThreadObject* const thread = threads::SpawnThread(silent_routine, nullptr);
    EXPECT_EQ(threads::JoinThread(thread, 0, nullptr), 0);
}

// KEPT[join-keeps-record]
TEST(JoinThread, KeepsTheRecordAfterATimeOutForAnotherJoin)
{
    gates at;
    at.code = 31;
    KThreadObject* const thread = threads::SpawnThread(gated_routine, &at);
    bool timed_out = false;
    const auto start = clock_type::now();
    EXPECT_EQ(threads::JoinThread(thread, 100, &timed_out), 0);
    EXPECT_GE(clock_type::now() - start, std::chrono::milliseconds(100));
    EXPECT_TRUE(timed_out);
    EXPECT_EQ(threads::JoinThread(thread, 1, nullptr), 0);
    EXPECT_EQ(threads::CheckJoinableThread(thread), 0);
    at.open_all();
    timed_out = false;
    EXPECT_EQ(threads::JoinThread(thread, 0, &timed_out), 31);
    EXPECT_FALSE(timed_out);
}

// KEPT[join-keeps-record]
TEST(JoinThread, WorksFromAnotherThreadAfterATimeOut)
{
    gates at;
    at.code = 8;
    KThreadObject* const thread = threads::SpawnThread(gated_routine, &at);
    bool timed_out = false;
    std::thread([&] { EXPECT_EQ(threads::JoinThread(thread, 1, &timed_out), 0); }).join();
    EXPECT_TRUE(timed_out);
    at.open_all();
    int code = 0;
    std::thread([&] { code = threads::JoinThread(thread, 0, nullptr); }).join();
    EXPECT_EQ(code, 8);
}

TEST(JoinThread, WritesTimedOutOnlyWhenTheTimeIsOver)
{
    gates at;
    at.open_all();
    bool timed_out = true;
    threads::JoinThread(threads::SpawnThread(gated_routine, &at), 0, &timed_out);
    EXPECT_TRUE(timed_out);
}

TEST(JoinThread, WaitsWithoutLimitForMinusOne)
{
    gates at;
    at.code = 4;
    at.open_all();
    EXPECT_EQ(threads::JoinThread(threads::SpawnThread(gated_routine, &at), -1, nullptr), 4);
}

TEST(CheckJoinableThread, IsZeroUntilTheRoutineMarksItsEnd)
{
    gates at;
    KThreadObject* const thread = threads::SpawnThread(gated_routine, &at);
    EXPECT_EQ(threads::CheckJoinableThread(thread), 0);
    ::SetEvent(at.before_end.get());
    EXPECT_TRUE(kf::test::wait_until([&] { return at.marked.load(); }));
    EXPECT_NE(threads::CheckJoinableThread(thread), 0); // although the thread still runs
    ::SetEvent(at.before_return.get());
    threads::JoinThread(thread, 0, nullptr);
}

// KEPT[current-thread-id]
TEST(GetCurrentThread, GivesTheThreadsIdAndNotAHandle)
{
    EXPECT_EQ(threads::GetCurrentThread(), ::GetCurrentThreadId());
    gates at;
    at.open_all();
    KThreadObject* const thread = threads::SpawnThread(gated_routine, &at);
    const DWORD id = ::GetThreadId(thread->threadHandle);
    threads::JoinThread(thread, 0, nullptr);
    EXPECT_EQ(at.id, id);
    EXPECT_NE(at.id, threads::GetCurrentThread());
}

// KEPT[kill-keeps-record]
TEST(TerminateThread, KillsWithAllOnesAndKeepsRecordAndHandle)
{
    std::atomic<bool> running = false;
    KThreadObject* const thread = threads::SpawnThread(spinning_routine, &running);
    EXPECT_TRUE(kf::test::wait_until([&] { return running.load(); }));
    EXPECT_NE(threads::TerminateThread(thread), 0);
    ASSERT_EQ(::WaitForSingleObject(thread->threadHandle, 20'000), WAIT_OBJECT_0);
    DWORD exit_code = 0;
    EXPECT_TRUE(::GetExitCodeThread(thread->threadHandle, &exit_code));
    EXPECT_EQ(exit_code, 0xFFFFFFFFu);
    EXPECT_EQ(threads::CheckJoinableThread(thread), 0);
    bool timed_out = false;
    EXPECT_EQ(threads::JoinThread(thread, 0, &timed_out), 0);
    EXPECT_FALSE(timed_out);
}

TEST(TerminateThread, GivesTheHandleBackWithTheJoin)
{
    const auto once = []
    {
        std::atomic<bool> running = false;
        KThreadObject* const thread = threads::SpawnThread(spinning_routine, &running);
        EXPECT_TRUE(kf::test::wait_until([&] { return running.load(); }));
        threads::TerminateThread(thread);
        threads::JoinThread(thread, 0, nullptr);
    };
    once();
    const std::size_t before = kf::test::handle_count();
    for (int i = 0; i < 5; ++i)
        once();
    EXPECT_TRUE(kf::test::wait_until([&] { return kf::test::handle_count() == before; }));
}

// KEPT[spawn-always-a-record]
TEST(SpawnThread, GivesARecordWhoseJoinFailsWhenNoThreadStarts)
{
    const kf::test::import_hook hook("_beginthreadex", &failing_start);
    ASSERT_TRUE(hook.found());
    int data = 0;
    KThreadObject* const thread = threads::SpawnThread(quick_routine, &data);
    ASSERT_NE(thread, nullptr);
    EXPECT_EQ(thread->threadHandle, nullptr);
    EXPECT_EQ(threads::CheckJoinableThread(thread), 0);
    EXPECT_EQ(threads::TerminateThread(thread), 0);
    bool timed_out = false;
    EXPECT_EQ(threads::JoinThread(thread, 0, &timed_out), -1);
    EXPECT_FALSE(timed_out);
}

// KEPT[spawn-always-a-record]
TEST(SpawnThread, StartsNothingWithoutARoutine)
{
    KThreadObject* const thread = threads::SpawnThread(nullptr, nullptr);
    ASSERT_NE(thread, nullptr);
    EXPECT_EQ(thread->threadHandle, nullptr);
    EXPECT_EQ(threads::JoinThread(thread, 0, nullptr), -1);
}

TEST(JoinThread, FailsWithMinusOneAndLetsTheThreadMarkItsEndLater)
{
    const std::size_t before = kf::test::handle_count();
    {
        gates at;
        KThreadObject* const thread = threads::SpawnThread(gated_routine, &at);
        {
            const kf::test::import_hook hook("WaitForSingleObject", &failing_wait);
            ASSERT_TRUE(hook.found());
            bool timed_out = false;
            EXPECT_EQ(threads::JoinThread(thread, 10, &timed_out), -1);
            EXPECT_FALSE(timed_out);
            EXPECT_EQ(::GetLastError(), DWORD{ERROR_INVALID_HANDLE});
        }
        ::SetEvent(at.before_end.get());
        EXPECT_TRUE(kf::test::wait_until([&] { return at.marked.load(); }));
        ::SetEvent(at.before_return.get());
        // The joiner's handle is closed, so the end shows in the thread's own.
        EXPECT_TRUE(kf::test::wait_until(
            [&]
            {
                const kf::platform::unique_handle own(
                    ::OpenThread(SYNCHRONIZE, FALSE, static_cast<DWORD>(at.id.load())));
                return !own || ::WaitForSingleObject(own.get(), 0) == WAIT_OBJECT_0;
            }));
    }
    EXPECT_TRUE(kf::test::wait_until([&] { return kf::test::handle_count() == before; }));
}

TEST(JoinThread, LeavesTheRecordToTheThreadWhenTheWaitFails)
{
    gates at;
    KThreadObject* const thread = threads::SpawnThread(gated_routine, &at);
    const kf::platform::unique_handle own(
        ::OpenThread(SYNCHRONIZE, FALSE, ::GetThreadId(thread->threadHandle)));
    ASSERT_TRUE(own);
    const kf::test::import_hook deletes(kSizedDelete, &count_frees);
    watched = thread;
    freed = 0;
    {
        const kf::test::import_hook waits("WaitForSingleObject", &failing_wait);
        EXPECT_EQ(threads::JoinThread(thread, 0, nullptr), -1);
    }
    EXPECT_EQ(freed, 0);
    at.open_all();
    ASSERT_EQ(::WaitForSingleObject(own.get(), 20'000), WAIT_OBJECT_0);
    EXPECT_EQ(freed, 1);
    watched = nullptr;
}

TEST(JoinThread, FreesTheRecordOnceAfterAnEndAndAfterAKill)
{
    const kf::test::import_hook deletes(kSizedDelete, &count_frees);
    for (const bool kill : {false, true})
    {
        gates at;
        KThreadObject* const thread = threads::SpawnThread(gated_routine, &at);
        // Never kill a thread that is still being set up: it may hold the loader's lock for ever.
        EXPECT_TRUE(kf::test::wait_until([&] { return at.id != 0; }));
        watched = thread;
        freed = 0;
        bool timed_out = false;
        EXPECT_EQ(threads::JoinThread(thread, 1, &timed_out), 0);
        EXPECT_TRUE(timed_out);
        if (kill)
            EXPECT_NE(threads::TerminateThread(thread), 0);
        else
            at.open_all();
        EXPECT_EQ(freed, 0);
        threads::JoinThread(thread, 0, nullptr);
        EXPECT_EQ(freed, 1);
    }
    watched = nullptr;
}

TEST(JoinThread, IgnoresAnExceptionOfTheClose)
{
    gates at;
    at.code = 3;
    at.open_all();
    KThreadObject* const thread = threads::SpawnThread(gated_routine, &at);
    HANDLE const handle = thread->threadHandle;
    raised = 0;
    {
        const kf::test::import_hook hook("CloseHandle", &raising_close);
        ASSERT_TRUE(hook.found());
        EXPECT_EQ(threads::JoinThread(thread, 0, nullptr), 3);
    }
    EXPECT_EQ(raised, 1);
    EXPECT_FALSE(came_back);
    ::CloseHandle(handle);
}

TEST(JoinThread, FailsForNull)
{
    EXPECT_EQ(threads::JoinThread(nullptr, 0, nullptr), -1);
    EXPECT_EQ(threads::TerminateThread(nullptr), 0);
}

TEST(JoinThread, GivesEveryHandleBackOverTwoThousandThreads)
{
    int code = 17;
    threads::JoinThread(threads::SpawnThread(quick_routine, &code), 0, nullptr);
    const std::size_t before = kf::test::handle_count();
    for (code = 0; code < 2000; ++code)
        ASSERT_EQ(threads::JoinThread(threads::SpawnThread(quick_routine, &code), 0, nullptr), code);
    EXPECT_TRUE(kf::test::wait_until([&] { return kf::test::handle_count() == before; }));
}
