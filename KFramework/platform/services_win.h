#pragma once
/// The owner of what the service manager gives: itself, and services.

#include "KFramework/platform/last_error_win.h"
#include "KFramework/platform/unique_resource.h"
#include "KFramework/platform/windows_win.h"

namespace kf::platform
{
/// Null means none.
struct service_traits
{
    using value_type = SC_HANDLE;
    static SC_HANDLE none() noexcept { return nullptr; }
    static bool valid(SC_HANDLE h) noexcept { return h != nullptr; }
    static void close(SC_HANDLE h) noexcept
    {
        const last_error_guard keep;
        ::CloseServiceHandle(h);
    }
};
using unique_service = unique_resource<service_traits>;
} // namespace kf::platform
