#include "KFramework/perfmon/figures.h"

#include <iterator>
#include <utility>

namespace kf::perfmon
{
double core_usage(const kPerformanceMonitorData& table, int core)
{
    if (core < 0 || core >= table.processorCount || table.cpuByCore == nullptr)
        return 0.0;
    return table.cpuByCore[core];
}

std::string name_at(const std::set<std::string>& names, std::uint64_t index)
{
    if (index >= names.size())
        return {};
    return *std::next(names.begin(), static_cast<std::ptrdiff_t>(index));
}

void forget_items(kPerformanceMonitorData& table)
{
    delete[] std::exchange(table.cpuByCore, nullptr);
    delete[] std::exchange(table.interfaceUsage, nullptr);
    delete[] std::exchange(table.interfaceFigureB, nullptr);
    delete[] std::exchange(table.interfaceFigureA, nullptr);
    delete[] std::exchange(table.diskTotal, nullptr);
    delete[] std::exchange(table.diskRead, nullptr);
    delete[] std::exchange(table.diskWrite, nullptr);
    table.networkInterfaces.clear();
    table.disks.clear();
}
} // namespace kf::perfmon
