/// Where examples/host_report takes its figures from: every question to the library answered by the test.

#include "examples/host_report/host_win.h"
#include "tests/support/import_hook_win.h"

#include <optional>
#include <string>

#include <gtest/gtest.h>

using kf::test::import_hook;

namespace
{
/// A question that this program asks the library.
template <class Function>
import_hook<Function> answered(const std::string& mangled, Function* answer)
{
    return import_hook<Function>("perfmon_test.exe", mangled.c_str(), answer);
}

std::string in_monitor(const char* mangled)
{
    return std::string("_ZN10KFramework19KPerformanceMonitor") + mangled;
}

bool some_are_logged_on(int* console, int* remote)
{
    *console = 3;
    *remote = 4;
    return true;
}

bool nobody_knows(int* console, int* remote)
{
    *console = *remote = 5;
    return false;
}
} // namespace

TEST(ReadLoads, PutsEveryFigureWhereItBelongs)
{
    using std::uint64_t;
    const auto ram = answered(
        in_monitor("12GetRamAmountEv"), +[]() -> uint64_t { return 11; });
    const auto ram_used = answered(
        in_monitor("11GetRamUsageEv"), +[]() -> uint64_t { return 12; });
    const auto swap = answered(
        in_monitor("13GetSwapAmountEv"), +[]() -> uint64_t { return 13; });
    const auto swap_used = answered(
        in_monitor("12GetSwapUsageEv"), +[]() -> uint64_t { return 14; });
    const auto core = answered(
        in_monitor("11GetCpuUsageEi"), +[](int i) { return i + 0.5; });
    const auto nics = answered(
        in_monitor("12GetNicsCountEv"), +[]() -> uint64_t { return 2; });
    const auto nic = answered(
        in_monitor("10GetNicNameB5cxx11Ey"), +[](uint64_t i) { return "n" + std::to_string(i); });
    // What the library calls received is what was sent.
    const auto sent = answered(
        in_monitor("19GetNicReceivedBytesEy"), +[](uint64_t i) -> uint64_t { return 20 + i; });
    const auto received = answered(
        in_monitor("15GetNicSentBytesEy"), +[](uint64_t i) -> uint64_t { return 30 + i; });
    const auto usage = answered(
        in_monitor("20GetNicBandwidthUsageEy"), +[](uint64_t) { return 0.25; });
    const auto disks = answered(
        in_monitor("13GetDisksCountEv"), +[]() -> uint64_t { return 1; });
    const auto disk = answered(
        in_monitor("11GetDiskNameB5cxx11Ey"), +[](uint64_t) { return std::string("d"); });
    const auto busy = answered(
        in_monitor("12GetDiskTotalEy"), +[](uint64_t) { return 40.0; });
    const auto reading = answered(
        in_monitor("11GetDiskReadEy"), +[](uint64_t) { return 41.0; });
    const auto writing = answered(
        in_monitor("12GetDiskWriteEy"), +[](uint64_t) { return 42.0; });
    const auto threads = answered(
        "_ZN10KFramework25GetProcessorsThreadsCountEv", +[] { return 3; });
    const auto logged = answered("_ZN10KFramework9KServices15IsSomeoneLoggedEPiS1_", &some_are_logged_on);

    const host_report::load_figures now = host_report::read_loads();
    EXPECT_EQ(now.memory.amount, 11u);
    EXPECT_EQ(now.memory.usage, 12u);
    EXPECT_EQ(now.swap.amount, 13u);
    EXPECT_EQ(now.swap.usage, 14u);
    EXPECT_EQ(now.processors, (std::vector<double>{0.5, 1.5, 2.5}));
    ASSERT_EQ(now.interfaces.size(), 2u);
    EXPECT_EQ(now.interfaces[1].name, "n1");
    EXPECT_EQ(now.interfaces[1].sent, 21u);
    EXPECT_EQ(now.interfaces[1].received, 31u);
    EXPECT_EQ(now.interfaces[1].usage, 0.25);
    ASSERT_EQ(now.disks.size(), 1u);
    EXPECT_EQ(now.disks[0].name, "d");
    EXPECT_EQ(now.disks[0].busy, 40.0);
    EXPECT_EQ(now.disks[0].reading, 41.0);
    EXPECT_EQ(now.disks[0].writing, 42.0);
    ASSERT_TRUE(now.people);
    EXPECT_EQ(now.people->console, 3);
    EXPECT_EQ(now.people->remote, 4);

    const auto unknown = answered("_ZN10KFramework9KServices15IsSomeoneLoggedEPiS1_", &nobody_knows);
    EXPECT_FALSE(host_report::read_loads().people);
}
