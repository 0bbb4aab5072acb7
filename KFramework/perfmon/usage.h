#pragma once
/// From what two looks at the host gave to the figures between them.

#include <cstdint>
#include <list>
#include <map>

namespace kf::perfmon
{
/// What a process has used since it began, in units of 100 ns.
struct process_times
{
    std::uint64_t kernel = 0;
    std::uint64_t user = 0;
};

/// Instance to the ids of its processes.
using process_trees = std::map<int, std::list<unsigned long>>;

/// One look at the clock and at the processes that can be opened.
struct process_look
{
    std::int64_t clock = 0; ///< in units of 100 ns
    std::map<unsigned long, process_times> processes;
};

/// One process's part of all processors, in %; 0.0 when the clock did not go forward or there are no processors.
double process_usage(const process_times& before, const process_times& after, std::int64_t clock_delta,
                     int processors);

/// The sum for the processes of a tree that are in both looks.
double tree_usage(const std::list<unsigned long>& tree, const process_look& before, const process_look& after,
                  int processors);

/// Traffic in bytes per second.
struct interface_figures
{
    std::uint64_t sent = 0;
    std::uint64_t received = 0;
    double usage = 0.0; ///< part of the bandwidth
};

/// @param bandwidth  in bits per second.
interface_figures figures_of_interface(std::int64_t total, std::int64_t sent, std::int64_t bandwidth);
} // namespace kf::perfmon
