#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "KFramework/platform/handles_win.h"
#include "tests/perfmon/german_host_win.h"
#include "tests/perfmon/monitor_copy_win.h"
#include "tests/support/deadline.h"
#include "tests/support/handle_count_win.h"

using namespace kf::perfmon::test;
using kf::test::wait_until;

namespace
{
/// Pauses may be waited for; the end of a thread may not.
DWORD WINAPI fail_endless_wait(HANDLE handle, DWORD milliseconds)
{
    return milliseconds == INFINITE ? WAIT_FAILED : ::WaitForSingleObject(handle, milliseconds);
}

HANDLE own_thread()
{
    HANDLE thread = nullptr;
    ::DuplicateHandle(::GetCurrentProcess(), ::GetCurrentThread(), ::GetCurrentProcess(), &thread, 0, FALSE,
                      DUPLICATE_SAME_ACCESS);
    return thread;
}

DWORD freeing_thread = 0;
bool freed_before_the_end = false;

/// Notes what freeing_thread frees while the monitor's query is open.
void note_freed(void* memory, std::size_t size)
{
    if (::GetCurrentThreadId() == freeing_thread && german_host::count("close") == 0)
        freed_before_the_end = true;
    ::operator delete(memory, size);
}
} // namespace

TEST(Monitor, StopsWithItsQueryClosedAndItsItemsForgotten)
{
    const monitor_copy monitor;
    const german_host host(monitor);
    monitor.start();
    ASSERT_TRUE(monitor.wait_for_pauses(2));
    EXPECT_EQ(monitor.nics(), 2u);
    monitor.stop();
    EXPECT_EQ(german_host::count("open"), 1);
    EXPECT_EQ(german_host::count("close"), 1);
    expect_no_devices(monitor);
    monitor.stop();
    EXPECT_EQ(german_host::count("close"), 1);
}

TEST(Monitor, NeedsNoStopWhenItDoesNotRun)
{
    const monitor_copy monitor;
    const german_host host(monitor);
    monitor.stop();
    EXPECT_EQ(german_host::journal(), std::vector<std::string>{});
    monitor.start();
    ASSERT_TRUE(monitor.wait_for_pauses(3));
    EXPECT_GE(german_host::count("collect"), 2);
}

// KEPT[monitor-stops-for-good]
TEST(Monitor, EndsAtOnceWhenItIsStartedAfterAStop)
{
    const monitor_copy monitor;
    const german_host host(monitor);
    monitor.start();
    ASSERT_TRUE(monitor.wait_for_pauses(1));
    monitor.stop();
    const int collections = german_host::count("collect");
    EXPECT_GT(monitor.ram_amount(), 0u);
    EXPECT_EQ(monitor_copy::threads_started(), 2);
    ASSERT_TRUE(wait_until([] { return german_host::count("close") == 2; }));
    EXPECT_EQ(german_host::count("collect"), collections);
    EXPECT_EQ(monitor.nics(), 2u);
    EXPECT_EQ(monitor.nic_received(0), 0u);
}

TEST(Monitor, GivesEveryHandleBackAfterAHundredStartsAndStops)
{
    const monitor_copy monitor;
    const german_host host(monitor);
    monitor.start();
    monitor.stop();
    const std::size_t before = kf::test::handle_count();
    for (int i = 0; i < 100; ++i)
    {
        monitor.start();
        monitor.stop();
    }
    EXPECT_TRUE(wait_until([&] { return kf::test::handle_count() <= before; }))
        << kf::test::handle_count() << " handles, before " << before;
    EXPECT_EQ(german_host::count("open"), 101);
    EXPECT_EQ(german_host::count("close"), 101);
}

TEST(Monitor, AnswersSixteenThreadsWhileTheLibraryShutsDownAndItStops)
{
    const monitor_copy monitor;
    const german_host host(monitor);
    monitor.start();
    ASSERT_TRUE(monitor.wait_for_pauses(1));
    std::atomic<bool> done{false};
    std::atomic<int> rounds{0};
    std::vector<std::thread> askers;
    for (int i = 0; i < 16; ++i)
        askers.emplace_back(
            [&, i]
            {
                while (!done)
                {
                    EXPECT_EQ(monitor.cpu(0), 0.0);
                    EXPECT_LE(monitor.nics(), 2u);
                    EXPECT_LE(monitor.nic_name(1).size(), 20u);
                    EXPECT_EQ(monitor.nic_received(1), 0u);
                    EXPECT_EQ(monitor.disk_total(0), 0.0);
                    EXPECT_GT(monitor.ram_amount(), 0u);
                    monitor.monitor_pid(i, 0);
                    EXPECT_LE(monitor.nics_report().size(), 200u);
                    ++rounds;
                }
            });
    for (int i = 0; i < 3; ++i)
    {
        const int goal = rounds + 16;
        EXPECT_TRUE(wait_until([&] { return rounds >= goal; }));
        i == 0 ? monitor.shutdown() : monitor.stop();
    }
    done = true;
    for (std::thread& asker : askers)
        asker.join();
    EXPECT_EQ(german_host::count("misuse"), 0);
}

TEST(Monitor, StoresNothingAfterAStopThatCouldNotWaitForItsThread)
{
    const monitor_copy monitor;
    host_traits traits;
    kf::platform::unique_handle thread;
    std::atomic<bool> reached{false}, stopped{false};
    traits.on_collection = [&](int collection)
    {
        if (collection != 2)
            return;
        thread.reset(own_thread());
        reached = true;
        EXPECT_TRUE(wait_until([&] { return stopped.load(); }));
    };
    const german_host host(monitor, traits);
    monitor.start();
    ASSERT_TRUE(wait_until([&] { return reached.load(); }));
    {
        const kf::test::import_hook refused(monitor.name(), "WaitForSingleObject", fail_endless_wait);
        monitor.stop();
    }
    expect_no_devices(monitor);
    stopped = true;
    EXPECT_TRUE(wait_until([&] { return ::WaitForSingleObject(thread.get(), 0) == WAIT_OBJECT_0; }));
    expect_no_devices(monitor);
    EXPECT_EQ(german_host::count("close"), 1);
    EXPECT_EQ(german_host::count("misuse"), 0);
}

TEST(ShutdownLibrary, StopsTheMonitorFirst)
{
    const monitor_copy monitor;
    const german_host host(monitor);
    monitor.start();
    ASSERT_TRUE(monitor.wait_for_pauses(1));
    freeing_thread = ::GetCurrentThreadId();
    freed_before_the_end = false;
    {
        const kf::test::import_hook freeing(monitor.name(), "_ZdlPvy", note_freed);
        monitor.shutdown();
    }
    EXPECT_FALSE(freed_before_the_end) << "the mutexes go behind the monitor";
    EXPECT_EQ(german_host::count("close"), 1);
    expect_no_devices(monitor);
}
