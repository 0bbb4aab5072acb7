#include <atomic>
#include <chrono>
#include <climits>
#include <memory>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "KFramework/process.h"
#include "tests/support/deadline.h"

// The overloads of a name cannot be told apart by a using-declaration per function.
using namespace KFramework::KProcesses;

namespace
{
using clock_type = std::chrono::steady_clock;

struct mutex_deleter
{
    void operator()(boost::mutex* mutex) const { DestroyMutex(mutex); }
    void operator()(boost::shared_mutex* mutex) const { DestroySharedMutex(mutex); }
    void operator()(KConditional* conditional) const { DestroyConditional(conditional); }
};

using owned_mutex = std::unique_ptr<boost::mutex, mutex_deleter>;
using owned_shared_mutex = std::unique_ptr<boost::shared_mutex, mutex_deleter>;
using owned_conditional = std::unique_ptr<KConditional, mutex_deleter>;

/// What another thread is told when it tries; the lock, if any, is given back at once.
template <class Mutex>
bool other_thread_gets(Mutex* mutex)
{
    bool got = false;
    std::thread(
        [&]
        {
            got = TryLockMutex(mutex);
            if (got)
                UnlockMutex(mutex);
        })
        .join();
    return got;
}

bool other_thread_gets_shared(boost::shared_mutex* mutex)
{
    bool got = false;
    std::thread(
        [&]
        {
            got = TryLockSharedMutex(mutex);
            if (got)
                UnlockSharedMutex(mutex);
        })
        .join();
    return got;
}

/// A mutex, a condition on it and the thing that is waited for.
struct meeting
{
    owned_mutex mutex{CreateMutexW()};
    owned_conditional conditional{CreateConditional(mutex.get())};
    int waiting = 0; // guarded by mutex
    int tokens = 0;  // guarded by mutex

    /// Returns once so many threads are inside a wait, with the mutex locked.
    void lock_when_waiting(int count)
    {
        EXPECT_TRUE(kf::test::wait_until(
            [&]
            {
                LockMutex(mutex.get());
                const bool all = waiting == count;
                if (!all)
                    UnlockMutex(mutex.get());
                return all;
            }));
    }
};
} // namespace

TEST(TryLockMutex, FailsAtOnceWhileAnotherThreadHoldsTheMutex)
{
    const owned_mutex mutex(CreateMutexW());
    LockMutex(mutex.get());
    EXPECT_FALSE(other_thread_gets(mutex.get()));
    UnlockMutex(mutex.get());
    EXPECT_TRUE(other_thread_gets(mutex.get()));
}

TEST(TryLockMutex, HoldsTheMutexWhenItSucceeds)
{
    const owned_mutex mutex(CreateMutexW());
    ASSERT_TRUE(TryLockMutex(mutex.get()));
    EXPECT_FALSE(other_thread_gets(mutex.get()));
    UnlockMutex(mutex.get());
}

TEST(LockMutex, LetsOneThreadInAtATime)
{
    constexpr int kThreads = 8;
    constexpr int kRounds = 5000;
    const owned_mutex mutex(CreateMutexW());
    long counter = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i)
        threads.emplace_back(
            [&]
            {
                for (int round = 0; round < kRounds; ++round)
                {
                    LockMutex(mutex.get());
                    ++counter;
                    UnlockMutex(mutex.get());
                }
            });
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(counter, long{kThreads} * kRounds);
}

TEST(LockMutex, IsExclusiveOnASharedMutexToo)
{
    constexpr int kThreads = 4;
    constexpr int kRounds = 2000;
    const owned_shared_mutex mutex(CreateSharedMutex());
    long counter = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i)
        threads.emplace_back(
            [&]
            {
                for (int round = 0; round < kRounds; ++round)
                {
                    LockMutex(mutex.get());
                    ++counter;
                    UnlockMutex(mutex.get());
                    LockSharedMutex(mutex.get());
                    EXPECT_GT(counter, 0);
                    UnlockSharedMutex(mutex.get());
                }
            });
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(counter, long{kThreads} * kRounds);
}

TEST(TryLockSharedMutex, SucceedsWhileOthersHoldTheMutexShared)
{
    const owned_shared_mutex mutex(CreateSharedMutex());
    LockSharedMutex(mutex.get());
    EXPECT_TRUE(other_thread_gets_shared(mutex.get()));
    EXPECT_FALSE(other_thread_gets(mutex.get()));
    ASSERT_TRUE(TryLockSharedMutex(mutex.get()));
    UnlockSharedMutex(mutex.get());
    EXPECT_FALSE(other_thread_gets(mutex.get()));
    UnlockSharedMutex(mutex.get());
    EXPECT_TRUE(other_thread_gets(mutex.get()));
}

