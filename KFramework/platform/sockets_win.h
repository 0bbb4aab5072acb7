#pragma once
/// Owners of Winsock resources.

#include "KFramework/platform/unique_resource.h"
#include "KFramework/platform/windows_win.h"

namespace kf::platform
{
/// INVALID_SOCKET means none.
struct socket_traits
{
    using value_type = SOCKET;
    static SOCKET none() noexcept { return INVALID_SOCKET; }
    static bool valid(SOCKET s) noexcept { return s != INVALID_SOCKET; }
    static void close(SOCKET s) noexcept
    {
        const int error = ::WSAGetLastError(); // closing must not hide why we are leaving
        ::closesocket(s);
        ::WSASetLastError(error);
    }
};
using unique_socket = unique_resource<socket_traits>;

/// Null means none: the result of getaddrinfo.
struct address_list_traits
{
    using value_type = addrinfo*;
    static addrinfo* none() noexcept { return nullptr; }
    static bool valid(addrinfo* list) noexcept { return list != nullptr; }
    static void close(addrinfo* list) noexcept { ::freeaddrinfo(list); }
};
using address_list = unique_resource<address_list_traits>;
} // namespace kf::platform
