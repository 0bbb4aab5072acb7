#include <memory>

#include "KFramework/platform/file_time_win.h"
#include "KFramework/platform/handles_win.h"
#include "KFramework/process.h"
#include "KFramework/process/snapshot_rows.h"
#include "KFramework/process/tree_build.h"
#include "KFramework/string.h"

#include <tlhelp32.h>

using KClientLib::KProcessSnapshot;

namespace kf::process
{
namespace
{
std::unique_ptr<KProcessSnapshot> record_of(PROCESSENTRY32W& entry)
{
    return std::make_unique<KProcessSnapshot>(
        KProcessSnapshot{KFramework::KStringHelper::WideStringToUtf8String(entry.szExeFile),
                         entry.th32ProcessID, entry.th32ParentProcessID});
}

/// In units of the system's clock; 0 when it cannot be read.
std::uint64_t creation_time(std::uint32_t pid)
{
    platform::unique_handle process(::OpenProcess(PROCESS_QUERY_INFORMATION, FALSE, pid));
    if (!process)
        process.reset(::OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, pid));
    FILETIME created, ended, kernel, user;
    if (!process || !::GetProcessTimes(process.get(), &created, &ended, &kernel, &user))
        return 0;
    return platform::units_of(created);
}
} // namespace
} // namespace kf::process

namespace KFramework::KProcesses
{
bool CreateProcsSnapshot(std::vector<KProcessSnapshot*>* list, unsigned long parentPid)
{
    if (list == nullptr)
        return false;
    list->clear(); // KEPT[snapshot-drops-records]: the old records are their owner's
    const kf::platform::unique_file processes(::CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0));
    if (!processes)
        return false;

    PROCESSENTRY32W entry{};
    entry.dwSize = sizeof entry;
    if (!::Process32FirstW(processes.get(), &entry))
        return false;
    do
    {
        if (parentPid != 0 && entry.th32ParentProcessID != parentPid)
            continue;
        auto record = kf::process::record_of(entry);
        list->push_back(record.get());
        record.release();
    } while (::Process32NextW(processes.get(), &entry));
    return true;
}

bool CreateProcTreeSnapshot(unsigned long pid, KProcessTreeNode** root)
{
    if (root == nullptr)
        return false;
    *root = nullptr;
    kf::process::owned_snapshot all;
    if (pid == 0 || !CreateProcsSnapshot(&all.rows, 0))
        return false;
    *root = kf::process::build_tree(all.rows, pid, kf::process::creation_time).release();
    return *root != nullptr;
}

unsigned long GetChildOfProcess(unsigned long pid, const char* names)
{
    const auto listed = kf::process::listed_names(names == nullptr ? "" : names);
    kf::process::owned_snapshot all;
    return CreateProcsSnapshot(&all.rows, 0) ? kf::process::find_child(all.rows, pid, listed) : 0;
}

unsigned long GetParentPid(unsigned long pid)
{
    kf::process::owned_snapshot all;
    return CreateProcsSnapshot(&all.rows, 0) ? kf::process::find_parent(all.rows, pid) : 0;
}
} // namespace KFramework::KProcesses
