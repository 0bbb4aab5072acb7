#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstring>
#include <memory>
#include <thread>

#include <gtest/gtest.h>

#include "KFramework/object.h"
#include "KFramework/process.h"
#include "tests/support/deadline.h"
#include "tests/support/object_surroundings.h"

using KFramework::CKMutexPoolManager;
using KFramework::CKObject;
using KFramework::CKRefCountedObject;

namespace
{

/// Longer than any thread here needs to get past a lock that is free.
constexpr std::chrono::milliseconds kStillBlocked{100};

std::ptrdiff_t offset(const CKObject& object, const void* field)
{
    return static_cast<const char*>(field) - reinterpret_cast<const char*>(&object);
}

/// Runs an action on a thread of its own and tells whether it is through.
class other_thread
{
public:
    template <class Action>
    explicit other_thread(Action action)
        : thread_(
              [this, action]
              {
                  action();
                  done_ = true;
              })
    {
    }
    other_thread(const other_thread&) = delete;
    other_thread& operator=(const other_thread&) = delete;
    ~other_thread() { thread_.join(); }

    bool through() const
    {
        return kf::test::wait_until([this] { return done_.load(); });
    }
    bool still_blocked() const
    {
        std::this_thread::sleep_for(kStillBlocked);
        return !done_;
    }

private:
    std::atomic<bool> done_{false};
    std::thread thread_;
};

class both_kinds : public testing::TestWithParam<bool>
{
};

} // namespace

// KEPT[object-counts]
TEST(CKObject, StartsUnreferencedAndUnlocked)
{
    const CKObject pooled(true);
    EXPECT_TRUE(pooled.pooled);
    EXPECT_EQ(pooled.mutex, nullptr);
    EXPECT_EQ(pooled.lockingDisabledThread, 0u);
    EXPECT_EQ(pooled.disableCount, 0u);
    EXPECT_EQ(pooled.referenceCount, 0u);

    const CKObject own(false);
    EXPECT_FALSE(own.pooled);
    ASSERT_NE(own.mutex, nullptr);
    EXPECT_EQ(own.mutex->useCount, 0u);
    EXPECT_EQ(own.referenceCount, 0u);
}

// KEPT[object-counts]
TEST(CKRefCountedObject, StartsWithOneReferenceAndAnOwnMutex)
{
    const CKRefCountedObject object;
    EXPECT_FALSE(object.pooled);
    EXPECT_NE(object.mutex, nullptr);
    EXPECT_EQ(object.referenceCount, 1u);
}

TEST(CKObject, KeepsItsFieldsInOrderBehindTheTablePointer)
{
    const CKObject object(true);
    EXPECT_EQ(offset(object, &object.pooled), 8);
    EXPECT_EQ(offset(object, &object.mutex), 16);
    EXPECT_EQ(offset(object, &object.lockingDisabledThread), 24);
    EXPECT_EQ(offset(object, &object.disableCount), 32);
    EXPECT_EQ(offset(object, &object.referenceCount), 36);
    EXPECT_EQ(sizeof(KFramework::CKMutex), 16u);
}

TEST(CKObject, GivesACopyOfAnOwningObjectItsOwnMutex)
{
    CKObject source(false);
    source.Retain();
    CKObject copy(source);
    EXPECT_NE(copy.mutex, source.mutex);
    EXPECT_EQ(copy.referenceCount, 1u);
    CKObject assigned(false);
    KFramework::CKMutex* const own = assigned.mutex;
    assigned = source;
    EXPECT_EQ(assigned.mutex, own);
    EXPECT_EQ(assigned.referenceCount, 1u);
    source.Lock();
    copy.Lock();
    assigned.Lock();
    assigned.Unlock();
    copy.Unlock();
    source.Unlock();
}

TEST(Retain, CountsUpAndReleaseCountsDown)
{
    CKObject object(true);
    object.Retain();
    object.Retain();
    EXPECT_EQ(object.referenceCount, 2u);
    object.Release();
    EXPECT_EQ(object.referenceCount, 1u);
}

TEST(Release, DoesNotCrashWithoutACollector)
{
    ASSERT_EQ(KFramework::gSTGarbageCollector, nullptr);
    CKObject object(true);
    object.Retain();
    object.Release();
    EXPECT_EQ(object.referenceCount, 0u);
}

TEST(Release, DeletesARefCountedObjectWithItsLastReference)
{
    struct noting : CKRefCountedObject
    {
        explicit noting(bool& gone) : gone_(gone) {}
        ~noting() override { gone_ = true; }
        bool& gone_;
    };
    bool gone = false;
    auto* const object = new noting(gone);
    object->Retain();
    object->Release();
    EXPECT_FALSE(gone);
    object->Release();
    EXPECT_TRUE(gone);
}

