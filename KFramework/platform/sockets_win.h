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

/// Takes away a socket's inheritance, so that no child process holds it open; INVALID_SOCKET is ignored.
inline void keep_from_children(SOCKET s) noexcept
{
    if (s != INVALID_SOCKET)
        ::SetHandleInformation(reinterpret_cast<HANDLE>(s), HANDLE_FLAG_INHERIT, 0);
}

/// Sets an option to a value as it lies in memory, with its length; false on failure.
template <class Value>
[[nodiscard]] bool set_option(SOCKET s, int level, int name, const Value& value) noexcept
{
    return ::setsockopt(s, level, name, reinterpret_cast<const char*>(&value), sizeof value) == 0;
}
} // namespace kf::platform
