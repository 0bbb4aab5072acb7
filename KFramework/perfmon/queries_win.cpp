#include "KFramework/perfmon.h"
#include "KFramework/perfmon/figures.h"
#include "KFramework/perfmon/reports.h"
#include "KFramework/perfmon/state_win.h"
#include "KFramework/platform/file_time_win.h"
#include "KFramework/string.h"

namespace KFramework::KPerformanceMonitor
{
namespace
{
// KEPT[devices-not-lazy]
template <class Read>
auto from_table(Read read)
{
    const kf::perfmon::table_lock lock(kf::perfmon::state().mutex);
    return read(kf::perfmon::state().table);
}

template <class Read>
auto lazily_from_table(Read read)
{
    StartPerformanceMonitor();
    return from_table(read);
}

std::uint64_t lazy_amount(std::uint64_t kPerformanceMonitorData::*amount)
{
    StartPerformanceMonitor();
    return kf::perfmon::load(kf::perfmon::state().table.*amount);
}

template <class Number>
Number interface_figure(Number* kPerformanceMonitorData::*figures, std::uint64_t index)
{
    return from_table(
        [=](const kPerformanceMonitorData& table)
        { return kf::perfmon::figure_at(table.*figures, index, table.networkInterfaces.size()); });
}

double disk_figure(double* kPerformanceMonitorData::*figures, std::uint64_t index)
{
    return from_table([=](const kPerformanceMonitorData& table)
                      { return kf::perfmon::figure_at(table.*figures, index, table.disks.size()); });
}

class host_figures final : public kf::perfmon::figure_source
{
public:
    int processors() override
    {
        return lazily_from_table([](const kPerformanceMonitorData& table) { return table.processorCount; });
    }
    double core_usage(int core) override { return GetCpuUsage(core); }
    double cpu_of(int instance) override { return GetCpuUsageByInstance(instance); }
    std::uint64_t ram_of(int instance) override { return GetRamUsageByInstance(instance); }
    std::uint64_t ram_amount() override { return GetRamAmount(); }
    std::uint64_t ram_usage() override { return GetRamUsage(); }
    std::uint64_t swap_amount() override { return GetSwapAmount(); }
    std::uint64_t swap_usage() override { return GetSwapUsage(); }
};
} // namespace

void SetMonitoringProcessPid(int instance, unsigned long processId)
{
    const kf::perfmon::table_lock lock(kf::perfmon::state().mutex);
    kf::perfmon::state().monitored[instance] = processId;
    kf::perfmon::state().table.cpuByInstance[instance] = 0.0;
    kf::perfmon::state().table.ramByInstance[instance] = 0;
}

double GetCpuUsage(int core)
{
    return lazily_from_table([=](const kPerformanceMonitorData& table)
                             { return kf::perfmon::core_usage(table, core); });
}

double GetCpuUsageByInstance(int instance)
{
    return lazily_from_table([=](const kPerformanceMonitorData& table)
                             { return kf::perfmon::figure_of(table.cpuByInstance, instance); });
}

std::uint64_t GetRamUsageByInstance(int instance)
{
    return lazily_from_table([=](const kPerformanceMonitorData& table)
                             { return kf::perfmon::figure_of(table.ramByInstance, instance); });
}

std::uint64_t GetRamAmount()
{
    return lazy_amount(&kPerformanceMonitorData::ramAmount);
}

std::uint64_t GetRamUsage()
{
    return lazy_amount(&kPerformanceMonitorData::ramUsage);
}

std::uint64_t GetSwapAmount()
{
    return lazy_amount(&kPerformanceMonitorData::swapAmount);
}

std::uint64_t GetSwapUsage()
{
    return lazy_amount(&kPerformanceMonitorData::swapUsage);
}

std::uint64_t GetNicsCount()
{
    return from_table([](const kPerformanceMonitorData& table) { return table.networkInterfaces.size(); });
}

std::uint64_t GetDisksCount()
{
    return from_table([](const kPerformanceMonitorData& table) { return table.disks.size(); });
}

std::string GetNicName(std::uint64_t index)
{
    return from_table([=](const kPerformanceMonitorData& table)
                      { return kf::perfmon::name_at(table.networkInterfaces, index); });
}

std::string GetDiskName(std::uint64_t index)
{
    return from_table([=](const kPerformanceMonitorData& table)
                      { return kf::perfmon::name_at(table.disks, index); });
}

// KEPT[nic-figures-crossed]: A is what was sent, B what was received.
std::uint64_t GetNicReceivedBytes(std::uint64_t index)
{
    return interface_figure(&kPerformanceMonitorData::interfaceFigureA, index);
}

std::uint64_t GetNicSentBytes(std::uint64_t index)
{
    return interface_figure(&kPerformanceMonitorData::interfaceFigureB, index);
}

double GetNicBandwidthUsage(std::uint64_t index)
{
    return interface_figure(&kPerformanceMonitorData::interfaceUsage, index);
}

double GetDiskTotal(std::uint64_t index)
{
    return disk_figure(&kPerformanceMonitorData::diskTotal, index);
}

double GetDiskRead(std::uint64_t index)
{
    return disk_figure(&kPerformanceMonitorData::diskRead, index);
}

double GetDiskWrite(std::uint64_t index)
{
    return disk_figure(&kPerformanceMonitorData::diskWrite, index);
}

std::string GetProcUsage(int instance)
{
    host_figures figures;
    return kf::perfmon::instance_cpu_report(figures, instance);
}

// KEPT[ram-usage-overload]: not the figure of the function without an argument.
std::string GetRamUsage(int instance)
{
    host_figures figures;
    return kf::perfmon::instance_ram_report(figures, instance);
}

std::string GetFormattedProcUsage(int instance)
{
    host_figures figures;
    return kf::perfmon::cpu_report(figures, instance);
}

std::string GetFormattedRamUsage(int instance)
{
    host_figures figures;
    return kf::perfmon::ram_report(figures, instance);
}

std::string GetFormattedNicUsage()
{
    return KStringHelper::ToBase64(from_table(kf::perfmon::interfaces_report));
}

std::string GetFormattedDisksUsage()
{
    return KStringHelper::ToBase64(from_table(kf::perfmon::disks_report));
}

double getRealTime()
{
    constexpr double kUnitsPerSecond = 1e7;
    FILETIME now;
    ::GetSystemTimeAsFileTime(&now);
    // KEPT[real-time-from-1601]
    return static_cast<double>(kf::platform::units_of(now)) / kUnitsPerSecond;
}
} // namespace KFramework::KPerformanceMonitor
