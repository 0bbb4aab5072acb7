#include <atomic>
#include <chrono>
#include <thread>

#include <gtest/gtest.h>

#include "KFramework/core.h"
#include "KFramework/object.h"
#include "KFramework/process.h"
#include "tests/support/deadline.h"
#include "tests/support/import_hook_win.h"
#include "tests/support/object_surroundings.h"

using namespace KFramework;

namespace
{

/// Longer than any call here takes when nothing blocks it.
constexpr std::chrono::milliseconds kStillBlocked{100};

/// Runs a call on another thread while this one holds the global mutex, and tells whether the call waits for it
/// without holding the collector's mutex.
template <class Call>
bool waits_for_the_time_outside_the_collectors_mutex(Call call)
{
    LockGlobalMutex();
    std::atomic<bool> through{false};
    std::thread other(
        [&]
        {
            call();
            through = true;
        });
    std::this_thread::sleep_for(kStillBlocked);
    const bool waits = !through;
    const bool is_free = KProcesses::TryLockMutex(gSTGarbageCollector->mutex);
    if (is_free)
        KProcesses::UnlockMutex(gSTGarbageCollector->mutex);
    UnlockGlobalMutex();
    other.join();
    return waits && is_free;
}

__time64_t stopped_clock(__time64_t*)
{
    return 0;
}

__time64_t live_clock(__time64_t*)
{
    return 7000;
}

} // namespace

TEST(GarbageCollector, AsksForTheServerTimeBeforeItTakesItsMutex)
{
    InitializeLibrary(nullptr);
    CKObjectGarbageCollector* const collector = CKObjectGarbageCollector::GetUniqueClass();
    auto* const object = new CKObject(true);
    object->Retain();
    EXPECT_TRUE(waits_for_the_time_outside_the_collectors_mutex([&] { object->Release(); }));
    EXPECT_TRUE(waits_for_the_time_outside_the_collectors_mutex([&] { collector->AddObjectToGC(object); }));
    EXPECT_TRUE(waits_for_the_time_outside_the_collectors_mutex([&] { collector->FlushGC(true); }));
    CKObjectGarbageCollector::DestroyUniqueClass();
}

TEST(GarbageCollector, IsDestroyedWithoutAskingForTheTimeSoThatItMayOutliveTheGlobalMutex)
{
    InitializeLibrary(nullptr);
    CKObjectGarbageCollector::GetUniqueClass();
    auto* const object = new CKObject(true);
    object->Retain();
    object->Release();
    LockGlobalMutex();
    std::atomic<bool> through{false};
    std::thread other(
        [&]
        {
            CKObjectGarbageCollector::DestroyUniqueClass();
            through = true;
        });
    EXPECT_TRUE(kf::test::wait_until([&] { return through.load(); }));
    UnlockGlobalMutex();
    other.join();
}

TEST(GarbageCollector, GoesByTheLiveClockWhileNoServerTimeIsStored)
{
    {
        const kf::test::import_hook hook("_time64", &stopped_clock);
        InitializeLibrary(nullptr);
    }
    CKObjectGarbageCollector* const collector = CKObjectGarbageCollector::GetUniqueClass();
    {
        const kf::test::import_hook hook("_time64", &live_clock);
        collector->AddObjectToGC(nullptr);
    }
    EXPECT_EQ(collector->table.at(nullptr), 7000);
    CKObjectGarbageCollector::DestroyUniqueClass();
    kf::test::set_server_time(1);
}
