#pragma once
/// A made-up list of processes that the library sees in place of the system's.

#include "KFramework/platform/windows_win.h"
#include "tests/support/import_hook_win.h"

#include <cstdint>
#include <string>
#include <vector>

#include <tlhelp32.h>

namespace kf::test
{
/// What a made-up process allows.
enum class opening
{
    full,     ///< PROCESS_QUERY_INFORMATION
    limited,  ///< PROCESS_QUERY_LIMITED_INFORMATION alone
    none,     ///< it cannot be opened
    timeless, ///< it opens, but its times cannot be read
};

struct made_up_process
{
    std::wstring name;
    DWORD pid = 0;
    DWORD parent = 0;
    std::uint64_t created = 0;
    opening allows = opening::full;
};

/// One at a time; every snapshot taken while it lives holds its processes. Handles are real ones, of events.
class process_rows
{
public:
    explicit process_rows(std::vector<made_up_process> processes);
    process_rows(const process_rows&) = delete;
    process_rows& operator=(const process_rows&) = delete;
    ~process_rows();

    /// An attempt to open a process, as the library made it.
    struct attempt
    {
        DWORD access;
        DWORD pid;
        bool operator==(const attempt&) const = default;
    };
    [[nodiscard]] static const std::vector<attempt>& attempts();

private:
    import_hook<HANDLE WINAPI(DWORD, DWORD)> take_;
    import_hook<BOOL WINAPI(HANDLE, PROCESSENTRY32W*)> first_;
    import_hook<BOOL WINAPI(HANDLE, PROCESSENTRY32W*)> next_;
    import_hook<HANDLE WINAPI(DWORD, BOOL, DWORD)> open_;
    import_hook<BOOL WINAPI(HANDLE, FILETIME*, FILETIME*, FILETIME*, FILETIME*)> times_;
};
} // namespace kf::test
