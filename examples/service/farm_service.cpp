/// A worker host as a Windows service, which does nothing but keep the machine awake until it is stopped.
///
///     farm_service install [NAME]    then: net start NAME, net stop NAME
///     farm_service remove [NAME]
///     farm_service run NAME          what the service manager starts
///
/// Both need an administrator's console. Ends with 0, with 1 when the request failed, or with 2 when it was not
/// understood.

#include <KFramework/KFramework.h>

#include <atomic>
#include <cstdio>
#include <semaphore>
#include <string>

using namespace KFramework::KServices;

namespace
{
const wchar_t* service_name = L"KFrameworkFarm";
SERVICE_STATUS_HANDLE manager = nullptr;
std::binary_semaphore stop_request(0);
std::atomic<bool> stopping{false};

void report(DWORD state)
{
    SERVICE_STATUS status{};
    status.dwServiceType = SERVICE_WIN32_OWN_PROCESS;
    status.dwCurrentState = state;
    status.dwControlsAccepted = state == SERVICE_RUNNING ? SERVICE_ACCEPT_STOP | SERVICE_ACCEPT_SHUTDOWN : 0;
    ::SetServiceStatus(manager, &status);
}

/// The service manager's questions, on the program's main thread.
DWORD WINAPI answer(DWORD control, DWORD, void*, void*)
{
    switch (control)
    {
    case SERVICE_CONTROL_STOP:
    case SERVICE_CONTROL_SHUTDOWN:
        if (!stopping.exchange(true))
        {
            report(SERVICE_STOP_PENDING);
            stop_request.release();
        }
        return NO_ERROR;
    case SERVICE_CONTROL_INTERROGATE:
        return NO_ERROR;
    default:
        return ERROR_CALL_NOT_IMPLEMENTED;
    }
}

void WINAPI service_main(DWORD, wchar_t**)
{
    manager = ::RegisterServiceCtrlHandlerExW(service_name, &answer, nullptr);
    if (manager == nullptr)
        return;
    KFramework::InitializeLibrary(nullptr);
    SetSystemSleepStatus(true); // for this thread, which ends it too
    report(SERVICE_RUNNING);
    stop_request.acquire();
    SetSystemSleepStatus(false);
    KFramework::ShutdownLibrary();
    report(SERVICE_STOPPED); // the process may end at any time from here
}

bool install()
{
    // The suffix brings its blank; the quotes are for names with blanks.
    const std::wstring suffix = L" run \"" + std::wstring(service_name) + L"\"";
    return InstallWin32Service(service_name, service_name, L"Keeps this machine awake for the farm.", nullptr,
                               nullptr, suffix.c_str());
}

bool run()
{
    ForkAndDaemon(0);
    if (RegisterWin32Service(service_name, reinterpret_cast<void*>(&service_main)))
        return true;
    std::fputs("farm_service: only the service manager can run this\n", stderr);
    return false;
}
} // namespace

int wmain(int count, wchar_t** arguments)
{
    const std::wstring request = count > 1 ? arguments[1] : L"";
    if (count > 2)
        service_name = arguments[2];
    if (count < 4 && request == L"install")
        return install() ? 0 : 1;
    if (count < 4 && request == L"remove")
        return UninstallWin32Service(service_name) ? 0 : 1;
    if (count == 3 && request == L"run")
        return run() ? 0 : 1;
    std::fputs("usage: farm_service install [NAME] | remove [NAME]\n", stderr);
    return 2;
}
