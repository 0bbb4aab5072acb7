#pragma once
/// The processes that are monitored, and their times.

#include <map>

#include "KFramework/perfmon/usage.h"
#include "KFramework/platform/handles_win.h"

namespace kf::perfmon
{
/// Opens a process for the questions about its times and its memory; none when the system refuses.
platform::unique_handle opened_for_figures(unsigned long pid);

/// The trees of the monitored processes as they are now; an empty one for a process that is gone.
process_trees trees_of(const std::map<int, unsigned long>& monitored);

/// Holds the processes of some trees open, so that an id that is used again between two looks stays the process
/// that had it first.
class watched_processes
{
public:
    void watch(const process_trees& trees);
    [[nodiscard]] process_look look() const;

private:
    std::map<unsigned long, platform::unique_handle> processes_;
};
} // namespace kf::perfmon
