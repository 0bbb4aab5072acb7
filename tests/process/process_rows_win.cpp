#include "tests/process/process_rows_win.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>

namespace kf::test
{
namespace
{
std::vector<made_up_process> all;
std::size_t position = 0;
std::vector<process_rows::attempt> seen;
std::map<HANDLE, const made_up_process*> opened;

HANDLE WINAPI take(DWORD flags, DWORD)
{
    EXPECT_EQ(flags, static_cast<DWORD>(TH32CS_SNAPPROCESS));
    position = 0;
    return ::CreateEventW(nullptr, TRUE, FALSE, nullptr);
}

BOOL WINAPI give_row(HANDLE, PROCESSENTRY32W* entry)
{
    EXPECT_EQ(entry->dwSize, sizeof *entry);
    if (position == all.size())
        return FALSE;
    const made_up_process& row = all[position++];
    entry->th32ProcessID = row.pid;
    entry->th32ParentProcessID = row.parent;
    row.name.copy(entry->szExeFile, MAX_PATH - 1);
    entry->szExeFile[std::min<std::size_t>(row.name.size(), MAX_PATH - 1)] = L'\0';
    return TRUE;
}

HANDLE WINAPI open(DWORD wanted, BOOL inherit, DWORD pid)
{
    EXPECT_FALSE(inherit);
    seen.push_back({wanted, pid});
    const auto row = std::ranges::find(all, pid, &made_up_process::pid);
    if (row == all.end() || row->allows == opening::none ||
        (row->allows == opening::limited && wanted != PROCESS_QUERY_LIMITED_INFORMATION))
    {
        ::SetLastError(ERROR_ACCESS_DENIED);
        return nullptr;
    }
    const HANDLE handle = ::CreateEventW(nullptr, TRUE, FALSE, nullptr);
    opened[handle] = &*row;
    return handle;
}

BOOL WINAPI times(HANDLE handle, FILETIME* created, FILETIME*, FILETIME*, FILETIME*)
{
    const made_up_process& row = *opened.at(handle);
    // Half an answer is none.
    created->dwLowDateTime = static_cast<DWORD>(row.created);
    created->dwHighDateTime = static_cast<DWORD>(row.created >> 32);
    return row.allows == opening::timeless ? FALSE : TRUE;
}
} // namespace

process_rows::process_rows(std::vector<made_up_process> processes)
    : take_("CreateToolhelp32Snapshot", &take), first_("Process32FirstW", &give_row),
      next_("Process32NextW", &give_row), open_("OpenProcess", &open), times_("GetProcessTimes", &times)
{
    all = std::move(processes);
    seen.clear();
}

process_rows::~process_rows()
{
    all.clear();
    opened.clear();
}

const std::vector<process_rows::attempt>& process_rows::attempts()
{
    return seen;
}
} // namespace kf::test
