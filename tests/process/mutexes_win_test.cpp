/// Mutexes and conditions while the system refuses what they are made of.

#include <atomic>
#include <chrono>
#include <memory>
#include <new>
#include <thread>

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include "KFramework/platform/windows_win.h"
#include "KFramework/process.h"
#include "tests/support/deadline.h"
#include "tests/support/handle_count_win.h"
#include "tests/support/import_hook_win.h"

using namespace KFramework::KProcesses;

namespace
{
std::atomic<int> refused = 0;

HANDLE WINAPI no_semaphore(LPSECURITY_ATTRIBUTES, LONG, LONG, LPCSTR)
{
    ++refused;
    return nullptr;
}

HANDLE WINAPI no_event(LPSECURITY_ATTRIBUTES, BOOL, BOOL, LPCSTR)
{
    ++refused;
    return nullptr;
}

/// A clock that is set back by an hour with every look at it.
void WINAPI falling_clock(LPFILETIME time)
{
    static std::atomic<ULONGLONG> now = 0x01DC000000000000;
    const ULONGLONG value = now -= 36'000'000'000;
    time->dwLowDateTime = static_cast<DWORD>(value);
    time->dwHighDateTime = static_cast<DWORD>(value >> 32);
}
} // namespace

// KEPT[create-mutex-w]
TEST(CreateMutexW, IsExportedUnderItsExactName)
{
    const HMODULE library = ::GetModuleHandleA(kf::test::kLibraryName);
    ASSERT_NE(library, nullptr);
    EXPECT_NE(::GetProcAddress(library, "_ZN10KFramework10KProcesses12CreateMutexWEv"), nullptr);
}

TEST(WaitTimedConditional, KeepsItsTimeWhileTheClockIsSetBack)
{
    // A library that never looks at the system's time has nothing to hook, which is no failure here.
    testing::TestPartResultArray ignored;
    const auto hook = [&]
    {
        const testing::ScopedFakeTestPartResultReporter reporter(&ignored);
        return std::make_unique<kf::test::import_hook<decltype(falling_clock)>>("GetSystemTimeAsFileTime",
                                                                                &falling_clock);
    }();
    boost::mutex* const mutex = CreateMutexW();
    KConditional* const conditional = CreateConditional(mutex);
    const auto start = std::chrono::steady_clock::now();
    std::atomic<bool> over = false;
    std::atomic<bool> too_late = false;
    std::thread waiter(
        [&]
        {
            LockMutex(mutex);
            while (WaitTimedConditional(conditional, 50) && !too_late)
            {
            }
            UnlockMutex(mutex);
            over = true;
        });
    EXPECT_TRUE(kf::test::wait_until([&] { return over.load(); }));
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(50));
    LockMutex(mutex);
    too_late = true; // by the falling clock the time would never be over
    SignalConditional(conditional);
    UnlockMutex(mutex);
    waiter.join();
    DestroyConditional(conditional);
    DestroyMutex(mutex);
}

TEST(WaitConditional, IsASpuriousWakeUpWithTheMutexHeldWhenNoSemaphoreIsLeft)
{
    boost::mutex* const mutex = CreateMutexW();
    KConditional* const conditional = CreateConditional(mutex);
    LockMutex(mutex);
    {
        const kf::test::import_hook hook("CreateSemaphoreA", &no_semaphore);
        refused = 0;
        EXPECT_TRUE(WaitConditional(conditional));
        EXPECT_TRUE(WaitTimedConditional(conditional, 50));
        EXPECT_EQ(refused, 2);
    }
    bool got = true;
    std::thread([&] { got = TryLockMutex(mutex); }).join();
    EXPECT_FALSE(got);
    EXPECT_FALSE(WaitTimedConditional(conditional, 1));
    UnlockMutex(mutex);
    DestroyConditional(conditional);
    DestroyMutex(mutex);
}

TEST(WaitTimedConditional, WaitsForTheMutexOfAnotherThreadWithoutAnEventToWaitOn)
{
    boost::mutex* const mutex = CreateMutexW();
    KConditional* const conditional = CreateConditional(mutex);
    std::atomic<bool> waiting = false;
    std::atomic<bool> returned = false;
    std::thread waiter(
        [&]
        {
            LockMutex(mutex);
            waiting = true;
            WaitTimedConditional(conditional, 500);
            returned = true;
            UnlockMutex(mutex);
        });
    EXPECT_TRUE(kf::test::wait_until([&] { return waiting.load(); }));
    // Taken while the other waits, and held beyond the end of its wait.
    EXPECT_TRUE(kf::test::wait_until([&] { return TryLockMutex(mutex); }));
    {
        const kf::test::import_hook hook("CreateEventA", &no_event);
        refused = 0;
        EXPECT_TRUE(kf::test::wait_until([] { return refused > 1; })); // Boost's try and then our own
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        EXPECT_FALSE(returned);
        UnlockMutex(mutex);
        waiter.join();
    }
    EXPECT_TRUE(returned);
    EXPECT_TRUE(TryLockMutex(mutex));
    UnlockMutex(mutex);
    DestroyConditional(conditional);
    DestroyMutex(mutex);
}

TEST(CreateSharedMutex, ReportsAMissingSemaphoreAsExhaustedMemory)
{
    const kf::test::import_hook hook("CreateSemaphoreA", &no_semaphore);
    EXPECT_THROW((void)CreateSharedMutex(), std::bad_alloc);
}

TEST(LockMutex, GetsTheMutexWithoutAnEventToWaitOn)
{
    boost::mutex* const mutex = CreateMutexW();
    {
        const kf::test::import_hook hook("CreateEventA", &no_event);
        refused = 0;
        LockMutex(mutex);
        std::atomic<bool> got = false;
        std::thread waiter(
            [&]
            {
                LockMutex(mutex);
                got = true;
                UnlockMutex(mutex);
            });
        EXPECT_TRUE(kf::test::wait_until([] { return refused > 0; }));
        EXPECT_FALSE(got);
        UnlockMutex(mutex);
        waiter.join();
        EXPECT_TRUE(got);
    }
    EXPECT_TRUE(TryLockMutex(mutex));
    UnlockMutex(mutex);
    DestroyMutex(mutex);
}

TEST(Destroy, GivesEveryHandleBack)
{
    const auto once = []
    {
        boost::shared_mutex* const shared = CreateSharedMutex();
        boost::mutex* const mutex = CreateMutexW();
        KConditional* const conditional = CreateConditional(mutex);
        LockMutex(mutex);
        WaitTimedConditional(conditional, 1);
        UnlockMutex(mutex);
        DestroyConditional(conditional);
        DestroyMutex(mutex);
        DestroySharedMutex(shared);
    };
    once();
    const std::size_t before = kf::test::handle_count();
    for (int i = 0; i < 100; ++i)
        once();
    EXPECT_EQ(kf::test::handle_count(), before);
}
