#include "KFramework/perfmon/process_times_win.h"

#include "KFramework/platform/file_time_win.h"
#include "KFramework/process.h"

namespace kf::perfmon
{
namespace
{
std::int64_t wall_clock()
{
    SYSTEMTIME now;
    ::GetSystemTime(&now);
    FILETIME time{};
    return ::SystemTimeToFileTime(&now, &time) ? static_cast<std::int64_t>(platform::units_of(time)) : 0;
}
} // namespace

platform::unique_handle opened_for_figures(unsigned long pid)
{
    return platform::unique_handle(::OpenProcess(PROCESS_QUERY_INFORMATION | PROCESS_VM_READ, FALSE, pid));
}

process_trees trees_of(const std::map<int, unsigned long>& monitored)
{
    process_trees trees;
    for (const auto& [instance, pid] : monitored)
    {
        KFramework::KProcesses::KProcessTreeNode* root = nullptr;
        KFramework::KProcesses::CreateProcTreeSnapshot(pid, &root);
        KFramework::KProcesses::ProcTreeSnapshotPidList(root, trees[instance]);
        KFramework::KProcesses::DestroyProcTree(root);
    }
    return trees;
}

void watched_processes::watch(const process_trees& trees)
{
    processes_.clear();
    for (const auto& [instance, pids] : trees)
        for (const unsigned long pid : pids)
            if (!processes_.contains(pid))
                processes_[pid] = opened_for_figures(pid);
}

process_look watched_processes::look() const
{
    process_look seen;
    seen.clock = wall_clock();
    for (const auto& [pid, process] : processes_)
    {
        FILETIME created, ended, kernel, user;
        if (process && ::GetProcessTimes(process.get(), &created, &ended, &kernel, &user))
            seen.processes[pid] = {platform::units_of(kernel), platform::units_of(user)};
    }
    return seen;
}
} // namespace kf::perfmon
