#include <numeric>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/perfmon/german_host_win.h"
#include "tests/perfmon/monitor_copy_win.h"
#include "tests/support/deadline.h"

using namespace kf::perfmon::test;
using kf::test::wait_until;

namespace
{
/// Pauses after which a first cycle that began meanwhile has stored its figures, and another has begun.
constexpr int kOneCycle = 4;

const std::wstring kTotalBytes = L"Gesamtanzahl Bytes/s", kSentBytes = L"Gesendete Bytes/s",
                   kBandwidth = L"Aktuelle Bandbreite", kTime = L"Zeit (%)", kReadTime = L"Lesezeit (%)",
                   kWriteTime = L"Schreibzeit (%)";

std::wstring core_path(int core)
{
    return path_of(kGermanProcessor, std::to_wstring(core), L"Prozessorzeit (%)");
}

/// An interface's three values.
void set_traffic(host_traits& host, const std::wstring& name, long long total, long long sent,
                 long long bandwidth)
{
    host.integers[path_of(kGermanInterface, name, kTotalBytes)] = total;
    host.integers[path_of(kGermanInterface, name, kSentBytes)] = sent;
    host.integers[path_of(kGermanInterface, name, kBandwidth)] = bandwidth;
}

void set_disk(host_traits& host, const std::wstring& name, double total, double read, double write)
{
    host.doubles[path_of(kGermanDisk, name, kTime)] = total;
    host.doubles[path_of(kGermanDisk, name, kReadTime)] = read;
    host.doubles[path_of(kGermanDisk, name, kWriteTime)] = write;
}

host_traits busy_host()
{
    host_traits host;
    host.doubles[core_path(0)] = 12.5;
    set_traffic(host, L"Intel[R] Ethernet", 1500, 1200, 1'000'000);
    set_traffic(host, L"Ärger [R] Netz", 7'000'000'000, 3'000'000'000, 0);
    set_disk(host, L"0 C:", 12.25, 8.5, 3.75);
    set_disk(host, L"1 D:", 99.5, 0.0, 99.5);
    return host;
}

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
