#include "KFramework/perfmon/reports.h"

#include <locale>
#include <sstream>

#include "KFramework/perfmon/figures.h"

namespace kf::perfmon
{
namespace
{
constexpr int kCpuDigits = 3;

/// Neither comma nor grouping, whatever locale the host has set.
std::ostringstream classic_text()
{
    std::ostringstream text;
    text.imbue(std::locale::classic());
    return text;
}

// KEPT[three-digits-where-stated]: of the processors only.
std::ostringstream cpu_text()
{
    std::ostringstream text = classic_text();
    text.precision(kCpuDigits);
    return text;
}
} // namespace

std::string instance_cpu_report(figure_source& source, int instance)
{
    std::ostringstream text = cpu_text();
    text << source.cpu_of(instance);
    return text.str();
}

std::string instance_ram_report(figure_source& source, int instance)
{
    std::ostringstream text = classic_text();
    text << source.ram_amount();
    text << ' ' << source.ram_of(instance);
    return text.str();
}

std::string cpu_report(figure_source& source, int instance)
{
    std::ostringstream text = cpu_text();
    // KEPT[blank-behind-each]: the last number is no exception.
    const int processors = source.processors();
    for (int core = 0; core < processors; ++core)
        text << source.core_usage(core) << ' ';
    text << source.cpu_of(instance) << ' ';
    return text.str();
}

std::string ram_report(figure_source& source, int instance)
{
    // KEPT[ram-report-order]: fetched from the last to the first.
    const std::uint64_t instance_ram = source.ram_of(instance);
    const std::uint64_t swap_usage = source.swap_usage();
    const std::uint64_t swap_amount = source.swap_amount();
    const std::uint64_t ram_usage = source.ram_usage();
    const std::uint64_t ram_amount = source.ram_amount();
    std::ostringstream text = classic_text();
    text << ram_amount << ' ' << ram_usage << ' ' << swap_amount << ' ' << swap_usage << ' ' << instance_ram;
    return text.str();
}

std::string interfaces_report(const kPerformanceMonitorData& table)
{
    std::ostringstream text = classic_text();
    const std::size_t count = table.networkInterfaces.size();
    std::size_t index = 0;
    for (const std::string& name : table.networkInterfaces)
    {
        text << name << '\t' << figure_at(table.interfaceFigureA, index, count) << '\t'
             << figure_at(table.interfaceFigureB, index, count) << '\t'
             << figure_at(table.interfaceUsage, index, count) << '\n';
        ++index;
    }
    return text.str();
}

std::string disks_report(const kPerformanceMonitorData& table)
{
    std::ostringstream text = classic_text();
    const std::size_t count = table.disks.size();
    std::size_t index = 0;
    for (const std::string& name : table.disks)
    {
        text << name << '\t' << figure_at(table.diskTotal, index, count) << '\t'
             << figure_at(table.diskRead, index, count) << '\t' << figure_at(table.diskWrite, index, count)
             << '\n';
        ++index;
    }
    return text.str();
}
} // namespace kf::perfmon
