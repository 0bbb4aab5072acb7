#include "KFramework/perfmon/counters_win.h"

namespace kf::perfmon
{
namespace
{
bool read(PDH_HCOUNTER counter, DWORD format, PDH_FMT_COUNTERVALUE& value)
{
    return counter != nullptr &&
           ::PdhGetFormattedCounterValue(counter, format, nullptr, &value) == ERROR_SUCCESS;
}

double read_double(PDH_HCOUNTER counter)
{
    PDH_FMT_COUNTERVALUE value{};
    return read(counter, PDH_FMT_DOUBLE, value) ? value.doubleValue : 0.0;
}

std::int64_t read_large(PDH_HCOUNTER counter)
{
    PDH_FMT_COUNTERVALUE value{};
    return read(counter, PDH_FMT_LARGE, value) ? value.largeValue : 0;
}
} // namespace

counter_query::counter_query(const counter_names& names, int cores, const counter_instances& interfaces,
                             const counter_instances& disks)
{
    if (::PdhOpenQueryW(nullptr, 0, query_.put()) != ERROR_SUCCESS)
        (void)query_.release(); // whatever was written is no query

    for (int core = 0; core < cores; ++core)
        cores_.push_back(add(counter_path(names.processor, core_instance(core), names.processor_time)));

    for (const auto& [name, instance] : interfaces)
        interfaces_.push_back({add(counter_path(names.network_interface, instance, names.bytes_total)),
                               add(counter_path(names.network_interface, instance, names.bytes_sent)),
                               add(counter_path(names.network_interface, instance, names.bandwidth))});

    for (const auto& [name, instance] : disks)
        disks_.push_back({add(counter_path(names.physical_disk, instance, names.disk_time)),
                          add(counter_path(names.physical_disk, instance, names.disk_read_time)),
                          add(counter_path(names.physical_disk, instance, names.disk_write_time))});
}

PDH_HCOUNTER counter_query::add(const std::u16string& path) const
{
    PDH_HCOUNTER counter = nullptr;
    const std::wstring wide(path.begin(), path.end());
    if (!query_ || ::PdhAddCounterW(query_.get(), wide.c_str(), 0, &counter) != ERROR_SUCCESS)
        return nullptr;
    return counter;
}

bool counter_query::collect() const
{
    return ::PdhCollectQueryData(query_.get()) == ERROR_SUCCESS;
}

counter_figures counter_query::figures() const
{
    counter_figures figures;
    for (const PDH_HCOUNTER core : cores_)
        figures.cores.push_back(read_double(core));
    for (const triple& counters : interfaces_)
    {
        const std::int64_t sent = read_large(counters.second);
        const std::int64_t total = read_large(counters.first);
        figures.interfaces.push_back(figures_of_interface(total, sent, read_large(counters.third)));
    }
    for (const triple& counters : disks_)
        figures.disks.push_back(
            {read_double(counters.first), read_double(counters.second), read_double(counters.third)});
    return figures;
}
} // namespace kf::perfmon
