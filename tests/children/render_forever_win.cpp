/// render_forever --frame ...: a renderer that does not come to its end. Starts two more of itself, one below the
/// other; each says "tree" and its process id, and "knows the password" when its environment does, and ends after a
/// minute.

#include <cstdio>
#include <cwchar>
#include <string>

#include "KFramework/platform/windows_win.h"

namespace
{
bool start_below(unsigned long levels)
{
    std::wstring own(32768, L'\0');
    own.resize(::GetModuleFileNameW(nullptr, own.data(), static_cast<DWORD>(own.size())));
    std::wstring line = L"render_forever " + std::to_wstring(levels);
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION started{};
    return ::CreateProcessW(own.c_str(), line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup,
                            &started) != FALSE;
}
} // namespace

int wmain(int count, wchar_t** arguments)
{
    const unsigned long levels = count == 2 ? std::wcstoul(arguments[1], nullptr, 10) : 3;
    std::printf("tree %lu\n", ::GetCurrentProcessId());
    if (::GetEnvironmentVariableW(L"FARM_PASSWORD", nullptr, 0) != 0)
        std::printf("knows the password\n");
    std::fflush(stdout);
    if (levels > 1 && !start_below(levels - 1))
        return 2;
    ::Sleep(60'000);
    return 3;
}
