#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/perfmon/busy_host_win.h"
#include "tests/perfmon/monitor_copy_win.h"

using namespace kf::perfmon::test;

namespace
{
std::vector<std::wstring> expected_paths(int processors)
{
    std::vector<std::wstring> paths;
    for (int core = 0; core < processors; ++core)
        paths.push_back(core_path(core));
    for (const wchar_t* name : {L"Intel[R] Ethernet", L"Ärger [R] Netz"})
        for (const std::wstring& counter : {kTotalBytes, kSentBytes, kBandwidth})
            paths.push_back(path_of(kGermanInterface, name, counter));
    for (const wchar_t* name : {L"0 C:", L"1 D:"})
        for (const std::wstring& counter : {kTime, kReadTime, kWriteTime})
            paths.push_back(path_of(kGermanDisk, name, counter));
    return paths;
}
} // namespace

TEST(MonitorOfAGermanHost, FindsEveryCounterByItsIndex)
{
    const monitor_copy monitor;
    const german_host host(monitor, busy_host());
    monitor.start();
    ASSERT_TRUE(monitor.wait_for_pauses(kOneCycle));

    EXPECT_EQ(german_host::paths(), expected_paths(monitor.processors()));
    for (const int index : {238, 6, 510, 388, 506, 520, 234, 200, 202, 204})
        EXPECT_EQ(german_host::count("name " + std::to_string(index)), 1) << index;
    EXPECT_EQ(german_host::count("list Netzwerkschnittstelle"), 2);
    EXPECT_EQ(german_host::count("list Physikalischer Datentr\xC3\xA4ger"), 2);
    EXPECT_EQ(monitor.cpu(0), 12.5);
    EXPECT_EQ(german_host::count("misuse"), 0);
}

TEST(MonitorOfAGermanHost, IsSetUpInItsOrder)
{
    const monitor_copy monitor;
    const german_host host(monitor);
    monitor.start();
    ASSERT_TRUE(monitor.wait_for_pauses(1));
    const std::string interfaces = "list Netzwerkschnittstelle",
                      disks = "list Physikalischer Datentr\xC3\xA4ger";
    const std::vector<std::string> expected{"memory",   "name 238", "name 6",   "name 510", "name 388",
                                            "name 506", "name 520", "name 234", "name 200", "name 202",
                                            "name 204", interfaces, interfaces, disks,      disks,
                                            "memory",   "open",     "memory",   "collect"};
    std::vector<std::string> journal = german_host::journal();
    ASSERT_GE(journal.size(), expected.size());
    journal.resize(expected.size());
    EXPECT_EQ(journal, expected);
}

