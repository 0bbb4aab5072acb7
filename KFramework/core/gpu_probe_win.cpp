#include "KFramework/core/messages.h"
#include "KFramework/core/probes_win.h"
#include "KFramework/platform/com_win.h"
#include "KFramework/platform/windows_win.h"
#include "KFramework/string.h"

#include <wbemidl.h>

namespace kf::core
{
namespace
{
constexpr LONG kNoTimeOut = -1;

using platform::automation_text;
using platform::automation_value;
using platform::com_interface;

automation_text to_automation(const wchar_t* text)
{
    return automation_text(::SysAllocString(text));
}

/// Security is the process's: whoever sets it first decides, and that is no failure.
bool set_security()
{
    const HRESULT result = ::CoInitializeSecurity(nullptr, -1, nullptr, nullptr, RPC_C_AUTHN_LEVEL_DEFAULT,
                                                  RPC_C_IMP_LEVEL_IMPERSONATE, nullptr, EOAC_NONE, nullptr);
    return SUCCEEDED(result) || result == RPC_E_TOO_LATE;
}

/// Null when any step fails.
com_interface<IWbemServices> connect()
{
    com_interface<IWbemLocator> locator;
    if (FAILED(::CoCreateInstance(CLSID_WbemLocator, nullptr, CLSCTX_INPROC_SERVER, IID_IWbemLocator,
                                  reinterpret_cast<void**>(locator.put()))))
        return {};
    com_interface<IWbemServices> services;
    if (FAILED(locator.get()->ConnectServer(to_automation(L"ROOT\\CIMV2").get(), nullptr, nullptr, nullptr, 0,
                                            nullptr, nullptr, services.put())))
        return {};
    if (FAILED(::CoSetProxyBlanket(services.get(), RPC_C_AUTHN_WINNT, RPC_C_AUTHZ_NONE, nullptr,
                                   RPC_C_AUTHN_LEVEL_CALL, RPC_C_IMP_LEVEL_IMPERSONATE, nullptr, EOAC_NONE)))
        return {};
    return services;
}

std::string name_of(IWbemClassObject& adapter)
{
    automation_value name;
    if (FAILED(adapter.Get(L"Name", 0, name.put(), nullptr, nullptr)) || name.text() == nullptr)
        return kUnknown;
    return KFramework::KStringHelper::WideStringToUtf8String(name.text());
}
} // namespace

std::optional<std::vector<std::string>> probe_graphics_adapters()
{
    const platform::com_apartment apartment;
    if (!apartment.entered() || !set_security())
        return std::nullopt;
    const com_interface<IWbemServices> services = connect();
    if (!services)
        return std::nullopt;
    com_interface<IEnumWbemClassObject> adapters;
    if (FAILED(services.get()->ExecQuery(
            to_automation(L"WQL").get(), to_automation(L"SELECT * FROM Win32_VideoController").get(),
            WBEM_FLAG_FORWARD_ONLY | WBEM_FLAG_RETURN_IMMEDIATELY, nullptr, adapters.put())))
        return std::nullopt;

    std::vector<std::string> names;
    com_interface<IWbemClassObject> adapter;
    for (ULONG count = 0;
         SUCCEEDED(adapters.get()->Next(kNoTimeOut, 1, adapter.put(), &count)) && count != 0;)
        names.push_back(name_of(*adapter.get()));
    if (names.empty())
        names.emplace_back(kUnknown);
    return names;
}
} // namespace kf::core
