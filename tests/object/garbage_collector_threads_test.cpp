#include <algorithm>
#include <atomic>
#include <cstddef>
#include <memory>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "KFramework/object.h"
#include "tests/support/object_surroundings.h"

using kf::test::set_server_time;
using KFramework::CKObject;
using KFramework::CKObjectGarbageCollector;
using KFramework::gSTGarbageCollector;

namespace
{

constexpr std::size_t kShared = 10000;
constexpr unsigned kThreads = 8;

/// Counts its ends. Its memory outlives it, so that threads may touch its count too late.
struct lasting : CKObject
{
    explicit lasting(std::atomic<unsigned>& ended) : CKObject(true), ended_(ended) {}
    ~lasting() override { ++ended_; }
    static void* operator new(std::size_t, void* room) { return room; }
    static void operator delete(void*) {}
    std::atomic<unsigned>& ended_;
};

class shared_objects : public testing::Test
{
protected:
    shared_objects() : memory_(new std::byte[kShared * sizeof(lasting)]), ends_(kShared)
    {
        set_server_time(1000);
        CKObjectGarbageCollector::GetUniqueClass()->SetObjectsTTL(-1);
        for (std::size_t i = 0; i < kShared; ++i)
            objects.push_back(new (memory_.get() + i * sizeof(lasting)) lasting(ends_[i]));
    }
    ~shared_objects() override { CKObjectGarbageCollector::DestroyUniqueClass(); }

    /// Runs the work on eight threads while a further one sweeps without pause, then deletes what is left.
    template <class Work>
    void run_while_sweeping(Work work)
    {
        std::atomic<bool> stop{false};
        std::thread sweeper(
            [&]
            {
                while (!stop)
                    gSTGarbageCollector->FlushGC(false);
            });
        std::vector<std::thread> threads;
        for (unsigned t = 0; t < kThreads; ++t)
            threads.emplace_back(
                [&, t]
                {
                    // Two threads each go the same way, so that they meet on the same objects.
                    for (std::size_t i = 0; i < kShared; ++i)
                        work(*objects[(i + t / 2 * (kShared / 4)) % kShared]);
                });
        for (std::thread& thread : threads)
            thread.join();
        stop = true;
        sweeper.join();
        gSTGarbageCollector->FlushGC(true);
        EXPECT_TRUE(gSTGarbageCollector->table.empty());
    }

    std::ptrdiff_t ended_once() const
    {
        return std::count_if(ends_.begin(), ends_.end(), [](const auto& count) { return count == 1; });
    }

    std::vector<lasting*> objects;

private:
    std::unique_ptr<std::byte[]> memory_;
    std::vector<std::atomic<unsigned>> ends_;
};

/// What a thread does that found the object by a pointer it should no longer have.
__attribute__((no_sanitize("undefined"))) void retain_and_release_too_late(CKObject& object)
{
    object.Retain();
    object.CKObject::Release();
}

} // namespace

TEST_F(shared_objects, EndOnceWhenEightThreadsRetainAndReleaseThemAndGiveUpTheirReferences)
{
    for (lasting* const object : objects)
        for (unsigned t = 0; t < kThreads; ++t)
            object->Retain();
    run_while_sweeping(
        [](CKObject& object)
        {
            object.Retain();
            object.Release();
            object.Release();
        });
    EXPECT_EQ(ended_once(), static_cast<std::ptrdiff_t>(kShared));
}

TEST_F(shared_objects, EndOnceEvenWhenThreadsRetainAndReleaseThemTooLate)
{
    run_while_sweeping([](CKObject& object) { retain_and_release_too_late(object); });
    EXPECT_EQ(ended_once(), static_cast<std::ptrdiff_t>(kShared));
}
