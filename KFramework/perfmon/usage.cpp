#include "KFramework/perfmon/usage.h"

namespace kf::perfmon
{
double process_usage(const process_times& before, const process_times& after, std::int64_t clock_delta,
                     int processors)
{
    if (clock_delta <= 0 || processors <= 0)
        return 0.0;
    // KEPT[cpu-delta-32-bits]: the sum of both deltas, not each of them.
    const auto used = static_cast<std::uint32_t>(after.kernel - before.kernel + (after.user - before.user));
    return used * 100.0 / static_cast<double>(clock_delta) / processors;
}

double tree_usage(const std::list<unsigned long>& tree, const process_look& before, const process_look& after,
                  int processors)
{
    double sum = 0.0;
    for (const unsigned long pid : tree)
    {
        const auto first = before.processes.find(pid);
        const auto second = after.processes.find(pid);
        if (first != before.processes.end() && second != after.processes.end())
            sum += process_usage(first->second, second->second, after.clock - before.clock, processors);
    }
    return sum;
}

interface_figures figures_of_interface(std::int64_t total, std::int64_t sent, std::int64_t bandwidth)
{
    interface_figures figures;
    figures.sent = static_cast<std::uint64_t>(sent);
    figures.received = static_cast<std::uint64_t>(total) - figures.sent;
    if (bandwidth > 0)
        figures.usage =
            static_cast<double>(figures.sent + figures.received) * 8.0 / static_cast<double>(bandwidth);
    return figures;
}
} // namespace kf::perfmon
