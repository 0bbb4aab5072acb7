#include "KFramework/perfmon.h"
#include "KFramework/perfmon/process_times_win.h"
#include "KFramework/perfmon/state_win.h"

#include <psapi.h>

namespace kf::perfmon
{
namespace
{
/// In bytes; 0 for a process that cannot be asked.
std::uint64_t private_memory(unsigned long pid)
{
    const platform::unique_handle process = opened_for_figures(pid);
    PROCESS_MEMORY_COUNTERS_EX counters{};
    counters.cb = sizeof counters;
    if (!process ||
        !::GetProcessMemoryInfo(process.get(), reinterpret_cast<PROCESS_MEMORY_COUNTERS*>(&counters),
                                sizeof counters))
        return 0;
    return counters.PrivateUsage;
}

void fill_amounts(kPerformanceMonitorData& data)
{
    MEMORYSTATUSEX memory{};
    memory.dwLength = sizeof memory;
    if (!::GlobalMemoryStatusEx(&memory))
        return;
    const table_lock lock(state().mutex);
    store(data.ramAmount, memory.ullTotalPhys);
    store(data.ramUsage, memory.ullTotalPhys - memory.ullAvailPhys);
    // KEPT[swap-is-address-space]: not the page file's fields.
    store(data.swapAmount, memory.ullTotalVirtual);
    store(data.swapUsage, memory.ullTotalVirtual - memory.ullAvailVirtual);
}
} // namespace
} // namespace kf::perfmon

namespace KFramework::KPerformanceMonitor
{
void FillPerformanceData(kPerformanceMonitorData* data, std::map<int, std::list<unsigned long>>* trees)
{
    if (data == nullptr)
        return;
    kf::perfmon::fill_amounts(*data);
    if (trees == nullptr)
        return;
    for (const auto& [instance, pids] : *trees)
    {
        std::uint64_t sum = 0; // stored once: nobody reads part of it
        for (const unsigned long pid : pids)
            sum += kf::perfmon::private_memory(pid);
        const kf::perfmon::table_lock lock(kf::perfmon::state().mutex);
        data->ramByInstance[instance] = sum;
    }
}
} // namespace KFramework::KPerformanceMonitor
