#include "KFramework/perfmon/sampler_win.h"

#include "KFramework/perfmon/counters_win.h"
#include "KFramework/perfmon/pdh_names_win.h"
#include "KFramework/perfmon/process_times_win.h"
#include "KFramework/perfmon/sampling.h"
#include "KFramework/perfmon/state_win.h"

#include <algorithm>
#include <memory>
#include <set>

namespace kf::perfmon
{
namespace
{
using KFramework::KPerformanceMonitor::FillPerformanceData;

constexpr const char* kAllDisks = "_Total";

template <class Number>
std::unique_ptr<Number[]> zeros(std::size_t count)
{
    return count == 0 ? nullptr : std::make_unique<Number[]>(count);
}

std::set<std::string> names_of(const counter_instances& instances)
{
    std::set<std::string> names;
    for (const auto& [name, instance] : instances)
        names.insert(name);
    return names;
}

void enter(const counter_instances& interfaces, const counter_instances& disks)
{
    std::set<std::string> interface_names = names_of(interfaces), disk_names = names_of(disks);
    auto usage = zeros<double>(interfaces.size());
    auto figure_b = zeros<std::uint64_t>(interfaces.size()),
         figure_a = zeros<std::uint64_t>(interfaces.size());
    auto total = zeros<double>(disks.size()), read = zeros<double>(disks.size()),
         write = zeros<double>(disks.size());

    const table_lock lock(state().mutex);
    // Nothing below can fail: from here the arrays belong to the table.
    kPerformanceMonitorData& table = state().table;
    table.networkInterfaces.swap(interface_names);
    table.disks.swap(disk_names);
    table.interfaceUsage = usage.release();
    table.interfaceFigureB = figure_b.release();
    table.interfaceFigureA = figure_a.release();
    table.diskTotal = total.release();
    table.diskRead = read.release();
    table.diskWrite = write.release();
}

/// The table's arrays may be gone: a stop whose wait failed has not waited for this thread.
void enter(const counter_figures& figures)
{
    const table_lock lock(state().mutex);
    kPerformanceMonitorData& table = state().table;
    if (table.cpuByCore != nullptr)
        std::copy(figures.cores.begin(), figures.cores.end(), table.cpuByCore);
    for (std::size_t i = 0; i < figures.interfaces.size() && i < table.networkInterfaces.size(); ++i)
    {
        table.interfaceUsage[i] = figures.interfaces[i].usage;
        table.interfaceFigureA[i] = figures.interfaces[i].sent;
        table.interfaceFigureB[i] = figures.interfaces[i].received;
    }
    for (std::size_t i = 0; i < figures.disks.size() && i < table.disks.size(); ++i)
    {
        table.diskTotal[i] = figures.disks[i].total;
        table.diskRead[i] = figures.disks[i].read;
        table.diskWrite[i] = figures.disks[i].write;
    }
}

class host_port final : public sampling_port
{
public:
    host_port(const counter_query& query, int processors) : query_(query), processors_(processors) {}

    bool stopping() override { return state().stop.is_set(); }

    void begin_cycle() override
    {
        std::map<int, unsigned long> monitored;
        {
            const table_lock lock(state().mutex);
            monitored = state().monitored;
        }
        trees_ = trees_of(monitored);
        FillPerformanceData(&state().table, &trees_);
        processes_.watch(trees_);
    }

    /// Without a query nothing fails: processes are measured all the same.
    bool collect() override { return !query_.opened() || query_.collect(); }

    process_look look_at_processes() override { return processes_.look(); }

    void store_processes(const process_look& before, const process_look& after) override
    {
        const table_lock lock(state().mutex);
        for (const auto& [instance, pids] : trees_)
            state().table.cpuByInstance[instance] = tree_usage(pids, before, after, processors_);
    }

    void store_counters() override { enter(query_.figures()); }

    void pause() override { state().stop.pause(); }

private:
    const counter_query& query_;
    int processors_;
    process_trees trees_;
    watched_processes processes_;
};
} // namespace

void run_sampler()
{
    int processors = 0;
    {
        const table_lock lock(state().mutex);
        processors = state().table.processorCount;
    }
    const counter_names names = local_names(local_counter_name);
    const counter_instances interfaces = instances_of(names.network_interface);
    counter_instances disks = instances_of(names.physical_disk);
    disks.erase(kAllDisks); // KEPT[total-dropped-for-disks]
    enter(interfaces, disks);
    FillPerformanceData(&state().table, nullptr);

    const counter_query query(names, processors, interfaces, disks);
    host_port port(query, processors);
    sample(port);
}
} // namespace kf::perfmon