TEST(VirtualTable, HoldsTheDestructorAndThenReleaseAndNothingElse)
{
    struct overriding : CKObject
    {
        overriding(int& destroyed, int& released) : CKObject(true), destroyed_(destroyed), released_(released)
        {
        }
        ~overriding() override { ++destroyed_; }
        void Release() override { ++released_; }
        int& destroyed_;
        int& released_;
    };
    int destroyed = 0;
    int released = 0;
    auto* const object = new overriding(destroyed, released);

    // The table as this compiler lays it out: two entries for the destructor, then Release.
    using method = void (*)(CKObject*);
    const auto table_of = [](const CKObject* of)
    {
        const method* table = nullptr;
        std::memcpy(&table, static_cast<const void*>(of), sizeof table);
        return table;
    };
    const method* const table = table_of(object);
    table[2](object);
    EXPECT_EQ(released, 1);
    table[1](object);
    EXPECT_EQ(destroyed, 1);

    // A class that overrides what it may has as many entries as one that overrides nothing: the entry behind
    // Release belongs to whatever a further derived class adds first.
    struct adding : CKObject
    {
        explicit adding(int& called) : CKObject(true), called_(called) {}
        virtual void added() { ++called_; }
        int& called_;
    };
    int called = 0;
    adding further(called);
    table_of(&further)[3](&further);
    EXPECT_EQ(called, 1);
}

INSTANTIATE_TEST_SUITE_P(OwnAndPooled, both_kinds, testing::Bool());

TEST_P(both_kinds, LockKeepsOtherThreadsOutUntilUnlock)
{
    CKObject object(GetParam());
    object.Lock();
    other_thread writer(
        [&]
        {
            object.Lock();
            object.Unlock();
        });
    other_thread reader(
        [&]
        {
            object.LockShared();
            object.UnlockShared();
        });
    EXPECT_TRUE(writer.still_blocked());
    EXPECT_TRUE(reader.still_blocked());
    object.Unlock();
    EXPECT_TRUE(writer.through());
    EXPECT_TRUE(reader.through());
}

TEST_P(both_kinds, LockSharedLetsReadersInAndKeepsWritersOut)
{
    CKObject object(GetParam());
    object.LockShared();
    {
        other_thread reader(
            [&]
            {
                object.LockShared();
                object.UnlockShared();
            });
        EXPECT_TRUE(reader.through());
    }
    other_thread writer(
        [&]
        {
            object.Lock();
            object.Unlock();
        });
    EXPECT_TRUE(writer.still_blocked());
    object.UnlockShared();
    EXPECT_TRUE(writer.through());
}

TEST_P(both_kinds, DisableLockingLetsItsOwnThreadThroughAndNoOther)
{
    CKObject object(GetParam());
    object.Lock();
    object.DisableLocking();
    object.Lock(); // would wait for itself
    object.Unlock();
    object.LockShared();
    object.UnlockShared();
    other_thread writer(
        [&]
        {
            object.Lock();
            object.Unlock();
        });
    EXPECT_TRUE(writer.still_blocked());
    object.EnableLocking();
    object.Unlock();
    EXPECT_TRUE(writer.through());
}

TEST_P(both_kinds, EnableLockingCountsAndStopsAtZero)
{
    CKObject object(GetParam());
    object.DisableLocking();
    object.DisableLocking();
    EXPECT_EQ(object.disableCount, 2u);
    object.EnableLocking();
    EXPECT_NE(object.lockingDisabledThread, 0u);
    object.EnableLocking();
    EXPECT_EQ(object.lockingDisabledThread, 0u);
    object.EnableLocking();
    EXPECT_EQ(object.disableCount, 0u);
    EXPECT_EQ(object.lockingDisabledThread, 0u);
    object.Lock();
    other_thread writer(
        [&]
        {
            object.Lock();
            object.Unlock();
        });
    EXPECT_TRUE(writer.still_blocked());
    object.Unlock();
    EXPECT_TRUE(writer.through());
}

// KEPT[disable-count]
TEST(DisableLocking, CountsForAllThreadsAndIsInForceForTheLastOne)
{
    CKObject object(false);
    object.DisableLocking();
    const unsigned long long own = object.lockingDisabledThread;
    unsigned long long theirs = 0;
    std::thread other(
        [&]
        {
            object.DisableLocking();
            theirs = object.lockingDisabledThread;
        });
    other.join();
    EXPECT_NE(own, theirs);
    EXPECT_EQ(object.disableCount, 2u);

    // Ours is no longer in force, and stays so while theirs is not undone.
    object.EnableLocking();
    EXPECT_EQ(object.lockingDisabledThread, theirs);
    object.Lock();
    EXPECT_FALSE(KFramework::KProcesses::TryLockMutex(object.mutex->mutex));
    object.Unlock();
    object.EnableLocking();
    EXPECT_EQ(object.lockingDisabledThread, 0u);
}

// KEPT[shared-lock-test]
TEST(LockShared, IsSkippedWhenTheDisabledThreadEqualsTheCallerEvenForZero)
{
    const kf::test::thread_identity nobody(0);
    CKObject object(true);
    object.LockShared();
    EXPECT_EQ(object.mutex, nullptr) << "borrowed a mutex";
    object.UnlockShared();
    object.Lock();
    ASSERT_NE(object.mutex, nullptr) << "Lock takes 0 for nobody";
    EXPECT_EQ(object.mutex->useCount, 1u);
    object.Unlock();
}

TEST(Unlock, DoesNothingOnAPooledObjectThatWasNeverLocked)
{
    CKObject object(true);
    object.Unlock();
    object.UnlockShared();
    EXPECT_EQ(object.mutex, nullptr);
    object.Lock();
    object.Unlock();
}