TEST(TryLockSharedMutex, FailsAtOnceWhileAnotherThreadHoldsTheMutexExclusively)
{
    const owned_shared_mutex mutex(CreateSharedMutex());
    ASSERT_TRUE(TryLockMutex(mutex.get()));
    EXPECT_FALSE(other_thread_gets_shared(mutex.get()));
    EXPECT_FALSE(other_thread_gets(mutex.get()));
    UnlockMutex(mutex.get());
    EXPECT_TRUE(other_thread_gets_shared(mutex.get()));
}

TEST(LockMutex, WaitsForMoreWritersThanASharedMutexCounts)
{
    constexpr int kWriters = 200; // Boost counts 127 waiting ones on Windows
    const owned_shared_mutex mutex(CreateSharedMutex());
    LockSharedMutex(mutex.get());
    std::atomic<int> started = 0;
    int inside = 0;
    std::vector<std::thread> writers;
    for (int i = 0; i < kWriters; ++i)
        writers.emplace_back(
            [&]
            {
                ++started;
                LockMutex(mutex.get());
                ++inside;
                UnlockMutex(mutex.get());
            });
    EXPECT_TRUE(kf::test::wait_until([&] { return started == kWriters; }));
    // Not a proof that all of them wait already, but with all of them started nearly all do.
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    UnlockSharedMutex(mutex.get());
    for (auto& writer : writers)
        writer.join();
    EXPECT_EQ(inside, kWriters);
}

// KEPT[destroy-always-true]
TEST(Destroy, IsTrueForNull)
{
    EXPECT_TRUE(DestroyMutex(nullptr));
    EXPECT_TRUE(DestroySharedMutex(nullptr));
    EXPECT_TRUE(DestroyConditional(nullptr));
}

// KEPT[destroy-always-true]
TEST(Destroy, IsTrueAndLeavesTheMutexOfAConditional)
{
    boost::mutex* const mutex = CreateMutexW();
    EXPECT_TRUE(DestroyConditional(CreateConditional(mutex)));
    EXPECT_TRUE(TryLockMutex(mutex));
    UnlockMutex(mutex);
    EXPECT_TRUE(DestroyMutex(mutex));
    EXPECT_TRUE(DestroySharedMutex(CreateSharedMutex()));
}

TEST(NullMutex, IsNeverLockedAndNeverHarms)
{
    boost::mutex* const plain = nullptr;
    boost::shared_mutex* const shared = nullptr;
    LockMutex(plain);
    UnlockMutex(plain);
    LockMutex(shared);
    UnlockMutex(shared);
    LockSharedMutex(shared);
    UnlockSharedMutex(shared);
    EXPECT_FALSE(TryLockMutex(plain));
    EXPECT_FALSE(TryLockMutex(shared));
    EXPECT_FALSE(TryLockSharedMutex(shared));
}

TEST(NullConditional, IsNeverWaitedOn)
{
    const owned_conditional without_mutex(CreateConditional(nullptr));
    for (KConditional* const conditional : {static_cast<KConditional*>(nullptr), without_mutex.get()})
    {
        EXPECT_TRUE(WaitConditional(conditional));
        EXPECT_FALSE(WaitTimedConditional(conditional, INT_MAX));
        EXPECT_TRUE(SignalConditional(conditional));
        EXPECT_TRUE(BroadcastSignalConditional(conditional));
    }
}

TEST(CreateConditional, NamesItsMutex)
{
    const meeting here;
    EXPECT_EQ(here.conditional->mutex, here.mutex.get());
}

TEST(WaitConditional, LetsTheMutexGoWhileWaitingAndHoldsItAfterwards)
{
    meeting here;
    std::atomic<bool> held_afterwards = false;
    std::thread waiter(
        [&]
        {
            LockMutex(here.mutex.get());
            ++here.waiting;
            while (here.tokens == 0)
                EXPECT_TRUE(WaitConditional(here.conditional.get()));
            held_afterwards = !other_thread_gets(here.mutex.get());
            UnlockMutex(here.mutex.get());
        });
    here.lock_when_waiting(1); // gets the mutex only because the waiter let it go
    here.tokens = 1;
    EXPECT_TRUE(SignalConditional(here.conditional.get()));
    UnlockMutex(here.mutex.get());
    waiter.join();
    EXPECT_TRUE(held_afterwards);
    EXPECT_TRUE(other_thread_gets(here.mutex.get()));
}

