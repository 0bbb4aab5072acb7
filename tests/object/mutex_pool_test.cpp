#include <algorithm>
#include <array>
#include <atomic>
#include <cstdint>
#include <set>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "KFramework/object.h"
#include "KFramework/process.h"

using KFramework::CKMutex;
using KFramework::CKMutexPoolManager;
using KFramework::CKObject;

namespace
{

/// The process-wide pool's mutexes, free and lent.
std::size_t pool_size()
{
    const CKMutexPoolManager* const pool = CKMutexPoolManager::GetUniqueClass();
    return pool->freeList.size() + pool->lentMap.size();
}

} // namespace

TEST(CKMutex, StartsWithALockAndNoBorrowers)
{
    const CKMutex mutex;
    EXPECT_NE(mutex.mutex, nullptr);
    EXPECT_EQ(mutex.useCount, 0u);
}

TEST(GetUniqueClass, GivesTheSamePoolEveryTime)
{
    EXPECT_NE(CKMutexPoolManager::GetUniqueClass(), nullptr);
    EXPECT_EQ(CKMutexPoolManager::GetUniqueClass(), CKMutexPoolManager::GetUniqueClass());
}

TEST(MutexPoolAcquireForObject, LendsEveryBorrowerOfAnObjectTheSameMutex)
{
    CKMutexPoolManager pool;
    CKObject object(true);
    CKMutex* const first = pool.mutexPoolAcquireForObject(&object);
    CKMutex* const second = pool.mutexPoolAcquireForObject(&object);
    EXPECT_EQ(first, second);
    EXPECT_EQ(first->useCount, 2u);
    EXPECT_EQ(pool.lentMap.at(&object), first);
    EXPECT_TRUE(pool.freeList.empty());

    pool.mutexPoolReleaseForObject(first, &object);
    EXPECT_EQ(first->useCount, 1u);
    EXPECT_EQ(pool.lentMap.at(&object), first);
    EXPECT_TRUE(pool.freeList.empty());

    pool.mutexPoolReleaseForObject(second, &object);
    EXPECT_EQ(first->useCount, 0u);
    EXPECT_TRUE(pool.lentMap.empty());
    ASSERT_EQ(pool.freeList.size(), 1u);
    EXPECT_EQ(pool.freeList.front(), first);
}

TEST(MutexPoolAcquireForObject, LendsTwoObjectsTwoMutexes)
{
    CKMutexPoolManager pool;
    CKObject one(true);
    CKObject two(true);
    CKMutex* const for_one = pool.mutexPoolAcquireForObject(&one);
    CKMutex* const for_two = pool.mutexPoolAcquireForObject(&two);
    EXPECT_NE(for_one, for_two);
    pool.mutexPoolReleaseForObject(for_one, &one);
    pool.mutexPoolReleaseForObject(for_two, &two);
}

// KEPT[pool-order]
TEST(MutexPoolAcquireForObject, LendsFirstWhatWasGivenBackFirstAndNeverShrinks)
{
    CKMutexPoolManager pool;
    std::array<CKObject, 3> objects{CKObject(true), CKObject(true), CKObject(true)};
    std::array<CKMutex*, 3> lent{};
    for (std::size_t i = 0; i < 3; ++i)
        lent[i] = pool.mutexPoolAcquireForObject(&objects[i]);
    for (const std::size_t i : {1u, 2u, 0u})
        pool.mutexPoolReleaseForObject(lent[i], &objects[i]);
    ASSERT_EQ(pool.freeList.size(), 3u);

    EXPECT_EQ(pool.mutexPoolAcquireForObject(&objects[0]), lent[1]);
    EXPECT_EQ(pool.mutexPoolAcquireForObject(&objects[1]), lent[2]);
    EXPECT_EQ(pool.mutexPoolAcquireForObject(&objects[2]), lent[0]);
    pool.mutexPoolReleaseForObject(lent[1], &objects[0]);
    pool.mutexPoolReleaseForObject(lent[2], &objects[1]);
    pool.mutexPoolReleaseForObject(lent[0], &objects[2]);
    EXPECT_EQ(pool.freeList.size(), 3u);
}

TEST(MutexPoolReleaseForObject, IgnoresNullAndAMutexGivenBackTooOften)
{
    CKMutexPoolManager pool;
    CKObject object(true);
    pool.mutexPoolReleaseForObject(nullptr, &object);
    EXPECT_TRUE(pool.freeList.empty());
    CKMutex* const mutex = pool.mutexPoolAcquireForObject(&object);
    pool.mutexPoolReleaseForObject(mutex, &object);
    pool.mutexPoolReleaseForObject(mutex, &object);
    EXPECT_EQ(pool.freeList.size(), 1u);
    EXPECT_EQ(mutex->useCount, 0u);
}

