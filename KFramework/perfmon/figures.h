#pragma once
/// Reading the table: whatever is not in it is 0. The caller holds the table's lock.

#include "KFramework/perfmon.h"

namespace kf::perfmon
{
using KFramework::KPerformanceMonitor::kPerformanceMonitorData;

/// An element of an array that may be null.
template <class Number>
Number figure_at(const Number* figures, std::uint64_t index, std::uint64_t count)
{
    return figures != nullptr && index < count ? figures[index] : Number{};
}

/// The figure of an instance.
template <class Number>
Number figure_of(const std::map<int, Number>& figures, int instance)
{
    const auto found = figures.find(instance);
    return found != figures.end() ? found->second : Number{};
}

double core_usage(const kPerformanceMonitorData& table, int core);

std::string name_at(const std::set<std::string>& names, std::uint64_t index);

/// Frees the arrays of processors, interfaces and disks and empties the sets that they belong to.
void forget_items(kPerformanceMonitorData& table);
} // namespace kf::perfmon
