#pragma once
/// The reports' texts.

#include <string>

#include "KFramework/perfmon.h"

namespace kf::perfmon
{
using KFramework::KPerformanceMonitor::kPerformanceMonitorData;

/// Where the reports about processors and memory get their figures, one at a time.
class figure_source
{
public:
    figure_source() = default;
    figure_source(const figure_source&) = delete;
    figure_source& operator=(const figure_source&) = delete;
    virtual ~figure_source() = default;

    virtual int processors() = 0;
    virtual double core_usage(int core) = 0;
    virtual double cpu_of(int instance) = 0;
    virtual std::uint64_t ram_of(int instance) = 0;
    virtual std::uint64_t ram_amount() = 0;
    virtual std::uint64_t ram_usage() = 0;
    virtual std::uint64_t swap_amount() = 0;
    virtual std::uint64_t swap_usage() = 0;
};

std::string instance_cpu_report(figure_source& source, int instance);
std::string instance_ram_report(figure_source& source, int instance);
std::string cpu_report(figure_source& source, int instance);
std::string ram_report(figure_source& source, int instance);

/// Before the Base64. The caller holds the table's lock.
std::string interfaces_report(const kPerformanceMonitorData& table);
std::string disks_report(const kPerformanceMonitorData& table);
} // namespace kf::perfmon