// KEPT[nic-figures-crossed]
TEST(MonitorOfAGermanHost, GivesInterfacesInTheOrderOfTheirBytesWithCrossedFigures)
{
    const monitor_copy monitor;
    const german_host host(monitor, busy_host());
    monitor.start();
    ASSERT_TRUE(monitor.wait_for_pauses(kOneCycle));

    ASSERT_EQ(monitor.nics(), 2u);
    EXPECT_EQ(monitor.nic_name(0), "Intel[R] Ethernet");
    EXPECT_EQ(monitor.nic_name(1), "\xC3\x84rger [R] Netz");
    EXPECT_EQ(monitor.nic_name(2), "");
    EXPECT_EQ(monitor.nic_received(0), 1200u);
    EXPECT_EQ(monitor.nic_sent(0), 300u);
    EXPECT_DOUBLE_EQ(monitor.nic_usage(0), 0.012);
    EXPECT_EQ(monitor.nic_received(1), 3'000'000'000u);
    EXPECT_EQ(monitor.nic_sent(1), 4'000'000'000u);
    EXPECT_EQ(monitor.nic_usage(1), 0.0);
    EXPECT_EQ(monitor.nic_received(2), 0u);
    EXPECT_EQ(monitor.nic_sent(2), 0u);
    EXPECT_EQ(monitor.nic_usage(2), 0.0);
}

// KEPT[total-dropped-for-disks]
TEST(MonitorOfAGermanHost, DropsTheSumOfAllDisksButNoInterfaceOfThatName)
{
    const monitor_copy monitor;
    host_traits traits = busy_host();
    traits.interfaces = {L"_Total"};
    const german_host host(monitor, traits);
    monitor.start();
    ASSERT_TRUE(monitor.wait_for_pauses(kOneCycle));

    ASSERT_EQ(monitor.disks(), 2u);
    EXPECT_EQ(monitor.disk_name(0), "0 C:");
    EXPECT_EQ(monitor.disk_name(1), "1 D:");
    EXPECT_EQ(monitor.disk_name(2), "");
    EXPECT_EQ(monitor.disk_total(0), 12.25);
    EXPECT_EQ(monitor.disk_read(0), 8.5);
    EXPECT_EQ(monitor.disk_write(0), 3.75);
    EXPECT_EQ(monitor.disk_total(1), 99.5);
    EXPECT_EQ(monitor.disk_total(2), 0.0);
    EXPECT_EQ(monitor.disk_read(2), 0.0);
    EXPECT_EQ(monitor.disk_write(2), 0.0);
    EXPECT_EQ(monitor.nics(), 1u);
    EXPECT_EQ(monitor.nic_name(0), "_Total");
}

TEST(MonitorOfAGermanHost, HasNoDiskWhenThereIsOnlyTheSum)
{
    const monitor_copy monitor;
    host_traits traits;
    traits.interfaces.clear();
    traits.disks = {L"_Total"};
    const german_host host(monitor, traits);
    monitor.start();
    ASSERT_TRUE(monitor.wait_for_pauses(kOneCycle));
    EXPECT_EQ(monitor.disks(), 0u);
    EXPECT_EQ(monitor.nics(), 0u);
    EXPECT_EQ(monitor.nics_report(), "");
    EXPECT_EQ(monitor.disks_report(), "");
    EXPECT_EQ(german_host::count("misuse"), 0);
}

TEST(MonitorOfAGermanHost, Tells64InterfacesApart)
{
    const monitor_copy monitor;
    host_traits traits;
    traits.interfaces.clear();
    for (int i = 63; i >= 0; --i)
    {
        const std::wstring name = L"nic " + std::to_wstring(100 + i);
        traits.interfaces.push_back(name);
        set_traffic(traits, name, 5000 + 2 * i, 1000 + i, 8);
    }
    const german_host host(monitor, traits);
    monitor.start();
    ASSERT_TRUE(monitor.wait_for_pauses(kOneCycle));
    ASSERT_EQ(monitor.nics(), 64u);
    for (std::uint64_t i = 0; i < 64; ++i)
    {
        EXPECT_EQ(monitor.nic_name(i), "nic " + std::to_string(100 + i));
        EXPECT_EQ(monitor.nic_received(i), 1000 + i);
        EXPECT_EQ(monitor.nic_sent(i), 4000 + i);
    }
}

TEST(MonitorOfAGermanHost, TakesHostileNamesAsTheyAre)
{
    const monitor_copy monitor;
    host_traits traits;
    const std::wstring path_like = L"a(b)\\c#1/*", long_name(5000, L'x');
    traits.interfaces = {long_name, path_like, L"\xD800", L"\xD801"}; // the last two are the same in UTF-8
    set_traffic(traits, path_like, 1500, 1200, 8);
    const german_host host(monitor, traits);
    monitor.start();
    ASSERT_TRUE(monitor.wait_for_pauses(kOneCycle));
    ASSERT_EQ(monitor.nics(), 3u);
    EXPECT_EQ(monitor.nic_name(0), "a(b)\\c#1/*");
    EXPECT_EQ(monitor.nic_received(0), 1200u);
    EXPECT_EQ(monitor.nic_name(1), std::string(5000, 'x'));
    EXPECT_EQ(monitor.nic_name(2), "\xEF\xBF\xBD");
    EXPECT_EQ(german_host::count("misuse"), 0);
}
