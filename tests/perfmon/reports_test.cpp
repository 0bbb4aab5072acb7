#include "KFramework/perfmon/reports.h"

#include <vector>

#include <gtest/gtest.h>

#include "tests/perfmon/german_locale.h"

using namespace kf::perfmon;

namespace
{
class stated_figures final : public figure_source
{
public:
    int processors() override { return static_cast<int>(cores.size()); }
    double core_usage(int core) override { return cores[static_cast<std::size_t>(core)]; }
    double cpu_of(int instance) override { return instance == 7 ? 12.3456 : 0.0; }
    std::uint64_t ram_of(int instance) override { return noted("instance", instance == 7 ? 1048576 : 0); }
    std::uint64_t ram_amount() override { return noted("ram amount", 17179869184); }
    std::uint64_t ram_usage() override { return noted("ram usage", 2000); }
    std::uint64_t swap_amount() override { return noted("swap amount", 3000); }
    std::uint64_t swap_usage() override { return noted("swap usage", 4000); }

    std::vector<double> cores{1.5, 0.0, 99.0625, 100.0};
    std::vector<std::string> fetched;

private:
    std::uint64_t noted(const char* figure, std::uint64_t value)
    {
        fetched.emplace_back(figure);
        return value;
    }
};

/// Interfaces whose figures tell which they are.
class numbered_interfaces
{
public:
    explicit numbered_interfaces(std::size_t count) : a_(count), b_(count), usage_(count)
    {
        for (std::size_t i = 0; i < count; ++i)
        {
            table_.networkInterfaces.insert(name(i));
            a_[i] = 1000 + i;
            b_[i] = 2000 + i;
            usage_[i] = static_cast<double>(i) / 8;
        }
        table_.interfaceFigureA = a_.data();
        table_.interfaceFigureB = b_.data();
        table_.interfaceUsage = usage_.data();
    }

    static std::string name(std::size_t i)
    {
        return std::string("nic ") + static_cast<char>('0' + i / 10) + static_cast<char>('0' + i % 10);
    }
    const kPerformanceMonitorData& table() const { return table_; }

private:
    std::vector<std::uint64_t> a_, b_;
    std::vector<double> usage_;
    kPerformanceMonitorData table_;
};
} // namespace

// KEPT[three-digits-where-stated]
TEST(InstanceCpuReport, HasThreeDigits)
{
    stated_figures figures;
    EXPECT_EQ(instance_cpu_report(figures, 7), "12.3");
    EXPECT_EQ(instance_cpu_report(figures, 8), "0");
}

// KEPT[ram-usage-overload]
TEST(InstanceRamReport, GivesTheHostsAmountAndTheTreesUsage)
{
    stated_figures figures;
    EXPECT_EQ(instance_ram_report(figures, 7), "17179869184 1048576");
}

// KEPT[blank-behind-each]
TEST(CpuReport, PutsABlankBehindEveryNumber)
{
    stated_figures figures;
    EXPECT_EQ(cpu_report(figures, 7), "1.5 0 99.1 100 12.3 ");
}

TEST(CpuReport, HasTheInstanceAloneWithoutProcessors)
{
    stated_figures figures;
    figures.cores.clear();
    EXPECT_EQ(cpu_report(figures, 7), "12.3 ");
}

TEST(CpuReport, WritesLargeFiguresInScientificNotation)
{
    stated_figures figures;
    figures.cores = {42949.67295, 0.00001234};
    EXPECT_EQ(cpu_report(figures, 8), "4.29e+04 1.23e-05 0 ");
}

TEST(RamReport, HasNoBlankAtItsEnd)
{
    stated_figures figures;
    EXPECT_EQ(ram_report(figures, 7), "17179869184 2000 3000 4000 1048576");
}

// KEPT[ram-report-order]
TEST(RamReport, FetchesTheFiguresFromTheLastToTheFirst)
{
    stated_figures figures;
    ram_report(figures, 7);
    EXPECT_EQ(figures.fetched,
              (std::vector<std::string>{"instance", "swap usage", "swap amount", "ram usage", "ram amount"}));
}

TEST(InterfacesReport, IsEmptyWithoutInterfaces)
{
    EXPECT_EQ(interfaces_report({}), "");
}

TEST(InterfacesReport, PrintsAThenBForOneInterface)
{
    EXPECT_EQ(interfaces_report(numbered_interfaces(1).table()), "nic 00\t1000\t2000\t0\n");
}

TEST(InterfacesReport, Prints64InterfacesInTheirOrder)
{
    const numbered_interfaces interfaces(64);
    const std::string report = interfaces_report(interfaces.table());
    std::size_t begin = 0;
    for (std::size_t i = 0; i < 64; ++i)
    {
        const std::string start = numbered_interfaces::name(i) + "\t" + std::to_string(1000 + i) + "\t" +
                                  std::to_string(2000 + i) + "\t";
        ASSERT_EQ(report.compare(begin, start.size(), start), 0) << report.substr(begin, 40);
        begin = report.find('\n', begin) + 1;
    }
    EXPECT_EQ(begin, report.size());
}

TEST(InterfacesReport, LeavesATabInANameAlone)
{
    kPerformanceMonitorData table;
    table.networkInterfaces = {"a\tb"};
    EXPECT_EQ(interfaces_report(table), "a\tb\t0\t0\t0\n");
}

// KEPT[three-digits-where-stated]
TEST(InterfacesReport, HasSixDigits)
{
    double usage[] = {0.123456789};
    kPerformanceMonitorData table;
    table.networkInterfaces = {"n"};
    table.interfaceUsage = usage;
    EXPECT_EQ(interfaces_report(table), "n\t0\t0\t0.123457\n");
}

TEST(DisksReport, PrintsTotalReadAndWriteWithSixDigits)
{
    double total[] = {12.3456789, 100}, read[] = {1.5, 0}, write[] = {2.25, 1e-7};
    kPerformanceMonitorData table;
    table.disks = {"0 C:", "1 D:"};
    table.diskTotal = total;
    table.diskRead = read;
    table.diskWrite = write;
    EXPECT_EQ(disks_report(table), "0 C:\t12.3457\t1.5\t2.25\n1 D:\t100\t0\t1e-07\n");
    EXPECT_EQ(disks_report({}), "");
}

TEST(Reports, AreTheSameUnderALocaleWithCommasAndGrouping)
{
    const test::german_locale locale;
    stated_figures figures;
    EXPECT_EQ(instance_cpu_report(figures, 7), "12.3");
    EXPECT_EQ(instance_ram_report(figures, 7), "17179869184 1048576");
    EXPECT_EQ(cpu_report(figures, 7), "1.5 0 99.1 100 12.3 ");
    EXPECT_EQ(ram_report(figures, 7), "17179869184 2000 3000 4000 1048576");
    EXPECT_EQ(interfaces_report(numbered_interfaces(2).table()),
              "nic 00\t1000\t2000\t0\nnic 01\t1001\t2001\t0.125\n");
}