TEST(PooledLock, BorrowsOneMutexForTwoReadersAndGivesItBackWithTheLast)
{
    CKMutexPoolManager* const pool = CKMutexPoolManager::GetUniqueClass();
    CKObject object(true);
    object.LockShared();
    std::thread second([&] { object.LockShared(); });
    second.join();
    EXPECT_EQ(object.mutex->useCount, 2u);
    EXPECT_EQ(pool->lentMap.at(&object), object.mutex);

    CKMutex* const mutex = object.mutex;
    object.UnlockShared();
    EXPECT_EQ(mutex->useCount, 1u);
    object.UnlockShared();
    EXPECT_EQ(mutex->useCount, 0u);
    EXPECT_TRUE(pool->lentMap.empty());
    EXPECT_EQ(pool->freeList.back(), mutex);
}

TEST(PooledLock, UsesTwoMutexesForTwoObjectsAndThenTheOneGivenBackFirst)
{
    CKMutexPoolManager* const pool = CKMutexPoolManager::GetUniqueClass();
    CKObject one(true);
    CKObject two(true);
    one.Lock();
    two.Lock();
    CKMutex* const first = one.mutex;
    CKMutex* const second = two.mutex;
    EXPECT_NE(first, second);
    two.Unlock();
    one.Unlock();

    // Whatever lay on the free list before is lent before these two.
    while (pool->freeList.front() != second)
    {
        ASSERT_NE(pool->freeList.front(), first) << "the one given back last comes first";
        CKObject other(true);
        other.Lock();
        other.Unlock();
    }
    CKObject third(true);
    third.Lock();
    EXPECT_EQ(third.mutex, second);
    third.Unlock();
}

namespace
{

struct checked_object : CKObject
{
    checked_object() : CKObject(true) {}

    std::uint64_t a = 0; // guarded by the object's lock: b is always the complement of a
    std::uint64_t b = ~std::uint64_t{0};
};

constexpr unsigned kThreads = 16;
constexpr unsigned kObjects = 1000;

#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__)
constexpr unsigned kRounds = 4000;
#else
constexpr unsigned kRounds = 20000;
#endif

/// Picks objects at random, writes under the exclusive lock and checks under the shared one.
void work_on(std::vector<checked_object>& objects, std::uint64_t random, std::atomic<unsigned>& torn,
             std::atomic<std::uint64_t>& writes, std::atomic<unsigned>& held, std::atomic<unsigned>& peak)
{
    for (unsigned round = 0; round < kRounds; ++round)
    {
        random = random * 6364136223846793005ULL + 1442695040888963407ULL;
        // A few objects are picked often, so that threads meet.
        const unsigned pick = static_cast<unsigned>(random >> 33);
        checked_object& object = objects[pick % 4 == 0 ? (pick / 4) % 8 : (pick / 4) % kObjects];
        const unsigned now_held = ++held;
        for (unsigned seen = peak; seen < now_held && !peak.compare_exchange_weak(seen, now_held);)
            ;
        if (random >> 63)
        {
            object.Lock();
            ++object.a;
            object.b = ~object.a;
            ++writes;
            object.Unlock();
        }
        else
        {
            object.LockShared();
            if (object.b != ~object.a)
                ++torn;
            object.UnlockShared();
        }
        --held;
    }
}

} // namespace

TEST(PooledLock, ExcludesSixteenThreadsOnAThousandObjectsWithAtMostOneMutexPerThread)
{
    std::vector<checked_object> objects(kObjects);
    std::atomic<unsigned> torn{0};
    std::atomic<unsigned> held{0};
    std::atomic<unsigned> peak{0};
    std::atomic<std::uint64_t> writes{0};
    const std::size_t before = pool_size();
    std::vector<std::thread> threads;
    for (unsigned i = 0; i < kThreads; ++i)
        threads.emplace_back([&, i] { work_on(objects, i + 1, torn, writes, held, peak); });
    for (std::thread& thread : threads)
        thread.join();

    EXPECT_EQ(torn, 0u);
    std::uint64_t written = 0;
    for (const checked_object& object : objects)
        written += object.a;
    EXPECT_EQ(written, writes);
    EXPECT_TRUE(CKMutexPoolManager::GetUniqueClass()->lentMap.empty());
    EXPECT_LE(pool_size(), std::max<std::size_t>(before, peak));
}

TEST(PooledLock, MakesAsManyMutexesAsObjectsAreLockedAtOnce)
{
    CKMutexPoolManager* const pool = CKMutexPoolManager::GetUniqueClass();
    const std::size_t before = pool_size();
    const std::size_t peak = before + 5;
    std::vector<CKObject> objects(peak, CKObject(true));
    std::set<CKMutex*> mutexes;
    for (CKObject& object : objects)
    {
        object.Lock();
        mutexes.insert(object.mutex);
    }
    EXPECT_EQ(mutexes.size(), peak);
    EXPECT_EQ(pool_size(), peak);
    for (CKObject& object : objects)
        object.Unlock();
    for (CKObject& object : objects)
    {
        object.Lock();
        object.Unlock();
    }
    EXPECT_EQ(pool_size(), peak);
    EXPECT_EQ(pool->freeList.size(), peak);
}
