#include "tests/perfmon/monitor_copy_win.h"

#include <atomic>
#include <process.h>

#include <gtest/gtest.h>

#include "tests/support/deadline.h"

namespace kf::perfmon::test
{
namespace
{
constexpr DWORD kSecond = 1000;
constexpr DWORD kShortSecond = 5;

std::atomic<int> pauses_begun{0};
std::atomic<int> threads{0};

DWORD WINAPI wait_less(HANDLE handle, DWORD milliseconds)
{
    if (milliseconds != kSecond)
        return ::WaitForSingleObject(handle, milliseconds);
    ++pauses_begun;
    return ::WaitForSingleObject(handle, kShortSecond);
}

std::uintptr_t __cdecl count_thread(void* security, unsigned stack, unsigned(__stdcall* routine)(void*),
                                    void* data, unsigned flags, unsigned* id)
{
    ++threads;
    return ::_beginthreadex(security, stack, routine, data, flags, id);
}
} // namespace

monitor_copy::monitor_copy()
    : waiting_(name(), "WaitForSingleObject", wait_less), starting_(name(), "_beginthreadex", count_thread)
{
    pauses_begun = 0;
    threads = 0;
    initialize(nullptr);
}

monitor_copy::~monitor_copy()
{
    stop();
}

int monitor_copy::pauses()
{
    return pauses_begun;
}

bool monitor_copy::wait_for_pauses(int count)
{
    const int goal = pauses_begun + count;
    return kf::test::wait_until([&] { return pauses_begun >= goal; });
}

int monitor_copy::threads_started()
{
    return threads;
}

void expect_no_devices(const monitor_copy& monitor)
{
    EXPECT_EQ(monitor.nics(), 0u);
    EXPECT_EQ(monitor.disks(), 0u);
    EXPECT_EQ(monitor.nic_name(0), "");
    EXPECT_EQ(monitor.disk_name(0), "");
    EXPECT_EQ(monitor.nic_received(0), 0u);
    EXPECT_EQ(monitor.nic_sent(0), 0u);
    EXPECT_EQ(monitor.nic_usage(0), 0.0);
    EXPECT_EQ(monitor.disk_total(0), 0.0);
    EXPECT_EQ(monitor.disk_read(0), 0.0);
    EXPECT_EQ(monitor.disk_write(0), 0.0);
    EXPECT_EQ(monitor.nics_report(), "");
    EXPECT_EQ(monitor.disks_report(), "");
}
} // namespace kf::perfmon::test
