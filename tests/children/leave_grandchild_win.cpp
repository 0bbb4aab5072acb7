/// leave_grandchild MILLISECONDS [LINGER]: starts end_with, which holds on to every inheritable handle for that
/// long, says its process id, lingers for LINGER milliseconds, and ends.

#include <cstdio>
#include <cwchar>
#include <string>

#include "KFramework/platform/windows_win.h"

int wmain(int count, wchar_t** arguments)
{
    if (count < 2)
        return 1;
    std::wstring own(32768, L'\0');
    own.resize(::GetModuleFileNameW(nullptr, own.data(), static_cast<DWORD>(own.size())));
    const std::wstring program = own.substr(0, own.rfind(L'\\') + 1) + L"end_with.exe";
    std::wstring line = L"end_with 0 " + std::wstring(arguments[1]);

    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION started{};
    if (!::CreateProcessW(program.c_str(), line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup,
                          &started))
        return 2;
    std::printf("%lu\n", started.dwProcessId);
    std::fflush(stdout);
    if (count > 2)
        ::Sleep(std::wcstoul(arguments[2], nullptr, 10));
    return 0;
}
