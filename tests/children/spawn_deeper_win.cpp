/// spawn_deeper LEVELS MILLISECONDS: says its process id, starts itself for the levels below its own, waits that
/// long, and ends.

#include <cstdio>
#include <cwchar>
#include <string>

#include "KFramework/platform/windows_win.h"

namespace
{
bool start_below(unsigned long levels, const wchar_t* milliseconds)
{
    std::wstring own(32768, L'\0');
    own.resize(::GetModuleFileNameW(nullptr, own.data(), static_cast<DWORD>(own.size())));
    std::wstring line = L"spawn_deeper " + std::to_wstring(levels) + L' ' + milliseconds;
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION started{};
    return ::CreateProcessW(own.c_str(), line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup,
                            &started) != FALSE;
}
} // namespace

int wmain(int count, wchar_t** arguments)
{
    if (count < 3)
        return 1;
    std::printf("%lu\n", ::GetCurrentProcessId());
    std::fflush(stdout);
    const unsigned long levels = std::wcstoul(arguments[1], nullptr, 10);
    if (levels > 1 && !start_below(levels - 1, arguments[2]))
        return 2;
    ::Sleep(std::wcstoul(arguments[2], nullptr, 10));
    return 0;
}
