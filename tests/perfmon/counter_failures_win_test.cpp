#include <vector>

#include <gtest/gtest.h>

#include "tests/perfmon/busy_host_win.h"
#include "tests/perfmon/monitor_copy_win.h"
#include "tests/support/deadline.h"

using namespace kf::perfmon::test;
using kf::test::wait_until;

// KEPT[physical-disk-name]
TEST(MonitorWithoutNames, UsesTheEnglishOnes)
{
    const monitor_copy monitor;
    host_traits traits;
    traits.knows_names = false;
    const german_host host(monitor, traits);
    monitor.start();
    ASSERT_TRUE(monitor.wait_for_pauses(1));
    EXPECT_EQ(german_host::count("list Network Interface"), 2);
    EXPECT_EQ(german_host::count("list Physical Disk"), 2);
    ASSERT_FALSE(german_host::paths().empty());
    EXPECT_EQ(german_host::paths().front(), L"\\Processor(0)\\% Processor Time");
}

TEST(MonitorWithoutLists, HasNoInstancesWhenTheFirstAnswerIsNotMoreData)
{
    for (const PDH_STATUS answer : {static_cast<PDH_STATUS>(0xC0000BD3), PDH_STATUS{ERROR_SUCCESS}})
    {
        const monitor_copy monitor;
        host_traits traits = busy_host();
        traits.first_answer = answer;
        const german_host host(monitor, traits);
        monitor.start();
        ASSERT_TRUE(monitor.wait_for_pauses(kOneCycle));
        EXPECT_EQ(german_host::count("list Netzwerkschnittstelle"), 1);
        EXPECT_EQ(monitor.nics(), 0u);
        EXPECT_EQ(monitor.disks(), 0u);
        EXPECT_EQ(monitor.cpu(0), 12.5);
    }
}

TEST(MonitorWithoutLists, HasNoInstancesWhenTheSecondAnswerFails)
{
    const monitor_copy monitor;
    host_traits traits;
    traits.second_answer = static_cast<PDH_STATUS>(PDH_MORE_DATA);
    const german_host host(monitor, traits);
    monitor.start();
    ASSERT_TRUE(monitor.wait_for_pauses(1));
    EXPECT_EQ(monitor.nics(), 0u);
    EXPECT_EQ(monitor.disks(), 0u);
}

TEST(MonitorWithoutLists, HasNoInstancesWhenAListGrowsBetweenTheCalls)
{
    const monitor_copy monitor;
    host_traits traits = busy_host();
    traits.lists_grow = true;
    const german_host host(monitor, traits);
    monitor.start();
    ASSERT_TRUE(monitor.wait_for_pauses(kOneCycle));
    EXPECT_EQ(german_host::count("list Netzwerkschnittstelle"), 2);
    EXPECT_EQ(monitor.nics(), 0u);
    EXPECT_EQ(monitor.disks(), 0u);
    EXPECT_EQ(monitor.cpu(0), 12.5);
}

TEST(MonitorWithFailingCollections, CollectsAtMostOnceASecond)
{
    const monitor_copy monitor;
    host_traits traits = busy_host();
    traits.failing_collections = 5;
    const german_host host(monitor, traits);
    monitor.start();
    ASSERT_TRUE(wait_until([&] { return monitor.cpu(0) == 12.5; }));
    const std::vector<int> pauses = german_host::pauses_before_collections();
    ASSERT_GE(pauses.size(), 7u);
    for (std::size_t i = 0; i < pauses.size(); ++i)
        EXPECT_EQ(pauses[i], static_cast<int>(i == 0 ? 0 : i <= 5 ? i : pauses[i])) << i;
    for (std::size_t i = 1; i < pauses.size(); ++i)
        EXPECT_GT(pauses[i], pauses[i - 1]) << i;
}

TEST(MonitorWithRefusedCounters, ReadsThemAsNothing)
{
    const monitor_copy monitor;
    host_traits traits = busy_host();
    traits.refuses = [](const std::wstring& path)
    {
        return path == core_path(0) || path == path_of(kGermanInterface, L"Intel[R] Ethernet", kBandwidth) ||
               path == path_of(kGermanDisk, L"0 C:", kReadTime);
    };
    const german_host host(monitor, traits);
    monitor.start();
    ASSERT_TRUE(monitor.wait_for_pauses(kOneCycle));
    EXPECT_EQ(monitor.cpu(0), 0.0);
    EXPECT_EQ(monitor.nic_received(0), 1200u);
    EXPECT_EQ(monitor.nic_usage(0), 0.0);
    EXPECT_EQ(monitor.disk_total(0), 12.25);
    EXPECT_EQ(monitor.disk_read(0), 0.0);
    EXPECT_EQ(monitor.disk_write(0), 3.75);
    EXPECT_EQ(german_host::count("misuse"), 0);
}

TEST(MonitorWithUnreadableCounter, ReadsItAsNothing)
{
    const monitor_copy monitor;
    host_traits traits = busy_host();
    traits.unreadable = path_of(kGermanDisk, L"0 C:", kReadTime);
    const german_host host(monitor, traits);
    monitor.start();
    ASSERT_TRUE(monitor.wait_for_pauses(kOneCycle));
    EXPECT_EQ(monitor.disk_total(0), 12.25);
    EXPECT_EQ(monitor.disk_read(0), 0.0);
    EXPECT_EQ(monitor.disk_write(0), 3.75);
}

TEST(MonitorWithoutQuery, KeepsNamesAndMemoryAndNeverCollects)
{
    const monitor_copy monitor;
    host_traits traits = busy_host();
    traits.opens = false;
    const german_host host(monitor, traits);
    monitor.start();
    ASSERT_TRUE(monitor.wait_for_pauses(kOneCycle));
    EXPECT_EQ(monitor.nics(), 2u);
    EXPECT_EQ(monitor.nic_received(0), 0u);
    EXPECT_EQ(monitor.disk_total(0), 0.0);
    EXPECT_EQ(monitor.cpu(0), 0.0);
    EXPECT_GT(monitor.ram_amount(), 0u);
    monitor.stop();
    EXPECT_EQ(german_host::count("collect"), 0);
    EXPECT_EQ(german_host::count("close"), 0);
    EXPECT_EQ(german_host::count("misuse"), 0);
    EXPECT_TRUE(german_host::paths().empty());
}
