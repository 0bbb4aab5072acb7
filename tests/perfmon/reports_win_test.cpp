#include <clocale>
#include <cstdio>
#include <ctime>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "KFramework/perfmon.h"
#include "KFramework/string.h"
#include "tests/perfmon/german_host_win.h"
#include "tests/perfmon/german_locale.h"
#include "tests/perfmon/monitor_copy_win.h"

using namespace kf::perfmon::test;
using KFramework::KStringHelper::FromBase64;

namespace
{
/// Of the C runtime, which the global C++ locale does not change when it has no name.
class german_runtime
{
public:
    german_runtime()
    {
        if (std::setlocale(LC_ALL, "German") == nullptr)
            std::puts("no German locale here: only the global C++ locale is changed");
    }
    german_runtime(const german_runtime&) = delete;
    german_runtime& operator=(const german_runtime&) = delete;
    ~german_runtime() { std::setlocale(LC_ALL, "C"); }
};

host_traits host_with_figures()
{
    host_traits host;
    host.interfaces = {L"Ether\tnet"};
    host.disks = {L"0 C:", L"_Total"};
    host.integers[path_of(kGermanInterface, L"Ether\tnet", L"Gesamtanzahl Bytes/s")] = 1'500'000;
    host.integers[path_of(kGermanInterface, L"Ether\tnet", L"Gesendete Bytes/s")] = 1'200'000;
    host.integers[path_of(kGermanInterface, L"Ether\tnet", L"Aktuelle Bandbreite")] = 1'000'000'000;
    host.doubles[path_of(kGermanDisk, L"0 C:", L"Zeit (%)")] = 12.3456789;
    host.doubles[path_of(kGermanDisk, L"0 C:", L"Lesezeit (%)")] = 1.5;
    for (int core = 0; core < 64; ++core)
        host.doubles[path_of(kGermanProcessor, std::to_wstring(core), L"Prozessorzeit (%)")] = 12.3456;
    return host;
}

BOOL WINAPI stated_memory(MEMORYSTATUSEX* memory)
{
    memory->ullTotalPhys = 17'179'869'184;
    memory->ullAvailPhys = 17'179'867'184;
    memory->ullTotalVirtual = 30'000;
    memory->ullAvailVirtual = 26'000;
    return TRUE;
}

std::string of_all_processors(const monitor_copy& monitor, const std::string& figure)
{
    std::string text;
    for (int core = 0; core < monitor.processors(); ++core)
        text += figure;
    return text;
}

void expect_reports(const monitor_copy& monitor)
{
    EXPECT_EQ(monitor.proc_report(5), "0");
    EXPECT_EQ(monitor.ram_report(5), "17179869184 0");
    EXPECT_EQ(monitor.full_proc_report(5), of_all_processors(monitor, "12.3 ") + "0 ");
    EXPECT_EQ(monitor.full_ram_report(5), "17179869184 2000 30000 4000 0");
    EXPECT_EQ(FromBase64(monitor.nics_report()), "Ether\tnet\t1200000\t300000\t0.012\n");
    EXPECT_EQ(FromBase64(monitor.disks_report()), "0 C:\t12.3457\t1.5\t0\n");
}
} // namespace

// KEPT[three-digits-where-stated] KEPT[blank-behind-each] KEPT[ram-usage-overload]
TEST(Reports, HaveTheStatedTexts)
{
    const monitor_copy monitor;
    const german_host host(monitor, host_with_figures());
    const kf::test::import_hook memory(monitor.name(), "GlobalMemoryStatusEx", stated_memory);
    monitor.start();
    ASSERT_TRUE(monitor.wait_for_pauses(4));
    expect_reports(monitor);
}

TEST(Reports, AreTheSameUnderTheHostsLocale)
{
    const monitor_copy monitor;
    const german_host host(monitor, host_with_figures());
    const kf::test::import_hook memory(monitor.name(), "GlobalMemoryStatusEx", stated_memory);
    const german_locale locale;
    const german_runtime runtime;
    std::ostringstream text;
    text << 1234.5;
    ASSERT_EQ(text.str(), "1.234,5");
    monitor.start();
    ASSERT_TRUE(monitor.wait_for_pauses(4));
    expect_reports(monitor);
}

// KEPT[real-time-from-1601]
TEST(getRealTime, CountsSecondsFromTheYear1601)
{
    constexpr double kSecondsFrom1601To1970 = 11'644'473'600.0;
    const double expected = static_cast<double>(std::time(nullptr)) + kSecondsFrom1601To1970;
    EXPECT_NEAR(KFramework::KPerformanceMonitor::getRealTime(), expected, 5.0);
}
