#pragma once
/// Sockets that the tests make themselves, without the library.

#include <cstdint>
#include <string>

#include "KFramework/platform/sockets_win.h"

namespace kf::test
{

using platform::unique_socket;

inline sockaddr_in loopback_address(std::uint16_t port = 0)
{
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = ::htonl(INADDR_LOOPBACK);
    address.sin_port = ::htons(port);
    return address;
}

/// The port a socket is bound to; 0 when it is not.
inline std::uint16_t port_of(SOCKET socket)
{
    sockaddr_storage address = {};
    int length = sizeof address;
    if (::getsockname(socket, reinterpret_cast<sockaddr*>(&address), &length) != 0)
        return 0;
    return ::ntohs(
        reinterpret_cast<const sockaddr_in&>(address).sin_port); // at the same place in both families
}

/// Bound to a port of the system's choice on loopback.
///
/// @param kind  SOCK_STREAM (then it listens) or SOCK_DGRAM.
inline unique_socket loopback_socket(int kind)
{
    unique_socket made(::socket(AF_INET, kind, 0));
    const sockaddr_in address = loopback_address();
    ::bind(made.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address);
    if (kind == SOCK_STREAM)
        ::listen(made.get(), SOMAXCONN);
    return made;
}

inline unique_socket connected_to(std::uint16_t port)
{
    unique_socket made(::socket(AF_INET, SOCK_STREAM, 0));
    const sockaddr_in address = loopback_address(port);
    ::connect(made.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address);
    return made;
}

/// Whether a socket has something to read, or its end, within the time.
inline bool readable(SOCKET socket, int milliseconds)
{
    fd_set set;
    FD_ZERO(&set);
    FD_SET(socket, &set);
    timeval timeout = {milliseconds / 1000, milliseconds % 1000 * 1000};
    return ::select(0, &set, nullptr, nullptr, &timeout) == 1;
}

/// Whether children would get the socket.
inline bool inheritable(SOCKET socket)
{
    DWORD flags = 0;
    ::GetHandleInformation(reinterpret_cast<HANDLE>(socket), &flags);
    return (flags & HANDLE_FLAG_INHERIT) != 0;
}

template <class Value>
int option_of(SOCKET socket, int level, int name, Value& value)
{
    int size = sizeof value;
    return ::getsockopt(socket, level, name, reinterpret_cast<char*>(&value), &size);
}

} // namespace kf::test