// KEPT[wait-spurious]
TEST(WaitConditional, ReturnsOnABareSignalWhateverTheCallerWaitsFor)
{
    meeting here;
    std::atomic<bool> returned = false;
    std::thread waiter(
        [&]
        {
            LockMutex(here.mutex.get());
            ++here.waiting;
            EXPECT_TRUE(WaitConditional(here.conditional.get()));
            EXPECT_EQ(here.tokens, 0);
            UnlockMutex(here.mutex.get());
            returned = true;
        });
    here.lock_when_waiting(1);
    EXPECT_TRUE(SignalConditional(here.conditional.get()));
    UnlockMutex(here.mutex.get());
    EXPECT_TRUE(kf::test::wait_until([&] { return returned.load(); }));
    waiter.join();
}

TEST(SignalConditional, WakesAWaiterForEachCall)
{
    constexpr int kWaiters = 4;
    meeting here;
    std::vector<std::thread> waiters;
    for (int i = 0; i < kWaiters; ++i)
        waiters.emplace_back(
            [&]
            {
                LockMutex(here.mutex.get());
                ++here.waiting;
                while (here.tokens == 0)
                    WaitConditional(here.conditional.get());
                --here.tokens;
                --here.waiting;
                UnlockMutex(here.mutex.get());
            });
    for (int left = kWaiters; left > 0; --left)
    {
        here.lock_when_waiting(left);
        here.tokens = 1;
        EXPECT_TRUE(SignalConditional(here.conditional.get()));
        UnlockMutex(here.mutex.get());
    }
    for (auto& waiter : waiters)
        waiter.join();
    EXPECT_EQ(here.tokens, 0);
}

TEST(BroadcastSignalConditional, WakesEveryWaiter)
{
    constexpr int kWaiters = 8;
    meeting here;
    std::vector<std::thread> waiters;
    for (int i = 0; i < kWaiters; ++i)
        waiters.emplace_back(
            [&]
            {
                LockMutex(here.mutex.get());
                ++here.waiting;
                while (here.tokens == 0)
                    WaitConditional(here.conditional.get());
                UnlockMutex(here.mutex.get());
            });
    here.lock_when_waiting(kWaiters);
    here.tokens = 1;
    EXPECT_TRUE(BroadcastSignalConditional(here.conditional.get()));
    UnlockMutex(here.mutex.get());
    for (auto& waiter : waiters)
        waiter.join();
}

TEST(WaitTimedConditional, IsFalseAfterTheTimeWithTheMutexHeld)
{
    const meeting here;
    LockMutex(here.mutex.get());
    const auto start = clock_type::now();
    // A wake-up without a signal would be no failure, so the wait goes on until the time is over.
    while (WaitTimedConditional(here.conditional.get(), 50))
        ASSERT_LT(clock_type::now() - start, kf::test::kDeadline);
    const auto waited = clock_type::now() - start;
    EXPECT_FALSE(other_thread_gets(here.mutex.get()));
    UnlockMutex(here.mutex.get());
    EXPECT_GE(waited, std::chrono::milliseconds(50));
    EXPECT_LT(waited, kf::test::kDeadline);
}

TEST(WaitTimedConditional, IsFalseAtOnceWithoutTime)
{
    const meeting here;
    LockMutex(here.mutex.get());
    EXPECT_FALSE(WaitTimedConditional(here.conditional.get(), 0));
    EXPECT_FALSE(WaitTimedConditional(here.conditional.get(), -1));
    EXPECT_FALSE(WaitTimedConditional(here.conditional.get(), INT_MIN));
    EXPECT_FALSE(other_thread_gets(here.mutex.get()));
    UnlockMutex(here.mutex.get());
}

TEST(WaitTimedConditional, WaitsOnPastTheMillisecondsWhoseMicrosecondsFillAnInt)
{
    for (const int timeout : {3'000'000, INT_MAX})
    {
        meeting here;
        std::atomic<bool> signalled = false;
        std::thread waiter(
            [&]
            {
                LockMutex(here.mutex.get());
                ++here.waiting;
                bool woken = true;
                while (here.tokens == 0 && woken)
                    woken = WaitTimedConditional(here.conditional.get(), timeout);
                signalled = woken;
                UnlockMutex(here.mutex.get());
            });
        here.lock_when_waiting(1);
        here.tokens = 1;
        EXPECT_TRUE(SignalConditional(here.conditional.get()));
        UnlockMutex(here.mutex.get());
        waiter.join();
        EXPECT_TRUE(signalled) << timeout;
    }
}
