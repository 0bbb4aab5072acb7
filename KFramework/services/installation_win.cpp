#include <array>
#include <cstdio>
#include <string>

#include "KFramework/platform/services_win.h"
#include "KFramework/platform/windows_win.h"
#include "KFramework/services.h"
#include "KFramework/services/messages.h"

namespace
{
using namespace kf::services;
using kf::platform::unique_service;

bool is_given(const wchar_t* text)
{
    return text != nullptr && *text != L'\0';
}

/// The running program's path with the suffix behind it; empty when the path cannot be told.
std::wstring command_line(const wchar_t* suffix)
{
    std::array<wchar_t, MAX_PATH + 1> path{}; // ends in a terminator, also where the system cuts without one
    if (::GetModuleFileNameW(nullptr, path.data(), MAX_PATH) == 0)
        return {};
    // KEPT[suffix-as-given]: neither blank nor quotes.
    std::wstring line = path.data();
    if (suffix != nullptr)
        line += suffix;
    return line;
}

unique_service create_service(const unique_service& manager, const wchar_t* name, const wchar_t* display_name,
                              const wchar_t* account, const wchar_t* password, const std::wstring& line)
{
    // KEPT[account-with-password]: both or none.
    const bool has_account = is_given(account) && is_given(password);
    return unique_service(
        ::CreateServiceW(manager.get(), name, display_name, SERVICE_CHANGE_CONFIG, SERVICE_WIN32_OWN_PROCESS,
                         SERVICE_DEMAND_START, SERVICE_ERROR_IGNORE, line.c_str(), nullptr, nullptr, nullptr,
                         has_account ? account : nullptr, has_account ? password : nullptr));
}

void set_description(const unique_service& service, const wchar_t* description)
{
    SERVICE_DESCRIPTIONW record{const_cast<wchar_t*>(description)};
    // KEPT[description-unchecked]
    ::ChangeServiceConfig2W(service.get(), SERVICE_CONFIG_DESCRIPTION, &record);
}
} // namespace

namespace KFramework::KServices
{
bool InstallWin32Service(const wchar_t* name, const wchar_t* displayName, const wchar_t* description,
                         const wchar_t* account, const wchar_t* password, const wchar_t* argumentsSuffix)
{
    unique_service manager(::OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CREATE_SERVICE));
    if (!manager)
    {
        std::printf(kNoManager);
        return false;
    }
    const std::wstring line = command_line(argumentsSuffix);
    unique_service service;
    if (!line.empty())
        service = create_service(manager, name, displayName, account, password, line);
    if (!service)
    {
        manager.reset();
        std::printf(kNotInstalled);
        return false;
    }
    set_description(service, description);
    service.reset();
    std::printf(kInstalled);
    return true;
}

bool UninstallWin32Service(const wchar_t* name)
{
    const unique_service manager(::OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CONNECT));
    if (!manager)
    {
        std::printf(kNoManager);
        return false;
    }
    unique_service service(::OpenServiceW(manager.get(), name, DELETE));
    if (!service)
    {
        std::printf(kNotRemoved);
        return false;
    }
    // KEPT[removal-unchecked]: a service that runs is only marked.
    ::DeleteService(service.get());
    service.reset();
    std::printf(kRemoved);
    return true;
}
} // namespace KFramework::KServices
